// Slices: cuts the picture into vertical and horizontal bands of random widths and slides each by its own random
// amount, the vertical ones up and the horizontal ones to the left, both at once:
//     pixel (x, y) takes (x + shift of y's band, y + shift of x's band)
// What has no source shows the background. The mask plane moves with the pixels, over 0.
// All random numbers are drawn before the first pixel moves: for each band its shift, then its width less one; the
// vertical bands from the left, then the horizontal ones from the top.

#include "effects/effects.h"
#include "framework/bands.h"
#include "framework/random.h"

#include <algorithm>

enum {
    MIN_WIDTH = 1090,
    MIN_WIDTH_EDIT = 1100,
    MAX_SHIFT = 1110,
    MAX_SHIFT_EDIT = 1120,
    BACKGROUND = 1130,
    MAX_WIDTH = 1160,
    MAX_WIDTH_EDIT = 1170,
};

struct SlicesParameters {
    uint32_t background = 0;   // 0x00BBGGRR
    int32_t maxShift = 32;     // pixels, 1..1000
    int32_t minWidth = 8;      // pixels of a band less one, 1..1000
    int32_t maxWidth = 40;     // pixels, 1..1000; less than two above minWidth counts as two above it
};
struct SlicesBlock {
    EffectBlock common;
    SlicesParameters own;
};
BLOCK_SIZE(SlicesBlock, 148);

static constexpr SlicesParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(MAX_SHIFT, MAX_SHIFT_EDIT, FIELD(SlicesBlock, own.maxShift), 1, 1000),
    Spin(MIN_WIDTH, MIN_WIDTH_EDIT, FIELD(SlicesBlock, own.minWidth), 1, 1000),
    Spin(MAX_WIDTH, MAX_WIDTH_EDIT, FIELD(SlicesBlock, own.maxWidth), 1, 1000),
    ConfiguredColour(BACKGROUND, FIELD(SlicesBlock, own.background)),
};

static INT_PTR KPZAPI SlicesDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(slices, dialog, message, word, extra);
}

//---- Worker

// The shift of every line's band. A band's last line is the one at which the countdown has reached 0.
static void DrawShifts(int32_t *shifts, int lines, const SlicesParameters &own)
{
    const int range = std::max(own.maxWidth - own.minWidth, 2);
    const int span = own.maxShift + 1;
    int countdown = 0, shift = 0;
    for (int line = 0; line < lines; ++line) {
        if (countdown == 0) {
            shift = DrawNumber() % span;
            countdown = DrawNumber() % range + own.minWidth;
        } else {
            --countdown;
        }
        shifts[line] = shift;
    }
}

// Neighbouring columns with one shift.
struct ColumnBand {
    int32_t first, end, shift;
};

static int FindBands(const int32_t *shifts, int columns, ColumnBand *bands)
{
    int count = 0;
    for (int x = 0; x < columns; ++x) {
        if (x == 0 || shifts[x] != shifts[x - 1]) bands[count++] = {x, x, shifts[x]};
        bands[count - 1].end = x + 1;
    }
    return count;
}

// A plane to be sliced, a row of what shows where there is no source, and the plane that it becomes.
struct SlicedPlane {
    const uint8_t *source, *background;
    uint8_t *pixels;
    int width, height, bitsPerPixel;
};

// Neighbouring bands come from different rows, which no processor foresees: what the band takes a few rows further on
// is fetched now.
static void FetchAhead(const SlicedPlane &plane, size_t stride, int y, int x, int count)
{
    constexpr int ROWS_AHEAD = 6, LINE = 64;
    if (y + ROWS_AHEAD >= plane.height) return;
    const uint8_t *row = plane.source + size_t(y + ROWS_AHEAD) * stride;
    const int end = (x + count) * plane.bitsPerPixel / 8;
    for (int byte = x * plane.bitsPerPixel / 8; byte < end; byte += LINE) __builtin_prefetch(row + byte);
}

// One row, band by band.
static void SliceRow(const SlicedPlane &plane, int y, const ColumnBand *bands, int count, int rowShift)
{
    const size_t stride = size_t(RowStride(plane.bitsPerPixel, plane.width));
    const int covered = std::max(plane.width - rowShift, 0);   // pixels that have a source in their row
    uint8_t *row = plane.pixels + y * stride;
    for (int i = 0; i < count && bands[i].first < covered; ++i) {
        const int from = y + bands[i].shift, first = bands[i].first, end = std::min(bands[i].end, covered);
        FetchAhead(plane, stride, from, first + rowShift, end - first);
        if (from < plane.height)
            CopyRun(plane.source + from * stride, first + rowShift, row, first, end - first, plane.bitsPerPixel);
        else CopyRun(plane.background, first, row, first, end - first, plane.bitsPerPixel);
    }
    CopyRun(plane.background, covered, row, covered, plane.width - covered, plane.bitsPerPixel);
}

static void ClearRow(const SlicedPlane &plane, int y)
{
    const size_t stride = size_t(RowStride(plane.bitsPerPixel, plane.width));
    CopyRun(plane.background, 0, plane.pixels + y * stride, 0, plane.width, plane.bitsPerPixel);
}

// After an abort the rows not yet reached are background.
static void SlicePlanes(const ImageView &view, const SlicedPlane *planes, int planeCount, const ColumnBand *bands,
                        int count, const int32_t *rowShifts)
{
    const int reached = ShareRows(view, {.cost = 2}, [&](const Rows &rows) {
        for (int y = rows.first; rows.GoesOn(y); ++y)
            for (int i = 0; i < planeCount; ++i) SliceRow(planes[i], y, bands, count, rowShifts[y]);
    });
    for (int y = reached; y < view.height; ++y)
        for (int i = 0; i < planeCount; ++i) ClearRow(planes[i], y);
}

static void KPZAPI SlicesWorker(EffectBlock *shared)
{
    const SlicesBlock block = BlockOf<SlicesBlock>(slices, shared);
    const ImageView &view = block.common.view;
    if (IsEmpty(view)) return;

    const NewPlanes sliced(view);
    Scratch background(size_t(RowBytes(view))), noMask(size_t(RowStride(8, view.width)));
    ImageView oneRow = view;
    oneRow.height = 1;
    oneRow.pixels = background.bytes;
    FillWithColour(oneRow, block.own.background);
    memset(noMask.bytes, 0, size_t(RowStride(8, view.width)));
    const SlicedPlane planes[] = {
        {view.pixels, background.bytes, sliced.view.pixels, view.width, view.height, view.bitsPerPixel},
        {view.mask, noMask.bytes, sliced.view.mask, view.width, view.height, view.maskBitsPerPixel},
    };

    Scratch memory((size_t(view.width) + view.height) * sizeof(int32_t)), bandMemory(view.width * sizeof(ColumnBand));
    auto *columnShifts = reinterpret_cast<int32_t *>(memory.bytes), *rowShifts = columnShifts + view.width;
    auto *bands = reinterpret_cast<ColumnBand *>(bandMemory.bytes);
    KPZ_srand();
    DrawShifts(columnShifts, view.width, block.own);
    DrawShifts(rowShifts, view.height, block.own);
    const int count = FindBands(columnShifts, view.width, bands);
    SlicePlanes(view, planes, view.mask ? 2 : 1, bands, count, rowShifts);
    sliced.Store(view);
}

const EffectDescriptor slices = {
    .name = "Slices",
    .title = "Slices",
    .commandOffset = SLICES_COMMAND,
    .blockSize = sizeof(SlicesBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = SlicesWorker,
    .dialog = SlicesDialog,
};
