// Melt: the picture runs like wax. Random pixels sink in one direction for as long as the neighbour ahead is at least
// as bright, changing places with it at every step. 100 passes start width * height / 100 * amount / 100 walks each,
// but at least one: at 100 percent one walk starts per pixel on average. Later walks see what earlier ones have done.
// A walk starts at a random pixel that is not on either end of its line, x drawn before y. Pictures with two or fewer
// pixels along the walk have no such pixel and stay as they are, and so do one-bit pictures and the mask plane.

#include "effects/effects.h"
#include "framework/random.h"

#include <algorithm>

enum { AMOUNT = 6450, AMOUNT_EDIT = 1010, DOWN = 1230, UP = 1240, LEFT = 1250, RIGHT = 1260 };

struct MeltParameters {
    int32_t amount = 100;        // percent, 1..100
    int32_t direction = RIGHT;   // the id of the checked radio button: where pixels sink to
};
struct MeltBlock {
    EffectBlock common;
    MeltParameters own;
};
BLOCK_SIZE(MeltBlock, 140);

static constexpr MeltParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(AMOUNT, AMOUNT_EDIT, FIELD(MeltBlock, own.amount), 1, 100),
    Radio(DOWN, FIELD(MeltBlock, own.direction)),
    Radio(UP, FIELD(MeltBlock, own.direction)),
    Radio(LEFT, FIELD(MeltBlock, own.direction)),
    Radio(RIGHT, FIELD(MeltBlock, own.direction)),
};

static INT_PTR KPZAPI MeltDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(melt, dialog, message, word, extra);
}

//---- Worker

// The levels of 8-bit pixels; 24-bit ones carry theirs.
typedef const uint8_t *Levels;

template <int BYTES> static int LevelOf(const uint8_t *pixel, Levels levels)
{
    return BYTES == 3 ? Brightness(pixel) : levels[*pixel];
}

// Goes on from `steps` steps that the pixel sinks for certain, to at most `limit`.
template <int BYTES>
static int StepsOneByOne(const uint8_t *pixel, ptrdiff_t step, int level, int steps, int limit, Levels levels)
{
    while (steps < limit && level <= LevelOf<BYTES>(pixel + (steps + 1) * step, levels)) ++steps;
    return steps;
}

// The same along a row of 24 bits, four pixels at a time; it stops at a darker one or near the limit.
#if HAS_SSE2
FOR_SSSE3 static int StepsByFours(const uint8_t *pixel, bool forward, int level, int steps, int limit)
{
    constexpr int MARGIN = 2;   // a load of four pixels takes four bytes more
    const __m128i weights = _mm_set1_epi32(5 | 16 << 8 | 11 << 16), ones = _mm_set1_epi16(1);
    const __m128i threshold = _mm_set1_epi32(level << 5);
    // Each pixel in 32 bits, the nearest first.
    const __m128i order = forward ? _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)
                                  : _mm_setr_epi8(9, 10, 11, -1, 6, 7, 8, -1, 3, 4, 5, -1, 0, 1, 2, -1);
    for (; steps + 4 + MARGIN <= limit; steps += 4) {
        const uint8_t *first = forward ? pixel + 3 * (steps + 1) : pixel - 3 * (steps + 4);
        const __m128i pixels = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(first)), order);
        const __m128i sums = _mm_madd_epi16(_mm_maddubs_epi16(pixels, weights), ones);
        const int darker = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(sums, threshold)));
        if (darker) return steps + __builtin_ctz(unsigned(darker));
    }
    return steps;
}
#else
static int StepsByFours(const uint8_t *, bool, int, int steps, int) { return steps; }
#endif

// How many of at most `limit` steps of `step` bytes the pixel sinks. Most go a few steps only; some go far.
template <int BYTES> static int StepsOf(const uint8_t *pixel, ptrdiff_t step, int limit, Levels levels)
{
    constexpr int FEW = 4;
    const int level = LevelOf<BYTES>(pixel, levels);
    int steps = StepsOneByOne<BYTES>(pixel, step, level, 0, std::min(limit, FEW), levels);
    if (steps < FEW) return steps;
    if (BYTES == 3 && MayUseSsse3() && (step == BYTES || step == -BYTES))
        steps = StepsByFours(pixel, step > 0, level, steps, limit);
    return StepsOneByOne<BYTES>(pixel, step, level, steps, limit, levels);
}

// The pixels that a moving one passes move back by one, and it is put down where it stops: the same as changing places
// at every step. Along a row they move as one run.
template <int BYTES> static void Move(uint8_t *pixel, ptrdiff_t step, int steps)
{
    uint8_t moving[BYTES];
    memcpy(moving, pixel, BYTES);
    uint8_t *last = pixel + steps * step;
    if (step == BYTES) memmove(pixel, pixel + BYTES, size_t(steps) * BYTES);
    else if (step == -BYTES) memmove(last + BYTES, last, size_t(steps) * BYTES);
    else
        for (; pixel != last; pixel += step) memcpy(pixel, pixel + step, BYTES);
    memcpy(last, moving, BYTES);
}

static void FillLevels(const ImageView &view, uint8_t *levels)
{
    for (int i = 0; i < 256; ++i) levels[i] = uint8_t(Brightness(view.red[i], view.green[i], view.blue[i]));
}

struct Start {
    uint8_t *pixel;
    int limit;   // steps to the end of the line
};

// Two draws a walk. The processor is told to fetch the pixel and the one ahead.
static Start DrawStart(const ImageView &view, bool alongRow, bool forward, ptrdiff_t step)
{
    const int x = alongRow ? DrawNumber() % (view.width - 2) + 1 : DrawNumber() % view.width;
    const int y = alongRow ? DrawNumber() % view.height : DrawNumber() % (view.height - 2) + 1;
    const int at = alongRow ? x : y, last = (alongRow ? view.width : view.height) - 1;
    uint8_t *pixel = RowOf(view, y) + x * (view.bitsPerPixel >> 3);
    __builtin_prefetch(pixel, 1);
    __builtin_prefetch(pixel + step, 1);
    return {pixel, forward ? last - at : at};
}

// A walk that is done, to be taken back.
struct Walked {
    uint32_t offset;   // of its start, in bytes from the plane's
    int32_t steps;
};

// Where walks are long or many, a pass asks for an abort each time it has done this much: a step counts 1 and a walk's
// start 4. That is a few milliseconds.
constexpr int64_t ASK_AFTER = 1 << 18, START_COST = 4;

// Back through all walks from the last one on, each the other way.
template <int BYTES> static void TakeBack(const ImageView &view, const Walked *walked, int64_t count, ptrdiff_t step)
{
    while (count-- > 0) {
        uint8_t *pixel = view.pixels + walked[count].offset;
        Move<BYTES>(pixel + walked[count].steps * step, -step, walked[count].steps);
    }
}

// One pass. An abort in the middle of it takes it back: only whole passes stay. Draws do not look at the picture: those
// of some walks are made ahead, so that their pixels have come from memory by the time they sink.
template <int BYTES>
static void Walk(const ImageView &view, int64_t walks, bool alongRow, bool forward, Levels levels, Walked *walked)
{
    constexpr int AHEAD = 32;
    const ptrdiff_t towards = alongRow ? BYTES : RowBytes(view), step = forward ? towards : -towards;
    int64_t done = 0;   // since the last question
    for (int64_t i = 0; i < walks; i += AHEAD) {
        if (done >= ASK_AFTER && AbortRequested(view)) return TakeBack<BYTES>(view, walked, i, step);
        if (done >= ASK_AFTER) done = 0;
        Start starts[AHEAD];
        const int count = int(std::min<int64_t>(walks - i, AHEAD));
        for (int j = 0; j < count; ++j) starts[j] = DrawStart(view, alongRow, forward, step);
        for (int j = 0; j < count; ++j) {
            uint8_t *pixel = starts[j].pixel;
            const int steps = StepsOf<BYTES>(pixel, step, starts[j].limit, levels);
            Move<BYTES>(pixel, step, steps);
            walked[i + j] = {uint32_t(pixel - view.pixels), steps};
            done += START_COST + steps;
        }
    }
}

static void KPZAPI MeltWorker(EffectBlock *shared)
{
    constexpr int PASSES = 100;
    const MeltBlock block = BlockOf<MeltBlock>(melt, shared);
    const ImageView &view = block.common.view;
    const int direction = block.own.direction;
    const bool alongRow = direction == LEFT || direction == RIGHT;
    if (view.bitsPerPixel == 1 || IsEmpty(view) || (alongRow ? view.width : view.height) <= 2) return;

    uint8_t levels[256];
    if (view.bitsPerPixel == 8) FillLevels(view, levels);
    const auto walk = view.bitsPerPixel == 24 ? Walk<3> : Walk<1>;
    const bool forward = direction == DOWN || direction == RIGHT;
    int64_t walks = int64_t(view.width) * view.height / 100 * block.own.amount / 100;
    if (walks < 1) walks = 1;
    Scratch memory(size_t(walks) * sizeof(Walked));
    auto *walked = reinterpret_cast<Walked *>(memory.bytes);

    KPZ_srand();
    for (int pass = 0; pass < PASSES && !AbortRequested(view); ++pass) {
        IncrementProgress(view.progressWindow, view.progress, pass / 10);
        walk(view, walks, alongRow, forward, levels, walked);
    }
}

const EffectDescriptor melt = {
    .name = "Melt",
    .title = "Melt",
    .openTitle = "Melting",
    .commandOffset = MELT_COMMAND,
    .blockSize = sizeof(MeltBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = MeltWorker,
    .dialog = MeltDialog,
};
