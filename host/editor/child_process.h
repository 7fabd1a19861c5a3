// Programs that the editor starts to work for it, each with pipes for what it reads and writes. Whatever becomes of the
// editor, they go with it.

#pragma once

#include "interface/windows_calls.h"

#include <string>

// The editor's ends. Null where there is none.
struct ChildProcess {
    HANDLE process = nullptr;
    HANDLE input = nullptr, output = nullptr;   // its standard input and output
    HANDLE errors = nullptr;                    // its standard error, where that was asked for
};

// Starts a program's file with a command line, whose first word names it; without a window, and behind the editor's own
// work. False when it cannot be started. [any]
bool StartChild(const std::string &file, const std::string &line, ChildProcess &child, bool withErrors = false);
void CloseHandleOf(HANDLE &handle);
// Lets go of all of it; the process goes on where it has not ended. [any]
void CloseChild(ChildProcess &child);
