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
    Json json = {{"name", effect.name}, {"summary", effect.summary}, {"parameters", Json::array()}};
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
    printf("%s: %s\n\n", effect.name.c_str(), effect.summary.c_str());
    for (const ParameterDescription &parameter : effect.parameters) PrintParameter(parameter);
    const bool kernel = std::any_of(effect.parameters.begin(), effect.parameters.end(),
                                    [](const ParameterDescription &parameter) {
        return parameter.kind == ParameterKind::KERNEL;
    });
    if (kernel) printf("\n\"velmorant kernels\" lists the ready-made kernels.\n");
    printf("\nExample:\n  velmorant apply %s in.png out.png%s\n", effect.name.c_str(), ExampleOptions(effect).c_str());
}

static void PrintList(const std::vector<EffectDescription> &effects)
{
    for (const EffectDescription &effect : effects) {
        printf("%-18s %s\n", effect.name.c_str(), effect.summary.c_str());
    }
    printf("\n\"velmorant effects EFFECT\" tells what one can be told, "
           "\"velmorant apply EFFECT --help\" how to apply it.\n");
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
    if (line.json)                PrintJson(effects, !line.effect.empty());
    else if (line.effect.empty()) PrintList(effects);
    else                          PrintEffect(effects[0]);
    return EXIT_DONE;
}
