// Pixels left and right of the middle have the same distance and so the same turn.

#include "host/misc/pictures/swirl_positions.h"

#include "maths/disc.h"
#include "maths/rotation.h"

#include <algorithm>
#include <numbers>

// How far each of `count` places in the right half is turned.
static void FindAngles(double offset, double dy, int count, double radius, double turn, double *angles)
{
    const double perRadius = 1 / radius;
    for (int i = 0; i < count; ++i) {
        const double dx = offset + i, inwards = 1 - sqrt(dx * dx + dy * dy) * perRadius;
        angles[i] = turn * inwards * inwards;
    }
}

static double Within(double position, double last)
{
    const double low = position > 0 ? position : 0;
    return low < last ? low : last;
}

// Positions of the places at dx = offset + i or, mirrored, at -dx, which follow each other the other way: `step` is 1
// or -1, and i begins at `from`.
template <int step>
static void FindHalf(const SwirlRow &row, double offset, double dy, int from, int count, double *__restrict sourceX,
                     double *__restrict sourceY)
{
    const double centreX = row.width * 0.5, centreY = row.height * 0.5, right = row.width - 1, bottom = row.height - 1;
    const double *cosines = row.cosines.data(), *sines = row.sines.data();
    for (int i = from; i < count; ++i) {
        const double dx = step * (offset + i);
        sourceX[step * i] = Within(centreX + dx * cosines[i] - dy * sines[i], right);
        sourceY[step * i] = Within(centreY + dx * sines[i] + dy * cosines[i], bottom);
    }
}

void FindSwirlPositions(SwirlRow &row, int32_t y)
{
    const RightHalf half = RightHalfOf(row.width);
    const double dy = y - row.height * 0.5, radius = std::min(row.width, row.height) * 0.5;
    const int count = CountWithin(half, radius * radius - dy * dy);
    const int left = row.width - half.column;
    row.first = count ? left - (count - 1) : 0;
    row.end = count ? half.column + count : 0;
    FindAngles(half.offset, dy, count, radius, row.amount * std::numbers::pi / 180, row.angles.data());
    RotateEach(row.angles.data(), count, row.cosines.data(), row.sines.data());
    FindHalf<1>(row, half.offset, dy, 0, count, row.sourceX.data() + half.column, row.sourceY.data() + half.column);
    FindHalf<-1>(row, half.offset, dy, half.offset == 0, count, row.sourceX.data() + left, row.sourceY.data() + left);
}
