// See child_process.h. What is said to a process, and when it is ended, is for those to know who start it.

#include "host/editor/child_process.h"

#include "host/paths/paths.h"

#include <mutex>
#include <vector>

#ifndef PROC_THREAD_ATTRIBUTE_JOB_LIST   // in headers for older systems
#define PROC_THREAD_ATTRIBUTE_JOB_LIST 0x2000D
#endif

// Its processes end when its last handle goes, which is with the editor.
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

// What the child gets of its pipes.
struct ChildEnds {
    HANDLE input = nullptr, output = nullptr, errors = nullptr;
};

static HANDLE StartProcess(const std::string &file, const std::string &line, const ChildEnds &ends)
{
    std::wstring words = WideOf(line);
    StartInJob inJob;
    STARTUPINFOW &start = inJob.start.StartupInfo;
    start.dwFlags = STARTF_USESTDHANDLES | STARTF_FORCEOFFFEEDBACK;   // the mouse pointer stays as it is
    start.hStdInput = ends.input;
    start.hStdOutput = ends.output;
    start.hStdError = ends.errors;
    PROCESS_INFORMATION made = {};
    const DWORD flags =
        BELOW_NORMAL_PRIORITY_CLASS | CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT;
    const BOOL done = CreateProcessW(WideOf(file).c_str(), words.data(), nullptr, nullptr, TRUE, flags, nullptr,
                                     nullptr, &start, &made);
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

void CloseHandleOf(HANDLE &handle)
{
    if (handle) CloseHandle(handle);
    handle = nullptr;
}

// One at a time: a process that inherited another one's pipe would keep it open. The lock stays until the program ends,
// whatever threads are still there then.
bool StartChild(const std::string &file, const std::string &line, ChildProcess &child, bool withErrors)
{
    static auto &turn = *new std::mutex;
    const std::lock_guard<std::mutex> hold(turn);
    ChildEnds ends;
    bool made = MakePipe(ends.input, child.input, child.input) && MakePipe(child.output, ends.output, child.output);
    if (made && withErrors) made = MakePipe(child.errors, ends.errors, child.errors);
    if (made) child.process = StartProcess(file, line, ends);
    for (HANDLE *end : {&ends.input, &ends.output, &ends.errors}) CloseHandleOf(*end);
    if (!child.process) CloseChild(child);
    return child.process != nullptr;
}

void CloseChild(ChildProcess &child)
{
    for (HANDLE *handle : {&child.input, &child.output, &child.errors, &child.process}) CloseHandleOf(*handle);
}
