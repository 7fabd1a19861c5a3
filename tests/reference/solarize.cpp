#include "tests/reference/reference.h"

enum { DOWN_BELOW = 1230, DOWN_ABOVE = 1240, ACROSS_ABOVE = 1260, CONSTANT = 1270 };

// What a ramp that ends at `threshold` has come to at `place` of `count`; 0 where there is no way to go.
static int Ramp(int threshold, int place, int count) { return count > 1 ? threshold * place / (count - 1) : 0; }

static bool IsInverted(int level, int x, int y, const Raster &raster, int threshold, int mode)
{
    switch (mode) {
    case CONSTANT: return level < threshold;
    case DOWN_BELOW: return level < Ramp(threshold, y, raster.height);
    case DOWN_ABOVE: return level > Ramp(threshold, y, raster.height);
    case ACROSS_ABOVE: return level > Ramp(threshold, x, raster.width);
    default: return level < Ramp(threshold, x, raster.width);
    }
}

void ReferenceSolarize(Picture &picture, int threshold, int mode)
{
    if (picture.bitsPerPixel == 1 || picture.colourType == PALETTE) return;
    Raster raster = RasterOfPixels(picture);
    for (int y = 0; y < raster.height; ++y) {
        for (int x = 0; x < raster.width; ++x) {
            Pixel pixel = Get(raster, x, y);
            const int level = raster.bits == 24 ? BrightnessOf(pixel[2], pixel[1], pixel[0]) : pixel[0];
            if (!IsInverted(level, x, y, raster, threshold, mode)) continue;
            for (int &value : pixel) value = 255 - value;
            Set(raster, x, y, pixel);
        }
    }
    StorePixels(picture, raster);
}
