#include "tests/reference/reference.h"

enum { ALONG_ROWS = 5530 };

static Raster SeenTwice(const Raster &source, int half)
{
    const int strip = 2 * half;
    Raster output = source;
    for (int y = 0; y < source.height; ++y) {
        for (int x = strip; x < source.width - strip; ++x) { Set(output, x, y, Get(source, x + x % strip - half, y)); }
    }
    return output;
}

void ReferenceDoubleVision(Picture &picture, int distance, int direction)
{
    const int half = distance / 2 < 1 ? 1 : distance / 2;
    const Raster source = RasterOfPixels(picture);
    StorePixels(picture,
                direction == ALONG_ROWS ? SeenTwice(source, half) : Transposed(SeenTwice(Transposed(source), half)));
}
