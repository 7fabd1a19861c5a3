// Blocks: a mosaic. The picture is divided into rectangles of blockWidth x blockHeight pixels from the top left, and
// every pixel of a rectangle takes the value of its top left one. Nothing is averaged, so every picture type keeps its
// values. The mask plane stays.

#include "effects/effects.h"
#include "framework/bands.h"

enum { BLOCK_WIDTH = 7210, BLOCK_WIDTH_EDIT = 1180, BLOCK_HEIGHT = 7220, BLOCK_HEIGHT_EDIT = 1190 };

struct BlocksParameters {
    int32_t blockWidth = 10;    // pixels, 1..500
    int32_t blockHeight = 10;   // pixels, 1..500
};
struct BlocksBlock {
    EffectBlock common;
    BlocksParameters own;
};
BLOCK_SIZE(BlocksBlock, 140);

static constexpr BlocksParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(BLOCK_WIDTH, BLOCK_WIDTH_EDIT, FIELD(BlocksBlock, own.blockWidth), 1, 500),
    Spin(BLOCK_HEIGHT, BLOCK_HEIGHT_EDIT, FIELD(BlocksBlock, own.blockHeight), 1, 500),
};

static INT_PTR KPZAPI BlocksDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(blocks, dialog, message, word, extra);
}

//---- Worker

static void FlattenBytes(uint8_t *row, int width, int blockWidth)
{
    for (int x = 0; x < width; x += blockWidth)
        memset(row + x, row[x], size_t(width - x < blockWidth ? width - x : blockWidth));
}

static void FlattenColours(uint8_t *row, int width, int blockWidth)
{
    for (int x = 0; x < width; x += blockWidth) {
        const int end = width - x < blockWidth ? width : x + blockWidth;
        for (int i = x + 1; i < end; ++i) memcpy(row + 3 * i, row + 3 * x, 3);
    }
}

static void FlattenBits(uint8_t *row, int width, int blockWidth, uint8_t *bytes)
{
    UnpackBits(row, width, bytes);
    FlattenBytes(bytes, width, blockWidth);
    PackBits(bytes, width, row);
}

// One row of blocks: the first line is flattened across, the others are copies of it. Row padding stays.
static void FlattenRows(const ImageView &view, int first, int count, int blockWidth, uint8_t *bytes)
{
    uint8_t *row = RowOf(view, first);
    if (view.bitsPerPixel == 24) FlattenColours(row, view.width, blockWidth);
    else if (view.bitsPerPixel == 8) FlattenBytes(row, view.width, blockWidth);
    else FlattenBits(row, view.width, blockWidth, bytes);
    for (int y = 1; y < count; ++y) CopyRun(row, 0, RowOf(view, first + y), 0, view.width, view.bitsPerPixel);
}

static void KPZAPI BlocksWorker(EffectBlock *shared)
{
    const BlocksBlock block = BlockOf<BlocksBlock>(blocks, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;
    const int blockWidth = block.own.blockWidth, blockHeight = block.own.blockHeight;
    const int count = (view.height + blockHeight - 1) / blockHeight;
    const LineSharing sharing = {{count, 0.3 * view.width * blockHeight}, size_t(view.width)};
    ShareAmongBands(
        sharing, [&](int line) { return ReportAndAsk(view, line * blockHeight); },
        [&](const Band &band, uint8_t *memory) {
            for (int line = band.first; band.GoesOn(line); ++line) {
                const int y = line * blockHeight;
                FlattenRows(view, y, view.height - y < blockHeight ? view.height - y : blockHeight, blockWidth, memory);
            }
        });
}

const EffectDescriptor blocks = {
    .name = "Block",
    .title = "Blocks",
    .commandOffset = BLOCKS_COMMAND,
    .blockSize = sizeof(BlocksBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = BlocksWorker,
    .dialog = BlocksDialog,
};
