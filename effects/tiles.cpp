// Tiles: cuts the picture into squares and scatters them over a background. Every tile moves by its own random offset,
// in x and then in y,
//     rand() mod (offset + 1) - (offset + 1) / 2
// and where tiles overlap the later one wins. The mask plane is cut and moved with the same offsets, over 0. A tile
// that does not start left of width - tileSize and above height - tileSize is dropped: even where the tiles would fit
// exactly, the last column and the last row of them are not copied.

#include "effects/effects.h"
#include "framework/bands.h"
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

// Only rows `top` to before `bottom` are landed on.
static Tile TileAt(const ImageView &view, int x, int y, int size, int dx, int dy, int top, int bottom)
{
    const int right = std::min(x + size, view.width - dx), end = std::min(y + size, bottom - dy);
    return {std::max(x, -dx), std::max(y, top - dy), right, end, dx, dy};
}

// memcpy of so few bytes, so often, that calling it takes longer than the copy.
static void CopyFew(const uint8_t *from, uint8_t *to, int size)
{
    constexpr int PIECE = 32;
    if (size < PIECE) return void(memcpy(to, from, size_t(size)));
    for (int i = 0; i + PIECE <= size; i += PIECE) memcpy(to + i, from + i, PIECE);
    memcpy(to + size - PIECE, from + size - PIECE, PIECE);
}

// A tile is a few bytes each of many rows, which no processor foresees: what it takes a few rows further on is fetched now.
static void MoveTile(const Tile &tile, const uint8_t *source, uint8_t *plane, int stride, int bitsPerPixel)
{
    constexpr int ROWS_AHEAD = 8, LINE = 64;
    const int bytes = bitsPerPixel / 8, first = tile.left * bytes, size = (tile.right - tile.left) * bytes;
    for (int y = tile.top; y < tile.bottom; ++y) {
        const uint8_t *const from = source + size_t(y) * stride;
        uint8_t *const to = plane + size_t(y + tile.dy) * stride;
        if (bytes == 0) {
            CopyRun(from, tile.left, to, tile.left + tile.dx, tile.right - tile.left, 1);
        } else if (size > 0) {
            const uint8_t *const later = from + ROWS_AHEAD * size_t(stride) + first;
            for (int i = 0; i < size; i += LINE) __builtin_prefetch(later + i);
            CopyFew(from + first, to + first + tile.dx * bytes, size);
        }
    }
}

// The planes that tiles land on, and a row of what shows between them.
struct Canvas {
    ImageView view;
    const uint8_t *background;
};

// The processor is told which memory the next row will need before this one is written.
static void Clear(const Canvas &canvas, int first, int end)
{
    const ImageView &view = canvas.view;
    constexpr size_t LINE = 64;
    const size_t stride = size_t(RowBytes(view)), maskStride = size_t(MaskRowBytes(view));
    for (int y = first; y < end; ++y) {
        for (size_t i = 0; i < stride; i += LINE) __builtin_prefetch(RowOf(view, y) + stride + i, 1);
        memcpy(RowOf(view, y), canvas.background, stride);
        if (view.mask) memset(view.mask + y * maskStride, 0, maskStride);
    }
}

struct Offset {
    int16_t dx, dy;
};

// The tiles of a picture: how many there are, and how far each moves.
struct Scattering {
    int size, across, down;
    int mostUp, mostDown;   // the farthest that any moves
    Offset *offsets;        // row by row
};

static void DrawOffsets(const Scattering &plan, int row, int span)
{
    Offset *offset = plan.offsets + size_t(row) * plan.across;
    for (int i = 0; i < plan.across; ++i, ++offset) {
        offset->dx = int16_t(DrawNumber() % span - span / 2);
        offset->dy = int16_t(DrawNumber() % span - span / 2);
    }
}

// Moves a row of tiles, as far as they land on rows `top` to before `bottom`.
static void MoveTiles(const ImageView &from, const ImageView &to, const Scattering &plan, int row, int top, int bottom)
{
    const int y = row * plan.size;
    if (y + plan.size + plan.mostDown <= top || y - plan.mostUp >= bottom) return;
    for (int i = 0; i < plan.across; ++i) {
        const Offset offset = plan.offsets[size_t(row) * plan.across + i];
        const Tile tile = TileAt(from, i * plan.size, y, plan.size, offset.dx, offset.dy, top, bottom);
        if (from.mask) MoveTile(tile, from.mask, to.mask, MaskRowBytes(from), from.maskBitsPerPixel);
        MoveTile(tile, from.pixels, to.pixels, RowBytes(from), from.bitsPerPixel);
    }
}

// Tiles overlap those of rows nearby, and the later one wins: threads do not share rows of tiles but the rows of pixels
// that these land on, and each moves its part of all of them, in order. Rows of pixels are cleared right before the first
// tiles land there, so that they are close at hand by then.
static void ScatterTiles(const ImageView &view, const Canvas &canvas, const Scattering &plan, int span)
{
    const auto reportAndDraw = [&](int row) {
        if (AbortRequested(view)) return false;
        IncrementProgress(view.progressWindow, view.progress, Tenths(row * plan.size, view.height - plan.size));
        DrawOffsets(plan, row, span);
        return true;
    };
    // Behind all pixels that tiles before these land on.
    const auto landedBefore = [&](int row) {
        return row > 0 ? std::min(row * plan.size + plan.mostDown, view.height) : 0;
    };
    Band all = {};
    int parts = 1;
    const auto moveBand = [&](const Band &band, uint8_t *) {
        if (band.gate) {
            for (int row = band.first; band.GoesOn(row); ++row) {
                Clear(canvas, landedBefore(row), landedBefore(row + 1));
                MoveTiles(view, canvas.view, plan, row, 0, view.height);
            }
            return;
        }
        const int64_t start = std::max(all.first * plan.size - plan.mostUp, 0), end = landedBefore(all.end);
        const int top = int(start + (end - start) * band.index / parts);
        const int bottom = int(start + (end - start) * (band.index + 1) / parts);
        Clear(canvas, std::max(top, landedBefore(all.first)), bottom);
        for (int row = all.first; row < all.end; ++row) MoveTiles(view, canvas.view, plan, row, top, bottom);
    };
    const auto prepare = [&](const Band *bands, int count) {
        all = {bands[0].first, bands[count - 1].end, 0, 0, nullptr};
        parts = count;
    };
    const int reached = ShareAmongBands({{plan.down, 2.5 * plan.size * view.width}}, reportAndDraw, moveBand, prepare);
    Clear(canvas, landedBefore(reached), view.height);
}

// Rows or columns of tiles that are not dropped.
static int TilesAlong(int extent, int size) { return extent > size ? (extent - 1) / size : 0; }

static void KPZAPI TilesWorker(EffectBlock *shared)
{
    const TilesBlock block = BlockOf<TilesBlock>(tiles, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;
    const int size = block.own.tileSize, span = block.own.offset + 1;
    const int across = TilesAlong(view.width, size), down = TilesAlong(view.height, size);

    const NewPlanes scattered(view);
    Scratch background(size_t(RowBytes(view)));
    ImageView oneRow = view;
    oneRow.height = 1;
    oneRow.pixels = background.bytes;
    FillWithColour(oneRow, block.own.background);
    Scratch offsets(size_t(across) * size_t(down) * sizeof(Offset));
    KPZ_srand();
    ScatterTiles(view, {scattered.view, background.bytes},
                 {size, across, down, span / 2, span - 1 - span / 2, reinterpret_cast<Offset *>(offsets.bytes)}, span);
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
