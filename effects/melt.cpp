// Melt: the picture runs like wax. Random pixels sink in one direction for as long as the neighbour ahead is at least
// as bright, changing places with it at every step. 100 passes start width * height / 100 * amount / 100 walks each,
// but at least one: at 100 percent one walk starts per pixel on average. Later walks see what earlier ones have done.
// A walk starts at a random pixel that is not on either end of its line, x drawn before y. Pictures with two or fewer
// pixels along the walk have no such pixel and stay as they are, and so do one-bit pictures and the mask plane.

#include "effects/effects.h"

#include <stdlib.h>

enum { AMOUNT = 6450, AMOUNT_EDIT = 1010, DOWN = 1230, UP = 1240, LEFT = 1250, RIGHT = 1260 };

struct MeltParameters {
    int32_t amount = 100;        // percent, 1..100
    int32_t direction = RIGHT;   // the id of the checked radio button: where pixels sink to
};
struct MeltBlock { EffectBlock common; MeltParameters own; };
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

// How many of at most `limit` steps of `step` bytes the pixel sinks.
template <int BYTES> static int StepsOf(const uint8_t *pixel, ptrdiff_t step, int limit, Levels levels)
{
    const int level = LevelOf<BYTES>(pixel, levels);
    int steps = 0;
    while (steps < limit && level <= LevelOf<BYTES>(pixel += step, levels)) ++steps;
    return steps;
}

// The pixels that the sinking one passes move back by one, and it is put down where it stops: the same as changing
// places at every step. Along a row they move as one run.
template <int BYTES> static void Sink(uint8_t *pixel, ptrdiff_t step, int limit, Levels levels)
{
    const int steps = StepsOf<BYTES>(pixel, step, limit, levels);
    uint8_t sinking[BYTES];
    memcpy(sinking, pixel, BYTES);
    uint8_t *last = pixel + steps * step;
    if (step == BYTES)       memmove(pixel, pixel + BYTES, size_t(steps) * BYTES);
    else if (step == -BYTES) memmove(last + BYTES, last, size_t(steps) * BYTES);
    else                     for (; pixel != last; pixel += step) memcpy(pixel, pixel + step, BYTES);
    memcpy(last, sinking, BYTES);
}

static void FillLevels(const ImageView &view, uint8_t *levels)
{
    for (int i = 0; i < 256; ++i) levels[i] = uint8_t(Brightness(view.red[i], view.green[i], view.blue[i]));
}

// One walk: two draws, then as many steps as there are pixels ahead up to the line's end.
template <int BYTES> static void Walk(const ImageView &view, bool alongRow, bool forward, Levels levels)
{
    const int stride = RowBytes(view);
    const int x = alongRow ? rand() % (view.width - 2) + 1 : rand() % view.width;
    const int y = alongRow ? rand() % view.height : rand() % (view.height - 2) + 1;
    const int at = alongRow ? x : y, limit = alongRow ? view.width : view.height;
    const ptrdiff_t step = alongRow ? BYTES : stride;
    Sink<BYTES>(view.pixels + ptrdiff_t(y) * stride + BYTES * x, forward ? step : -step, forward ? limit - 1 - at : at,
                levels);
}

static void KPZAPI MeltWorker(EffectBlock *shared)
{
    constexpr int PASSES = 100;
    const MeltBlock block = BlockOf<MeltBlock>(shared);
    const ImageView &view = block.common.view;
    const int direction = block.own.direction;
    const bool alongRow = direction == LEFT || direction == RIGHT;
    if (view.bitsPerPixel == 1 || (alongRow ? view.width : view.height) <= 2) return;

    uint8_t levels[256];
    if (view.bitsPerPixel == 8) FillLevels(view, levels);
    const auto walk = view.bitsPerPixel == 24 ? Walk<3> : Walk<1>;
    const bool forward = direction == DOWN || direction == RIGHT;
    int64_t walks = int64_t(view.width) * view.height / 100 * block.own.amount / 100;
    if (walks < 1) walks = 1;

    KPZ_srand();
    for (int pass = 0; pass < PASSES && !AbortRequested(view); ++pass) {
        IncrementProgress(view.progressWindow, view.progress, pass / 10);
        for (int64_t i = 0; i < walks; ++i) walk(view, alongRow, forward, levels);
    }
}

const EffectDescriptor melt = {
    .name = "Melt", .title = "Melt", .openTitle = "Melting", .templateId = 4720, .help = 87,
    .blockSize = sizeof(MeltBlock), .defaults = defaults, .controls = controls, .worker = MeltWorker,
    .dialog = MeltDialog,
};
