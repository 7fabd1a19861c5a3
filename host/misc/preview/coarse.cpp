// See coarse.h.

#include "host/misc/preview/coarse.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static constexpr double ENOUGH = 480000;   // pixels: about what a window shows

bool LooksTheSameReduced(const DialogTemplate &effect)
{
    if (!effect.effect || effect.draws || effect.changesSize) return false;
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (row.id == KERNEL_LIST || (row.label && strcmp(row.label, "pixels") == 0)) return false;
    }
    return true;
}

int32_t CoarseStep(const ImageRecord &picture)
{
    return std::max(1, int32_t(std::sqrt(double(picture.width) * picture.height / ENOUGH)));
}

// Pixels of one row, `step` apart; from the middle of each group, or from the row's last pixel where that is nearer.
static void ReduceRow(uint8_t *to, const uint8_t *from, int32_t width, int32_t bytes, int32_t step)
{
    for (int32_t x = 0; x < width; x += step, to += bytes)
        memcpy(to, from + size_t(std::min(x + step / 2, width - 1)) * size_t(bytes), size_t(bytes));
}

static void EnlargeRow(uint8_t *to, const uint8_t *from, int32_t width, int32_t bytes, int32_t step)
{
    for (int32_t x = 0; x < width; ++x, to += bytes) memcpy(to, from + size_t(x / step) * size_t(bytes), size_t(bytes));
}

static int32_t Parts(int32_t length, int32_t step) { return (length + step - 1) / step; }

void Reduce(ImageRecord &to, const ImageRecord &from, int32_t step)
{
    CopyDescription(to, from);
    to.width = Parts(from.width, step);
    to.height = Parts(from.height, step);
    const size_t stride = RowStride(from.bitsPerPixel, from.width), reduced = RowStride(to.bitsPerPixel, to.width);
    to.pixels = static_cast<uint8_t *>(HostAllocate(reduced * uint64_t(to.height)));
    for (int32_t y = 0; y < to.height; ++y) {
        const int32_t row = std::min(y * step + step / 2, from.height - 1);
        ReduceRow(to.pixels + reduced * size_t(y), from.pixels + stride * size_t(row), from.width,
                  from.bitsPerPixel / 8, step);
    }
}

void Enlarge(ImageRecord &to, const ImageRecord &reduced, const ImageRecord &whole, int32_t step)
{
    CopyDescription(to, whole);
    const size_t stride = RowStride(whole.bitsPerPixel, whole.width);
    const size_t few = RowStride(reduced.bitsPerPixel, reduced.width);
    to.pixels = static_cast<uint8_t *>(HostAllocate(uint64_t(stride) * uint64_t(whole.height)));
    for (int32_t y = 0; y < whole.height; ++y) {
        uint8_t *row = to.pixels + stride * size_t(y);
        if (y % step) memcpy(row, row - stride, stride);
        else EnlargeRow(row, reduced.pixels + few * size_t(y / step), whole.width, whole.bitsPerPixel / 8, step);
    }
}
