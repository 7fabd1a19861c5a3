// `velmorant presets`: which there are, and keeping, renaming, deleting, importing and exporting them. Where they are
// kept is the library's to know.

#include "host/cli/commands.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/paths/paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>

typedef nlohmann::ordered_json Json;
typedef std::unique_ptr<vlm_presets, void (*)(vlm_presets *)> PresetsPointer;

static int ExitOf(vlm_code code, bool mayReplace = false)
{
    if (code == VLM_OK) return EXIT_DONE;
    const std::string line = vlm_error_line();
    ReportLine(line.ends_with("is a preset already") && mayReplace ? line + "; --replace writes over it" : line);
    return EXIT_FAILED;
}

//---- Lists

static Json JsonOf(const vlm_preset &preset)
{
    Json json = {{"name", preset.name}, {"effect", preset.effect}, {"summary", preset.summary}};
    json[preset.fault ? "error" : "step"] = preset.line;
    json["shipped"] = preset.shipped != 0;
    return json;
}

static void PrintJson(const std::vector<const vlm_preset *> &presets)
{
    Json list = Json::array();
    for (const vlm_preset *preset : presets) list.push_back(JsonOf(*preset));
    printf("%s\n", list.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

// Of a name in UTF-8.
static size_t LettersOf(const std::string &name)
{
    return size_t(std::count_if(name.begin(), name.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

static void PrintList(const std::vector<const vlm_preset *> &presets)
{
    size_t names = 4;
    for (const vlm_preset *preset : presets) names = std::max(names, LettersOf(preset->name));
    for (const vlm_preset *preset : presets) {
        const std::string text = preset->fault ? std::string("cannot be read: ") + preset->line : preset->summary;
        const int width = int(names - LettersOf(preset->name) + strlen(preset->name));   // printf counts bytes
        printf("%-*s  %-18s %s\n", width, preset->name, preset->effect, text.c_str());
    }
    printf("\n\"velmorant presets show NAME\" prints one, \"velmorant apply IN OUT --preset NAME\" applies it.\n");
}

static int List(const CommandLine &line)
{
    const char *effect = line.words.empty() ? nullptr : line.words[0].c_str();
    if (effect && !vlm_effect_named(effect)) {
        ReportLine(vlm_error_line());
        return EXIT_USAGE;
    }
    vlm_presets *all = nullptr;
    if (const vlm_code code = vlm_presets_read(&all)) return ExitOf(code);
    const PresetsPointer owner(all, vlm_presets_free);
    std::vector<const vlm_preset *> presets;
    for (int i = 0; i < vlm_presets_count(all); ++i) {
        const vlm_preset *preset = vlm_presets_at(all, i);
        if (!effect || std::string(effect) == preset->effect) presets.push_back(preset);
    }
    if (line.json) PrintJson(presets);
    else PrintList(presets);
    return EXIT_DONE;
}

//---- Actions

static int Show(const std::string &name, const CommandLine &line)
{
    if (!line.json) return ExitOf(vlm_preset_export(name.c_str(), "-"));
    vlm_presets *all = nullptr;
    if (const vlm_code code = vlm_presets_read(&all)) return ExitOf(code);
    const PresetsPointer owner(all, vlm_presets_free);
    const vlm_preset *preset = vlm_presets_named(all, name.c_str());
    if (!preset) return ExitOf(vlm_error_code());
    printf("%s\n", JsonOf(*preset).dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return EXIT_DONE;
}

static int Save(const CommandLine &line, const std::vector<std::string> &words)
{
    const StepsPointer steps(vlm_steps_new());
    std::vector<const char *> texts;
    for (size_t i = 1; i < words.size(); ++i) texts.push_back(words[i].c_str());
    if (const vlm_code code = vlm_steps_add_words(steps.get(), int(texts.size()), texts.data())) return ExitOf(code);
    return ExitOf(vlm_preset_save(words[0].c_str(), steps.get(), line.summary.c_str(), line.replace), true);
}

static int Import(const CommandLine &line, const std::vector<std::string> &words)
{
    const std::string name = words.size() > 1 ? words[1] : NameOf(PathOf(words[0]).stem());
    return ExitOf(vlm_preset_import(words[0].c_str(), name.c_str(), line.summary.c_str(), line.replace), true);
}

struct Action {
    const char *name;
    size_t least, most;   // words behind it
    const char *usage;
};

static constexpr Action actions[] = {
    {"show", 1, 1, "NAME"},
    {"save", 2, SIZE_MAX, "NAME EFFECT [--PARAMETER VALUE]..."},
    {"rename", 2, 2, "NAME NEW-NAME"},
    {"delete", 1, 1, "NAME"},
    {"import", 1, 2, "FILE [NAME]"},
    {"export", 2, 2, "NAME FILE"},
};

// An action's own options may stand anywhere among its words.
static CommandLine TakeOptions(CommandLine line)
{
    std::vector<std::string> words;
    for (size_t i = 0; i < line.words.size(); ++i) {
        const std::string &word = line.words[i];
        if (word == "--json") line.json = true;
        else if (word == "--replace") line.replace = true;
        else if (word == "--summary" && i + 1 < line.words.size()) line.summary = line.words[++i];
        else if (word.starts_with("--summary=")) line.summary = word.substr(strlen("--summary="));
        else words.push_back(word);
    }
    line.words = words;
    return line;
}

int DoPresets(const CommandLine &given)
{
    CommandLine line = TakeOptions(given);
    const Action *action = nullptr;
    for (const Action &entry : actions)
        if (!line.words.empty() && line.words[0] == entry.name) action = &entry;
    if (!action && line.words.size() <= 1) return List(line);
    const std::vector<std::string> words(line.words.begin() + 1, line.words.end());
    if (!action || words.size() < action->least || words.size() > action->most) {
        Report("presets " + line.words[0], action
                                               ? "is given as velmorant presets " + line.words[0] + " " + action->usage
                                               : "is none of show, save, rename, delete, import and export");
        return EXIT_USAGE;
    }
    const std::string name = action->name;
    if (name == "show") return Show(words[0], line);
    if (name == "save") return Save(line, words);
    if (name == "rename") return ExitOf(vlm_preset_rename(words[0].c_str(), words[1].c_str()));
    if (name == "delete") return ExitOf(vlm_preset_delete(words[0].c_str()));
    return name == "import" ? Import(line, words) : ExitOf(vlm_preset_export(words[0].c_str(), words[1].c_str()));
}
