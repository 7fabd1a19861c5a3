// Flipping a picture in place. Pixels change places from both ends of a row, 8-bit ones eight at a time, 24-bit ones by
// fives where the processor has the instruction.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/pictures/shared_rows.h"
#include "maths/pixels.h"
#include "maths/processor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

static constexpr double COST_OF_BYTE = 0.2;   // nanoseconds

static uint64_t TurnedRound(const uint8_t *eight)
{
    uint64_t word;
    memcpy(&word, eight, sizeof word);
    return __builtin_bswap64(word);
}

static void FlipBytes(uint8_t *row, size_t count)
{
    uint8_t *left = row, *right = row + count;
    for (; right - left >= 16; left += 8) {
        right -= 8;
        const uint64_t forLeft = TurnedRound(right), forRight = TurnedRound(left);
        memcpy(left, &forLeft, 8);
        memcpy(right, &forRight, 8);
    }
    std::reverse(left, right);
}

struct Triple {
    uint8_t bytes[3];
};

#if HAS_SSE2

// Five pixels at each end change places, the other way round; the byte beside them stays. Answers how many pixels at each
// end are done.
FOR_SSSE3 static size_t FlipByFives(uint8_t *row, size_t count)
{
    constexpr int BYTES = 15;
    const __m128i toLeft = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, -1);
    const __m128i toRight = _mm_setr_epi8(-1, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2);
    const __m128i last = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1);
    const __m128i first = _mm_setr_epi8(-1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    uint8_t *left = row, *right = row + 3 * count;   // the right end: its sixteen bytes lie before it
    for (; right - left >= 32; left += BYTES, right -= BYTES) {
        auto *onLeft = reinterpret_cast<__m128i *>(left), *onRight = reinterpret_cast<__m128i *>(right - 16);
        const __m128i one = _mm_loadu_si128(onLeft), other = _mm_loadu_si128(onRight);
        _mm_storeu_si128(onLeft, _mm_or_si128(_mm_shuffle_epi8(other, toLeft), _mm_and_si128(one, last)));
        _mm_storeu_si128(onRight, _mm_or_si128(_mm_shuffle_epi8(one, toRight), _mm_and_si128(other, first)));
    }
    return size_t(left - row) / 3;
}

#else

static size_t FlipByFives(uint8_t *, size_t) { return 0; }

#endif

static void FlipTriples(uint8_t *row, size_t count)
{
    const size_t done = FeaturesOfProcessor().ssse3 ? FlipByFives(row, count) : 0;
    auto *pixels = reinterpret_cast<Triple *>(row);
    std::reverse(pixels + done, pixels + (count - done));
}

static constexpr std::array<uint8_t, 256> MirroredBytes()
{
    std::array<uint8_t, 256> mirrored = {};
    for (size_t value = 0; value < 256; ++value) {
        for (size_t bit = 0; bit < 8; ++bit)
            if (value >> bit & 1) mirrored[value] = uint8_t(mirrored[value] | 0x80 >> bit);
    }
    return mirrored;
}

// Turned round byte by byte, the row begins with the bits that pad its last byte. `room` has as many bytes.
static void FlipBits(uint8_t *row, int32_t width, std::vector<uint8_t> &room)
{
    static constexpr std::array<uint8_t, 256> mirrored = MirroredBytes();
    const size_t bytes = room.size();
    for (size_t i = 0; i < bytes; ++i) room[i] = mirrored[row[bytes - 1 - i]];
    CopyBits(room.data(), int32_t(8 * bytes) - width, row, 0, width);
}

static void FlipSideways(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel)
{
    const uint32_t stride = RowStride(bitsPerPixel, width);
    const double cost = COST_OF_BYTE * stride;
    const std::vector<uint8_t> room(bitsPerPixel == 1 ? (size_t(width) + 7) / 8 : 0);
    std::vector<std::vector<uint8_t>> rooms(size_t(ThreadsForRuns(height, cost)), room);
    ShareRuns(height, cost, [&](int32_t first, int32_t end, int thread) {
        for (int32_t y = first; y < end; ++y) {
            uint8_t *row = pixels + size_t(y) * stride;
            if (bitsPerPixel == 24) FlipTriples(row, size_t(width));
            else if (bitsPerPixel == 8) FlipBytes(row, size_t(width));
            else FlipBits(row, width, rooms[size_t(thread)]);
        }
    });
}

// Two rows change places, but for their padding.
static void ExchangeRows(uint8_t *one, uint8_t *other, int32_t width, int32_t bitsPerPixel)
{
    const int64_t bits = int64_t(width) * bitsPerPixel, bytes = bits / 8;
    std::swap_ranges(one, one + bytes, other);
    if (bits % 8 == 0) return;
    const auto inUse = uint8_t(0xFF00 >> bits % 8);
    const auto difference = uint8_t((one[bytes] ^ other[bytes]) & inUse);
    one[bytes] ^= difference;
    other[bytes] ^= difference;
}

static void FlipUpright(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel)
{
    const uint32_t stride = RowStride(bitsPerPixel, width);
    ShareRuns(height / 2, 2 * COST_OF_BYTE * stride, [&](int32_t first, int32_t end, int) {
        for (int32_t y = first; y < end; ++y)
            ExchangeRows(pixels + size_t(y) * stride, pixels + size_t(height - 1 - y) * stride, width, bitsPerPixel);
    });
}

void KPZAPI FlipPic(uint8_t *pixels, int32_t width, int32_t height, int32_t direction, int32_t bitsPerPixel)
{
    LogCall("FlipPic", nullptr, pixels, width, height, direction, bitsPerPixel);
    if (direction == 0) FlipSideways(pixels, width, height, bitsPerPixel);
    else FlipUpright(pixels, width, height, bitsPerPixel);
}
