// What workers do to whole blocks and whole planes: copy them, fill them, hold numbers to their ranges. Which pixels
// change is the effects' own.

#include "framework/bands.h"

#include <algorithm>

constinit ProcessorFeatures processor = {true, true};

void CopyBlock(EffectBlock *copy, const EffectBlock *block, size_t size)
{
    constexpr size_t header = offsetof(EffectBlock, header);
    constexpr size_t mode = header + offsetof(FilterHeader, previewMode), behindMode = mode + sizeof(int32_t);
    constexpr size_t priority = header + offsetof(FilterHeader, priority), rest = priority + sizeof(int32_t);
    auto *to = reinterpret_cast<uint8_t *>(copy);
    auto *from = reinterpret_cast<const uint8_t *>(block);
    memcpy(to, from, mode);
    copy->header.previewMode = SharedRead(block->header.previewMode);
    memcpy(to + behindMode, from + behindMode, priority - behindMode);
    copy->header.priority = SharedRead(block->header.priority);
    memcpy(to + rest, from + rest, size - rest);
}

void HoldToRanges(const EffectDescriptor &effect, EffectBlock *block)
{
    for (const ControlBinding &row : effect.controls) {
        if (row.kind != BindingKind::SPIN) continue;
        auto *field = reinterpret_cast<int32_t *>(reinterpret_cast<uint8_t *>(block) + row.field);
        *field = std::clamp(*field, row.low, row.high);
    }
}

constexpr double COST_OF_BYTE = 0.15;   // nanoseconds, of copying it

#if HAS_AVX2

// memcpy of what is larger than caches: what is written goes past them, so that it is not read first.
static void CopyPastCaches(const uint8_t *from, uint8_t *to, size_t size)
{
    constexpr size_t STEP = 64, AHEAD = 4096;
    size_t i = std::min(size, size_t(-reinterpret_cast<uintptr_t>(to)) % STEP);
    memcpy(to, from, i);
    for (; i + STEP <= size; i += STEP) {
        __builtin_prefetch(from + i + AHEAD);
        for (size_t k = i; k < i + STEP; k += 16)
            _mm_stream_si128(reinterpret_cast<__m128i *>(to + k),
                             _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + k)));
    }
    memcpy(to + i, from + i, size - i);
    _mm_sfence();
}

#else

static void CopyPastCaches(const uint8_t *from, uint8_t *to, size_t size) { memcpy(to, from, size); }

#endif

void CopyPlane(const uint8_t *from, uint8_t *to, int width, int height, int bitsPerPixel)
{
    constexpr size_t LARGE = size_t(1) << 24;
    const size_t stride = size_t(RowStride(bitsPerPixel, width));
    const bool large = stride * size_t(height) >= LARGE, padded = stride * 8 != size_t(width) * size_t(bitsPerPixel);
    ShareSilently(height, COST_OF_BYTE * double(stride), [&](int first, int end) {
        const size_t start = first * stride;
        if (large && !padded) return CopyPastCaches(from + start, to + start, size_t(end - first) * stride);
        for (int y = first; y < end; ++y) CopyRun(from + y * stride, 0, to + y * stride, 0, width, bitsPerPixel);
    });
}

static size_t PlaneBytes(const ImageView &view) { return size_t(RowBytes(view)) * view.height; }
static size_t MaskBytes(const ImageView &view) { return view.mask ? size_t(MaskRowBytes(view)) * view.height : 0; }

static void SharePieces(size_t size, Reference<void(size_t start, size_t end)> work)
{
    constexpr size_t PIECE = 1 << 16;
    const int pieces = int((size + PIECE - 1) / PIECE);
    ShareSilently(pieces, COST_OF_BYTE * PIECE,
                  [&](int first, int end) { work(size_t(first) * PIECE, std::min(size_t(end) * PIECE, size)); });
}

void CopyBytes(const uint8_t *from, uint8_t *to, size_t size)
{
    SharePieces(size, [&](size_t start, size_t end) { memcpy(to + start, from + start, end - start); });
}

PlaneCopies::PlaneCopies(const ImageView &view) : memory(PlaneBytes(view) + MaskBytes(view))
{
    CopyBytes(view.pixels, memory.bytes, PlaneBytes(view));
    pixels = memory.bytes;
    mask = view.mask ? memory.bytes + PlaneBytes(view) : nullptr;
    if (view.mask) CopyBytes(view.mask, memory.bytes + PlaneBytes(view), MaskBytes(view));
}

NewPlanes::NewPlanes(const ImageView &old) : memory(PlaneBytes(old) + MaskBytes(old)), view(old)
{
    view.pixels = memory.bytes;
    if (old.mask) view.mask = memory.bytes + PlaneBytes(old);
}

void NewPlanes::Store(const ImageView &old) const
{
    CopyPlane(view.pixels, old.pixels, view.width, view.height, view.bitsPerPixel);
    if (old.mask) CopyPlane(view.mask, old.mask, view.width, view.height, view.maskBitsPerPixel);
}

void FillBytes(uint8_t *bytes, int value, size_t size)
{
    SharePieces(size, [&](size_t start, size_t end) { memset(bytes + start, value, end - start); });
}

void FillWithColour(const ImageView &view, uint32_t colour)
{
    const size_t stride = size_t(RowBytes(view));
    if (view.bitsPerPixel == 1) {
        FillBytes(view.pixels, Brightness(colour) >= 129 ? 0xFF : 0, stride * view.height);
    } else if (view.bitsPerPixel == 8) {
        const int index = FindClosestColor(colour, view.red, view.green, view.blue, *view.paletteEntries);
        FillBytes(view.pixels, index, stride * view.height);
    } else {
        const uint8_t pixel[] = {uint8_t(BlueOf(colour)), uint8_t(GreenOf(colour)), uint8_t(RedOf(colour))};
        for (int x = 0; x < view.width && view.height > 0; ++x) memcpy(view.pixels + 3 * x, pixel, 3);
        ShareSilently(view.height - 1, COST_OF_BYTE * double(stride), [&](int first, int end) {
            for (int y = first + 1; y <= end; ++y) memcpy(RowOf(view, y), view.pixels, 3 * size_t(view.width));
        });
    }
}
