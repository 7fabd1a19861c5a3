#include "tests/reference/reference.h"

#include <stdlib.h>

static int Step() { return rand() % 2 == 0 ? 1 : -1; }

void ReferenceRandomShear(Picture &picture, uint32_t fillColour)
{
    const Raster source = RasterOfPixels(picture);
    Raster output = MakeRaster(source.width, source.height, source.bits, PixelOfFill(picture, fillColour));
    Raster maskSource, maskOutput;
    if (picture.mask) maskSource = maskOutput = RasterOfMask(picture);   // keeps its value where no source lands

    std::vector<int> down(static_cast<size_t>(source.width));
    int walk = 0;
    for (int &shift : down) shift = walk += Step();
    int across = 0;
    for (int y = 0; y < source.height; ++y) {
        across += Step();
        for (int x = 0; x < source.width; ++x) {
            const int fromX = x + across, fromY = y + down[size_t(x)];
            if (!Inside(source, fromX, fromY)) continue;
            Set(output, x, y, Get(source, fromX, fromY));
            if (picture.mask) Set(maskOutput, x, y, Get(maskSource, fromX, fromY));
        }
    }
    StorePixels(picture, output);
    if (picture.mask) StoreMask(picture, maskOutput);
}
