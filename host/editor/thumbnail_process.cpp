// Both ends of the process that makes the thumbnails: how the editor starts it, speaks with it on a thread of its own and
// ends it, and what it does itself. How thumbnails are made is thumbnails.h's.

#include "host/editor/thumbnail_process.h"

#include "host/documents/library.h"
#include "host/paths/paths.h"

#include <mutex>
#include <thread>
#include <utility>

struct ThumbnailWork {
    Picture picture;
    Extent room;
    HWND window;
    UINT message;
    std::mutex guard;   // of all below
    bool ended = false;
    HANDLE process = nullptr;          // while it runs
    std::vector<MadeThumbnail> made;   // not yet taken
};

//---- Bytes

static WriteBytes WriterTo(HANDLE pipe)
{
    return [pipe](const void *bytes, size_t count) {
        DWORD written = 0;
        return WriteFile(pipe, bytes, DWORD(count), &written, nullptr) && written == count;
    };
}

static ReadBytes ReaderOf(HANDLE pipe)
{
    return [pipe](void *bytes, size_t count) {
        auto *next = static_cast<uint8_t *>(bytes);
        for (DWORD read = 0; count > 0; next += read, count -= read)
            if (!ReadFile(pipe, next, DWORD(count), &read, nullptr) || read == 0) return false;
        return true;
    };
}

//---- Starting the process

#ifndef PROC_THREAD_ATTRIBUTE_JOB_LIST   // in headers for older systems
#define PROC_THREAD_ATTRIBUTE_JOB_LIST 0x2000D
#endif

// The editor's ends of its standard input and output.
struct Pipes {
    HANDLE input = nullptr, output = nullptr;
};

// Whatever becomes of the editor, its processes go with this handle.
static HANDLE OwnJob()
{
    static const HANDLE job = [] {
        const HANDLE made = CreateJobObjectA(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return made;
    }();
    return job;
}

// In the job from its first moment on, where the system can do that: else an editor that ended while it starts the
// process would leave it behind.
struct StartInJob {
    STARTUPINFOEXW start = {};
    std::vector<uint64_t> room;
    HANDLE job = OwnJob();
    StartInJob()
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        room.resize(size / sizeof(uint64_t) + 1);
        start.StartupInfo.cb = sizeof start;
        start.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room.data());
        InitializeProcThreadAttributeList(start.lpAttributeList, 1, 0, &size);
        UpdateProcThreadAttribute(start.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &job, sizeof job, nullptr,
                                  nullptr);
    }
    StartInJob(const StartInJob &) = delete;
    StartInJob &operator=(const StartInJob &) = delete;
    ~StartInJob() { DeleteProcThreadAttributeList(start.lpAttributeList); }
};

static HANDLE StartProcess(HANDLE input, HANDLE output)
{
    const std::string file = ProgramFile();
    std::wstring line = WideOf("\"" + file + "\" " + THUMBNAILS_SWITCH);
    StartInJob inJob;
    STARTUPINFOW &start = inJob.start.StartupInfo;
    start.dwFlags = STARTF_USESTDHANDLES | STARTF_FORCEOFFFEEDBACK;   // the mouse pointer stays as it is
    start.hStdInput = input;
    start.hStdOutput = output;
    PROCESS_INFORMATION made = {};
    const DWORD flags = BELOW_NORMAL_PRIORITY_CLASS | EXTENDED_STARTUPINFO_PRESENT;
    const BOOL done = CreateProcessW(WideOf(file).c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr,
                                     &start, &made);
    if (!done) return nullptr;
    AssignProcessToJobObject(inJob.job, made.hProcess);
    CloseHandle(made.hThread);
    return made.hProcess;
}

static bool MakePipe(HANDLE &read, HANDLE &write, HANDLE &editorsEnd)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreatePipe(&read, &write, &inherited, 0) && SetHandleInformation(editorsEnd, HANDLE_FLAG_INHERIT, 0);
}

static void Close(HANDLE &handle)
{
    if (handle) CloseHandle(handle);
    handle = nullptr;
}

// One at a time: a process that inherited another one's pipe would keep it open. The lock stays until the program ends,
// whatever threads are still there then.
static HANDLE StartWithPipes(Pipes &pipes)
{
    static auto &turn = *new std::mutex;
    const std::lock_guard<std::mutex> hold(turn);
    HANDLE input = nullptr, output = nullptr, process = nullptr;
    if (MakePipe(input, pipes.input, pipes.input) && MakePipe(pipes.output, output, pipes.output))
        process = StartProcess(input, output);
    Close(input);
    Close(output);
    return process;
}

//---- The thread that speaks with it

// False when it is not wanted any more.
static bool KeepProcess(ThumbnailWork &work, HANDLE process)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    if (work.ended) TerminateProcess(process, 0);
    else work.process = process;
    return !work.ended;
}

static bool HandOver(ThumbnailWork &work, MadeThumbnail &&made)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    if (work.ended) return false;
    work.made.push_back(std::move(made));
    PostMessageA(work.window, work.message, 0, 0);
    return true;
}

static void Speak(ThumbnailWork &work, const Pipes &pipes)
{
    if (!SendPicture(WriterTo(pipes.input), 0, work.picture)) return;
    const ReadBytes read = ReaderOf(pipes.output);
    int32_t effect;
    Picture result;
    while (ReceivePicture(read, effect, result))
        if (!HandOver(work, {effect, ThumbnailOf(result, work.room)})) return;
}

static void WorkThread(const std::shared_ptr<ThumbnailWork> work)
{
    Pipes pipes;
    HANDLE process = StartWithPipes(pipes);
    if (process && KeepProcess(*work, process)) Speak(*work, pipes);
    Close(pipes.input);
    Close(pipes.output);
    const std::lock_guard<std::mutex> hold(work->guard);
    work->process = nullptr;
    Close(process);
}

//---- For the window

std::shared_ptr<ThumbnailWork> StartThumbnails(Picture picture, Extent room, HWND window, UINT message)
{
    auto work = std::make_shared<ThumbnailWork>();
    work->picture = std::move(picture);
    work->room = room;
    work->window = window;
    work->message = message;
    std::thread(WorkThread, work).detach();
    return work;
}

std::vector<MadeThumbnail> TakeThumbnails(ThumbnailWork &work)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    return std::exchange(work.made, {});
}

void EndThumbnails(ThumbnailWork &work)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    work.ended = true;
    if (work.process) TerminateProcess(work.process, 0);
}

//---- The process itself

int MakeThumbnails()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);   // nobody sees a box of its
    Host host;
    std::string error;
    int32_t number;
    Picture picture;
    const ReadBytes read = ReaderOf(GetStdHandle(STD_INPUT_HANDLE));
    const WriteBytes write = WriterTo(GetStdHandle(STD_OUTPUT_HANDLE));
    if (!StartHost(host, "", error)) return 1;
    const bool received = ReceivePicture(read, number, picture);
    if (received) {
        RunAllEffects(host, picture,
                      [&write](int32_t effect, const Picture &result) { return SendPicture(write, effect, result); });
    }
    EndHost(host);
    return received ? 0 : 1;
}
