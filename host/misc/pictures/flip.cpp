// Flipping a picture in place. Pixels change places from both ends of a row, 8-bit ones eight at a time.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "maths/pixels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

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

static void FlipTriples(uint8_t *row, size_t count)
{
    auto *pixels = reinterpret_cast<Triple *>(row);
    std::reverse(pixels, pixels + count);
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
    std::vector<uint8_t> room(bitsPerPixel == 1 ? (size_t(width) + 7) / 8 : 0);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = pixels + size_t(y) * stride;
        if (bitsPerPixel == 24) FlipTriples(row, size_t(width));
        else if (bitsPerPixel == 8) FlipBytes(row, size_t(width));
        else FlipBits(row, width, room);
    }
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
    for (int32_t y = 0; y < height / 2; ++y) {
        ExchangeRows(pixels + size_t(y) * stride, pixels + size_t(height - 1 - y) * stride, width, bitsPerPixel);
    }
}

void KPZAPI FlipPic(uint8_t *pixels, int32_t width, int32_t height, int32_t direction, int32_t bitsPerPixel)
{
    LogCall("FlipPic", nullptr, pixels, width, height, direction, bitsPerPixel);
    if (direction == 0) FlipSideways(pixels, width, height, bitsPerPixel);
    else FlipUpright(pixels, width, height, bitsPerPixel);
}
