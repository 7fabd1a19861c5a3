// The convolution of one row of bytes, made ready for a kernel once per picture.
//
// A row is convolved in blocks that stay in the nearest cache. Where only the last sum counts (Replace), kernel rows
// that are multiples of one another are summed down first and then weighed across together: a 7 x 7 of ones costs
// 7 + 7 steps instead of 49, and zero elements cost nothing. Where every kernel row's sum counts (Add, Subtract), rows
// are summed one after the other. Sums have 16 bits where all of the kernel's fit, else 32.

#pragma once

#include "matrix/matrix.h"

// Kernel rows that are multiples of one another: element (i, j) is down[i] * across[j].
struct RowGroup {
    uint32_t down[KERNEL_SIDE], across[KERNEL_SIDE];
    bool downFirst;   // fewer steps than element by element
};

enum class Division {
    NONE,
    OF_POSITIVE,   // no sum is negative, nor the divisor
    OF_SIGNED,
};

// How a sum becomes a value: divided towards zero, then biased. For a sum without its sign and the high half h of its
// product with the multiplier, the quotient is (h + ((sum - h) >> 1)) >> shift. This is exact for every sum.
struct Scale {
    Division division;
    uint32_t multiplier, shift;
    // For sums of 16 bits. The compiler sees that half of a product is enough where the factor is a field of 16 bits,
    // and has no shift by a variable: value >> shift is the high half of value * shiftFactor, or value & unshifted for
    // a shift by 0.
    uint16_t narrowMultiplier, shiftFactor, unshifted;
    uint32_t signs;    // OF_SIGNED: all ones; 0 where no sum is negative, and its top bit no sign
    uint32_t negate;   // OF_SIGNED: all ones for a negative divisor
    int32_t bias;
};

struct KernelPlan {
    int size;                        // 1, 3, 5 or 7
    int32_t core[KERNEL_ELEMENTS];   // size * size; negated for a divisor of -1, which is then done with
    RowGroup groups[KERNEL_SIDE];
    int groupCount;
    int32_t combineMode;
    bool narrow;   // all sums fit into 16 bits
    Scale scale;
};

// The divisor is not 0. [any]
KernelPlan PlanKernel(const MatrixParameters &own);

// Samples per block: whole pixels, and whole runs of the vectorised loops, which go over a row's end by up to a run.
constexpr int BLOCK_SAMPLES = 1536, RUN_SAMPLES = 64;

// What rows of one picture share.
struct RowBuffers {
    uint32_t sums[BLOCK_SAMPLES], columnSums[BLOCK_SAMPLES + 2 * RUN_SAMPLES];
    uint8_t values[BLOCK_SAMPLES];
    uint8_t channels[BLOCK_SAMPLES];   // 255 for samples that are filtered, else 0
};

struct RowJob {
    const KernelPlan *plan;
    // The kernel's rows of the picture from the top. Each begins with the half kernel's pixels beyond the left edge,
    // and 2 * RUN_SAMPLES bytes may be read after those beyond the right edge.
    const uint8_t *sources[KERNEL_SIDE];
    int bytesPerPixel;
    uint8_t *row;   // changed in place; none of the sources
    int samples;    // bytes of the row
    bool allChannels;
    RowBuffers *buffers;
};

// [run]
void ConvolveRow(const RowJob &job);
// Its twins for every processor and for those with AVX2. [run]
void ConvolveRowPlain(const RowJob &job);
void ConvolveRowAvx2(const RowJob &job);
