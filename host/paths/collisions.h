// Names that are one file, though they differ: spellings and links, capitals that a folder does not tell apart, and
// whatever else its file system ignores.

#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The places of two names that would be one file in a folder, the later one second; {0, 0} when there are none. Only
// names that some file system might confuse are tried out, in a folder made within this one for the moment: nothing else
// knows what a file system thinks. Where that cannot be made only equal names are one. [any]
std::pair<size_t, size_t> NamesOfOneFile(const std::string &folder, const std::vector<std::string> &names);
// Whether two names are, or would be, one file: by whatever spelling, through links, or where a folder does not tell
// capitals apart. What is written to in passing, as a device or a pipe, is none; "-" is one with itself alone. [any]
bool AreOneFile(const std::string &one, const std::string &other);
