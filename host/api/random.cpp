// KPZ_srand. With a fixed seed the runtime's one generator belongs to one run at a time, so that runs side by side do
// not draw from each other's sequence.

#include "host/api/backend.h"

#include <condition_variable>
#include <mutex>
#include <random>
#include <stdlib.h>
#include <thread>

static std::mutex turnLock;
static std::condition_variable turnFree;
static std::thread::id turnOwner;   // nobody: the turn is free
static bool seedIsFixed;
static uint32_t fixedSeed;

KPZ_EXPORT void KPZAPI HostFixSeed(BOOL fixed, uint32_t seed)
{
    std::lock_guard guard(turnLock);
    seedIsFixed = fixed;
    fixedSeed = seed;
}

KPZ_EXPORT BOOL KPZAPI HostSeedIsFixed()
{
    std::lock_guard guard(turnLock);
    return seedIsFixed;
}

void SeedRandomNumbers()
{
    std::unique_lock guard(turnLock);
    if (!seedIsFixed) {
        guard.unlock();
        srand(std::random_device{}());
        return;
    }
    const auto self = std::this_thread::get_id();
    turnFree.wait(guard, [&] { return turnOwner == std::thread::id() || turnOwner == self; });
    turnOwner = self;
    srand(fixedSeed);
}

KPZ_EXPORT void KPZAPI HostEndRandomTurn()
{
    std::lock_guard guard(turnLock);
    if (turnOwner != std::this_thread::get_id()) return;
    turnOwner = std::thread::id();
    turnFree.notify_all();
}
