// The words that workers share: a copy of the block to work from, a view's rows, progress and abort once per row, and
// the values of colours. What is true of pixels anywhere stands in maths/pixels.h, which comes along. All of it may be
// called on any thread.

#pragma once

#include "framework/effect.h"
#include "maths/pixels.h"
#include "maths/processor.h"

#include <string.h>

//---- The block

// The block as it stands now. A worker runs from this copy, so that the dialog may go on editing; priority and
// scope, which the dialog may write meanwhile, are read whole.
void CopyBlock(EffectBlock *copy, const EffectBlock *block, size_t size);

template <typename Block> inline Block BlockOf(const EffectBlock *block)
{
    Block copy;
    CopyBlock(&copy.common, block, sizeof(Block));
    return copy;
}

// Brings every number of a block that a spin box holds into the box's range: a host may hand over one that no dialog
// has filled.
void HoldToRanges(const EffectDescriptor &effect, EffectBlock *block);

// The block as it stands now, held to the ranges of its dialog.
template <typename Block> inline Block BlockOf(const EffectDescriptor &effect, const EffectBlock *block)
{
    Block copy = BlockOf<Block>(block);
    HoldToRanges(effect, &copy.common);
    return copy;
}

//---- Planes

// Bytes of one row.
inline int RowBytes(const ImageView &view) { return RowStride(view.bitsPerPixel, view.width); }
inline int MaskRowBytes(const ImageView &view) { return RowStride(view.maskBitsPerPixel, view.width); }
inline uint8_t *RowOf(const ImageView &view, int y) { return view.pixels + size_t(y) * RowBytes(view); }

// Memory of the host's for a plane or a table; freed at the end of its block, also after an abort. None is asked for
// where there is nothing to keep: a host may answer that with null, and need not let null be freed.
struct Scratch {
    uint8_t *bytes = nullptr;

    explicit Scratch(size_t size)
    {
        if (size > 0) KPZ_AllocMem(&bytes, uint32_t(size), ALLOCATION_FLAGS);
    }
    ~Scratch()
    {
        if (bytes) KPZ_FreeMem(bytes);
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    static constexpr int32_t ALLOCATION_FLAGS = 0x301;
};

// Nothing to work on.
inline bool IsEmpty(const ImageView &view) { return view.width < 1 || view.height < 1; }

// memcpy and memset of many bytes, on as many threads as the run may use and it is worth. [run]
void CopyBytes(const uint8_t *from, uint8_t *to, size_t size);
void FillBytes(uint8_t *bytes, int value, size_t size);
// Copies all rows from one plane to another of the same size, and no padding. [run]
void CopyPlane(const uint8_t *from, uint8_t *to, int width, int height, int bitsPerPixel);

// The planes of a view as they stand now, for workers that write over them.
struct PlaneCopies {
    Scratch memory;
    const uint8_t *pixels;
    const uint8_t *mask;   // null without a mask plane

    explicit PlaneCopies(const ImageView &view);
};

// Planes like a view's, not yet filled, for workers that change the view's own at the end and at once: a host may look at
// them during a run.
struct NewPlanes {
    Scratch memory;
    ImageView view;   // the same, of these planes

    explicit NewPlanes(const ImageView &old);
    // Puts them in the place of the old ones.
    void Store(const ImageView &old) const;
};

//---- Progress and abort

inline bool AbortRequested(const int32_t *abortFlag) { return SharedRead(*abortFlag) != 0; }
inline bool AbortRequested(const ImageView &view) { return AbortRequested(view.abortFlag); }

// Tenths done before line `line` of `count`: 0 for the first, 10 for the last. A single line is 10.
constexpr int Tenths(int line, int count) { return count > 1 ? int(int64_t(line) * 10 / (count - 1)) : 10; }
inline void ReportRow(const ImageView &view, int y)
{
    IncrementProgress(view.progressWindow, view.progress, Tenths(y, view.height));
}

//---- The processor

// A hot row routine may have a twin for what the processor offers. This is what may be used where it is there: all of it,
// until a test turns it off to run the loops that others take.
extern ProcessorFeatures processor;

inline bool MayUseSsse3() { return processor.ssse3 && FeaturesOfProcessor().ssse3; }
inline bool MayUseAvx2() { return processor.avx2 && FeaturesOfProcessor().avx2; }

//---- Values and colours

constexpr uint8_t Clamp255(int value) { return uint8_t(value < 0 ? 0 : value > 255 ? 255 : value); }

// Fills all of the view's pixels with a colour: its nearest palette entry for 8 bits (grey too, whose palette is the
// ramp), white or black by its brightness for 1 bit. The row padding of 24 bits stays.
void FillWithColour(const ImageView &view, uint32_t colour);
