// What the processor offers beyond plain C++. The only place that knows one: code with a twin in a processor's own
// instructions includes this header, and keeps a plain loop with the same result for all others.

#pragma once

// Every x86 that this is built for has SSE2; the rest is found out when the program runs. WebAssembly has what SSSE3 does in
// instructions of its own, which its compiler knows by the same names. PLAIN_LOOPS builds what other processors get.
#if defined(__SSE2__) && defined(__wasm_simd128__) && !defined(PLAIN_LOOPS)
#define HAS_SSE2 1
#define HAS_AVX2 0
#include <tmmintrin.h>
#define FOR_SSSE3
#define FOR_AVX2
#elif (defined(__x86_64__) || defined(__i386__)) && defined(__SSE2__) && !defined(PLAIN_LOOPS)
#define HAS_SSE2 1
#define HAS_AVX2 1   // to be compiled for, not to be run without asking
#include <immintrin.h>
// For a routine that is called only where the processor has these instructions.
#define FOR_SSSE3 __attribute__((target("ssse3")))
#define FOR_AVX2 __attribute__((target("avx2")))
#else
#define HAS_SSE2 0
#define HAS_AVX2 0
#define FOR_SSSE3
#define FOR_AVX2
#endif

// A pixel's bytes are taken as one number here and there, the first as the lowest.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

// What there may be beyond SSE2, and never is without it.
struct ProcessorFeatures {
    bool ssse3, avx2;
};

inline ProcessorFeatures FeaturesOfProcessor()
{
#if HAS_AVX2
    return {bool(__builtin_cpu_supports("ssse3")), bool(__builtin_cpu_supports("avx2"))};
#else
    return {.ssse3 = HAS_SSE2 == 1, .avx2 = false};
#endif
}
