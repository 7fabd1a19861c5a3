// Random Shear: jitters the picture along two random walks. Every row slides sideways by a walk that goes one step, +1
// or -1, per row; every column slides up or down by its own value of a walk that goes one step per column:
//     pixel (x, y) takes (x + walk of row y, y + walk of column x)
// What has no source takes the fill colour. The mask plane moves with the pixels; without a source it keeps its value.
// The draws: one per column from the left, then one per row, each just before its row. An even number steps up.

#include "effects/effects.h"

#include <algorithm>
#include <stdlib.h>

enum { FILL_COLOUR = 1130 };

struct RandomShearParameters {
    uint32_t fillColour = 0;   // 0x00BBGGRR
};
struct RandomShearBlock { EffectBlock common; RandomShearParameters own; };
BLOCK_SIZE(RandomShearBlock, 136);

static constexpr RandomShearParameters defaults;

static constexpr ControlBinding controls[] = {
    ConfiguredColour(FILL_COLOUR, FIELD(RandomShearBlock, own.fillColour)),
};

static INT_PTR KPZAPI RandomShearDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(randomShear, dialog, message, word, extra);
}

//---- Worker

static int Step() { return rand() % 2 == 0 ? 1 : -1; }

// The pixels first .. end - 1 of row y, each from the row its column's walk leads to and `rowWalk` to the side.
struct ShearedRow { int first, end, y, rowWalk, height; };

template <int BYTES>
static void ShearBytes(const uint8_t *source, uint8_t *row, size_t stride, const int32_t *columnWalk,
                       const ShearedRow &sheared)
{
    for (int x = sheared.first; x < sheared.end; ++x) {
        const unsigned from = unsigned(sheared.y + columnWalk[x]);   // above the picture it becomes very large
        if (from >= unsigned(sheared.height)) continue;
        memcpy(row + BYTES * x, source + from * stride + BYTES * (x + sheared.rowWalk), BYTES);
    }
}

static void ShearBits(const uint8_t *source, uint8_t *row, size_t stride, const int32_t *columnWalk,
                      const ShearedRow &sheared)
{
    for (int x = sheared.first; x < sheared.end; ++x) {
        const unsigned from = unsigned(sheared.y + columnWalk[x]);
        if (from < unsigned(sheared.height)) SetBit(row, x, BitAt(source + from * stride, x + sheared.rowWalk));
    }
}

static void ShearRow(const uint8_t *source, uint8_t *plane, int bitsPerPixel, int width, const int32_t *columnWalk,
                     const ShearedRow &sheared)
{
    const size_t stride = size_t(RowBytes(bitsPerPixel, width));
    const auto move = bitsPerPixel == 24 ? ShearBytes<3> : bitsPerPixel == 8 ? ShearBytes<1> : ShearBits;
    move(source, plane + sheared.y * stride, stride, columnWalk, sheared);
}

static void KPZAPI RandomShearWorker(EffectBlock *shared)
{
    const RandomShearBlock block = BlockOf<RandomShearBlock>(shared);
    const ImageView &view = block.common.view;

    const PlaneCopies source(view);
    FillWithColour(view, block.own.fillColour);

    Scratch memory(size_t(view.width) * sizeof(int32_t));
    auto *columnWalk = reinterpret_cast<int32_t *>(memory.bytes);
    KPZ_srand();
    for (int x = 0, walk = 0; x < view.width; ++x) columnWalk[x] = walk += Step();

    int rowWalk = 0;
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        rowWalk += Step();
        const ShearedRow sheared = {std::max(0, -rowWalk), std::min(view.width, view.width - rowWalk), y, rowWalk,
                                    view.height};
        if (view.mask) ShearRow(source.mask, view.mask, view.maskBitsPerPixel, view.width, columnWalk, sheared);
        ShearRow(source.pixels, view.pixels, view.bitsPerPixel, view.width, columnWalk, sheared);
    }
}

const EffectDescriptor randomShear = {
    .name = "Random Shear", .title = "Random Shear", .templateId = 4890, .help = 92,
    .blockSize = sizeof(RandomShearBlock), .defaults = defaults, .controls = controls, .worker = RandomShearWorker,
    .dialog = RandomShearDialog,
};
