// Tiles: cuts the picture into squares and scatters them over a background. Every tile moves by its own random offset,
// in x and then in y,
//     rand() mod (offset + 1) - (offset + 1) / 2
// and where tiles overlap the later one wins. The mask plane is cut and moved with the same offsets, over 0. A tile
// that does not start left of width - tileSize and above height - tileSize is dropped: even where the tiles would fit
// exactly, the last column and the last row of them are not copied.

#include "effects/effects.h"
#include "framework/random.h"

#include <algorithm>

enum { OFFSET = 1110, OFFSET_EDIT = 1120, BACKGROUND = 1130, TILE_SIZE = 1150, TILE_SIZE_EDIT = 1140 };

struct TilesParameters {
    int32_t tileSize = 32;     // pixels, 1..1000
    uint32_t background = 0;   // 0x00BBGGRR
    int32_t offset = 32;       // pixels between the farthest shifts either way, 1..1000
};
struct TilesBlock {
    EffectBlock common;
    TilesParameters own;
};
BLOCK_SIZE(TilesBlock, 144);

static constexpr TilesParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(OFFSET, OFFSET_EDIT, FIELD(TilesBlock, own.offset), 1, 1000),
    Spin(TILE_SIZE, TILE_SIZE_EDIT, FIELD(TilesBlock, own.tileSize), 1, 1000),
    ConfiguredColour(BACKGROUND, FIELD(TilesBlock, own.background)),
};

static INT_PTR KPZAPI TilesDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(tiles, dialog, message, word, extra);
}

//---- Worker

// A tile's pixels first .. end - 1 across and down, cut to those that land inside the picture.
struct Tile {
    int left, top, right, bottom, dx, dy;
};

static Tile TileAt(const ImageView &view, int x, int y, int size, int dx, int dy)
{
    const int right = std::min(x + size, view.width - dx), bottom = std::min(y + size, view.height - dy);
    return {std::max(x, -dx), std::max(y, -dy), right, bottom, dx, dy};
}

static void MoveTile(const Tile &tile, const uint8_t *source, uint8_t *plane, int stride, int bitsPerPixel)
{
    for (int y = tile.top; y < tile.bottom; ++y) {
        CopyRun(source + size_t(y) * stride, tile.left, plane + size_t(y + tile.dy) * stride, tile.left + tile.dx,
                tile.right - tile.left, bitsPerPixel);
    }
}

static void KPZAPI TilesWorker(EffectBlock *shared)
{
    const TilesBlock block = BlockOf<TilesBlock>(tiles, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;
    const int size = AtLeast1(block.own.tileSize);
    const int span = AtLeast1(block.own.offset + 1), half = span / 2;

    const NewPlanes scattered(view);
    FillWithColour(scattered.view, block.own.background);
    if (view.mask) memset(scattered.view.mask, 0, size_t(MaskRowBytes(view)) * view.height);

    KPZ_srand();
    for (int y = 0; y < view.height - size && !AbortRequested(view); y += size) {
        IncrementProgress(view.progressWindow, view.progress, Tenths(y, view.height - size));
        for (int x = 0; x < view.width - size; x += size) {
            const int dx = DrawNumber() % span - half;
            const int dy = DrawNumber() % span - half;
            const Tile tile = TileAt(view, x, y, size, dx, dy);
            if (view.mask) MoveTile(tile, view.mask, scattered.view.mask, MaskRowBytes(view), view.maskBitsPerPixel);
            MoveTile(tile, view.pixels, scattered.view.pixels, RowBytes(view), view.bitsPerPixel);
        }
    }
    scattered.Store(view);
}

const EffectDescriptor tiles = {
    .name = "Tile",
    .title = "Tiles",
    .commandOffset = TILES_COMMAND,
    .blockSize = sizeof(TilesBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = TilesWorker,
    .dialog = TilesDialog,
};
