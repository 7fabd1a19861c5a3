#include "tests/reference/reference.h"

#include <algorithm>
#include <map>

// Values count in groups of four. The value that first brings a group to the highest count of all wins.
static int MostFrequent(const std::vector<int> &values)
{
    std::map<int, int> counts;
    int highest = 0, winner = 0;
    for (int value : values) {
        const int count = ++counts[value / 4];
        if (count <= highest) continue;
        highest = count;
        winner = value;
    }
    return winner;
}

void ReferenceOilPainting(Picture &picture, int brushSize)
{
    if (picture.bitsPerPixel == 1) return;
    const int radius = std::min({brushSize, picture.width / 2, picture.height / 2});
    if (radius == 0) return;
    const Raster source = RasterOfPixels(picture);
    Raster output = source;
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            Pixel painted = {};
            for (size_t c = 0; c < size_t(source.channels); ++c) {
                std::vector<int> values;
                for (int row = y - radius; row < y + radius; ++row) {
                    for (int column = x - radius; column < x + radius; ++column) {
                        if (Inside(source, column, row)) values.push_back(Get(source, column, row)[c]);
                    }
                }
                painted[c] = MostFrequent(values);
            }
            Set(output, x, y, painted);
        }
    }
    StorePixels(picture, output);
}
