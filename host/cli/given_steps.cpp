// Recipes and presets on the command line: reads them through the library and puts their steps, as if their words stood
// there, in the place of the step that named them. Neither checks values nor keeps anything.

#include "host/cli/given_steps.h"

#include "host/cli/pictures.h"
#include "host/cli/report.h"

static int FailAsTold()
{
    ReportLine(vlm_error_line());
    return EXIT_FAILED;
}

static std::string AreaText(const vlm_steps *steps, int step)
{
    int32_t left, top, width, height;
    if (!vlm_steps_area(steps, step, &left, &top, &width, &height)) return "";
    return std::to_string(left) + "," + std::to_string(top) + "," + std::to_string(width) + "x" +
           std::to_string(height);
}

static GivenStep GivenOf(const vlm_steps *steps, int step)
{
    GivenStep given;
    given.effect = vlm_steps_effect(steps, step);
    const vlm_effect *effect = vlm_effect_named(given.effect.c_str());
    for (int i = 0; effect && i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        const char *value = setting ? vlm_steps_value(steps, step, setting->name) : nullptr;
        if (value) given.parameters.push_back({setting->name, value});
    }
    for (const char *own : {"edges", "fringe"})
        if (const char *value = vlm_steps_value(steps, step, own)) given.parameters.push_back({own, value});
    uint32_t seed;
    if (vlm_steps_seed(steps, step, &seed)) given.seed = seed;
    given.area = AreaText(steps, step);
    return given;
}

// A seed that is given besides takes the place of those that were kept; an area is that of steps without one.
static void PutInPlaceOfLast(const vlm_steps *steps, CommandLine &line)
{
    const GivenStep own = line.steps.back();
    const size_t first = line.steps.size() - 1;
    line.steps.pop_back();
    for (int i = 0; i < vlm_steps_count(steps); ++i) {
        GivenStep step = GivenOf(steps, i);
        if (own.seed) step.seed = own.seed;
        if (step.area.empty()) step.area = own.area;
        line.steps.push_back(std::move(step));
    }
    line.steps[first].objects = own.objects;
    for (const GivenParameter &given : own.parameters) line.steps[first].parameters.push_back(given);
}

int TakeRecipe(const std::string &file, CommandLine &line)
{
    vlm_steps *steps = nullptr;
    if (vlm_recipe_read(file.c_str(), &steps) != VLM_OK) return FailAsTold();
    const StepsPointer owner(steps);
    PutInPlaceOfLast(steps, line);
    return EXIT_DONE;
}

int TakePreset(const std::string &name, const std::string &effect, CommandLine &line)
{
    vlm_steps *steps = nullptr;
    if (vlm_preset_steps(name.c_str(), &steps) != VLM_OK) {
        Report("--preset", vlm_error_line());
        return EXIT_FAILED;
    }
    const StepsPointer owner(steps);
    const std::string its = vlm_steps_effect(steps, 0);
    if (!effect.empty() && effect != its) {
        Report("--preset", name + " is a preset of " + its + ", not of " + effect);
        return EXIT_FAILED;
    }
    PutInPlaceOfLast(steps, line);
    return EXIT_DONE;
}
