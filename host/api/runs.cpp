// Runs under way, whoever's routine they are: an image's run lasts from the making of its thread until the routine has
// returned or was left for want of memory, which is after its dialog has been told. And how the last one failed.

#include "host/api/backend.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <stdio.h>
#include <unordered_map>

struct Run {
    ThreadRoutine routine;
    FilterHeader *header;
    ImageRecord *image;   // null: the routine works on none
    HWND window;          // the image's
    HWND dialog;
    int32_t threads;   // that it may use; 0: as all
};

struct RunsOfImage {
    int32_t underWay = 0;
    int32_t failure = RUN_WENT;   // of the last one
    uint64_t wanted = 0;          // RUN_WITHOUT_MEMORY: bytes that could not be had, 0: not known
    int32_t threads = 0;          // that its runs may use; 0: as all
};

static std::atomic<RunEndRoutine> runEnd{nullptr};
static std::atomic<bool> mayBeLeft{false};

static std::mutex guard;

// The caller holds the guard. Stays for threads at the program's end.
static std::unordered_map<const ImageRecord *, RunsOfImage> &Runs()
{
    static auto &runs = *new std::unordered_map<const ImageRecord *, RunsOfImage>;
    return runs;
}

static void NoteFailure(const ImageRecord *image, int32_t failure, uint64_t wanted)
{
    const std::lock_guard hold(guard);
    RunsOfImage &entry = Runs()[image];   // made when the run began
    entry.failure = failure;
    entry.wanted = wanted;
}

static void NoteEnd(const Run &run)
{
    {
        const std::lock_guard hold(guard);
        --Runs()[run.image].underWay;
    }
    if (run.window) Insist([&] { HostWake(run.window); });
}

//---- On the run's thread

static void KPZAPI RunRoutineOf(void *context)
{
    const Run &run = *static_cast<const Run *>(context);
    run.routine(run.header);
}

// Nobody else would see to the picture and its locks: without memory for that there is no way on.
static void TellRunEnd(const Run &run, bool left)
{
    const RunEndRoutine routine = runEnd;
    try {
        if (routine && run.image) routine(run.image, run.dialog, left);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory(0);
    }
}

static void KPZAPI OnLeft(void *context, uint64_t wanted)
{
    const Run &run = *static_cast<const Run *>(context);
    NoteFailure(run.image, RUN_WITHOUT_MEMORY, wanted);
    TellRunEnd(run, true);
}

static void CallOrEnd(Run &run)
{
    try {
        RunRoutineOf(&run);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory(0);
    }
}

// The block that the header is part of may have gone when the routine returns, and so may the image's window.
static void KPZAPI RunToTheEnd(FilterHeader *argument)
{
    const std::unique_ptr<Run> run(reinterpret_cast<Run *>(argument));
    bool done = true;
    HostBeginWork(run->threads);
    if (mayBeLeft) done = HostWorkOrLeave(RunRoutineOf, OnLeft, run.get());
    else CallOrEnd(*run);
    HostEndWork();
    if (done) TellRunEnd(*run, false);
    NoteEnd(*run);
}

//---- On the dialogs' thread

static std::atomic<int32_t> refusals{0};

KPZ_EXPORT void KPZAPI HostRefuseThreads(int32_t requests) { refusals = requests; }

static ThreadHandle MakeThread(std::unique_ptr<Run> run)
{
    if (refusals > 0 && refusals-- > 0) return nullptr;
    const ThreadHandle thread = backend::CreateThread(RunToTheEnd, reinterpret_cast<FilterHeader *>(run.get()));
    if (thread) static_cast<void>(run.release());   // the thread's now
    return thread;
}

ThreadHandle StartRunThread(ThreadRoutine routine, FilterHeader *header)
{
    ImageRecord *image = header ? header->image : nullptr;
    auto run = std::make_unique<Run>(
        Run{routine, header, image, image ? image->window : nullptr, header ? header->owner : nullptr, 0});
    {
        const std::lock_guard hold(guard);
        RunsOfImage &entry = Runs()[image];
        run->threads = entry.threads;
        ++entry.underWay;
        entry.failure = RUN_WENT;
    }
    ThreadHandle thread = nullptr;
    int32_t failure = RUN_WITHOUT_THREAD;
    try {
        thread = MakeThread(std::move(run));
    } catch (const std::bad_alloc &) {   // nobody must wait for its end
        failure = RUN_WITHOUT_MEMORY;
    }
    if (thread) return thread;
    NoteFailure(image, failure, 0);
    const std::lock_guard hold(guard);
    --Runs()[image].underWay;
    return nullptr;
}

KPZ_EXPORT void KPZAPI HostAtRunEnd(RunEndRoutine routine) { runEnd = routine; }

KPZ_EXPORT void KPZAPI HostLetRunsBeLeft(BOOL let)
{
    mayBeLeft = let;
    KeepReserve(let);
}

KPZ_EXPORT void KPZAPI HostAllowThreadsFor(const ImageRecord *image, int32_t threads)
{
    const std::lock_guard hold(guard);
    if (threads > 0 || Runs().contains(image)) Runs()[image].threads = threads;
}

KPZ_EXPORT BOOL KPZAPI HostRunUnderWay(const ImageRecord *image)
{
    const std::lock_guard hold(guard);
    const auto found = Runs().find(image);
    return found != Runs().end() && found->second.underWay > 0;
}

KPZ_EXPORT int32_t KPZAPI HostRunFailure(const ImageRecord *image, char *line, int32_t size)
{
    const std::lock_guard hold(guard);
    const auto found = Runs().find(image);
    if (found == Runs().end() || found->second.failure == RUN_WENT) return RUN_WENT;
    const auto wanted = static_cast<unsigned long long>(found->second.wanted);
    if (found->second.failure == RUN_WITHOUT_THREAD)
        snprintf(line, size_t(size), "the system refuses a thread to run on");
    else if (wanted) snprintf(line, size_t(size), "out of memory: %llu more bytes cannot be had", wanted);
    else snprintf(line, size_t(size), "out of memory");
    return found->second.failure;
}

KPZ_EXPORT void KPZAPI HostForgetRun(const ImageRecord *image)
{
    const std::lock_guard hold(guard);
    const auto found = Runs().find(image);
    if (found != Runs().end() && found->second.underWay == 0) Runs().erase(found);
}
