#include "tests/reference/reference.h"

enum { MIRROR_ABOVE = 1230, MIRROR_BELOW = 1240, MIRROR_RIGHT = 1250 };

Raster ReferenceFlip(const Raster &raster, int direction)
{
    Raster flipped = raster;
    for (int y = 0; y < raster.height; ++y) {
        for (int x = 0; x < raster.width; ++x) {
            if (direction == 0) Set(flipped, raster.width - 1 - x, y, Get(raster, x, y));
            else Set(flipped, x, raster.height - 1 - y, Get(raster, x, y));
        }
    }
    return flipped;
}

// One beside the other, both as high.
static Raster Joined(const Raster &left, const Raster &right)
{
    Raster both = MakeRaster(left.width + right.width, left.height, left.bits, {});
    for (int y = 0; y < both.height; ++y) {
        for (int x = 0; x < both.width; ++x) {
            Set(both, x, y, x < left.width ? Get(left, x, y) : Get(right, x - left.width, y));
        }
    }
    return both;
}

Raster ReferenceMirror(const Raster &raster, int direction)
{
    if (direction == MIRROR_ABOVE) return Transposed(Joined(Transposed(ReferenceFlip(raster, 1)), Transposed(raster)));
    if (direction == MIRROR_BELOW) return Transposed(Joined(Transposed(raster), Transposed(ReferenceFlip(raster, 1))));
    if (direction == MIRROR_RIGHT) return Joined(raster, ReferenceFlip(raster, 0));
    return Joined(ReferenceFlip(raster, 0), raster);
}
