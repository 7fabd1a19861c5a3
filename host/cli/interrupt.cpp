// Waits for Ctrl-C and the system's request to end: a thread of its own takes signals out, and on Windows the console
// calls on a thread that it makes. Notes one while they are held, and ends the program otherwise. Aborts no run and
// clears up no file itself: whoever holds interrupts does.

#include "host/cli/interrupt.h"

#include "host/cli/report.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

static std::mutex lock;
static bool held = false;
static std::function<void()> wakeHolder;
static std::atomic<bool> interrupted = false;

// On the watching thread, which no signal handler's limits bind.
static void OnInterrupt()
{
    const std::lock_guard<std::mutex> guard(lock);
    if (!held) std::_Exit(EXIT_INTERRUPTED);
    interrupted = true;
    wakeHolder();
}

void HoldInterrupts(std::function<void()> wake)
{
    const std::lock_guard<std::mutex> guard(lock);
    held = true;
    wakeHolder = std::move(wake);
}

void ReleaseInterrupts()
{
    const std::lock_guard<std::mutex> guard(lock);
    held = false;
    wakeHolder = nullptr;
}

bool Interrupted() { return interrupted; }

//---- The system's side

#ifdef _WIN32

#include <windows.h>

static BOOL WINAPI OnConsoleEvent(DWORD)
{
    OnInterrupt();
    return TRUE;
}

bool WatchInterrupts() { return SetConsoleCtrlHandler(OnConsoleEvent, TRUE) != 0; }
void StopWatchingInterrupts() { SetConsoleCtrlHandler(OnConsoleEvent, FALSE); }

#else

#include <csignal>
#include <pthread.h>

static sigset_t signals;
static pthread_t watcher;
static std::atomic<bool> ending = false;

static void *Watch(void *)
{
    for (int number; sigwait(&signals, &number) == 0 && !ending;) OnInterrupt();
    return nullptr;
}

// The signals are blocked in every thread and taken out by one that waits for them. That also holds where they were
// ignored at the start, as a shell does for what it runs in the background.
bool WatchInterrupts()
{
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return pthread_create(&watcher, nullptr, Watch, nullptr) == 0;
}

void StopWatchingInterrupts()
{
    ending = true;
    pthread_kill(watcher, SIGTERM);
    pthread_join(watcher, nullptr);
}

#endif
