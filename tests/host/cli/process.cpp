// Runs velmorant as a process of its own: arguments and standard input in, exit code and both outputs back, also on a
// terminal. It judges nothing.

#include "tests/host/cli/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

typedef std::array<int, 2> Pipe;   // the reading end, the writing end

static Pipe MakePipe()
{
    Pipe ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) abort();
    return ends;
}

static void Become(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<char *> texts = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments) texts.push_back(const_cast<char *>(argument.c_str()));
    texts.push_back(nullptr);
    execv(program.c_str(), texts.data());
    _exit(127);
}

// The three are the child's standard streams.
static pid_t Start(const std::string &program, const std::vector<std::string> &arguments, int input, int output,
                   int errors)
{
    const pid_t id = fork();
    if (id != 0) return id;
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    Become(program, arguments);
    return -1;
}

static int ExitCodeOf(pid_t id)
{
    int status = 0;
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) {}
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Appends what there is to read; false at the end.
static bool ReadSome(int file, std::string &text)
{
    char buffer[65536];
    ssize_t count;
    while ((count = read(file, buffer, sizeof buffer)) < 0 && errno == EINTR) {}
    if (count > 0) text.append(buffer, size_t(count));
    return count > 0;
}

static void CloseEnd(int &file)
{
    close(file);
    file = -1;
}

// Feeds and reads all three streams until the child has closed what it writes to.
static void Exchange(int &input, const std::string &fed, int &output, int &errors, Outcome &outcome)
{
    size_t written = 0;
    while (output >= 0 || errors >= 0) {
        if (input >= 0 && written == fed.size()) CloseEnd(input);
        pollfd ends[3] = {{input, POLLOUT, 0}, {output, POLLIN, 0}, {errors, POLLIN, 0}};
        if (poll(ends, 3, -1) < 0) continue;
        if (ends[0].revents) {
            const ssize_t count = write(input, fed.data() + written, fed.size() - written);
            if (count > 0) written += size_t(count);
            else if (errno != EAGAIN) CloseEnd(input);
        }
        if (ends[1].revents && !ReadSome(output, outcome.output)) CloseEnd(output);
        if (ends[2].revents && !ReadSome(errors, outcome.errors)) CloseEnd(errors);
    }
    if (input >= 0) CloseEnd(input);
}

Outcome Velmorant(const std::vector<std::string> &arguments, const std::string &input)
{
    return VelmorantAt(VELMORANT_PROGRAM, arguments, input);
}

Outcome VelmorantAt(const std::string &program, const std::vector<std::string> &arguments, const std::string &input)
{
    signal(SIGPIPE, SIG_IGN);   // it may end without reading its input
    Pipe in = MakePipe(), out = MakePipe(), err = MakePipe();
    fcntl(in[1], F_SETFL, O_NONBLOCK);
    const pid_t id = Start(program, arguments, in[0], out[1], err[1]);
    for (int *end : {&in[0], &out[1], &err[1]}) CloseEnd(*end);
    Outcome outcome;
    Exchange(in[1], input, out[0], err[0], outcome);
    outcome.exitCode = ExitCodeOf(id);
    return outcome;
}

//---- On a terminal

RunningProcess StartOnTerminal(const std::vector<std::string> &arguments)
{
    RunningProcess process;
    process.terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (process.terminal < 0 || grantpt(process.terminal) != 0 || unlockpt(process.terminal) != 0) abort();
    int screen = open(ptsname(process.terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    Pipe in = MakePipe();
    process.id = Start(VELMORANT_PROGRAM, arguments, in[0], nowhere, screen);
    process.input = in[1];
    for (int *end : {&in[0], &nowhere, &screen}) CloseEnd(*end);
    return process;
}

bool WaitForText(RunningProcess &process, const std::string &text)
{
    while (process.errors.find(text) == std::string::npos) {
        if (!ReadSome(process.terminal, process.errors)) return false;
    }
    return true;
}

void FeedAndWaitUntilRead(RunningProcess &process, const std::string &input)
{
    if (write(process.input, input.data(), input.size()) != ssize_t(input.size())) abort();
    for (int left = 1; left > 0;) {
        ioctl(process.input, FIONREAD, &left);
        if (left > 0) poll(nullptr, 0, 1);
    }
}

void Signal(const RunningProcess &process, int signal) { kill(process.id, signal); }

int WaitForEnd(RunningProcess &process)
{
    while (ReadSome(process.terminal, process.errors)) {}
    CloseEnd(process.terminal);
    CloseEnd(process.input);
    return ExitCodeOf(process.id);
}
