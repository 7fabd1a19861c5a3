// Starting a program and waiting for its end.

#pragma once

#include <string>
#include <vector>

struct ProcessEnd {
    bool started = false;
    int exitCode = -1;    // of one that ended by itself
    bool hung = false;    // whether it was ended for that: for who waits to note
    std::string killed;   // how it was ended otherwise, for people: "signal 9 (Killed)"; empty when it was not
};
// Its standard input is empty, its standard output goes nowhere, its standard error and its environment are this
// process's. It goes when this process goes, where the system has a way for that.
ProcessEnd RunProcess(const std::string &program, const std::vector<std::string> &arguments);
// Ends what RunProcess waits for. [any]
void EndProcess();
// The same, and lets it start nothing any more: both count as not started. [any]
void StopProcesses();

// Starts another program with this one's words and standard streams, and waits for its end. On Windows only; elsewhere
// nothing is started.
ProcessEnd RunInstead(const std::string &program);
