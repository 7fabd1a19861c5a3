// The words for a plane's pixels that module and host share: how long a row is, one-bit pixels one by one and in runs,
// copying a run at any depth, and how a colour is weighed. Planes lie as interface/records.h says. Nothing here
// allocates or knows of images, views or effects; all of it may be called on any thread.

#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

//---- Rows

// Bytes of one row, padded to 32 bits. Counted in 64 bits, since a row of 2^31 - 1 bytes has more bits than an int.
constexpr int32_t RowStride(int32_t bitsPerPixel, int32_t width)
{
    return int32_t((int64_t(bitsPerPixel) * width + 31) / 32 * 4);
}

//---- One-bit pixels, most significant bit first

inline bool BitAt(const uint8_t *row, ptrdiff_t x) { return row[x >> 3] >> (7 - (x & 7)) & 1; }

inline void SetBit(uint8_t *row, ptrdiff_t x, bool value)
{
    const int place = 7 - int(x & 7);
    row[x >> 3] = uint8_t((row[x >> 3] & ~(1 << place)) | value << place);
}

// A run of one-bit pixels as bytes of 0 and 1, and back. The row is taken from its start; bits after the run stay.
inline void UnpackBits(const uint8_t *row, int count, uint8_t *bytes)
{
    for (int x = 0; x < (count & ~7); x += 8)
        for (int b = 0; b < 8; ++b) bytes[x + b] = row[x >> 3] >> (7 - b) & 1;
    for (int x = count & ~7; x < count; ++x) bytes[x] = BitAt(row, x);
}

inline void PackBits(const uint8_t *bytes, int count, uint8_t *row)
{
    for (int x = 0; x < (count & ~7); x += 8) {
        unsigned byte = 0;
        for (int b = 0; b < 8; ++b) byte = byte << 1 | bytes[x + b];
        row[x >> 3] = uint8_t(byte);
    }
    for (int x = count & ~7; x < count; ++x) SetBit(row, x, bytes[x]);
}

// Whole target bytes are put together from two neighbouring source bytes; the ends go bit by bit.
inline void CopyBits(const uint8_t *from, int fromX, uint8_t *to, int toX, int count)
{
    for (; count > 0 && (toX & 7); --count) SetBit(to, toX++, BitAt(from, fromX++));
    const uint8_t *source = from + (fromX >> 3);
    uint8_t *target = to + (toX >> 3);
    const int shift = fromX & 7, bytes = count >> 3;
    if (shift == 0) {
        memcpy(target, source, size_t(bytes));
    } else {
        for (int i = 0; i < bytes; ++i) target[i] = uint8_t(source[i] << shift | source[i + 1] >> (8 - shift));
    }
    for (int i = bytes * 8; i < count; ++i) SetBit(to, toX + i, BitAt(from, fromX + i));
}

//---- Pixels of any depth

// Copies `count` pixels from one row to another of the same depth. The runs do not overlap; bits around a run of
// one-bit pixels stay.
inline void CopyRun(const uint8_t *from, int fromX, uint8_t *to, int toX, int count, int bitsPerPixel)
{
    if (count <= 0) return;
    const size_t bytes = size_t(bitsPerPixel) / 8;
    if (bytes == 0) CopyBits(from, fromX, to, toX, count);
    else memcpy(to + size_t(toX) * bytes, from + size_t(fromX) * bytes, size_t(count) * bytes);
}

//---- Colours

// The level of a colour whose parts are weighed 11, 16 and 5 of 32.
constexpr int Brightness(int red, int green, int blue) { return (11 * red + 16 * green + 5 * blue) >> 5; }
// Of a 24-bit pixel: its bytes are blue, green, red.
inline int Brightness(const uint8_t *pixel) { return Brightness(pixel[2], pixel[1], pixel[0]); }

// A colour is 0x00BBGGRR.
constexpr int RedOf(uint32_t colour) { return int(colour & 0xFF); }
constexpr int GreenOf(uint32_t colour) { return int(colour >> 8 & 0xFF); }
constexpr int BlueOf(uint32_t colour) { return int(colour >> 16 & 0xFF); }
constexpr int Brightness(uint32_t colour) { return Brightness(RedOf(colour), GreenOf(colour), BlueOf(colour)); }
