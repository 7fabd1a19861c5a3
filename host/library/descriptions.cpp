// Describes an effect's settings from its dialog's table and the opened dialog's own ranges and defaults, and writes
// that as JSON. Opens no dialog, changes no control and knows no effect by name: what is told here is what the dialog
// shows.

#include "host/library/descriptions.h"

#include "host/library/settings.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <sstream>

typedef nlohmann::ordered_json Json;

//---- Labels

// A label's text without its accelerator mark and the colon that leads to a field.
static std::string Plain(const char *label)
{
    std::string text;
    for (const char *c = label; *c; ++c)
        if (*c != '&') text += *c;
    while (text.ends_with(':') || text.ends_with('.')) text.pop_back();
    return text;
}

// What stands before a control leads to it: its own text, a label, or the heading of the frame around radio buttons.
static std::string LabelOf(const DialogTemplate &effect, const ControlTemplate &row)
{
    if (row.label[0] && row.kind != RADIO_BUTTON) return Plain(row.label);
    for (const ControlTemplate *before = &row; before-- > effect.controls;) {
        const bool heads = before->kind == GROUP_BOX || (before->kind == LABEL && row.kind != RADIO_BUTTON);
        if (heads && before->label[0]) return Plain(before->label);
    }
    return "";
}

// What the frame around radio buttons says of the choice.
static std::string MeaningOfChoice(const DialogTemplate &effect, const ControlTemplate &row)
{
    for (const ControlTemplate *before = &row; before-- > effect.controls;)
        if (before->kind == GROUP_BOX) return before->meaning ? before->meaning : "";
    return "";
}

// A label behind the arrows, on the same line.
std::string UnitOf(const DialogTemplate &effect, const ControlTemplate &row)
{
    const ControlTemplate *next = &row + 1;
    if (row.kind != SPIN_ARROWS || next == effect.controls + effect.controlCount || next->kind != LABEL) return "";
    const bool sameLine = next->x > row.x && next->y < row.y + row.height && next->y + next->height > row.y;
    return sameLine ? Plain(next->label) : "";
}

//---- Settings

static vlm_kind KindOf(const ControlTemplate &row)
{
    switch (RoleOf(row)) {
    case SettingRole::KERNEL: return VLM_KERNEL;
    case SettingRole::LOADS:
    case SettingRole::SAVES: return VLM_FILE;
    case SettingRole::VALUE: break;
    }
    switch (row.kind) {
    case RADIO_BUTTON: return VLM_CHOICE;
    case CHECK_BOX: return VLM_SWITCH;
    case COLOUR_CONTROL: return VLM_COLOUR;
    case NUMBER_FIELD: return VLM_NUMBERS;
    default: return VLM_NUMBER;
    }
}

bool HasRange(vlm_kind kind) { return kind == VLM_NUMBER || kind == VLM_NUMBERS || kind == VLM_KERNEL; }

static int32_t CountOf(const std::string &numbers)
{
    std::istringstream texts(numbers);
    int32_t count = 0;
    for (std::string number; texts >> number;) ++count;
    return count;
}

static bool IsShared(const ControlTemplate &row)
{
    return row.kind == TRACKBAR || row.id == SCOPE_IMAGE_RADIO || row.id == SCOPE_ALL_RADIO ||
           row.id == SCOPE_OBJECTS_RADIO;
}

static SettingDescription DescribeSetting(HWND dialog, const DialogTemplate &effect, const ControlTemplate &row)
{
    SettingDescription setting;
    setting.name = row.option;
    setting.label = row.kind == PUSH_BUTTON ? Plain(row.label) : LabelOf(effect, row);
    setting.unit = UnitOf(effect, row);
    setting.inPixels = IsInPixels(effect, row);
    setting.kind = KindOf(row);
    setting.shown = ShownOption(dialog, effect, row.option);
    setting.shared = IsShared(row);
    setting.writes = RoleOf(row) == SettingRole::SAVES;
    setting.bringsOthers = RoleOf(row) == SettingRole::KERNEL || RoleOf(row) == SettingRole::LOADS;
    if (HasRange(setting.kind)) {
        OptionRange(dialog, row, setting.low, setting.high);
        setting.count = CountOf(setting.shown);
    }
    if (setting.kind != VLM_CHOICE) {
        setting.meaning = row.meaning;
        return setting;
    }
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &button = effect.controls[i];
        if (!button.option || setting.name != button.option) continue;
        setting.choices.push_back({button.word, Plain(button.label), button.meaning, button.id});
    }
    setting.meaning = MeaningOfChoice(effect, row);
    return setting;
}

std::vector<SettingDescription> DescribeSettings(HWND dialog, const DialogTemplate &effect)
{
    std::vector<SettingDescription> settings;
    for (const ControlTemplate *row : SettingRows(effect)) settings.push_back(DescribeSetting(dialog, effect, *row));
    return settings;
}

//---- For programs

static Json DefaultJson(const SettingDescription &setting)
{
    if (setting.kind == VLM_NUMBER) return std::stoi(setting.shown);
    if (setting.kind == VLM_FILE) return nullptr;
    if (!HasRange(setting.kind)) return setting.shown;
    Json numbers = Json::array();
    std::istringstream texts(setting.shown);
    for (int number; texts >> number;) numbers.push_back(number);
    return numbers;
}

static Json SettingJson(const SettingDescription &setting)
{
    static const char *const kinds[] = {"number", "numbers", "kernel", "choice", "switch", "colour", "file"};
    Json json = {{"name", setting.name}, {"kind", kinds[setting.kind]}, {"default", DefaultJson(setting)}};
    if (HasRange(setting.kind)) {
        json["minimum"] = setting.low;
        json["maximum"] = setting.high;
    }
    for (const ChoiceDescription &choice : setting.choices) {
        json["choices"].push_back({{"word", choice.word}, {"number", choice.number}, {"meaning", choice.meaning}});
    }
    if (!setting.meaning.empty()) json["meaning"] = setting.meaning;
    return json;
}

std::string EffectJson(const DialogTemplate &effect, const std::vector<SettingDescription> &settings)
{
    Json json = {{"name", effect.effect},
                 {"summary", effect.summary},
                 {"about", effect.about},
                 {"example", effect.example},
                 {"parameters", Json::array()}};
    for (const SettingDescription &setting : settings) json["parameters"].push_back(SettingJson(setting));
    return json.dump(2);
}

std::string KernelJson(const Kernel &kernel)
{
    const Json json = {{"id", kernel.id},           {"name", kernel.name}, {"size", SizeOf(kernel)},
                       {"divisor", kernel.divisor}, {"bias", kernel.bias}, {"mode", kernel.mode},
                       {"kernel", kernel.elements}};
    return json.dump(2);
}

std::string ListJson(const std::vector<std::string> &entries)
{
    Json list = Json::array();
    for (const std::string &entry : entries) list.push_back(Json::parse(entry));
    return list.dump(2);
}
