// Double Vision: the picture seen twice. Along every row (or column) each strip of d = 2h pixels shows, squeezed to
// half its width, the stretch of the line twice as wide around it:
//     pixel i takes the unprocessed pixel i + i mod d - h     for d <= i < length - d
// where h = distance / 2, at least 1. The outer d pixels at both ends stay. Pixels are copied whole, so every picture
// type keeps its values. The mask plane stays.

#include "effects/effects.h"
#include "framework/bands.h"

enum { DISTANCE = 1210, DISTANCE_EDIT = 1220, ROWS = 5530, COLUMNS = 1200 };

struct DoubleVisionParameters {
    int32_t distance = 20;      // pixels; the two pictures stand half of it apart. 1..300
    int32_t direction = ROWS;   // the id of the checked radio button: the lines worked along; all but ROWS are columns
};
struct DoubleVisionBlock {
    EffectBlock common;
    DoubleVisionParameters own;
};
BLOCK_SIZE(DoubleVisionBlock, 140);

static constexpr DoubleVisionParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(DISTANCE, DISTANCE_EDIT, FIELD(DoubleVisionBlock, own.distance), 1, 300),
    Radio(ROWS, FIELD(DoubleVisionBlock, own.direction)),
    Radio(COLUMNS, FIELD(DoubleVisionBlock, own.direction)),
};

static INT_PTR KPZAPI DoubleVisionDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(doubleVision, dialog, message, word, extra);
}

//---- Worker

// The pixels first .. end - 1 of a line change, in strips of d.
struct Strips {
    int h, d, first, end;
};

static Strips StripsOf(int distance, int length)
{
    const int h = distance / 2 < 1 ? 1 : distance / 2;
    return {h, 2 * h, 2 * h, length - 2 * h};
}

// Within a strip the source goes on two pixels at a time, from h before the strip's start.
template <int BYTES> static void DoubleLine(const uint8_t *source, uint8_t *line, const Strips &strips)
{
    for (int strip = strips.first; strip < strips.end; strip += strips.d) {
        const int count = strip + strips.d < strips.end ? strips.d : strips.end - strip;
        const uint8_t *from = source + BYTES * (strip - strips.h);
        uint8_t *to = line + BYTES * strip;
        for (int i = 0; i < count; ++i)
            for (int c = 0; c < BYTES; ++c) to[BYTES * i + c] = from[2 * BYTES * i + c];
    }
}

static void DoubleBits(uint8_t *row, int width, uint8_t *copy, uint8_t *line, const Strips &strips)
{
    UnpackBits(row, width, copy);
    memcpy(line, copy, size_t(width));
    DoubleLine<1>(copy, line, strips);
    PackBits(line, width, row);
}

static void DoubleRows(const ImageView &view, int distance)
{
    const Strips strips = StripsOf(distance, view.width);
    const size_t lineBytes = size_t(RowStride(24, view.width));
    ShareRows(view, {.cost = 1.1, .memory = 2 * lineBytes}, [&](const Rows &rows) {
        uint8_t *copy = rows.memory, *line = rows.memory + lineBytes;
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            uint8_t *row = RowOf(view, y);
            if (view.bitsPerPixel == 1) {
                DoubleBits(row, view.width, copy, line, strips);
                continue;
            }
            memcpy(copy, row, size_t(RowBytes(view)));
            if (view.bitsPerPixel == 24) DoubleLine<3>(copy, row, strips);
            else DoubleLine<1>(copy, row, strips);
        }
    });
}

// Columns are worked on many at a time, as bytes: row y takes the unprocessed row y + y mod d - h, part by part. A part
// is narrow enough for its unprocessed copy to stay in the cache.
constexpr int PART_BYTES = 48;   // 16 pixels of 24 bits

static void DoubleWholePart(const ImageView &view, const Strips &strips, uint8_t *copy, uint8_t *part)
{
    const size_t stride = size_t(RowBytes(view));
    for (int y = 0; y < view.height; ++y) memcpy(copy + size_t(y) * PART_BYTES, part + y * stride, PART_BYTES);
    for (int strip = strips.first; strip < strips.end; strip += strips.d) {
        const int count = strip + strips.d < strips.end ? strips.d : strips.end - strip;
        for (int i = 0; i < count; ++i)
            memcpy(part + (strip + i) * stride, copy + size_t(strip - strips.h + 2 * i) * PART_BYTES, PART_BYTES);
    }
}

// `bits` from a row's byte `offset` on; those after them in the last byte stay.
static void DoublePart(const ImageView &view, const Strips &strips, uint8_t *copy, int offset, int bits)
{
    const int stride = RowBytes(view), bytes = bits / 8, bitsOver = bits % 8;
    const uint8_t over = uint8_t(0xFF00 >> bitsOver);   // the bits of the last byte that change
    uint8_t *part = view.pixels + offset;
    if (bits == 8 * PART_BYTES) return DoubleWholePart(view, strips, copy, part);
    for (int y = 0; y < view.height; ++y)
        memcpy(copy + size_t(y) * PART_BYTES, part + size_t(y) * stride, size_t(bytes) + (bitsOver > 0));
    for (int y = strips.first; y < strips.end; ++y) {
        const uint8_t *from = copy + size_t(y + y % strips.d - strips.h) * PART_BYTES;
        uint8_t *to = part + size_t(y) * stride;
        memcpy(to, from, size_t(bytes));
        if (bitsOver) to[bytes] = uint8_t((to[bytes] & ~over) | (from[bytes] & over));
    }
}

static bool ReportColumn(const ImageView &view, int x)
{
    if (AbortRequested(view)) return false;
    IncrementProgress(view.progressWindow, view.progress, Tenths(x, view.width));
    return true;
}

static void DoubleColumns(const ImageView &view, int distance)
{
    const Strips strips = StripsOf(distance, view.height);
    const int partColumns = PART_BYTES * 8 / view.bitsPerPixel;
    const LineSharing sharing = {{view.width, 1.2 * view.height, partColumns}, size_t(view.height) * PART_BYTES};
    const auto doublePart = [&](int first, int end, uint8_t *copy) {
        DoublePart(view, strips, copy, first * view.bitsPerPixel / 8, (end - first) * view.bitsPerPixel);
    };
    ShareAmongBands(
        sharing, [&](int x) { return ReportColumn(view, x); },
        [&](const Band &band, uint8_t *copy) {
            int first = band.first, x = first;
            for (; band.GoesOn(x); ++x) {
                if (x - first < partColumns) continue;
                doublePart(first, x, copy);
                first = x;
            }
            doublePart(first, x, copy);
        });
}

static void KPZAPI DoubleVisionWorker(EffectBlock *shared)
{
    const DoubleVisionBlock block = BlockOf<DoubleVisionBlock>(doubleVision, shared);
    if (IsEmpty(block.common.view)) return;
    if (block.own.direction == ROWS) DoubleRows(block.common.view, block.own.distance);
    else DoubleColumns(block.common.view, block.own.distance);
}

const EffectDescriptor doubleVision = {
    .name = "DV",
    .title = "Double Vision",
    .commandOffset = DOUBLE_VISION_COMMAND,
    .blockSize = sizeof(DoubleVisionBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = DoubleVisionWorker,
    .dialog = DoubleVisionDialog,
};
