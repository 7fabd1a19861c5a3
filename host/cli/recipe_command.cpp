// `velmorant recipe`: shows a recipe with all its settings, or checks it.

#include "host/cli/commands.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"

#include <nlohmann/json.hpp>

#include <cstdio>

typedef nlohmann::ordered_json Json;

static int FailAsTold()
{
    ReportLine(vlm_error_line());
    return EXIT_FAILED;
}

static Json StepJson(const vlm_steps *steps, int step)
{
    const vlm_effect *effect = vlm_effect_named(vlm_steps_effect(steps, step));
    Json json = {{"effect", effect->name}, {"settings", Json::object()}};
    for (int i = 0; i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        const char *value = setting ? vlm_steps_value(steps, step, setting->name) : nullptr;
        if (value) json["settings"][setting->name] = value;
    }
    for (const char *own : {"edges", "fringe"})
        if (const char *value = vlm_steps_value(steps, step, own)) json["settings"][own] = value;
    uint32_t seed;
    if (vlm_steps_seed(steps, step, &seed)) json["seed"] = seed;
    int32_t left, top, width, height;
    if (vlm_steps_area(steps, step, &left, &top, &width, &height)) json["area"] = {left, top, width, height};
    return json;
}

// The text is read again: what stands in it are all settings.
static int PrintJson(const char *text)
{
    vlm_steps *steps = nullptr;
    if (vlm_recipe_parse(text, nullptr, &steps) != VLM_OK) return FailAsTold();
    const StepsPointer owner(steps);
    Json json = {{"version", VLM_RECIPE_VERSION}, {"steps", Json::array()}};
    for (int i = 0; i < vlm_steps_count(steps); ++i) json["steps"].push_back(StepJson(steps, i));
    printf("%s\n", json.dump(2).c_str());
    return EXIT_DONE;
}

// For programs, besides the line for people.
static void PrintFault(const char *text)
{
    const Json json = {{"error", text}};
    printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

int DoRecipe(const CommandLine &line)
{
    const bool check = line.action == "check";
    if ((!check && line.action != "show") || line.words.size() != 1) {
        Report("recipe", "is given as velmorant recipe show FILE or velmorant recipe check FILE");
        return EXIT_USAGE;
    }
    vlm_steps *steps = nullptr;
    if (vlm_recipe_read(line.words[0].c_str(), &steps) != VLM_OK) {
        if (line.json && check) PrintFault(vlm_error_line());
        return FailAsTold();
    }
    const StepsPointer owner(steps);
    if (check) {
        const int count = vlm_steps_count(steps);
        if (line.json) printf("{\"steps\": %d, \"error\": null}\n", count);
        else printf("%s: %d step%s, nothing wrong\n", InputName(line.words[0]).c_str(), count, count == 1 ? "" : "s");
        return EXIT_DONE;
    }
    const std::unique_ptr<char, void (*)(void *)> text(vlm_recipe_text(steps), vlm_free);
    if (!text) return FailAsTold();
    if (line.json) return PrintJson(text.get());
    fputs(text.get(), stdout);
    return EXIT_DONE;
}
