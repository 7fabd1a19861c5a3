// A file that is written beside its target and takes the target's place when it is whole. Until then the target is as it
// was, whatever ends the program; what a program that was killed leaves is taken away by the next that writes into the
// same folder.
//
// [any] thread may call these, one at a time for each record.

#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

struct Replacement {
    FILE *file = nullptr;               // to be written to; from its first byte with the target's mode
    std::filesystem::path target;       // at the end of all links; it need not be there
    std::filesystem::path temporary;    // removed without asking for memory
    std::vector<std::string> notices;   // what of the target's the new file does not have
    Replacement *earlier = nullptr;     // of those under way
    Replacement() = default;
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;
    ~Replacement();   // one that is not finished is dropped
};

// Opens a new file beside the one of a name, with that one's mode, owner, group and attributes where the system allows
// it. A target that may not be written to is not replaced either. May throw std::bad_alloc, and then leaves nothing.
std::error_code BeginReplacement(Replacement &replacement, const std::string &name);
// Brings the file to the disk and puts it in the target's place; drops it when either fails.
std::error_code FinishReplacement(Replacement &replacement);
void DropReplacement(Replacement &replacement);
// For a program that ends at once: removes all that have not been finished, and lets none begin or finish any more.
// Whoever tries to waits for ever.
void DropAllReplacements();

// A name in a folder that a program which writes there later takes for a leftover once this one has gone.
std::filesystem::path TemporaryBeside(const std::filesystem::path &target);

// Where a name leads: a link stays a link when its file is replaced, also one whose target is yet to be made.
std::filesystem::path FollowLinks(std::filesystem::path path);
