// Files' names. Inside the program a name is UTF-8 in a std::string; what the system gets is a path made of it here. On
// Windows that is wide: std::filesystem takes the bytes of a narrow name for a letter each there, and the C library's
// fopen takes them for letters of a code page. Every name goes through these routines, on every system.
//
// [any] thread may call them.

#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

// A path for the system. What is no UTF-8 becomes a name that no file has on Windows, and stays as it is elsewhere.
std::filesystem::path PathOf(const std::string &name);
// And back, with the system's own separators.
std::string NameOf(const std::filesystem::path &path);
// The last part of a name: without its folder.
std::string WithoutFolder(const std::string &name);
// As fopen.
FILE *OpenByName(const std::string &name, const char *mode);

#ifdef _WIN32
std::wstring WideOf(const std::string &text);
std::string Utf8Of(const std::wstring &wide);
#endif
