// `velmorant effects`: which effects the module has, and what each can be told.

#include "host/cli/commands.h"
#include "host/cli/report.h"
#include "host/cli/setting_text.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <sstream>
#include <vector>

typedef nlohmann::ordered_json Json;

//---- For people

// In lines of at most 78 characters.
static std::string Wrapped(const std::string &text)
{
    constexpr size_t WIDTH = 78;
    std::string wrapped;
    size_t column = 0;
    std::istringstream words(text);
    for (std::string word; words >> word; column += word.size()) {
        const bool fits = column + 1 + word.size() <= WIDTH;
        if (column > 0) wrapped += fits ? ' ' : '\n';
        column = column > 0 && fits ? column + 1 : 0;
        wrapped += word;
    }
    return wrapped;
}

static void PrintSetting(const vlm_setting &setting)
{
    constexpr int COLUMN = 28;   // where meanings begin
    const std::string name = std::string("  --") + setting.name + " " + ValueText(setting);
    std::string meaning = MeaningText(setting);
    for (size_t end = meaning.find('\n'); end != std::string::npos; end = meaning.find('\n', end + 1)) {
        meaning.insert(end + 1, COLUMN, ' ');
    }
    printf("%-*s%s%s\n", COLUMN - 1, name.c_str(), " ", meaning.c_str());
}

static void PrintEffect(const vlm_effect &effect)
{
    bool kernel = false;
    printf("%s: %s\n\n%s\n\n", effect.name, effect.summary, Wrapped(effect.about).c_str());
    for (int i = 0; i < effect.setting_count; ++i) {
        PrintSetting(*vlm_effect_setting(&effect, i));
        kernel = kernel || vlm_effect_setting(&effect, i)->kind == VLM_KERNEL;
    }
    if (kernel) printf("\n\"velmorant kernels\" lists the ready-made kernels.\n");
    printf("\nExample:\n  velmorant apply %s in.png out.png %s\n", effect.name, effect.example);
}

static void PrintList()
{
    for (int i = 0; i < vlm_effect_count(); ++i)
        printf("%-18s %s\n", vlm_effect_at(i)->name, vlm_effect_at(i)->summary);
    printf("\n\"velmorant effects EFFECT\" tells what one can be told, "
           "\"velmorant apply EFFECT --help\" how to apply it.\n");
}

static std::vector<vlm_found> FindAll(const std::string &word)
{
    std::vector<vlm_found> found(size_t(vlm_effects_find(word.c_str(), nullptr, 0)));
    vlm_effects_find(word.c_str(), found.data(), int(found.size()));
    return found;
}

static int ListFound(const CommandLine &line)
{
    const std::vector<vlm_found> found = FindAll(line.match);
    if (found.empty()) {
        ReportLine(vlm_error_line());
        return EXIT_FAILED;
    }
    Json list = Json::array();
    for (const vlm_found &entry : found) {
        list.push_back({{"effect", entry.effect->name}, {"settings", entry.settings}});
        if (line.json) continue;
        printf("%-18s %s\n", entry.effect->name, entry.settings[0] ? entry.settings : entry.effect->summary);
    }
    if (line.json) printf("%s\n", list.dump(2).c_str());
    else printf("\n\"velmorant apply EFFECT IN OUT ...\" applies one with these settings.\n");
    return EXIT_DONE;
}

//---- As a page

// The choices of a setting stand in its row.
static void PrintRow(const vlm_setting &setting)
{
    std::string meaning = setting.meaning, value = ValueText(setting);
    for (int i = 0; i < setting.choice_count; ++i) {
        const vlm_choice &choice = *vlm_setting_choice(&setting, i);
        meaning += (meaning.empty() ? "`" : "<br>`") + std::string(choice.word) + "`: " + choice.meaning;
    }
    for (size_t bar = value.find('|'); bar != std::string::npos; bar = value.find('|', bar + 2)) {
        value.insert(bar, 1, '\\');
    }
    const std::string shown = setting.default_value;
    const std::string standard = setting.kind == VLM_KERNEL ? "keeps the picture"
                                 : shown.empty()            ? ""
                                                            : "`" + shown + "`";
    printf("| `--%s` | %s | %s | %s |\n", setting.name, value.c_str(), standard.c_str(), meaning.c_str());
}

static void PrintPage(const vlm_effect &effect)
{
    printf("<a id=\"%s\"></a>\n\n## %s\n\n%s\n\n", effect.name, effect.title, Wrapped(effect.about).c_str());
    printf("![%s](effects/%s.png)\n\n", effect.title, effect.name);
    printf("`velmorant apply %s in.png out.png %s`\n\n", effect.name, effect.example);
    printf("| option | value | default | meaning |\n|---|---|---|---|\n");
    for (int i = 0; i < effect.setting_count; ++i) {
        const vlm_setting &setting = *vlm_effect_setting(&effect, i);
        if (!setting.shared) PrintRow(setting);
    }
    printf("\n");
}

// Those that come with the program.
static void PrintPresets()
{
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return;
    printf("<a id=\"presets\"></a>\n\n## Presets\n\nSettings that are worth having, by name: `velmorant apply in.png "
           "out.png "
           "--preset NAME`.\n\n![the presets](presets.jpg)\n\n| preset | effect | what it is for |\n|---|---|---|\n");
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset &preset = *vlm_presets_at(presets, i);
        if (preset.shipped) printf("| `%s` | `%s` | %s |\n", preset.name, preset.effect, preset.summary);
    }
    vlm_presets_free(presets);
}

// All pages with a table of contents.
static void PrintPages()
{
    printf("# The effects\n\nEach with what it does, its parameters on the command line, and a picture made with "
           "the options below it.\nThe dialogs show the same parameters.\n\n![the picture before]"
           "(effects/before.png)\n\n");
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const vlm_effect &effect = *vlm_effect_at(i);
        printf("- [%s](#%s): %s\n", effect.title, effect.name, effect.summary);
    }
    printf("\nAnd [presets](#presets).\n\n");
    for (int i = 0; i < vlm_effect_count(); ++i) PrintPage(*vlm_effect_at(i));
    PrintPresets();
}

//---- The command

// The settings of all effects that are told of are asked for first: a line that fails leaves no half of an answer.
static bool Describe(const vlm_effect *effect) { return vlm_effects_json(effect ? effect->name : nullptr) != nullptr; }

int ListEffects(const CommandLine &line)
{
    const bool single = !line.effect.empty();
    if (vlm_effect_count() == 0) {
        ReportLine(vlm_error_line());
        return EXIT_FAILED;
    }
    if (!line.match.empty()) return ListFound(line);
    const vlm_effect *effect = single ? vlm_effect_named(line.effect.c_str()) : nullptr;
    if (single && !effect) {
        ReportLine(vlm_error_line());
        return EXIT_USAGE;
    }
    if ((single || line.json || line.markdown) && !Describe(effect)) {
        ReportLine(vlm_error_line());
        return EXIT_FAILED;
    }
    if (line.json) printf("%s\n", vlm_effects_json(single ? effect->name : nullptr));
    else if (line.markdown && single) PrintPage(*effect);
    else if (line.markdown) PrintPages();
    else if (single) PrintEffect(*effect);
    else PrintList();
    return EXIT_DONE;
}
