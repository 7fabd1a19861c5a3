// What the editor knows from the last time: recent files, where its window stood, the folder that files came from. A
// line each, "name=value", in the user's own folder. What cannot be read or written is no reason to disturb anyone.

#pragma once

#include <string>
#include <vector>

// Empty when nothing is known.
std::string Remembered(const std::string &name);
void Remember(const std::string &name, const std::string &value);

constexpr size_t MOST_RECENT = 10;
// The newest first.
std::vector<std::string> RecentFiles();
void RememberFile(const std::string &file);
void ForgetFile(const std::string &file);
