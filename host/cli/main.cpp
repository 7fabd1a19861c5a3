// velmorant: applies the effects of the module VLMEFF to picture files. Words and files are its own; pictures and effects
// are the library's (host/library).

#ifndef VELMORANT_STATIC
#include "host/check/check.h"
#endif
#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#endif

#ifdef _WIN32
static bool IsClosed(int descriptor) { return _get_osfhandle(descriptor) == -1; }
static void OpenNowhere(bool toWrite) { _open("NUL", toWrite ? _O_WRONLY : _O_RDONLY); }
#else
static bool IsClosed(int descriptor) { return fcntl(descriptor, F_GETFD) < 0; }
static void OpenNowhere(bool toWrite) { (void)!open("/dev/null", toWrite ? O_WRONLY : O_RDONLY); }
#endif

// A standard stream that is closed would be the next file to be opened: a complaint would land inside a picture. What
// takes its place can only be used the wrong way round, so that reading and writing fail as they would have.
static void OpenClosedStreams()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (IsClosed(descriptor)) OpenNowhere(descriptor == 0);
}

// A script gets the same bytes on every system.
static void EndLinesAlike()
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
}

static int RunCommand(int argc, char **argv)
{
    CommandLine line;
    int exitCode = EXIT_DONE;
    if (!ReadCommandLine(argc, argv, line, exitCode)) return exitCode;
    switch (line.command) {
    case Command::EFFECTS: return ListEffects(line);
    case Command::KERNELS: return DoKernels(line);
    case Command::APPLY: return ApplyToOne(line);
    case Command::BATCH: return ApplyToMany(line);
    case Command::RECIPE: return DoRecipe(line);
    case Command::PRESETS: return DoPresets(line);
    case Command::SHEET: return MakeSheet(line);
    case Command::CHECK: return CheckModuleFile(line);
    case Command::COMPLETE: return Complete(line);
    case Command::COMPLETION: return PrintCompletion(line);
    case Command::MANUAL: return PrintManual(line);
    }
    return EXIT_USAGE;
}

#ifdef _WIN32

// No shell of the system's expands *.jpg; the C runtime does, before main begins.
int _dowildcard = -1;

static UINT codePageBefore;

static void GiveConsoleBack() { SetConsoleOutputCP(codePageBefore); }

// Lines hold files' names, in UTF-8. A console takes its bytes for those of a code page that is its own, not ours.
static void SpeakUtf8()
{
    codePageBefore = GetConsoleOutputCP();   // 0: no console
    if (codePageBefore && codePageBefore != CP_UTF8 && SetConsoleOutputCP(CP_UTF8)) atexit(GiveConsoleBack);
}

#else

static void SpeakUtf8() {}

#endif

// Libraries let nothing through some of their routines, memory that is refused included.
[[noreturn]] static void OnTerminate()
{
    try {
        if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory();
    } catch (...) {   // a fault of ours, which is to be seen as one
    }
    std::abort();
}

// As early as can be: the library that reads the command line makes objects before main, where nobody catches anything.
__attribute__((constructor(101))) static void WatchTermination() { std::set_terminate(OnTerminate); }

static int Run(int argc, char **argv)
{
    OpenClosedStreams();
    EndLinesAlike();
    if (!WatchInterrupts()) {
        Report("cannot go on", "the system refuses a thread to wait for interrupts");
        return EXIT_FAILED;
    }
    SpeakUtf8();
    vlm_retain();
    int exitCode = EXIT_FAILED;
    try {
        exitCode = RunCommand(argc, argv);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory();
    } catch (const std::exception &failure) {
        Report("cannot go on", failure.what());
    }
    const bool flushed = fflush(stdout) == 0 && !ferror(stdout);   // an earlier write may have failed
    if (!flushed && exitCode == EXIT_DONE) {
        Report("standard output", "cannot be written");
        exitCode = EXIT_FAILED;
    }
    vlm_release();
    StopWatchingInterrupts();
    return exitCode;
}

int main(int argc, char **argv)
{
#ifndef VELMORANT_STATIC
    // Before anything else is begun: what a module is checked in is a process of its own.
    if (argc > 1 && strcmp(argv[1], INSIDE_SWITCH) == 0) return CheckInside(argc, argv);
#endif
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory();   // not even for the line that was to be said
    }
}
