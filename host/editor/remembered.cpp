// See remembered.h. The file is read anew at every question and written beside itself first; it is small.

#include "host/editor/remembered.h"

#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

#include <algorithm>
#include <fstream>
#include <map>

typedef std::map<std::string, std::string> Lines;

static std::filesystem::path FilePath()
{
    const std::string folder = UserFolder();
    return folder.empty() ? std::filesystem::path() : PathOf(folder) / "editor.settings";
}

// Another editor may have written since: read anew each time.
static Lines ReadLines()
{
    Lines lines;
    std::string line;
    std::ifstream file(FilePath(), std::ios::binary);
    while (lines.size() < 1000 && std::getline(file, line)) {
        const size_t sign = line.find('=');
        if (sign != std::string::npos) lines[line.substr(0, sign)] = line.substr(sign + 1);
    }
    return lines;
}

// Beside it first, so that a full disk leaves what was.
static void WriteLines(const Lines &lines)
{
    const std::filesystem::path path = FilePath();
    if (path.empty()) return;
    std::error_code failure;
    std::filesystem::create_directories(path.parent_path(), failure);
    const std::filesystem::path beside = path.parent_path() / "editor.settings.new";
    {
        std::ofstream file(beside, std::ios::binary);
        for (const auto &[name, value] : lines) file << name << '=' << value << '\n';
        file.flush();
        if (!file) return;
    }
    std::filesystem::rename(beside, path, failure);
}

std::string Remembered(const std::string &name)
{
    const Lines lines = ReadLines();
    const auto found = lines.find(name);
    return found == lines.end() ? "" : found->second;
}

void Remember(const std::string &name, const std::string &value)
{
    Lines lines = ReadLines();
    if (lines[name] == value) return;
    lines[name] = value;
    std::erase_if(lines, [](const auto &line) { return line.second.empty(); });
    WriteLines(lines);
}

//---- Recent files

static std::string NameOfRecent(size_t number) { return "recent" + std::to_string(number); }

std::vector<std::string> RecentFiles()
{
    const Lines lines = ReadLines();
    std::vector<std::string> files;
    for (size_t i = 0; i < MOST_RECENT; ++i) {
        const auto found = lines.find(NameOfRecent(i));
        if (found != lines.end() && !found->second.empty()) files.push_back(found->second);
    }
    return files;
}

static void KeepRecent(const std::vector<std::string> &files)
{
    Lines lines = ReadLines();
    for (size_t i = 0; i < MOST_RECENT; ++i) {
        if (i < files.size()) lines[NameOfRecent(i)] = files[i];
        else lines.erase(NameOfRecent(i));
    }
    WriteLines(lines);
}

void RememberFile(const std::string &file)
{
    if (file.find_first_of("\r\n") != std::string::npos) return;
    std::vector<std::string> files = RecentFiles();
    std::erase(files, file);
    files.insert(files.begin(), file);
    KeepRecent(files);
}

void ForgetFile(const std::string &file)
{
    std::vector<std::string> files = RecentFiles();
    std::erase(files, file);
    KeepRecent(files);
}
