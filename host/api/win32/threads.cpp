// Run threads, their priorities and locks.

#include "host/api/win32/win32.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <process.h>

//---- Threads

struct RunThread {
    ThreadRoutine routine;
    FilterHeader *argument;
    HANDLE system;
    DWORD creator;
    bool held = true;   // made suspended, and not yet let go
    bool ended = false;
};

static std::mutex threadsLock;
static std::vector<DWORD> waitingThreads;   // in HostWaitForThreads, woken whenever a run ends
static uintptr_t lastThread;
static thread_local bool onRunThread;

// By handle, which is never used twice. Never freed: at the program's end the system ends what still runs.
static std::map<uintptr_t, std::unique_ptr<RunThread>> &Threads()
{
    static auto &threads = *new std::map<uintptr_t, std::unique_ptr<RunThread>>;
    return threads;
}

static unsigned __stdcall RunThreadMain(void *argument)
{
    auto *self = static_cast<RunThread *>(argument);
    onRunThread = true;
    self->routine(self->argument);
    std::lock_guard guard(threadsLock);
    self->ended = true;
    for (DWORD thread : waitingThreads) PostThreadMessageA(thread, WM_NULL, 0, 0);
    return 0;
}

// The caller holds the lock.
static void LetGo(RunThread &thread)
{
    if (thread.held) ResumeThread(thread.system);
    thread.held = false;
}

void ReleaseHeldThreads()
{
    std::lock_guard guard(threadsLock);
    for (auto &[handle, thread] : Threads())
        if (thread->creator == GetCurrentThreadId()) LetGo(*thread);
}

// Takes the threads that have ended off the table and joins them.
static void JoinEnded()
{
    std::vector<HANDLE> ended;
    {
        std::lock_guard guard(threadsLock);
        std::erase_if(Threads(), [&ended](const auto &entry) {
            if (entry.second->ended) ended.push_back(entry.second->system);
            return entry.second->ended;
        });
    }
    for (HANDLE thread : ended) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

static BOOL KPZAPI AskAllEnded(void *)
{
    std::lock_guard guard(threadsLock);
    return std::all_of(Threads().begin(), Threads().end(), [](const auto &entry) { return entry.second->ended; });
}

static int SystemPriority(int32_t priority)
{
    return THREAD_PRIORITY_LOWEST + std::clamp<int32_t>(priority, LOWEST_PRIORITY, HIGHEST_PRIORITY);
}

namespace backend
{

bool OnRunThread() { return onRunThread; }

ThreadHandle CreateThread(ThreadRoutine routine, FilterHeader *argument)
{
    JoinEnded();
    auto made = std::make_unique<RunThread>();
    made->routine = routine;
    made->argument = argument;
    made->creator = GetCurrentThreadId();
    made->system =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunThreadMain, made.get(), CREATE_SUSPENDED, nullptr));
    if (!made->system) return nullptr;
    std::lock_guard guard(threadsLock);
    Threads()[++lastThread] = std::move(made);
    return reinterpret_cast<ThreadHandle>(lastThread);
}

void SetThreadPriority(ThreadHandle handle, int32_t priority)
{
    if (!handle) {
        // A run's thread means itself; the dialogs' thread, which an idle dialog's slider means, keeps its own.
        if (onRunThread) ::SetThreadPriority(GetCurrentThread(), SystemPriority(priority));
        return;
    }
    std::lock_guard guard(threadsLock);
    const auto found = Threads().find(reinterpret_cast<uintptr_t>(handle));
    if (found == Threads().end() || found->second->ended) return;
    ::SetThreadPriority(found->second->system, SystemPriority(priority));
    LetGo(*found->second);
}

//---- A run thread's set-up

// A thread has its queue as soon as it looks for messages.
AnchorHandle Initialize()
{
    static char anchor;
    return &anchor;
}

QueueHandle CreateQueue(AnchorHandle anchor)
{
    MSG message;
    PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    return anchor;
}

void DestroyQueue(QueueHandle) {}

void Terminate(AnchorHandle) {}

}   // namespace backend

// Runs end by sending a message to this thread, so it handles messages meanwhile; and a handler may start a new run.
KPZ_EXPORT void KPZAPI HostWaitForThreads()
{
    {
        std::lock_guard guard(threadsLock);
        waitingThreads.push_back(GetCurrentThreadId());
    }
    HostRunMessages(AskAllEnded, nullptr);
    {
        std::lock_guard guard(threadsLock);
        waitingThreads.erase(std::find(waitingThreads.begin(), waitingThreads.end(), GetCurrentThreadId()));
    }
    JoinEnded();
}

//---- Locks

KPZ_EXPORT SemaphoreHandle KPZAPI HostCreateSemaphore() { return CreateMutexA(nullptr, FALSE, nullptr); }

KPZ_EXPORT void KPZAPI HostDestroySemaphore(SemaphoreHandle semaphore) { CloseHandle(semaphore); }

// A lock whose holder's thread ended without releasing it is taken like a free one.
bool backend::TakeSemaphore(SemaphoreHandle semaphore, uint32_t milliseconds)
{
    const DWORD answer = semaphore ? WaitForSingleObject(semaphore, milliseconds) : WAIT_FAILED;
    return answer == WAIT_OBJECT_0 || answer == WAIT_ABANDONED;
}

void backend::ReleaseSemaphore(SemaphoreHandle semaphore)
{
    if (semaphore) ReleaseMutex(semaphore);
}

void backend::ReleaseWholly(SemaphoreHandle semaphore)
{
    while (semaphore && ReleaseMutex(semaphore)) {}
}
