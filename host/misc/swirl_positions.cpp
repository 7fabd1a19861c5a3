// Pixels left and right of the middle have the same distance and so the same turn.

#include "host/misc/swirl_positions.h"

#include "maths/disc.h"
#include "maths/rotation.h"

#include <algorithm>
#include <numbers>

// How far each of `count` places in the right half is turned.
static void FindAngles(double offset, double dy, int count, double radius, double turn, double *angles)
{
    for (int i = 0; i < count; ++i) {
        const double dx = offset + i, inwards = 1 - sqrt(dx * dx + dy * dy) / radius;
        angles[i] = turn * inwards * inwards;
    }
}

static double Within(double position, double last) { return std::min(std::max(position, 0.0), last); }

void FindSwirlPositions(SwirlRow &row, int32_t y)
{
    const RightHalf half = RightHalfOf(row.width);
    const double centreX = row.width * 0.5, centreY = row.height * 0.5, radius = std::min(centreX, centreY);
    const double right = row.width - 1, bottom = row.height - 1;
    const double dy = y - centreY;
    const int count = CountWithin(half, radius * radius - dy * dy);
    row.first = count ? row.width - half.column - (count - 1) : 0;
    row.end = count ? half.column + count : 0;

    FindAngles(half.offset, dy, count, radius, row.amount * std::numbers::pi / 180, row.angles.data());
    double *rightX = row.sourceX.data() + half.column, *rightY = row.sourceY.data() + half.column;
    double *leftX = row.sourceX.data() + row.width - half.column, *leftY = row.sourceY.data() + row.width - half.column;
    for (int i = 0; i < count; ++i) {
        const double dx = half.offset + i;
        const Rotation turn = RotationBy(row.angles[size_t(i)]);
        const double xx = dx * turn.cosine, xy = dx * turn.sine, yx = dy * turn.sine, yy = dy * turn.cosine;
        leftX[-i] = Within(centreX - xx - yx, right);
        leftY[-i] = Within(centreY - xy + yy, bottom);
        rightX[i] = Within(centreX + xx - yx, right);
        rightY[i] = Within(centreY + xy + yy, bottom);
    }
}
