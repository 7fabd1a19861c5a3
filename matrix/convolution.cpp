// A pass over a picture, in place: the rows that the kernel reaches are kept in a ring as they were, so a pass needs
// the memory of a few rows and no second picture.

#include "framework/bands.h"
#include "matrix/convolve_row.h"

#include <algorithm>
#include <string.h>

//---- Kernel size

static bool RowIsZero(const int32_t *kernel, int row)
{
    for (int column = 0; column < KERNEL_SIDE; ++column)
        if (kernel[row * KERNEL_SIDE + column] != 0) return false;
    return true;
}

static bool ColumnIsZero(const int32_t *kernel, int column)
{
    for (int row = 0; row < KERNEL_SIDE; ++row)
        if (kernel[row * KERNEL_SIDE + column] != 0) return false;
    return true;
}

int CompactKernel(int32_t kernel[KERNEL_ELEMENTS])
{
    constexpr int LAST = KERNEL_SIDE - 1, CENTRE = KERNEL_SIDE / 2;
    int edge = 0;   // rings of zeros around the core
    while (edge < CENTRE && RowIsZero(kernel, edge) && RowIsZero(kernel, LAST - edge) && ColumnIsZero(kernel, edge) &&
           ColumnIsZero(kernel, LAST - edge)) {
        ++edge;
    }
    const int size = KERNEL_SIDE - 2 * edge;
    for (int i = 0; i < size; ++i)
        memmove(kernel + i * size, kernel + (edge + i) * KERNEL_SIDE + edge, sizeof(int32_t) * size_t(size));
    return size;
}

//---- The ring

struct Ring {
    uint8_t *rows[KERNEL_SIDE];   // from the top; each with half a kernel's edge pixels on both sides
    int size, width, bytesPerPixel;
};

static int RingRowBytes(int width, int size, int bytesPerPixel)
{
    return (width + size) * bytesPerPixel + 2 * RUN_SAMPLES;
}

static void LoadRow(const Ring &ring, int index, const uint8_t *source)
{
    const int half = ring.size / 2, step = ring.bytesPerPixel, bytes = ring.width * step;
    uint8_t *row = ring.rows[index] + half * step, *end = row + bytes;
    memcpy(row, source, size_t(bytes));
    for (int i = 0; i < half * step; ++i) {
        row[-1 - i] = source[step - 1 - i % step];
        end[i] = source[bytes - step + i % step];
    }
}

static void CopyRow(const Ring &ring, int to, int from)
{
    memcpy(ring.rows[to], ring.rows[from], size_t(ring.width + ring.size) * size_t(ring.bytesPerPixel));
}

// The rows around the band's first; beyond the picture they are its own first and last.
static void FillRing(const Ring &ring, const Rows &rows)
{
    const int half = ring.size / 2, last = rows.view->height - 1;
    for (int i = 0; i < ring.size; ++i) LoadRow(ring, i, rows.Unprocessed(std::clamp(rows.first - half + i, 0, last)));
}

// From the rows around row y to those around row y + 1; rows below the picture are its last row.
static void AdvanceRing(Ring &ring, const Rows &rows, int y)
{
    const ImageView &view = *rows.view;
    if (y + 1 == rows.end) return;
    const int last = ring.size - 1, next = y + ring.size / 2 + 1;
    uint8_t *top = ring.rows[0];
    memmove(ring.rows, ring.rows + 1, sizeof ring.rows[0] * size_t(last));
    ring.rows[last] = top;
    if (next < view.height) LoadRow(ring, last, rows.Unprocessed(next));
    else if (last > 0) CopyRow(ring, last, last - 1);
}

//---- The pass

// What goes with a sample: a few nanoseconds for small kernels, more for large ones.
static double CostOf(const KernelPlan &plan) { return plan.size <= 3 ? 1.6 : plan.size == 5 ? 2.5 : 4; }

static bool SetChannels(RowBuffers &buffers, const MatrixParameters &own, int bytesPerPixel)
{
    const bool use[] = {own.useBlue != 0, own.useGreen != 0, own.useRed != 0};
    if (bytesPerPixel == 1) return true;
    for (int k = 0; k < BLOCK_SAMPLES; ++k) buffers.channels[k] = use[k % 3] ? 255 : 0;
    return use[0] && use[1] && use[2];
}

void ConvolveImage(const ImageView &view, const MatrixParameters &own)
{
    const KernelPlan plan = PlanKernel(own);
    if (view.width < plan.size || view.height < plan.size) return;

    const int bytesPerPixel = view.bitsPerPixel == 8 ? 1 : 3, half = plan.size / 2;
    const size_t rowBytes = size_t(RingRowBytes(view.width, plan.size, bytesPerPixel));
    const size_t ringBytes = rowBytes * size_t(plan.size);
    const RowSharing sharing = {
        .cost = CostOf(plan), .memory = sizeof(RowBuffers) + ringBytes, .above = half, .below = half};
    ShareRows(view, sharing, [&](const Rows &rows) {
        auto *buffers = reinterpret_cast<RowBuffers *>(rows.memory);
        uint8_t *ringMemory = rows.memory + sizeof(RowBuffers);
        Ring ring = {{}, plan.size, view.width, bytesPerPixel};
        memset(ringMemory, 0, ringBytes);
        for (int i = 0; i < plan.size; ++i) ring.rows[i] = ringMemory + rowBytes * size_t(i);
        FillRing(ring, rows);

        RowJob job = {&plan, {}, bytesPerPixel, nullptr, view.width * bytesPerPixel, true, buffers};
        job.allChannels = SetChannels(*buffers, own, bytesPerPixel);
        for (int y = rows.first; rows.GoesOn(y); ++y) {
            memcpy(job.sources, ring.rows, sizeof ring.rows);
            job.row = RowOf(view, y);
            ConvolveRow(job);
            AdvanceRing(ring, rows, y);
        }
    });
}
