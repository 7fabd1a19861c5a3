// A pass over a picture, in place: the rows that the kernel reaches are kept in a ring as they were, so a pass needs
// the memory of a few rows and no second picture.

#include "matrix/convolve_row.h"

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

// The rows around row 0; those above the picture are its first row.
static void FillRing(const Ring &ring, const ImageView &view)
{
    const int half = ring.size / 2;
    for (int r = 0; r <= half; ++r) LoadRow(ring, half + r, RowOf(view, r));
    for (int r = 0; r < half; ++r) CopyRow(ring, r, half);
}

// From the rows around row y to those around row y + 1; rows below the picture are its last row.
static void AdvanceRing(Ring &ring, const ImageView &view, int y)
{
    const int last = ring.size - 1, next = y + ring.size / 2 + 1;
    uint8_t *top = ring.rows[0];
    memmove(ring.rows, ring.rows + 1, sizeof ring.rows[0] * size_t(last));
    ring.rows[last] = top;
    if (next < view.height) LoadRow(ring, last, RowOf(view, next));
    else if (last > 0) CopyRow(ring, last, last - 1);
}

//---- The pass

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

    Ring ring = {{}, plan.size, view.width, view.bitsPerPixel == 8 ? 1 : 3};
    const size_t rowBytes = size_t(RingRowBytes(view.width, plan.size, ring.bytesPerPixel));
    Scratch rows(rowBytes * size_t(plan.size)), buffers(sizeof(RowBuffers));
    memset(rows.bytes, 0, rowBytes * size_t(plan.size));
    for (int i = 0; i < plan.size; ++i) ring.rows[i] = rows.bytes + rowBytes * size_t(i);
    FillRing(ring, view);

    RowJob job = {&plan,
                  {},
                  ring.bytesPerPixel,
                  nullptr,
                  view.width * ring.bytesPerPixel,
                  true,
                  reinterpret_cast<RowBuffers *>(buffers.bytes)};
    job.allChannels = SetChannels(*job.buffers, own, ring.bytesPerPixel);
    for (int y = 0; y < view.height && !AbortRequested(view); ++y) {
        ReportRow(view, y);
        memcpy(job.sources, ring.rows, sizeof ring.rows);
        job.row = RowOf(view, y);
        ConvolveRow(job);
        AdvanceRing(ring, view, y);
    }
}
