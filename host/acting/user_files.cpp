// Looks into the folder anew at every question, since other programs and people put files there too. Neither reads nor writes
// a file.

#include "host/acting/user_files.h"

#include "host/acting/suggestion.h"
#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

#include <algorithm>
#include <string.h>

static constexpr size_t LONGEST_NAME = 60;   // letters

std::string FolderOf(const UserFiles &kind)
{
    const std::string own = UserFolder();
    return own.empty() ? "" : NameOf(PathOf(own) / kind.folder);
}

static size_t LettersOf(const std::string &text)
{
    return size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// What Windows takes for a device, whatever ending follows: such a file could not come along there.
static bool IsDevice(const std::string &name)
{
    const std::string stem = LowerCase(name.substr(0, name.find('.')));
    for (const char *device : {"con", "prn", "aux", "nul"})
        if (stem == device) return true;
    const bool port = stem.starts_with("com") || stem.starts_with("lpt");
    return port && stem.size() == 4 && stem[3] >= '1' && stem[3] <= '9';
}

std::string FaultOfUserName(const UserFiles &kind, const std::string &name)
{
    const auto odd = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127 || strchr("/\\:*?\"<>|", c); };
    if (IsDevice(name)) return "is a name that Windows keeps for a device";
    const bool ends = name.empty() || strchr(". -", name.front()) || strchr(". ", name.back());
    if (!ends && LettersOf(name) <= LONGEST_NAME && name.size() <= 200 && std::none_of(name.begin(), name.end(), odd))
        return "";
    return std::string("is not a ") + kind.what +
           "'s name: 1..60 letters, none of / \\ : * ? \" < > |, no dot, dash or blank first, no dot or blank last";
}

std::vector<std::string> FilesOf(const UserFiles &kind)
{
    std::vector<std::string> files;
    const std::string folder = FolderOf(kind);
    if (folder.empty()) return files;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(PathOf(folder), failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = WithoutFolder(NameOf(entry->path()));
        if (name.ends_with(kind.ending) && name.size() > strlen(kind.ending)) files.push_back(NameOf(entry->path()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string NameOfUserFile(const UserFiles &kind, const std::string &file)
{
    const std::string name = WithoutFolder(file);
    return name.substr(0, name.size() - strlen(kind.ending));
}

bool SameName(const std::string &one, const std::string &other) { return LowerCase(one) == LowerCase(other); }

std::string FindUserFile(const UserFiles &kind, const std::string &name)
{
    for (const std::string &file : FilesOf(kind))
        if (SameName(NameOfUserFile(kind, file), name)) return file;
    return "";
}

std::string FileForUser(const UserFiles &kind, const std::string &name)
{
    return NameOf(PathOf(FolderOf(kind)) / PathOf(name + kind.ending));
}
