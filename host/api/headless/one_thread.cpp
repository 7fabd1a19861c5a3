// The twin of threads.cpp where there are no threads: a run is held until the message loop of its dialog has nothing else
// to do, and is then made there, to its end. Nothing else can be at work meanwhile, so a lock is a count.

#include "host/api/headless/headless.h"

#include <stdio.h>
#include <stdlib.h>

//---- Runs

struct HeldRun {
    ThreadRoutine routine;
    FilterHeader *argument;
};

// Never destroyed.
static auto &held = *new std::deque<HeldRun>;
static uintptr_t lastRun;
static bool onRun;

// Held until here, so that its maker has its handle before it ends.
void ReleaseHeldThreads()
{
    if (held.empty()) return;
    const HeldRun run = held.front();
    held.pop_front();
    onRun = true;
    run.routine(run.argument);
    onRun = false;
}

// Nobody is there who could send anything.
void WaitForMessages(ThreadQueue &queue)
{
    if (!queue.posted.empty() || queue.paintWanted || !held.empty()) return;
    fputs("a message loop waits for ever: nothing runs that could end it\n", stderr);
    abort();
}

namespace backend
{

bool OnRunThread() { return onRun; }

ThreadHandle CreateThread(ThreadRoutine routine, FilterHeader *argument)
{
    held.push_back({routine, argument});
    return reinterpret_cast<ThreadHandle>(++lastRun);
}

// There is nothing that a run could be slower than.
void SetThreadPriority(ThreadHandle, int32_t) {}

AnchorHandle Initialize()
{
    static int own;
    return &own;
}

QueueHandle CreateQueue(AnchorHandle anchor) { return anchor; }
void DestroyQueue(QueueHandle) {}
void Terminate(AnchorHandle) {}

}   // namespace backend

static BOOL KPZAPI AskAllEnded(void *) { return held.empty() && !onRun; }

KPZ_EXPORT void KPZAPI HostWaitForThreads() { HostRunMessages(AskAllEnded, nullptr); }

//---- Locks

struct Semaphore {
    bool byRun = false;
    int32_t depth = 0;
};

KPZ_EXPORT SemaphoreHandle KPZAPI HostCreateSemaphore() { return new Semaphore; }

KPZ_EXPORT void KPZAPI HostDestroySemaphore(SemaphoreHandle semaphore) { delete static_cast<Semaphore *>(semaphore); }

// Waiting would change nothing.
bool backend::TakeSemaphore(SemaphoreHandle handle, uint32_t)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (!semaphore || (semaphore->depth > 0 && semaphore->byRun != onRun)) return false;
    semaphore->byRun = onRun;
    ++semaphore->depth;
    return true;
}

void backend::ReleaseSemaphore(SemaphoreHandle handle)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (semaphore && semaphore->depth > 0 && semaphore->byRun == onRun) --semaphore->depth;
}

void backend::ReleaseWholly(SemaphoreHandle handle)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (semaphore && semaphore->byRun == onRun) semaphore->depth = 0;
}
