// Names that a folder takes for one file, though they differ: capitals that it does not tell apart, and whatever else its
// file system ignores.

#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The places of two names that would be one file in a folder, the later one second; {0, 0} when there are none. Only
// names that some file system might confuse are tried out, in a folder made within this one for the moment: nothing else
// knows what a file system thinks. Where that cannot be made only equal names are one. [any]
std::pair<size_t, size_t> NamesOfOneFile(const std::string &folder, const std::vector<std::string> &names);
