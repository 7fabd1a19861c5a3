#include "host/misc/pictures/shared_rows.h"

#include "host/misc/misc.h"

#include <algorithm>
#include <cstring>

int ThreadsFor(const SharedLines &rows) { return ThreadsForRuns(rows.count, rows.cost); }

int ThreadsForRuns(int32_t count, double cost) { return ThreadsWorthwhile(HostWorkerThreads(), cost * count); }

int ShareRows(int threads, const SharedLines &rows, LineGate gate, Reference<void(const Band &)> work)
{
    const auto nothing = [](const Band *, int) {};
    return ShareLines(threads, rows, gate, work, nothing);
}

void ShareRuns(int32_t count, double cost, Reference<void(int32_t first, int32_t end, int thread)> work)
{
    const int threads = ThreadsForRuns(count, cost);
    const int parts = std::clamp(threads == 1 ? 1 : threads * BANDS_PER_THREAD, 1, std::max(count, 1));
    const auto startOf = [&](int part) { return int32_t(int64_t(count) * part / parts); };
    const auto takePart = [&](int part, int thread) { work(startOf(part), startOf(part + 1), thread); };
    ShareParts(threads, parts, takePart);
}

void CopyTogether(uint8_t *to, const uint8_t *from, size_t size)
{
    constexpr size_t PIECE = 1 << 16;
    constexpr double COST_OF_BYTE = 0.15;
    const auto copy = [&](int32_t first, int32_t end, int) {
        const size_t start = size_t(first) * PIECE, stop = std::min(size_t(end) * PIECE, size);
        memcpy(to + start, from + start, stop - start);
    };
    ShareRuns(int32_t((size + PIECE - 1) / PIECE), COST_OF_BYTE * PIECE, copy);
}

void KPZAPI MiscShareAll(BOOL all)
{
    static const SharingRules own = sharingRules;
    sharingRules = all ? SharingRules{1, 1000} : own;
}
