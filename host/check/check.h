// `velmorant check`: finds out where a module breaks the promises that it makes its host by being one, or a host those
// that it makes its modules. What is checked is loaded in a process of its own, started again behind each check that ended
// it, so that a crash, a hang or a flood of memory is a finding and not an end.

#pragma once

#include "host/check/findings.h"

#include <cstdint>

constexpr int HIGHEST_LEVEL = 10;
constexpr int USUAL_LEVEL = 5;

struct CheckRequest {
    std::string module;        // its file
    int level = USUAL_LEVEL;   // levels 1 to this are checked
    std::string effect;        // its label without "&" or its word, in any case; empty for all
    std::string only;          // one check by its name, or all whose names begin with it and a slash; empty for all
    uint32_t seed = 1;         // of pictures, settings and messages
    std::string golden;        // level 10: a file of recorded numbers to compare with; empty for none
    std::string record;        // level 10: the file to record them in; empty for none
    double minutes = 60;       // level 9: how long
};

struct CheckReport {
    std::vector<Finding> findings;
    std::vector<std::string> notes;     // what could not be looked at, and why
    std::vector<std::string> effects;   // the module's, by their words
    int checks = 0;                     // how many were made
};

// False with one line when the module cannot be checked: there is no such file, or it is no library for this system.
bool CheckModule(const CheckRequest &request, CheckReport &report, std::string &error);

// A module of 32 bits where this program has 64 is the business of the velmorant.exe of 32 bits, which lies in the folder
// above this program's: it is started with this one's words and streams, and does all the rest. False, and no error, when
// the module is none of those; false with one line when there is no such program.
bool HandedOn(const std::string &module, int &exitCode, std::string &error);

struct HostRequest {
    std::string folder;   // with VLMAPI, VLMMISC and the program check_driver
    std::string only;     // one check by its name, or all whose names begin with it and a slash; empty for all
};

// The same for a host, whose effects stay empty.
bool CheckHost(const HostRequest &request, CheckReport &report, std::string &error);
// Ends the processes that either has started: it then returns false soon, and what it has made is gone. [any]
void StopChecking();

//---- The other end

// What the program is started with to be the process that a module is loaded in.
constexpr char INSIDE_SWITCH[] = "--check-inside";
// That process: reads what is to be done from its words and returns its exit code.
int CheckInside(int argc, char **argv);
