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

static constexpr size_t MOST_BYTES = 65536;

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

std::string RecipeOfLines(const std::vector<std::string> &lines)
{
    std::string text = RECIPE_HEAD + std::to_string(RECIPE_VERSION) + "\n";
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

bool WriteStepLines(const std::string &file, const std::vector<std::string> &lines, std::string &error)
{
    std::error_code failure;
    std::filesystem::create_directories(PathOf(file).parent_path(), failure);
    if (failure) return error = failure.message(), false;
    const std::string text = RecipeOfLines(lines);
    Sink sink;
    std::vector<std::string> notices;
    if (!OpenSink(sink, file, false, error)) return false;
    Put(sink, text.data(), text.size());
    return FinishSink(sink, notices, error);
}

std::vector<PresetLine> PresetLines()
{
    std::vector<PresetLine> lines;
    const std::vector<std::string> files = FilesOf(PRESET_FILES);
    const auto hidden = [&files](const char *name) {
        return std::any_of(files.begin(), files.end(), [name](const std::string &file) {
            return SameName(NameOfUserFile(PRESET_FILES, file), name);
        });
    };
    for (const ShippedPreset &entry : ShippedPresets())
        if (!hidden(entry.name)) lines.push_back({entry.name, "", entry.summary, entry.line});
    for (const std::string &file : files) {
        PresetLine saved = {NameOfUserFile(PRESET_FILES, file), file, "", ""};
        if (ReadStepLine(file, saved.line, saved.summary)) lines.push_back(saved);
    }
    return lines;
}
