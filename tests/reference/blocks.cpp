#include "tests/reference/reference.h"

#include <algorithm>

void ReferenceBlocks(Picture &picture, int blockWidth, int blockHeight)
{
    blockWidth = std::max(blockWidth, 1);
    blockHeight = std::max(blockHeight, 1);
    const Raster source = RasterOfPixels(picture);
    Raster output = source;
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            Set(output, x, y, Get(source, x / blockWidth * blockWidth, y / blockHeight * blockHeight));
        }
    }
    StorePixels(picture, output);
}
