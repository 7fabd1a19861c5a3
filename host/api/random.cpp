// KPZ_srand, and the random numbers that follow it. Every thread draws from a sequence of its own, so runs side by side
// do not disturb each other, nor the program they are part of, nor does that change their pixels.
//
// On Windows the C runtime keeps rand's state per thread, so its srand and rand are all that is needed. Elsewhere there
// is one rand for the whole process, behind a lock: the same numbers come from HostRandomNumbers here, which the module
// looks up and prefers to rand. Nothing is interposed: a program's own rand stays the C library's, whether this is
// loaded, linked, or part of one binary with the module.

#include "host/api/backend.h"

#include <atomic>
#include <mutex>
#include <random>
#include <stdlib.h>

//---- The sequence

#ifndef _WIN32

// The additive feedback generator that the C library's rand is: each value is the sum of those 3 and 31 before it.
struct Sequence {
    static constexpr int LENGTH = 31, LAG = 3, DISCARDED = 10 * LENGTH;
    uint32_t values[LENGTH];
    int next;   // the oldest: where the next value goes
};

static constexpr uint32_t NextValue(Sequence &sequence)
{
    const int next = sequence.next;
    const int before = next >= Sequence::LAG ? next - Sequence::LAG : next - Sequence::LAG + Sequence::LENGTH;
    sequence.next = next + 1 < Sequence::LENGTH ? next + 1 : 0;
    return sequence.values[next] += sequence.values[before];
}

static constexpr Sequence SequenceFrom(uint32_t seed)
{
    constexpr int64_t MODULUS = 2147483647, MULTIPLIER = 16807, QUOTIENT = 127773, REST = 2836;
    Sequence sequence = {};
    int64_t word = int32_t(seed ? seed : 1);
    for (uint32_t &value : sequence.values) {
        value = uint32_t(word);
        word = MULTIPLIER * (word % QUOTIENT) - REST * (word / QUOTIENT);
        if (word < 0) word += MODULUS;
    }
    sequence.next = Sequence::LAG;
    for (int i = 0; i < Sequence::DISCARDED; ++i) NextValue(sequence);
    return sequence;
}

static constinit thread_local Sequence ownSequence = SequenceFrom(1);   // as rand starts

static void Seed(uint32_t seed) { ownSequence = SequenceFrom(seed); }

// The sequence's place is asked for once: a compiler that knows it for the thread's own asks again with every number.
KPZ_EXPORT void KPZAPI HostRandomNumbers(int32_t *numbers, int32_t count)
{
    Sequence *volatile place = &ownSequence;
    Sequence &sequence = *place;
    for (int32_t i = 0; i < count; ++i) numbers[i] = int32_t(NextValue(sequence) >> 1);
}

#else

static void Seed(uint32_t seed) { srand(seed); }

#endif

//---- Seeds

static std::mutex fixedLock;
static bool seedIsFixed;
static uint32_t fixedSeed;

// What this thread's draws start from.
struct ThreadSeed {
    bool given = false;   // by HostUseSeed
    uint32_t seed = 0;
    bool used = false;   // KPZ_srand was called since
    uint32_t usedSeed = 0;
};
static thread_local ThreadSeed own;

KPZ_EXPORT void KPZAPI HostFixSeed(BOOL fixed, uint32_t seed)
{
    std::lock_guard guard(fixedLock);
    seedIsFixed = fixed;
    fixedSeed = seed;
}

KPZ_EXPORT BOOL KPZAPI HostFixedSeed(uint32_t *seed)
{
    std::lock_guard guard(fixedLock);
    if (seedIsFixed && seed) *seed = fixedSeed;
    return seedIsFixed;
}

KPZ_EXPORT void KPZAPI HostUseSeed(const uint32_t *seed)
{
    own = {};
    own.given = seed != nullptr;
    if (seed) own.seed = *seed;
}

KPZ_EXPORT BOOL KPZAPI HostUsedSeed(uint32_t *seed)
{
    if (own.used && seed) *seed = own.usedSeed;
    return own.used;
}

KPZ_EXPORT uint32_t KPZAPI HostFreshSeed() { return std::random_device{}(); }

void SeedRandomNumbers()
{
    uint32_t seed;
    if (!HostFixedSeed(&seed)) seed = own.given ? own.seed : HostFreshSeed();
    own.used = true;
    own.usedSeed = seed;
    Seed(seed);
}
