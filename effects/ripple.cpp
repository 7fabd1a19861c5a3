// Ripple: twists the picture in rings about its centre, as a stone does that falls into water. Every pixel is fetched
// from the circle it lies on, turned on by
//     turn = sin(d * 2 pi / wavelength + phase) * amplitude / d         d: the pixel's distance from the centre
// so that it moves about `amplitude` pixels at most along the circle. With fading the turn is multiplied by
// 1 - d / radius and what lies farther out than the radius stays; without, the swing goes on everywhere. Wavelength and
// amplitude are percents of the radius, which reaches from the centre to the nearest edge. Places outside the picture
// are brought to its edge. The mask plane moves along.

#include "effects/effects.h"
#include "framework/relocation.h"
#include "maths/disc.h"
#include "maths/rotation.h"

#include <algorithm>
#include <math.h>

enum {
    FADE = 1020,
    WAVELENGTH = 1030,
    WAVELENGTH_EDIT = 1040,
    PHASE = 1060,
    PHASE_EDIT = 1050,
    AMPLITUDE = 1070,
    AMPLITUDE_EDIT = 1080,
};

struct RippleParameters {
    int32_t amplitude = 10;    // percent of the radius, 1..100
    int32_t phase = 0;         // degrees, -360..360
    int32_t wavelength = 10;   // percent of the radius, 1..100
    int32_t fade = 1;          // 1: the swing fades to nothing at the radius and what lies outside stays
};
struct RippleBlock {
    EffectBlock common;
    RippleParameters own;
};
BLOCK_SIZE(RippleBlock, 148);

static constexpr RippleParameters defaults;

static constexpr ControlBinding controls[] = {
    Check(FADE, FIELD(RippleBlock, own.fade)),
    Spin(PHASE, PHASE_EDIT, FIELD(RippleBlock, own.phase), -360, 360),
    Spin(AMPLITUDE, AMPLITUDE_EDIT, FIELD(RippleBlock, own.amplitude), 1, 100),
    Spin(WAVELENGTH, WAVELENGTH_EDIT, FIELD(RippleBlock, own.wavelength), 1, 100),
};

static INT_PTR KPZAPI RippleDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(ripple, dialog, message, word, extra);
}

//---- Worker

// The constants are part of the effect and deliberately short of full precision: a whole turn is a little more than
// one, which moves pixels far out by parts of a thousandth.
constexpr double HALF_TURN = 3.1415927, WHOLE_TURN = 6.2831854;

// In pixels, and the phase in radians.
struct Rings {
    int width, height;   // the picture's
    double centreX, centreY, radius;
    double wavelength, amplitude, phase;
    bool fade;
};

static Rings RingsOf(const ImageView &view, const RippleParameters &own)
{
    Rings rings = {};
    rings.width = view.width;
    rings.height = view.height;
    rings.centreX = view.width * 0.5;
    rings.centreY = view.height * 0.5;
    rings.radius = std::min(rings.centreX, rings.centreY);
    rings.wavelength = 0.01 * own.wavelength * rings.radius;
    rings.amplitude = 0.01 * own.amplitude * rings.radius;
    rings.phase = own.phase * HALF_TURN * (1.0 / 180);
    rings.fade = own.fade != 0;
    return rings;
}

// The turns of half a row, since pixels left and right of the centre turn alike, each as cosine and sine. One more than
// the right half has pixels: the first column of an even width has no partner.
struct Turns {
    RightHalf half;
    int count;
    double *cosines, *sines;
    double *angles;   // of one step of the computation
};

// Turns from..to - 1 of the row `dy` below the centre.
static void TurnRun(const Rings &rings, const Turns &turns, double dy, int from, int to)
{
    const double fading = rings.fade ? 1 : 0;
    double *const angles = turns.angles;
    const auto distanceAt = [&](int i) {
        const double dx = turns.half.offset + i;
        return sqrt(dx * dx + dy * dy);
    };
    for (int i = from; i < to; ++i) angles[i] = WHOLE_TURN * distanceAt(i) / rings.wavelength + rings.phase;
    RotateEach(angles + from, to - from, turns.cosines + from, turns.sines + from);
    for (int i = from; i < to; ++i) {
        const double distance = distanceAt(i), size = rings.amplitude * (1 - fading * (distance / rings.radius));
        angles[i] = WHOLE_TURN + turns.sines[i] * size / distance;
    }
    RotateEach(angles + from, to - from, turns.cosines + from, turns.sines + from);
}

static void StandStill(const Turns &turns, int from, int to)
{
    std::fill(turns.cosines + from, turns.cosines + to, 1.0);
    std::fill(turns.sines + from, turns.sines + to, 0.0);
}

// The centre itself has no direction to turn.
static void FillTurns(const Rings &rings, const Turns &turns, double dy)
{
    const int centre = turns.half.offset == 0 && dy == 0 ? 1 : 0;
    // Squares of distances come in quarters; the eighth takes in those at the radius itself.
    const double square = rings.radius * rings.radius - dy * dy + 0.125;
    const int end = rings.fade ? std::min(CountWithin(turns.half, square), turns.count) : turns.count;
    StandStill(turns, 0, centre);
    TurnRun(rings, turns, dy, centre, end);
    StandStill(turns, end, turns.count);
}

// Where the pixels of a row are fetched from.
static void PlaceRow(const Rings &rings, const Turns &turns, double dy, double *sourceX, double *sourceY)
{
    const double lastX = rings.width - 1, lastY = rings.height - 1;
    const auto place = [&](int x, int turn) {
        const double dx = x - rings.centreX, cosine = turns.cosines[turn], sine = turns.sines[turn];
        sourceX[x] = WithinPlane(dx * cosine - dy * sine + rings.centreX, lastX);
        sourceY[x] = WithinPlane(dx * sine + dy * cosine + rings.centreY, lastY);
    };
    const int right = turns.half.column, lastOfLeft = rings.width / 2;   // the same column when the width is even
    for (int x = 0; x < right; ++x) place(x, lastOfLeft - x);
    for (int x = right; x < rings.width; ++x) place(x, x - right);
}

static void KPZAPI RippleWorker(EffectBlock *shared)
{
    const RippleBlock block = BlockOf<RippleBlock>(ripple, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;

    const Rings rings = RingsOf(view, block.own);
    const int count = view.width / 2 + 1;
    const Relocation relocation(view);
    ShareRows(view, RelocationSharing(view, 13, 3 * sizeof(double) * size_t(count)), [&](const Rows &rows) {
        RowRelocation own = OnRows(relocation, rows.memory);
        auto *numbers = reinterpret_cast<double *>(rows.memory + RelocationBytes(view.width));
        const Turns turns = {RightHalfOf(view.width), count, numbers, numbers + count, numbers + 2 * count};
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            const double dy = y - rings.centreY;
            FillTurns(rings, turns, dy);
            PlaceRow(rings, turns, dy, own.sourceX, own.sourceY);
            RelocateRun(own, y, 0, view.width);
        }
    });
}

const EffectDescriptor ripple = {
    .name = "Ripple",
    .title = "Ripple",
    .commandOffset = RIPPLE_COMMAND,
    .blockSize = sizeof(RippleBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = RippleWorker,
    .dialog = RippleDialog,
};
