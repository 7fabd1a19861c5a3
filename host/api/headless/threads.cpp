// Run threads, their priorities and locks.

#include "host/api/headless/headless.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

//---- Threads

struct RunThread {
    ThreadRoutine routine;
    FilterHeader *argument;
    std::thread thread;
    std::thread::id creator;
    std::condition_variable letGo;
    bool held = true;
    bool ended = false;
    int32_t priority = NORMAL_PRIORITY;
    id_t systemId = 0;   // 0 until the thread has started
};

static std::mutex threadsLock;
static uintptr_t lastThread;
static thread_local bool onRunThread;

struct RunThreads {
    std::map<uintptr_t, std::unique_ptr<RunThread>> all;   // by handle, which is never used twice
    std::condition_variable ended;                         // one of them
    std::vector<HWND> waiting;                             // of HostWaitForThreads, woken whenever a thread ends
    pid_t process = 0;                                     // whose threads they are
};

// Never destroyed: threads of programs that end without their statics' end may still come here.
static RunThreads &Threads()
{
    static auto &threads = *new RunThreads;
    return threads;
}

// A person without privileges can make a thread slower and not faster again.
static void ApplyPriority(id_t systemId, int32_t priority)
{
    setpriority(PRIO_PROCESS, systemId, priority == 0 ? 10 : priority == 1 ? 5 : 0);
}

static void RunThreadMain(RunThread *self)
{
    onRunThread = true;
    {
        std::unique_lock guard(threadsLock);
        self->letGo.wait(guard, [&] { return !self->held; });
        self->systemId = id_t(gettid());
        if (self->priority != NORMAL_PRIORITY) ApplyPriority(self->systemId, self->priority);
    }
    self->routine(self->argument);
    Insist([self] {
        std::vector<HWND> toWake;
        {
            std::lock_guard guard(threadsLock);
            toWake = Threads().waiting;
            self->ended = true;
            Threads().ended.notify_all();
        }
        for (HWND window : toWake) HostWake(window);
    });
}

static void LetGo(RunThread &thread)
{
    thread.held = false;
    thread.letGo.notify_all();
}

void ReleaseHeldThreads()
{
    std::lock_guard guard(threadsLock);
    for (auto &[handle, thread] : Threads().all)
        if (thread->held && thread->creator == std::this_thread::get_id()) LetGo(*thread);
}

void WaitForMessages(ThreadQueue &queue)
{
    std::unique_lock guard(queue.lock);
    queue.arrived.wait(guard, [&] { return !queue.sent.empty() || !queue.posted.empty() || queue.paintWanted; });
}

// Off the table; null when none has ended.
static std::unique_ptr<RunThread> TakeEnded()
{
    const std::lock_guard guard(threadsLock);
    auto &all = Threads().all;
    const auto found = std::find_if(all.begin(), all.end(), [](const auto &entry) { return entry.second->ended; });
    if (found == all.end()) return nullptr;
    std::unique_ptr<RunThread> ended = std::move(found->second);
    all.erase(found);
    return ended;
}

// One by one, without memory: at the program's end there may be none, and what it was to do is done.
static void JoinEnded()
{
    while (const std::unique_ptr<RunThread> ended = TakeEnded()) ended->thread.join();
}

// The caller holds the lock.
static bool AllEnded()
{
    for (auto &[handle, thread] : Threads().all)
        if (!thread->ended) return false;
    return true;
}

// Waits for what still runs at the end of a program that has started a run. In a fork's child there is nothing to wait
// for: the threads are the parent's, and their records are left where they are.
struct WaitAtEnd {
    ~WaitAtEnd()
    {
        if (Threads().process != getpid()) return;
        {
            std::unique_lock guard(threadsLock);
            for (auto &[handle, thread] : Threads().all) LetGo(*thread);
            Threads().ended.wait(guard, AllEnded);
        }
        JoinEnded();
    }
};

namespace backend
{

bool OnRunThread() { return onRunThread; }

ThreadHandle CreateThread(ThreadRoutine routine, FilterHeader *argument)
{
    static const WaitAtEnd waitAtEnd;
    JoinEnded();
    auto made = std::make_unique<RunThread>();
    RunThread *thread = made.get();
    thread->routine = routine;
    thread->argument = argument;
    thread->creator = std::this_thread::get_id();

    std::lock_guard guard(threadsLock);
    const auto entry = Threads().all.emplace(++lastThread, std::move(made)).first;
    try {
        thread->thread = std::thread(RunThreadMain, thread);
    } catch (const std::exception &) {   // the system refuses it, or there is no memory for it
        Threads().all.erase(entry);
        return nullptr;
    }
    Threads().process = getpid();
    return reinterpret_cast<ThreadHandle>(lastThread);
}

void SetThreadPriority(ThreadHandle handle, int32_t priority)
{
    if (!handle) {
        // A thread that has made itself slow may not be allowed to make itself fast again. A run's thread ends soon;
        // the dialogs' thread, which an idle dialog's slider means, does not.
        if (onRunThread) ApplyPriority(id_t(gettid()), priority);
        return;
    }
    std::lock_guard guard(threadsLock);
    const auto found = Threads().all.find(reinterpret_cast<uintptr_t>(handle));
    if (found == Threads().all.end() || found->second->ended) return;
    RunThread &thread = *found->second;
    thread.priority = priority;
    if (thread.systemId) ApplyPriority(thread.systemId, priority);
    LetGo(thread);
}

//---- A run thread's set-up

// A thread has its queue from now on, and keeps it to its end: a run that is left does not come to its own.
AnchorHandle Initialize()
{
    static thread_local char own;
    return &own;
}

QueueHandle CreateQueue(AnchorHandle anchor)
{
    QueueOfThisThread();
    return anchor;
}

void DestroyQueue(QueueHandle) {}

void Terminate(AnchorHandle) {}

}   // namespace backend

static BOOL KPZAPI AskAllEnded(void *)
{
    std::lock_guard guard(threadsLock);
    return AllEnded();
}

// Runs end by sending a message to this thread, so it handles messages meanwhile; and a handler may start a new run.
KPZ_EXPORT void KPZAPI HostWaitForThreads()
{
    const HWND window = HostCreateWindow("waiting for threads", nullptr, nullptr);
    {
        std::lock_guard guard(threadsLock);
        Threads().waiting.push_back(window);
    }
    HostRunMessages(AskAllEnded, nullptr);
    {
        std::lock_guard guard(threadsLock);
        std::erase(Threads().waiting, window);
    }
    HostDestroyWindow(window);
    JoinEnded();
}

//---- Locks

struct Semaphore {
    std::mutex lock;
    std::condition_variable freed;
    std::thread::id owner;
    int32_t depth = 0;
};

KPZ_EXPORT SemaphoreHandle KPZAPI HostCreateSemaphore() { return new Semaphore; }

KPZ_EXPORT void KPZAPI HostDestroySemaphore(SemaphoreHandle semaphore) { delete static_cast<Semaphore *>(semaphore); }

bool backend::TakeSemaphore(SemaphoreHandle handle, uint32_t milliseconds)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (!semaphore) return false;
    const auto self = std::this_thread::get_id();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock guard(semaphore->lock);
    const bool free =
        semaphore->freed.wait_until(guard, deadline, [&] { return semaphore->depth == 0 || semaphore->owner == self; });
    if (!free) return false;
    semaphore->owner = self;
    ++semaphore->depth;
    return true;
}

void backend::ReleaseSemaphore(SemaphoreHandle handle)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (!semaphore) return;
    std::lock_guard guard(semaphore->lock);
    if (semaphore->owner != std::this_thread::get_id() || --semaphore->depth > 0) return;
    semaphore->owner = std::thread::id();
    semaphore->freed.notify_one();
}

void backend::ReleaseWholly(SemaphoreHandle handle)
{
    auto *semaphore = static_cast<Semaphore *>(handle);
    if (!semaphore) return;
    std::lock_guard guard(semaphore->lock);
    if (semaphore->owner != std::this_thread::get_id()) return;
    semaphore->depth = 0;
    semaphore->owner = std::thread::id();
    semaphore->freed.notify_one();
}
