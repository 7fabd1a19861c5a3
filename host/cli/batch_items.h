// Which pictures a batch takes, and under which name each goes into the output folder.

#pragma once

#include "host/cli/command_line.h"

struct BatchEntry {
    std::string input;
    std::string name;   // of the output, within the output folder; with folders where the input was found in one
};

// The inputs of the command line and of --files-from, folders' pictures by name. Nothing is made or changed but a trial
// of names (NamesOfOneFile). False after a line: an input that cannot be, names that are one file, nothing to do.
bool ListBatch(const CommandLine &line, std::vector<BatchEntry> &entries);
// The output's path.
std::string OutputOf(const CommandLine &line, const BatchEntry &entry);
