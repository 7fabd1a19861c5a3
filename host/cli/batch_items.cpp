// Lists a batch's pictures: looks into folders, reads lists of files, gives every output its name and refuses what would
// be written over another. Opens no picture; what is in a file is found out when its turn comes.

#include "host/cli/batch_items.h"

#include "host/cli/report.h"
#include "host/library/velmorant.h"
#include "host/paths/collisions.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>

namespace fs = std::filesystem;

static bool Fail(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

//---- Inputs

static bool IsPicture(const fs::path &path)
{
    return vlm_format_of_file(NameOf(path.filename()).c_str()) && !NameOf(path.filename()).starts_with('.');
}

// By name, so that a batch that goes on later counts its seeds alike.
template <typename Walk> static void FindPictures(Walk walk, const fs::path &skipped, std::vector<fs::path> &found)
{
    std::error_code failure;
    for (const Walk end; walk != end; walk.increment(failure)) {
        if (failure) break;
        std::error_code ignored;
        if constexpr (requires { walk.disable_recursion_pending(); }) {
            const bool hidden = NameOf(walk->path().filename()).starts_with('.');
            if (walk->is_directory(ignored) && (hidden || fs::equivalent(walk->path(), skipped, ignored)))
                walk.disable_recursion_pending();
        }
        if (walk->is_regular_file(ignored) && IsPicture(walk->path())) found.push_back(walk->path());
    }
    std::sort(found.begin(), found.end());
}

static bool AddFolder(const CommandLine &line, const std::string &input, std::vector<BatchEntry> &entries)
{
    std::error_code failure;
    const fs::path folder = PathOf(input), output = PathOf(line.outputFolder);
    if (fs::equivalent(folder, output, failure)) return Fail(input, "is the output folder itself");
    std::vector<fs::path> found;
    if (line.recursive) FindPictures(fs::recursive_directory_iterator(folder, failure), output, found);
    else FindPictures(fs::directory_iterator(folder, failure), output, found);
    if (failure) return Fail(input, failure.message());
    if (found.empty())
        return Fail(input, line.recursive ? "there are no pictures in this folder"
                                          : "there are no pictures in this folder itself; --recursive looks further");
    for (const fs::path &path : found) entries.push_back({NameOf(path), NameOf(path.lexically_relative(folder))});
    return true;
}

// One name a line; where zero bytes are, these end the names, as find -print0 has it.
static bool ReadNames(const std::string &file, std::vector<std::string> &names)
{
    FILE *stream = file == "-" ? stdin : OpenByName(file, "rb");
    if (!stream) return Fail(file, "cannot be read");
    std::string text;
    char bytes[65536];
    for (size_t count; (count = fread(bytes, 1, sizeof bytes, stream)) > 0;) text.append(bytes, count);
    const bool failed = ferror(stream) != 0;
    if (stream != stdin) fclose(stream);
    if (failed) return Fail(InputName(file), "cannot be read");
    const char end = text.find('\0') == std::string::npos ? '\n' : '\0';
    for (size_t start = 0; start < text.size();) {
        const size_t stop = std::min(text.find(end, start), text.size());
        std::string name = text.substr(start, stop - start);
        if (end == '\n' && name.ends_with('\r')) name.pop_back();
        if (!name.empty()) names.push_back(name);
        start = stop + 1;
    }
    return true;
}

//---- Names

// With --suffix before the ending, and the ending of --format.
static std::string OutputName(const CommandLine &line, const std::string &name)
{
    fs::path path = PathOf(name);
    std::string ending = NameOf(path.extension());
    if (!line.format.empty()) {
        // "tiff" is a format, and its files end in ".tif"; "pam" and "ppm" are endings of one.
        const vlm_format *format = vlm_format_named(line.format.c_str());
        const std::string endings = format->endings;
        std::string told = line.format;
        std::transform(told.begin(), told.end(), told.begin(),
                       [](unsigned char letter) { return char(tolower(letter)); });
        const bool one = told != format->name && (" " + endings + " ").find(" " + told + " ") != std::string::npos;
        ending = "." + (one ? told : endings.substr(0, endings.find(' ')));
    }
    path.replace_filename(PathOf(NameOf(path.stem()) + line.suffix + ending));
    return NameOf(path);
}

std::string OutputOf(const CommandLine &line, const BatchEntry &entry)
{
    return NameOf(PathOf(line.outputFolder) / PathOf(entry.name));
}

// Folder by folder: only there can names be one file.
static bool CheckNames(const CommandLine &line, const std::vector<BatchEntry> &entries)
{
    std::error_code ignored;
    std::map<std::string, std::vector<size_t>> folders;
    for (size_t i = 0; i < entries.size(); ++i) folders[NameOf(PathOf(entries[i].name).parent_path())].push_back(i);
    // A folder to try names in: the output folder, or what it will be made in.
    fs::path trial = fs::absolute(PathOf(line.outputFolder), ignored);
    while (!fs::is_directory(trial, ignored) && trial.has_relative_path()) trial = trial.parent_path();
    for (const auto &[folder, places] : folders) {
        std::vector<std::string> names;
        for (const size_t place : places) names.push_back(WithoutFolder(entries[place].name));
        const auto [one, other] = NamesOfOneFile(NameOf(trial), names);
        if (other) {
            return Fail(entries[places[other]].input,
                        "would be written to one file with another input, " + entries[places[one]].input);
        }
    }
    return true;
}

bool ListBatch(const CommandLine &line, std::vector<BatchEntry> &entries)
{
    std::error_code ignored;
    const fs::path output = PathOf(line.outputFolder);
    if (fs::exists(output, ignored) && !fs::is_directory(output, ignored))
        return Fail(line.outputFolder, "is not a folder");
    if (!line.format.empty() && !vlm_format_named(line.format.c_str())) {
        Report("--format", vlm_error_line());
        return false;
    }
    if (line.suffix.find_first_of("/\\") != std::string::npos)
        return Fail("--suffix", "is part of a name, not a folder");
    std::vector<std::string> inputs = line.inputs;
    if (!line.filesFrom.empty() && !ReadNames(line.filesFrom, inputs)) return false;
    for (const std::string &input : inputs) {
        if (input == "-") return Fail("-", "a batch reads files, not standard input");
        if (!fs::is_directory(PathOf(input), ignored)) entries.push_back({input, WithoutFolder(input)});
        else if (!AddFolder(line, input, entries)) return false;
    }
    if (entries.empty()) return Fail("batch", "there are no pictures to work on");
    for (BatchEntry &entry : entries) {
        entry.name = OutputName(line, entry.name);
        if (fs::equivalent(PathOf(entry.input), PathOf(OutputOf(line, entry)), ignored))
            return Fail(entry.input, "would be written over; name another output folder");
    }
    return CheckNames(line, entries);
}
