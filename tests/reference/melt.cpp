#include "tests/reference/reference.h"

#include <algorithm>
#include <stdlib.h>

enum { DOWNWARDS = 1230, UPWARDS = 1240, LEFTWARDS = 1250 };

static int LevelOf(const Picture &picture, Pixel pixel)
{
    if (picture.bitsPerPixel == 24) return BrightnessOf(pixel[2], pixel[1], pixel[0]);
    const size_t index = size_t(pixel[0]);
    return BrightnessOf(picture.red[index], picture.green[index], picture.blue[index]);
}

// Carries the pixel at (x, y) on until a neighbour is darker or a border is reached.
static void Walk(const Picture &picture, Raster &raster, int x, int y, int stepX, int stepY)
{
    for (;;) {
        const int place = stepX != 0 ? x : y, last = (stepX != 0 ? raster.width : raster.height) - 1;
        if (place <= 0 || place >= last) return;
        const Pixel here = Get(raster, x, y), ahead = Get(raster, x + stepX, y + stepY);
        if (LevelOf(picture, here) > LevelOf(picture, ahead)) return;
        Set(raster, x, y, ahead);
        x += stepX;
        y += stepY;
        Set(raster, x, y, here);
    }
}

void ReferenceMelt(Picture &picture, int amount, int direction)
{
    if (picture.bitsPerPixel == 1) return;
    const bool alongColumn = direction == DOWNWARDS || direction == UPWARDS;
    const int step = direction == UPWARDS || direction == LEFTWARDS ? -1 : 1;
    if ((alongColumn ? picture.height : picture.width) <= 2) return;

    Raster raster = RasterOfPixels(picture);
    const int walks = std::max(picture.width * picture.height / 100 * amount / 100, 1);
    for (int i = 0; i < 100 * walks; ++i) {
        if (alongColumn) {
            const int x = rand() % raster.width;
            const int y = rand() % (raster.height - 2) + 1;
            Walk(picture, raster, x, y, 0, step);
        } else {
            const int x = rand() % (raster.width - 2) + 1;
            const int y = rand() % raster.height;
            Walk(picture, raster, x, y, step, 0);
        }
    }
    StorePixels(picture, raster);
}
