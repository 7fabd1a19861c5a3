#include "tests/reference/reference.h"

// The low 32 bits, as a signed number.
static int64_t Wrapped(int64_t value) { return int32_t(uint32_t(uint64_t(value))); }

// Greatest, the level itself, at row and column `level`.
static int64_t Pattern(int x, int y, int level)
{
    const int64_t across = int64_t(x) - level, down = int64_t(y) - level;
    return Wrapped(level - across * across - down * down);
}

// Halves 17 times, rounding down.
static int64_t Shifted(int64_t value)
{
    for (int i = 0; i < 17; ++i) value = (value - (value & 1)) / 2;
    return value;
}

void ReferenceAcid(Picture &picture, int level)
{
    if (picture.bitsPerPixel == 1 || picture.colourType == PALETTE) return;
    Raster raster = RasterOfPixels(picture);
    for (int y = 0; y < raster.height; ++y) {
        for (int x = 0; x < raster.width; ++x) {
            Pixel pixel = Get(raster, x, y);
            for (int c = 0; c < raster.channels; ++c) {
                int &value = pixel[size_t(c)];
                value ^= int(Shifted(Wrapped(value * Pattern(x, y, level))) & 255);
            }
            Set(raster, x, y, pixel);
        }
    }
    StorePixels(picture, raster);
}
