// The plain version of slanting a plane. It shares no code with host/misc.

#include "tests/reference/reference.h"

#include <algorithm>
#include <math.h>

// How far row y of `height` moves to the right, in 4096ths of a pixel.
static int MoveOf(int y, int height, int angle)
{
    const double slant = tan(angle * 3.1415927 * (1.0 / 180));
    const double move = slant >= 0 ? y * slant : (y - (height - 1)) * slant;
    return int(floor(move * 4096 + 0.5));
}

static Pixel FillPixel(const Raster &raster, uint32_t fill)
{
    if (raster.bits == 24) return {int(fill >> 16 & 255), int(fill >> 8 & 255), int(fill & 255)};
    return {int(raster.bits == 1 ? fill & 1 : fill & 255), 0, 0};
}

static Pixel Blend(Pixel before, Pixel here, int fraction)
{
    Pixel blend = {};
    for (size_t c = 0; c < 3; ++c) blend[c] = (before[c] * fraction + here[c] * (4096 - fraction) + 2048) / 4096;
    return blend;
}

static void MoveRowSmoothly(const Raster &source, Raster &output, int y, int move, Pixel fill, bool edgesToFill)
{
    const int fraction = move % 4096, last = source.width - 1;
    const Pixel beforeFirst = edgesToFill ? fill : Get(source, 0, y);
    const Pixel afterLast = edgesToFill ? fill : Get(source, last, y);
    for (int i = 0; i <= source.width; ++i) {
        if (i == source.width && fraction == 0) break;
        const Pixel before = i == 0 ? beforeFirst : Get(source, i - 1, y);
        const Pixel here = i == source.width ? afterLast : Get(source, i, y);
        Set(output, move / 4096 + i, y, Blend(before, here, fraction));
    }
}

static Raster ShearedSideways(const Raster &source, bool smooth, int angle, Pixel fill, bool edgesToFill)
{
    std::vector<int> moves;
    for (int y = 0; y < source.height; ++y) moves.push_back(MoveOf(y, source.height, angle));
    const int farthest = *std::max_element(moves.begin(), moves.end());
    Raster output = MakeRaster(source.width + (farthest + 4095) / 4096, source.height, source.bits, fill);
    for (int y = 0; y < source.height; ++y) {
        const int move = moves[size_t(y)];
        if (smooth) {
            MoveRowSmoothly(source, output, y, move, fill, edgesToFill);
        } else {
            for (int x = 0; x < source.width; ++x) Set(output, x + (move + 2048) / 4096, y, Get(source, x, y));
        }
    }
    return output;
}

Raster ReferenceShear(const Raster &raster, int colourType, int angle, uint32_t fill, bool edgesToFill, bool horizontal)
{
    const bool smooth = raster.bits != 1 && (colourType == GREY || colourType == RGB);
    const Pixel pixel = FillPixel(raster, fill);
    if (horizontal) return ShearedSideways(raster, smooth, angle, pixel, edgesToFill);
    return Transposed(ShearedSideways(Transposed(raster), smooth, angle, pixel, edgesToFill));
}
