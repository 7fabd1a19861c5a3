// The dialogs' thread: started by the first call that needs it, at rest while there are none, ended by the last
// vlm_release. At rest it waits here, holding no lock of the host's and with no dialog open, so that the child of a fork
// can leave it where it was and start another. one_thread.cpp is its twin.

#include "host/library/calls.h"
#include "host/library/run_handle.h"
#include "host/library/service.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#endif

struct Conditions {
    std::condition_variable arrived, rested, ended;
};

// Nothing here is ever destroyed: the thread may be at work while the program ends.
struct Door {
    std::mutex lock;
    Conditions *conditions = new Conditions;   // new ones in a fork's child: the old ones still count those who waited
    bool running = false;                      // the thread is there
    bool serving = false;                      // and not at rest
    bool ending = false;                       // and asked to end when it comes to rest
    HWND window = nullptr;                     // to wake it by while it serves
    std::thread *thread = nullptr;             // to be joined when it has ended
    std::vector<Call *> arrivals;
    int retained = 0;
    bool leaving = false;   // the process ends: what runs is aborted, and nothing new begins
};

static Door &TheDoor()
{
    static Door &door = *new Door;
    return door;
}

//---- For service.cpp

void TakeArrivals(std::vector<Call *> &calls, size_t room)
{
    Door &door = TheDoor();
    const std::lock_guard hold(door.lock);
    const size_t count = std::min(room, door.arrivals.size());
    const auto end = door.arrivals.begin() + ptrdiff_t(count);
    calls.insert(calls.end(), door.arrivals.begin(), end);
    door.arrivals.erase(door.arrivals.begin(), end);
}

void TellProgress(Call &call, int step, int tenths)
{
    if (!call.run || !call.run->progress) return;   // its caller sleeps on
    const std::lock_guard hold(TheDoor().lock);
    call.shownStep = step;
    call.shownTenths = tenths;
    call.changed.notify_all();
}

void TellEnd(Call &call)
{
    const std::lock_guard hold(TheDoor().lock);
    call.done = true;
    call.changed.notify_all();
}

bool AbortWanted(const Call &call)
{
    if (call.run && call.run->cancelled) return true;
    Door &door = TheDoor();
    const std::lock_guard hold(door.lock);
    return call.abort || door.leaving;
}

//---- Waking it

// The caller holds the lock, here and in the next.
static void Wake(Door &door)
{
    door.conditions->arrived.notify_all();
    if (door.serving && door.window) HostWake(door.window);
}

// False when there was no memory for it.
static bool TryWake(Door &door)
{
    try {
        Wake(door);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// Three seconds long; without it the thread looks at its next message.
void WakeDialogs()
{
    Door &door = TheDoor();
    for (int tries = 0; tries < 300; ++tries) {
        {
            const std::lock_guard hold(door.lock);
            if (TryWake(door)) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

//---- The thread

static void RefuseArrivals(Door &door, vlm_code code, const std::string &line)
{
    for (Call *call : door.arrivals) {
        call->code = code;
        try {
            call->line = line;
        } catch (const std::bad_alloc &) {
            call->code = VLM_NO_MEMORY;
            call->line = "out of memory";   // short enough to need none
        }
        call->done = true;
        call->changed.notify_all();
    }
    door.arrivals.clear();
}

// Calls whose runs are under way cannot be dropped: what gets no memory is tried again, and when there has been none for
// seconds the process has no way on.
static void ServeInsistently(Service &service)
{
    for (int tries = 0; tries < 300; ++tries) {
        try {
            return Serve(service);
        } catch (const std::bad_alloc &) {
            if (service.calls.empty()) return;   // nobody is kept waiting
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    HostLeaveWork();
}

// What cannot be taken down for want of memory is left to the process's end.
static void EndOrLeave(Service &service)
{
    try {
        EndService(service);
    } catch (const std::bad_alloc &) {
    }
}

// From rest to rest, until it is to end. The caller holds the lock, and has it again.
static void ServeUntilEnding(Door &door, std::unique_lock<std::mutex> &hold, Service &service)
{
    for (;;) {
        door.serving = false;
        door.conditions->rested.notify_all();
        door.conditions->arrived.wait(hold, [&door] { return !door.arrivals.empty() || door.ending; });
        if (door.arrivals.empty()) return;
        door.serving = true;
        hold.unlock();
        ServeInsistently(service);
        hold.lock();
    }
}

// Answers VLM_OK, or why not, with a line.
static vlm_code StartOrTell(Service &service, std::string &line)
{
    try {
        std::string error;
        if (StartService(service, error)) return VLM_OK;
        line = "effects module: " + error;
        return VLM_NO_MODULE;
    } catch (const std::bad_alloc &) {
        line = "out of memory";   // short enough to need none
        return VLM_NO_MEMORY;
    }
}

// The record of the service is left behind by a fork's child, so it is nobody's to destroy there.
static void DialogsThread()
{
    Door &door = TheDoor();
    auto *service = new (std::nothrow) Service;
    std::string line = "out of memory";   // short enough to need none
    const vlm_code code = service ? StartOrTell(*service, line) : VLM_NO_MEMORY;
    std::unique_lock hold(door.lock);
    if (code != VLM_OK) {
        RefuseArrivals(door, code, line);
    } else {
        door.window = service->host.context.window;
        ServeUntilEnding(door, hold, *service);
        door.serving = true;
        door.window = nullptr;
        hold.unlock();
        EndOrLeave(*service);
        hold.lock();
    }
    delete service;
    door.running = door.serving = door.ending = false;
    door.conditions->rested.notify_all();
    door.conditions->ended.notify_all();
}

#ifdef _WIN32

// At the end of the process its other threads have gone before anything is destroyed.
static void WatchForksAndExit() {}
static std::thread *QuietThread() { return new std::thread(DialogsThread); }

// The thread's code stays, whoever unloads the library.
static void StayLoaded()
{
    HMODULE module;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const char *>(&DialogsThread), &module);
}

#else

// A thread that has just told its last call's end comes to rest in a moment.
static void BeforeFork()
{
    Door &door = TheDoor();
    std::unique_lock hold(door.lock);
    const auto resting = [&door] { return !door.serving || ThreadsWithinCalls() > 0; };
    door.conditions->rested.wait_for(hold, std::chrono::seconds(5), resting);
    hold.release();
}

static void AfterForkInParent() { TheDoor().lock.unlock(); }

// Only the thread that forked is there. What another was in the middle of stays like that for ever.
static void AfterForkInChild()
{
    Door &door = TheDoor();
    if (door.serving || ThreadsWithinCalls() > 0) RefuseCalls();
    door.conditions = new Conditions;
    door.thread = nullptr;
    door.running = door.serving = door.ending = false;
    door.window = nullptr;
    door.arrivals.clear();
    door.lock.unlock();
}

// Before the records that the thread works with are destroyed it comes to rest, for good.
static void AtExit()
{
    Door &door = TheDoor();
    std::unique_lock hold(door.lock);
    door.leaving = true;
    TryWake(door);
    door.conditions->rested.wait_for(hold, std::chrono::seconds(5), [&door] { return !door.serving; });
}

static bool Watch()
{
    return pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild) == 0 && atexit(AtExit) == 0;
}

static void WatchForksAndExit()
{
    static const bool watching = Watch();
    (void)watching;
}

// The program's signals are its own threads' to handle.
static std::thread *QuietThread()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    struct Restore {
        const sigset_t &mask;
        ~Restore() { pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
    } restore = {before};
    return new std::thread(DialogsThread);
}

static void StayLoaded() {}   // the linker has seen to it

#endif

// The caller holds the lock, here and in the next; the thread has given it up for good.
static void Join(Door &door)
{
    if (!door.thread) return;
    door.thread->join();
    delete door.thread;
    door.thread = nullptr;
}

// False when the system has no thread for it.
static bool StartThread(Door &door)
{
    if (door.running) return true;
    Join(door);
    StayLoaded();
    door.running = door.serving = true;   // until it first comes to rest
    try {
        door.thread = QuietThread();
    } catch (const std::exception &) {   // no thread, or no memory for it
        door.running = door.serving = false;
    }
    return door.running;
}

//---- For callers

// Hands news on to the caller's routine, without the lock. True when that asks for abort; what it throws is kept, and
// asks for it too.
static bool Report(std::unique_lock<std::mutex> &hold, const Call &call, std::exception_ptr &thrown)
{
    if (!call.run || !call.run->progress || call.abort) return false;
    const int step = call.shownStep, tenths = call.shownTenths;
    bool abort = true;
    hold.unlock();
    try {
        abort = call.run->progress(call.run->context, step, int(call.steps->size()), tenths) != 0;
    } catch (...) {
        thrown = std::current_exception();
    }
    hold.lock();
    return abort;
}

// Nothing passes by the end: until then the call is the dialogs' thread's too.
static void WaitForEnd(Door &door, std::unique_lock<std::mutex> &hold, Call &call)
{
    int step = -1, tenths = -1;
    bool told = true;   // the dialogs' thread has been woken for all that has changed
    std::exception_ptr thrown;
    const auto news = [&] { return step != call.shownStep || tenths != call.shownTenths; };
    const auto moved = [&] { return call.done || news(); };
    while (!call.done || news()) {
        if (!told) told = TryWake(door);
        if (told) call.changed.wait(hold, moved);
        else call.changed.wait_for(hold, std::chrono::milliseconds(10), moved);
        if (!news()) continue;
        step = call.shownStep;
        tenths = call.shownTenths;
        if (!Report(hold, call, thrown)) continue;
        call.abort = true;
        told = call.done;
    }
    if (thrown) std::rethrow_exception(thrown);
}

vlm_code Perform(Call &call)
{
    WatchForksAndExit();
    Door &door = TheDoor();
    {
        std::unique_lock hold(door.lock);
        // One that is ending is waited for; the call starts the next.
        door.conditions->ended.wait(hold, [&door] { return !door.ending || !door.running; });
        if (door.leaving) return Fail(VLM_FAILED, "the process is ending");
        if (!StartThread(door)) return Fail(VLM_NO_THREAD, "the system has no thread for the dialogs");
        Wake(door);   // may fail, so before the call is on record; the thread looks when the lock is given up
        door.arrivals.push_back(&call);
        WaitForEnd(door, hold, call);
    }
    return call.code == VLM_OK ? VLM_OK : Fail(call.code, call.line);
}

void vlm_retain(void)
{
    Door &door = TheDoor();
    const std::lock_guard hold(door.lock);
    ++door.retained;
}

// Waits for the thread's end unless calls are under way, which may be this thread's own.
void vlm_release(void)
{
    Door &door = TheDoor();
    std::unique_lock hold(door.lock);
    if (door.retained == 0 || --door.retained > 0 || !door.running) return;
    door.ending = true;
    door.conditions->arrived.notify_all();
    if (ThreadsWithinCalls() > 0) return;
    door.conditions->ended.wait(hold, [&door] { return !door.running; });
    Join(door);
}
