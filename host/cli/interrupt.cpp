// Waits for Ctrl-C and the system's requests to end: a thread of its own takes signals out, and on Windows the console
// calls on a thread that it makes. Notes one while they are held, and ends the program otherwise, whatever that is waiting
// for, without a file that is half written. Aborts no run itself: whoever holds interrupts does.

#include "host/cli/interrupt.h"

#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

static std::mutex lock;
static bool held = false;
static std::function<void()> wakeHolder;
static std::atomic<bool> interrupted = false;

void EndInterrupted()
{
    vlm_drop_unfinished_files();
    std::_Exit(EXIT_INTERRUPTED);
}

void EndOutOfMemory()
{
    vlm_drop_unfinished_files();
    fputs("velmorant: out of memory\n", stderr);
    fflush(stderr);
    std::_Exit(EXIT_FAILED);
}

// On the watching thread, which no signal handler's limits bind. Who asks twice does not want to wait.
static void OnInterrupt()
{
    if (interrupted) EndInterrupted();
    const std::lock_guard<std::mutex> guard(lock);
    interrupted = true;
    if (!held) EndInterrupted();
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
    if (interrupted) EndInterrupted();
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
void SurviveBrokenPipes() {}
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

// As nohup has it.
static bool IsIgnored(int number)
{
    struct sigaction action = {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// The signals are blocked in every thread and taken out by one that waits for them. That also holds where they were
// ignored at the start, as a shell does for what it runs in the background; but who is told to survive a terminal does.
bool WatchInterrupts()
{
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGQUIT}) sigaddset(&signals, number);
    if (!IsIgnored(SIGHUP)) sigaddset(&signals, SIGHUP);
    signal(SIGXFSZ, SIG_IGN);   // the write fails, and is told
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return pthread_create(&watcher, nullptr, Watch, nullptr) == 0;
}

void SurviveBrokenPipes() { signal(SIGPIPE, SIG_IGN); }

void StopWatchingInterrupts()
{
    ending = true;
    pthread_kill(watcher, SIGTERM);
    pthread_join(watcher, nullptr);
}

#endif
