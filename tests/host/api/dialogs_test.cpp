// Dialogs from the host's templates: opening and dismissing, their windows, enabling and showing.

#include "tests/host/api/scene.h"

#include <atomic>
#include <string>

enum { EFFECT_LIST = 960 };

static INT_PTR KPZAPI DismissAtOnce(HWND dialog, UINT message, WPARAM, LPARAM extra)
{
    if (message == WM_INITDIALOG) KPZ_DismissDialog(dialog, INT_PTR(extra));
    return 0;
}

TEST(Dialogs, ReturnWhatTheyWereDismissedWith)
{
    EXPECT_EQ(InDialog(NOISE_TEMPLATE, [](Scene &scene) { KPZ_DismissDialog(scene.dialog, 500); }), 500);
    EXPECT_EQ(InDialog(CHOOSER_TEMPLATE, [](Scene &scene) { KPZ_DismissDialog(scene.dialog, -3); }), -3);
}

TEST(Dialogs, TheFirstDismissalCounts)
{
    EXPECT_EQ(InDialog(NOISE_TEMPLATE,
                       [](Scene &scene) {
                           KPZ_DismissDialog(scene.dialog, 7);
                           KPZ_DismissDialog(scene.dialog, 8);
                       }),
              7);
}

TEST(Dialogs, MayBeDismissedWhileTheyOpen)
{
    EXPECT_EQ(KPZ_RunDialogBox(KPZ_GetDesktopWindow(), DismissAtOnce, HostModule(), NOISE_TEMPLATE,
                               reinterpret_cast<void *>(4711)),
              4711);
}

TEST(Dialogs, WithoutATemplateOrAModuleReturnZero)
{
    void *parameter = reinterpret_cast<void *>(4711);
    EXPECT_EQ(KPZ_RunDialogBox(KPZ_GetDesktopWindow(), DismissAtOnce, HostModule(), 31999, parameter), 0);
    EXPECT_EQ(KPZ_RunDialogBox(KPZ_GetDesktopWindow(), DismissAtOnce, nullptr, NOISE_TEMPLATE, parameter), 0);
}

TEST(Dialogs, AnswerWithTheirProceduresOwnResult)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        scene.answer = [](const Told &told) { return INT_PTR(told.word) - 100; };
        EXPECT_EQ(KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 5, 0), -95);
        EXPECT_EQ(KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 100, 0), 0);
        std::atomic<LRESULT> result{0};
        std::thread sender([&] { result = KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 1, 0); });
        RunUntil([&] { return scene.told.size() == 3; });
        sender.join();
        EXPECT_EQ(result, -99);
        EXPECT_EQ(scene.threads.back(), std::this_thread::get_id());
    });
}

TEST(Dialogs, TheDefaultProcedureAnswersZeroAndDoesNotCallTheDialogAgain)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        EXPECT_EQ(KPZ_DefDlgProc(scene.dialog, TEST_MESSAGE, 1, 2), 0);
        EXPECT_EQ(KPZ_DefDlgProc(scene.dialog, WM_COMMAND, MAKEWPARAM(APPLY_BUTTON, 0), 0), 0);
        EXPECT_TRUE(scene.told.empty());
        EXPECT_EQ(KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 1, 2), 0) << "which is what the scene returns";
        EXPECT_EQ(scene.told.size(), 1u);
    });
}

static std::vector<WPARAM> zoomed;

static LRESULT KPZAPI NoteZoom(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message == ZOOM_PREVIEW) zoomed.push_back(word);
    return KPZ_DefWindowProc(window, message, word, extra);
}

TEST(Dialogs, TheDefaultProcedureHandsTheZoomButtonsToThePreview)
{
    HostSetPreviewProcedure(NoteZoom);
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        zoomed.clear();
        for (const WPARAM button : {PREVIEW_ZOOM_IN, PREVIEW_ZOOM_FIT, PREVIEW_ZOOM_OUT}) {
            KPZ_SendDlgItemMsg(scene.dialog, int32_t(button), BM_CLICK, 0, 0);
        }
        EXPECT_EQ(zoomed, (std::vector<WPARAM>{PREVIEW_ZOOM_IN, PREVIEW_ZOOM_FIT, PREVIEW_ZOOM_OUT}));
        KPZ_SendMsgAndWait(scene.dialog, WM_COMMAND, MAKEWPARAM(PREVIEW_ZOOM_IN, EN_CHANGE), 0);
        KPZ_SendDlgItemMsg(scene.dialog, APPLY_BUTTON, BM_CLICK, 0, 0);
        scene.answer = [](const Told &) { return INT_PTR(1); };
        KPZ_SendDlgItemMsg(scene.dialog, PREVIEW_ZOOM_IN, BM_CLICK, 0, 0);
        scene.answer = nullptr;
        EXPECT_EQ(zoomed.size(), 3u) << "other notifications, other buttons, and what the dialog has taken";
    });
    HostSetPreviewProcedure(nullptr);
}

TEST(Dialogs, HearOfTheirEndWhileTheirControlsAndPointerAreStillThere)
{
    HWND dialog = nullptr;
    bool heard = false;
    int slot = 0;
    InDialog(WAVE_TEMPLATE, [&](Scene &scene) {
        dialog = scene.dialog;
        scene.answer = [&](const Told &told) {
            if (told.message != WM_DESTROY) return 0;
            EXPECT_FALSE(heard);
            heard = true;
            EXPECT_NE(GetDlgItem(dialog, APPLY_BUTTON), nullptr);
            EXPECT_NE(KPZ_QueryWindowPtrSystem(dialog), nullptr);
            KPZ_SetWindowPtrSystem(dialog, &slot);
            EXPECT_EQ(KPZ_QueryWindowPtrSystem(dialog), &slot);
            return 0;
        };
        const HWND apply = GetDlgItem(dialog, APPLY_BUTTON);
        KPZ_DismissDialog(dialog, 1);
        EXPECT_TRUE(heard);
        EXPECT_EQ(GetDlgItem(dialog, APPLY_BUTTON), nullptr);
        EXPECT_FALSE(KPZ_IsWindowEnabled(apply));
        EXPECT_EQ(KPZ_SendMsgAndWait(dialog, TEST_MESSAGE, 0, 0), 0);
    });
    EXPECT_TRUE(heard);
}

TEST(Dialogs, EveryWindowHasItsOwnPointerNullAtFirst)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND apply = GetDlgItem(scene.dialog, APPLY_BUTTON), preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        EXPECT_EQ(KPZ_QueryWindowPtrSystem(apply), nullptr);
        int a = 0;
        KPZ_SetWindowPtrSystem(apply, &a);
        EXPECT_EQ(KPZ_QueryWindowPtrSystem(apply), &a);
        EXPECT_EQ(KPZ_QueryWindowPtrSystem(preview), nullptr);
    });
}

//---- Nesting

TEST(Dialogs, Nest)
{
    std::vector<std::string> order;
    const INT_PTR outer = InDialog(NOISE_TEMPLATE, [&](Scene &scene) {
        const INT_PTR inner = InDialog(CHOOSER_TEMPLATE, [&](Scene &chooser) {
            EXPECT_NE(GetDlgItem(chooser.dialog, EFFECT_LIST), nullptr);
            KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 0, 0);
            KPZ_DismissDialog(chooser.dialog, 3);
        });
        order.push_back("inner " + std::to_string(inner));
        EXPECT_EQ(scene.told.size(), 1u) << "the outer dialog handles messages meanwhile";
        KPZ_DismissDialog(scene.dialog, 2);
    });
    order.push_back("outer " + std::to_string(outer));
    EXPECT_EQ(order, (std::vector<std::string>{"inner 3", "outer 2"}));
}

TEST(Dialogs, DismissedInTheWrongOrderGoAtOnceAndReturnInTheRightOrder)
{
    std::vector<std::string> order;
    const INT_PTR outer = InDialog(NOISE_TEMPLATE, [&](Scene &outerScene) {
        const HWND outerDialog = outerScene.dialog;
        const INT_PTR inner = InDialog(WAVE_TEMPLATE, [&](Scene &innerScene) {
            KPZ_DismissDialog(outerDialog, 10);
            EXPECT_EQ(outerScene.told, (std::vector<Told>{{WM_DESTROY, 0, 0}}));
            EXPECT_FALSE(KPZ_SendMsgNoWait(outerDialog, TEST_MESSAGE, 0, 0));
            EXPECT_EQ(GetDlgItem(outerDialog, APPLY_BUTTON), nullptr);
            KPZ_SendMsgNoWait(innerScene.dialog, TEST_MESSAGE, 0, 0);
            HandlePosted();
            EXPECT_EQ(innerScene.told.size(), 1u) << "the inner one stays open and at work";
            KPZ_DismissDialog(innerScene.dialog, 20);
        });
        order.push_back("inner " + std::to_string(inner));
    });
    order.push_back("outer " + std::to_string(outer));
    EXPECT_EQ(order, (std::vector<std::string>{"inner 20", "outer 10"}));
}

//---- Controls as windows

class DialogWindows : public testing::TestWithParam<int>
{
};

TEST_P(DialogWindows, StandInTheOrderOfTheTemplate)
{
    const DialogTemplate *table = FindDialogTemplate(GetParam());
    ASSERT_NE(table, nullptr);
    InDialog(GetParam(), [table](Scene &scene) {
        HWND child = GetWindow(scene.dialog, GW_CHILD);
        const HWND first = child;
        for (int32_t i = 0; i < table->controlCount; ++i, child = GetWindow(child, GW_HWNDNEXT)) {
            const int id = table->controls[i].id;
            ASSERT_NE(child, nullptr) << "row " << i;
            EXPECT_EQ(GetWindow(child, GW_HWNDFIRST), first);
            if (id < 0) continue;
            EXPECT_EQ(GetDlgItem(scene.dialog, id), child) << "id " << id;
            EXPECT_EQ(KPZ_WindowFromID(scene.dialog, id), child) << "id " << id;
        }
        EXPECT_EQ(child, nullptr);
    });
}

INSTANTIATE_TEST_SUITE_P(Templates, DialogWindows,
                         testing::Values(NOISE_TEMPLATE, WAVE_TEMPLATE, FILTERS_TEMPLATE, RIPPLE_TEMPLATE,
                                         CHOOSER_TEMPLATE));

static HWND foundOwner;

static INT_PTR KPZAPI LookAroundAndDismiss(HWND dialog, UINT message, WPARAM, LPARAM)
{
    if (message != WM_INITDIALOG) return 0;
    foundOwner = GetWindow(dialog, GW_OWNER);
    EXPECT_EQ(GetDlgItem(dialog, 31999), nullptr);
    EXPECT_EQ(KPZ_WindowFromID(dialog, 31999), nullptr);
    EXPECT_EQ(KPZ_SendDlgItemMsg(dialog, 31999, BM_CLICK, 0, 0), 0);
    KPZ_DismissDialog(dialog, 1);
    return 1;
}

TEST(Dialogs, KnowTheirOwnerAndNoControlByAStrangeId)
{
    Listener owner([](const Told &) { return 0; });
    KPZ_RunDialogBox(owner.window, LookAroundAndDismiss, HostModule(), NOISE_TEMPLATE, nullptr);
    EXPECT_EQ(foundOwner, owner.window);
    EXPECT_EQ(GetWindow(owner.window, GW_CHILD), nullptr);
}

TEST(Dialogs, EnablingTellsWhetherTheWindowWasDisabled)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND apply = GetDlgItem(scene.dialog, APPLY_BUTTON);
        EXPECT_TRUE(KPZ_IsWindowEnabled(apply));
        EXPECT_FALSE(EnableWindow(apply, FALSE));
        EXPECT_FALSE(KPZ_IsWindowEnabled(apply));
        EXPECT_TRUE(EnableWindow(apply, FALSE));
        EXPECT_TRUE(EnableWindow(apply, TRUE));
        EXPECT_FALSE(EnableWindow(apply, TRUE));
        KPZ_EnableDlgItem(scene.dialog, APPLY_BUTTON, FALSE);
        EXPECT_FALSE(KPZ_IsWindowEnabled(apply));
        KPZ_EnableDlgItem(scene.dialog, APPLY_BUTTON, TRUE);
        EXPECT_TRUE(KPZ_IsWindowEnabled(apply));
        EXPECT_TRUE(KPZ_IsWindowEnabled(GetDlgItem(scene.dialog, ABORT_BUTTON)));
    });
}

TEST(Dialogs, AreNotShownUnlessTheHostSaysSo)
{
    for (const BOOL shown : {FALSE, TRUE, FALSE}) {
        HostShowDialogs(shown);
        InDialog(NOISE_TEMPLATE, [shown](Scene &scene) {
            EXPECT_EQ(HostWindowShown(scene.dialog) != 0, shown != 0);
            EXPECT_EQ(HostWindowShown(GetDlgItem(scene.dialog, PREVIEW_CONTROL)) != 0, shown != 0);
        });
    }
    HostShowDialogs(FALSE);
}

TEST(Dialogs, AControlIsShownWhenItAndItsDialogAre)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        KPZ_ShowWindow(scene.dialog, TRUE);
        EXPECT_TRUE(HostWindowShown(preview));
        KPZ_ShowWindow(preview, FALSE);
        EXPECT_FALSE(HostWindowShown(preview));
        EXPECT_TRUE(HostWindowShown(scene.dialog));
        KPZ_ShowWindow(preview, TRUE);
        KPZ_ShowWindow(scene.dialog, FALSE);
        EXPECT_FALSE(HostWindowShown(preview));
    });
}

TEST(Dialogs, TakeAndGiveBackTheHostsKeys)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        HostStartLog();
        KPZ_SetupDialogHotkeys(scene.dialog, HOST_RESOURCES);
        KPZ_RemoveDialogHotkeys(scene.dialog);
        HostStopLog();
        LoggedCall entry;
        ASSERT_TRUE(HostLogEntry(0, &entry));
        EXPECT_STREQ(entry.call, "KPZ_SetupDialogHotkeys");
        EXPECT_EQ(entry.arguments[0], reinterpret_cast<intptr_t>(scene.dialog));
        EXPECT_STREQ(entry.text, HOST_RESOURCES);
        ASSERT_TRUE(HostLogEntry(1, &entry));
        EXPECT_STREQ(entry.call, "KPZ_RemoveDialogHotkeys");
        EXPECT_TRUE(scene.told.empty());
        KPZ_SendMsgAndWait(scene.dialog, TEST_MESSAGE, 0, 0);
        EXPECT_EQ(scene.told.size(), 1u);
    });
}

//---- Message boxes

struct Box {
    HWND owner;
    std::string text, title;
    int32_t style;
};

static int32_t KPZAPI NoteBox(void *context, HWND owner, const char *text, const char *title, int32_t style)
{
    *static_cast<Box *>(context) = {owner, text, title, style};
    return 42;
}

TEST(MessageBoxes, AreAnsweredInThePersonsPlace)
{
    Box box = {};
    HostAnswerMessageBoxes(NoteBox, &box);
    const HWND owner = KPZ_GetDesktopWindow();
    EXPECT_EQ(KPZ_MessageBox(owner, "There is nothing to do.", "Noise", MB_ICONERROR), 42);
    HostAnswerMessageBoxes(nullptr, nullptr);
    EXPECT_EQ(box.owner, owner);
    EXPECT_EQ(box.text, "There is nothing to do.");
    EXPECT_EQ(box.title, "Noise");
    EXPECT_EQ(box.style, MB_ICONERROR);
}

TEST(MessageBoxes, HaveNobodyToWaitForWhereDialogsAreNotShown)
{
    EXPECT_EQ(KPZ_MessageBox(KPZ_GetDesktopWindow(), "There is nothing to do.", "Noise", MB_ICONERROR), IDOK);
}

TEST(Dialogs, ShowTheirTitleWhichTheHostMayChange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        char title[8];
        KPZ_SendMsgAndWait(scene.dialog, WM_GETTEXT, sizeof title, reinterpret_cast<LPARAM>(title));
        EXPECT_STREQ(title, "Noise");
        KPZ_SendMsgAndWait(scene.dialog, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("Noise - 2"));
        EXPECT_EQ(KPZ_SendMsgAndWait(scene.dialog, WM_GETTEXT, sizeof title, reinterpret_cast<LPARAM>(title)), 7);
        EXPECT_STREQ(title, "Noise -");
    });
}
