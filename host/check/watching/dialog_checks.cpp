// Dialogs, messages and controls of a host, played with in the dialog of Noise.

#include "host/check/watching/watch.h"

#include <algorithm>
#include <memory>
#include <set>

//---- Windows

static void LookAtTemplate()
{
    const ModuleHandle resources = KPZ_GetLoadedModuleHandle(watch.host->resourceModule);
    Doing("called KPZ_RunDialogBox with the unknown template " + std::to_string(UNKNOWN_TEMPLATE));
    Play unknown;
    const auto procedure = [](HWND, UINT, WPARAM, LPARAM) KPZAPI -> INT_PTR { return 0; };
    const INT_PTR result = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), procedure, resources, UNKNOWN_TEMPLATE, &unknown);
    Expect(result == 0, Rule::HOST_TEMPLATE, "it returned " + Number(result));
}

static void LookAtNothing(HWND dialog, const std::string &what)
{
    const auto nothing = [&](bool holds, const char *call) {
        Expect(holds, Rule::HOST_GONE, std::string(call) + " of " + what + " does not answer 0");
    };
    nothing(!KPZ_WindowFromID(dialog, NO_CONTROL), "KPZ_WindowFromID");
    nothing(!GetDlgItem(dialog, NO_CONTROL), "GetDlgItem");
    nothing(!KPZ_SendDlgItemMsg(dialog, NO_CONTROL, BM_GETCHECK, 0, 0), "KPZ_SendDlgItemMsg");
    nothing(!KPZ_IsButtonChecked(dialog, NO_CONTROL), "KPZ_IsButtonChecked");
    nothing(!KPZ_TrackbarGetPos(dialog, NO_CONTROL), "KPZ_TrackbarGetPos");
    nothing(!GetDlgItemInt(dialog, NO_CONTROL, nullptr, TRUE), "GetDlgItemInt");
    KPZ_CheckButton(dialog, NO_CONTROL, TRUE);
    KPZ_TrackbarSetRange(dialog, NO_CONTROL, 0, 4);
    KPZ_TrackbarSetPos(dialog, NO_CONTROL, 1);
    KPZ_EnableDlgItem(dialog, NO_CONTROL, TRUE);
    nothing(!KPZ_TrackbarGetPos(dialog, NO_CONTROL), "KPZ_TrackbarGetPos");
    nothing(!KPZ_SendDlgItemMsg(dialog, NO_CONTROL, COLOUR_SETTING, COLOUR_SHOWN, 0), "KPZ_SendDlgItemMsg");
}

static void LookAtWindows(HWND dialog)
{
    static constexpr int ids[] = {APPLY_BUTTON, CLOSE_BUTTON, ABORT_BUTTON, PRIORITY_TRACKBAR, SPIN, OTHER_SPIN};
    Doing("walked the dialog's controls with GW_CHILD and GW_HWNDNEXT");
    std::set<HWND> walked;
    int steps = 0;
    for (HWND control = GetWindow(dialog, GW_CHILD); control && steps < 10000; ++steps) {
        walked.insert(control);
        control = GetWindow(control, GW_HWNDNEXT);
    }
    Expect(steps == int(walked.size()), Rule::HOST_CONTROLS, "the walk comes to a control a second time");
    for (const int id : ids) {
        const HWND control = KPZ_WindowFromID(dialog, id);
        const std::string name = "control " + std::to_string(id);
        Expect(control == GetDlgItem(dialog, id), Rule::HOST_CONTROLS,
               name + " is another one for GetDlgItem than for KPZ_WindowFromID");
        if (!control) continue;
        Expect(walked.count(control), Rule::HOST_CONTROLS, name + " is not met on the walk");
        EnableWindow(control, FALSE);
        Expect(!KPZ_IsWindowEnabled(control), Rule::HOST_CONTROLS, name + " takes input after EnableWindow with 0");
        KPZ_EnableDlgItem(dialog, id, TRUE);
        Expect(KPZ_IsWindowEnabled(control), Rule::HOST_CONTROLS,
               name + " takes no input after KPZ_EnableDlgItem with 1");
    }
    Doing("called a control that the dialog has not: " + std::to_string(NO_CONTROL));
    LookAtNothing(dialog, "a control that is not there");
}

//---- Messages

static void LookAtAnswers(HWND dialog)
{
    Doing("sent the dialog a message that its procedure answers with a number as wide as a pointer");
    const INT_PTR wide = (INT_PTR(1) << (8 * sizeof(INT_PTR) - 4)) + 1234567;
    const LRESULT answer = KPZ_SendMsgAndWait(dialog, ECHO, 3, wide);
    Expect(answer == wide + 3, Rule::HOST_ANSWER, "the answer is " + Number(answer) + " and not " + Number(wide + 3));
    Doing("sent the dialog a message that it hands to KPZ_DefDlgProc");
    KPZ_SendMsgAndWait(dialog, LEFT_ALONE, 0, 0);
}

static void PostNoted(HWND dialog)
{
    Doing("posted three messages");
    watch.told.clear();
    for (WPARAM i = 1; i <= 3; ++i)
        Expect(KPZ_SendMsgNoWait(dialog, NOTED, i, LPARAM(10 * i)), Rule::HOST_POSTED,
               "it answers 0 for a window that is there");
    Expect(ToldOf(NOTED).empty(), Rule::HOST_POSTED, "it was handled before the call returned");
}

static void LookAtNoted()
{
    const std::vector<Told> noted = ToldOf(NOTED);
    Expect(noted.size() == 3, Rule::HOST_POSTED, "three were posted and " + std::to_string(noted.size()) + " came");
    for (size_t i = 0; i < noted.size(); ++i)
        if (!Expect(noted[i].word == i + 1 && noted[i].extra == LPARAM(10 * (i + 1)), Rule::HOST_POSTED,
                    "they came in another order, or with other parameters"))
            break;
}

// Sends from a thread of its own, and lets the dialogs' thread handle messages meanwhile.
struct Sender {
    std::thread thread;
    std::atomic<bool> done{false};
    LRESULT answer = 0;
};

static void SendFromOutside(Play &play, const std::shared_ptr<Sender> &sender)
{
    Doing("sent the dialog a message from another thread, while its own handled messages");
    Blame(Rule::HOST_LIVES, Rule::HOST_SENT);
    const HWND dialog = play.dialog;
    sender->thread = std::thread([dialog, sender] {
        sender->answer = KPZ_SendMsgAndWait(dialog, ECHO, 4, 40);
        sender->done = true;
    });
}

static void AwaitAnswer(Play &play, const std::shared_ptr<Sender> &sender)
{
    if (!sender->done) return Again(play);
    sender->thread.join();
    Blame(Rule::HOST_LIVES, Rule::HOST_RETURNS);
    Expect(sender->answer == 44, Rule::HOST_SENT,
           "the answer is 44, and the sender was given " + Number(sender->answer));
}

static void Messages()
{
    const auto sender = std::make_shared<Sender>();
    InCommand({
        [](Play &) { LookAtTemplate(); },
        [](Play &play) { LookAtWindows(play.dialog); },
        [](Play &play) { LookAtAnswers(play.dialog); },
        [](Play &play) { PostNoted(play.dialog); },
        [](Play &) { LookAtNoted(); },
        [=](Play &play) { SendFromOutside(play, sender); },
        [=](Play &play) { AwaitAnswer(play, sender); },
    });
}

//---- Leaving

static void Leaving()
{
    HWND gone = nullptr;
    InCommand({[&](Play &play) {
        Doing("dismissed the dialog with 7");
        gone = play.dialog;
        watch.told.clear();
        KPZ_DismissDialog(gone, PLAYED);
        Expect(ToldOf(WM_DESTROY).size() == 1, Rule::HOST_DISMISS,
               "WM_DESTROY had not come once when the call returned");
    }});
    if (!gone) return;
    Doing("called the window of a dialog that was dismissed");
    const auto nothing = [](bool holds, const char *call) {
        Expect(holds, Rule::HOST_GONE, std::string(call) + " does not answer 0 for a window that is gone");
    };
    nothing(!KPZ_SendMsgAndWait(gone, ECHO, 1, 2), "KPZ_SendMsgAndWait");
    nothing(!KPZ_SendMsgNoWait(gone, NOTED, 1, 2), "KPZ_SendMsgNoWait");
    nothing(!KPZ_QueryWindowPtrSystem(gone), "KPZ_QueryWindowPtrSystem");
    nothing(!KPZ_WindowFromID(gone, APPLY_BUTTON), "KPZ_WindowFromID");
    nothing(!KPZ_IsWindowEnabled(gone), "KPZ_IsWindowEnabled");
    nothing(!GetWindow(gone, GW_CHILD), "GetWindow");
    KPZ_SetWindowPtrSystem(gone, &watch);
    KPZ_ShowWindow(gone, TRUE);
    KPZ_DismissDialog(gone, 3);
}

static void Nested()
{
    Play *outer = nullptr, inner;
    bool innerReturned = false, outerReturned = false;
    INT_PTR innerResult = 0;
    inner.steps = {
        [&](Play &) {
            Doing("dismissed a dialog from within another one that was opened inside it");
            KPZ_DismissDialog(outer->dialog, PLAYED);
            Expect(outer->left, Rule::HOST_NESTED, "the lower dialog did not get WM_DESTROY at once");
        },
        [&](Play &play) {
            Expect(!outerReturned, Rule::HOST_NESTED, "the lower KPZ_RunDialogBox returned before the upper");
            KPZ_DismissDialog(play.dialog, 9);
        },
    };
    InCommand({[&](Play &play) {
        outer = &play;
        Doing("opened a dialog within another one's loop");
        innerResult = PlayInDialog(inner);
        innerReturned = true;
    }});
    outerReturned = true;
    if (!outer || !inner.opened) return;
    Expect(innerReturned && innerResult == 9, Rule::HOST_NESTED,
           "the upper dialog was dismissed with 9, and its result is " + Number(innerResult));
}

//---- Controls

static void LookAtSpin(HWND dialog)
{
    KPZ_SetSpinBoxRange(dialog, SPIN, 1, 100);
    for (const int32_t value : {1, 42, 100, 300, -7}) {
        Doing("set spin box " + std::to_string(SPIN) + " of range 1..100 to " + std::to_string(value));
        watch.told.clear();
        KPZ_SetSpinBoxValue(dialog, SPIN, value);
        const std::vector<Told> told = ToldOf(WM_COMMAND, dialog);
        Expect(std::any_of(told.begin(), told.end(), [](const Told &one) { return HIWORD(one.word) == EN_CHANGE; }),
               Rule::HOST_SPIN_TOLD, "EN_CHANGE had not come when the call returned");
        const int32_t read = KPZ_GetSpinBoxIntValue(dialog, SPIN);
        Expect(read == value, Rule::HOST_SPIN_KEPT, "it is read back as " + std::to_string(read));
    }
    watch.told.clear();
}

static void LookForPosted()
{
    Doing("handled the messages behind setting a spin box");
    Expect(ToldOf(WM_COMMAND).empty(), Rule::HOST_SPIN_TOLD, "a WM_COMMAND came when the dialog listened again");
}

static void LookAtTyping(HWND dialog)
{
    if (!watch.driver->typeNumber) return Note("what is typed is not looked at: the driver has no typeNumber");
    KPZ_SetSpinBoxRange(dialog, SPIN, 1, 100);
    KPZ_SetSpinBoxValue(dialog, SPIN, 50);
    static constexpr struct {
        int32_t typed, read;
    } cases[] = {{42, 42}, {300, 100}, {-7, 1}, {100, 100}};
    for (const auto &row : cases) {
        Doing("typed " + std::to_string(row.typed) + " into spin box " + std::to_string(SPIN) + " of range 1..100");
        watch.driver->typeNumber(dialog, SPIN, row.typed);
        const int32_t read = KPZ_GetSpinBoxIntValue(dialog, SPIN);
        Expect(read == row.read, Rule::HOST_SPIN_TYPED, "it is read as " + std::to_string(read));
    }
}

static void LookAtButtons(HWND dialog)
{
    static constexpr int radios[] = {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO};
    watch.told.clear();
    for (const BOOL checked : {TRUE, FALSE, TRUE}) {
        Doing("called KPZ_CheckButton for the preview's box with " + std::to_string(checked));
        KPZ_CheckButton(dialog, PREVIEW_CHECK, checked);
        Expect(!KPZ_WindowFromID(dialog, PREVIEW_CHECK) || !KPZ_IsButtonChecked(dialog, PREVIEW_CHECK) == !checked,
               Rule::HOST_BUTTONS, "it is not read back so");
    }
    for (const int chosen : radios) {
        if (!KPZ_WindowFromID(dialog, chosen)) continue;
        Doing("called KPZ_CheckButton for the radio button " + std::to_string(chosen));
        KPZ_CheckButton(dialog, chosen, TRUE);
        for (const int id : radios)
            Expect(!KPZ_WindowFromID(dialog, id) || (KPZ_IsButtonChecked(dialog, id) != 0) == (id == chosen),
                   Rule::HOST_BUTTONS,
                   "radio button " + std::to_string(id) + (id == chosen ? " is not checked" : " is still checked"));
    }
    Expect(ToldOf(WM_COMMAND).empty(), Rule::HOST_BUTTONS, "a button that was checked by code sent WM_COMMAND");
}

static void LookAtTrackbar(HWND dialog)
{
    if (!KPZ_WindowFromID(dialog, PRIORITY_TRACKBAR)) return;
    KPZ_TrackbarSetRange(dialog, PRIORITY_TRACKBAR, LOWEST_PRIORITY, HIGHEST_PRIORITY);
    for (const int32_t position : {0, 3, 4, 9}) {
        Doing("set the trackbar of range 0..4 to " + std::to_string(position));
        KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, position);
        const int32_t read = KPZ_TrackbarGetPos(dialog, PRIORITY_TRACKBAR);
        Expect(read == std::min(position, int32_t(HIGHEST_PRIORITY)), Rule::HOST_TRACKBAR,
               "it is read back as " + std::to_string(read));
    }
}

static void LookAtPressing(HWND dialog)
{
    if (!watch.driver->press) return Note("clicked buttons are not looked at: the driver has no press");
    const HWND button = KPZ_WindowFromID(dialog, APPLY_BUTTON);
    Doing("clicked the Apply button");
    watch.told.clear();
    KPZ_EnableDlgItem(dialog, APPLY_BUTTON, TRUE);
    watch.driver->press(dialog, APPLY_BUTTON);
    const std::vector<Told> told = ToldOf(WM_COMMAND, dialog);
    Expect(told.size() == 1 && told[0].word == MAKEWPARAM(APPLY_BUTTON, 0) &&
               told[0].extra == reinterpret_cast<LPARAM>(button),
           Rule::HOST_PRESSED,
           told.empty() ? "no WM_COMMAND came"
                        : "it came more than once, or with other parameters than id and control");
    Doing("clicked the Apply button, which is greyed");
    watch.told.clear();
    KPZ_EnableDlgItem(dialog, APPLY_BUTTON, FALSE);
    watch.driver->press(dialog, APPLY_BUTTON);
    Expect(ToldOf(WM_COMMAND, dialog).empty(), Rule::HOST_PRESSED, "it sent WM_COMMAND");
    KPZ_EnableDlgItem(dialog, APPLY_BUTTON, TRUE);
}

static void Controls()
{
    InCommand({
        [](Play &play) { LookAtSpin(play.dialog); },
        [](Play &) { LookForPosted(); },
        [](Play &play) { LookAtTyping(play.dialog); },
        [](Play &play) { LookAtButtons(play.dialog); },
        [](Play &play) { LookAtTrackbar(play.dialog); },
        [](Play &play) { LookAtPressing(play.dialog); },
    });
}

const HostCheck dialogChecks[] = {
    {3, "host/messages", Messages}, {3, "host/leaving", Leaving}, {3, "host/nested", Nested},
    {3, "host/controls", Controls}, {0, nullptr, nullptr},
};
