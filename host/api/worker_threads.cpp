// How many threads a run may use: what the program, the person or the machine allows, shared fairly among the runs and
// previews under way.

#include "host/api/backend.h"
#include "maths/sharing.h"

#include <algorithm>
#include <atomic>
#include <stdlib.h>

static std::atomic<int32_t> allowed{0};    // by the program; 0: it has not said
static std::atomic<int32_t> underWay{0};   // runs and previews

static thread_local int32_t ownThreads;   // of the run on this thread; 0: as all

// A number that is none is not taken; the command line has complained of it.
static int32_t ThreadsOfEnvironment()
{
    const char *text = getenv("VELMORANT_THREADS");
    if (!text || !*text) return 0;
    char *end;
    const long number = strtol(text, &end, 10);
    return *end || number < 1 || number > MOST_THREADS ? 0 : int32_t(number);
}

static int32_t AllowedThreads()
{
    static const int32_t byEnvironment = ThreadsOfEnvironment();
    if (ownThreads > 0) return ownThreads;
    const int32_t byProgram = allowed;
    return byProgram > 0 ? byProgram : byEnvironment > 0 ? byEnvironment : ProcessorsOfProcess();
}

KPZ_EXPORT int32_t KPZAPI HostWorkerThreads()
{
    return std::clamp(AllowedThreads() / std::max<int32_t>(underWay, 1), 1, MOST_THREADS);
}

KPZ_EXPORT void KPZAPI HostAllowThreads(int32_t threads) { allowed = std::clamp(threads, 0, MOST_THREADS); }

KPZ_EXPORT void KPZAPI HostBeginWork(int32_t threads)
{
    ownThreads = threads;
    ++underWay;
}

KPZ_EXPORT void KPZAPI HostEndWork()
{
    ownThreads = 0;
    --underWay;
}
