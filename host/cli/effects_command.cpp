// `velmorant effects`: which effects the module has, and what each can be told.

#include "host/cli/commands.h"
#include "host/cli/effect_description.h"
#include "host/cli/report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

typedef nlohmann::ordered_json Json;

//---- For programs

static Json DefaultJson(const ParameterDescription &parameter)
{
    if (parameter.kind == ParameterKind::NUMBER) return std::stoi(parameter.shown);
    if (parameter.kind == ParameterKind::FILE_NAME) return nullptr;
    if (!HasRange(parameter.kind)) return parameter.shown;
    Json numbers = Json::array();
    std::istringstream texts(parameter.shown);
    for (int number; texts >> number;) numbers.push_back(number);
    return numbers;
}

static Json ParameterJson(const ParameterDescription &parameter)
{
    static const char *const kinds[] = {"number", "numbers", "kernel", "choice", "switch", "colour", "file"};
    Json json = {{"name", parameter.name}, {"kind", kinds[int(parameter.kind)]}, {"default", DefaultJson(parameter)}};
    if (HasRange(parameter.kind)) {
        json["minimum"] = parameter.low;
        json["maximum"] = parameter.high;
    }
    for (const ChoiceDescription &choice : parameter.choices) {
        json["choices"].push_back({{"word", choice.word}, {"number", choice.number}, {"meaning", choice.meaning}});
    }
    if (!parameter.meaning.empty()) json["meaning"] = parameter.meaning;
    return json;
}

static Json EffectJson(const EffectDescription &effect)
{
    Json json = {{"name", effect.name},
                 {"summary", effect.summary},
                 {"about", effect.about},
                 {"example", effect.example},
                 {"parameters", Json::array()}};
    for (const ParameterDescription &parameter : effect.parameters) {
        json["parameters"].push_back(ParameterJson(parameter));
    }
    return json;
}

static void PrintJson(const std::vector<EffectDescription> &effects, bool single)
{
    Json json = Json::array();
    for (const EffectDescription &effect : effects) json.push_back(EffectJson(effect));
    printf("%s\n", (single ? json[0] : json).dump(2).c_str());
}

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

static void PrintParameter(const ParameterDescription &parameter)
{
    constexpr int COLUMN = 28;   // where meanings begin
    const std::string name = "  --" + parameter.name + " " + ValueText(parameter);
    std::string meaning = MeaningText(parameter);
    for (size_t end = meaning.find('\n'); end != std::string::npos; end = meaning.find('\n', end + 1)) {
        meaning.insert(end + 1, COLUMN, ' ');
    }
    printf("%-*s%s%s\n", COLUMN - 1, name.c_str(), " ", meaning.c_str());
}

static void PrintEffect(const EffectDescription &effect)
{
    printf("%s: %s\n\n%s\n\n", effect.name.c_str(), effect.summary.c_str(), Wrapped(effect.about).c_str());
    for (const ParameterDescription &parameter : effect.parameters) PrintParameter(parameter);
    const bool kernel =
        std::any_of(effect.parameters.begin(), effect.parameters.end(),
                    [](const ParameterDescription &parameter) { return parameter.kind == ParameterKind::KERNEL; });
    if (kernel) printf("\n\"velmorant kernels\" lists the ready-made kernels.\n");
    printf("\nExample:\n  velmorant apply %s in.png out.png %s\n", effect.name.c_str(), effect.example.c_str());
}

static void PrintList(const std::vector<EffectDescription> &effects)
{
    for (const EffectDescription &effect : effects) {
        printf("%-18s %s\n", effect.name.c_str(), effect.summary.c_str());
    }
    printf("\n\"velmorant effects EFFECT\" tells what one can be told, "
           "\"velmorant apply EFFECT --help\" how to apply it.\n");
}

//---- As a page

static std::string Title(const EffectDescription &effect) { return FindEffectTemplate(effect.name.c_str())->title; }

// The choices of a parameter stand in its row.
static void PrintRow(const ParameterDescription &parameter)
{
    std::string meaning = parameter.meaning, value = ValueText(parameter);
    for (const ChoiceDescription &choice : parameter.choices) {
        meaning += (meaning.empty() ? "`" : "<br>`") + choice.word + "`: " + choice.meaning;
    }
    for (size_t bar = value.find('|'); bar != std::string::npos; bar = value.find('|', bar + 2)) {
        value.insert(bar, 1, '\\');
    }
    const std::string standard = parameter.kind == ParameterKind::KERNEL ? "keeps the picture"
                                 : parameter.shown.empty()               ? ""
                                                                         : "`" + parameter.shown + "`";
    printf("| `--%s` | %s | %s | %s |\n", parameter.name.c_str(), value.c_str(), standard.c_str(), meaning.c_str());
}

// One page, or all of them with a table of contents.
static void PrintPages(const std::vector<EffectDescription> &effects, bool single)
{
    if (!single) {
        printf("# The effects\n\nEach with what it does, its parameters on the command line, and a picture made with "
               "the options below it.\nThe dialogs show the same parameters.\n\n![the picture before]"
               "(effects/before.png)\n\n");
        for (const EffectDescription &effect : effects) {
            printf("- [%s](#%s): %s\n", Title(effect).c_str(), effect.name.c_str(), effect.summary.c_str());
        }
        printf("\n");
    }
    for (const EffectDescription &effect : effects) {
        const std::string title = Title(effect), &name = effect.name;
        printf("<a id=\"%s\"></a>\n\n## %s\n\n%s\n\n", name.c_str(), title.c_str(), Wrapped(effect.about).c_str());
        printf("![%s](effects/%s.png)\n\n", title.c_str(), name.c_str());
        printf("`velmorant apply %s in.png out.png %s`\n\n", name.c_str(), effect.example.c_str());
        printf("| option | value | default | meaning |\n|---|---|---|---|\n");
        for (const ParameterDescription &parameter : effect.parameters) {
            if (parameter.name != "priority" && parameter.name != SCOPE_OPTION) PrintRow(parameter);
        }
        printf("\n");
    }
}

//---- The command

static std::vector<EffectDescription> Describe(Host &host, const std::string &effect)
{
    if (effect.empty()) return DescribeEffects(host);
    const DialogTemplate *table = FindEffectTemplate(effect.c_str());
    EffectDescription description;
    if (table && DescribeEffect(host, *table, description)) return {description};
    return {};
}

int ListEffects(const CommandLine &line)
{
    Host host;
    std::string error;
    if (!StartHost(host, "", error)) {
        Report("effects module", error);
        return EXIT_FAILED;
    }
    const std::vector<EffectDescription> effects = Describe(host, line.effect);
    EndHost(host);
    if (effects.empty() && !line.effect.empty()) {
        Report(line.effect, "not an effect that is built here (velmorant effects lists them)");
        return EXIT_USAGE;
    }
    if (line.json) PrintJson(effects, !line.effect.empty());
    else if (line.markdown) PrintPages(effects, !line.effect.empty());
    else if (line.effect.empty()) PrintList(effects);
    else PrintEffect(effects[0]);
    return EXIT_DONE;
}
