// Melt: the picture runs like wax. Random pixels sink in one direction for as long as the neighbour ahead is at least
// as bright, changing places with it at every step. 100 passes start width * height / 100 * amount / 100 walks each,
// but at least one: at 100 percent one walk starts per pixel on average. Later walks see what earlier ones have done.
// A walk never leaves its line, so that threads may share a pass's lines once its walks' starts are drawn.
// A walk starts at a random pixel that is not on either end of its line, x drawn before y. Pictures with two or fewer
// pixels along the walk have no such pixel and stay as they are, and so do one-bit pictures and the mask plane.

#include "effects/effects.h"
#include "framework/bands.h"
#include "framework/random.h"

#include <algorithm>
#include <array>
#include <atomic>

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

// Where walks go, and how their pixels are weighed.
struct Course {
    const ImageView &view;
    bool alongRow;
    ptrdiff_t step;
    Levels levels;
};

struct Start {
    uint32_t offset;   // of the pixel, in bytes from the plane's start
    int32_t limit;     // steps to the end of the line
    int32_t line;
};

// The processor is told to fetch a walk's pixel and the one ahead.
static inline void Fetch(const Course &course, const Start &start)
{
    const uint8_t *pixel = course.view.pixels + start.offset;
    __builtin_prefetch(pixel, 1);
    __builtin_prefetch(pixel + course.step, 1);
}

// Few walks are fetched as they are drawn, many when some walks before them start.
constexpr int FEW_WALKS = 32, MANY_WALKS = 1 << 16;

// Two draws a walk, which do not look at the picture.
static void DrawStarts(const Course &course, Start *starts, int count)
{
    const ImageView &view = course.view;
    const int across = course.alongRow ? view.width - 2 : view.width,
              down = course.alongRow ? view.height : view.height - 2;
    const int last = (course.alongRow ? view.width : view.height) - 1, bytes = view.bitsPerPixel >> 3;
    const bool forward = course.step > 0;
    for (int i = 0; i < count; ++i) {
        const int x = DrawNumber() % across + course.alongRow, y = DrawNumber() % down + !course.alongRow;
        const int at = course.alongRow ? x : y, line = course.alongRow ? y : x;
        starts[i] = {uint32_t(y) * uint32_t(RowBytes(view)) + uint32_t(x * bytes), forward ? last - at : at, line};
        if (count <= FEW_WALKS) Fetch(course, starts[i]);
    }
}

// A walk that is done, to be taken back.
struct Walked {
    uint32_t offset;   // of its start, in bytes from the plane's
    int32_t steps;
};

// Back through all walks from the last one on, each the other way.
template <int BYTES> static void TakeBack(const ImageView &view, const Walked *walked, int64_t count, ptrdiff_t step)
{
    while (count-- > 0) {
        uint8_t *pixel = view.pixels + walked[count].offset;
        Move<BYTES>(pixel + walked[count].steps * step, -step, walked[count].steps);
    }
}

// Where walks are long or many, a pass asks for an abort each time it has done this much: a step counts 1 and a walk's
// start 4. That is a few milliseconds.
constexpr int64_t ASK_AFTER = 1 << 18, START_COST = 4;

// A pass's walks are drawn some at a time. Walks of one line see each other and stay in order; lines come in bands, of
// which threads take one at a time.
constexpr int MOST_BANDS = 64;

struct Lot {
    const Start *starts;
    Walked *walked;
    int count;
};

// Only the run's own thread asks for an abort, and counts in `done` what it has done since it asked last; walks that an
// abort comes before do nothing.
template <int BYTES>
static void WalkLot(const Course &course, const Lot &lot, int64_t *done, std::atomic<bool> &aborted)
{
    const ImageView &view = course.view;
    int64_t sinceAsked = done ? *done : 0;
    for (int i = 0; i < lot.count; ++i) {
        if (i + FEW_WALKS < lot.count) Fetch(course, lot.starts[i + FEW_WALKS]);
        const Start start = lot.starts[i];
        uint8_t *pixel = view.pixels + start.offset;
        int steps = 0;
        if (!aborted.load(std::memory_order_relaxed)) {
            steps = StepsOf<BYTES>(pixel, course.step, start.limit, course.levels);
            Move<BYTES>(pixel, course.step, steps);
        }
        lot.walked[i] = {start.offset, steps};
        sinceAsked += START_COST + steps;
        if (sinceAsked < ASK_AFTER) continue;
        sinceAsked = 0;
        if (done && AbortRequested(view)) aborted = true;
    }
    if (done) *done = sinceAsked;
}

// Sorts starts by band, those of a band in the order they were in; band i's begin at bounds[i].
static void SortByBand(const Start *starts, int count, int lines, Start *sorted,
                       std::array<int, MOST_BANDS + 1> &bounds)
{
    int shift = 0;
    while ((lines - 1) >> shift >= MOST_BANDS) ++shift;
    std::array<int, MOST_BANDS> next = {};
    for (int i = 0; i < count; ++i) ++next[size_t(starts[i].line >> shift)];
    for (size_t band = 0, begun = 0; band < MOST_BANDS; ++band) {
        bounds[band] = int(begun);
        begun += size_t(next[band]);
        next[band] = bounds[band];
    }
    bounds[MOST_BANDS] = count;
    for (int i = 0; i < count; ++i) sorted[next[size_t(starts[i].line >> shift)]++] = starts[i];
}

// Memory of a pass. `sorted` is of as many starts as `starts`, and unused on one thread.
struct PassMemory {
    int threads, mostAtOnce;
    Start *starts, *sorted;
    Walked *walked;   // of all walks
};

// One pass. An abort in the middle of it takes it back: only whole passes stay.
template <int BYTES> static void Walk(const Course &course, int64_t walks, const PassMemory &memory)
{
    const ImageView &view = course.view;
    std::atomic<bool> aborted{false};
    int64_t done = 0;
    for (int64_t first = 0; first < walks; first += memory.mostAtOnce) {
        const int count = int(std::min<int64_t>(walks - first, memory.mostAtOnce));
        Walked *walked = memory.walked + first;
        DrawStarts(course, memory.starts, count);
        if (memory.threads == 1) {
            WalkLot<BYTES>(course, {memory.starts, walked, count}, &done, aborted);
        } else {
            std::array<int, MOST_BANDS + 1> bounds;
            SortByBand(memory.starts, count, course.alongRow ? view.height : view.width, memory.sorted, bounds);
            ShareParts(memory.threads, MOST_BANDS, [&](int part, int thread) {
                const int from = bounds[size_t(part)];
                WalkLot<BYTES>(course, {memory.sorted + from, walked + from, bounds[size_t(part) + 1] - from},
                               thread == 0 ? &done : nullptr, aborted);
            });
        }
        if (aborted) return TakeBack<BYTES>(view, memory.walked, first + count, course.step);
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
    const ptrdiff_t towards = alongRow ? view.bitsPerPixel / 8 : RowBytes(view);
    const Course course = {view, alongRow, forward ? towards : -towards, levels};
    const int64_t walks = std::max<int64_t>(int64_t(view.width) * view.height / 100 * block.own.amount / 100, 1);

    constexpr double COST_OF_WALK = 40;
    const int threads = ThreadsWorthwhile(ThreadsOfRun(), COST_OF_WALK * double(std::min<int64_t>(walks, MANY_WALKS)));
    const int mostAtOnce = int(std::min<int64_t>(walks, threads == 1 ? FEW_WALKS : MANY_WALKS));
    Scratch starts(2 * size_t(mostAtOnce) * sizeof(Start)), walked(size_t(walks) * sizeof(Walked));
    auto *const drawn = reinterpret_cast<Start *>(starts.bytes);
    const PassMemory memory = {threads, mostAtOnce, drawn, drawn + mostAtOnce,
                               reinterpret_cast<Walked *>(walked.bytes)};

    KPZ_srand();
    for (int pass = 0; pass < PASSES && !AbortRequested(view); ++pass) {
        IncrementProgress(view.progressWindow, view.progress, pass / 10);
        walk(course, walks, memory);
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
