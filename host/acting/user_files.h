// Files by name in folders of the user's own: which there are, where one is or would be, what may be a name. Letters' case
// does not count in names. What stands in the files is others' to know.

#pragma once

#include <string>
#include <vector>

// A kind of them: its folder within the user's own, the ending of its files, and what a person calls one.
struct UserFiles {
    const char *folder, *ending, *what;
};

// Empty where the system names no folder of the user's own. It need not exist.
std::string FolderOf(const UserFiles &kind);
std::vector<std::string> FilesOf(const UserFiles &kind);
std::string NameOfUserFile(const UserFiles &kind, const std::string &file);
// The file of that name; empty when there is none.
std::string FindUserFile(const UserFiles &kind, const std::string &name);
// The file that one of that name would have.
std::string FileForUser(const UserFiles &kind, const std::string &name);
// A name becomes a file's on every system. Empty when it can, else what is wrong.
std::string FaultOfUserName(const UserFiles &kind, const std::string &name);
bool SameName(const std::string &one, const std::string &other);
