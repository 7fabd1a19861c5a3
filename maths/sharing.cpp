// Helper threads are the C++ library's own, made for each share of the work: they are never there while anything else is
// called, so that a run that is left in the middle of a host's routine leaves none behind.

#include "maths/sharing.h"

#include <algorithm>
#include <atomic>
#include <exception>

// Where there are no threads the caller does it all.
#if defined(VELMORANT_ONE_THREAD) || (defined(__EMSCRIPTEN__) && !defined(__EMSCRIPTEN_PTHREADS__))
#define HAS_THREADS 0
#else
#define HAS_THREADS 1
#include <thread>
#endif

#ifdef _WIN32
#include <windows.h>
#elif HAS_THREADS && defined(__linux__)
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

// About what making and joining a thread costs, several times over; and so long that making them again for the next
// lines costs less than a hundredth, yet an abort is heard soon.
SharingRules sharingRules = {150000, 12000000};

//---- Priority and processors

#if !HAS_THREADS

int ProcessorsOfProcess() { return 1; }

#elif defined(_WIN32)

int ProcessorsOfProcess()
{
    DWORD_PTR own = 0, all = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &own, &all);
    int count = 0;
    for (; own; own &= own - 1) ++count;
    return std::clamp(count, 1, MOST_THREADS);
}

// The thread that shares its work.
struct Leader {
    HANDLE thread = nullptr;

    Leader()
    {
        const HANDLE process = GetCurrentProcess();
        DuplicateHandle(process, GetCurrentThread(), process, &thread, 0, FALSE, DUPLICATE_SAME_ACCESS);
    }
    ~Leader()
    {
        if (thread) CloseHandle(thread);
    }
    Leader(const Leader &) = delete;
    Leader &operator=(const Leader &) = delete;
};

static void Follow(const Leader &leader)
{
    if (!leader.thread) return;
    const int priority = GetThreadPriority(leader.thread);
    if (priority != THREAD_PRIORITY_ERROR_RETURN && priority != GetThreadPriority(GetCurrentThread()))
        SetThreadPriority(GetCurrentThread(), priority);
}

#else

// What a control group leaves its processes: so many microseconds of each period, or "max". At least 1 processor.
static int ProcessorsOfGroup(const char *path)
{
    long long quota = 0, period = 0;
    char name[600];
    snprintf(name, sizeof name, "/sys/fs/cgroup%s/cpu.max", path);
    FILE *file = fopen(name, "r");
    if (!file) return MOST_THREADS;
    const int read = fscanf(file, "%lld %lld", &quota, &period);
    fclose(file);
    if (read < 2 || quota <= 0 || period <= 0) return MOST_THREADS;
    return int(std::clamp<long long>(quota / period, 1, MOST_THREADS));
}

// The process's own group and those around it.
static int ProcessorsOfGroups()
{
    int count = MOST_THREADS;
    char line[512];
    FILE *file = fopen("/proc/self/cgroup", "r");
    if (!file) return count;
    while (fgets(line, sizeof line, file)) {
        if (strncmp(line, "0::", 3) != 0) continue;
        char *path = line + 3;
        path[strcspn(path, "\n")] = 0;
        for (;;) {
            count = std::min(count, ProcessorsOfGroup(path));
            char *last = strrchr(path, '/');
            if (!last) break;
            *last = 0;
        }
    }
    fclose(file);
    return count;
}

static int CountProcessors()
{
    cpu_set_t own;
    CPU_ZERO(&own);
    const bool known = sched_getaffinity(0, sizeof own, &own) == 0;
    const int count = known ? CPU_COUNT(&own) : int(std::thread::hardware_concurrency());
    return std::clamp(std::min(count, ProcessorsOfGroups()), 1, MOST_THREADS);
}

int ProcessorsOfProcess()
{
    static const int count = CountProcessors();
    return count;
}

struct Leader {
    id_t thread = id_t(gettid());
};

// Who may not make a thread faster leaves it as it is.
static void Follow(const Leader &leader)
{
    const int nice = getpriority(PRIO_PROCESS, leader.thread);
    if (nice != getpriority(PRIO_PROCESS, 0)) setpriority(PRIO_PROCESS, 0, nice);
}

#endif

int ThreadsWorthwhile(int threads, double nanoseconds)
{
    const double most = nanoseconds / double(std::max<int64_t>(sharingRules.worthAThread, 1));
    return most < 2 ? 1 : int(std::min<double>(std::min(threads, MOST_THREADS), most));
}

//---- Parts

#if HAS_THREADS

void ShareParts(int threads, int parts, Reference<void(int part, int thread)> work)
{
    std::atomic<int> next{0};
    const auto takeParts = [&](int thread) {
        for (int part; (part = next.fetch_add(1, std::memory_order_relaxed)) < parts;) work(part, thread);
    };
    threads = std::min({threads, parts, MOST_THREADS});
    if (threads < 2) return takeParts(0);

    const Leader leader;
    const auto help = [&](int thread) {
        for (int part; (part = next.fetch_add(1, std::memory_order_relaxed)) < parts;) {
            Follow(leader);
            work(part, thread);
        }
    };
    std::thread helpers[MOST_THREADS];
    int made = 1;
    try {
        for (; made < threads; ++made) helpers[made] = std::thread(help, made);
    } catch (const std::exception &) {   // the system refuses it, or there is no memory for it
    }
    takeParts(0);
    for (int i = 1; i < made; ++i) helpers[i].join();
}

#else

void ShareParts(int, int parts, Reference<void(int part, int thread)> work)
{
    for (int part = 0; part < parts; ++part) work(part, 0);
}

#endif

//---- Lines

static int RoundUp(int64_t number, int unit) { return int((number + unit - 1) / unit * unit); }

// Bands that cost something to begin pay for it with so many times as many lines; an abort is still heard within 50
// milliseconds.
constexpr double LONGER_BANDS = 2.5;

// How many lines are reported before they are worked on.
static int LinesAtOnce(int threads, const SharedLines &lines)
{
    const double longer = lines.least > 1 ? LONGER_BANDS : 1;
    const double most = double(sharingRules.mostAtOnce) * longer * threads / std::max(lines.cost, 1.0);
    const int64_t least = int64_t(threads) * lines.unit;
    return RoundUp(
        std::max<int64_t>(int64_t(std::min<double>(most, lines.count)), std::min<int64_t>(least, lines.count)),
        lines.unit);
}

// Divides the lines from `first` on into bands, and answers how many.
static int DivideInto(Band *bands, int threads, const SharedLines &lines, int first, int end)
{
    const int64_t many = (int64_t(end) - first + threads * BANDS_PER_THREAD - 1) / (threads * BANDS_PER_THREAD);
    const int64_t few = (int64_t(end) - first + threads - 1) / threads;
    const int each = RoundUp(std::max<int64_t>(many, std::min<int64_t>(lines.least, few)), lines.unit);
    int count = 0;
    for (int line = first; line < end; line += std::min(each, end - line), ++count)
        bands[count] = {line, line + std::min(each, end - line), 0, count, nullptr};
    return count;
}

int ShareLines(int threads, const SharedLines &lines, LineGate gate, Reference<void(const Band &)> work,
               Reference<void(const Band *bands, int count)> prepare)
{
    threads =
        std::min(ThreadsWorthwhile(threads, lines.cost * lines.count), (lines.count + lines.unit - 1) / lines.unit);
    int reached = 0;
    if (threads < 2) {
        const auto pass = [&](int line) { return gate(line) && (reached = line + 1, true); };
        const LineGate counting = pass;
        work({0, lines.count, 0, 0, &counting});
        return reached;
    }
    const int atOnce = LinesAtOnce(threads, lines);
    Band bands[MOST_THREADS * BANDS_PER_THREAD];
    for (int first = 0, end; first < lines.count; first = end) {
        end = first + std::min(atOnce, lines.count - first);
        while (reached < end && gate(reached)) ++reached;
        if (first == reached) break;
        const int count = DivideInto(bands, threads, lines, first, reached);
        prepare(bands, count);
        ShareParts(threads, count, [&](int part, int thread) {
            Band band = bands[part];
            band.thread = thread;
            work(band);
        });
        if (reached < end) break;
    }
    return reached;
}
