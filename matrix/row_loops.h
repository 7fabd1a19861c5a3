// The loops over a row's bytes. The two twins include this file, each compiled for its own processor; so everything
// here is local to the one that includes it.

#pragma once

#include "matrix/convolve_row.h"

#include <string.h>
#include <type_traits>

// Before a loop whose rows do not lie over each other, which neither compiler can see for itself.
#ifdef __clang__
#define ROWS_ARE_APART _Pragma("clang loop vectorize(assume_safety)")
#else
#define ROWS_ARE_APART _Pragma("GCC ivdep")
#endif

namespace
{

//---- Sums

// Sums are uint16_t or uint32_t and wrap around: whatever fits in the end is right, whatever it went through.
template <typename Source> struct Tap {
    const Source *source;
    uint32_t weight;
};

template <int TAPS, bool ADDS, typename Sum, typename Source>
void SumTaps(const Tap<Source> *taps, Sum *__restrict sums, int runs)
{
    Tap<Source> own[TAPS];
    for (int t = 0; t < TAPS; ++t) own[t] = taps[t];
    const size_t count = size_t(runs) * RUN_SAMPLES;
    ROWS_ARE_APART
    for (size_t k = 0; k < count; ++k) {
        uint32_t sum = ADDS ? sums[k] : 0;
        for (int t = 0; t < TAPS; ++t) sum += uint32_t(Sum(own[t].weight)) * own[t].source[k];
        sums[k] = Sum(sum);
    }
}

template <bool ADDS, typename Sum, typename Source>
void SumUpToFour(const Tap<Source> *taps, int count, Sum *sums, int runs)
{
    switch (count) {
    case 1: SumTaps<1, ADDS>(taps, sums, runs); break;
    case 2: SumTaps<2, ADDS>(taps, sums, runs); break;
    case 3: SumTaps<3, ADDS>(taps, sums, runs); break;
    default: SumTaps<4, ADDS>(taps, sums, runs); break;
    }
}

// A sum in the making: `empty` until the first taps have been written into it.
template <typename Sum> struct SumRow {
    Sum *sums;
    int runs;
    bool empty;
};

template <typename Sum, typename Source> void AddTaps(SumRow<Sum> &row, const Tap<Source> *taps, int count)
{
    for (int t = 0; t < count; t += 4) {
        const int next = count - t < 4 ? count - t : 4;
        if (row.empty) SumUpToFour<false>(taps + t, next, row.sums, row.runs);
        else SumUpToFour<true>(taps + t, next, row.sums, row.runs);
        row.empty = false;
    }
}

// No taps at all leave a sum of 0.
template <typename Sum> void Complete(SumRow<Sum> &row)
{
    if (row.empty) memset(row.sums, 0, sizeof(Sum) * size_t(row.runs) * RUN_SAMPLES);
    row.empty = false;
}

template <typename Sum> void AddDownFirst(SumRow<Sum> &row, const RowJob &job, const RowGroup &group, int first)
{
    Tap<uint8_t> down[KERNEL_SIDE];
    int count = 0;
    for (int i = 0; i < job.plan->size; ++i)
        if (group.down[i] != 0) down[count++] = {job.sources[i] + first, group.down[i]};
    Sum *columnSums = reinterpret_cast<Sum *>(job.buffers->columnSums);
    SumRow<Sum> columns = {columnSums, row.runs + 1, true};   // the last pixels' right neighbours
    AddTaps(columns, down, count);

    Tap<Sum> across[KERNEL_SIDE];
    count = 0;
    for (int j = 0; j < job.plan->size; ++j)
        if (group.across[j] != 0) across[count++] = {columnSums + j * job.bytesPerPixel, group.across[j]};
    AddTaps(row, across, count);
}

// Those of the kernel's row i that are not 0; the answer is how many there are.
inline int ListElements(const RowJob &job, int i, int first, Tap<uint8_t> *taps)
{
    int count = 0;
    const int size = job.plan->size;
    for (int j = 0; j < size; ++j) {
        const int32_t weight = job.plan->core[i * size + j];
        if (weight != 0) taps[count++] = {job.sources[i] + first + j * job.bytesPerPixel, uint32_t(weight)};
    }
    return count;
}

// Elements of all rows go together: each time taps are added, the sums are read and written once.
template <typename Sum> void SumAll(SumRow<Sum> &row, const RowJob &job, int first)
{
    Tap<uint8_t> taps[KERNEL_ELEMENTS];
    int count = 0;
    for (int g = 0; g < job.plan->groupCount; ++g) {
        const RowGroup &group = job.plan->groups[g];
        if (group.downFirst) {
            AddDownFirst(row, job, group, first);
            continue;
        }
        for (int i = 0; i < job.plan->size; ++i)
            if (group.down[i] != 0) count += ListElements(job, i, first, taps + count);
    }
    AddTaps(row, taps, count);
    Complete(row);
}

//---- Values

// By the formula that stands with Scale.
inline uint16_t Divided(uint16_t value, const Scale &scale)
{
    const uint16_t high = uint16_t(uint32_t(value) * scale.narrowMultiplier >> 16);
    const uint16_t mean = uint16_t(high + (uint16_t(value - high) >> 1));
    return uint16_t(uint16_t(uint32_t(mean) * scale.shiftFactor >> 16) + (mean & scale.unshifted));
}

inline uint32_t Divided(uint32_t value, const Scale &scale)
{
    const uint32_t high = uint32_t(uint64_t(value) * scale.multiplier >> 32);
    return (high + ((value - high) >> 1)) >> scale.shift;
}

template <typename Number> Number Within(Number value, Number low, Number high)
{
    value = value < low ? low : value;
    return value > high ? high : value;
}

// All ones for a negative sum. WithSign takes that sign off, and puts it on.
template <typename Sum> inline Sum SignOf(Sum sum, const Scale &scale)
{
    typedef std::make_signed_t<Sum> Signed;
    return Sum(Signed(sum) >> (8 * sizeof(Sum) - 1)) & Sum(scale.signs);
}

template <typename Sum> inline Sum WithSign(Sum value, Sum sign) { return Sum(Sum(value ^ sign) - sign); }

template <Division DIVISION, typename Sum> inline Sum Quotient(Sum sum, const Scale &scale)
{
    if constexpr (DIVISION == Division::NONE) return sum;
    if constexpr (DIVISION == Division::OF_POSITIVE) return Divided(sum, scale);
    const Sum sign = SignOf(sum, scale);
    return WithSign(Divided(WithSign(sum, sign), scale), Sum(sign ^ Sum(scale.negate)));
}

// Wraps around at the sum's bits. A narrow quotient is first brought to where the result is within -255..255, which is
// as good as any beyond.
template <typename Sum> inline Sum Biased(Sum quotient, const Scale &scale)
{
    typedef std::make_signed_t<Sum> Signed;
    if constexpr (sizeof(Sum) == 2)
        quotient = Sum(Within(Signed(quotient), Signed(-255 - scale.bias), Signed(255 - scale.bias)));
    return Sum(quotient + Sum(scale.bias));
}

template <Division DIVISION, int MODE, typename Sum>
void CombineRuns(const Sum *__restrict sums, const Scale &given, uint8_t *__restrict values, int runs)
{
    typedef std::make_signed_t<Sum> Signed;
    const Scale scale = given;
    const size_t count = size_t(runs) * RUN_SAMPLES;
    ROWS_ARE_APART
    for (size_t k = 0; k < count; ++k) {
        const Sum filtered = Biased(Quotient<DIVISION>(sums[k], scale), scale);
        const Sum combined = MODE == COMBINE_SUBTRACT ? Sum(values[k] - filtered)
                             : MODE == COMBINE_ADD    ? Sum(values[k] + filtered)
                                                      : filtered;
        values[k] = uint8_t(Within(Signed(combined), Signed(0), Signed(255)));
    }
}

template <Division DIVISION, typename Sum> void Combine(const SumRow<Sum> &row, const RowJob &job)
{
    const Scale &scale = job.plan->scale;
    uint8_t *values = job.buffers->values;
    switch (job.plan->combineMode) {
    case COMBINE_SUBTRACT: CombineRuns<DIVISION, COMBINE_SUBTRACT>(row.sums, scale, values, row.runs); break;
    case COMBINE_ADD: CombineRuns<DIVISION, COMBINE_ADD>(row.sums, scale, values, row.runs); break;
    default: CombineRuns<DIVISION, COMBINE_REPLACE>(row.sums, scale, values, row.runs); break;
    }
}

template <typename Sum> void Combine(const SumRow<Sum> &row, const RowJob &job)
{
    switch (job.plan->scale.division) {
    case Division::NONE: Combine<Division::NONE>(row, job); break;
    case Division::OF_POSITIVE: Combine<Division::OF_POSITIVE>(row, job); break;
    case Division::OF_SIGNED: Combine<Division::OF_SIGNED>(row, job); break;
    }
}

//---- A row

void StoreValues(const RowJob &job, int first, int count)
{
    const uint8_t *values = job.buffers->values, *channels = job.buffers->channels;
    uint8_t *row = job.row + first;
    if (job.allChannels) {
        memcpy(row, values, size_t(count));
        return;
    }
    ROWS_ARE_APART
    for (int k = 0; k < count; ++k) row[k] = uint8_t((values[k] & channels[k]) | (row[k] & ~channels[k]));
}

template <typename Sum> void ConvolveBlock(const RowJob &job, int first, int count)
{
    const int runs = (count + RUN_SAMPLES - 1) / RUN_SAMPLES;
    uint8_t *values = job.buffers->values;
    SumRow<Sum> row = {reinterpret_cast<Sum *>(job.buffers->sums), runs, true};
    if (job.plan->combineMode != COMBINE_ADD && job.plan->combineMode != COMBINE_SUBTRACT) {
        SumAll(row, job, first);
        Combine(row, job);
    } else {
        memcpy(values, job.row + first, size_t(count));
        for (int i = 0; i < job.plan->size; ++i) {
            Tap<uint8_t> taps[KERNEL_SIDE];
            AddTaps(row, taps, ListElements(job, i, first, taps));
            Complete(row);
            Combine(row, job);
        }
    }
    StoreValues(job, first, count);
}

inline void ConvolveBlocks(const RowJob &job)
{
    for (int first = 0; first < job.samples; first += BLOCK_SAMPLES) {
        const int count = job.samples - first < BLOCK_SAMPLES ? job.samples - first : BLOCK_SAMPLES;
        if (job.plan->narrow) ConvolveBlock<uint16_t>(job, first, count);
        else ConvolveBlock<uint32_t>(job, first, count);
    }
}

}   // namespace
