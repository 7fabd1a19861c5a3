// Noise: sprinkles colourless grain. A share of the pixels, (amount + 1) / 101, is made lighter or darker by a random
// amount of -variation..variation, the same on a pixel's three bytes, clamped to 0..255.
// One random number decides whether a pixel changes and, only when it does, a second one by how much: a seed then
// always gives the same picture. Palette and one-bit pictures stay as they are, and so does the mask plane.

#include "effects/effects.h"
#include "framework/random.h"

#include <array>

enum { AMOUNT = 1290, AMOUNT_EDIT = 1300, VARIATION = 1310, VARIATION_EDIT = 1320 };

struct NoiseParameters {
    int32_t amount = 15;      // percent of the pixels, 1..100
    int32_t variation = 10;   // largest change of a value, 1..255
};
struct NoiseBlock {
    EffectBlock common;
    NoiseParameters own;
};
BLOCK_SIZE(NoiseBlock, 140);

static constexpr NoiseParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(AMOUNT, AMOUNT_EDIT, FIELD(NoiseBlock, own.amount), 1, 100),
    Spin(VARIATION, VARIATION_EDIT, FIELD(NoiseBlock, own.variation), 1, 255),
};

//---- Dialog

// The warning does not hold the run back: the worker leaves such pictures alone.
static bool NoiseBeforeRun(HWND dialog, EffectBlock *block)
{
    const int32_t type = block->header.image->colourType;
    if (type == PALETTE || type == ONE_BIT) {
        ShowError(dialog, "This function works only on RGB (24 bit) or Grayscale images.  Try changing Color Type.",
                  "Velmorant: Function Error");
    }
    return true;
}

static INT_PTR KPZAPI NoiseDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(noise, dialog, message, word, extra);
}

//---- Worker

// The remainder of a draw by a number that is the same for the whole run, without the slow division.
struct Remainder {
    int divisor;
    double reciprocal;

    explicit Remainder(int number) : divisor(number), reciprocal(1.0 / number) {}
    int of(int draw) const
    {
        const int rest = draw - int(draw * reciprocal) * divisor;   // off by one divisor at the most
        return rest < 0 ? rest + divisor : rest >= divisor ? rest - divisor : rest;
    }
};

// Whether draw mod 101 is at most `amount`. The low half of draw * (2^64 / 101, rounded up) is the remainder in 101ths
// of 2^64, exactly enough for draws of 32 bits.
struct HitTest {
    static constexpr uint64_t SHARE = ~uint64_t(0) / 101 + 1;
    uint64_t limit;

    explicit HitTest(int amount) : limit(amount < 100 ? uint64_t(amount + 1) * SHARE - 1 : ~uint64_t(0)) {}
    bool hits(int draw) const { return uint32_t(draw) * SHARE <= limit; }
};

// How far a row has come.
struct RowState {
    int pixel;      // the next to be decided on
    bool pending;   // it changes, and its second draw is the next one
};

// What every value becomes with every change: 255 + value + change leads to the value kept within 0..255.
static constexpr auto clamped = [] {
    std::array<uint8_t, 3 * 255 + 1> table = {};
    for (int i = 0; i < 3 * 255 + 1; ++i) table[size_t(i)] = Clamp255(i - 255);
    return table;
}();

template <int BYTES> static void ChangePixel(uint8_t *pixel, int change)
{
    const uint8_t *changed = clamped.data() + 255 + change;
    for (int c = 0; c < BYTES; ++c) pixel[c] = changed[pixel[c]];
}

// Takes `count` draws, 64 at the most, as the row's next. `hits` has a bit for each of them, the first lowest: whether
// it lets a pixel change, were it the pixel's first. It leaps from one pixel that changes to the next: going from
// draw to draw would guess wrongly at every change, since chance cannot be foreseen.
template <int BYTES>
static void TakeDraws(uint8_t *row, RowState &state, const int32_t *draws, uint64_t hits, int count, int variation,
                      const Remainder &span)
{
    int next = 0;   // the first draw not yet taken
    if (state.pending) {
        ChangePixel<BYTES>(row + BYTES * state.pixel++, span.of(draws[next++]) - variation);
        state.pending = false;
    }
    hits = hits >> next << next;
    while (hits) {
        const int hit = __builtin_ctzll(hits);
        state.pixel += hit - next;
        next = hit + 1;
        if (next == count) {
            state.pending = true;
            return;
        }
        ChangePixel<BYTES>(row + BYTES * state.pixel++, span.of(draws[next++]) - variation);
        hits &= next < 64 ? ~uint64_t(0) << next : 0;
    }
    state.pixel += count - next;
}

// A pixel takes one draw at the least, so drawing as many as there are pixels left never draws too many.
template <int BYTES>
static void NoiseRow(uint8_t *row, int width, const HitTest &test, int variation, const Remainder &span)
{
    int32_t draws[64];
    for (RowState state = {0, false}; state.pixel < width;) {
        const int left = width - state.pixel, count = left < 64 ? left : 64;
        DrawNumbers(draws, count);
        uint64_t hits = 0;
        for (int i = 0; i < count; ++i) hits |= uint64_t(test.hits(draws[i])) << i;
        TakeDraws<BYTES>(row, state, draws, hits, count, variation, span);
    }
}

static void KPZAPI NoiseWorker(EffectBlock *shared)
{
    const NoiseBlock block = BlockOf<NoiseBlock>(noise, shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || view.colourType == PALETTE || IsEmpty(view)) return;

    KPZ_srand();
    const auto noiseRow = view.bitsPerPixel == 24 ? NoiseRow<3> : NoiseRow<1>;
    const HitTest test(block.own.amount);
    const Remainder span(2 * block.own.variation + 1);
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        noiseRow(RowOf(view, y), view.width, test, block.own.variation, span);
    }
}

const EffectDescriptor noise = {
    .name = "Noise",
    .title = "Noise",
    .commandOffset = NOISE_COMMAND,
    .blockSize = sizeof(NoiseBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = NoiseWorker,
    .dialog = NoiseDialog,
    .beforeRun = NoiseBeforeRun,
};
