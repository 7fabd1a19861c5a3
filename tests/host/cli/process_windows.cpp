// velmorant as a child process on Windows.

#include "tests/host/cli/process.h"

#include "host/paths/paths.h"

#include <cstdlib>
#include <thread>
#include <windows.h>

struct Pipe {
    HANDLE reading, writing;
};

// Only the child's end may be inherited, or its own copy of the other would keep the pipe open for ever.
static Pipe MakePipe(bool childReads)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    Pipe pipe;
    if (!CreatePipe(&pipe.reading, &pipe.writing, &inherited, 0)) abort();
    SetHandleInformation(childReads ? pipe.writing : pipe.reading, HANDLE_FLAG_INHERIT, 0);
    return pipe;
}

// As the C runtime takes a command line apart: backslashes count twice before a quotation mark.
static std::string Quoted(const std::string &argument)
{
    std::string text = "\"";
    size_t backslashes = 0;
    for (const char c : argument) {
        if (c == '"') text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

static std::string CommandLineOf(const std::string &program, const std::vector<std::string> &arguments)
{
    std::string line = Quoted(program);
    for (const std::string &argument : arguments) line += " " + Quoted(argument);
    return line;
}

static HANDLE Start(const std::string &program, const std::string &line, HANDLE input, HANDLE output, HANDLE errors)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = output;
    startup.hStdError = errors;
    PROCESS_INFORMATION process = {};
    std::wstring wide = WideOf(line);
    if (!CreateProcessW(WideOf(program).c_str(), wide.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        abort();
    CloseHandle(process.hThread);
    return process.hProcess;
}

static void ReadAll(HANDLE pipe, std::string &text)
{
    char buffer[65536];
    for (DWORD count; ReadFile(pipe, buffer, sizeof buffer, &count, nullptr) && count;) text.append(buffer, count);
    CloseHandle(pipe);
}

static void WriteAll(HANDLE pipe, const std::string &text)
{
    size_t written = 0;
    for (DWORD count; written < text.size(); written += count)
        if (!WriteFile(pipe, text.data() + written, DWORD(text.size() - written), &count, nullptr)) break;
    CloseHandle(pipe);
}

static Outcome RunLine(const std::string &program, const std::string &line, const std::string &input)
{
    const Pipe in = MakePipe(true), out = MakePipe(false), err = MakePipe(false);
    const HANDLE process = Start(program, line, in.reading, out.writing, err.writing);
    for (const HANDLE end : {in.reading, out.writing, err.writing}) CloseHandle(end);

    Outcome outcome;
    std::thread feeder(WriteAll, in.writing, std::cref(input));
    std::thread reader(ReadAll, out.reading, std::ref(outcome.output));
    ReadAll(err.reading, outcome.errors);
    reader.join();
    feeder.join();
    DWORD code = 0;
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    outcome.exitCode = int(code);
    return outcome;
}

Outcome Velmorant(const std::vector<std::string> &arguments, const std::string &input)
{
    return VelmorantAt(VELMORANT_PROGRAM, arguments, input);
}

Outcome VelmorantAt(const std::string &program, const std::vector<std::string> &arguments, const std::string &input)
{
    return RunLine(program, CommandLineOf(program, arguments), input);
}

Outcome VelmorantWithLine(const std::string &arguments)
{
    return RunLine(VELMORANT_PROGRAM, Quoted(VELMORANT_PROGRAM) + " " + arguments, "");
}

//---- Under way

static HANDLE Nowhere()
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       OPEN_EXISTING, 0, nullptr);
}

RunningProcess StartAside(const std::vector<std::string> &arguments)
{
    const HANDLE nowhere = Nowhere();
    const std::string line = CommandLineOf(VELMORANT_PROGRAM, arguments);
    return {Start(VELMORANT_PROGRAM, line, nowhere, nowhere, nowhere), nowhere};
}

void Terminate(RunningProcess &process) { TerminateProcess(process.process, 9); }

//---- In a console

static BOOL WINAPI StayHere(DWORD) { return TRUE; }

RunningProcess StartInConsole(const std::vector<std::string> &arguments)
{
    FreeConsole();   // what the tests were started with may have no Ctrl-C
    if (!AllocConsole()) abort();
    SetConsoleCtrlHandler(StayHere, TRUE);
    const Pipe in = MakePipe(true);
    const HANDLE nowhere = Nowhere();
    const RunningProcess process = {
        Start(VELMORANT_PROGRAM, CommandLineOf(VELMORANT_PROGRAM, arguments), in.reading, nowhere, nowhere),
        in.writing};
    CloseHandle(in.reading);
    CloseHandle(nowhere);
    return process;
}

void FeedUntilRead(RunningProcess &process, const std::string &start)
{
    const std::string text = start + std::string(size_t(1) << 20, 'x');
    DWORD count = 0;
    WriteFile(process.input, text.data(), DWORD(text.size()), &count, nullptr);
}

void PressControlC() { GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0); }

int WaitForEnd(RunningProcess &process)
{
    DWORD code = 0;
    WaitForSingleObject(process.process, INFINITE);
    GetExitCodeProcess(process.process, &code);
    CloseHandle(process.process);
    CloseHandle(process.input);
    return int(code);
}
