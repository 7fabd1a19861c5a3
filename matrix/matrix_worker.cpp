// The three ways of running the filter over a picture, F being the filtered picture and O the one before the run:
//     plain       F
//     difference  O - F, negative values 0
//     iterative   P + O - F after every pass, P being the picture before that pass: what filtering takes away is added
//                 back, which sharpens when the kernel blurs
// One-bit pictures and the mask plane stay as they are; palette pictures are filtered by their indices.

#include "framework/bands.h"
#include "matrix/matrix.h"

static int SampleBytes(const ImageView &view) { return view.width * (view.bitsPerPixel == 8 ? 1 : 3); }
static size_t PlaneBytes(const ImageView &view) { return size_t(RowBytes(view)) * size_t(view.height); }

static void SubtractRow(uint8_t *row, const uint8_t *original, int count)
{
    for (int i = 0; i < count; ++i) row[i] = Clamp255(original[i] - row[i]);
}

static void AddBackRow(uint8_t *row, const uint8_t *previous, const uint8_t *original, int count)
{
    for (int i = 0; i < count; ++i) row[i] = Clamp255(previous[i] + original[i] - row[i]);
}

// The rows that an abort is not met at, one after the other.
static void ForEachRow(const ImageView &view, Reference<void(int y)> change)
{
    const LineSharing sharing = {{view.height, 0.3 * view.width}};
    ShareAmongBands(
        sharing, [&](int) { return !AbortRequested(view); },
        [&](const Band &band, uint8_t *) {
            for (int y = band.first; band.GoesOn(y); ++y) change(y);
        });
}

static void RunDifference(const ImageView &view, const MatrixParameters &own)
{
    Scratch original(PlaneBytes(view));
    CopyBytes(view.pixels, original.bytes, PlaneBytes(view));
    ConvolveImage(view, own);
    ForEachRow(view, [&](int y) {
        SubtractRow(RowOf(view, y), original.bytes + size_t(y) * RowBytes(view), SampleBytes(view));
    });
}

static void RunIterative(const ImageView &view, const MatrixParameters &own)
{
    Scratch original(PlaneBytes(view)), previous(PlaneBytes(view));
    CopyBytes(view.pixels, original.bytes, PlaneBytes(view));
    CopyBytes(view.pixels, previous.bytes, PlaneBytes(view));
    for (int pass = 0; pass < own.iterations && !AbortRequested(view); ++pass) {
        ResetProgress(view.progressWindow, view.progress);
        ConvolveImage(view, own);
        ForEachRow(view, [&](int y) {
            const size_t offset = size_t(y) * RowBytes(view);
            AddBackRow(RowOf(view, y), previous.bytes + offset, original.bytes + offset, SampleBytes(view));
        });
        CopyBytes(view.pixels, previous.bytes, PlaneBytes(view));
    }
}

void KPZAPI MatrixWorker(EffectBlock *shared)
{
    MatrixBlock block = BlockOf<MatrixBlock>(shared);
    const ImageView &view = block.common.view;
    if (view.bitsPerPixel == 1 || IsEmpty(view)) return;
    if (block.own.divisor == 0) block.own.divisor = 1;
    switch (block.own.passMode) {
    case PASS_ITERATIVE: RunIterative(view, block.own); break;
    case PASS_DIFFERENCE: RunDifference(view, block.own); break;
    default: ConvolveImage(view, block.own); break;
    }
}
