// Level 3: dialogs as they open, are worked, hear of images, and go. What Apply leads to is level 4's.

#include "host/check/effect_facts.h"
#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"

#include <algorithm>
#include <cstring>

using namespace std::string_literals;

static Picture SmallPicture(std::mt19937 &generator, int32_t type = RGB)
{
    return RandomPictureOf(type, 12, 9, 0, generator);
}

// With some pictures open, the first of them active.
static void InDialogOn(const CheckedModule &module, const CheckedEffect &effect, int images,
                       const std::function<void(OpenDialog &)> &script)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(module.request.seed);
    for (int i = 0; i < images; ++i) Open(stage, SmallPicture(generator));
    Doing("opened the dialog of " + effect.word + " with " + Number(images) + (images == 1 ? " image" : " images"));
    InDialogOf(effect, stage, script);
}

//---- Opening and going

static void ExpectOrder(const Calls &calls, const std::vector<std::string> &steps, Rule rule)
{
    size_t next = 0;
    for (const Call &call : calls)
        if (next < steps.size() && call.name == steps[next]) ++next;
    if (next < steps.size())
        Found(rule, steps[next] + (CountOf(calls, steps[next]) ? " was not called in its place" : " was not called"));
}

static size_t FirstOf(const Calls &calls, const std::string &name)
{
    for (size_t i = 0; i < calls.size(); ++i)
        if (calls[i].name == name) return i;
    return calls.size();
}

// Ranges stand before values, and nothing works a control that the template has not.
static void ExpectControls(const OpenDialog &open, const Calls &calls)
{
    if (!open.table) return;
    for (const Call &call : calls) {
        const bool takesId = call.name == "KPZ_SetSpinBoxRange" || call.name == "KPZ_SetSpinBoxValue" ||
                             call.name == "KPZ_GetSpinBoxIntValue" || call.name == "KPZ_CheckButton" ||
                             call.name == "KPZ_IsButtonChecked" || call.name == "SetDlgItemInt" ||
                             call.name == "KPZ_TrackbarSetRange" || call.name == "KPZ_TrackbarSetPos" ||
                             call.name == "KPZ_ListBoxAddToEnd" || call.name == "KPZ_SendDlgItemMsg";
        if (!takesId || reinterpret_cast<HWND>(call.arguments[0]) != open.dialog) continue;
        const auto id = int32_t(call.arguments[1]);
        const bool shared =
            id >= 0 && !IsOwnControl({PUSH_BUTTON, int16_t(id), 0, 0, 0, 0, false, "", nullptr, nullptr, nullptr});
        Expect(shared || FindControl(open.table, id) != nullptr, Rule::KNOWN_CONTROL,
               call.name + " was called for the control " + Number(id));
        if (call.name != "KPZ_SetSpinBoxRange") continue;
        Expect(call.arguments[2] <= call.arguments[3], Rule::RANGE_SET,
               "the range of " + Number(id) + " is " + Number(int32_t(call.arguments[2])) + ".." +
                   Number(int32_t(call.arguments[3])));
    }
}

static void ExpectDefaults(const OpenDialog &open)
{
    if (!open.table) return;
    for (int32_t i = 0; i < open.table->controlCount; ++i) {
        const ControlTemplate &row = open.table->controls[i];
        if (row.kind != SPIN_ARROWS) continue;
        int32_t low = 0, high = 0;
        HostSpinRange(open.dialog, row.id, &low, &high);
        const int32_t value = KPZ_GetSpinBoxIntValue(open.dialog, row.id);
        Expect(value >= low && value <= high, Rule::RANGE_SET,
               "the default of " + Number(row.id) + " is " + Number(value) + " and its range " + Number(low) + ".." +
                   Number(high));
    }
    const EffectFacts *facts = open.effect.known ? FactsOf(open.effect.offset) : nullptr;
    if (!facts) return;
    for (const SpinFact &spin : facts->spins) {
        int32_t low = 0, high = 0;
        HostSpinRange(open.dialog, spin.id, &low, &high);
        const int32_t value = KPZ_GetSpinBoxIntValue(open.dialog, spin.id);
        Expect(low == spin.low && high == spin.high, Rule::SHEET_RANGE,
               "that of " + Number(spin.id) + " is " + Number(low) + ".." + Number(high) + " and not " +
                   Number(spin.low) + ".." + Number(spin.high));
        Expect(value == spin.value, Rule::SHEET_DEFAULT,
               Number(spin.id) + " opens with " + Number(value) + " and not " + Number(spin.value));
    }
    for (const int id : facts->checked)
        Expect(KPZ_IsButtonChecked(open.dialog, id) != 0, Rule::SHEET_CHECKED, Number(id) + " is not checked");
    for (const ParameterFact &fact : AllParameterFacts()) {
        if (fact.offset != open.effect.offset) continue;
        const bool button = fact.type == ParameterControl::RADIO || fact.type == ParameterControl::CHECK;
        if (button && !std::count(facts->checked.begin(), facts->checked.end(), fact.id))
            Expect(!KPZ_IsButtonChecked(open.dialog, fact.id), Rule::SHEET_CHECKED, Number(fact.id) + " is checked");
        if (fact.type == ParameterControl::COLOUR)
            Expect(HostShownColour(open.dialog, fact.id) == 0, Rule::SHEET_DEFAULT, "the colour is not black");
    }
    Expect(KPZ_TrackbarGetPos(open.dialog, PRIORITY_TRACKBAR) == 0, Rule::SHEET_PRIORITY,
           "the priority opens with " + Number(KPZ_TrackbarGetPos(open.dialog, PRIORITY_TRACKBAR)));
}

static void ExpectBlocks(const OpenDialog &open, const Calls &calls)
{
    const HandedHeader *last = nullptr;
    const std::vector<HandedHeader> handed = HandedHeaders(calls);
    std::vector<ImageRecord *> images;
    for (const HandedHeader &one : handed) images.push_back(one.image);
    for (const ImageRecord *image = open.stage.host.context.firstImage; image; image = image->next) {
        const auto count = std::count(images.begin(), images.end(), image);
        Expect(count == 1, Rule::BLOCKS_FILLED,
               "InitializeFilter was called " + Number(intptr_t(count)) + " times for one of the images");
    }
    const EffectFacts *facts = open.effect.known ? FactsOf(open.effect.offset) : nullptr;
    for (const HandedHeader &one : handed) {
        const FilterHeader &header = *one.header;
        last = &one;
        if (!Expect(header.block && &header.block->header == &header, Rule::BLOCK_SET,
                    "header.block is not the block that the header is part of"))
            return;
        Expect(header.image == one.image, Rule::BLOCK_SET,
               "header.image is not the image that the block was filled for");
        Expect(header.owner == open.dialog, Rule::BLOCK_SET, "header.owner is not the dialog");
        Expect(header.priority >= 0 && header.priority <= 4, Rule::BLOCK_SET,
               "header.priority is " + Number(header.priority));
        Expect(header.zero == 0, Rule::BLOCK_SET, "header.zero is " + Number(header.zero));
        Expect(header.block->view.blockSize >= int32_t(sizeof(EffectBlock)), Rule::BLOCK_BYTES,
               "it is " + Number(header.block->view.blockSize));
        Expect(header.block->previewOn && *header.block->previewOn, Rule::PREVIEW_SHOWN,
               "previewOn is null or 0 though the check box is checked");
        if (!facts) continue;
        Expect(strcmp(header.title, facts->title) == 0, Rule::SHEET_TITLE,
               std::string("the block's title is '") + header.title + "' and not '" + facts->title + "'");
        const bool ownRun = open.effect.offset == MIRROR_COMMAND || open.effect.offset == SHEAR_COMMAND;
        Expect((header.worker != nullptr) != ownRun, Rule::AFTER_INITIALIZE,
               header.worker ? "there is a worker" : "there is no worker");
    }
    if (!last) return;
    const Messages shown = MessagesTo(PREVIEW_CONTROL, calls);
    const ImageRecord *active = open.stage.host.context.activeImage;
    const FilterHeader *header = open.HeaderOf(active);
    const auto count = std::count_if(shown.begin(), shown.end(),
                                     [](const Message &message) { return message.message == SHOW_PREVIEW; });
    Expect(count >= 1, Rule::PREVIEW_SHOWN, "it was not sent");
    for (const Message &message : shown) {
        if (message.message != SHOW_PREVIEW) continue;
        const bool own = message.extra == reinterpret_cast<LPARAM>(header) ||
                         message.extra == reinterpret_cast<LPARAM>(header ? header->block : nullptr);
        Expect(own, Rule::PREVIEW_SHOWN, "its long parameter is neither the header nor the block of the active image");
    }
}

static void ExpectColourSettings(const OpenDialog &open, const Calls &calls)
{
    const EffectFacts *facts = open.effect.known ? FactsOf(open.effect.offset) : nullptr;
    if (!facts) return;
    int hints = 0;
    for (const Message &message : MessagesTo(1130, calls))
        if (message.message == COLOUR_SETTING && message.word != COLOUR_SHOWN)
            hints += message.word == COLOUR_SETTING_4 ? message.extra == 0 : message.extra == 1;
    Expect(hints == (facts->configuresColour ? 2 : 0), Rule::SHEET_COLOUR,
           Number(hints) + " of the keys 4 and 5 were set");
}

// What is asked of the host while a dialog opens, up to where the script begins.
static void CheckOpening(const CheckedModule &module, const CheckedEffect &effect)
{
    for (const int images : {1, 3}) {
        ModuleStage stage(module.request.module);
        std::mt19937 generator(module.request.seed);
        for (int i = 0; i < images; ++i) Open(stage, SmallPicture(generator));
        if (images > 1) ActivateImage(stage.host, stage.images[1]);
        const uint64_t mark = BlockMark();
        HWND gone = nullptr;
        Calls opening, leaving;
        Doing("opened the dialog of " + effect.word + " with " + Number(images) + (images == 1 ? " image" : " images"));
        HostStartLog();
        InDialogOf(effect, stage, [&](OpenDialog &open) {
            HostStopLog();
            LoggedCall entry;
            for (int32_t i = 0; HostLogEntry(i, &entry); ++i) {
                Call call{entry.call, {}, entry.text, false};
                std::copy(std::begin(entry.arguments), std::end(entry.arguments), call.arguments.begin());
                opening.push_back(call);
            }
            gone = open.dialog;
            HostContext &host = stage.host.context;
            ExpectOrder(opening,
                        {"KPZ_SetupDialogHotkeys", "KPZ_SetWindowPtrSystem", "InitializeFilter", "KPZ_TrackbarSetRange",
                         "KPZ_TrackbarSetPos", "AddToFloaters", "CenterWindow"},
                        Rule::OPENING_ORDER);
            if (CountOf(opening, "KPZ_SetSpinBoxRange") && CountOf(opening, "KPZ_SetSpinBoxValue"))
                Expect(FirstOf(opening, "KPZ_SetSpinBoxRange") < FirstOf(opening, "KPZ_SetSpinBoxValue"),
                       Rule::OPENING_ORDER, "a value was set before the ranges");
            ExpectControls(open, opening);
            ExpectDefaults(open);
            ExpectBlocks(open, opening);
            ExpectColourSettings(open, opening);
            Expect(host.openEffectDialog == open.dialog, Rule::OPEN_EFFECT, "openEffectDialog is not the dialog");
            if (const EffectFacts *facts = effect.known ? FactsOf(effect.offset) : nullptr)
                Expect(strcmp(host.openEffectTitle, facts->openTitle) == 0, Rule::SHEET_TITLE,
                       std::string("openEffectTitle is '") + host.openEffectTitle + "' and not '" + facts->openTitle +
                           "'");
            Expect(MiscFloaterCount(host.floaters) == 1 && MiscFloaterAt(host.floaters, 0) == open.dialog,
                   Rule::OPENING_ORDER, "the dialog is not on the list of floating windows");
            for (const Call &range : Only(opening, {"KPZ_TrackbarSetRange"}))
                Expect(range.arguments[2] == 0 && range.arguments[3] == 4, Rule::TRACKBAR_RANGE,
                       "the trackbar's range is not 0..4");
            for (const Call &call : Only(opening, {"KPZ_AllocMem"}))
                Expect(call.arguments[2] == 0x301, Rule::ALLOC_FLAGS, "they were " + Number(call.arguments[2]));
            for (const HWND child : ChildrenOf(open.dialog))
                if (!Expect(KPZ_IsWindowEnabled(child) != 0, Rule::READY_AGAIN,
                            "a control is disabled though nothing runs"))
                    break;
            int shown = -1;
            for (const Call &call : Only(opening, {"KPZ_ShowWindow"}))
                if (reinterpret_cast<HWND>(call.arguments[0]) == GetDlgItem(open.dialog, ABORT_BUTTON))
                    shown = call.arguments[1] != 0;
            Expect(shown == 0, Rule::ABORT_SHOWN, "it was not hidden as the dialog opened");
            Doing("pressed the close button in the dialog of " + effect.word);
            leaving = CallsDuring([&] { Press(open.dialog, CLOSE_BUTTON); });
        });
        HostStopLog();
        if (!gone) return;
        ExpectOrder(leaving,
                    {"KPZ_DismissDialog", "KPZ_RemoveDialogHotkeys", "RemoveFromFloaters", "KPZ_SetWindowPtrSystem"},
                    Rule::LEAVING_ORDER);
        for (const Call &call : Only(leaving, {"KPZ_DismissDialog"}))
            Expect(call.arguments[1] == 1, Rule::LEAVING_ORDER,
                   "the dialog was dismissed with " + Number(call.arguments[1]));
        for (const Call &call : Only(leaving, {"KPZ_SetWindowPtrSystem"}))
            Expect(call.arguments[1] == 0, Rule::LEAVING_ORDER, "the pointer was not cleared");
        const HostContext &host = stage.host.context;
        Expect(!host.openEffectDialog && !host.openEffectTitle[0], Rule::OPEN_EFFECT,
               "they still stand when the dialog has gone");
        Expect(MiscFloaterCount(host.floaters) == 0, Rule::LEAVING_ORDER,
               "the dialog is still on the list of floating windows");
        Expect(BlocksMadeSince(mark) == 0, Rule::RETURNED, "the dialog has not handed back " + BlocksSince(mark));
    }
}

//---- Controls

struct Change {
    Messages heard;   // what the preview was told
    std::vector<int32_t> before, after;
};

static Change Changing(OpenDialog &open, const std::function<void()> &act)
{
    const ImageRecord *image = open.stage.host.context.activeImage;
    Change change;
    change.before = open.ParametersOf(image);
    change.heard = MessagesTo(PREVIEW_CONTROL, act);
    change.after = open.ParametersOf(image);
    return change;
}

// A person's hand on a control that has a new value then.
static void ExpectTaken(OpenDialog &open, const std::string &what, bool previewOn, const std::function<void()> &act)
{
    Doing(what + " in the dialog of " + open.effect.word + (previewOn ? "" : " with the preview off"));
    const Change change = Changing(open, act);
    const auto told = std::count_if(change.heard.begin(), change.heard.end(),
                                    [](const Message &message) { return message.message == PREVIEW_CHANGED; });
    const auto redrawn = std::count_if(change.heard.begin(), change.heard.end(),
                                       [](const Message &message) { return message.message == SHOW_PREVIEW; });
    if (change.before == change.after) {
        Expect(told == 0 || change.before.empty() || !previewOn || told == 1, Rule::PREVIEW_TOLD,
               "nothing changed, and it was told " + Number(intptr_t(told)) + " times");
        return;
    }
    // Shear tells nothing of its colour.
    const bool silent = open.effect.known && open.effect.offset == SHEAR_COMMAND;
    if (previewOn)
        Expect(silent || told + redrawn >= 1, Rule::PREVIEW_TOLD, "the parameters changed, and it was not told");
    else Expect(told == 0, Rule::PREVIEW_TOLD, "it was told " + Number(intptr_t(told)) + " times");
    for (const Message &message : change.heard)
        if (message.message == PREVIEW_CHANGED)
            Expect(message.word == 0 && message.extra == 0, Rule::PREVIEW_TOLD, "its parameters are not 0");
}

static void WorkSpin(OpenDialog &open, const ControlTemplate &row, int fieldId, bool previewOn)
{
    int32_t low = 0, high = 0;
    HostSpinRange(open.dialog, row.id, &low, &high);
    for (const std::string &text : {std::to_string(low), std::to_string(high), std::to_string(low - 1),
                                    std::to_string(high + 1), "7"s, "x"s, ""s}) {
        ExpectTaken(open, "typed '" + text + "' into " + Number(fieldId), previewOn,
                    [&] { Type(open.dialog, fieldId, text); });
        const int32_t value = KPZ_GetSpinBoxIntValue(open.dialog, row.id);
        Expect(value >= low && value <= high, Rule::RANGE_SET, "it reads as " + Number(value));
    }
    if (row.kind != SPIN_ARROWS) return;
    for (const int steps : {1, -1, 3})
        ExpectTaken(open, "clicked the arrows of " + Number(row.id), previewOn,
                    [&] { HostClickArrows(open.dialog, row.id, steps); });
}

static void CheckControls(const CheckedModule &module, const CheckedEffect &effect)
{
    InDialogOn(module, effect, 1, [&](OpenDialog &open) {
        if (!open.table) return;
        for (const bool previewOn : {true, false}) {
            Tick(open.dialog, PREVIEW_CHECK, previewOn);
            for (int32_t i = 0; i < open.table->controlCount; ++i) {
                const ControlTemplate &row = open.table->controls[i];
                if (!IsOwnControl(row)) continue;
                const bool spin = row.kind == NUMBER_FIELD && i + 1 < open.table->controlCount &&
                                  open.table->controls[i + 1].kind == SPIN_ARROWS;
                if (row.kind == SPIN_ARROWS) WorkSpin(open, row, open.table->controls[i - 1].id, previewOn);
                if (row.kind == NUMBER_FIELD && !spin) WorkSpin(open, row, row.id, previewOn);
                if (row.kind == RADIO_BUTTON || row.kind == CHECK_BOX)
                    ExpectTaken(open, "clicked " + Number(row.id), previewOn, [&] { Press(open.dialog, row.id); });
                if (row.kind == COLOUR_CONTROL)
                    ExpectTaken(open, "picked a colour with " + Number(row.id), previewOn,
                                [&] { PickColour(open.dialog, row.id, previewOn ? 0x123456 : 0x654321); });
                if (row.kind == LIST_BOX)
                    ExpectTaken(open, "double-clicked the third entry of " + Number(row.id), previewOn,
                                [&] { DoubleClick(open.dialog, row.id, 2); });
            }
        }
    });
}

static int32_t Worked(HWND dialog, const ParameterFact &fact, int32_t before)
{
    switch (fact.type) {
    case ParameterControl::SPIN: HostTypeNumber(dialog, fact.fieldId, "7"); return 7;
    case ParameterControl::COLOUR: HostPickColour(dialog, fact.id, 0x123456); return 0x123456;
    case ParameterControl::RADIO: KPZ_SendDlgItemMsg(dialog, fact.id, BM_CLICK, 0, 0); return fact.id;
    case ParameterControl::CHECK: break;
    }
    KPZ_SendDlgItemMsg(dialog, fact.id, BM_CLICK, 0, 0);
    return 1 - before;
}

static void CheckParameters(const CheckedModule &module, const CheckedEffect &effect)
{
    if (!effect.known) return;
    InDialogOn(module, effect, 1, [&](OpenDialog &open) {
        const ImageRecord *image = open.stage.host.context.activeImage;
        for (const ParameterFact &fact : AllParameterFacts()) {
            if (fact.offset != effect.offset) continue;
            std::vector<int32_t> expected = open.ParametersOf(image);
            Doing("worked the control " + Number(fact.id) + " in the dialog of " + effect.word);
            if (!Expect(size_t(fact.parameter) < expected.size(), Rule::SHEET_PARAMETER,
                        "the block has no such parameter"))
                continue;
            int32_t &parameter = expected[size_t(fact.parameter)];
            parameter = Worked(open.dialog, fact, parameter);
            Expect(open.ParametersOf(image) == expected, Rule::SHEET_PARAMETER,
                   "its parameter has not its value, or another one has changed");
            if (fact.type != ParameterControl::SPIN) continue;
            HostClickArrows(open.dialog, fact.id, 1);
            ++expected[size_t(fact.parameter)];
            Expect(open.ParametersOf(image) == expected, Rule::SHEET_PARAMETER,
                   "a click of its arrows did not reach its parameter alone");
        }
    });
}

// Notifications that tell of no change.
static void CheckNotifications(const CheckedModule &module, const CheckedEffect &effect)
{
    InDialogOn(module, effect, 1, [&](OpenDialog &open) {
        if (!open.table) return;
        for (int32_t i = 0; i < open.table->controlCount; ++i) {
            const ControlTemplate &row = open.table->controls[i];
            if (!IsOwnControl(row) ||
                (row.kind != NUMBER_FIELD && row.kind != SPIN_ARROWS && row.kind != COLOUR_CONTROL))
                continue;
            uint32_t colour = 0x777777;
            for (const int notification : {1, 0x100, 0x200, 0x400, 0x500}) {
                Doing("sent WM_COMMAND of " + Number(row.id) + " with the notification " + Number(notification) +
                      " to the dialog of " + effect.word);
                const Change change = Changing(
                    open, [&] { Command(open.dialog, row.id, notification, reinterpret_cast<LPARAM>(&colour)); });
                Expect(change.before == change.after, Rule::NOTIFICATIONS, "a parameter has changed");
                Expect(change.heard.empty(), Rule::NOTIFICATIONS, "the preview was told");
            }
        }
    });
}

//---- Commands that all dialogs share

static void CheckSharedCommands(const CheckedModule &module, const CheckedEffect &effect)
{
    InDialogOn(module, effect, 2, [&](OpenDialog &open) {
        ModuleStage &stage = open.stage;
        const ImageRecord *image = stage.host.context.activeImage;
        const HWND dialog = open.dialog;
        for (int id = HOST_COMMAND_FIRST; id <= HOST_COMMAND_LAST; ++id) {
            Doing("gave the command " + Number(id) + " in the dialog of " + effect.word);
            LRESULT result = 0;
            const Calls calls = CallsAfter(dialog, WM_COMMAND, WPARAM(id), 0x77, result);
            const Calls posted = Only(calls, {"KPZ_SendMsgNoWait"});
            const bool forwarded = posted.size() == 1 &&
                                   reinterpret_cast<HWND>(posted[0].arguments[0]) == stage.host.context.window &&
                                   posted[0].arguments[1] == FORWARDED_COMMAND && posted[0].arguments[2] == id &&
                                   posted[0].arguments[3] == 0x77;
            Expect(forwarded, Rule::FORWARDED,
                   posted.empty() ? "it was not posted" : "it was posted elsewhere or with other parameters");
            Expect(result == 1, Rule::ANSWERS, "the answer was " + Number(result));
        }
        HandlePosted();
        ActivateImage(stage.host, stage.images[0]);

        Doing("pressed the help button in the dialog of " + effect.word);
        stage.helpPages.clear();
        Command(dialog, HELP_BUTTON);
        if (effect.known)
            Expect(stage.helpPages == std::vector<int32_t>{effect.known->helpContext}, Rule::SHEET_HELP,
                   stage.helpPages.empty() ? "no page was opened"
                                           : "the page " + Number(stage.helpPages[0]) + " was opened and not " +
                                                 Number(effect.known->helpContext));

        for (const auto &[message, word] :
             {std::pair<UINT, WPARAM>(WM_USER + 77, 5), {WM_COMMAND, 31000}, {WM_PAINT, 0}}) {
            Doing("sent the message " + Number(message) + " to the dialog of " + effect.word);
            LRESULT result = 0;
            const Calls calls = CallsAfter(dialog, message, word, 0, result);
            const Calls passed = Only(calls, {"KPZ_DefDlgProc"});
            Expect(passed.size() == 1 && passed[0].arguments[1] == intptr_t(message), Rule::DEF_DLG_PROC,
                   "KPZ_DefDlgProc was called " + Number(intptr_t(passed.size())) + " times");
        }

        for (const auto &[id, mode] : {std::pair(int(SCOPE_ALL_RADIO), int(SCOPE_ALL)),
                                       {SCOPE_OBJECTS_RADIO, SCOPE_OBJECTS},
                                       {SCOPE_NEW_OBJECT_RADIO, SCOPE_NEW_OBJECT},
                                       {SCOPE_IMAGE_RADIO, SCOPE_IMAGE}}) {
            if (!GetDlgItem(dialog, id)) continue;
            Doing("pressed the scope button " + Number(id) + " in the dialog of " + effect.word);
            const Messages heard = MessagesTo(PREVIEW_CONTROL, [&, button = id] { Press(dialog, button); });
            const FilterHeader *header = open.HeaderOf(image);
            Expect(!header || header->previewMode == mode, Rule::SCOPE_SET,
                   "the block's preview mode is " + Number(header ? header->previewMode : -1) + " and not " +
                       Number(mode));
            if (effect.known && effect.offset != SHEAR_COMMAND)
                Expect(!heard.empty(), Rule::PREVIEW_SHOWN, "the preview was not shown the new scope");
        }

        Doing("moved the priority in the dialog of " + effect.word);
        KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, 3);
        Command(dialog, PRIORITY_TRACKBAR);
        const FilterHeader *header = open.HeaderOf(image);
        Expect(!header || header->priority == 3, Rule::PRIORITY_SET,
               "the block's priority is " + Number(header ? header->priority : -1));
        Expect(SharedRead(image->abortRequest) == 0, Rule::ABORT_PRESSED,
               "abortRequest was set and nobody pressed Abort");
        Doing("pressed Abort in the dialog of " + effect.word + " while nothing ran");
        Command(dialog, ABORT_BUTTON);
        Expect(SharedRead(image->abortRequest) == 1, Rule::ABORT_PRESSED,
               "abortRequest is " + Number(SharedRead(image->abortRequest)));

        Doing("sent REFRESH_PREVIEW to the dialog of " + effect.word);
        for (const bool on : {true, false}) {
            Tick(dialog, PREVIEW_CHECK, on);
            const Messages shown = MessagesTo(PREVIEW_CONTROL, [&] { Send(dialog, REFRESH_PREVIEW); });
            Expect(shown.empty() != on, Rule::PREVIEW_SHOWN,
                   on ? "the preview was not shown again" : "it was shown though it is off");
        }

        Doing("sent RUN_FINISHED to the dialog of " + effect.word + " though nothing ran");
        const Calls finished =
            CallsDuring([&] { Send(dialog, RUN_FINISHED, reinterpret_cast<WPARAM>(image->window)); });
        Expect(CountOf(finished, "ChooseMenus") == 1, Rule::READY_AGAIN,
               "ChooseMenus was called " + Number(CountOf(finished, "ChooseMenus")) + " times");

        Doing("sent WM_CLOSE to the dialog of " + effect.word);
        const Calls closing = CallsDuring([&] { Send(dialog, WM_CLOSE); });
        const Calls posted = Only(closing, {"KPZ_SendMsgNoWait"});
        Expect(IsOpen(dialog), Rule::CLOSE_POSTED, "the dialog went at once");
        Expect(posted.size() == 1 && posted[0].arguments[1] == WM_COMMAND && posted[0].arguments[2] == CLOSE_BUTTON,
               Rule::CLOSE_POSTED, "the close button's command was not posted");
        HandlePosted();
        Expect(!IsOpen(dialog), Rule::CLOSE_POSTED, "the dialog has not gone when the command was handled");
        Doing("sent messages to the dialog of " + effect.word + " when it had gone");
        for (const UINT message : {UINT(WM_COMMAND), UINT(RUN_FINISHED), UINT(IMAGE_OPENED), UINT(WM_DESTROY)})
            Send(dialog, message, APPLY_BUTTON);
    });
}

//---- Images that come and go

static LPARAM ShownIn(const Messages &messages)
{
    LPARAM shown = 0;
    for (const Message &message : messages)
        if (message.message == SHOW_PREVIEW) shown = message.extra;
    return shown;
}

static bool IsShown(const OpenDialog &open, const ImageRecord *image, LPARAM extra)
{
    FilterHeader *header = open.HeaderOf(image);
    return header && (extra == reinterpret_cast<LPARAM>(header) || extra == reinterpret_cast<LPARAM>(header->block));
}

static void CheckImages(const CheckedModule &module, const CheckedEffect &effect)
{
    const uint64_t all = BlockMark();
    InDialogOn(module, effect, 2, [&](OpenDialog &open) {
        ModuleStage &stage = open.stage;
        std::mt19937 generator(module.request.seed + 7);
        const HWND dialog = open.dialog;
        SetAtRandom(open, generator);
        const std::vector<int32_t> first = open.ParametersOf(stage.images[0]);

        Doing("opened an image while the dialog of " + effect.word + " was open");
        ImageRecord *third = nullptr;
        Calls calls = CallsDuring([&] { third = Open(stage, SmallPicture(generator, GREY)); });
        Expect(CountOf(calls, "InitializeFilter") == 1 && open.HeaderOf(third), Rule::IMAGE_TAKEN,
               "InitializeFilter was called " + Number(CountOf(calls, "InitializeFilter")) + " times");
        Expect(open.ParametersOf(stage.images[0]) == first, Rule::IMAGE_TAKEN,
               "the parameters of another image have changed");

        Doing("told the dialog of " + effect.word + " a second time of an image that had been opened");
        const uint64_t mark = BlockMark();
        const int blocks = BlockCount();
        calls = CallsDuring([&] { Send(dialog, IMAGE_OPENED, 0, third); });
        Expect(BlockCount() == blocks, Rule::IMAGE_TAKEN,
               "there are " + Number(BlockCount() - blocks) + " more blocks: " + BlocksSince(mark));

        for (ImageRecord *image : {third, stage.images[1], stage.images[0]}) {
            Doing("made another image active while the dialog of " + effect.word + " was open");
            const Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { ActivateImage(stage.host, image); });
            Expect(IsShown(open, image, ShownIn(heard)), Rule::IMAGE_SHOWN,
                   heard.empty() ? "the preview was not shown its block" : "the preview was shown another block");
        }
        Expect(open.ParametersOf(stage.images[0]) == first, Rule::IMAGE_SHOWN,
               "the parameters of the first image have changed by coming back to it");

        Doing("changed a setting of the second image in the dialog of " + effect.word);
        ActivateImage(stage.host, stage.images[1]);
        SetAtRandom(open, generator);
        Expect(open.ParametersOf(stage.images[0]) == first, Rule::IMAGE_SHOWN,
               "the parameters of the first image have changed");

        Doing("made an image active that the dialog of " + effect.word + " has not been told of");
        ImageRecord stranger = *stage.images[1];
        ImageRecord *before = stage.host.context.activeImage;
        stage.host.context.activeImage = &stranger;
        Send(dialog, ACTIVE_IMAGE_CHANGED);
        stage.host.context.activeImage = before;
        Send(dialog, ACTIVE_IMAGE_CHANGED);
        Doing("told the dialog of " + effect.word + " that an image has closed that it was never told of");
        Send(dialog, IMAGE_CLOSED, 0, &stranger);
        Expect(IsOpen(dialog), Rule::IMAGE_LEFT, "the dialog has gone");

        Doing("closed the active image while the dialog of " + effect.word + " was open");
        const EffectBlock *block = open.BlockOf(stage.images[1]);
        calls = CallsDuring([&] { Close(stage, stage.images[1]); });
        const auto freed = std::count_if(calls.begin(), calls.end(), [&](const Call &call) {
            return call.name == "KPZ_FreeMem" && call.arguments[0] == reinterpret_cast<intptr_t>(block);
        });
        Expect(freed == 1, Rule::IMAGE_LEFT, "its block was freed " + Number(intptr_t(freed)) + " times");
        Expect(IsOpen(dialog), Rule::IMAGE_LEFT, "the dialog has gone though other images are open");
        ImageRecord *active = stage.host.context.activeImage;
        Doing("typed into the dialog of " + effect.word + " after an image had closed");
        SetAtRandom(open, generator);
        const Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        Expect(IsShown(open, active, ShownIn(heard)), Rule::IMAGE_SHOWN,
               "the preview was not shown the block of the image that is active now");

        Doing("closed the other images while the dialog of " + effect.word + " was open");
        while (!stage.images.empty()) Close(stage, stage.images.back());
        Expect(!IsOpen(dialog), Rule::IMAGE_LEFT, "the dialog is still there when the last image has closed");
        Expect(!stage.host.context.openEffectDialog, Rule::OPEN_EFFECT,
               "openEffectDialog is not null when the last image has closed");
    });
    Expect(BlocksMadeSince(all) == 0, Rule::RETURNED, "when all had gone there were still " + BlocksSince(all));
}

// As many as a host may have open.
static void CheckManyImages(const CheckedModule &module, const CheckedEffect &effect)
{
    ModuleStage stage(module.request.module);
    for (int i = 0; i < 500; ++i) Open(stage, NewPicture(GREY, 1, 1));
    ActivateImage(stage.host, stage.images[499]);
    Doing("opened the dialog of " + effect.word + " with 500 images, the last of them active");
    const uint64_t mark = BlockMark();
    InDialogOf(effect, stage, [&](OpenDialog &open) {
        for (ImageRecord *image : stage.images)
            if (!Expect(open.HeaderOf(image) != nullptr, Rule::BLOCKS_FILLED,
                        "InitializeFilter was not called for one of the images"))
                break;
        const Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { Send(open.dialog, REFRESH_PREVIEW); });
        Expect(IsShown(open, stage.images[499], ShownIn(heard)), Rule::IMAGE_SHOWN,
               "the preview was not shown the last image's block");
    });
    Expect(BlocksMadeSince(mark) == 0, Rule::RETURNED, "the dialog has not handed back " + BlocksSince(mark));
}

// While a message box waits, what it is about may go.
static void CheckBehindBoxes(const CheckedModule &module, const CheckedEffect &effect)
{
    for (const bool dismisses : {false, true})
        for (const int32_t type : {PALETTE, ONE_BIT}) {
            ModuleStage stage(module.request.module);
            std::mt19937 generator(module.request.seed);
            Open(stage, SmallPicture(generator));
            ImageRecord *image = Open(stage, SmallPicture(generator, type));
            ActivateImage(stage.host, image);
            InDialogOf(effect, stage, [&](OpenDialog &open) {
                bool shown = false;
                stage.atBox = [&] {
                    if (shown) return;
                    shown = true;
                    if (dismisses) KPZ_DismissDialog(open.dialog, 1);
                    else Close(stage, image);
                };
                Doing("pressed Apply in the dialog of " + effect.word + " on " + TypeName(type) + " and " +
                      (dismisses ? "let the dialog go" : "closed the image") + " behind the message box");
                const Calls calls = CallsDuring([&] { ApplyAndWait(open.dialog); });
                stage.atBox = nullptr;
                if (shown) Expect(CountOf(calls, "KPZ_CreateThread") == 0, Rule::AT_BOX, "a run was begun");
            });
        }
}

void PlanDialogChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects) {
        const std::string start = "3/" + effect.word + "/";
        plan.push_back({3, start + "opening", effect.word, [&] { CheckOpening(module, effect); }});
        plan.push_back({3, start + "controls", effect.word, [&] { CheckControls(module, effect); }});
        plan.push_back({3, start + "parameters", effect.word, [&] { CheckParameters(module, effect); }});
        plan.push_back({3, start + "notifications", effect.word, [&] { CheckNotifications(module, effect); }});
        plan.push_back({3, start + "commands", effect.word, [&] { CheckSharedCommands(module, effect); }});
        plan.push_back({3, start + "images", effect.word, [&] { CheckImages(module, effect); }});
        plan.push_back({3, start + "many-images", effect.word, [&] { CheckManyImages(module, effect); }});
        plan.push_back({3, start + "behind-boxes", effect.word, [&] { CheckBehindBoxes(module, effect); }});
    }
}
