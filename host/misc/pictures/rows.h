// Rows of pixels of every depth: what copying, cutting and pasting are made of. A one-bit pixel x is bit 7 - x % 8 of
// byte x / 8. Nothing beyond the named pixels is written, so a row's padding stays as it is.

#pragma once

#include <cstdint>

inline bool BitAt(const uint8_t *row, int32_t x) { return row[x >> 3] >> (7 - (x & 7)) & 1; }

inline void PutBit(uint8_t *row, int32_t x, bool bit)
{
    const int32_t place = 0x80 >> (x & 7);
    row[x >> 3] = uint8_t(bit ? row[x >> 3] | place : row[x >> 3] & ~place);
}

// Copies `count` pixels, from pixel fromX of one row to pixel toX of another that does not overlap it.
void CopyPixels(uint8_t *to, int32_t toX, const uint8_t *from, int32_t fromX, int32_t count, int32_t bitsPerPixel);
// Sets `count` pixels to one value: a bit, a byte, or a colour 0x00BBGGRR.
void FillPixels(uint8_t *row, int32_t x, int32_t count, int32_t bitsPerPixel, uint32_t value);
