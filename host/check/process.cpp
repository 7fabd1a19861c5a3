// A process of one's own making, by each system's calls. What it does and what becomes of its end is others' business.

#include "host/check/process.h"

#include "host/paths/paths.h"

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
    end.started = CreateProcessW(WideOf(program).c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                 &start, &made) != 0;
    if (end.started) {
        AssignProcessToJobObject(job, made.hProcess);
        TakeEnd(made, end);
    }
    CloseHandle(job);
    CloseHandle(nowhere);
    return end;
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

#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

ProcessEnd RunProcess(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<char *> words = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments) words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t id;
    ProcessEnd end;
    end.started = posix_spawn(&id, program.c_str(), &actions, nullptr, words.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    while (end.started && waitpid(id, &status, 0) < 0 && errno == EINTR) {}
    if (!end.started) return end;
    if (WIFEXITED(status)) end.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        end.killed = "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    return end;
}

ProcessEnd RunInstead(const std::string &) { return {}; }

#endif
