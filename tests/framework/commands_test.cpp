// The commands that all dialogs share, and what goes to the host's default procedure.

#include "tests/framework/stage.h"

typedef std::vector<std::string> Names;

static Calls CallsAfterCommand(HWND dialog, int id, LRESULT &result)
{
    return CallsAfter(dialog, WM_COMMAND, WPARAM(id), 0, result);
}

//---- Preview

TEST(ThePreviewCheckBox, SwitchesThePreviewAndRedrawsItEitherWay)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        const Messages redraw = {{SHOW_PREVIEW, 0, HeaderOf(CurrentBlock(dialog))}};
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { Tick(dialog, PREVIEW_CHECK, false); }), redraw);
        EXPECT_EQ(StateOf(dialog)->previewOn, 0);
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { Tick(dialog, PREVIEW_CHECK, true); }), redraw);
        EXPECT_EQ(StateOf(dialog)->previewOn, 1);
    });
}

TEST(ThePreviewCheckBox, IsReadAnewWithEveryCommand)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        EXPECT_EQ(Command(dialog, PREVIEW_CHECK), 1);
        EXPECT_EQ(StateOf(dialog)->previewOn, 1);
        KPZ_CheckButton(dialog, PREVIEW_CHECK, FALSE);
        EXPECT_EQ(Command(dialog, PREVIEW_CHECK), 1);
        EXPECT_EQ(StateOf(dialog)->previewOn, 0);
    });
}

//---- Scope

static void ExpectScope(HWND dialog, int id, int mode)
{
    Choose(dialog, SCOPE_IMAGE_RADIO);
    CurrentBlock(dialog)->header.previewMode = -1;
    const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { EXPECT_EQ(Command(dialog, id), 1); });
    EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, mode) << id;
    EXPECT_EQ(messages, (Messages{{SHOW_PREVIEW, 0, HeaderOf(CurrentBlock(dialog))}})) << id;
}

static void ExpectScopes(HWND dialog)
{
    ExpectScope(dialog, 6940, 1);
    ExpectScope(dialog, 6950, 3);
    ExpectScope(dialog, 6960, 0);
    ExpectScope(dialog, 2170, 2);
}

TEST(TheScopeButtons, StoreTheirModeAndRedrawThePreview)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) { ExpectScopes(dialog); });
}

TEST(TheScopeButtons, RedrawThePreviewEvenWhenItIsOff)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        ExpectScopes(dialog);
    });
}

TEST(TheScopeButtons, ChangeTheCurrentBlockAlone)
{
    Stage stage(2);
    InNoise(stage, [](HWND dialog) {
        Choose(dialog, SCOPE_ALL_RADIO);
        EXPECT_EQ(BlockAt(dialog, 0)->header.previewMode, SCOPE_ALL);
        EXPECT_EQ(BlockAt(dialog, 1)->header.previewMode, SCOPE_IMAGE);
    });
}

//---- Priority, Abort, Help, nothing

TEST(ThePriority, OfAnIdleImageIsKeptInItsBlock)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, 3);
        LRESULT result = 0;
        const Calls calls = CallsAfterCommand(dialog, PRIORITY_TRACKBAR, result);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(CurrentBlock(dialog)->header.priority, 3);
        EXPECT_EQ(Only(calls, {"KPZ_SetThreadPriority"}), (Calls{Called("KPZ_SetThreadPriority", 0, 3)}));
    });
}

TEST(ThePriority, FollowsThePersonsHand)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Slide(dialog, PRIORITY_TRACKBAR, 2);
        EXPECT_EQ(CurrentBlock(dialog)->header.priority, 2);
        Slide(dialog, PRIORITY_TRACKBAR, 4);
        EXPECT_EQ(CurrentBlock(dialog)->header.priority, 4);
    });
}

TEST(TheAbortButton, SetsTheImagesAbortRequestAndDoesNothingElse)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        LRESULT result = 0;
        EXPECT_EQ(CallsAfterCommand(dialog, ABORT_BUTTON, result), Calls{});
        EXPECT_EQ(result, 1);
        EXPECT_EQ(SharedRead(stage.images[0]->abortRequest), 1);
        EXPECT_EQ(SharedRead(stage.images[1]->abortRequest), 0);
    });
}

TEST(TheHelpButton, OpensTheEffectsPage)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) { Press(dialog, HELP_BUTTON); });
    InWave(stage, [](HWND dialog) { Press(dialog, HELP_BUTTON); });
    EXPECT_EQ(stage.helpPages, (std::vector<int32_t>{77, 83}));
}

TEST(Command6770, DoesNothing)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        LRESULT result = 0;
        EXPECT_EQ(CallsAfterCommand(dialog, 6770, result), Calls{});
        EXPECT_EQ(result, 1);
    });
}

//---- The host's commands

TEST(TheHostsCommands, ArePostedToItsWindowWithWordAndLong)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        for (int id = 37; id <= 40; ++id) {
            const WPARAM word = MAKEWPARAM(id, 0x1234);
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, word, 5678, result),
                      (Calls{Called("KPZ_SendMsgNoWait", stage.host.context.window, 786, word, 5678)}));
            EXPECT_EQ(result, 1);
        }
    });
}

TEST(TheHostsCommands, EndAt37And40)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        LRESULT result = 0;
        for (int id : {36, 41})
            EXPECT_EQ(NamesOf(CallsAfterCommand(dialog, id, result)), Names{"KPZ_DefDlgProc"}) << id;
    });
}

TEST(TheHostsCommands, LeadToTheNextImage)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        Press(dialog, HOST_COMMAND_LAST);
        HandlePosted();
        EXPECT_EQ(stage.host.context.activeImage, stage.images[1]);
        EXPECT_EQ(StateOf(dialog)->currentSlot, 1);
    });
}

//---- Close

TEST(TheCloseButton, ClosesWith1)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        const Calls calls = CallsDuring([&] { Press(dialog, CLOSE_BUTTON); });
        EXPECT_EQ(Only(calls, {"KPZ_DismissDialog"}), (Calls{Called("KPZ_DismissDialog", dialog, 1)}));
        EXPECT_FALSE(IsOpen(dialog));
    });
}

TEST(TheCloseButton, IsIgnoredWhileItIsGreyed)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        KPZ_EnableDlgItem(dialog, CLOSE_BUTTON, FALSE);
        EXPECT_EQ(Command(dialog, CLOSE_BUTTON), 1);
        EXPECT_TRUE(IsOpen(dialog));
    });
}

//---- The default procedure

TEST(UnknownCommands, GoToTheDefaultProcedureWithItsResult)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {0, 2, 21, 700, 740, 750, 1200, 2611, 2660, 6931, 0xFFFF}) {
            const WPARAM word = MAKEWPARAM(id, 77);
            const INT_PTR expected = KPZ_DefDlgProc(dialog, WM_COMMAND, word, 88);
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, word, 88, result),
                      (Calls{Called("KPZ_DefDlgProc", dialog, WM_COMMAND, word, 88)}));
            EXPECT_EQ(result, expected) << id;
        }
    });
}

TEST(UnknownMessages, GoToTheDefaultProcedureWithItsResult)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (UINT message : {UINT(WM_USER + 500), UINT(1027), UINT(1033), UINT(1056), UINT(33023), UINT(33025)}) {
            const INT_PTR expected = KPZ_DefDlgProc(dialog, message, 7, 8);
            LRESULT result = 0;
            EXPECT_EQ(CallsAfter(dialog, message, 7, 8, result),
                      (Calls{Called("KPZ_DefDlgProc", dialog, message, 7, 8)}));
            EXPECT_EQ(result, expected) << message;
        }
    });
}

TEST(ADialogWithoutState, LeavesEveryMessageToTheDefaultProcedure)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        DialogState *state = StateOf(dialog);
        KPZ_SetWindowPtrSystem(dialog, nullptr);
        LRESULT result = 0;
        EXPECT_EQ(CallsAfter(dialog, WM_COMMAND, APPLY_BUTTON, 0, result),
                  (Calls{Called("KPZ_DefDlgProc", dialog, WM_COMMAND, APPLY_BUTTON, 0)}));
        KPZ_SetWindowPtrSystem(dialog, state);
    });
}

//---- While controls are written

// Has the preview control say something to its dialog when it is told to redraw, which is in the midst of the
// dialog's writing of its controls.
static std::function<void(HWND dialog)> whenRedrawn;
static WNDPROC previewProcedure;

static LRESULT KPZAPI SpeakUp(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message == SHOW_PREVIEW && whenRedrawn) whenRedrawn(reinterpret_cast<const FilterHeader *>(extra)->owner);
    return previewProcedure(window, message, word, extra);
}

static void WhileControlsAreWritten(HWND dialog, const Script &script)
{
    previewProcedure = KPZ_SubclassWindow(GetDlgItem(dialog, PREVIEW_CONTROL), SpeakUp);
    whenRedrawn = script;
    Send(dialog, RUN_FINISHED);
    whenRedrawn = nullptr;
    KPZ_SubclassWindow(GetDlgItem(dialog, PREVIEW_CONTROL), previewProcedure);
}

TEST(WhileControlsAreWritten, EveryMessageGoesToTheDefaultProcedure)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        int asked = 0;
        WhileControlsAreWritten(dialog, [&](HWND owner) {
            const auto image = reinterpret_cast<LPARAM>(stage.images[1]);
            const Message messages[] = {
                {WM_COMMAND, APPLY_BUTTON, 0},
                {WM_COMMAND, CLOSE_BUTTON, 0},
                {WM_COMMAND, SCOPE_ALL_RADIO, 0},
                {WM_COMMAND, ABORT_BUTTON, 0},
                {WM_HSCROLL, 0, 0},
                {WM_VSCROLL, 0, 0},
                {WM_CLOSE, 0, 0},
                {REFRESH_PREVIEW, 0, 0},
                {ACTIVE_IMAGE_CHANGED, 0, 0},
                {IMAGE_OPENED, 0, image},
                {IMAGE_CLOSED, 0, image},
                {RUN_FINISHED, 0, 0},
                {WM_COMMAND, MAKEWPARAM(AMOUNT_EDIT, EN_CHANGE), 0},
            };
            for (const Message &message : messages) {
                LRESULT result = 0;
                const Calls calls = CallsAfter(owner, message.message, message.word, message.extra, result);
                EXPECT_EQ(calls,
                          (Calls{Called("KPZ_DefDlgProc", owner, message.message, message.word, message.extra)}));
                ++asked;
            }
        });
        EXPECT_EQ(asked, 13);
    });
}

TEST(WhileControlsAreWritten, NoBlockChanges)
{
    Stage stage(2);
    InNoise(stage, [&](HWND dialog) {
        CurrentNoise(dialog).amount = 70;
        WhileControlsAreWritten(dialog, [](HWND owner) {
            Command(owner, AMOUNT, SPIN_CHANGED);
            Command(owner, SCOPE_ALL_RADIO);
            Command(owner, ABORT_BUTTON);
        });
        EXPECT_EQ(CurrentNoise(dialog).amount, 70);
        EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_IMAGE);
        EXPECT_EQ(SharedRead(stage.images[0]->abortRequest), 0);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMOUNT), 70);
    });
}

TEST(AfterControlsAreWritten, TheDialogListensAgain)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Send(dialog, ACTIVE_IMAGE_CHANGED);
        EXPECT_EQ(StateOf(dialog)->updatingControls, 0);
        Type(dialog, AMOUNT_EDIT, "33");
        EXPECT_EQ(CurrentNoise(dialog).amount, 33);
    });
}

//---- RUN_FINISHED

TEST(TheEndOfARun, LoadsTheControlsAndThenHasTheMenusChosen)
{
    Stage stage;
    InNoise(stage, [&](HWND dialog) {
        CurrentNoise(dialog).amount = 44;
        LRESULT result = 0;
        const Calls calls = CallsAfter(dialog, RUN_FINISHED, 0, 0, result);
        EXPECT_EQ(result, 1);
        const Names steps = {"KPZ_SendDlgItemMsg", "KPZ_TrackbarSetPos", "KPZ_SetSpinBoxValue", "ChooseMenus"};
        EXPECT_EQ(NamesOf(Only(calls, steps)), steps);
        EXPECT_EQ(Only(calls, {"ChooseMenus"}), (Calls{Called("ChooseMenus", &stage.host.context)}));
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMOUNT), 44);
    });
}

TEST(LoadingTheControls, EnablesThemInThisOrder)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        LRESULT result = 0;
        const Calls calls = CallsAfter(dialog, ACTIVE_IMAGE_CHANGED, 0, 0, result);
        EXPECT_EQ(Only(calls, {"KPZ_TrackbarSetPos", "KPZ_EnableDlgItem", "KPZ_ShowWindow"}),
                  (Calls{Called("KPZ_TrackbarSetPos", dialog, PRIORITY_TRACKBAR, 0),
                         Called("KPZ_EnableDlgItem", dialog, 6900, 1), Called("KPZ_EnableDlgItem", dialog, 6930, 1),
                         Called("KPZ_EnableDlgItem", dialog, 750, 1), Called("KPZ_EnableDlgItem", dialog, 740, 1),
                         Called("KPZ_EnableDlgItem", dialog, 700, 1),
                         Called("KPZ_ShowWindow", GetDlgItem(dialog, ABORT_BUTTON), 0)}));
    });
}
