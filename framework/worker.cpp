#include "framework/worker.h"

ProcessorFeatures processor = FeaturesOfProcessor();

void CopyBlock(EffectBlock *copy, const EffectBlock *block, size_t size)
{
    constexpr size_t priority = offsetof(EffectBlock, header) + offsetof(FilterHeader, priority);
    constexpr size_t rest = priority + sizeof(copy->header.priority);
    auto *to = reinterpret_cast<uint8_t *>(copy);
    auto *from = reinterpret_cast<const uint8_t *>(block);
    memcpy(to, from, priority);
    copy->header.priority = SharedRead(block->header.priority);
    memcpy(to + rest, from + rest, size - rest);
}

static size_t PlaneBytes(const ImageView &view) { return size_t(RowBytes(view)) * view.height; }
static size_t MaskBytes(const ImageView &view) { return view.mask ? size_t(MaskRowBytes(view)) * view.height : 0; }

PlaneCopies::PlaneCopies(const ImageView &view) : memory(PlaneBytes(view) + MaskBytes(view))
{
    memcpy(memory.bytes, view.pixels, PlaneBytes(view));
    pixels = memory.bytes;
    mask = view.mask ? memory.bytes + PlaneBytes(view) : nullptr;
    if (view.mask) memcpy(memory.bytes + PlaneBytes(view), view.mask, MaskBytes(view));
}

void UnpackBits(const uint8_t *row, int count, uint8_t *bytes)
{
    for (int x = 0; x < (count & ~7); x += 8)
        for (int b = 0; b < 8; ++b) bytes[x + b] = row[x >> 3] >> (7 - b) & 1;
    for (int x = count & ~7; x < count; ++x) bytes[x] = BitAt(row, x);
}

void PackBits(const uint8_t *bytes, int count, uint8_t *row)
{
    for (int x = 0; x < (count & ~7); x += 8) {
        unsigned byte = 0;
        for (int b = 0; b < 8; ++b) byte = byte << 1 | bytes[x + b];
        row[x >> 3] = uint8_t(byte);
    }
    for (int x = count & ~7; x < count; ++x) SetBit(row, x, bytes[x]);
}

// Whole target bytes are put together from two neighbouring source bytes; the ends go bit by bit.
static void CopyBits(const uint8_t *from, int fromX, uint8_t *to, int toX, int count)
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

void CopyRun(const uint8_t *from, int fromX, uint8_t *to, int toX, int count, int bitsPerPixel)
{
    if (count <= 0) return;
    const int bytes = bitsPerPixel / 8;
    if (bitsPerPixel == 1) CopyBits(from, fromX, to, toX, count);
    else memcpy(to + toX * bytes, from + fromX * bytes, size_t(count) * bytes);
}

void FillWithColour(const ImageView &view, uint32_t colour)
{
    const size_t stride = size_t(RowBytes(view));
    if (view.bitsPerPixel == 1) {
        memset(view.pixels, Brightness(colour) >= 129 ? 0xFF : 0, stride * view.height);
    } else if (view.bitsPerPixel == 8) {
        const int index = FindClosestColor(colour, view.red, view.green, view.blue, *view.paletteEntries);
        memset(view.pixels, index, stride * view.height);
    } else {
        const uint8_t pixel[] = {uint8_t(BlueOf(colour)), uint8_t(GreenOf(colour)), uint8_t(RedOf(colour))};
        for (int x = 0; x < view.width; ++x) memcpy(view.pixels + 3 * x, pixel, 3);
        for (int y = 1; y < view.height; ++y) memcpy(RowOf(view, y), view.pixels, 3 * size_t(view.width));
    }
}
