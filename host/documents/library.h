// Libraries loaded at run time, and where this program stands.

#pragma once

#include <string>

// Loads a library. Null with one line when it cannot be.
void *OpenLibrary(const std::string &file, std::string &error);
// The address behind an exported name; null when there is none.
void *FindName(void *library, const char *name);
void CloseLibrary(void *library);
// The folder that the running program's file is in.
std::string ProgramFolder();
