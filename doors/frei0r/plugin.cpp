// One effect as a frei0r plug-in: EFFECT names it. Parameters come from the door's table in its order; numbers and
// choices are doubles from 0 to 1 that stand for the real range, which each parameter's explanation tells. What draws
// at random has two parameters more, a seed and whether the draws move from frame to frame.
//
// A frame depends on the parameters, its own pixels and, where the draws move, on its time alone: hosts share frames
// out among instances and threads. Alpha is the effect's mask; opaque frames have none. A frame that cannot be worked
// on goes through as it is.

#include <atomic>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <vector>

#include <door_table.h>
#include <velmorant.h>
extern "C" {
#include <frei0r.h>
}

#define PLUGIN extern "C" __attribute__((visibility("default")))

static constexpr int LOWEST_SEED = 1, HIGHEST_SEED = 10000;

static const DoorEffect &Effect()
{
    static const DoorEffect &effect = *DoorEffectNamed(EFFECT);
    return effect;
}

//---- Parameters

// The effect's own, then the seed and whether it moves.
static int ParameterCount() { return Effect().settingCount + (Effect().draws ? 2 : 0); }

// As a host hands it over: `level` for numbers, choices and switches.
struct Value {
    double level = 0;
    f0r_param_color_t colour = {0, 0, 0};
    std::string text;
};

struct Instance {
    int32_t width, height;
    std::vector<Value> values;
    vlm_steps *steps;
    vlm_run *run;
    bool changed = true;   // since the steps were last written
    uint32_t seed = LOWEST_SEED;
    bool moving = false;
};

// NaN counts as 0; hosts hand over whatever a person has typed.
static double Within(double level) { return level >= 1 ? 1 : level > 0 ? level : 0; }
static int NumberOf(double level, int low, int high) { return low + int(lround(Within(level) * (high - low))); }
static double LevelOf(int number, int low, int high) { return high > low ? double(number - low) / (high - low) : 0; }

static Value StandardOf(const DoorSetting &setting)
{
    Value value;
    switch (setting.kind) {
    case DOOR_NUMBER: value.level = LevelOf(setting.standard, setting.low, setting.high); break;
    case DOOR_CHOICE: value.level = LevelOf(setting.standard, 0, setting.choiceCount - 1); break;
    case DOOR_SWITCH: value.level = setting.standard; break;
    case DOOR_COLOUR: {
        unsigned red = 0, green = 0, blue = 0;
        sscanf(setting.standardValue, "#%2x%2x%2x", &red, &green, &blue);
        value.colour = {float(red) / 255, float(green) / 255, float(blue) / 255};
        break;
    }
    case DOOR_KERNEL: break;   // no text: the effect's own
    }
    return value;
}

static unsigned ByteOf(float part) { return unsigned(lround(Within(double(part)) * 255)); }

static vlm_code SetStep(vlm_steps *steps, const DoorSetting &setting, const Value &value)
{
    char colour[8];
    switch (setting.kind) {
    case DOOR_NUMBER:
        return vlm_steps_set_number(steps, 0, setting.name, NumberOf(value.level, setting.low, setting.high));
    case DOOR_CHOICE:
        return vlm_steps_set(steps, 0, setting.name,
                             setting.choices[NumberOf(value.level, 0, setting.choiceCount - 1)].word);
    case DOOR_SWITCH: return vlm_steps_set(steps, 0, setting.name, value.level >= 0.5 ? "on" : "off");
    case DOOR_COLOUR:
        snprintf(colour, sizeof colour, "#%02X%02X%02X", ByteOf(value.colour.r), ByteOf(value.colour.g),
                 ByteOf(value.colour.b));
        return vlm_steps_set(steps, 0, setting.name, colour);
    case DOOR_KERNEL: return vlm_steps_set(steps, 0, setting.name, value.text.empty() ? nullptr : value.text.c_str());
    }
    return VLM_BAD_ARGUMENT;
}

static bool WriteSteps(Instance &instance)
{
    if (!instance.changed) return true;
    for (int i = 0; i < Effect().settingCount; ++i)
        if (SetStep(instance.steps, Effect().settings[i], instance.values[size_t(i)]) != VLM_OK) return false;
    if (Effect().draws) {
        const Value *own = instance.values.data() + Effect().settingCount;
        instance.seed = uint32_t(NumberOf(own[0].level, LOWEST_SEED, HIGHEST_SEED));
        instance.moving = own[1].level >= 0.5;
    }
    instance.changed = false;
    return true;
}

//---- What a host asks of a plug-in

PLUGIN int f0r_init() { return DoorEffectNamed(EFFECT) != nullptr; }
PLUGIN void f0r_deinit() {}

PLUGIN void f0r_get_plugin_info(f0r_plugin_info_t *info)
{
    static const std::string name = std::string("Velmorant ") + Effect().title;
    info->name = name.c_str();
    info->author = "the VLMEFF authors";
    info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
    info->color_model = F0R_COLOR_MODEL_RGBA8888;
    info->frei0r_version = FREI0R_MAJOR_VERSION;
    info->major_version = vlm_version() / 1000;
    info->minor_version = vlm_version() % 1000;
    info->num_params = ParameterCount();
    info->explanation = Effect().summary;
}

// "how far ...: 1 to 50, first 10".
static std::string Explained(const DoorSetting &setting)
{
    std::string text = setting.meaning;
    if (setting.kind == DOOR_NUMBER) {
        text += ": " + std::to_string(setting.low) + " to " + std::to_string(setting.high) + ", at first " +
                std::to_string(setting.standard);
    }
    for (int i = 0; i < setting.choiceCount; ++i) {
        char level[16];
        snprintf(level, sizeof level, "%.4g", LevelOf(i, 0, setting.choiceCount - 1));
        text += std::string(text.empty() ? "" : "; ") + level + ": " + setting.choices[i].meaning;
    }
    if (setting.kind == DOOR_KERNEL) text += ": a kernel's name, or its 49 numbers";
    return text;
}

struct Told {
    std::string name, explanation;
    int type;
};

static std::vector<Told> TellParameters()
{
    static constexpr int types[] = {F0R_PARAM_DOUBLE, F0R_PARAM_DOUBLE, F0R_PARAM_BOOL, F0R_PARAM_COLOR,
                                    F0R_PARAM_STRING};
    std::vector<Told> told;
    for (int i = 0; i < Effect().settingCount; ++i) {
        const DoorSetting &setting = Effect().settings[i];
        told.push_back({setting.name, Explained(setting), types[setting.kind]});
    }
    if (Effect().draws) {
        told.push_back({"seed", "which of " + std::to_string(HIGHEST_SEED) + " random patterns", F0R_PARAM_DOUBLE});
        told.push_back({"moving", "every frame has a pattern of its own", F0R_PARAM_BOOL});
    }
    return told;
}

PLUGIN void f0r_get_param_info(f0r_param_info_t *info, int index)
{
    static const std::vector<Told> told = TellParameters();
    if (index < 0 || index >= int(told.size())) return;
    info->name = told[size_t(index)].name.c_str();
    info->explanation = told[size_t(index)].explanation.c_str();
    info->type = told[size_t(index)].type;
}

PLUGIN f0r_instance_t f0r_construct(unsigned width, unsigned height)
{
    vlm_steps *steps = vlm_steps_new();
    vlm_run *run = vlm_run_new();
    if (!steps || !run || vlm_steps_add(steps, EFFECT) != VLM_OK) {
        fprintf(stderr, "velmorant %s: %s\n", EFFECT, vlm_error_line());
        vlm_steps_free(steps);
        vlm_run_free(run);
        return nullptr;
    }
    vlm_run_set_restoring(run, 0);   // a frame that fails is copied from the one that came in
    Instance *instance = new Instance{int32_t(width), int32_t(height), {}, steps, run};
    for (int i = 0; i < Effect().settingCount; ++i) instance->values.push_back(StandardOf(Effect().settings[i]));
    instance->values.resize(size_t(ParameterCount()));
    return instance;
}

PLUGIN void f0r_destruct(f0r_instance_t handle)
{
    Instance *instance = static_cast<Instance *>(handle);
    if (!instance) return;
    vlm_steps_free(instance->steps);
    vlm_run_free(instance->run);
    delete instance;
}

static int TypeOf(int index)
{
    f0r_param_info_t info = {};
    f0r_get_param_info(&info, index);
    return info.type;
}

// Some hosts set everything before every frame: only what differs is a change.
PLUGIN void f0r_set_param_value(f0r_instance_t handle, f0r_param_t given, int index)
{
    Instance *instance = static_cast<Instance *>(handle);
    if (!instance || !given || index < 0 || index >= ParameterCount()) return;
    Value &value = instance->values[size_t(index)];
    const Value before = value;
    switch (TypeOf(index)) {
    case F0R_PARAM_COLOR: value.colour = *static_cast<f0r_param_color_t *>(given); break;
    case F0R_PARAM_STRING: value.text = *static_cast<char **>(given) ? *static_cast<char **>(given) : ""; break;
    default: value.level = *static_cast<double *>(given);
    }
    if (value.level != before.level || value.text != before.text || value.colour.r != before.colour.r ||
        value.colour.g != before.colour.g || value.colour.b != before.colour.b) {
        instance->changed = true;
    }
}

PLUGIN void f0r_get_param_value(f0r_instance_t handle, f0r_param_t wanted, int index)
{
    Instance *instance = static_cast<Instance *>(handle);
    if (!instance || !wanted || index < 0 || index >= ParameterCount()) return;
    Value &value = instance->values[size_t(index)];
    switch (TypeOf(index)) {
    case F0R_PARAM_COLOR: *static_cast<f0r_param_color_t *>(wanted) = value.colour; break;
    case F0R_PARAM_STRING: *static_cast<char **>(wanted) = value.text.data(); break;
    default: *static_cast<double *>(wanted) = value.level;
    }
}

//---- Frames

// Hosts count time in their own units, but the same frame always comes at the same one.
static uint32_t SeedOf(const Instance &instance, double time)
{
    if (!instance.moving) return instance.seed;
    uint64_t bits;
    memcpy(&bits, &time, sizeof bits);
    return instance.seed + uint32_t((bits * 0x9E3779B97F4A7C15u) >> 33);
}

static vlm_planes Frame(const Instance &instance, const uint32_t *pixels)
{
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = instance.width;
    planes.height = instance.height;
    planes.layout = VLM_LAYOUT_RGBA;
    planes.pixels = const_cast<uint32_t *>(pixels);
    planes.flags = VLM_PLANES_DROP_OPAQUE;
    return planes;
}

static bool WorkOn(Instance &instance, double time, const uint32_t *from, uint32_t *to)
{
    if (!WriteSteps(instance)) return false;
    if (Effect().draws) vlm_run_set_seed(instance.run, SeedOf(instance, time));
    const vlm_planes source = Frame(instance, from), target = Frame(instance, to);
    vlm_picture *picture = nullptr;
    const bool done = vlm_picture_from_planes(&source, &picture) == VLM_OK &&
                      vlm_apply(instance.steps, picture, instance.run) == VLM_OK &&
                      vlm_picture_to_planes(picture, &target) == VLM_OK;
    vlm_picture_free(picture);
    return done;
}

PLUGIN void f0r_update(f0r_instance_t handle, double time, const uint32_t *from, uint32_t *to)
{
    Instance *instance = static_cast<Instance *>(handle);
    if (!instance) return;
    if (WorkOn(*instance, time, from, to)) return;
    static std::atomic_flag told;   // once: a film has many frames
    if (!told.test_and_set()) fprintf(stderr, "velmorant %s: %s\n", EFFECT, vlm_error_line());
    if (from != to) memcpy(to, from, size_t(instance->width) * size_t(instance->height) * 4);
}
