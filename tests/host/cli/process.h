// velmorant as a child process, with pipes or a terminal for its streams.

#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct Outcome {
    int exitCode = -1;    // -1: ended by a signal
    std::string output;   // standard output
    std::string errors;   // standard error
};

// Runs it to its end with `input` as standard input.
Outcome Velmorant(const std::vector<std::string> &arguments, const std::string &input = "");
// Another copy of it.
Outcome VelmorantAt(const std::string &program, const std::vector<std::string> &arguments,
                    const std::string &input = "");

#ifdef _WIN32

// As a shell of Windows would start it: with a line that nobody has taken apart.
Outcome VelmorantWithLine(const std::string &arguments);

// One that is still running, in a console that it shares with the tests. Its standard input stays open until the end.
struct RunningProcess {
    void *process = nullptr;
    void *input = nullptr;
};
RunningProcess StartInConsole(const std::vector<std::string> &arguments);
// One with nothing to read and nowhere to write to.
RunningProcess StartAside(const std::vector<std::string> &arguments);
// Ends it where it stands, as the Task Manager does.
void Terminate(RunningProcess &process);
// Writes more to standard input than waits in a pipe: when it returns, the process has begun to read.
void FeedUntilRead(RunningProcess &process, const std::string &start);
// What the console does when a person presses Ctrl-C.
void PressControlC();
int WaitForEnd(RunningProcess &process);

#else

// One that is still running. Its standard error is a terminal (a pseudo-terminal's other end), which it takes for a
// person's; its standard input stays open until the end.
struct RunningProcess {
    pid_t id = 0;
    int terminal = -1;    // what it writes to standard error
    int input = -1;       // where its standard input comes from
    std::string errors;   // read so far
};
RunningProcess StartOnTerminal(const std::vector<std::string> &arguments);
// Reads standard error until `text` has come or the process has ended; false without the text.
bool WaitForText(RunningProcess &process, const std::string &text);
// Writes to standard input and waits until the process has read all of it.
void FeedAndWaitUntilRead(RunningProcess &process, const std::string &input);
void Signal(const RunningProcess &process, int signal);
// Reads standard error to its end and returns the exit code, -1 when a signal ended the process.
int WaitForEnd(RunningProcess &process);

#endif
