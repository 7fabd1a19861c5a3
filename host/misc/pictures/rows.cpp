#include "host/misc/pictures/rows.h"

#include "maths/pixels.h"

#include <algorithm>
#include <cstring>

static void FillBits(uint8_t *row, int32_t x, int32_t count, bool bit)
{
    const int32_t end = x + count;
    while (x < end && (x & 7)) SetBit(row, x++, bit);
    const int32_t bytes = (end - x) >> 3;
    memset(row + (x >> 3), bit ? 0xFF : 0, size_t(bytes));
    for (x += 8 * bytes; x < end; ++x) SetBit(row, x, bit);
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
