// What JavaScript calls of the door beyond velmorant.h itself: routines with numbers where that has records, so that no
// offset of a record is known there. Pictures come and go as planes without gaps between rows (door.js says which).
// Nothing is decided here.

#include <velmorant.h>

#include <emscripten.h>
#include <nlohmann/json.hpp>
#include <string.h>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

#define EXPORTED extern "C" EMSCRIPTEN_KEEPALIVE

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

static Json FormatAsJson(const vlm_format &format)
{
    return {{"name", format.name},
            {"endings", format.endings},
            {"mime", format.mime},
            {"takesQuality", format.takes_quality != 0}};
}

static void AddPresets(Json &list)
{
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) != VLM_OK) return;
    for (int i = 0; i < vlm_presets_count(presets); ++i) {
        const vlm_preset *preset = vlm_presets_at(presets, i);
        list.push_back(
            {{"name", preset->name}, {"effect", preset->effect}, {"summary", preset->summary}, {"line", preset->line}});
    }
    vlm_presets_free(presets);
}

// All there is to know before a picture is there: effects, kernels, presets, formats, the version. To be given back by
// vlm_free.
EXPORTED char *web_list(void)
{
    Json list = {{"version", vlm_version_text()},
                 {"effects", Json::array()},
                 {"kernels", Json::array()},
                 {"presets", Json::array()},
                 {"formats", Json::array()}};
    for (int i = 0; i < vlm_effect_count(); ++i) list["effects"].push_back(EffectAsJson(*vlm_effect_at(i)));
    for (int i = 0; i < vlm_kernel_count(); ++i) list["kernels"].push_back(KernelAsJson(*vlm_kernel_at(i)));
    AddPresets(list["presets"]);
    for (int i = 0; i < vlm_format_count(); ++i) list["formats"].push_back(FormatAsJson(*vlm_format_at(i)));
    return strdup(list.dump().c_str());
}

//---- Pictures

// The bytes of a file, or 0.
EXPORTED vlm_picture *web_decode(const uint8_t *bytes, size_t count)
{
    vlm_picture *picture = nullptr;
    vlm_picture_decode(bytes, count, &picture);
    return picture;
}

static vlm_planes PlanesOf(int type, int width, int height, uint8_t *pixels, uint8_t *mask, int maskBits)
{
    static constexpr vlm_layout LAYOUTS[] = {VLM_LAYOUT_BITS, VLM_LAYOUT_INDEX, VLM_LAYOUT_GREY, VLM_LAYOUT_RGB};
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = width;
    planes.height = height;
    planes.layout = LAYOUTS[type];
    planes.pixels = pixels;
    planes.mask = mask;
    planes.mask_bits = mask ? maskBits : 0;
    return planes;
}

// An effect may have left indices beyond the palette's end, which a picture that is made from planes may not have: they
// are put in afterwards.
static bool PutIndices(vlm_picture *picture, const uint8_t *pixels)
{
    vlm_planes own = {};
    own.size = sizeof own;
    if (vlm_picture_view(picture, &own) != VLM_OK) return false;
    for (int y = 0; y < own.height; ++y) {
        const uint8_t *row = pixels + size_t(y) * size_t(own.width);
        memcpy(static_cast<uint8_t *>(own.pixels) + y * own.stride, row, size_t(own.width));
    }
    return true;
}

// 0 when it fails. `mask` may be 0, and `palette` for all but palette pictures.
EXPORTED vlm_picture *web_picture(int type, int width, int height, uint8_t *pixels, uint8_t *mask, int maskBits,
                                  const uint8_t *palette, int entries)
{
    vlm_planes planes = PlanesOf(type, width, height, pixels, mask, maskBits);
    planes.palette = palette;
    planes.palette_entries = entries;
    planes.flags = VLM_PLANES_MASK_IS_ALPHA;
    std::vector<uint8_t> blank;
    if (type == VLM_PALETTE) {
        blank.resize(size_t(width) * size_t(height));
        planes.pixels = blank.data();
    }
    vlm_picture *picture = nullptr;
    if (vlm_picture_from_planes(&planes, &picture) != VLM_OK) return nullptr;
    if (type == VLM_PALETTE && !PutIndices(picture, pixels)) {
        vlm_picture_free(picture);
        return nullptr;
    }
    return picture;
}

// Fills planes of the picture's own type and mask.
EXPORTED int web_planes(const vlm_picture *picture, uint8_t *pixels, uint8_t *mask)
{
    const vlm_planes planes = PlanesOf(vlm_picture_type(picture), vlm_picture_width(picture),
                                       vlm_picture_height(picture), pixels, mask, vlm_picture_mask_bits(picture));
    return vlm_picture_to_planes(picture, &planes);
}

EXPORTED const char *web_format(const vlm_picture *picture)
{
    const vlm_format *format = vlm_picture_format(picture);
    return format ? format->name : nullptr;
}

static size_t encodedCount;

// The bytes of a file, to be given back by vlm_free; 0 when it fails.
EXPORTED void *web_encode(const vlm_picture *picture, const char *format, int quality)
{
    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.format = format;
    writing.quality = quality;
    void *bytes = nullptr;
    encodedCount = 0;
    vlm_picture_encode(picture, &writing, &bytes, &encodedCount);
    return bytes;
}

EXPORTED size_t web_encoded_count(void) { return encodedCount; }

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
