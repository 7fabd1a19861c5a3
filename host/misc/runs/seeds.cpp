// The current seed of every image: drawn afresh when the image is first asked about and after each finished run on it,
// so that a preview and the run that follows draw alike and the run after that does not.

#include "host/misc/runs/seeds.h"

#include "host/misc/misc.h"

#include <mutex>
#include <unordered_map>

static std::mutex guard;

// The caller holds the guard. Never destroyed: run threads may outlive statics.
static std::unordered_map<const ImageRecord *, ImageSeeds> &Table()
{
    static auto &table = *new std::unordered_map<const ImageRecord *, ImageSeeds>;
    return table;
}

static thread_local const ImageRecord *begun;   // of the seeded run under way on this thread

// The caller holds the guard.
static ImageSeeds &Entry(const ImageRecord *image)
{
    const auto [entry, added] = Table().try_emplace(image);
    if (added) entry->second.current = HostFreshSeed();
    return entry->second;
}

ImageSeeds SeedsOf(const ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(guard);
    return Entry(image);
}

void SetSeeds(const ImageRecord *image, const ImageSeeds &seeds)
{
    const std::lock_guard<std::mutex> hold(guard);
    Table()[image] = seeds;
}

void ForgetSeeds(const ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(guard);
    Table().erase(image);
}

void BeginSeededRun(const ImageRecord *image)
{
    const uint32_t seed = SeedsOf(image).current;
    HostUseSeed(&seed);
    begun = image;
}

void EndSeededRun(const ImageRecord *image)
{
    if (begun != image) return;
    begun = nullptr;
    uint32_t used = 0;
    const bool drew = HostUsedSeed(&used);
    HostUseSeed(nullptr);
    SetSeeds(image, {HostFreshSeed(), used, drew});
}

uint32_t KPZAPI MiscSeed(const ImageRecord *image)
{
    uint32_t fixed;
    return HostFixedSeed(&fixed) ? fixed : SeedsOf(image).current;
}

void KPZAPI MiscSetSeed(const ImageRecord *image, uint32_t seed)
{
    const std::lock_guard<std::mutex> hold(guard);
    Entry(image).current = seed;
}

BOOL KPZAPI MiscUsedSeed(const ImageRecord *image, uint32_t *seed)
{
    const ImageSeeds seeds = SeedsOf(image);
    if (seeds.drew) *seed = seeds.used;
    return seeds.drew;
}
