// What JavaScript calls of the module `effects` beyond velmorant.h itself: the list of what there is, recipes and runs.
// Nothing is decided here, and no file of a picture is known.

#include "doors/web/module/exported.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdlib.h>
#include <string.h>
#include <string>

using Json = nlohmann::ordered_json;

//---- The list

static const char *KindName(vlm_kind kind)
{
    switch (kind) {
    case VLM_NUMBER: return "number";
    case VLM_NUMBERS: return "numbers";
    case VLM_KERNEL: return "kernel";
    case VLM_CHOICE: return "choice";
    case VLM_SWITCH: return "switch";
    case VLM_COLOUR: return "colour";
    case VLM_FILE: return "file";
    }
    return "";
}

static Json SettingAsJson(const vlm_setting &setting)
{
    Json json = {{"name", setting.name},           {"label", setting.label},
                 {"meaning", setting.meaning},     {"unit", setting.unit},
                 {"kind", KindName(setting.kind)}, {"low", setting.low},
                 {"high", setting.high},           {"default", setting.default_value},
                 {"count", setting.count},         {"shared", setting.shared != 0},
                 {"writes", setting.writes != 0},  {"bringsOthers", setting.brings_others != 0},
                 {"choices", Json::array()}};
    for (int i = 0; i < setting.choice_count; ++i) {
        const vlm_choice *choice = vlm_setting_choice(&setting, i);
        json["choices"].push_back({{"word", choice->word}, {"label", choice->label}, {"meaning", choice->meaning}});
    }
    return json;
}

static Json EffectAsJson(const vlm_effect &effect)
{
    Json json = {{"name", effect.name},
                 {"title", effect.title},
                 {"summary", effect.summary},
                 {"about", effect.about},
                 {"example", effect.example},
                 {"types", Json::array()},
                 {"changesSize", effect.changes_size != 0},
                 {"draws", effect.draws != 0},
                 {"settings", Json::array()}};
    for (int type = 0; vlm_type_name(vlm_type(type)); ++type)
        if (effect.types >> type & 1) json["types"].push_back(vlm_type_name(vlm_type(type)));
    for (int i = 0; i < effect.setting_count; ++i)
        json["settings"].push_back(SettingAsJson(*vlm_effect_setting(&effect, i)));
    return json;
}

static Json KernelAsJson(const vlm_kernel &kernel)
{
    return {{"name", kernel.name},
            {"mode", kernel.mode},
            {"elements", Json(kernel.elements)},
            {"divisor", kernel.divisor},
            {"bias", kernel.bias}};
}

// A share of the picture's edge as pixels of one of usual size: the page's fields hold numbers.
static void SetInPixels(vlm_steps *steps)
{
    constexpr double EDGE = 640;
    const vlm_effect *effect = vlm_effect_named(vlm_steps_effect(steps, 0));
    for (int i = 0; i < effect->setting_count; ++i) {
        const vlm_setting &setting = *vlm_effect_setting(effect, i);
        const char *value = vlm_steps_value(steps, 0, setting.name);
        if (!setting.in_pixels || !value || !strchr(value, '%')) continue;
        const int32_t pixels = int32_t(strtod(value, nullptr) * EDGE / 100 + 0.5);
        vlm_steps_set_number(steps, 0, setting.name, std::clamp(pixels, setting.low, setting.high));
    }
}

// The step with all its settings, a kernel in its 49 numbers.
static std::string LineOf(const vlm_preset &preset)
{
    vlm_steps *steps = nullptr;
    if (vlm_preset_steps(preset.name, &steps) != VLM_OK) return preset.line;
    SetInPixels(steps);
    char *recipe = vlm_recipe_text(steps);
    vlm_steps_free(steps);
    std::string line = recipe ? recipe : preset.line;
    vlm_free(recipe);
    line.erase(0, line.find('\n') + 1);   // its head
    while (line.ends_with('\n')) line.pop_back();
    return line;
}

static void AddPresets(Json &list)
{
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return;
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset *preset = vlm_presets_at(presets, i);
        list.push_back({{"name", preset->name},
                        {"effect", preset->effect},
                        {"summary", preset->summary},
                        {"line", LineOf(*preset)}});
    }
    vlm_presets_free(presets);
}

// All there is to know of effects before a picture is there, kernels, presets and the version with them. To be given back
// by vlm_free.
EXPORTED char *web_list(void)
{
    Json list = {{"version", vlm_version_text()},
                 {"effects", Json::array()},
                 {"kernels", Json::array()},
                 {"presets", Json::array()}};
    for (int i = 0; i < vlm_effect_count(); ++i) list["effects"].push_back(EffectAsJson(*vlm_effect_at(i)));
    for (int i = 0; i < vlm_kernel_count(); ++i) list["kernels"].push_back(KernelAsJson(*vlm_kernel_at(i)));
    AddPresets(list["presets"]);
    return strdup(list.dump().c_str());
}

//---- Recipes

// The steps of a recipe's text, a line each, to be given back by vlm_free; 0 when it is none. A seed that the first has
// for all is the caller's to hand on.
EXPORTED char *web_recipe_lines(const char *text)
{
    vlm_steps *steps = nullptr;
    if (vlm_recipe_parse(text, nullptr, &steps) != VLM_OK) return nullptr;
    std::string lines;
    for (int i = 0; i < vlm_steps_count(steps); ++i) {
        char *line = vlm_steps_line(steps, i, 0);
        if (line) lines += std::string(line) + "\n";
        vlm_free(line);
    }
    vlm_steps_free(steps);
    return strdup(lines.c_str());
}

//---- Runs

EM_JS(void, TellProgress, (int step, int steps, int tenths), {
    if (Module["onProgress"]) Module["onProgress"](step, steps, tenths);
});

static int OnProgress(void *, int step, int steps, int tenths)
{
    TellProgress(step, steps, tenths);
    return 0;
}

// A failed picture is thrown away, so nothing is kept to bring it back.
EXPORTED int web_apply(const vlm_steps *steps, vlm_picture *picture)
{
    vlm_run *run = vlm_run_new();
    vlm_run_set_restoring(run, 0);
    vlm_run_set_progress(run, OnProgress, nullptr);
    const vlm_code code = vlm_apply(steps, picture, run);
    vlm_run_free(run);
    return code;
}
