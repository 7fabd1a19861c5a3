// What kind of library a file is, told from its first bytes: whether this program's process, or one beside it, may load it.

#pragma once

#include <string>

enum class LibraryKind { OF_THIS_SYSTEM, OF_32_BITS, OTHER };

// OF_32_BITS: a library of 32-bit Windows where this program has 64. False with one line, without the file's name, when
// there is no such file or it is no library that could be checked on this system.
bool KindOfLibrary(const std::string &file, LibraryKind &kind, std::string &error);
