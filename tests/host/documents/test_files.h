// Files for the tests of picture files: made from bytes, read into a result that is easy to look at.

#pragma once

#include "host/documents/picture_file.h"
#include "tests/support/comparison.h"

#include <string>
#include <vector>

typedef std::vector<uint8_t> Bytes;

// A name in a folder of this test's own, which goes when the program ends.
std::string NameInFolder(const std::string &name);
void PutFile(const std::string &name, const Bytes &bytes);
Bytes FileBytes(const std::string &name);
// Names in the test's folder, to see that nothing is left behind.
std::vector<std::string> NamesInFolder();
void EmptyFolder();   // for who comes next in the same process

struct ReadResult {
    bool done = false;
    Picture picture;
    FileFormat format = FileFormat::UNKNOWN;
    std::vector<std::string> notices;
    std::string error;
};
ReadResult ReadFile(const std::string &name);
ReadResult ReadBytes(const Bytes &bytes);
#ifndef _WIN32
// Ends a process that a test has forked, at once; but what it has run is counted where coverage is.
[[noreturn]] void EndChild(int exitCode);
#endif
#ifdef __linux__
// From a pipe, of which nobody knows how much is to come; at most 64 KiB.
ReadResult ReadPiped(const Bytes &bytes);
// Reads a file from pipes that end after each of its bytes: the whole is a picture, and what is shorter is that picture or a
// line.
void ExpectPipesToBreakOff(const Bytes &file);
#endif

struct WriteResult {
    bool done = false;
    std::vector<std::string> notices;
    std::string error;
};
WriteResult WriteFile(const std::string &name, const Picture &picture, int quality = 90);
// Writes a picture under a name with this ending and reads it again, expecting both to succeed.
ReadResult ThereAndBack(const Picture &picture, const std::string &ending);
Bytes BytesOf(const Picture &picture, const std::string &ending);

// Little end first.
void Add16(Bytes &bytes, uint32_t value);
void Add32(Bytes &bytes, uint32_t value);
void AddText(Bytes &bytes, const std::string &text);
