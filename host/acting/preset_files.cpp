// Where presets lie and what their files say, line by line. What is shipped is shipped_presets.cpp's; recipes of many
// steps, and the checking of values, are the library's.

#include "host/acting/preset_files.h"

#include "host/acting/shipped_presets.h"
#include "host/acting/suggestion.h"
#include "host/documents/files/streams.h"
#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

#include <algorithm>
#include <string.h>

static constexpr char ENDING[] = ".recipe";
static constexpr size_t LONGEST_NAME = 60;   // letters
static constexpr size_t MOST_BYTES = 65536;

//---- Names

std::string PresetFolder()
{
    const std::string own = UserFolder();
    return own.empty() ? "" : NameOf(PathOf(own) / "presets");
}

static size_t LettersOf(const std::string &text)
{
    return size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string FaultOfPresetName(const std::string &name)
{
    const auto odd = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127 || strchr("/\\:*?\"<>|", c); };
    const bool ends = name.empty() || strchr(". -", name.front()) || strchr(". ", name.back());
    if (!ends && LettersOf(name) <= LONGEST_NAME && name.size() <= 200 && std::none_of(name.begin(), name.end(), odd))
        return "";
    return "is not a preset's name: 1..60 letters, none of / \\ : * ? \" < > |, no dot, dash or blank first, "
           "no dot or blank last";
}

bool SamePresetName(const std::string &one, const std::string &other) { return LowerCase(one) == LowerCase(other); }

//---- Files

std::string FileForPreset(const std::string &name) { return NameOf(PathOf(PresetFolder()) / PathOf(name + ENDING)); }

std::vector<std::string> PresetFiles()
{
    std::vector<std::string> files;
    const std::string folder = PresetFolder();
    if (folder.empty()) return files;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(PathOf(folder), failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = WithoutFolder(NameOf(entry->path()));
        if (name.ends_with(ENDING) && name.size() > sizeof ENDING - 1) files.push_back(NameOf(entry->path()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string NameOfPresetFile(const std::string &file)
{
    const std::string name = WithoutFolder(file);
    return name.substr(0, name.size() - (sizeof ENDING - 1));
}

std::string PresetFileOf(const std::string &name)
{
    for (const std::string &file : PresetFiles())
        if (SamePresetName(NameOfPresetFile(file), name)) return file;
    return "";
}

//---- Their one step

static bool ReadWhole(const std::string &file, std::string &text)
{
    FILE *stream = OpenByName(file, "rb");
    if (!stream) return false;
    char bytes[4096];
    for (size_t count; (count = fread(bytes, 1, sizeof bytes, stream)) > 0 && text.size() <= MOST_BYTES;)
        text.append(bytes, count);
    const bool read = !ferror(stream) && text.size() <= MOST_BYTES;
    fclose(stream);
    return read;
}

static std::string Trimmed(const std::string &text, const char *away)
{
    const size_t start = text.find_first_not_of(away), end = text.find_last_not_of(away);
    return start == std::string::npos ? "" : text.substr(start, end - start + 1);
}

bool ReadStepLine(const std::string &file, std::string &line, std::string &comment)
{
    std::string text;
    bool begun = false;
    if (!ReadWhole(file, text)) return false;
    for (size_t start = 0, end; start < text.size(); start = end + 1) {
        end = std::min(text.find('\n', start), text.size());
        const std::string one = Trimmed(text.substr(start, end - start), " \t\r");
        if (one.starts_with('#') && comment.empty()) comment = Trimmed(one, "# \t");
        if (one.empty() || one.starts_with('#')) continue;
        if (begun) return line = one, true;
        if (one != RECIPE_HEAD + std::to_string(RECIPE_VERSION)) return false;
        begun = true;
    }
    return false;
}

bool WriteStepLine(const std::string &file, const std::string &line, std::string &error)
{
    std::error_code failure;
    std::filesystem::create_directories(PathOf(file).parent_path(), failure);
    if (failure) return error = failure.message(), false;
    const std::string text = RECIPE_HEAD + std::to_string(RECIPE_VERSION) + "\n" + line + "\n";
    Sink sink;
    std::vector<std::string> notices;
    if (!OpenSink(sink, file, false, error)) return false;
    Put(sink, text.data(), text.size());
    return FinishSink(sink, notices, error);
}

std::vector<PresetLine> PresetLines()
{
    std::vector<PresetLine> lines;
    const std::vector<std::string> files = PresetFiles();
    const auto hidden = [&files](const char *name) {
        return std::any_of(files.begin(), files.end(),
                           [name](const std::string &file) { return SamePresetName(NameOfPresetFile(file), name); });
    };
    for (const ShippedPreset &entry : ShippedPresets())
        if (!hidden(entry.name)) lines.push_back({entry.name, "", entry.summary, entry.line});
    for (const std::string &file : files) {
        PresetLine saved = {NameOfPresetFile(file), file, "", ""};
        if (ReadStepLine(file, saved.line, saved.summary)) lines.push_back(saved);
    }
    return lines;
}
