// A process of one's own making, by each system's calls. What it does and what becomes of its end is others' business.

#include "host/check/process.h"

#include "host/paths/paths.h"

#include <mutex>

static std::mutex lock;   // over the two below, which another thread may look at
static bool stopped = false;

#ifdef _WIN32

#include <windows.h>

// As the C runtime takes a line apart: a quote needs a backslash, and so do the backslashes before it.
static std::string Quoted(const std::string &argument)
{
    std::string quoted = "\"";
    size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '"') quoted.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(backslashes, '\\') + "\"";
}

static HANDLE running = nullptr;   // the job of the process that is waited for

static HANDLE MakeJob()
{
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = SIZE_T(3) << 29;   // 1.5 gigabytes
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

// Waits for the end of what has been started.
static void TakeEnd(const PROCESS_INFORMATION &made, ProcessEnd &end)
{
    WaitForSingleObject(made.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(made.hProcess, &code);
    end.exitCode = int(code);
    if (code >= 0xC0000000u) {
        char text[40];
        snprintf(text, sizeof text, "exception 0x%08lX", (unsigned long)code);
        end.killed = text;
    }
    CloseHandle(made.hThread);
    CloseHandle(made.hProcess);
}

ProcessEnd RunProcess(const std::string &program, const std::vector<std::string> &arguments)
{
    std::string text = Quoted(program);
    for (const std::string &argument : arguments) text += " " + Quoted(argument);
    std::wstring line = WideOf(text);
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const HANDLE nowhere = CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = start.hStdOutput = nowhere;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made = {};
    const HANDLE job = MakeJob();
    ProcessEnd end;
    {
        const std::lock_guard<std::mutex> guard(lock);
        end.started = !stopped && CreateProcessW(WideOf(program).c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                                 nullptr, nullptr, &start, &made) != 0;
        if (end.started) AssignProcessToJobObject(running = job, made.hProcess);
    }
    if (end.started) TakeEnd(made, end);
    const std::lock_guard<std::mutex> guard(lock);
    running = nullptr;
    end.started = end.started && !stopped;
    CloseHandle(job);
    CloseHandle(nowhere);
    return end;
}

static void EndRunning()
{
    if (running) TerminateJobObject(running, 1);
}

// What follows the program's own name, as it was given.
static std::wstring GivenWords()
{
    const wchar_t *line = GetCommandLineW();
    const wchar_t end = *line == L'"' ? *line++ : L' ';
    while (*line && *line != end && !(end == L' ' && *line == L'\t')) ++line;
    if (*line == L'"') ++line;
    return line;
}

ProcessEnd RunInstead(const std::string &program)
{
    std::wstring line = WideOf(Quoted(program)) + GivenWords();
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made = {};
    ProcessEnd end;
    end.started = CreateProcessW(WideOf(program).c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                 &start, &made) != 0;
    if (end.started) TakeEnd(made, end);
    return end;
}

#else

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t running = 0;   // the process that is waited for

// In the new process, with nothing but what a signal's handler may call. The signals that the parent takes out on a
// thread of its own are blocked in all that it starts; here they do what they do in any program. A byte is written where
// the program cannot be started.
[[noreturn]] static void Become(char *const *words, pid_t parent, int failure)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);   // it has ended meanwhile
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_DFL);
    const int nothing = open("/dev/null", O_RDONLY), nowhere = open("/dev/null", O_WRONLY);
    dup2(nothing, 0);
    dup2(nowhere, 1);
    execv(words[0], words);
    (void)!write(failure, "", 1);
    _exit(127);
}

// Whether the new process has become the program: its end of the pipe is closed then, and nothing was written.
static bool HasBecome(int pipe)
{
    char byte;
    ssize_t count;
    while ((count = read(pipe, &byte, 1)) < 0 && errno == EINTR) {}
    return count == 0;
}

ProcessEnd RunProcess(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<char *> words = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments) words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    ProcessEnd end;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return end;
    pid_t id = -1;
    const pid_t parent = getpid();
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!stopped) id = fork();
        if (id == 0) Become(words.data(), parent, ends[1]);
        running = id > 0 ? id : 0;
    }
    close(ends[1]);
    const bool become = HasBecome(ends[0]);
    close(ends[0]);
    if (id < 0) return end;
    siginfo_t ended;   // it keeps its number until nobody can stop it any more
    while (waitid(P_PID, id_t(id), &ended, WEXITED | WNOWAIT) < 0 && errno == EINTR) {}
    const std::lock_guard<std::mutex> guard(lock);
    running = 0;
    int status = 0;
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) {}
    end.started = become && !stopped;
    if (WIFEXITED(status)) end.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        end.killed = "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    return end;
}

static void EndRunning()
{
    if (running) kill(running, SIGKILL);
}

ProcessEnd RunInstead(const std::string &) { return {}; }

#endif

void EndProcess()
{
    const std::lock_guard<std::mutex> guard(lock);
    EndRunning();
}

void StopProcesses()
{
    const std::lock_guard<std::mutex> guard(lock);
    stopped = true;
    EndRunning();
}
