// Libraries loaded at run time, and where this program stands.

#pragma once

#include <string>

// Loads a library. Null with one line when it cannot be.
void *OpenLibrary(const std::string &file, std::string &error);
// The address behind an exported name; null when there is none.
void *FindName(void *library, const char *name);
void CloseLibrary(void *library);
// The file that an address of code was loaded from, with links followed; empty when the system does not tell.
std::string FileOfCode(const void *address);
// The running program's file, and the folder that it is in.
std::string ProgramFile();
std::string ProgramFolder();
