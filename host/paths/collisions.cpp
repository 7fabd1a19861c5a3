// Finds names that are one file. Where the files are there the system knows; of others it picks those that look alike
// roughly, and lets the file system itself decide by making files of these names in a folder of its own, which is gone
// afterwards. Neither opens nor changes a file that is there already.

#include "host/paths/collisions.h"

#include "host/paths/paths.h"
#include "host/paths/replacement.h"

#include <map>
#include <system_error>

namespace fs = std::filesystem;

// Equal for names that might be one file: without capitals, without letters beyond ASCII, whose capitals are the file
// system's to know, and without the dots and blanks at the end that Windows drops.
static std::string RoughlyOf(const std::string &name)
{
    std::string rough;
    for (const char letter : name) {
        if (letter >= 'A' && letter <= 'Z') rough += char(letter - 'A' + 'a');
        else if (static_cast<unsigned char>(letter) < 128) rough += letter;
    }
    while (rough.ends_with('.') || rough.ends_with(' ')) rough.pop_back();
    return rough;
}

// A folder to try names in, gone with this.
struct Trial {
    fs::path folder;
    explicit Trial(const std::string &within)
    {
        const fs::path name = TemporaryBeside(PathOf(within) / "name");
        std::error_code failure;
        if (fs::create_directory(name, failure)) folder = name;
    }
    Trial(const Trial &) = delete;
    Trial &operator=(const Trial &) = delete;
    ~Trial()
    {
        std::error_code ignored;
        if (!folder.empty()) fs::remove_all(folder, ignored);
    }
    // Whether a name tried before is this one. An entry that is a folder is never taken for new when it is there.
    bool Has(const std::string &name)
    {
        std::error_code failure;
        return !folder.empty() && !fs::create_directory(folder / PathOf(name), failure) && !failure;
    }
};

// Of some of the names, by their places.
static std::pair<size_t, size_t> TryOut(const std::string &folder, const std::vector<std::string> &names,
                                        const std::vector<size_t> &places)
{
    Trial trial(folder);
    for (const size_t later : places) {
        if (!trial.Has(names[later])) continue;
        for (const size_t earlier : places) {
            Trial pair(folder);
            if (earlier < later && !pair.Has(names[earlier]) && pair.Has(names[later])) return {earlier, later};
        }
    }
    return {0, 0};
}

std::pair<size_t, size_t> NamesOfOneFile(const std::string &folder, const std::vector<std::string> &names)
{
    std::map<std::string, size_t> seen;
    std::map<std::string, std::vector<size_t>> alike;
    for (size_t i = 0; i < names.size(); ++i) {
        const auto [entry, isNew] = seen.try_emplace(names[i], i);
        if (!isNew) return {entry->second, i};
        alike[RoughlyOf(names[i])].push_back(i);
    }
    for (const auto &[rough, places] : alike) {
        if (places.size() < 2) continue;
        const std::pair<size_t, size_t> found = TryOut(folder, names, places);
        if (found.second) return found;
    }
    return {0, 0};
}

bool AreOneFile(const std::string &one, const std::string &other)
{
    if (one == "-" || other == "-") return one == other;
    std::error_code failure;
    const fs::path first = FollowLinks(PathOf(one)), second = FollowLinks(PathOf(other));
    const bool both = fs::exists(first, failure) && fs::exists(second, failure);
    if (both && fs::equivalent(first, second, failure)) return fs::is_regular_file(first, failure);
    const auto folderOf = [](const fs::path &file) {
        return file.has_parent_path() ? file.parent_path() : fs::path(".");
    };
    if (!fs::equivalent(folderOf(first), folderOf(second), failure) || failure) return false;
    const std::string folder = NameOf(folderOf(first));
    return !both && NamesOfOneFile(folder, {NameOf(first.filename()), NameOf(second.filename())}).second != 0;
}
