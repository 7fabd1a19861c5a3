// Level 2: menus, commands and the chooser. What a dialog does once it is open is level 3's.

#include "host/check/plan.h"

#include "host/check/stage.h"

#include <algorithm>
#include <cstring>
#include <set>

static constexpr int32_t BASE = 500;
static constexpr INT_PTR DISMISSED = 42;

static Picture AnyPicture(int32_t colourType) { return NewPicture(colourType, 12, 9); }

//---- The menu

static std::vector<MenuItem> ItemsOf(HMENU menu)
{
    std::vector<MenuItem> items(size_t(HostMenuCount(menu)));
    for (size_t i = 0; i < items.size(); ++i) HostMenuItem(menu, int32_t(i), &items[i]);
    return items;
}

static void CheckCommandsOf(const std::vector<MenuItem> &items, int32_t base)
{
    std::set<int32_t> seen;
    for (const MenuItem &item : items) {
        if (!item.command && !item.label[0]) continue;
        const int32_t offset = item.command - base;
        const std::string name = std::string("'") + item.label + "'";
        Expect(offset >= 1 && offset < 256, Rule::COMMANDS_FROM_BASE,
               name + " has the number base + " + Number(offset));
        Expect(item.label[0] != 0, Rule::COMMANDS_FROM_BASE, "the command base + " + Number(offset) + " has no label");
        Expect(seen.insert(offset).second, Rule::COMMANDS_FROM_BASE,
               name + " has a number that was given before: base + " + Number(offset));
    }
}

// A module of somebody's own effects gives them whatever numbers it likes; one that has this editor's keeps to the table.
static bool HasThisEditorsEffects(const std::vector<MenuItem> &items, int32_t base)
{
    int own = 0, others = 0;
    for (const MenuItem &item : items) {
        const EffectEntry *entry = EffectOfCommand(item.command - base);
        if (!item.label[0] || !entry) continue;
        ++(strcmp(entry->label, item.label) == 0 ? own : others);
    }
    return own > others;
}

// This editor's own effects, as far as the module has them: numbers, labels, order.
static void CheckKnownLabels(const std::vector<MenuItem> &items, int32_t base)
{
    if (!HasThisEditorsEffects(items, base)) return;
    int last = -1;
    for (const MenuItem &item : items) {
        if (!item.label[0] || item.command == base + CHOOSER_COMMAND) continue;
        const EffectEntry *entry = EffectOfCommand(item.command - base);
        if (!entry) continue;
        const int place = int(entry - effectTable);
        Expect(strcmp(entry->label, item.label) == 0, Rule::MENU_ORDER,
               "base + " + Number(entry->offset) + " is '" + item.label + "' and not '" + entry->label + "'");
        Expect(place > last, Rule::MENU_ORDER,
               std::string("'") + item.label + "' does not stand where the table has it");
        last = place;
    }
}

static void CheckMenu(const CheckedModule &module)
{
    EffectsModule loaded;
    std::string error;
    if (!LoadModule(loaded, module.request.module, error)) return;
    for (const int32_t base : {0, 500, 32000}) {
        const HMENU menu = HostCreateMenu();
        AppendMenuA(menu, MF_STRING, 7, "&Sharpen");
        Doing("called KPZInitialize with a menu that has an item already, and base " + Number(base));
        int32_t result = 0;
        const Calls calls = AllCallsDuring([&] { result = loaded.initialize(menu, base); });
        Expect(result == 0, Rule::INITIALIZE_RESULT, "it returned " + Number(result));
        std::vector<MenuItem> items = ItemsOf(menu);
        const bool kept = !items.empty() && strcmp(items[0].label, "&Sharpen") == 0;
        if (Expect(kept, Rule::INITIALIZE_RESULT, "the item that stood first has gone")) items.erase(items.begin());
        Expect(!items.empty(), Rule::INITIALIZE_RESULT, "nothing was appended");
        CheckCommandsOf(items, base);
        CheckKnownLabels(items, base);
        HostDestroyMenu(menu);
    }
    loaded.exitProcessor();
    UnloadModule(loaded);
}

//---- Greying

static std::vector<int32_t> OffsetsOf(const CheckedModule &module)
{
    std::vector<int32_t> offsets;
    for (const CheckedEffect &effect : module.effects) offsets.push_back(effect.offset);
    if (module.hasChooser) offsets.push_back(CHOOSER_COMMAND);
    return offsets;
}

struct Enabled {
    std::set<int32_t> asked;   // offsets that a value was given for
    std::set<int32_t> enabled;
};

static Enabled AskMenus(ModuleStage &stage, ImageRecord *active)
{
    const auto menu = reinterpret_cast<HMENU>(intptr_t(0x5000));
    int32_t result = 0;
    const Calls calls = AllCallsDuring([&] { result = stage.host.module.setupMenus(menu, BASE, active); });
    Expect(result == 0, Rule::SETUP_RESULT, "it returned " + Number(result));
    Enabled enabled;
    for (const Call &call : Only(calls, {"KPZ_EnableMenuItem"})) {
        const auto offset = int32_t(call.arguments[1] - BASE);
        Expect(call.arguments[0] == reinterpret_cast<intptr_t>(menu), Rule::SETUP_ALL, "another menu was worked");
        enabled.asked.insert(offset);
        if (call.arguments[2]) enabled.enabled.insert(offset);
        else enabled.enabled.erase(offset);
    }
    return enabled;
}

static void CheckGreyingOf(const CheckedModule &module, ModuleStage &stage, ImageRecord *active)
{
    const Enabled enabled = AskMenus(stage, active);
    for (const CheckedEffect &effect : module.effects) {
        Expect(enabled.asked.count(effect.offset) != 0, Rule::SETUP_ALL,
               "KPZ_EnableMenuItem was not called for '" + effect.label + "'");
        const bool on = enabled.enabled.count(effect.offset) != 0;
        if (!active) Expect(!on, Rule::GREYED, "'" + effect.label + "' was enabled");
        if (!active || !effect.known) continue;
        const bool offered = IsOffered(effect.known->rule, active->colourType, active->maskEditing != 0);
        Expect(on == offered, Rule::OFFERED, "'" + effect.label + "' was " + (on ? "enabled" : "greyed"));
    }
    if (!module.request.effect.empty()) return;
    const std::vector<int32_t> own = OffsetsOf(module);
    for (const int32_t offset : enabled.asked)
        Expect(std::count(own.begin(), own.end(), offset) != 0, Rule::SETUP_ALL,
               "base + " + Number(offset) + " was set, which is no command of the module's");
    if (!module.hasChooser) return;
    const bool help = enabled.enabled.count(CHOOSER_COMMAND) != 0;
    Expect(help == (active != nullptr), active ? Rule::SETUP_ALL : Rule::GREYED,
           std::string("Effects Help was ") + (help ? "enabled" : "greyed"));
}

static void CheckGreying(const CheckedModule &module)
{
    ModuleStage stage(module.request.module);
    Doing("called KPZSetupMenus without an image");
    CheckGreyingOf(module, stage, nullptr);
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const int32_t editing : {0, 1, -7, 0x100}) {
            ImageRecord image = {};
            image.colourType = type;
            image.bitsPerPixel = type == RGB ? 24 : type == ONE_BIT ? 1 : 8;
            image.maskEditing = editing;
            Doing("called KPZSetupMenus for " + TypeName(type) + (editing ? " whose mask is edited" : ""));
            CheckGreyingOf(module, stage, &image);
        }
    }
}

//---- Commands

static INT_PTR Give(ModuleStage &stage, int32_t command, int32_t base)
{
    return stage.host.module.commandProcessor(&stage.host.context, command, 111, base, 222);
}

// What is asked of the host while a command is handled; a dialog that opens is dismissed.
static Calls CallsOfCommand(ModuleStage &stage, int32_t command, int32_t base, INT_PTR &result)
{
    stage.host.onDialogOpened = [](HWND dialog) { KPZ_DismissDialog(dialog, DISMISSED); };
    return CallsDuring([&] { result = Give(stage, command, base); });
}

static void ExpectNothing(ModuleStage &stage, int32_t command, int32_t base)
{
    INT_PTR result = -1;
    Doing("gave the command " + Number(command) + " with base " + Number(base));
    const Calls calls = CallsOfCommand(stage, command, base, result);
    Expect(result == 0, Rule::NO_COMMAND, "it returned " + Number(result));
    Expect(CountOf(calls, "KPZ_RunDialogBox") == 0, Rule::NO_COMMAND, "a dialog was opened");
}

static void CheckNoCommands(const CheckedModule &module)
{
    ModuleStage stage(module.request.module);
    const std::vector<int32_t> own = OffsetsOf(module);
    for (const int32_t offset : own) ExpectNothing(stage, BASE + offset, BASE);   // no image is open
    Open(stage, AnyPicture(RGB));
    for (int32_t offset = -5; offset <= 100; ++offset)
        if (module.request.effect.empty() && !std::count(own.begin(), own.end(), offset))
            ExpectNothing(stage, BASE + offset, BASE);
    ExpectNothing(stage, 0xFFFE, 0xFFFE - own[0]);
}

static void ExpectDialog(ModuleStage &stage, const CheckedEffect &effect, int32_t command, int32_t base, Rule rule)
{
    INT_PTR result = -1;
    HostContext &host = stage.host.context;
    const Calls calls = CallsOfCommand(stage, command, base, result);
    const Calls opened = Only(calls, {"KPZ_RunDialogBox"});
    if (!Expect(opened.size() == 1, rule, Number(intptr_t(opened.size())) + " dialogs were opened")) return;
    const auto &arguments = opened[0].arguments;
    Expect(arguments[1] != 0, Rule::OPENS_DIALOG, "it has no procedure");
    Expect(arguments[2] == reinterpret_cast<intptr_t>(KPZ_GetLoadedModuleHandle(host.resourceModule)),
           Rule::OPENS_DIALOG,
           "it was not opened with the module that KPZ_GetLoadedModuleHandle gives for the host's name");
    Expect(arguments[4] == reinterpret_cast<intptr_t>(&host), Rule::OPENS_DIALOG,
           "its parameter is not the host's record");
    const auto templateId = int32_t(arguments[3]);
    if (effect.known)
        Expect(templateId == effect.known->templateId, Rule::OPENS_DIALOG,
               "it was the template " + Number(templateId) + " and not " + Number(effect.known->templateId));
    if (!FindDialogTemplate(templateId))
        return Note(effect.word + ": its dialog asks for the template " + Number(templateId) +
                    ", which this host has not: what is behind it is not looked at");
    Expect(result == DISMISSED, Rule::COMMAND_RESULT,
           "the dialog was dismissed with 42, and the command returned " + Number(result));
}

static void CheckCommand(const CheckedModule &module, const CheckedEffect &effect)
{
    ModuleStage stage(module.request.module);
    Open(stage, AnyPicture(RGB));
    Doing("gave the command of '" + effect.label + "'");
    ExpectDialog(stage, effect, BASE + effect.offset, BASE, Rule::OPENS_DIALOG);
    Doing("gave the command of '" + effect.label + "' with something in its high 16 bits");
    ExpectDialog(stage, effect, int32_t(0xABCD0000u) + BASE + effect.offset, BASE, Rule::LOW_BITS);
    Doing("gave the command of '" + effect.label + "' as the negative number -2");
    ExpectDialog(stage, effect, 0xFFFE, -2 - effect.offset, Rule::LOW_BITS);
    Doing("gave the command of '" + effect.label + "' with base 32000");
    ExpectDialog(stage, effect, 32000 + effect.offset, 32000, Rule::OPENS_DIALOG);
}

//---- The chooser

static const ChooserRecord *RecordInUse()
{
    LoggedCall entry = {};
    const ChooserRecord *record = nullptr;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i)
        if (strcmp(entry.call, "KPZ_RunDialogBox") == 0 && entry.arguments[3] == CHOOSER_TEMPLATE)
            record = reinterpret_cast<const ChooserRecord *>(entry.arguments[4]);
    return record;
}

static void CheckRecord(const ModuleStage &stage)
{
    const ChooserRecord *record = RecordInUse();
    if (!Expect(record != nullptr, Rule::CHOOSER_RECORD_FILLED, "there is none")) return;
    Expect(record->resourceModule && strcmp(record->resourceModule, stage.host.context.resourceModule) == 0,
           Rule::CHOOSER_RECORD_FILLED, "resourceModule is not the host's");
    Expect(record->host == &stage.host.context, Rule::CHOOSER_RECORD_FILLED, "host is not the host's record");
    Expect(strcmp(record->title, "Effects Helper") == 0, Rule::CHOOSER_RECORD_FILLED,
           std::string("the title is '") + record->title + "'");
    Expect(record->entryCount >= 1 && record->entryCount <= 22, Rule::CHOOSER_RECORD_FILLED,
           "entryCount is " + Number(record->entryCount));
    Expect(strcmp(record->names[0], "Original Image") == 0, Rule::CHOOSER_RECORD_FILLED,
           std::string("the first name is '") + record->names[0] + "'");
    for (int i = 0; i < 22; ++i)
        Expect(record->ids[i] == 911 + i, Rule::CHOOSER_RECORD_FILLED,
               "id " + Number(i) + " is " + Number(record->ids[i]));
    for (int i = 1; i < 22; ++i) {
        char name[50];
        KPZ_LoadString(stage.host.context.window, stage.host.context.resourceModule, 5100 + i, name, sizeof name);
        Expect(strcmp(name, record->names[i]) == 0, Rule::CHOOSER_RECORD_FILLED,
               "name " + Number(i) + " is '" + record->names[i] + "' and not the host's string '" + name + "'");
    }
}

// The templates of the dialogs that open when the chooser is dismissed with `choice`.
static std::vector<intptr_t> Choose(ModuleStage &stage, INT_PTR choice, INT_PTR &result)
{
    stage.host.onChooserOpened = [&](HWND chooser) {
        CheckRecord(stage);
        KPZ_DismissDialog(chooser, choice);
    };
    std::vector<intptr_t> templates;
    for (const Call &call : Only(CallsOfCommand(stage, BASE + CHOOSER_COMMAND, BASE, result), {"KPZ_RunDialogBox"}))
        templates.push_back(call.arguments[3]);
    return templates;
}

static void CheckChooser(const CheckedModule &module)
{
    ModuleStage stage(module.request.module);
    Open(stage, AnyPicture(RGB));
    for (const int32_t choice : {int32_t(CHOOSER_CANCELLED), -1, 22, 1000}) {
        INT_PTR result = -1;
        Doing("chose Effects Help and dismissed the chooser with " + Number(choice));
        const std::vector<intptr_t> opened = Choose(stage, choice, result);
        Expect(opened.size() == 1 && opened[0] == CHOOSER_TEMPLATE, Rule::CHOOSER_CHOICE,
               Number(intptr_t(opened.size())) + " dialogs were opened");
        Expect(result == 0, Rule::CHOOSER_CHOICE, "the command returned " + Number(result));
    }
    for (int entry = 0; entry < EFFECT_COUNT; ++entry) {
        const EffectEntry &effect = effectTable[entry];
        const auto has = [&](const CheckedEffect &own) { return own.known == &effect; };
        if (std::none_of(module.effects.begin(), module.effects.end(), has)) continue;
        INT_PTR result = -1;
        Doing("chose Effects Help and there entry " + Number(entry) + ", " + effect.title);
        const std::vector<intptr_t> opened = Choose(stage, entry, result);
        Expect(opened.size() == 2 && opened[1] == effect.templateId, Rule::CHOOSER_CHOICE,
               opened.size() == 2 ? "the template " + Number(opened[1]) + " was opened" : "no dialog was opened");
        Expect(result == DISMISSED, Rule::CHOOSER_CHOICE,
               "the dialog was dismissed with 42, and the command returned " + Number(result));
    }
}

void PlanCommandChecks(const CheckedModule &module, Plan &plan)
{
    plan.push_back({2, "2/menu", "", [&] { CheckMenu(module); }});
    plan.push_back({2, "2/greying", "", [&] { CheckGreying(module); }});
    plan.push_back({2, "2/no-command", "", [&] { CheckNoCommands(module); }});
    for (const CheckedEffect &effect : module.effects)
        plan.push_back({2, "2/" + effect.word + "/command", effect.word, [&] { CheckCommand(module, effect); }});
    if (module.hasChooser) plan.push_back({2, "2/chooser", "", [&] { CheckChooser(module); }});
}
