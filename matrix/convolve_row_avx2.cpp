// For processors with AVX2. The pragma stands behind the headers whose routines are shared with the rest of the module.

#include "matrix/convolve_row.h"

#include <string.h>
#include <type_traits>

#if HAS_AVX2
#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC target("avx2")
#endif
#endif

#include "matrix/row_loops.h"

void ConvolveRowAvx2(const RowJob &job) { ConvolveBlocks(job); }

#if HAS_AVX2 && defined __clang__
#pragma clang attribute pop
#endif
