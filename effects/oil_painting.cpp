// Oil Painting: daubs of flat paint. Every byte of a pixel takes, on its own, the most frequent value of the square of
// 2r x 2r pixels that reaches r to the left and up, and r - 1 to the right and down, as far as it lies in the picture.
// Values count in buckets of four, and the value taken is the sample that first, in reading order, brought a bucket to
// the highest count of all. r is the brush size, held to half the width and half the height. Palette pictures count
// indices; one-bit pictures stay as they are, and so does the mask plane.
//
// The cost hardly grows with r. Every column of the square's rows keeps the counts of its own 64 buckets; the square's
// counts gain those of one column and lose those of another per step. A bucket that ends with the highest count came to
// it with its last sample, so of all such buckets the one whose last sample stands first wins, and that sample is the
// value. Where it is tells a table of the last row in which each column has each bucket.

#include "effects/effects.h"
#include "framework/bands.h"

#include <algorithm>

enum { BRUSH_SIZE = 1450, BRUSH_SIZE_EDIT = 1460 };

constexpr int MOST_SIZE = 50;

struct OilPaintingParameters {
    int32_t brushSize = 3;   // half the side of the square in pixels, 1..50
};
struct OilPaintingBlock {
    EffectBlock common;
    OilPaintingParameters own;
};
BLOCK_SIZE(OilPaintingBlock, 136);

static constexpr OilPaintingParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(BRUSH_SIZE, BRUSH_SIZE_EDIT, FIELD(OilPaintingBlock, own.brushSize), 1, MOST_SIZE),
};

static INT_PTR KPZAPI OilPaintingDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(oilPainting, dialog, message, word, extra);
}

//---- What is known of the rows under the square

constexpr int BUCKETS = 64;
constexpr int MARKS = 256;   // rows are told apart by marks that rise by one per row, from 1; 0 stands for no row

// One byte of the pixels. Columns are numbered from -r, so that a square never begins before 0; those outside the
// picture are empty.
struct Channel {
    int byte;             // of a pixel
    uint8_t *counts;      // by column, of its buckets; one more column, empty, stands before the first
    uint8_t *lastMarks;   // by bucket, of all columns
};

struct Canvas {
    int width, radius, bytesPerPixel;
    int pitch;                    // from one bucket's marks to the next
    int firstRow;                 // the first one that is taken in
    int baseRow;                  // has mark 0
    const uint8_t *rows[MARKS];   // unprocessed, by mark
    Channel channels[3];
};

static int ColumnsOf(const Canvas &canvas) { return canvas.width + 2 * canvas.radius; }
static uint8_t *CountsOf(const Canvas &canvas, const Channel &channel, int x)
{
    return channel.counts + (x + canvas.radius + 1) * BUCKETS;
}

static void AddRow(const Canvas &canvas, const Channel &channel, int mark)
{
    const uint8_t *value = canvas.rows[mark] + channel.byte;
    uint8_t *counts = CountsOf(canvas, channel, 0), *lastMarks = channel.lastMarks + canvas.radius;
    for (int x = 0; x < canvas.width; ++x, value += canvas.bytesPerPixel, counts += BUCKETS) {
        const int bucket = *value / 4;
        ++counts[bucket];
        lastMarks[bucket * canvas.pitch + x] = uint8_t(mark);
    }
}

static void RemoveRow(const Canvas &canvas, const Channel &channel, int mark)
{
    const uint8_t *value = canvas.rows[mark] + channel.byte;
    uint8_t *counts = CountsOf(canvas, channel, 0);
    for (int x = 0; x < canvas.width; ++x, value += canvas.bytesPerPixel, counts += BUCKETS) --counts[*value / 4];
}

// Before marks run out: the square's rows, up to `row`, begin with 1 again, and earlier marks become 0.
static void LowerMarks(Canvas &canvas, int row)
{
    const int base = row - 2 * canvas.radius, shift = base - canvas.baseRow;
    for (int c = 0; c < canvas.bytesPerPixel; ++c) {
        uint8_t *marks = canvas.channels[c].lastMarks;
        for (int i = 0; i < BUCKETS * canvas.pitch; ++i) marks[i] = uint8_t(std::max(int(marks[i]), shift) - shift);
    }
    std::copy(canvas.rows + shift, canvas.rows + MARKS, canvas.rows);
    canvas.baseRow = base;
}

//---- The square

// Where a sample stands: samples compare as they follow each other in reading order.
struct Sample {
    int mark, column;
};

static bool IsBefore(Sample one, Sample other)
{
    return one.mark != other.mark ? one.mark < other.mark : one.column < other.column;
}

#if HAS_SSE2

static __m128i Load(const void *bytes) { return _mm_loadu_si128(static_cast<const __m128i *>(bytes)); }

// Adds a column's counts, takes another's off, and gives the highest. A column counts at most 100 samples, so that the
// difference of two fits a signed byte.
static int SlideCounts(uint16_t *counts, const uint8_t *entering, const uint8_t *leaving)
{
    __m128i highest = _mm_setzero_si128();
    for (int i = 0; i < BUCKETS; i += 16) {
        __m128i *low = reinterpret_cast<__m128i *>(counts + i), *high = low + 1;
        const __m128i change = _mm_sub_epi8(Load(entering + i), Load(leaving + i));
        const __m128i signs = _mm_cmplt_epi8(change, _mm_setzero_si128());
        const __m128i lowCounts = _mm_add_epi16(Load(low), _mm_unpacklo_epi8(change, signs));
        const __m128i highCounts = _mm_add_epi16(Load(high), _mm_unpackhi_epi8(change, signs));
        _mm_storeu_si128(low, lowCounts);
        _mm_storeu_si128(high, highCounts);
        highest = _mm_max_epi16(highest, _mm_max_epi16(lowCounts, highCounts));
    }
    highest = _mm_max_epi16(highest, _mm_srli_si128(highest, 8));
    highest = _mm_max_epi16(highest, _mm_srli_si128(highest, 4));
    highest = _mm_max_epi16(highest, _mm_srli_si128(highest, 2));
    return _mm_extract_epi16(highest, 0);
}

// One bit per bucket.
static uint64_t BucketsWith(const uint16_t *counts, int count)
{
    const __m128i wanted = _mm_set1_epi16(short(count));
    uint64_t buckets = 0;
    for (int i = 0; i < BUCKETS; i += 16) {
        const __m128i low = _mm_cmpeq_epi16(Load(counts + i), wanted);
        const __m128i high = _mm_cmpeq_epi16(Load(counts + i + 8), wanted);
        buckets |= uint64_t(unsigned(_mm_movemask_epi8(_mm_packs_epi16(low, high)))) << i;
    }
    return buckets;
}

// Sixteen of a bucket's marks, 0 from `count` on.
static __m128i SixteenMarks(const uint8_t *marks, int count)
{
    static constexpr uint8_t KEEP[32] = {255, 255, 255, 255, 255, 255, 255, 255,
                                         255, 255, 255, 255, 255, 255, 255, 255};
    const __m128i all = Load(marks);
    return count >= 16 ? all : _mm_and_si128(all, Load(KEEP + 16 - count));
}

static int HighestByte(__m128i bytes)
{
    bytes = _mm_max_epu8(bytes, _mm_srli_si128(bytes, 8));
    bytes = _mm_max_epu8(bytes, _mm_srli_si128(bytes, 4));
    bytes = _mm_max_epu8(bytes, _mm_srli_si128(bytes, 2));
    bytes = _mm_max_epu8(bytes, _mm_srli_si128(bytes, 1));
    return _mm_cvtsi128_si32(bytes) & 0xFF;
}

// The last sample of a bucket, by its marks in the square's columns from `first` on. A mark above the square's rows can
// stand in some of them, but is lower than that of any sample in the square.
static Sample LastSample(const uint8_t *marks, int first, int count)
{
    __m128i highest = _mm_setzero_si128();
    for (int i = 0; i < count; i += 16) highest = _mm_max_epu8(highest, SixteenMarks(marks + first + i, count - i));
    const int mark = HighestByte(highest);
    const __m128i wanted = _mm_set1_epi8(char(mark));
    for (int i = (count - 1) / 16 * 16;; i -= 16) {
        const __m128i found = _mm_cmpeq_epi8(SixteenMarks(marks + first + i, count - i), wanted);
        const unsigned bits = unsigned(_mm_movemask_epi8(found));
        if (bits) return {mark, first + i + 31 - __builtin_clz(bits)};
    }
}

#else   // the same, one by one

static int SlideCounts(uint16_t *counts, const uint8_t *entering, const uint8_t *leaving)
{
    uint16_t highest = 0;
    for (int i = 0; i < BUCKETS; ++i) {
        counts[i] = uint16_t(counts[i] + entering[i] - leaving[i]);
        highest = std::max(highest, counts[i]);
    }
    return highest;
}

static uint64_t BucketsWith(const uint16_t *counts, int count)
{
    uint64_t buckets = 0;
    for (int i = 0; i < BUCKETS; ++i) buckets |= uint64_t(counts[i] == count) << i;
    return buckets;
}

static Sample LastSample(const uint8_t *marks, int first, int count)
{
    Sample last = {0, first};
    for (int x = first; x < first + count; ++x)
        if (marks[x] >= last.mark) last = {marks[x], x};
    return last;
}

#endif

// The bucket whose last sample was taken at the step before, with that sample: mostly it leads again, and the sample
// is then the same or in the column that enters.
struct Lead {
    int bucket;
    Sample sample;
};

static Lead LeadOf(const Canvas &canvas, const Channel &channel, uint64_t buckets, int first, Lead before)
{
    const int count = 2 * canvas.radius, entering = first + count - 1;
    Lead lead = {int(__builtin_ctzll(buckets)), {}};
    const auto marksOf = [&](int bucket) { return channel.lastMarks + bucket * canvas.pitch; };
    if (lead.bucket == before.bucket && (buckets & (buckets - 1)) == 0) {
        const int mark = marksOf(lead.bucket)[entering];
        if (mark >= before.sample.mark) return {lead.bucket, {mark, entering}};
        if (before.sample.column >= first) return before;
    }
    lead.sample = LastSample(marksOf(lead.bucket), first, count);
    for (buckets &= buckets - 1; buckets; buckets &= buckets - 1) {
        const int bucket = int(__builtin_ctzll(buckets));
        const Sample sample = LastSample(marksOf(bucket), first, count);
        if (IsBefore(sample, lead.sample)) lead = {bucket, sample};
    }
    return lead;
}

static void PaintRow(const Canvas &canvas, const Channel &channel, uint8_t *row)
{
    const int radius = canvas.radius, step = canvas.bytesPerPixel;
    uint16_t counts[BUCKETS] = {};
    for (int x = -radius; x < radius - 1; ++x) SlideCounts(counts, CountsOf(canvas, channel, x), channel.counts);
    Lead lead = {-1, {}};
    for (int x = 0; x < canvas.width; ++x) {
        const int highest =
            SlideCounts(counts, CountsOf(canvas, channel, x + radius - 1), CountsOf(canvas, channel, x - radius - 1));
        lead = LeadOf(canvas, channel, BucketsWith(counts, highest), x, lead);
        row[step * x + channel.byte] =
            canvas.rows[lead.sample.mark][step * (lead.sample.column - radius) + channel.byte];
    }
}

//---- Worker

// The buffer holds the square's unprocessed rows, row y at y modulo 2r.
static void TakeInRow(Canvas &canvas, const Rows &rows, uint8_t *buffer, int y)
{
    const ImageView &view = *rows.view;
    const int run = 2 * canvas.radius;
    if (y < view.height && y - canvas.baseRow == MARKS) LowerMarks(canvas, y);
    const int mark = y - canvas.baseRow;
    for (int c = 0; c < canvas.bytesPerPixel && y - run >= canvas.firstRow; ++c)
        RemoveRow(canvas, canvas.channels[c], mark - run);
    if (y >= view.height) return;
    uint8_t *copy = buffer + size_t(y % run) * RowBytes(view);
    memcpy(copy, rows.Unprocessed(y), size_t(RowBytes(view)));
    canvas.rows[mark] = copy;
    for (int c = 0; c < canvas.bytesPerPixel; ++c) AddRow(canvas, canvas.channels[c], mark);
}

static void Paint(const ImageView &view, int radius)
{
    Canvas canvas = {};
    canvas.width = view.width;
    canvas.radius = radius;
    canvas.bytesPerPixel = view.bitsPerPixel == 24 ? 3 : 1;
    // An odd number of cache lines and a bit, so that the buckets' marks of one column do not get in each other's way.
    canvas.pitch = (ColumnsOf(canvas) + 16) | 64;
    const size_t countBytes = size_t(ColumnsOf(canvas) + 1) * BUCKETS, markBytes = size_t(canvas.pitch) * BUCKETS;
    const size_t tableBytes = (countBytes + markBytes) * size_t(canvas.bytesPerPixel);
    const size_t bufferBytes = size_t(2 * radius) * RowBytes(view);
    const RowSharing sharing = {.cost = 50, .memory = tableBytes + bufferBytes, .above = radius, .below = radius - 1};
    ShareRows(view, sharing, [&](const Rows &rows) {
        Canvas own = canvas;
        uint8_t *tables = rows.memory, *buffer = rows.memory + tableBytes;
        memset(tables, 0, tableBytes);
        for (int c = 0; c < own.bytesPerPixel; ++c) {
            uint8_t *counts = tables + size_t(c) * (countBytes + markBytes);
            own.channels[c] = {c, counts, counts + countBytes};
        }
        own.firstRow = std::max(rows.first - radius, 0);
        own.baseRow = own.firstRow - 1;
        for (int y = own.firstRow; y < rows.first + radius - 1; ++y) TakeInRow(own, rows, buffer, y);
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            TakeInRow(own, rows, buffer, y + radius - 1);
            for (int c = 0; c < own.bytesPerPixel; ++c) PaintRow(own, own.channels[c], RowOf(view, y));
        }
    });
}

// A brush size of 0 runs through all rows and changes none.
static void KPZAPI OilPaintingWorker(EffectBlock *shared)
{
    const OilPaintingBlock block = BlockOf<OilPaintingBlock>(oilPainting, shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || IsEmpty(view)) return;

    const int radius = std::min({block.own.brushSize, view.width / 2, view.height / 2});
    if (radius >= 1) {
        Paint(view, radius);
    } else {
        for (int y = 0; y < view.height && !AbortRequested(view); ++y) ReportRow(view, y);
    }
}

const EffectDescriptor oilPainting = {
    .name = "Oil Painting",
    .title = "Oil Painting",
    .commandOffset = OIL_PAINTING_COMMAND,
    .blockSize = sizeof(OilPaintingBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = OilPaintingWorker,
    .dialog = OilPaintingDialog,
};
