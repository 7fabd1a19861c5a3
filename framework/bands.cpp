// How many threads a run has, and what they share of a view: the memory of each, and the rows around each band as they were
// before the run, since a neighbour may have changed them by the time they are asked for. The threads themselves are
// maths/sharing's.

#include "framework/bands.h"

#include <algorithm>

//---- What the host allows

#ifdef _WIN32

typedef int32_t(KPZAPI *WorkerThreadsRoutine)();

// Null under a host that does not offer it.
static WorkerThreadsRoutine HostsRoutine()
{
    const HMODULE library = GetModuleHandleA("VLMAPI.dll");
    return library ? reinterpret_cast<WorkerThreadsRoutine>(
                         reinterpret_cast<void *>(GetProcAddress(library, "HostWorkerThreads")))
                   : nullptr;
}

bool RelocatesTogether() { return HostsRoutine() != nullptr; }

static int ThreadsByHost()
{
    const WorkerThreadsRoutine routine = HostsRoutine();
    return routine ? routine() : 0;
}

#else

// Left to the loader: null under a host that does not offer it.
#pragma weak HostWorkerThreads

bool RelocatesTogether() { return HostWorkerThreads != nullptr; }

static int ThreadsByHost() { return HostWorkerThreads ? HostWorkerThreads() : 0; }

#endif

int ThreadsOfRun()
{
    const int threads = ThreadsByHost();
    return threads > 0 ? std::min(threads, MOST_THREADS) : ProcessorsOfProcess();
}

//---- Lines

static int ThreadsFor(const SharedLines &lines, bool alone)
{
    return alone ? 1 : ThreadsWorthwhile(ThreadsOfRun(), lines.cost * lines.count);
}

static size_t Aligned(size_t bytes) { return (bytes + 127) / 128 * 128; }   // no two threads write to one cache line

static int ShareWithMemory(int threads, const LineSharing &sharing, LineGate gate,
                           Reference<void(const Band &, uint8_t *memory)> work,
                           Reference<void(const Band *bands, int count)> prepare)
{
    const size_t each = Aligned(sharing.memory);
    Scratch memory(each * size_t(threads) + 128);
    uint8_t *start = memory.bytes + (128 - reinterpret_cast<uintptr_t>(memory.bytes) % 128);
    return ShareLines(
        threads, sharing.lines, gate, [&](const Band &band) { work(band, start + each * size_t(band.thread)); },
        prepare);
}

int ShareAmongBands(const LineSharing &sharing, LineGate gate, Reference<void(const Band &, uint8_t *memory)> work)
{
    const auto nothing = [](const Band *, int) {};
    return ShareAmongBands(sharing, gate, work, nothing);
}

int ShareAmongBands(const LineSharing &sharing, LineGate gate, Reference<void(const Band &, uint8_t *memory)> work,
                    Reference<void(const Band *bands, int count)> prepare)
{
    return ShareWithMemory(ThreadsFor(sharing.lines, sharing.alone), sharing, gate, work, prepare);
}

//---- Rows of a view

// The unprocessed rows around each of the bands that are worked on at a time.
struct KeptRows {
    const ImageView &view;
    int above, below;
    size_t stride, each;     // bytes of a row, and of a band's rows
    uint8_t *bands, *tail;   // the tail: the rows before the first band
    int tailFrom = 0;        // the row that the tail begins with
};

static uint8_t *AboveOf(const KeptRows &kept, int band) { return kept.bands + kept.each * size_t(band); }
static uint8_t *BelowOf(const KeptRows &kept, int band)
{
    return AboveOf(kept, band) + kept.stride * size_t(kept.above);
}

// Rows `from` to before `end`; those before `worked` have been worked on and stand in the tail.
static void KeepRows(const KeptRows &kept, int from, int end, int worked, uint8_t *to)
{
    for (int y = from; y < end; ++y, to += kept.stride) {
        const uint8_t *row = y < worked ? kept.tail + size_t(y - kept.tailFrom) * kept.stride : RowOf(kept.view, y);
        memcpy(to, row, kept.stride);
    }
}

static void KeepAround(KeptRows &kept, const Band *bands, int count)
{
    const int worked = bands[0].first, end = bands[count - 1].end;
    for (int i = 0; i < count; ++i) {
        const Band &band = bands[i];
        KeepRows(kept, std::max(band.first - kept.above, 0), band.first, worked, AboveOf(kept, i));
        KeepRows(kept, band.end, std::min(band.end + kept.below, kept.view.height), worked, BelowOf(kept, i));
    }
    // The next bands' tail; where these are few, it begins with rows of this one.
    const int from = std::max(end - kept.above, 0), old = std::max(worked - from, 0);
    if (old > 0) memmove(kept.tail, kept.tail + size_t(from - kept.tailFrom) * kept.stride, size_t(old) * kept.stride);
    for (int y = from + old; y < end; ++y)
        memcpy(kept.tail + size_t(y - from) * kept.stride, RowOf(kept.view, y), kept.stride);
    kept.tailFrom = from;
}

int ShareRows(const ImageView &view, const RowSharing &sharing, Reference<void(const Rows &)> work)
{
    const int around = sharing.above + sharing.below;
    const LineSharing lines = {
        {view.height, sharing.cost * view.width, sharing.unit, std::max(4 * around, 1)}, sharing.memory, sharing.alone};
    const int threads = ThreadsFor(lines.lines, lines.alone);
    const size_t stride = size_t(RowBytes(view)), each = stride * size_t(around);
    const size_t bytes = threads > 1 ? each * size_t(threads) * BANDS_PER_THREAD : 0;
    const bool keeps = bytes > 0;
    Scratch memory(bytes + (keeps ? stride * size_t(sharing.above) : 0));
    KeptRows kept = {view, sharing.above, sharing.below, stride, each, memory.bytes, memory.bytes + bytes};
    const auto workOnBand = [&](const Band &band, uint8_t *own) {
        work({&view, band.first, band.end, own, band, keeps ? AboveOf(kept, band.index) : nullptr,
              keeps ? BelowOf(kept, band.index) : nullptr, std::max(band.first - sharing.above, 0)});
    };
    const auto keep = [&](const Band *bands, int count) {
        if (keeps) KeepAround(kept, bands, count);
    };
    return ShareWithMemory(
        threads, lines, [&](int y) { return ReportAndAsk(view, y); }, workOnBand, keep);
}

//---- What is neither reported nor asked about

void ShareSilently(int count, double costOfEach, Reference<void(int first, int end)> work)
{
    const int threads = ThreadsWorthwhile(ThreadsOfRun(), costOfEach * count);
    const int parts = std::max(std::min(count, threads == 1 ? 1 : threads * BANDS_PER_THREAD), 1);
    const auto startOf = [&](int part) { return int(int64_t(count) * part / parts); };
    ShareParts(threads, parts, [&](int part, int) { work(startOf(part), startOf(part + 1)); });
}
