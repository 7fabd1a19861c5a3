// A kernel's plan: which of its rows are multiples of one another, the range of its sums, its division as a
// multiplication. The loops that follow the plan are in row_loops.h.

#include "matrix/convolve_row.h"

#include <numeric>
#include <string.h>

//---- Plan

// A row as a multiple of its primitive: the row divided by its greatest common divisor, first element positive. Rows of
// one primitive are a group.
static uint32_t SplitRow(const int32_t *row, int size, uint32_t *primitive)
{
    int64_t factor = 0;
    for (int j = 0; j < size; ++j) factor = std::gcd(factor, int64_t(row[j]));
    if (factor == 0) return 0;
    int first = 0;
    while (row[first] == 0) ++first;
    if (row[first] < 0) factor = -factor;
    for (int j = 0; j < size; ++j) primitive[j] = uint32_t(row[j] / factor);
    return uint32_t(factor);
}

static int CountNonZero(const uint32_t *weights)
{
    int count = 0;
    for (int i = 0; i < KERNEL_SIDE; ++i) count += weights[i] != 0;
    return count;
}

// A tap costs about 4 steps from bytes and 3 from sums, and a row of sums is written and read once.
static bool DownFirstPays(const RowGroup &group)
{
    const int rows = CountNonZero(group.down), columns = CountNonZero(group.across);
    return 4 * rows + 3 * columns + 1 < 4 * rows * columns;
}

static void GroupRows(KernelPlan &plan)
{
    for (int i = 0; i < plan.size; ++i) {
        RowGroup group = {};
        const uint32_t factor = SplitRow(plan.core + i * plan.size, plan.size, group.across);
        if (factor == 0) continue;
        int g = 0;
        while (g < plan.groupCount && memcmp(plan.groups[g].across, group.across, sizeof group.across) != 0) ++g;
        if (g == plan.groupCount) plan.groups[plan.groupCount++] = group;
        plan.groups[g].down[i] = factor;
    }
    for (int g = 0; g < plan.groupCount; ++g) plan.groups[g].downFirst = DownFirstPays(plan.groups[g]);
}

struct SumRange {
    int64_t low, high;
};

static SumRange RangeOfSums(const KernelPlan &plan)
{
    SumRange range = {0, 0};
    for (int i = 0; i < plan.size * plan.size; ++i)
        (plan.core[i] < 0 ? range.low : range.high) += int64_t(plan.core[i]) * 255;
    return range;
}

// For sums of 16 or 32 bits and a divisor from 2 on.
static void PlanDivision(Scale &scale, uint32_t divisor, int bits)
{
    uint32_t log = 1;   // of the divisor to base 2, rounded up
    while (uint64_t(1) << log < divisor) ++log;
    scale.multiplier = uint32_t((((uint64_t(1) << log) - divisor) << bits) / divisor + 1);
    scale.shift = log - 1;
    scale.narrowMultiplier = uint16_t(scale.multiplier);
    scale.shiftFactor = log > 1 ? uint16_t(0x20000u >> log) : 0;
    scale.unshifted = log > 1 ? 0 : 0xFFFF;
}

// 16 bits hold sums up to 32767 either way, or up to 65535 without a sign when the quotient is half of that at most.
static void PlanScale(KernelPlan &plan, int32_t divisor, int32_t bias)
{
    const SumRange range = RangeOfSums(plan);
    const uint32_t size = divisor < 0 ? 0u - uint32_t(divisor) : uint32_t(divisor);
    const bool fitsSigned = range.low >= -32767 && range.high <= 32767;
    const bool fitsUnsigned = range.low == 0 && range.high <= 65535 && size > 1;
    plan.narrow = (fitsSigned || fitsUnsigned) && size <= 65535 && bias >= -32000 && bias <= 32000;

    Scale &scale = plan.scale;
    scale.bias = bias;
    scale.signs = plan.narrow && !fitsSigned ? 0 : ~0u;
    scale.negate = divisor < 0 ? ~0u : 0;
    // Wide sums may wrap around to negative ones.
    scale.division = size == 1                                      ? Division::NONE
                     : plan.narrow && range.low == 0 && divisor > 0 ? Division::OF_POSITIVE
                                                                    : Division::OF_SIGNED;
    if (size > 1) PlanDivision(scale, size, plan.narrow ? 16 : 32);
}

KernelPlan PlanKernel(const MatrixParameters &own)
{
    KernelPlan plan = {};
    int32_t kernel[KERNEL_ELEMENTS];
    memcpy(kernel, own.kernel, sizeof kernel);
    plan.size = CompactKernel(kernel);
    for (int i = 0; i < plan.size * plan.size; ++i)
        plan.core[i] = own.divisor == -1 ? int32_t(0u - uint32_t(kernel[i])) : kernel[i];
    plan.combineMode = own.combineMode;
    GroupRows(plan);
    PlanScale(plan, own.divisor, own.bias);
    return plan;
}

//---- The twins

void ConvolveRow(const RowJob &job)
{
    if (MayUseAvx2()) ConvolveRowAvx2(job);
    else ConvolveRowPlain(job);
}
