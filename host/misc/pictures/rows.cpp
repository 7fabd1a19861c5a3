#include "host/misc/pictures/rows.h"

#include <algorithm>
#include <cstring>

// Whole bytes of the target are put together from two neighbours of the source; what is left at both ends goes bit by
// bit.
static void CopyBits(uint8_t *to, int32_t toX, const uint8_t *from, int32_t fromX, int32_t count)
{
    int32_t i = 0;
    while (i < count && ((toX + i) & 7)) PutBit(to, toX + i, BitAt(from, fromX + i)), ++i;
    const int32_t shift = (fromX + i) & 7;
    for (; count - i >= 8; i += 8) {
        const uint8_t *bytes = from + ((fromX + i) >> 3);
        to[(toX + i) >> 3] = shift ? uint8_t(bytes[0] << shift | bytes[1] >> (8 - shift)) : bytes[0];
    }
    for (; i < count; ++i) PutBit(to, toX + i, BitAt(from, fromX + i));
}

void CopyPixels(uint8_t *to, int32_t toX, const uint8_t *from, int32_t fromX, int32_t count, int32_t bitsPerPixel)
{
    const size_t bytes = size_t(bitsPerPixel) / 8;
    if (count <= 0) return;
    if (bytes == 0) CopyBits(to, toX, from, fromX, count);
    else memcpy(to + size_t(toX) * bytes, from + size_t(fromX) * bytes, size_t(count) * bytes);
}

static void FillBits(uint8_t *row, int32_t x, int32_t count, bool bit)
{
    const int32_t end = x + count;
    while (x < end && (x & 7)) PutBit(row, x++, bit);
    const int32_t bytes = (end - x) >> 3;
    memset(row + (x >> 3), bit ? 0xFF : 0, size_t(bytes));
    for (x += 8 * bytes; x < end; ++x) PutBit(row, x, bit);
}

// What has been filled is copied behind itself.
static void FillColours(uint8_t *pixels, size_t count, uint32_t colour)
{
    const size_t bytes = 3 * count;
    for (size_t c = 0; c < 3; ++c) pixels[c] = uint8_t(colour >> (16 - 8 * c));
    for (size_t done = 3; done < bytes; done *= 2) memcpy(pixels + done, pixels, std::min(done, bytes - done));
}

void FillPixels(uint8_t *row, int32_t x, int32_t count, int32_t bitsPerPixel, uint32_t value)
{
    if (count <= 0) return;
    if (bitsPerPixel == 1) FillBits(row, x, count, value & 1);
    else if (bitsPerPixel == 24) FillColours(row + 3 * size_t(x), size_t(count), value);
    else memset(row + x, int(value & 255), size_t(count));
}
