// The command line's own lists, as CLI11 has them: for completion and the manual.

#pragma once

#include <string>
#include <vector>

struct ListedOption {
    std::string usage, meaning;   // "--seed N" and what it is for
};

// In the order of the help.
std::vector<std::string> CommandNames();
std::string MeaningOf(const std::string &command);
// What stands below its options: more of it, and examples. Empty for none.
std::string NotesOf(const std::string &command);
// What follows a command's name.
std::string UsageOf(const std::string &command);
// Of a command, or of an effect within one: {"apply"}, {"batch", "wave"}. Empty for others.
std::vector<ListedOption> OptionsOf(const std::vector<std::string> &commands);
std::vector<std::string> OptionNamesOf(const std::vector<std::string> &commands);
