// Polar Coordinates: wraps the picture round its centre. Columns become angles and rows distances, so the top row comes
// together in the centre and the bottom row lies along the largest circle that fits; what is outside takes a colour.
//     source x = (width - 1) * angle / 6.2831854         the angle from 0, to the right, downwards round
//     source y = (height - 1) * distance / radius        the radius is half the smaller side
// Pixels are sampled by the host: between neighbours for grey and 24 bits, else the nearest. The mask plane is wrapped
// too, with 0 outside the circle.

#include "effects/effects.h"
#include "framework/relocation.h"
#include "maths/disc.h"

#include <algorithm>
#include <iterator>
#include <math.h>
#include <numbers>

enum { FILL_COLOUR = 1130 };

struct PolarParameters {
    uint32_t fillColour = 0;   // 0x00BBGGRR
};
struct PolarBlock {
    EffectBlock common;
    PolarParameters own;
};
BLOCK_SIZE(PolarBlock, 136);

static constexpr PolarParameters defaults;

static constexpr ControlBinding controls[] = {
    ConfiguredColour(FILL_COLOUR, FIELD(PolarBlock, own.fillColour)),
};

static INT_PTR KPZAPI PolarDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(polarCoordinates, dialog, message, word, extra);
}

//---- Angles

// Part of the effect, and deliberately a little more than two pi.
constexpr double WHOLE_TURN = 6.2831854;

// Directions in the first quadrant and the tangent of the angle halfway to the next one. From the nearest of them an
// angle is less than a sixteenth of pi away, for which a short series is exact to 1e-15.
static constexpr struct {
    double angle, cosine, sine, tangentOfLimit;
} sectors[] = {
    {0, 1, 0, 0.198912367379658007},
    {std::numbers::pi / 8, 0.923879532511286756, 0.382683432365089772, 0.668178637919298919},
    {std::numbers::pi / 4, 0.707106781186547524, 0.707106781186547524, 1.49660576266548901},
    {std::numbers::pi * 3 / 8, 0.382683432365089772, 0.923879532511286756, 5.02733949212584810},
    {std::numbers::pi / 2, 0, 1, HUGE_VAL},
};

// For angles of at most a sixteenth of pi: an odd polynomial of least greatest error.
static inline double Arctangent(double tangent)
{
    const double square = tangent * tangent;
    double sum = 0.06832927751826534;
    sum = sum * square - 0.09045226937071686;
    sum = sum * square + 0.11109891730076756;
    sum = sum * square - 0.14285697490451996;
    sum = sum * square + 0.19999999889537212;
    sum = sum * square - 0.33333333333060394;
    sum = sum * square + 0.9999999999999989;
    return tangent * sum;
}

// The angles of (offset + i, dy), i from 0 to count - 1; none of the places is (0, 0) and none left of the centre or
// above it. Sectors follow each other from the last one on, and in each the tangent is a fraction of two lines.
static void FindAngles(double offset, double dy, int count, double *angles)
{
    int first = 0;
    for (int s = int(std::size(sectors)) - 1; s >= 0 && first < count; --s) {
        const auto &sector = sectors[s];
        const double limit = s > 0 ? dy / sectors[s - 1].tangentOfLimit - offset : HUGE_VAL;
        const int end = limit < count ? std::max(int(floor(limit)) + 1, first) : count;
        for (int i = first; i < end; ++i) {
            const double dx = offset + i;
            const double across = dy * sector.cosine - dx * sector.sine, along = dx * sector.cosine + dy * sector.sine;
            angles[i] = sector.angle + Arctangent(across / along);
        }
        first = end;
    }
}

//---- Worker

// What all rows share.
struct PolarDisc {
    RightHalf half;
    int width, height;
    double radius;
    double columnsPerRadian;
};

// How many columns either side of the middle lie within the circle.
static int ColumnsWithin(const PolarDisc &disc, double dy)
{
    return CountWithin(disc.half, disc.radius * disc.radius - dy * dy);
}

// A place above the middle has the angle that is missing to a whole turn; one left of it has the distance of the place
// right of it and the angle that is missing to half a turn. `angles` has room for half a row.
static void FindPositions(const PolarDisc &disc, double dy, int count, double *angles, double *sourceX, double *sourceY)
{
    const double offset = disc.half.offset;
    FindAngles(offset, fabs(dy), count, angles);
    if (dy == 0 && offset == 0) angles[0] = 0;   // the centre itself has none

    const double start = dy < 0 ? WHOLE_TURN : 0, sign = dy < 0 ? -1 : 1;
    double *right = sourceX + disc.half.column, *rightY = sourceY + disc.half.column;
    for (int i = 0; i < count; ++i) {
        const double dx = offset + i;
        right[i] = (start + sign * angles[i]) * disc.columnsPerRadian;
        rightY[i] = (disc.height - 1) * sqrt(dy * dy + dx * dx) / disc.radius;
    }
    const double bothSides = (2 * start + sign * std::numbers::pi) * disc.columnsPerRadian;
    double *left = sourceX + disc.width - disc.half.column, *leftY = sourceY + disc.width - disc.half.column;
    for (int i = offset == 0; i < count; ++i) {
        left[-i] = bothSides - right[i];
        leftY[-i] = rightY[i];
    }
}

static void KPZAPI PolarWorker(EffectBlock *shared)
{
    const PolarBlock block = BlockOf<PolarBlock>(polarCoordinates, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;

    const Relocation relocation(view);
    FillWithColour(view, block.own.fillColour);
    if (view.mask) FillBytes(view.mask, 0, size_t(MaskRowBytes(view)) * view.height);

    const PolarDisc disc = {RightHalfOf(view.width), view.width, view.height, std::min(view.width, view.height) * 0.5,
                            (view.width - 1) / WHOLE_TURN};
    const size_t angleBytes = sizeof(double) * (size_t(view.width) / 2 + 1);
    ShareRows(view, RelocationSharing(view, 6, angleBytes), [&](const Rows &rows) {
        RowRelocation own = OnRows(relocation, rows.memory);
        auto *angles = reinterpret_cast<double *>(rows.memory + RelocationBytes(view.width));
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            const double dy = y - view.height * 0.5;
            const int count = ColumnsWithin(disc, dy);
            if (count == 0) continue;
            FindPositions(disc, dy, count, angles, own.sourceX, own.sourceY);
            const int first = disc.width - disc.half.column - (count - 1), last = disc.half.column + count - 1;
            RelocateRun(own, y, first, last - first + 1);
        }
    });
}

const EffectDescriptor polarCoordinates = {
    .name = "Polar",
    .title = "Polar Coord",
    .commandOffset = POLAR_COORDINATES_COMMAND,
    .blockSize = sizeof(PolarBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = PolarWorker,
    .dialog = PolarDialog,
};
