// Runs under way, whoever's routine they are: an image's run lasts from the making of its thread until the routine has
// returned, which is after its dialog has been told.

#include "host/api/backend.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>

struct Run {
    ThreadRoutine routine;
    FilterHeader *header;
    ImageRecord *image;   // null: the routine works on none
    HWND window;          // the image's
};

static std::atomic<RunEndRoutine> runEnd{nullptr};

static std::mutex guard;
static auto &underWay = *new std::unordered_multiset<const ImageRecord *>;   // stays for threads at the program's end

static void NoteEnd(const Run &run)
{
    {
        const std::lock_guard hold(guard);
        underWay.erase(underWay.find(run.image));
    }
    if (run.window) HostWake(run.window);
}

// The block that the header is part of may have gone when the routine returns, and so may the image's window.
static void KPZAPI RunToTheEnd(FilterHeader *argument)
{
    const std::unique_ptr<const Run> run(reinterpret_cast<Run *>(argument));
    run->routine(run->header);
    const RunEndRoutine routine = runEnd;
    if (routine && run->image) routine(run->image);
    NoteEnd(*run);
}

ThreadHandle StartRunThread(ThreadRoutine routine, FilterHeader *header)
{
    ImageRecord *image = header ? header->image : nullptr;
    auto run = std::make_unique<Run>(Run{routine, header, image, image ? image->window : nullptr});
    {
        const std::lock_guard hold(guard);
        underWay.insert(image);
    }
    const ThreadHandle thread = backend::CreateThread(RunToTheEnd, reinterpret_cast<FilterHeader *>(run.get()));
    if (thread) static_cast<void>(run.release());   // the thread's now
    else NoteEnd(*run);
    return thread;
}

KPZ_EXPORT void KPZAPI HostAtRunEnd(RunEndRoutine routine) { runEnd = routine; }

KPZ_EXPORT BOOL KPZAPI HostRunUnderWay(const ImageRecord *image)
{
    const std::lock_guard hold(guard);
    return underWay.count(image) != 0;
}
