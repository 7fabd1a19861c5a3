// Median: replaces every pixel by one of the pixels around it, copied whole, so that no new colours arise. The square
// of 2r x 2r pixels that reaches r to the left and up, and r - 1 to the right and down, is put in order of
//     key = red^2 + green^2 + blue^2         for an index, of its palette entry
// with equal keys in reading order, and of its n pixels inside the picture the one at n / 2 (median), n - 1 (maximum)
// or 0 (minimum) is taken. r is the radius, held to half the width and half the height. One-bit pictures stay as they
// are, and so does the mask plane.
//
// None of the three ways it is worked out costs the square of the radius:
// - Maximum and minimum: of every row the extreme of each 2r pixels, then of every column the extreme of each 2r of
//   those; between equal keys what is compared knows which pixel is the later one.
// - Median of radius 1: of the four pixels the greater of the middle two, from the order within both columns.
// - Other medians: tile by tile. The pixels that a tile's squares cover are sorted once, and stably, so that each has
//   a rank of its own and ranks know no ties. Ranks fall into buckets of 128. Of the square it is known how many of its
//   pixels are in each bucket or before it, as the sum of what is known of its columns: so the median's bucket is found,
//   and in it the pixel, since each rank's place tells whether it lies in the square. There are no loops of unknown length
//   in this, and little that a processor could foresee wrongly.

#include "effects/effects.h"
#include "framework/bands.h"

#include <algorithm>
#include <array>
#include <atomic>

enum { RADIUS = 1540, RADIUS_EDIT = 1550, MEDIAN = 1520, MAXIMUM = 1510, MINIMUM = 1470 };

constexpr int MOST_RADIUS = 30;

struct MedianParameters {
    int32_t radius = 1;            // half the side of the square in pixels, 1..30
    int32_t selectMode = MEDIAN;   // the id of the checked radio button
};
struct MedianBlock {
    EffectBlock common;
    MedianParameters own;
};
BLOCK_SIZE(MedianBlock, 140);

static constexpr MedianParameters defaults;

static constexpr ControlBinding controls[] = {
    ClearedRadio(MEDIAN, FIELD(MedianBlock, own.selectMode)),
    ClearedRadio(MAXIMUM, FIELD(MedianBlock, own.selectMode)),
    ClearedRadio(MINIMUM, FIELD(MedianBlock, own.selectMode)),
    Spin(RADIUS, RADIUS_EDIT, FIELD(MedianBlock, own.radius), 1, MOST_RADIUS),
};

static INT_PTR KPZAPI MedianDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(median, dialog, message, word, extra);
}

//---- Keys

constexpr int KEY_BITS = 18;                   // 3 * 255^2 and less
typedef std::array<uint32_t, 256> EntryKeys;   // of the palette

static EntryKeys KeysOfEntries(const ImageView &view)
{
    EntryKeys keys;
    for (size_t i = 0; i < 256; ++i)
        keys[i] = uint32_t(view.red[i] * view.red[i] + view.green[i] * view.green[i] + view.blue[i] * view.blue[i]);
    return keys;
}

template <int BYTES> static inline uint32_t KeyOf(const uint8_t *pixel, const EntryKeys &entryKeys)
{
    if (BYTES == 1) return entryKeys[pixel[0]];
    return uint32_t(pixel[0] * pixel[0] + pixel[1] * pixel[1] + pixel[2] * pixel[2]);
}

//---- Codes

// A pixel as a number: its key above its bytes, and between the two where it stands, so that of equal keys the later one
// is the greater. The number is the bits of a double, and doubles compare as the codes do:
//     always 1 at bit 62 | key, counted from 1: 18 bits | later block: 1 | row: 6 | column: 12 | bytes: 24
// What lies outside the picture is below or above all keys, so that it is taken for nothing inside it.
constexpr int COLUMN_BITS = 12, ROW_BITS = 6;
constexpr uint64_t COLUMN_ONE = uint64_t(1) << 24, ROW_ONE = COLUMN_ONE << COLUMN_BITS;
constexpr uint64_t LATER_BLOCK = ROW_ONE << ROW_BITS, KEY_ONE = LATER_BLOCK << 1, BASE = uint64_t(1) << 62;
constexpr uint64_t BELOW_ALL = BASE, ABOVE_ALL = BASE | KEY_ONE << (KEY_BITS - 1) | KEY_ONE << (KEY_BITS - 2);
constexpr int BITS_BELOW_KEY = 24 + COLUMN_BITS + ROW_BITS + 1;
static_assert(KEY_ONE == uint64_t(1) << BITS_BELOW_KEY && BITS_BELOW_KEY + KEY_BITS <= 62);

// Where the first code of a run stands, and how much farther each of those behind it.
struct Places {
    uint64_t first, step;
};

template <int BYTES> static inline uint64_t CodeOf(const uint8_t *pixel, const EntryKeys &entryKeys)
{
    const uint32_t bytes = BYTES == 1 ? pixel[0] : uint32_t(pixel[0] | pixel[1] << 8 | pixel[2] << 16);
    return BASE + (KeyOf<BYTES>(pixel, entryKeys) + 1) * KEY_ONE + bytes;
}

#if HAS_SSE2

// The same of two neighbours of 24 bits; reads a byte after them.
static inline __m128i TwoCodes(const uint8_t *pixels)
{
    int32_t one, other;
    memcpy(&one, pixels, 4);
    memcpy(&other, pixels + 3, 4);
    const __m128i bytes =
        _mm_and_si128(_mm_unpacklo_epi64(_mm_cvtsi32_si128(one), _mm_cvtsi32_si128(other)), _mm_set1_epi64x(0xFFFFFF));
    // 16 bits for each byte, the fourth 0: two sums of two squares per pixel
    const __m128i words = _mm_unpacklo_epi8(_mm_shuffle_epi32(bytes, _MM_SHUFFLE(3, 3, 2, 0)), _mm_setzero_si128());
    const __m128i sums = _mm_madd_epi16(words, words);
    const __m128i keys = _mm_add_epi32(sums, _mm_srli_epi64(sums, 32));
    const __m128i base = _mm_set1_epi64x(int64_t(BASE + KEY_ONE));
    return _mm_add_epi64(base, _mm_or_si128(bytes, _mm_slli_epi64(keys, BITS_BELOW_KEY)));
}

// As many of a row of 24 bits as go by twos, from `x` on.
static int FillByTwos(const uint8_t *row, int x, int width, Places places, uint64_t *codes)
{
    for (; x + 3 <= width; x += 2) {
        const uint64_t place = places.first + uint64_t(x) * places.step;
        const __m128i both = _mm_set_epi64x(int64_t(place + places.step), int64_t(place));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(codes + x), _mm_add_epi64(TwoCodes(row + 3 * x), both));
    }
    return x;
}

#if HAS_AVX2

// As many as go by fours.
FOR_AVX2 static int FillByFours(const uint8_t *row, int width, Places places, uint64_t *codes)
{
    const __m256i asWords = _mm256_setr_epi8(0, -1, 1, -1, 2, -1, -1, -1, 3, -1, 4, -1, 5, -1, -1, -1,   //
                                             6, -1, 7, -1, 8, -1, -1, -1, 9, -1, 10, -1, 11, -1, -1, -1);
    const __m256i asBytes = _mm256_setr_epi8(0, 1, 2, -1, -1, -1, -1, -1, 3, 4, 5, -1, -1, -1, -1, -1,   //
                                             6, 7, 8, -1, -1, -1, -1, -1, 9, 10, 11, -1, -1, -1, -1, -1);
    const auto place = [&](int i) { return int64_t(BASE + KEY_ONE + places.first + uint64_t(i) * places.step); };
    __m256i base = _mm256_set_epi64x(place(3), place(2), place(1), place(0));
    const __m256i step = _mm256_set1_epi64x(int64_t(4 * places.step));
    constexpr int AHEAD = 2048;   // bytes; what reads a picture this fast waits for it
    int x = 0;
    for (; x + 6 <= width; x += 4, base = _mm256_add_epi64(base, step)) {
        __builtin_prefetch(row + 3 * x + AHEAD);
        const __m256i pixels =
            _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + 3 * x)));
        const __m256i words = _mm256_shuffle_epi8(pixels, asWords), sums = _mm256_madd_epi16(words, words);
        const __m256i keys = _mm256_add_epi32(sums, _mm256_srli_epi64(sums, 32));
        const __m256i code =
            _mm256_or_si256(_mm256_slli_epi64(keys, BITS_BELOW_KEY), _mm256_shuffle_epi8(pixels, asBytes));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(codes + x), _mm256_add_epi64(code, base));
    }
    return x;
}

#else

static int FillByFours(const uint8_t *, int, Places, uint64_t *) { return 0; }

#endif

static int FillSeveral(const uint8_t *row, int width, Places places, uint64_t *codes)
{
    const int done = MayUseAvx2() ? FillByFours(row, width, places, codes) : 0;
    return FillByTwos(row, done, width, places, codes);
}

#else

static int FillSeveral(const uint8_t *, int, Places, uint64_t *) { return 0; }

#endif

template <int BYTES>
static void FillCodes(const uint8_t *row, int width, const EntryKeys &entryKeys, Places places, uint64_t *codes)
{
    for (int x = BYTES == 3 ? FillSeveral(row, width, places, codes) : 0; x < width; ++x)
        codes[x] = CodeOf<BYTES>(row + BYTES * x, entryKeys) + places.first + uint64_t(x) * places.step;
}

//---- Maximum and minimum

template <bool HIGHEST> static inline uint64_t Winner(uint64_t one, uint64_t other)
{
    return HIGHEST ? std::max(one, other) : std::min(one, other);
}

#if HAS_SSE2

template <bool HIGHEST> static inline __m128d Winner(__m128d one, __m128d other)
{
    return HIGHEST ? _mm_max_pd(one, other) : _mm_min_pd(one, other);
}

#if HAS_AVX2

template <bool HIGHEST> FOR_AVX2 static inline __m256d Winner(__m256d one, __m256d other)
{
    return HIGHEST ? _mm256_max_pd(one, other) : _mm256_min_pd(one, other);
}

#endif

#endif

// Lists of codes side by side. The last one's get `mark` as well.
template <int COUNT> struct Lists {
    const uint64_t *at[COUNT];
    uint64_t mark = 0;
};

#if HAS_SSE2

static const double *DoublesAt(const uint64_t *codes) { return reinterpret_cast<const double *>(codes); }

#if HAS_AVX2

// The winners of four places.
template <bool HIGHEST, int COUNT>
FOR_AVX2 static inline __m256d FourWinners(const Lists<COUNT> &lists, __m256d mark, int i)
{
    __m256d winner = _mm256_or_pd(_mm256_loadu_pd(DoublesAt(lists.at[COUNT - 1] + i)), mark);
    for (int k = 0; k < COUNT - 1; ++k) winner = Winner<HIGHEST>(_mm256_loadu_pd(DoublesAt(lists.at[k] + i)), winner);
    return winner;
}

// As many of the winners as go by fours.
template <bool HIGHEST, int COUNT> FOR_AVX2 static int WinnersByFours(Lists<COUNT> lists, int count, uint64_t *winners)
{
    const __m256d mark = _mm256_castsi256_pd(_mm256_set1_epi64x(int64_t(lists.mark)));
    int i = 0;
#pragma GCC unroll 4
    for (; i + 4 <= count; i += 4)
        _mm256_storeu_pd(reinterpret_cast<double *>(winners + i), FourWinners<HIGHEST>(lists, mark, i));
    return i;
}

// As many pixels of 24 bits as go by fours. Four are stored as sixteen bytes, of which the next take four back.
template <bool HIGHEST, int COUNT> FOR_AVX2 static int StoreByFours(Lists<COUNT> lists, int count, uint8_t *row)
{
    const __m256d mark = _mm256_castsi256_pd(_mm256_set1_epi64x(int64_t(lists.mark)));
    const __m256i packed = _mm256_setr_epi8(0, 1, 2, 8, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,   //
                                            -1, -1, -1, -1, -1, -1, 0, 1, 2, 8, 9, 10, -1, -1, -1, -1);
    int i = 0;
    for (; i + 6 <= count; i += 4) {
        const __m256i winners = _mm256_castpd_si256(FourWinners<HIGHEST>(lists, mark, i));
        const __m256i both = _mm256_shuffle_epi8(winners, packed);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(row + 3 * i),
                         _mm_or_si128(_mm256_castsi256_si128(both), _mm256_extracti128_si256(both, 1)));
    }
    return i;
}

#else

template <bool HIGHEST, int COUNT> static int WinnersByFours(const Lists<COUNT> &, int, uint64_t *) { return 0; }
template <bool HIGHEST, int COUNT> static int StoreByFours(const Lists<COUNT> &, int, uint8_t *) { return 0; }

#endif

// As many as go by twos, from `i` on.
template <bool HIGHEST, int COUNT> static int WinnersByTwos(Lists<COUNT> lists, int i, int count, uint64_t *winners)
{
    const __m128d mark = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(lists.mark)));
    for (; i + 2 <= count; i += 2) {
        __m128d winner = _mm_or_pd(_mm_loadu_pd(DoublesAt(lists.at[COUNT - 1] + i)), mark);
        for (int k = 0; k < COUNT - 1; ++k) winner = Winner<HIGHEST>(_mm_loadu_pd(DoublesAt(lists.at[k] + i)), winner);
        _mm_storeu_pd(reinterpret_cast<double *>(winners + i), winner);
    }
    return i;
}

template <bool HIGHEST, int COUNT> static int SeveralWinners(const Lists<COUNT> &lists, int count, uint64_t *winners)
{
    const int done = MayUseAvx2() ? WinnersByFours<HIGHEST, COUNT>(lists, count, winners) : 0;
    return WinnersByTwos<HIGHEST, COUNT>(lists, done, count, winners);
}

template <bool HIGHEST, int COUNT> static int StoreSeveral(const Lists<COUNT> &lists, int count, uint8_t *row)
{
    return MayUseAvx2() ? StoreByFours<HIGHEST, COUNT>(lists, count, row) : 0;
}

#else

template <bool HIGHEST, int COUNT> static int SeveralWinners(const Lists<COUNT> &, int, uint64_t *) { return 0; }
template <bool HIGHEST, int COUNT> static int StoreSeveral(const Lists<COUNT> &, int, uint8_t *) { return 0; }

#endif

template <bool HIGHEST, int COUNT> static uint64_t WinnerAt(const Lists<COUNT> &lists, int i)
{
    uint64_t winner = lists.at[COUNT - 1][i] | lists.mark;
    for (int k = 0; k < COUNT - 1; ++k) winner = Winner<HIGHEST>(lists.at[k][i], winner);
    return winner;
}

// Of each place in the lists the winner. `winners` may be one of the lists, and the others may lie behind it.
template <bool HIGHEST, int COUNT> static void Winners(const Lists<COUNT> &lists, int count, uint64_t *winners)
{
    for (int i = SeveralWinners<HIGHEST, COUNT>(lists, count, winners); i < count; ++i)
        winners[i] = WinnerAt<HIGHEST>(lists, i);
}

// The winners' pixels. One of three bytes is stored as four, of which the next takes one back; the last alone is stored
// as three.
template <int BYTES, bool HIGHEST, int COUNT>
static void StorePixels(const Lists<COUNT> &lists, int count, uint8_t *row)
{
    for (int i = BYTES == 3 ? StoreSeveral<HIGHEST, COUNT>(lists, count, row) : 0; i < count; ++i) {
        const uint32_t bytes = uint32_t(WinnerAt<HIGHEST>(lists, i));
        memcpy(row + BYTES * i, &bytes, BYTES == 1 ? 1 : i < count - 1 ? 4 : 3);
    }
}

// The winners of runs of 2r codes; `line` holds 2r - 1 codes more than there are runs, and is used up. Three or four
// at a time are put together, until four or fewer of them cover 2r codes.
template <bool HIGHEST> static void WinnersOfRuns(uint64_t *line, int count, int run, uint64_t *winners)
{
    int reach = 1;   // line[i] is the winner of i .. i + reach - 1
    while (4 * reach < run) {
        const uint64_t *const second = line + reach, *const third = line + 2 * reach, *const fourth = line + 3 * reach;
        const int times = run <= 6 * reach ? 3 : 4;
        if (times == 3) Winners<HIGHEST>(Lists<3>{{line, second, third}}, count + run - 3 * reach, line);
        else Winners<HIGHEST>(Lists<4>{{line, second, third, fourth}}, count + run - 4 * reach, line);
        reach *= times;
    }
    const uint64_t *const last = line + run - reach;
    if (run <= 2 * reach) Winners<HIGHEST>(Lists<2>{{line, last}}, count, winners);
    else if (run <= 3 * reach) Winners<HIGHEST>(Lists<3>{{line, line + reach, last}}, count, winners);
    else Winners<HIGHEST>(Lists<4>{{line, line + reach, line + 2 * reach, last}}, count, winners);
}

// A row is worked on in segments, which stay close at hand from one step to the next; columns are numbered anew from
// each of them on.
constexpr int SEGMENT = 1024, SEGMENT_CODES = SEGMENT + 2 * MOST_RADIUS;
static_assert(SEGMENT_CODES <= 1 << COLUMN_BITS && 2 * MOST_RADIUS <= 1 << ROW_BITS);

struct Segment {
    int first, count;
};

// Calls work(segment) from the left to the right.
template <typename Work> static void ForEachSegment(int width, const Work &work)
{
    for (int first = 0; first < width; first += SEGMENT) work(Segment{first, std::min(SEGMENT, width - first)});
}

// Of each 2r pixels around those of the segment the winner; `line` is memory of one segment.
template <int BYTES, bool HIGHEST>
static void WinnersAlong(const uint8_t *row, int width, Segment segment, int radius, uint64_t placeOfRow,
                         const EntryKeys &entryKeys, uint64_t *line, uint64_t *winners)
{
    constexpr uint64_t OUTSIDE = HIGHEST ? BELOW_ALL : ABOVE_ALL;
    const int codes = segment.count + 2 * radius - 1, start = segment.first - radius;
    const int from = std::max(-start, 0), to = std::min(codes, width - start);   // of the codes those inside
    std::fill_n(line, from, OUTSIDE);
    FillCodes<BYTES>(row + BYTES * (start + from), to - from, entryKeys,
                     {placeOfRow + uint64_t(from) * COLUMN_ONE, COLUMN_ONE}, line + from);
    std::fill(line + to, line + codes, OUTSIDE);
    WinnersOfRuns<HIGHEST>(line, segment.count, 2 * radius, winners);
}

// Rows come in blocks of 2r, the first block from r above the band's first row on. A square reaches from a row of one
// block to the row before it of the next: its extreme is that of the rows to the end of the one block and of those from
// the start of the next. The former are worked out when a block is complete, the latter grows row by row.
template <int BYTES, bool HIGHEST> static void TakeExtremesOf(const Rows &rows, int radius, const EntryKeys &entryKeys)
{
    const ImageView &view = *rows.view;
    const int width = view.width, run = 2 * radius;
    uint64_t *line = reinterpret_cast<uint64_t *>(rows.memory), *block = line + SEGMENT_CODES;
    const auto at = [&](int i, int x) { return block + size_t(width) * size_t(i) + x; };
    const auto soFar = [&](int place, int x) { return at(place == 0 ? 0 : run, x); };   // the winners to this row

    const auto takeIn = [&](int y, Segment segment) {
        const int place = (y - rows.first + radius) % run, x = segment.first, count = segment.count;
        if (y < 0 || y >= view.height) std::fill_n(at(place, x), count, HIGHEST ? BELOW_ALL : ABOVE_ALL);
        else
            WinnersAlong<BYTES, HIGHEST>(rows.Unprocessed(y), width, segment, radius, uint64_t(place) * ROW_ONE,
                                         entryKeys, line, at(place, x));
        if (place == run - 1) {
            for (int i = run - 2; i >= 0; --i) Winners<HIGHEST>(Lists<2>{{at(i, x), at(i + 1, x)}}, count, at(i, x));
        } else if (place > 0) {
            Winners<HIGHEST>(Lists<2>{{soFar(place - 1, x), at(place, x)}}, count, soFar(place, x));
        }
    };
    const auto store = [&](int y, Segment segment) {
        const int first = (y - rows.first) % run, x = segment.first;   // the square's first row in its block
        uint8_t *row = RowOf(view, y) + BYTES * x;
        const Lists<2> both = {{at(first, x), soFar(first - 1, x)}, LATER_BLOCK};
        if (first > 0) StorePixels<BYTES, HIGHEST>(both, segment.count, row);
        else StorePixels<BYTES, HIGHEST>(Lists<1>{{at(0, x)}}, segment.count, row);
    };

    for (int y = rows.first - radius; y < rows.first + radius - 1; ++y)
        ForEachSegment(width, [&](Segment segment) { takeIn(y, segment); });
    for (int y = rows.first; rows.GoesOn(y); ++y) {
        // While the winners are at hand, but not before the next segment has seen this one's last pixels.
        Segment last = {};
        ForEachSegment(width, [&](Segment segment) {
            takeIn(y + radius - 1, segment);
            if (segment.first > 0) store(y, last);
            last = segment;
        });
        store(y, last);
    }
}

template <int BYTES, bool HIGHEST> static void TakeExtremes(const ImageView &view, int radius)
{
    const EntryKeys entryKeys = KeysOfEntries(view);
    const size_t codes = SEGMENT_CODES + size_t(view.width) * size_t(2 * radius + 1);
    ShareRows(view, {.cost = 2, .memory = codes * sizeof(uint64_t), .above = radius, .below = radius - 1},
              [&](const Rows &rows) { TakeExtremesOf<BYTES, HIGHEST>(rows, radius, entryKeys); });
}

//---- Median of radius 1

// The greater of each square's middle two: of the four the lesser of the columns' greater ones and the greater of their
// lesser ones. Of equal keys those of the lower row and, in one row, of the right column are marked as the greater. All
// three lines have room for an even width, since two squares are taken at a time.
constexpr uint64_t LOWER_ROW = ROW_ONE, RIGHT_COLUMN = COLUMN_ONE;

#if HAS_SSE2
static void MediansOfFour(const uint64_t *above, const uint64_t *current, int width, uint64_t *medians)
{
    const __m128d lowerRow = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(LOWER_ROW)));
    const __m128d right = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(RIGHT_COLUMN)));
    __m128d low = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(BELOW_ALL)));
    __m128d high = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(ABOVE_ALL)));
    for (int x = 0; x < width; x += 2) {
        const __m128d upper = _mm_castsi128_pd(_mm_loadu_si128(reinterpret_cast<const __m128i *>(above + x)));
        const __m128d lower =
            _mm_or_pd(_mm_castsi128_pd(_mm_loadu_si128(reinterpret_cast<const __m128i *>(current + x))), lowerRow);
        const __m128d leftLow = low, leftHigh = high;   // of the two columns before
        low = _mm_min_pd(upper, lower);
        high = _mm_max_pd(upper, lower);
        const __m128d lesser = _mm_min_pd(_mm_shuffle_pd(leftHigh, high, 1), _mm_or_pd(high, right));
        const __m128d greater = _mm_max_pd(_mm_shuffle_pd(leftLow, low, 1), _mm_or_pd(low, right));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(medians + x), _mm_castpd_si128(_mm_max_pd(lesser, greater)));
    }
}
#else
static void MediansOfFour(const uint64_t *above, const uint64_t *current, int width, uint64_t *medians)
{
    uint64_t low = BELOW_ALL, high = ABOVE_ALL;
    for (int x = 0; x < width; ++x) {
        const uint64_t upper = above[x], lower = current[x] | LOWER_ROW;
        const uint64_t leftLow = low, leftHigh = high;   // of the column before
        low = std::min(upper, lower);
        high = std::max(upper, lower);
        medians[x] = std::max(std::min(leftHigh, high | RIGHT_COLUMN), std::max(leftLow, low | RIGHT_COLUMN));
    }
}
#endif

// Squares cut short at the left or at the top are filled up with what is below all keys and what is above them in
// turn, which leaves the median where it is.
template <int BYTES> static void TakeMedianOfFour(const ImageView &view)
{
    const int width = view.width, pitch = width + width % 2;
    const EntryKeys entryKeys = KeysOfEntries(view);
    const size_t bytes = 3 * size_t(pitch) * sizeof(uint64_t);
    ShareRows(view, {.cost = 2, .memory = bytes, .above = 1}, [&](const Rows &rows) {
        uint64_t *above = reinterpret_cast<uint64_t *>(rows.memory), *current = above + pitch,
                 *medians = current + pitch;
        above[pitch - 1] = current[pitch - 1] = ABOVE_ALL;
        if (rows.first > 0) FillCodes<BYTES>(rows.Unprocessed(rows.first - 1), width, entryKeys, {0, 0}, above);
        else
            for (int x = 0; x < pitch; ++x) above[x] = x % 2 ? ABOVE_ALL : BELOW_ALL;

        for (int y = rows.first; rows.GoesOn(y); ++y) {
            FillCodes<BYTES>(RowOf(view, y), width, entryKeys, {0, 0}, current);
            MediansOfFour(above, current, width, medians);
            StorePixels<BYTES, true>(Lists<1>{{medians}}, width, RowOf(view, y));
            std::swap(above, current);
        }
    });
}

//---- Median by ranks

// A tile's pixels and those around that its squares reach are numbered by place, column * SIDE + row.
constexpr int SIDE = 128, TILE = SIDE - 2 * MOST_RADIUS, DIGIT_BITS = 9, DIGITS = 1 << DIGIT_BITS, PLACE_BITS = 14;
static_assert(SIDE * SIDE == 1 << PLACE_BITS && PLACE_BITS + KEY_BITS <= 32);
constexpr int BUCKET = 128, BUCKETS = SIDE * SIDE / BUCKET;
constexpr int GROUP = 32;   // buckets that are worked on at a time

struct Span {
    int first, end;
};

static int Length(Span span) { return span.end - span.first; }

// Where a square of which `at` is the middle lies on one axis, of so many pixels.
static Span Reach(int at, int radius, int extent) { return {std::max(at - radius, 0), std::min(at + radius, extent)}; }

// How many pixels of a column there are in each bucket and those before it.
struct ColumnCounts {
    uint8_t upTo[BUCKETS];
};

// Working memory of a tile. Keys and places are sorted together, a key above its pixel's place.
struct Ranking {
    uint16_t ranks[SIDE * SIDE];                        // of each place
    uint16_t places[SIDE * SIDE];                       // of each rank
    uint8_t columns[SIDE * SIDE], lines[SIDE * SIDE];   // of each rank; NOWHERE for those that fill up the last bucket
    ColumnCounts columnCounts[SIDE];                    // of each column, in the square's rows
    uint32_t entries[2][SIDE * SIDE];
};
constexpr uint8_t NOWHERE = 255;

struct RankedTile {
    const uint8_t *const *rows;   // unprocessed rows, from the picture's row `top` on
    int left, top;                // where place 0 lies in the picture
    int columns, lines;
    Ranking *ranking;
};

// Turns counts into where each digit's entries begin.
static void StartsOfCounts(uint32_t *counts)
{
    uint32_t start = 0;
    for (int i = 0; i < DIGITS; ++i) {
        const uint32_t count = counts[i];
        counts[i] = start;
        start += count;
    }
}

// Ranks the pixels by key, those of equal keys in reading order: two stable passes, by the lower and the upper half of
// the key, over entries that start in reading order.
template <int BYTES> static void RankPixels(const RankedTile &tile, const EntryKeys &entryKeys)
{
    Ranking &ranking = *tile.ranking;
    const int count = tile.columns * tile.lines;
    uint32_t lowStarts[DIGITS] = {}, highStarts[DIGITS] = {};
    uint32_t *entry = ranking.entries[0];
    for (int y = 0; y < tile.lines; ++y) {
        const uint8_t *pixel = tile.rows[y] + BYTES * tile.left;
        for (int x = 0; x < tile.columns; ++x, pixel += BYTES) {
            const uint32_t key = KeyOf<BYTES>(pixel, entryKeys);
            ++lowStarts[key % DIGITS];
            ++highStarts[key / DIGITS];
            *entry++ = key << PLACE_BITS | uint32_t(x * SIDE + y);
        }
    }
    StartsOfCounts(lowStarts);
    StartsOfCounts(highStarts);
    for (int i = 0; i < count; ++i) {
        const uint32_t taken = ranking.entries[0][i];
        ranking.entries[1][lowStarts[(taken >> PLACE_BITS) % DIGITS]++] = taken;
    }
    for (int i = 0; i < count; ++i) {
        const uint32_t taken = ranking.entries[1][i], place = taken % (SIDE * SIDE);
        const uint32_t rank = highStarts[taken >> (PLACE_BITS + DIGIT_BITS)]++;
        ranking.ranks[place] = uint16_t(rank);
        ranking.places[rank] = uint16_t(place);
    }
    for (int rank = 0; rank < count; ++rank) {
        ranking.columns[rank] = uint8_t(ranking.places[rank] / SIDE);
        ranking.lines[rank] = ranking.places[rank] % SIDE;
    }
    const int filled = (count + BUCKET - 1) / BUCKET * BUCKET;
    std::fill(ranking.columns + count, ranking.columns + filled, NOWHERE);
}

// A square in the tile's own coordinates.
struct Square {
    Span columns, lines;
    int buckets;              // of the tile, in whole groups
    uint16_t upTo[BUCKETS];   // how many of its pixels are in each bucket and those before it
};

// Of the bucket's ranks a bit for each whose place is in the square.
struct BucketBits {
    uint64_t low, high;
};

// ExchangeColumns takes one column in and another out. The answer is in how many buckets and those before them there are no
// more than `index` pixels: the bucket of the pixel that has so many others before it.
#if HAS_SSE2

static int ExchangeColumns(Square &square, const ColumnCounts &enters, const ColumnCounts &leaves, int index)
{
    const __m128i limit = _mm_set1_epi16(short(index));
    __m128i more = _mm_setzero_si128();   // minus the number of buckets beyond the one that is looked for, and it
    for (int i = 0; i < square.buckets; i += 16) {
        const __m128i change = _mm_sub_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(enters.upTo + i)),
                                            _mm_loadu_si128(reinterpret_cast<const __m128i *>(leaves.upTo + i)));
        const __m128i changes[2] = {_mm_srai_epi16(_mm_unpacklo_epi8(change, change), 8),
                                    _mm_srai_epi16(_mm_unpackhi_epi8(change, change), 8)};
        for (int half = 0; half < 2; ++half) {
            auto *const at = reinterpret_cast<__m128i *>(square.upTo + i + 8 * half);
            const __m128i upTo = _mm_add_epi16(_mm_loadu_si128(at), changes[half]);
            _mm_storeu_si128(at, upTo);
            more = _mm_add_epi16(more, _mm_cmpgt_epi16(upTo, limit));
        }
    }
    __m128i sums = _mm_madd_epi16(more, _mm_set1_epi16(1));
    sums = _mm_add_epi32(sums, _mm_srli_si128(sums, 8));
    return square.buckets + _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_srli_si128(sums, 4));
}

static BucketBits PixelsInSquare(const Ranking &ranking, const Square &square, int bucket)
{
    const __m128i left = _mm_set1_epi8(char(square.columns.first)), top = _mm_set1_epi8(char(square.lines.first));
    const __m128i across = _mm_set1_epi8(char(Length(square.columns) - 1));
    const __m128i down = _mm_set1_epi8(char(Length(square.lines) - 1));
    uint64_t bits[8];
    for (int i = 0; i < 8; ++i) {
        const int rank = bucket * BUCKET + 16 * i;
        const auto load = [&](const uint8_t *of) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i *>(of + rank));
        };
        const __m128i x = _mm_sub_epi8(load(ranking.columns), left), y = _mm_sub_epi8(load(ranking.lines), top);
        const __m128i inside =
            _mm_and_si128(_mm_cmpeq_epi8(_mm_min_epu8(x, across), x), _mm_cmpeq_epi8(_mm_min_epu8(y, down), y));
        bits[i] = uint64_t(_mm_movemask_epi8(inside));
    }
    return {bits[0] | bits[1] << 16 | bits[2] << 32 | bits[3] << 48,
            bits[4] | bits[5] << 16 | bits[6] << 32 | bits[7] << 48};
}

#else

static int ExchangeColumns(Square &square, const ColumnCounts &enters, const ColumnCounts &leaves, int index)
{
    uint16_t bucket = 0;
    for (int i = 0; i < square.buckets; ++i) {
        square.upTo[i] = uint16_t(square.upTo[i] + enters.upTo[i] - leaves.upTo[i]);
        bucket = uint16_t(bucket + (square.upTo[i] <= index));
    }
    return bucket;
}

static BucketBits PixelsInSquare(const Ranking &ranking, const Square &square, int bucket)
{
    const auto bitsFrom = [&](int first) {
        uint64_t bits = 0;
        for (int i = 0; i < 64; ++i) {
            const auto x = uint8_t(ranking.columns[first + i] - square.columns.first);
            const auto y = uint8_t(ranking.lines[first + i] - square.lines.first);
            bits |= uint64_t(x < Length(square.columns) && y < Length(square.lines)) << i;
        }
        return bits;
    };
    return {bitsFrom(bucket * BUCKET), bitsFrom(bucket * BUCKET + 64)};
}

#endif

#if HAS_AVX2

FOR_AVX2 static int ExchangeColumnsByGroups(Square &square, const ColumnCounts &enters, const ColumnCounts &leaves,
                                            int index)
{
    const __m256i limit = _mm256_set1_epi16(short(index));
    __m256i more = _mm256_setzero_si256();   // minus the number of buckets beyond the one that is looked for, and it
    for (int i = 0; i < square.buckets; i += 16) {
        const __m128i change = _mm_sub_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(enters.upTo + i)),
                                            _mm_loadu_si128(reinterpret_cast<const __m128i *>(leaves.upTo + i)));
        auto *const at = reinterpret_cast<__m256i *>(square.upTo + i);
        const __m256i upTo = _mm256_add_epi16(_mm256_loadu_si256(at), _mm256_cvtepi8_epi16(change));
        _mm256_storeu_si256(at, upTo);
        more = _mm256_add_epi16(more, _mm256_cmpgt_epi16(upTo, limit));
    }
    __m128i sums = _mm_add_epi16(_mm256_castsi256_si128(more), _mm256_extracti128_si256(more, 1));
    sums = _mm_madd_epi16(sums, _mm_set1_epi16(1));
    sums = _mm_add_epi32(sums, _mm_srli_si128(sums, 8));
    return square.buckets + _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_srli_si128(sums, 4));
}

FOR_AVX2 static BucketBits PixelsInSquareByGroups(const Ranking &ranking, const Square &square, int bucket)
{
    const __m256i left = _mm256_set1_epi8(char(square.columns.first)), top = _mm256_set1_epi8(char(square.lines.first));
    const __m256i across = _mm256_set1_epi8(char(Length(square.columns) - 1));
    const __m256i down = _mm256_set1_epi8(char(Length(square.lines) - 1));
    uint64_t bits[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const int rank = bucket * BUCKET + 32 * i;
        const __m256i x =
            _mm256_sub_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(ranking.columns + rank)), left);
        const __m256i y =
            _mm256_sub_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(ranking.lines + rank)), top);
        const __m256i inside = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_min_epu8(x, across), x),
                                                _mm256_cmpeq_epi8(_mm256_min_epu8(y, down), y));
        bits[i] = uint32_t(_mm256_movemask_epi8(inside));
    }
    return {bits[0] | bits[1] << 32, bits[2] | bits[3] << 32};
}

#else

static int ExchangeColumnsByGroups(Square &square, const ColumnCounts &enters, const ColumnCounts &leaves, int index)
{
    return ExchangeColumns(square, enters, leaves, index);
}

static BucketBits PixelsInSquareByGroups(const Ranking &ranking, const Square &square, int bucket)
{
    return PixelsInSquare(ranking, square, bucket);
}

#endif

constexpr uint64_t EVERY_BYTE = 0x0101010101010101;

// In each byte how many bits there are in it and those below it.
static uint64_t BitsUpToEachByte(uint64_t bits)
{
    bits -= bits >> 1 & 0x55 * EVERY_BYTE;
    bits = (bits & 0x33 * EVERY_BYTE) + (bits >> 2 & 0x33 * EVERY_BYTE);
    return ((bits + (bits >> 4)) & 0x0F * EVERY_BYTE) * EVERY_BYTE;
}

// Which bit of a byte has so many others below it.
static constexpr std::array<std::array<uint8_t, 256>, 8> bitOfByte = [] {
    std::array<std::array<uint8_t, 256>, 8> table = {};
    for (size_t byte = 0; byte < 256; ++byte)
        for (size_t bit = 0, index = 0; bit < 8; ++bit)
            if (byte >> bit & 1) table[index++][byte] = uint8_t(bit);
    return table;
}();

// Which bit has `index` others below it; there are more than that.
static int BitAtIndex(const BucketBits &both, int index)
{
    const uint64_t lowUpTo = BitsUpToEachByte(both.low), highUpTo = BitsUpToEachByte(both.high);
    const int inLow = int(lowUpTo >> 56);
    const bool high = index >= inLow;
    const uint64_t bits = high ? both.high : both.low, upTo = high ? highUpTo : lowUpTo;
    const int rest = high ? index - inLow : index;
    // A byte's highest bit is set where so few are up to it that the one looked for lies beyond; none has 128.
    const uint64_t before = ((uint64_t(rest) * EVERY_BYTE | 0x80 * EVERY_BYTE) - upTo) & 0x80 * EVERY_BYTE;
    const int shift = int((before >> 7) * EVERY_BYTE >> 56) * 8;
    const int below = int((upTo << 8) >> shift & 255);
    return (high ? 64 : 0) + shift + bitOfByte[size_t(rest - below)][bits >> shift & 255];
}

static constexpr ColumnCounts NO_COLUMN = {};

// Moves the square along its rows to where it is not empty, and answers the rank of its median.
template <bool AVX2> static int MoveColumns(const Ranking &ranking, Square &square, Span to)
{
    const Span from = square.columns;
    const int index = Length(to) * Length(square.lines) / 2;
    square.columns = to;
    int bucket = 0, enters = from.end, leaves = from.first;
    do {
        const ColumnCounts &next = enters < to.end ? ranking.columnCounts[enters++] : NO_COLUMN;
        const ColumnCounts &last = leaves < to.first ? ranking.columnCounts[leaves++] : NO_COLUMN;
        bucket = AVX2 ? ExchangeColumnsByGroups(square, next, last, index) : ExchangeColumns(square, next, last, index);
    } while (enters < to.end || leaves < to.first);
    const int before = bucket > 0 ? square.upTo[bucket - 1] : 0;
    const BucketBits bits =
        AVX2 ? PixelsInSquareByGroups(ranking, square, bucket) : PixelsInSquare(ranking, square, bucket);
    return bucket * BUCKET + BitAtIndex(bits, index - before);
}

// A column's counts when one pixel leaves and another enters.
static void ExchangePixels(ColumnCounts &counts, int buckets, int leaves, int enters)
{
    for (int i = 0; i < buckets; ++i) counts.upTo[i] = uint8_t(counts.upTo[i] + (i >= enters) - (i >= leaves));
}

#if HAS_AVX2

FOR_AVX2 static void ExchangePixelsByGroups(ColumnCounts &counts, int buckets, int leaves, int enters)
{
    static constexpr std::array<int8_t, BUCKETS> NUMBERS = [] {
        std::array<int8_t, BUCKETS> numbers = {};
        for (size_t i = 0; i < BUCKETS; ++i) numbers[i] = int8_t(i);
        return numbers;
    }();
    const __m256i leaving = _mm256_set1_epi8(char(leaves - 1)), entering = _mm256_set1_epi8(char(enters - 1));
    for (int i = 0; i < buckets; i += 32) {
        const __m256i number = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(NUMBERS.data() + i));
        auto *const at = reinterpret_cast<__m256i *>(counts.upTo + i);
        const __m256i change = _mm256_sub_epi8(_mm256_cmpgt_epi8(number, leaving), _mm256_cmpgt_epi8(number, entering));
        _mm256_storeu_si256(at, _mm256_add_epi8(_mm256_loadu_si256(at), change));
    }
}

#else

static void ExchangePixelsByGroups(ColumnCounts &counts, int buckets, int leaves, int enters)
{
    ExchangePixels(counts, buckets, leaves, enters);
}

#endif

static void CountColumn(ColumnCounts &counts, int buckets, const uint16_t *ranks, Span lines)
{
    counts = {};
    for (int y = lines.first; y < lines.end; ++y) ++counts.upTo[ranks[y] / BUCKET];
    for (int i = 1; i < buckets; ++i) counts.upTo[i] = uint8_t(counts.upTo[i] + counts.upTo[i - 1]);
}

constexpr int NO_BUCKET = BUCKETS;   // behind all others

// The same of the square's counts, for all of its columns at once: `changes` has by how many pixels more there are in each
// bucket.
static void ChangeCounts(Square &square, const std::array<int16_t, BUCKETS + 1> &changes)
{
    int change = 0;
    for (int i = 0; i < square.buckets; ++i) {
        change += changes[size_t(i)];
        square.upTo[i] = uint16_t(square.upTo[i] + change);
    }
}

// Moves the tile's columns and a square, which keeps its own, downwards by a row.
template <bool AVX2> static void MoveRows(const RankedTile &tile, Square &square, Span to)
{
    Ranking &ranking = *tile.ranking;
    const Span from = square.lines;
    const bool leaves = to.first > from.first, enters = to.end > from.end;
    std::array<int16_t, BUCKETS + 1> changes = {};
    for (int x = 0; x < tile.columns; ++x) {
        const uint16_t *const ranks = ranking.ranks + x * SIDE;
        const int leaving = leaves ? ranks[from.first] / BUCKET : NO_BUCKET,
                  entering = enters ? ranks[from.end] / BUCKET : NO_BUCKET;
        if (AVX2) ExchangePixelsByGroups(ranking.columnCounts[x], square.buckets, leaving, entering);
        else ExchangePixels(ranking.columnCounts[x], square.buckets, leaving, entering);
        if (x >= square.columns.end) continue;   // it begins at the first
        --changes[size_t(leaving)];
        ++changes[size_t(entering)];
    }
    ChangeCounts(square, changes);
    square.lines = to;
}

// The tile's columns in the given rows, and the square that has the first of them.
static Square FirstSquare(const RankedTile &tile, int columns, Span lines)
{
    Ranking &ranking = *tile.ranking;
    const int buckets = (tile.columns * tile.lines + BUCKET - 1) / BUCKET;
    Square square = {{0, columns}, lines, (buckets + GROUP - 1) / GROUP * GROUP, {}};
    for (int x = 0; x < tile.columns; ++x) {
        CountColumn(ranking.columnCounts[x], square.buckets, ranking.ranks + x * SIDE, lines);
        if (x < columns) ExchangeColumns(square, ranking.columnCounts[x], NO_COLUMN, 0);
    }
    return square;
}

struct Area {
    Span columns, rows;
};

// `results` are rows as the picture's, from the area's first row on.
template <int BYTES>
static void TakeMedians(const ImageView &view, const RankedTile &tile, const Area &area, int radius, uint8_t *results)
{
    Ranking &ranking = *tile.ranking;
    const auto within = [](Span span, int start) { return Span{span.first - start, span.end - start}; };
    const auto linesAt = [&](int y) { return within(Reach(y, radius, view.height), tile.top); };
    Square rowStart =
        FirstSquare(tile, Length(Reach(area.columns.first, radius, view.width)), linesAt(area.rows.first));
    const bool avx2 = MayUseAvx2();
    for (int y = area.rows.first; y < area.rows.end; ++y, results += RowBytes(view)) {
        if (y > area.rows.first && avx2) MoveRows<true>(tile, rowStart, linesAt(y));
        else if (y > area.rows.first) MoveRows<false>(tile, rowStart, linesAt(y));
        Square square = rowStart;
        for (int x = area.columns.first; x < area.columns.end; ++x) {
            const Span columns = within(Reach(x, radius, view.width), tile.left);
            const int rank =
                avx2 ? MoveColumns<true>(ranking, square, columns) : MoveColumns<false>(ranking, square, columns);
            const uint8_t *const row = tile.rows[ranking.lines[rank]];
            memcpy(results + BYTES * x, row + BYTES * (tile.left + ranking.columns[rank]), BYTES);
        }
    }
}

// Rows that are worked out before any of them is written. Threads share their tiles and have a ranking each.
struct MedianJob {
    const ImageView &view;
    int radius, side;   // of a tile
    const EntryKeys &entryKeys;
    const uint8_t *kept;   // the r unprocessed rows above those that are worked out
    int threads;
    Ranking *rankings;
    uint8_t *results;   // rows as the picture's
};

template <int BYTES> static void WorkOutTile(const MedianJob &job, Span all, const Area &area, Ranking *ranking)
{
    const ImageView &view = job.view;
    const int radius = job.radius;
    RankedTile tile = {};
    tile.ranking = ranking;
    tile.top = Reach(area.rows.first, radius, view.height).first;
    tile.lines = Reach(area.rows.end - 1, radius, view.height).end - tile.top;
    tile.left = Reach(area.columns.first, radius, view.width).first;
    tile.columns = Reach(area.columns.end - 1, radius, view.width).end - tile.left;
    const uint8_t *rows[SIDE];
    for (int i = 0; i < tile.lines; ++i) {
        const int y = tile.top + i;
        rows[i] = y < all.first ? job.kept + size_t(y - all.first + radius) * RowBytes(view) : RowOf(view, y);
    }
    tile.rows = rows;
    RankPixels<BYTES>(tile, job.entryKeys);
    TakeMedians<BYTES>(view, tile, area, radius, job.results + size_t(area.rows.first - all.first) * RowBytes(view));
}

template <int BYTES> static void WorkOut(const MedianJob &job, Span all)
{
    const ImageView &view = job.view;
    const int side = job.side, across = (view.width + side - 1) / side, down = (Length(all) + side - 1) / side;
    std::atomic<bool> aborted{false};
    ShareParts(job.threads, across * down, [&](int part, int thread) {
        if (thread == 0 && AbortRequested(view)) aborted = true;   // the run's own thread asks
        if (aborted) return;
        const int x = part % across * side, y = all.first + part / across * side;
        const Area area = {{x, std::min(x + side, view.width)}, {y, std::min(y + side, all.end)}};
        WorkOutTile<BYTES>(job, all, area, job.rankings + thread);
    });
}

// One thread works out a row of tiles at a time, several as many as keep all of them busy for a while.
template <int BYTES> static void TakeMedian(const ImageView &view, int radius)
{
    const int side = TILE, stride = RowBytes(view);
    const EntryKeys entryKeys = KeysOfEntries(view);
    const double costOfRow = 80.0 * view.width;
    const int threads = ThreadsWorthwhile(ThreadsOfRun(), costOfRow * view.height);
    const double most = double(sharingRules.mostAtOnce) * threads / costOfRow;
    const int tilesInAll = view.height / side + 1;
    const int tilesDown = threads == 1 ? 1 : int(std::clamp(most / side, 1.0, double(tilesInAll)));
    const int rows = std::min(tilesDown * side, view.height);
    Scratch kept(size_t(radius) * stride), results(size_t(rows) * stride), rankings(sizeof(Ranking) * size_t(threads));
    const MedianJob job = {
        view, radius, side, entryKeys, kept.bytes, threads, reinterpret_cast<Ranking *>(rankings.bytes), results.bytes};
    for (int first = 0; first < view.height; first += rows) {
        const Span all = {first, std::min(first + rows, view.height)};
        WorkOut<BYTES>(job, all);
        if (all.end < view.height) memcpy(kept.bytes, RowOf(view, all.end - radius), size_t(radius) * stride);
        for (int y = all.first; y < all.end; ++y) {
            if (AbortRequested(view)) return;
            ReportRow(view, y);
            memcpy(RowOf(view, y), results.bytes + size_t(y - first) * stride, size_t(view.width) * BYTES);
        }
    }
}

//---- Worker

template <int BYTES> static void TakePixels(const ImageView &view, int radius, int selectMode)
{
    if (selectMode == MAXIMUM) TakeExtremes<BYTES, true>(view, radius);
    else if (selectMode != MEDIAN) TakeExtremes<BYTES, false>(view, radius);
    else if (radius == 1) TakeMedianOfFour<BYTES>(view);
    else TakeMedian<BYTES>(view, radius);
}

// A radius of 0 runs through all rows and changes none.
static void KPZAPI MedianWorker(EffectBlock *shared)
{
    const MedianBlock block = BlockOf<MedianBlock>(median, shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || IsEmpty(view)) return;

    const int radius = std::min({block.own.radius, view.width / 2, view.height / 2});
    if (radius < 1) {
        for (int y = 0; y < view.height && !AbortRequested(view); ++y) ReportRow(view, y);
    } else if (view.bitsPerPixel == 24) {
        TakePixels<3>(view, radius, block.own.selectMode);
    } else {
        TakePixels<1>(view, radius, block.own.selectMode);
    }
}

const EffectDescriptor median = {
    .name = "Median",
    .title = "Median",
    .openTitle = "Median Filter",
    .commandOffset = MEDIAN_COMMAND,
    .blockSize = sizeof(MedianBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = MedianWorker,
    .dialog = MedianDialog,
};
