// The pixels of a row that lie within a disc about the picture's middle. The middle is half the width, so a row of an
// even number of columns has one on it and an odd one has it between two. Pixels lie in pairs left and right of it
// at 0, 1, 2, ... or at 0.5, 1.5, 2.5, ... The first column of an even number has no partner.

#pragma once

#include <math.h>

// Where the right half of a row begins.
struct RightHalf {
    int column;      // the first one
    double offset;   // from the middle: 0 or 0.5
};
constexpr RightHalf RightHalfOf(int width) { return {(width + 1) / 2, width % 2 * 0.5}; }

// How many of the right half's offsets squared are below `square`; the sums are exact for all pictures.
inline int CountWithin(const RightHalf &half, double square)
{
    const auto within = [&](int i) { return (half.offset + i) * (half.offset + i) < square; };
    if (!(square > 0)) return 0;
    int count = int(sqrt(square) - half.offset + 1);
    while (count > 0 && !within(count - 1)) --count;
    while (within(count)) ++count;
    return count;
}
