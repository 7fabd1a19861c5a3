// Settings between an open dialog and words. Which controls are settings, their order and their ranges come from the
// dialog and its table; where settings are kept is presets' and the strip's.

#include "host/editor/dialog_settings.h"

#include "host/acting/kernels.h"
#include "host/acting/words.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

//---- Which there are

static bool IsScope(const ControlTemplate &row)
{
    const int ids[] = {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO};
    return std::find(std::begin(ids), std::end(ids), row.id) != std::end(ids);
}

static std::vector<const ControlTemplate *> RowsOf(const DialogTemplate &effect)
{
    std::vector<const ControlTemplate *> rows;
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (!row.option || row.kind == TRACKBAR || row.kind == PUSH_BUTTON) continue;
        const ControlTemplate *first = FindOption(effect, row.option);
        if (first == &row && !IsScope(row)) rows.push_back(&row);
    }
    return rows;
}

static bool IsKernel(const ControlTemplate &row) { return row.id == FIRST_KERNEL_FIELD; }

bool SameSettings(const Settings &one, const Settings &other)
{
    return std::equal(
        one.begin(), one.end(), other.begin(), other.end(),
        [](const GivenOption &a, const GivenOption &b) { return a.name == b.name && a.value == b.value; });
}

//---- Read

Settings SettingsIn(HWND dialog, const DialogTemplate &effect, Which which)
{
    Settings settings;
    const Kernel kernel = HasKernel(effect) ? KernelIn(dialog) : Kernel{};
    const bool whole = HasKernel(effect) && !FitsFields(dialog, effect, kernel);
    for (const ControlTemplate *row : RowsOf(effect)) {
        const bool broughtByKernel = row->id == KERNEL_DIVISOR || row->id == KERNEL_BIAS || row->id == SUBTRACT_RADIO;
        if (which == Which::USABLE && !CanSetOption(dialog, *row)) continue;
        if (IsKernel(*row)) settings.push_back({row->option, WordsOf(kernel, whole)});
        else if (!whole || !broughtByKernel)
            settings.push_back({row->option, ShownOption(dialog, effect, row->option)});
    }
    return settings;
}

//---- Put back

static int TurnOf(const ControlTemplate &row)
{
    if (IsKernel(row)) return 0;
    return row.kind == SPIN_ARROWS || row.kind == NUMBER_FIELD ? 2 : 1;
}

static std::string InPixels(HWND dialog, const ControlTemplate &row, const std::string &value, int32_t edge)
{
    int32_t pixels, low, high;
    if (row.kind != SPIN_ARROWS || !ShareOfEdge(value, edge, pixels)) return value;
    OptionRange(dialog, row, low, high);
    return std::to_string(std::clamp(pixels, low, high));
}

// What stands there already is left alone: each change asks for a preview.
static bool PutOne(HWND dialog, const DialogTemplate &effect, const ControlTemplate &row, const GivenOption &given,
                   int32_t edge, std::string &fault)
{
    if (ShownOption(dialog, effect, given.name) == given.value || !CanSetOption(dialog, row)) return true;
    if (IsKernel(row)) return SetOptionOrKernel(dialog, effect, given.name, given.value, fault);
    const bool automatic = given.value == "auto" && row.id == KERNEL_DIVISOR;
    const std::string value =
        automatic ? std::to_string(SumOf(KernelIn(dialog))) : InPixels(dialog, row, given.value, edge);
    return SetOption(dialog, effect, given.name, value, fault);
}

bool PutSettings(HWND dialog, const DialogTemplate &effect, const Settings &settings, int32_t edge, std::string &fault)
{
    fault.clear();
    const std::vector<const ControlTemplate *> rows = RowsOf(effect);
    for (int turn = 0; turn < 3; ++turn) {
        for (const GivenOption &given : settings) {
            const auto row = std::find_if(rows.begin(), rows.end(),
                                          [&given](const ControlTemplate *one) { return given.name == one->option; });
            if (row == rows.end() || TurnOf(**row) != turn) continue;
            std::string line;
            if (!PutOne(dialog, effect, **row, given, edge, line)) fault += given.name + ": " + line + ". ";
        }
    }
    return fault.empty();
}

//---- By lot

static std::vector<std::string> WordsOf(const DialogTemplate &effect, const std::string &option)
{
    std::vector<std::string> words;
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (row.kind == RADIO_BUTTON && row.option && option == row.option && row.word) words.push_back(row.word);
    }
    return words;
}

static std::string RandomValue(HWND dialog, const DialogTemplate &effect, const ControlTemplate &row,
                               const std::function<uint32_t(uint32_t most)> &draw)
{
    int32_t low, high;
    char colour[8];
    switch (row.kind) {
    case CHECK_BOX: return draw(1) ? "on" : "off";
    case COLOUR_CONTROL: snprintf(colour, sizeof colour, "#%06X", draw(0xFFFFFF)); return colour;
    case RADIO_BUTTON: {
        const std::vector<std::string> words = WordsOf(effect, row.option);
        return words[draw(uint32_t(words.size()) - 1)];
    }
    default: break;
    }
    if (IsKernel(row)) {
        const std::vector<Kernel> kernels = ReadyMadeKernels();
        return kernels.empty() ? ShownOption(dialog, effect, row.option)
                               : kernels[draw(uint32_t(kernels.size()) - 1)].name;
    }
    OptionRange(dialog, row, low, high);
    return std::to_string(int64_t(low) + draw(uint32_t(int64_t(high) - low)));
}

static GivenOption *Find(Settings &settings, const char *name)
{
    for (GivenOption &given : settings)
        if (name && given.name == name) return &given;
    return nullptr;
}

// What would leave the picture as it is is drawn no better than that: the dialog's own table says what makes no sense.
static void MakeSense(const DialogTemplate &effect, Settings &settings)
{
    for (int32_t i = 0; i < effect.contradictionCount; ++i) {
        const Contradiction &rule = effect.contradictions[i];
        GivenOption *one = Find(settings, rule.setting), *other = Find(settings, rule.other);
        const GivenOption *third = Find(settings, rule.word);
        if (!one || !other) continue;
        if (rule.kind == Contradiction::NOT_ABOVE && atoi(one->value.c_str()) < atoi(other->value.c_str()))
            std::swap(one->value, other->value);
        if (rule.kind == Contradiction::ALL_OFF && one->value == "off" && other->value == "off" && third &&
            third->value == "off")
            one->value = "on";
    }
}

// What a kernel brings with it is its own.
Settings RandomSettings(HWND dialog, const DialogTemplate &effect, const std::function<uint32_t(uint32_t most)> &draw)
{
    Settings settings;
    for (const ControlTemplate *row : RowsOf(effect)) {
        const bool brought = row->id == KERNEL_DIVISOR || row->id == KERNEL_BIAS || row->id == SUBTRACT_RADIO;
        if (!HasKernel(effect) || !brought) settings.push_back({row->option, RandomValue(dialog, effect, *row, draw)});
    }
    MakeSense(effect, settings);
    return settings;
}

//---- Lines

bool ReadStep(const std::string &line, std::string &effect, Settings &settings)
{
    std::string error, comment;
    std::vector<std::string> words;
    if (!SplitWords(line, words, error, &comment) || words.empty()) return false;
    effect = words[0];
    settings.clear();
    for (size_t i = 1; i < words.size(); ++i) {
        if (!words[i].starts_with("--")) return false;
        const size_t equals = words[i].find('=');
        if (equals == std::string::npos && i + 1 == words.size()) return false;
        const std::string name = words[i].substr(2, equals == std::string::npos ? equals : equals - 2);
        settings.push_back({name, equals == std::string::npos ? words[++i] : words[i].substr(equals + 1)});
    }
    return true;
}

std::string StepLine(const DialogTemplate &effect, const Settings &settings)
{
    std::string line = effect.effect;
    for (const GivenOption &given : settings) line += " --" + given.name + " " + Quoted(given.value);
    return line;
}

// The command line would clean the fringe of a file's alpha.
std::string FringeOfDialogs(const DialogTemplate &effect) { return effect.mixes ? " --fringe as-is" : ""; }

// What is a word of its own in every shell stays bare.
static std::string DoubleQuoted(const std::string &word)
{
    constexpr char PLAIN[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.,+";
    if (!word.empty() && word.find_first_not_of(PLAIN) == std::string::npos) return word;
    return "\"" + word + "\"";
}

std::string CommandLine(const DialogTemplate &effect, const Settings &settings, const RunWords &words)
{
    std::string line = std::string("velmorant apply ") + effect.effect;
    line += " " + DoubleQuoted(words.input) + " " + DoubleQuoted(words.output);
    for (const GivenOption &given : settings) line += " --" + given.name + " " + DoubleQuoted(given.value);
    line += FringeOfDialogs(effect);
    if (!words.area.empty()) line += " --area " + words.area;
    if (!words.seed.empty()) line += " --seed " + words.seed;
    return line;
}

//---- Number fields

std::string NameOfField(const DialogTemplate &effect, const ControlTemplate &field)
{
    const ControlTemplate *row = &field;
    while (row > effect.controls && row->kind == NUMBER_FIELD) --row;
    std::string name = row->kind == LABEL ? row->label : "";
    std::erase_if(name, [](char c) { return c == '&' || c == ':'; });
    return name.empty() ? "Weight" : name;
}

// A kernel's fields have their ranges themselves, others their arrows.
static const ControlTemplate &RangeRowOf(const DialogTemplate &effect, const ControlTemplate &field)
{
    const ControlTemplate *next = &field + 1;
    return next < effect.controls + effect.controlCount && next->kind == SPIN_ARROWS ? *next : field;
}

std::string RangeOfField(HWND dialog, const DialogTemplate &effect, const ControlTemplate &field)
{
    int32_t low, high;
    OptionRange(dialog, RangeRowOf(effect, field), low, high);
    return std::to_string(low) + " to " + std::to_string(high);
}

std::string FaultOfField(HWND dialog, const DialogTemplate &effect, const ControlTemplate &field,
                         const std::string &text)
{
    int32_t low, high;
    OptionRange(dialog, RangeRowOf(effect, field), low, high);
    const std::string range = RangeOfField(dialog, effect, field);
    if (text.empty() || text == "-") return NameOfField(effect, field) + ": a number of " + range + " is wanted";
    const long long number = strtoll(text.c_str(), nullptr, 10);
    if (number >= low && number <= high) return "";
    return NameOfField(effect, field) + ": " + text + " is outside " + range;
}
