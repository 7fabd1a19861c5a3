// Ripple: twists the picture in rings about its centre, as a stone does that falls into water. Every pixel is fetched
// from the circle it lies on, turned on by
//     turn = sin(d * 2 pi / wavelength + phase) * amplitude / d         d: the pixel's distance from the centre
// so that it moves about `amplitude` pixels at most along the circle. With fading the turn is multiplied by
// 1 - d / radius and what lies farther out than the radius stays; without, the swing goes on everywhere. Wavelength and
// amplitude are percents of the radius, which reaches from the centre to the nearest edge. Places outside the picture
// are brought to its edge. The mask plane moves along.

#include "effects/effects.h"
#include "framework/relocation.h"

#include <algorithm>
#include <bit>
#include <math.h>

enum {
    FADE = 1020, WAVELENGTH = 1030, WAVELENGTH_EDIT = 1040, PHASE = 1060, PHASE_EDIT = 1050, AMPLITUDE = 1070,
    AMPLITUDE_EDIT = 1080,
};

struct RippleParameters {
    int32_t amplitude = 10;    // percent of the radius, 1..100
    int32_t phase = 0;         // degrees, -360..360
    int32_t wavelength = 10;   // percent of the radius, 1..100
    int32_t fade = 1;          // 1: the swing fades to nothing at the radius and what lies outside stays
};
struct RippleBlock { EffectBlock common; RippleParameters own; };
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

//---- Sine and cosine that a loop can compute for several pixels at once

// An angle as multiple * pi + rest, with the rest from -pi/2 to pi/2. `odd` has the top bit set for odd multiples.
struct Reduced { double rest; uint64_t odd; };

// Pi is taken off in three parts; a multiple of 24 bits times either of the first two is exact.
static inline Reduced Reduce(double angle)
{
    constexpr double PI_HIGH = 0x3243F6A8p-28, PI_MIDDLE = 0x885A308p-56, PI_LOW = 0xD313198A2E037p-108;
    constexpr double ONE_BY_PI = 1 / (PI_HIGH + PI_MIDDLE);
    constexpr double ROUNDING = 0x1.8p52;   // added, it leaves no room for a fraction; the multiple is in the low bits
    const double rounded = angle * ONE_BY_PI + ROUNDING;
    const double multiple = rounded - ROUNDING;
    return {angle - multiple * PI_HIGH - multiple * PI_MIDDLE - multiple * PI_LOW,
            std::bit_cast<uint64_t>(rounded) << 63};
}

static inline double Signed(double value, const Reduced &angle)
{
    return std::bit_cast<double>(std::bit_cast<uint64_t>(value) ^ angle.odd);
}

// The power series to where they are good to 4e-15 at pi/2, in pairs of terms so that few wait for one another.
static inline double Sine(const Reduced &angle)
{
    constexpr double C3 = -1.0 / (2 * 3), C5 = -C3 / (4 * 5), C7 = -C5 / (6 * 7), C9 = -C7 / (8 * 9),
                     C11 = -C9 / (10 * 11), C13 = -C11 / (12 * 13), C15 = -C13 / (14 * 15), C17 = -C15 / (16 * 17),
                     C19 = -C17 / (18 * 19);
    const double q = angle.rest * angle.rest, q2 = q * q, q4 = q2 * q2;
    const double sum = (1 + C3 * q) + (C5 + C7 * q) * q2 + ((C9 + C11 * q) + (C13 + C15 * q) * q2) * q4 +
                       (C17 + C19 * q) * (q4 * q4);
    return Signed(sum * angle.rest, angle);
}

static inline double Cosine(const Reduced &angle)
{
    constexpr double C2 = -1.0 / (1 * 2), C4 = -C2 / (3 * 4), C6 = -C4 / (5 * 6), C8 = -C6 / (7 * 8),
                     C10 = -C8 / (9 * 10), C12 = -C10 / (11 * 12), C14 = -C12 / (13 * 14), C16 = -C14 / (15 * 16),
                     C18 = -C16 / (17 * 18);
    const double q = angle.rest * angle.rest, q2 = q * q, q4 = q2 * q2;
    const double sum = (1 + C2 * q) + (C4 + C6 * q) * q2 + ((C8 + C10 * q) + (C12 + C14 * q) * q2) * q4 +
                       (C16 + C18 * q) * (q4 * q4);
    return Signed(sum, angle);
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

// A row's pixels at equal distances left and right of the centre turn alike, so a row needs half as many turns as it
// has pixels. Turn i is that of the pixels i columns from the centre, or i and a half where the width is odd.
struct Turns {
    double first;       // columns from the centre to turn 0: 0 or a half
    int count;
    double *cosines, *sines;
};

// Turns from..to - 1 of the row `dy` below the centre.
static void TurnRun(const Rings &rings, const Turns &turns, double dy, int from, int to)
{
    const double fading = rings.fade ? 1 : 0;
    double *const cosines = turns.cosines, *const sines = turns.sines;
    for (int i = from; i < to; ++i) {
        const double dx = turns.first + i, distance = sqrt(dx * dx + dy * dy);
        const double size = rings.amplitude * (1 - fading * (distance / rings.radius));
        const double swing = Sine(Reduce(WHOLE_TURN * distance / rings.wavelength + rings.phase)) * size;
        const Reduced turn = Reduce(WHOLE_TURN + swing / distance);
        cosines[i] = Cosine(turn);
        sines[i] = Sine(turn);
    }
}

// How many turns of a row are within the radius. Distances come in halves, so their squares and this are exact.
static int TurnsWithin(const Rings &rings, const Turns &turns, double dy)
{
    const double square = rings.radius * rings.radius - dy * dy;
    if (square < turns.first * turns.first) return 0;
    return std::min(int(sqrt(square) - turns.first) + 1, turns.count);
}

static void FillTurns(const Rings &rings, const Turns &turns, double dy)
{
    const int centre = turns.first == 0 && dy == 0 ? 1 : 0;   // the pixel that has no direction to turn
    const int end = rings.fade ? TurnsWithin(rings, turns, dy) : turns.count;
    TurnRun(rings, turns, dy, centre, end);
    std::fill_n(turns.cosines, centre, 1.0);
    std::fill_n(turns.sines, centre, 0.0);
    std::fill(turns.cosines + end, turns.cosines + turns.count, 1.0);
    std::fill(turns.sines + end, turns.sines + turns.count, 0.0);
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
    const int middle = rings.width / 2, right = rings.width - middle;   // where turn 0 is, left and right
    for (int x = 0; x <= middle; ++x) place(x, middle - x);
    for (int x = middle + 1; x < rings.width; ++x) place(x, x - right);
}

static void KPZAPI RippleWorker(EffectBlock *shared)
{
    const RippleBlock block = BlockOf<RippleBlock>(shared);
    const ImageView &view = block.common.view;

    const Rings rings = RingsOf(view, block.own);
    const int count = view.width / 2 + 1;
    Scratch memory(sizeof(double) * 2 * (size_t(count) + view.width));
    auto *numbers = reinterpret_cast<double *>(memory.bytes);
    const Turns turns = {view.width % 2 * 0.5, count, numbers, numbers + count};
    double *const sourceX = numbers + 2 * count, *const sourceY = sourceX + view.width;

    Relocation relocation(view);
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        const double dy = y - rings.centreY;
        FillTurns(rings, turns, dy);
        PlaceRow(rings, turns, dy, sourceX, sourceY);
        RelocateRun(relocation, y, 0, view.width, sourceX, sourceY);
    }
}

const EffectDescriptor ripple = {
    .name = "Ripple", .title = "Ripple", .templateId = 4370, .help = 79, .blockSize = sizeof(RippleBlock),
    .defaults = defaults, .controls = controls, .worker = RippleWorker, .dialog = RippleDialog,
};
