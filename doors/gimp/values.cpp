// Values of settings between a procedure's parameters, what GIMP keeps for a session, and the library's steps; see the
// header. Dialogs have their own way to read and show them.

#include "doors/gimp/values.h"

#include <stdio.h>
#include <string.h>

const char *const KERNEL_DIVISOR = "divisor", *const KERNEL_BIAS = "bias", *const KERNEL_MODE = "combine-mode";

int SettingNamed(const DoorEffect &effect, const char *name)
{
    for (int i = 0; i < effect.settingCount; ++i)
        if (strcmp(effect.settings[i].name, name) == 0) return i;
    return -1;
}

Values StandardValues(const DoorEffect &effect)
{
    Values values;
    for (int i = 0; i < effect.settingCount; ++i) values.words.push_back(effect.settings[i].standardValue);
    return values;
}

//---- What GIMP keeps

static std::string KeptUnder(const DoorEffect &effect) { return std::string("velmorant-") + effect.name; }

static constexpr char RANDOM = '?';   // in the place of a seed

// A line for each setting, then the seed.
Values LastValues(const DoorEffect &effect)
{
    const std::string name = KeptUnder(effect);
    const int bytes = gimp_get_data_size(name.c_str());
    if (bytes <= 0) return StandardValues(effect);
    std::string text(size_t(bytes), '\0');
    gimp_get_data(name.c_str(), text.data());

    Values values;
    size_t start = 0;
    for (int i = 0; i < effect.settingCount; ++i) {
        const size_t end = text.find('\n', start);
        if (end == std::string::npos) return StandardValues(effect);
        values.words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    values.randomSeed = text[start] == RANDOM;
    values.seed = values.randomSeed ? g_random_int() : uint32_t(strtoul(text.c_str() + start, nullptr, 10));
    return values;
}

void KeepLastValues(const DoorEffect &effect, const Values &values)
{
    std::string text;
    for (const std::string &word : values.words) text += word + "\n";
    text += values.randomSeed ? std::string(1, RANDOM) : std::to_string(values.seed);
    gimp_set_data(KeptUnder(effect).c_str(), text.data(), guint32(text.size()));
}

//---- A procedure's parameters

int ArgumentCount(const DoorEffect &effect) { return effect.settingCount + (effect.draws ? 1 : 0); }

// "Amplitude, pixels: height of the waves, 1 to 50", "Direction: { down (0), up (1) }".
static std::string Told(const DoorSetting &setting)
{
    std::string text = setting.label;
    if (*setting.meaning) text += std::string(": ") + setting.meaning;
    switch (setting.kind) {
    case DOOR_NUMBER: text += "; " + std::to_string(setting.low) + " to " + std::to_string(setting.high); break;
    case DOOR_SWITCH: text += " { FALSE (0), TRUE (1) }"; break;
    case DOOR_KERNEL:
        text +=
            ", " + std::to_string(setting.low) + " to " + std::to_string(setting.high) +
            ", apart by blanks; or a kernel's name, which brings its divisor, bias and combine mode in the place of "
            "those given";
        break;
    case DOOR_COLOUR: break;
    case DOOR_CHOICE:
        for (int i = 0; i < setting.choiceCount; ++i)
            text += (i ? ", " : " { ") + std::string(setting.choices[i].word) + " (" + std::to_string(i) + ")";
        text += " }";
    }
    return text;
}

void DeclareArguments(const DoorEffect &effect, std::vector<GimpParamDef> &arguments)
{
    // GIMP takes the texts over when the procedure is installed, and the process ends soon after.
    const auto declare = [&](GimpPDBArgType type, const char *name, const std::string &text) {
        arguments.push_back({type, g_strdup(name), g_strdup(text.c_str())});
    };
    for (int i = 0; i < effect.settingCount; ++i) {
        const DoorSetting &setting = effect.settings[i];
        const GimpPDBArgType type = setting.kind == DOOR_COLOUR   ? GIMP_PDB_COLOR
                                    : setting.kind == DOOR_KERNEL ? GIMP_PDB_STRING
                                                                  : GIMP_PDB_INT32;
        declare(type, setting.name, Told(setting));
    }
    if (effect.draws) declare(GIMP_PDB_INT32, "seed", "Seed: the same one gives the same picture");
}

static bool ReadArgument(const DoorSetting &setting, const GimpParam &argument, std::string &word, std::string &error)
{
    const gint32 number = argument.data.d_int32;
    switch (setting.kind) {
    case DOOR_NUMBER: word = std::to_string(number); return true;
    case DOOR_COLOUR: word = ColourWord(argument.data.d_color); return true;
    case DOOR_KERNEL: word = argument.data.d_string ? argument.data.d_string : ""; return true;
    case DOOR_SWITCH: word = number ? "on" : "off"; return true;
    case DOOR_CHOICE:
        if (number < 0 || number >= setting.choiceCount) {
            error = std::string(setting.name) + ": " + std::to_string(number) + " is outside 0.." +
                    std::to_string(setting.choiceCount - 1);
            return false;
        }
        word = setting.choices[number].word;
    }
    return true;
}

bool ReadArguments(const DoorEffect &effect, const GimpParam *arguments, Values &values, std::string &error)
{
    values = StandardValues(effect);
    for (int i = 0; i < effect.settingCount; ++i)
        if (!ReadArgument(effect.settings[i], arguments[i], values.words[size_t(i)], error)) return false;
    if (effect.draws) values.seed = uint32_t(arguments[effect.settingCount].data.d_int32);
    return true;
}

//---- Steps

// The word of a setting that the kernel brings; empty for others.
static std::string BroughtBy(const vlm_kernel &kernel, const char *setting)
{
    if (strcmp(setting, KERNEL_DIVISOR) == 0) return std::to_string(kernel.divisor);
    if (strcmp(setting, KERNEL_BIAS) == 0) return std::to_string(kernel.bias);
    if (strcmp(setting, KERNEL_MODE) == 0) return kernel.mode;
    return "";
}

vlm_code WriteSteps(const DoorEffect &effect, const Values &values, vlm_steps *steps)
{
    const vlm_kernel *kernel = nullptr;
    for (int i = 0; i < effect.settingCount; ++i)
        if (effect.settings[i].kind == DOOR_KERNEL) kernel = vlm_kernel_named(values.words[size_t(i)].c_str());

    vlm_code code = vlm_steps_add(steps, effect.name);
    for (int i = 0; i < effect.settingCount && code == VLM_OK; ++i) {
        const char *name = effect.settings[i].name;
        const std::string brought = kernel ? BroughtBy(*kernel, name) : "";
        const std::string &word = brought.empty() ? values.words[size_t(i)] : brought;
        code = vlm_steps_set(steps, 0, name, word.c_str());
    }
    if (code == VLM_OK && effect.draws) code = vlm_steps_set_seed(steps, 0, values.seed);
    return code;
}

//---- Presets

static bool HasAllElements(const std::string &kernel)
{
    int count = 0;
    const char *next = kernel.c_str();
    for (char *end = nullptr;; next = end, ++count) {
        strtol(next, &end, 10);
        if (end == next) break;
    }
    return count == VLM_KERNEL_SIDE * VLM_KERNEL_SIDE;
}

bool PresetValues(const DoorEffect &effect, const char *preset, Values &values, std::string &error)
{
    vlm_steps *steps = nullptr;
    if (vlm_preset_steps(preset, &steps) != VLM_OK) {
        error = vlm_error_line();
        return false;
    }
    values = StandardValues(effect);
    const vlm_kernel *kernel = nullptr;
    for (int i = 0; i < effect.settingCount; ++i) {
        const DoorSetting &setting = effect.settings[i];
        const char *given = vlm_steps_value(steps, 0, setting.name);
        if (setting.kind == DOOR_KERNEL && given) {
            kernel = vlm_kernel_named(given);
            if (!kernel && !HasAllElements(given)) error = "the preset's kernel is written in a way that has no cells";
        }
        const std::string brought = kernel ? BroughtBy(*kernel, setting.name) : "";
        if (given) values.words[size_t(i)] = given;
        else if (!brought.empty()) values.words[size_t(i)] = brought;
    }
    vlm_steps_seed(steps, 0, &values.seed);
    vlm_steps_free(steps);
    return error.empty();
}

//---- Colours

std::string ColourWord(const GimpRGB &colour)
{
    guchar red, green, blue;
    gimp_rgb_get_uchar(&colour, &red, &green, &blue);
    char word[8];
    snprintf(word, sizeof word, "#%02X%02X%02X", red, green, blue);
    return word;
}

GimpRGB ColourOf(const std::string &word)
{
    unsigned red = 0, green = 0, blue = 0;
    sscanf(word.c_str(), "#%2x%2x%2x", &red, &green, &blue);
    GimpRGB colour;
    gimp_rgb_set_uchar(&colour, guchar(red), guchar(green), guchar(blue));
    return colour;
}
