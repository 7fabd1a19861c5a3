// Finds the rows that an effect's settings stand for and works them in an open dialog, in an order that lets every
// value be judged with the others in place. Refuses odd combinations without a dialog where it can. Neither opens the
// dialog nor presses Apply, and ranges are the dialog's own.

#include "host/library/settings.h"

#include "host/acting/kernels.h"
#include "host/library/descriptions.h"
#include "host/library/edges.h"
#include "host/library/fringe.h"
#include "host/library/own_kernels.h"

#include <algorithm>
#include <cstdlib>

//---- Which there are

SettingRole RoleOf(const ControlTemplate &row)
{
    switch (row.id) {
    case FIRST_KERNEL_FIELD: return SettingRole::KERNEL;
    case LOAD_KERNEL_BUTTON: return SettingRole::LOADS;
    case SAVE_KERNEL_BUTTON: return SettingRole::SAVES;
    default: return SettingRole::VALUE;
    }
}

// What is saved is said last, and what is loaded before it.
static int PlaceOf(SettingRole role) { return role == SettingRole::SAVES ? 2 : role == SettingRole::LOADS ? 1 : 0; }

std::vector<const ControlTemplate *> SettingRows(const DialogTemplate &effect)
{
    std::vector<const ControlTemplate *> rows;
    for (int32_t i = 0; i < effect.controlCount; ++i) {
        const ControlTemplate &row = effect.controls[i];
        if (row.option && FindOption(effect, row.option) == &row) rows.push_back(&row);
    }
    std::stable_sort(rows.begin(), rows.end(), [](const ControlTemplate *a, const ControlTemplate *b) {
        return PlaceOf(RoleOf(*a)) < PlaceOf(RoleOf(*b));
    });
    return rows;
}

const ControlTemplate *FindSettingRow(const DialogTemplate &effect, const std::string &name)
{
    for (const ControlTemplate *row : SettingRows(effect))
        if (name == row->option) return row;
    return nullptr;
}

bool BringsKernel(const DialogTemplate &effect, const GivenSetting &given)
{
    const ControlTemplate *row = FindSettingRow(effect, given.name);
    const SettingRole role = row ? RoleOf(*row) : SettingRole::VALUE;
    if (role != SettingRole::KERNEL) return role == SettingRole::LOADS;
    KernelWords words;
    std::string ignored;
    return !LooksLikeNumbers(given.value) || (ReadKernelWords(given.value, words, ignored) && words.whole);
}

//---- What can be told without the dialog

static const GivenSetting *GivenInRole(const Step &step, SettingRole role)
{
    for (const GivenSetting &given : step.settings) {
        const ControlTemplate *row = FindSettingRow(*step.effect, given.name);
        if (row && RoleOf(*row) == role) return &given;
    }
    return nullptr;
}

// What the door itself adds to an effect's settings.
static vlm_code CheckOwnWords(const Step &step)
{
    const vlm_code code = CheckFringe(step);
    return code == VLM_OK ? CheckEdges(step) : code;
}

vlm_code CheckOdds(const Step &step)
{
    const GivenSetting *kernel = GivenInRole(step, SettingRole::KERNEL), *file = GivenInRole(step, SettingRole::LOADS);
    if (!kernel || !file) return CheckOwnWords(step);
    return Fail(VLM_AT_ODDS, "--" + file->name,
                "brings a kernel, and so does --" + kernel->name + "; give one of them");
}

std::string NoticeOfScope(const Step &step)
{
    const ControlTemplate *objects = FindControl(step.effect, SCOPE_OBJECTS_RADIO);
    if (!objects || !objects->option || !step.objects.empty()) return "";
    const GivenSetting *scope = FindSetting(step, objects->option);
    if (!scope || (scope->value != objects->word && scope->value != std::to_string(objects->id))) return "";
    return "--" + scope->name + ": there are no floating objects to work on; --object brings them";
}

//---- In the dialog

// The order in which they were given says nothing. A kernel brings other settings with it, a choice may change what a
// number's range is, and what is saved is all of it.
enum Turn { KERNEL_TURN, CHOICE_TURN, NUMBER_TURN, SAVE_TURN };

static Turn TurnOf(const ControlTemplate &row)
{
    switch (RoleOf(row)) {
    case SettingRole::KERNEL:
    case SettingRole::LOADS: return KERNEL_TURN;
    case SettingRole::SAVES: return SAVE_TURN;
    default: return row.kind == SPIN_ARROWS || row.kind == NUMBER_FIELD ? NUMBER_TURN : CHOICE_TURN;
    }
}

// The module shows a message box when it does not like the file.
static bool LoadKernelFile(HWND dialog, const std::string &file, std::vector<std::string> &boxes, SettingFault &fault)
{
    const size_t boxesBefore = boxes.size();
    if (!LoadKernel(dialog, file, fault.text)) return false;
    if (boxes.size() == boxesBefore) return true;
    fault.code = VLM_REFUSED;
    fault.text = boxes.back();
    boxes.resize(boxesBefore);
    return false;
}

// "auto": the sum of the kernel that stands in the dialog.
static std::string DivisorFor(HWND dialog) { return std::to_string(SumOf(KernelIn(dialog))); }

bool IsInPixels(const DialogTemplate &effect, const ControlTemplate &row)
{
    return row.kind == SPIN_ARROWS && UnitOf(effect, row) == "pixels";
}

// Within the range, however small or large the picture is.
static std::string InPixels(HWND dialog, const DialogTemplate &effect, const ControlTemplate &row,
                            const std::string &value, int32_t edge)
{
    int32_t pixels, low, high;
    if (!IsInPixels(effect, row) || !ShareOfEdge(value, edge, pixels)) return value;
    OptionRange(dialog, row, low, high);
    return std::to_string(std::clamp(pixels, low, high));
}

// By the name of a ready-made one or one of the user's own, or in numbers.
static bool GiveKernelSetting(HWND dialog, const Step &step, const GivenSetting &given, SettingFault &fault)
{
    std::string words = given.value, ignored;
    const bool named = !LooksLikeNumbers(words) && FindKernel(ReadyMadeKernels(), words, ignored) < 0;
    if (named && FindOwnKernel(given.value, words, fault.text) && !fault.text.empty()) return false;
    return SetOptionOrKernel(dialog, *step.effect, given.name, words, fault.text);
}

static bool GiveSetting(HWND dialog, const Step &step, const ControlTemplate &row, const GivenSetting &given,
                        Purpose purpose, int32_t edge, std::vector<std::string> &boxes, SettingFault &fault)
{
    fault = {VLM_BAD_VALUE, "--" + given.name, ""};
    const SettingRole role = RoleOf(row);
    if (role == SettingRole::LOADS || role == SettingRole::SAVES) fault.subject = given.value;
    switch (role) {
    case SettingRole::LOADS: return LoadKernelFile(dialog, given.value, boxes, fault);
    case SettingRole::SAVES: return SaveKernel(dialog, given.value, purpose != Purpose::TRIAL, fault.text);
    case SettingRole::KERNEL: return GiveKernelSetting(dialog, step, given, fault);
    case SettingRole::VALUE: break;
    }
    const bool automatic = given.value == "auto" && row.id == KERNEL_DIVISOR && HasKernel(*step.effect);
    const std::string value = automatic ? DivisorFor(dialog) : InPixels(dialog, *step.effect, row, given.value, edge);
    if (SetOption(dialog, *step.effect, given.name, value, fault.text)) return true;
    if (automatic) fault.text = "auto: the kernel's sum " + fault.text;
    return false;
}

bool GiveSettings(HWND dialog, const Step &step, Purpose purpose, int32_t edge, std::vector<std::string> &boxes,
                  SettingFault &fault)
{
    for (const Turn turn : {KERNEL_TURN, CHOICE_TURN, NUMBER_TURN, SAVE_TURN}) {
        for (const GivenSetting &given : step.settings) {
            const ControlTemplate *row = FindSettingRow(*step.effect, given.name);
            if (!row || TurnOf(*row) != turn) continue;
            if (purpose == Purpose::MASK && row->kind == COLOUR_CONTROL) continue;   // the dialog's own is black
            if (!GiveSetting(dialog, step, *row, given, purpose, edge, boxes, fault)) return false;
        }
    }
    fault = {};
    return true;
}

//---- From the dialog

std::vector<GivenSetting> ShownSettings(HWND dialog, const Step &step)
{
    std::vector<GivenSetting> shown;
    const DialogTemplate &effect = *step.effect;
    const Kernel kernel = HasKernel(effect) ? KernelIn(dialog) : Kernel{};
    const bool whole = HasKernel(effect) && !FitsFields(dialog, effect, kernel);
    for (const ControlTemplate *row : SettingRows(effect)) {
        const std::string name = row->option;
        const bool scope = row->id == SCOPE_IMAGE_RADIO || row->id == SCOPE_ALL_RADIO;
        if (RoleOf(*row) == SettingRole::KERNEL) {
            shown.push_back({name, WordsOf(kernel, whole)});
            continue;
        }
        if (RoleOf(*row) != SettingRole::VALUE || row->kind == TRACKBAR || !CanSetOption(dialog, *row)) continue;
        if (scope && !FindSetting(step, name)) continue;   // it then depends on whether there are objects
        if (whole && (row->id == KERNEL_DIVISOR || row->id == KERNEL_BIAS || row->id == SUBTRACT_RADIO)) continue;
        const GivenSetting *given = FindSetting(step, name);
        const bool asGiven = scope || (given && given->value.ends_with('%'));
        shown.push_back({name, asGiven ? given->value : ShownOption(dialog, effect, name)});
    }
    for (const char *own : {EDGES_OPTION, FRINGE_OPTION})
        if (const GivenSetting *given = FindSetting(step, own)) shown.push_back(*given);
    return shown;
}

//---- What contradicts what

static std::string NoticeOf(HWND dialog, const Step &step, const Contradiction &rule)
{
    const auto shown = [&](const char *option) { return ShownOption(dialog, *step.effect, option); };
    const std::string setting = std::string("--") + rule.setting, other = std::string("--") + rule.other;
    const std::string outcome = std::string(": ") + rule.outcome, own = shown(rule.setting), others = shown(rule.other);
    switch (rule.kind) {
    case Contradiction::NOT_ABOVE:
        if (atoi(own.c_str()) > atoi(others.c_str())) return "";
        return setting + " " + own + " is not above " + other + " " + others + outcome;
    case Contradiction::NOT_CHOSEN:
        if (!FindSetting(step, rule.setting) || others == rule.word || own == "1") return "";
        return setting + " " + own + " counts for " + other + " " + rule.word + " only" + outcome;
    case Contradiction::ALL_OFF:
        if (own != "off" || others != "off" || shown(rule.word) != "off") return "";
        return setting + ", " + other + " and --" + rule.word + " are off" + outcome;
    }
    return "";
}

// Numbers without a divisor of their own, as people write them down.
static std::string NoticeOfSum(HWND dialog, const Step &step)
{
    const GivenSetting *kernel = GivenInRole(step, SettingRole::KERNEL);
    const bool plain = kernel && LooksLikeNumbers(kernel->value) && !BringsKernel(*step.effect, *kernel) &&
                       !FindSetting(step, "divisor") && !FindSetting(step, "combine-mode");
    const int64_t sum = plain ? SumOf(KernelIn(dialog)) : 0;
    if (sum <= 1) return "";
    return "--" + kernel->name + ": its numbers sum to " + std::to_string(sum) +
           ", so that the picture becomes brighter; --divisor auto keeps its brightness";
}

std::vector<std::string> Contradictions(HWND dialog, const Step &step)
{
    std::vector<std::string> notices;
    const std::string sum = HasKernel(*step.effect) ? NoticeOfSum(dialog, step) : "";
    if (!sum.empty()) notices.push_back(sum);
    for (int32_t i = 0; i < step.effect->contradictionCount; ++i) {
        const std::string notice = NoticeOf(dialog, step, step.effect->contradictions[i]);
        if (!notice.empty()) notices.push_back(notice);
    }
    return notices;
}
