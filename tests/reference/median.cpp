#include "tests/reference/reference.h"

#include <algorithm>

enum { MEDIAN = 1520, MAXIMUM = 1510 };

int MedianKey(const Picture &picture, Pixel pixel)
{
    if (picture.bitsPerPixel == 8) {
        const size_t index = size_t(pixel[0]);
        pixel = {picture.blue[index], picture.green[index], picture.red[index]};
    }
    return pixel[0] * pixel[0] + pixel[1] * pixel[1] + pixel[2] * pixel[2];
}

static std::vector<Pixel> Neighbours(const Raster &raster, int x, int y, int radius)
{
    std::vector<Pixel> pixels;
    for (int row = y - radius; row < y + radius; ++row) {
        for (int column = x - radius; column < x + radius; ++column) {
            if (Inside(raster, column, row)) pixels.push_back(Get(raster, column, row));
        }
    }
    return pixels;
}

void ReferenceMedian(Picture &picture, int radius, int mode)
{
    if (picture.bitsPerPixel == 1) return;
    radius = std::min({radius, picture.width / 2, picture.height / 2});
    if (radius == 0) return;
    const Raster source = RasterOfPixels(picture);
    Raster output = source;
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            std::vector<Pixel> pixels = Neighbours(source, x, y, radius);
            std::stable_sort(pixels.begin(), pixels.end(), [&](Pixel one, Pixel other) {
                return MedianKey(picture, one) < MedianKey(picture, other);
            });
            const size_t count = pixels.size();
            Set(output, x, y, pixels[mode == MEDIAN ? count / 2 : mode == MAXIMUM ? count - 1 : 0]);
        }
    }
    StorePixels(picture, output);
}
