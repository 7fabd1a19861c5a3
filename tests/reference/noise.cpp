#include "tests/reference/reference.h"

#include <algorithm>
#include <stdlib.h>

// Every pixel draws a number of 0..100; the changed ones draw another, their change.
static Pixel WithNoise(Pixel pixel, int channels, int amount, int variation)
{
    if (rand() % 101 > amount) return pixel;
    const int change = rand() % (2 * variation + 1) - variation;
    for (int c = 0; c < channels; ++c) pixel[size_t(c)] = std::clamp(pixel[size_t(c)] + change, 0, 255);
    return pixel;
}

void ReferenceNoise(Picture &picture, int amount, int variation)
{
    if (picture.bitsPerPixel == 1 || picture.colourType == PALETTE) return;
    Raster raster = RasterOfPixels(picture);
    for (Pixel &pixel : raster.pixels) pixel = WithNoise(pixel, raster.channels, amount, variation);
    StorePixels(picture, raster);
}
