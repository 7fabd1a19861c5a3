#include "tests/reference/reference.h"

#include <algorithm>
#include <stdlib.h>

// The shifts of `count` lines, band by band.
static std::vector<int> DrawBands(int count, int maxShift, int minWidth, int maxWidth)
{
    const int range = std::max(maxWidth - minWidth, 2);
    std::vector<int> shifts;
    while (int(shifts.size()) < count) {
        const int shift = rand() % (maxShift + 1);
        const int more = rand() % range + minWidth;   // lines of the band after its first
        for (int i = 0; i <= more && int(shifts.size()) < count; ++i) shifts.push_back(shift);
    }
    return shifts;
}

static Raster Slid(const Raster &source, const std::vector<int> &down, const std::vector<int> &across, Pixel fill)
{
    Raster output = MakeRaster(source.width, source.height, source.bits, fill);
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            const int fromX = x + across[size_t(y)], fromY = y + down[size_t(x)];
            if (Inside(source, fromX, fromY)) Set(output, x, y, Get(source, fromX, fromY));
        }
    }
    return output;
}

void ReferenceSlices(Picture &picture, uint32_t background, int maxShift, int minWidth, int maxWidth)
{
    const std::vector<int> down = DrawBands(picture.width, maxShift, minWidth, maxWidth);
    const std::vector<int> across = DrawBands(picture.height, maxShift, minWidth, maxWidth);
    StorePixels(picture, Slid(RasterOfPixels(picture), down, across, PixelOfFill(picture, background)));
    if (picture.mask) StoreMask(picture, Slid(RasterOfMask(picture), down, across, {}));
}
