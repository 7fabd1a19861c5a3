// Slanting a picture. Row y moves right by y * t (t = tan angle; for a negative angle the last row stays instead of
// the first), in 4096ths of a pixel:
//     S = floor(move * 4096 + 0.5),   w0 = S >> 12,   f = S & 4095
//     pixel w0 + i = (p(i - 1) * f + p(i) * (4096 - f) + 2048) >> 12       0 <= i <= width, i = width only when f > 0
// A missing neighbour at a row's ends is the fill, or the end pixel itself. Palette and one-bit pixels move by whole
// pixels, (S + 2048) >> 12. Upright, columns do what rows do here. What is uncovered takes the fill.
//
// A blend is computed as p(i) + ((p(i - 1) - p(i)) * f + 2048 >> 12), which is the same number. Its product has the
// 16-bit halves `high` and `low`; with the difference shifted up by four the high half is the product >> 12, and bit
// 11 of the low half is what rounding adds.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/pictures/rows.h"
#include "host/misc/pictures/shared_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <string>
#include <vector>

typedef std::vector<int64_t> Moves;   // of each row or column, in 4096ths of a pixel

struct Plane {
    uint8_t *pixels;
    int32_t width, height;
    int32_t bitsPerPixel;
    uint32_t stride;
    const uint8_t *Row(int32_t y) const { return pixels + size_t(y) * stride; }
    uint8_t *Row(int32_t y) { return pixels + size_t(y) * stride; }
};

// What the two ways of slanting share.
struct Slant {
    Plane from, to;
    Moves moves;
    uint32_t fill;
    bool edgesToFill;
    HWND window;
    ProgressRecord *progress;
    const int32_t *abortFlag;
};

static Moves MovesOf(int32_t count, int32_t angle)
{
    const double slope = tan(double(angle * 3.1415927 * (1.0L / 180)));
    Moves moves(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        const double move = slope >= 0 ? i * slope : (i - (count - 1)) * slope;
        moves[size_t(i)] = int64_t(floor(move * 4096 + 0.5));
    }
    return moves;
}

static uint8_t Blended(int before, int here, int fraction)
{
    return uint8_t(here + (((before - here) * fraction + 2048) >> 12));
}

static int16_t BlendedQuickly(int16_t before, int16_t here, int16_t fraction)
{
    const auto difference = int16_t(before - here);
    const auto high = int16_t(int16_t(difference << 4) * fraction >> 16);
    const auto low = uint16_t(uint16_t(difference) * uint16_t(fraction));
    return int16_t(here + high + (low >> 11 & 1));
}

static bool ReportRow(const Slant &slant, int32_t y)
{
    const int32_t last = slant.to.height - 1;
    IncrementProgress(slant.window, slant.progress, last > 0 ? int32_t(int64_t(y) * 10 / last) : 10);
    return !slant.abortFlag || !SharedRead(*slant.abortFlag);
}

// Has every row worked on that an abort is not met at, and fills the others.
static void ForEachRow(Slant &slant, double costOfPixel, int threads, Reference<void(const Band &)> work)
{
    Plane &to = slant.to;
    const SharedLines rows = {to.height, costOfPixel * to.width};
    int32_t y = ShareRows(
        threads, rows, [&](int row) { return ReportRow(slant, row); }, work);
    for (; y < to.height; ++y) FillPixels(to.Row(y), 0, to.width, to.bitsPerPixel, slant.fill);
}

static int ThreadsFor(const Slant &slant, double costOfPixel)
{
    return ThreadsFor({slant.to.height, costOfPixel * slant.to.width});
}

//---- Rows slide sideways

// Byte i is blended with the byte one pixel before it.
static void BlendAlong(const uint8_t *row, int32_t from, int32_t to, int32_t bytesPerPixel, int16_t fraction,
                       uint8_t *output)
{
    for (int32_t i = from; i < to; ++i) output[i] = uint8_t(BlendedQuickly(row[i - bytesPerPixel], row[i], fraction));
}

static void SlideRowSmoothly(const Slant &slant, const uint8_t *row, int64_t move, uint8_t *output)
{
    const int32_t bytes = slant.from.bitsPerPixel / 8, end = slant.from.width * bytes;
    const int fraction = int(move & 4095);
    output += (move >> 12) * bytes;
    BlendAlong(row, bytes, end, bytes, int16_t(fraction), output);
    for (int32_t c = 0; c < bytes; ++c) {
        const auto fill = uint8_t(bytes == 3 ? slant.fill >> (16 - 8 * c) : slant.fill);
        const int first = row[c], last = row[end - bytes + c];
        output[c] = Blended(slant.edgesToFill ? fill : first, first, fraction);
        if (fraction > 0) output[end + c] = Blended(last, slant.edgesToFill ? fill : last, fraction);
    }
}

// Where a row's own pixels go: from pixel `start`, as many as `count`.
struct Span {
    int32_t start, count;
};

static Span SpanOf(const Slant &slant, int64_t move, bool smooth)
{
    if (!smooth) return {int32_t((move + 2048) >> 12), slant.from.width};
    return {int32_t(move >> 12), slant.from.width + ((move & 4095) > 0)};
}

static void SlideRows(Slant &slant, bool smooth)
{
    Plane &to = slant.to;
    const auto slide = [&](int32_t y) {
        const int64_t move = slant.moves[size_t(y)];
        const Span span = SpanOf(slant, move, smooth);
        const uint8_t *row = slant.from.Row(y);
        uint8_t *output = to.Row(y);
        const int32_t end = span.start + span.count;
        FillPixels(output, 0, span.start, to.bitsPerPixel, slant.fill);
        FillPixels(output, end, to.width - end, to.bitsPerPixel, slant.fill);
        if (smooth) SlideRowSmoothly(slant, row, move, output);
        else CopyRun(row, 0, output, span.start, span.count, to.bitsPerPixel);
    };
    constexpr double COST_OF_PIXEL = 1.5;
    ForEachRow(slant, COST_OF_PIXEL, ThreadsFor(slant, COST_OF_PIXEL), [&](const Band &band) {
        for (int y = band.first; band.GoesOn(y); ++y) slide(y);
    });
}

//---- Columns slide upright

// Neighbouring columns that move by as many whole pixels.
struct Strip {
    int32_t start, count, move;
};

static std::vector<Strip> StripsOf(const Moves &moves, bool smooth)
{
    std::vector<Strip> strips;
    for (size_t x = 0; x < moves.size(); ++x) {
        const auto move = int32_t((moves[x] + (smooth ? 0 : 2048)) >> 12);
        if (strips.empty() || strips.back().move != move) strips.push_back({int32_t(x), 0, move});
        ++strips.back().count;
    }
    return strips;
}

// The strips that row y of the output has something of, or the row after a column's end, where a blend may end: moves
// only grow or only shrink from strip to strip, so these stand together.
static std::span<const Strip> StripsAt(const Slant &slant, const std::vector<Strip> &strips, int32_t y)
{
    const auto met = [&](const Strip &strip) { return strip.move <= y && y <= strip.move + slant.from.height; };
    const bool growing = strips.front().move <= strips.back().move;
    const auto first = std::partition_point(strips.begin(), strips.end(), [&](const Strip &strip) {
        return growing ? strip.move + slant.from.height < y : strip.move > y;
    });
    const auto end = std::partition_point(first, strips.end(), met);
    return std::span(strips).subspan(size_t(first - strips.begin()), size_t(end - first));
}

// Some columns of a row: from `start` to before `end`.
struct Columns {
    int32_t start, end;
};

static Columns ColumnsOf(std::span<const Strip> strips)
{
    if (strips.empty()) return {0, 0};
    return {strips.front().start, strips.back().start + strips.back().count};
}

static void FillBeside(const Slant &slant, const Columns &columns, uint8_t *row)
{
    const int32_t bits = slant.to.bitsPerPixel;
    FillPixels(row, 0, columns.start, bits, slant.fill);
    FillPixels(row, columns.end, slant.to.width - columns.end, bits, slant.fill);
}

// A few bytes, of which those after the strip's own are the next strips'. What lies behind the last strip stays.
constexpr int32_t FEW_BYTES = 16;
// Neighbouring strips come from different rows, which no processor foresees: what a strip takes a few rows further on is
// fetched now.
constexpr int32_t ROWS_AHEAD = 4;

static bool GoesAsFew(const Strip &strip, int32_t bytes, const Columns &columns)
{
    return strip.count * bytes <= FEW_BYTES && strip.start * bytes + FEW_BYTES <= columns.end * bytes;
}

// Puts together these strips of row y as they are when every column has moved by whole pixels alone.
static void GatherStrips(const Slant &slant, std::span<const Strip> strips, int32_t y, uint8_t *output)
{
    const Plane &from = slant.from;
    const int32_t bits = from.bitsPerPixel, bytes = bits / 8;
    const Columns columns = ColumnsOf(strips);
    for (const Strip &strip : strips) {
        const int32_t i = y - strip.move;
        if (i == from.height) {
            FillPixels(output, strip.start, strip.count, bits, slant.fill);
        } else if (bytes > 0 && GoesAsFew(strip, bytes, columns)) {   // steep slants have many of these
            const size_t start = size_t(strip.start) * size_t(bytes);
            const uint8_t *const few = from.Row(i) + start;
            if (i + ROWS_AHEAD < from.height) __builtin_prefetch(few + size_t(ROWS_AHEAD) * from.stride);
            memcpy(output + start, few, FEW_BYTES);
        } else if (bits == 24 && strip.count == 1) {
            memcpy(output + 3 * size_t(strip.start), from.Row(i) + 3 * size_t(strip.start), 3);
        } else if (bits == 8 && strip.count == 1) {
            output[strip.start] = from.Row(i)[strip.start];
        } else {
            CopyRun(from.Row(i), strip.start, output, strip.start, strip.count, bits);
        }
    }
}

static void SlideColumnsWhole(Slant &slant)
{
    const std::vector<Strip> strips = StripsOf(slant.moves, false);
    constexpr double COST_OF_PIXEL = 1;
    ForEachRow(slant, COST_OF_PIXEL, ThreadsFor(slant, COST_OF_PIXEL), [&](const Band &band) {
        for (int y = band.first; band.GoesOn(y); ++y) {
            const std::span<const Strip> met = StripsAt(slant, strips, y);
            FillBeside(slant, ColumnsOf(met), slant.to.Row(y));
            GatherStrips(slant, met, y, slant.to.Row(y));
        }
    });
}

static void BlendRows(const uint8_t *before, const uint8_t *here, const int16_t *fractions, size_t count,
                      uint8_t *output)
{
    for (size_t i = 0; i < count; ++i) output[i] = uint8_t(BlendedQuickly(before[i], here[i], fractions[i]));
}

// Blending took what lies beyond a column's ends for the fill; here its ends stay what they are.
static void KeepEnds(const Slant &slant, std::span<const Strip> strips, int32_t y, uint8_t *output)
{
    const Plane &from = slant.from;
    const int32_t bits = from.bitsPerPixel;
    for (const Strip &strip : strips) {
        const int32_t i = y - strip.move;
        if (i != 0 && i != from.height) continue;
        const uint8_t *row = from.Row(i == 0 ? 0 : from.height - 1);
        for (int32_t x = strip.start; x < strip.start + strip.count; ++x) {
            const bool covered = i == 0 || (slant.moves[size_t(x)] & 4095) > 0;
            if (covered) CopyRun(row, x, output, x, 1, bits);
        }
    }
}

// One fraction per byte.
static std::vector<int16_t> FractionsOf(const Slant &slant)
{
    std::vector<int16_t> fractions;
    for (const int64_t move : slant.moves)
        fractions.insert(fractions.end(), size_t(slant.from.bitsPerPixel / 8), int16_t(move & 4095));
    return fractions;
}

// `here` and `before` hold the row and the one above it, moved by whole pixels. A column that row y is the first to
// meet has the fill above it.
struct MovedRows {
    std::vector<uint8_t> before, here;
};

static void FillMoved(const Slant &slant, MovedRows &moved)
{
    FillPixels(moved.before.data(), 0, slant.to.width, slant.to.bitsPerPixel, slant.fill);
    FillPixels(moved.here.data(), 0, slant.to.width, slant.to.bitsPerPixel, slant.fill);
}

static void SlideColumnsSmoothly(Slant &slant)
{
    Plane &to = slant.to;
    const size_t bytes = size_t(to.bitsPerPixel) / 8;
    const std::vector<Strip> strips = StripsOf(slant.moves, true);
    const std::vector<int16_t> fractions = FractionsOf(slant);
    constexpr double COST_OF_PIXEL = 4;
    const MovedRows rows = {std::vector<uint8_t>(to.stride), std::vector<uint8_t>(to.stride)};
    std::vector<MovedRows> rowsOf(size_t(ThreadsFor(slant, COST_OF_PIXEL)), rows);
    ForEachRow(slant, COST_OF_PIXEL, int(rowsOf.size()), [&](const Band &band) {
        MovedRows &moved = rowsOf[size_t(band.thread)];
        FillMoved(slant, moved);
        const int above = band.first - 1;
        if (above >= 0) GatherStrips(slant, StripsAt(slant, strips, above), above, moved.here.data());
        for (int y = band.first; band.GoesOn(y); ++y) {
            moved.before.swap(moved.here);
            const std::span<const Strip> met = StripsAt(slant, strips, y);
            const Columns columns = ColumnsOf(met);
            const size_t start = size_t(columns.start) * bytes, count = size_t(columns.end) * bytes - start;
            FillBeside(slant, columns, to.Row(y));
            GatherStrips(slant, met, y, moved.here.data());
            BlendRows(moved.before.data() + start, moved.here.data() + start, fractions.data() + start, count,
                      to.Row(y) + start);
            if (!slant.edgesToFill) KeepEnds(slant, met, y, to.Row(y));
        }
    });
}

//---- All of it

static int32_t GrowthOf(const Moves &moves)
{
    return int32_t((*std::max_element(moves.begin(), moves.end()) + 4095) >> 12);
}

int32_t KPZAPI MiscShearGrowth(int32_t rows, int32_t angle) { return GrowthOf(MovesOf(rows, angle)); }

static Plane PlaneOf(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel)
{
    return {pixels, width, height, bitsPerPixel, uint32_t(RowStride(bitsPerPixel, width))};
}

static Plane NewPlane(int32_t width, int32_t height, int32_t bitsPerPixel)
{
    Plane plane = PlaneOf(nullptr, width, height, bitsPerPixel);
    plane.pixels = AllocateBytes(uint64_t(plane.stride) * uint64_t(height));
    for (int32_t y = 0; y < height; ++y) std::fill_n(plane.Row(y) + plane.stride - 4, 4, uint8_t(0));   // the padding
    return plane;
}

void KPZAPI ShearFunction(uint8_t **pixels, int32_t *width, int32_t *height, int32_t bitsPerPixel, int32_t colourType,
                          int32_t angle, int32_t fill, int32_t edgesToFill, HWND progressWindow,
                          ProgressRecord *progress, int32_t horizontal, int32_t *abortFlag)
{
    const std::string size = std::to_string(*width) + "x" + std::to_string(*height);
    LogCall("ShearFunction", size.c_str(), pixels, width, height, bitsPerPixel, colourType, angle, fill, edgesToFill,
            progressWindow, progress, horizontal, abortFlag);
    const bool smooth = bitsPerPixel > 1 && (colourType == GREY || colourType == RGB);
    Moves moves = MovesOf(horizontal ? *height : *width, angle);
    const int32_t growth = GrowthOf(moves);
    const Plane from = PlaneOf(*pixels, *width, *height, bitsPerPixel);
    const Plane to = NewPlane(*width + (horizontal ? growth : 0), *height + (horizontal ? 0 : growth), bitsPerPixel);
    Slant slant = {from, to, std::move(moves), uint32_t(fill), edgesToFill != 0, progressWindow, progress, abortFlag};
    if (horizontal) SlideRows(slant, smooth);
    else if (smooth) SlideColumnsSmoothly(slant);
    else SlideColumnsWhole(slant);
    KPZ_FreeMem(from.pixels);
    *pixels = to.pixels;
    *width = to.width;
    *height = to.height;
}
