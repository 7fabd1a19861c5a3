// What only real windows can show: the system's own classes, mouse and keys, boxes with loops of their own, pixels.

#include "tests/host/api/scene.h"

#include <algorithm>
#include <atomic>
#include <string>

enum { AMOUNT = 1290, AMOUNT_FIELD = 1300, FADE = 1020, ROWS = 1200, COLUMNS = 5530, BACKGROUND = 1130 };

class RealWindows : public testing::Test
{
protected:
    void SetUp() override { HostShowDialogs(TRUE); }
    void TearDown() override { HostShowDialogs(FALSE); }
};

// By the mouse's messages, as a person's click on a place in a control.
static void ClickAt(HWND control, int x, int y)
{
    PostMessageA(control, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
    PostMessageA(control, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    HandlePosted();
}

static void ClickOn(HWND dialog, int32_t id) { ClickAt(GetDlgItem(dialog, id), 6, 6); }

static void ClickArrow(HWND dialog, int32_t id, bool up)
{
    RECT area;
    const HWND arrows = GetDlgItem(dialog, id);
    GetClientRect(arrows, &area);
    ClickAt(arrows, area.right / 2, up ? area.bottom / 4 : area.bottom * 3 / 4);
}

static void PressKey(HWND window, WPARAM key)
{
    PostMessageA(window, WM_KEYDOWN, key, 1);
    PostMessageA(window, WM_KEYUP, key, LPARAM(0xC0000001));
    HandlePosted();
}

// Handles messages until another thread says that it is enough, which leaves time to come to rest.
static void Rest(HWND window)
{
    std::atomic<bool> over{false};
    std::thread waker([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        over = true;
        HostWake(window);
    });
    RunUntil([&] { return over.load(); });
    waker.join();
}

static std::vector<Told> WithoutPointers(std::vector<Told> told)
{
    for (Told &one : told)
        if (one.message == WM_NOTIFY) one.extra = 0;
    return told;
}

//---- Windows

static std::string ClassOf(HWND window)
{
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), tolower);
    return lower;
}

TEST_F(RealWindows, StandInTheTemplatesOrderAndAreTheSystemsOwnKinds)
{
    const DialogTemplate *table = FindDialogTemplate(WAVE_TEMPLATE);
    InDialog(WAVE_TEMPLATE, [table](Scene &scene) {
        EXPECT_EQ(ClassOf(scene.dialog), "#32770");
        HWND child = GetWindow(scene.dialog, GW_CHILD);
        for (int32_t i = 0; i < table->controlCount; ++i, child = GetWindow(child, GW_HWNDNEXT)) {
            const ControlTemplate &row = table->controls[i];
            const std::string name = ClassOf(child);
            EXPECT_EQ(int16_t(GetDlgCtrlID(child)), row.id) << "row " << i;
            switch (row.kind) {
            case NUMBER_FIELD: EXPECT_EQ(name, "edit"); break;
            case SPIN_ARROWS: EXPECT_EQ(name, "msctls_updown32"); break;
            case TRACKBAR: EXPECT_EQ(name, "msctls_trackbar32"); break;
            case LABEL: EXPECT_EQ(name, "static"); break;
            case COLOUR_CONTROL: EXPECT_EQ(name, "velmorantcolour"); break;
            case PREVIEW_WINDOW: EXPECT_EQ(name, "velmorantpreview"); break;
            default: EXPECT_EQ(name, "button");
            }
        }
        EXPECT_EQ(child, nullptr);
    });
}

TEST_F(RealWindows, GoWithTheirOwnerAndNobodyWaitsForThemThen)
{
    Listener owner([](const Told &) { return 0; });
    static HWND ownerWindow;
    ownerWindow = owner.window;
    struct Local {
        static INT_PTR KPZAPI Procedure(HWND dialog, UINT message, WPARAM, LPARAM)
        {
            if (message == WM_INITDIALOG) KPZ_SendMsgNoWait(dialog, TEST_MESSAGE, 0, 0);
            if (message == TEST_MESSAGE) HostDestroyWindow(ownerWindow);
            return 0;
        }
    };
    EXPECT_EQ(KPZ_RunDialogBox(owner.window, Local::Procedure, HostModule(), NOISE_TEMPLATE, nullptr), 0);
}

TEST_F(RealWindows, NestAndGoAtOnce)
{
    std::vector<INT_PTR> results;
    results.push_back(InDialog(NOISE_TEMPLATE, [&](Scene &outer) {
        const HWND outerDialog = outer.dialog;
        results.push_back(InDialog(WAVE_TEMPLATE, [&](Scene &inner) {
            EXPECT_TRUE(IsWindowVisible(outerDialog));
            EXPECT_TRUE(IsWindowVisible(inner.dialog));
            ClickOn(outerDialog, APPLY_BUTTON);
            EXPECT_EQ(outer.told.size(), 1u) << "the outer dialog can be worked meanwhile";
            KPZ_DismissDialog(outerDialog, 10);
            EXPECT_FALSE(IsWindow(outerDialog));
            ClickOn(inner.dialog, APPLY_BUTTON);
            EXPECT_EQ(inner.told.size(), 1u);
            KPZ_DismissDialog(inner.dialog, 20);
        }));
    }));
    EXPECT_EQ(results, (std::vector<INT_PTR>{20, 10}));
}

//---- Mouse

TEST_F(RealWindows, AClickOnTheArrowsTellsWhatTheActedOneTells)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        for (const bool up : {true, false}) {
            KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
            scene.told.clear();
            ClickArrow(scene.dialog, AMOUNT, up);
            const std::vector<Told> clicked = WithoutPointers(scene.told);
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), up ? 31 : 29);
            KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
            scene.told.clear();
            HostClickArrows(scene.dialog, AMOUNT, up ? 1 : -1);
            EXPECT_EQ(clicked, WithoutPointers(scene.told));
            EXPECT_EQ(clicked.size(), 5u);
        }
    });
}

TEST_F(RealWindows, AClickOnTheArrowsComesBackIntoTheRangeAndStaysThere)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 150);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 150);
        ClickArrow(scene.dialog, AMOUNT, true);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 100);
        scene.told.clear();
        ClickArrow(scene.dialog, AMOUNT, true);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 100);
        EXPECT_EQ(scene.told.size(), 3u) << "asked, told, let go; the text has not changed";
    });
}

TEST_F(RealWindows, ARefusedStepWritesNothing)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        scene.told.clear();
        scene.answer = [](const Told &told) { return INT_PTR(told.message == WM_NOTIFY); };
        ClickArrow(scene.dialog, AMOUNT, true);
        scene.answer = nullptr;
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 30);
        EXPECT_EQ(scene.told.size(), 3u);
    });
}

TEST_F(RealWindows, ADialogMayCloseWhileItsArrowsAreAtWork)
{
    const struct {
        UINT message;
        int code;
    } moments[] = {
        {WM_NOTIFY, -1},
        {WM_COMMAND, EN_UPDATE},
        {WM_COMMAND, EN_CHANGE},
        {WM_VSCROLL, SB_THUMBPOSITION},
    };
    for (const bool byKey : {false, true}) {
        for (const auto &moment : moments) {
            const INT_PTR result = InDialog(NOISE_TEMPLATE, [&](Scene &scene) {
                const HWND dialog = scene.dialog, field = GetDlgItem(dialog, AMOUNT_FIELD);
                KPZ_SetSpinBoxRange(dialog, AMOUNT, 0, 100);
                KPZ_SetSpinBoxValue(dialog, AMOUNT, 5);
                scene.answer = [&moment, dialog](const Told &told) {
                    const int code = told.message == WM_COMMAND ? HIWORD(told.word) : LOWORD(told.word);
                    if (told.message == moment.message && (moment.code < 0 || code == moment.code))
                        KPZ_DismissDialog(dialog, 33);
                    return 0;
                };
                if (byKey) PressKey(field, VK_UP);
                else ClickArrow(dialog, AMOUNT, true);
                EXPECT_FALSE(IsWindow(dialog));
                EXPECT_FALSE(IsWindow(field));
            });
            EXPECT_EQ(result, 33);
        }
    }
}

TEST_F(RealWindows, AClickOnAButtonTellsTheDialogOnce)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        KPZ_CheckButton(scene.dialog, ROWS, TRUE);
        for (const int id : {int(COLUMNS), int(ROWS), int(SCOPE_ALL_RADIO), int(PREVIEW_CHECK), int(APPLY_BUTTON)}) {
            scene.told.clear();
            ClickOn(scene.dialog, id);
            EXPECT_EQ(scene.told, (std::vector<Told>{Notified(id, BN_CLICKED, GetDlgItem(scene.dialog, id))})) << id;
            EXPECT_EQ(KPZ_IsButtonChecked(scene.dialog, id) != 0, id != APPLY_BUTTON) << id;
        }
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, COLUMNS));
    });
}

TEST_F(RealWindows, ADoubleClickOnAnEntryTellsOfBoth)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        for (const char *text : {"one", "two"}) KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, text);
        const HWND list = GetDlgItem(scene.dialog, KERNEL_LIST);
        RECT entry;
        KPZ_SendMsgAndWait(list, LB_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&entry));
        ClickAt(list, 10, entry.top + 2);
        PostMessageA(list, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(10, entry.top + 2));
        PostMessageA(list, WM_LBUTTONUP, 0, MAKELPARAM(10, entry.top + 2));
        HandlePosted();
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), 1);
        const Told selected = Notified(KERNEL_LIST, LBN_SELCHANGE, list);
        EXPECT_EQ(std::count(scene.told.begin(), scene.told.end(), selected), 1);
        EXPECT_EQ(scene.told.back(), Notified(KERNEL_LIST, LBN_DBLCLK, list));
    });
}

//---- Keyboard

TEST_F(RealWindows, TypingTellsTheDialogOfEveryKey)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        std::vector<int32_t> seen;
        scene.answer = [&](const Told &told) {
            if (HIWORD(told.word) == EN_CHANGE) seen.push_back(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT));
            return 0;
        };
        const HWND field = GetDlgItem(scene.dialog, AMOUNT_FIELD);
        SendMessageA(field, EM_SETSEL, 0, -1);
        for (const char key : {'4', '2', '0'}) PostMessageA(field, WM_CHAR, WPARAM(key), 1);
        HandlePosted();
        scene.answer = nullptr;
        EXPECT_EQ(seen, (std::vector<int32_t>{4, 42, 100}));
        EXPECT_EQ(GetDlgItemInt(scene.dialog, AMOUNT_FIELD, nullptr, TRUE), 420u) << "what was typed stays to be seen";
    });
}

TEST_F(RealWindows, ArrowKeysStepANumber)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 150);
        const HWND field = GetDlgItem(scene.dialog, AMOUNT_FIELD);
        SetFocus(field);
        PressKey(field, VK_DOWN);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 100);
        PressKey(field, VK_DOWN);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 99);
    });
}

TEST_F(RealWindows, ArrowKeysMoveTheTrackbarAsTheActedHandDoes)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND trackbar = GetDlgItem(scene.dialog, PRIORITY_TRACKBAR);
        KPZ_TrackbarSetRange(scene.dialog, PRIORITY_TRACKBAR, 0, 4);
        SetFocus(trackbar);
        HandlePosted();
        scene.told.clear();
        PressKey(trackbar, VK_RIGHT);
        const std::vector<Told> pressed = scene.told;
        EXPECT_EQ(KPZ_TrackbarGetPos(scene.dialog, PRIORITY_TRACKBAR), 1);
        scene.told.clear();
        HostSlideTrackbar(scene.dialog, PRIORITY_TRACKBAR, 2);
        EXPECT_EQ(pressed, scene.told);
    });
}

TEST_F(RealWindows, EnterPressesApplyAndNotClose)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND field = GetDlgItem(scene.dialog, AMOUNT_FIELD);
        SetFocus(field);
        PressKey(field, VK_RETURN);
        const HWND apply = GetDlgItem(scene.dialog, APPLY_BUTTON);
        EXPECT_EQ(scene.told, (std::vector<Told>{Notified(APPLY_BUTTON, BN_CLICKED, apply)}));
    });
}

// Who has the keyboard when all has been drawn, which takes a loaded machine its time.
static HWND FocusAtRest(HWND dialog, HWND expected)
{
    for (int i = 0; i < 100 && GetFocus() != expected; ++i) Rest(dialog);
    return GetFocus();
}

TEST_F(RealWindows, AGreyedControlHandsTheKeyboardOn)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND apply = GetDlgItem(scene.dialog, APPLY_BUTTON), abort = GetDlgItem(scene.dialog, ABORT_BUTTON);
        Rest(scene.dialog);   // the windows of the tests before may still be handing the keyboard on
        SetForegroundWindow(scene.dialog);
        SetFocus(apply);
        ASSERT_EQ(GetFocus(), apply);
        for (HWND child = GetWindow(scene.dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
            EnableWindow(child, child == abort);
        EXPECT_EQ(FocusAtRest(scene.dialog, abort), abort);
        EnableWindow(apply, TRUE);
        KPZ_ShowWindow(abort, FALSE);
        EXPECT_EQ(FocusAtRest(scene.dialog, apply), apply);
    });
}

// Ctrl, as this thread sees it.
static void HoldControl(bool down)
{
    BYTE keys[256];
    GetKeyboardState(keys);
    keys[VK_CONTROL] = down ? 0x80 : 0;
    SetKeyboardState(keys);
}

TEST_F(RealWindows, TheHostsKeysPressItsButtonsWhileTheDialogHasThem)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const struct {
            WPARAM key;
            int32_t id;
        } keys[] = {{'Z', 37}, {'Y', 38}, {VK_PRIOR, 39}, {VK_NEXT, 40}};
        const auto toldBy = [&](WPARAM key) {
            scene.told.clear();
            HoldControl(true);
            PressKey(scene.dialog, key);
            HoldControl(false);
            return scene.told;
        };
        EXPECT_TRUE(toldBy('Z').empty()) << "not asked for yet";
        KPZ_SetupDialogHotkeys(scene.dialog, HOST_RESOURCES);
        for (const auto &[key, id] : keys) {
            EXPECT_EQ(toldBy(key), (std::vector<Told>{Notified(id, BN_CLICKED, GetDlgItem(scene.dialog, id))}));
        }
        KPZ_EnableDlgItem(scene.dialog, 37, FALSE);
        EXPECT_TRUE(toldBy('Z').empty()) << "a greyed button has no key";
        KPZ_RemoveDialogHotkeys(scene.dialog);
        EXPECT_TRUE(toldBy('Y').empty());
    });
}

//---- The system's own boxes

// Works the box that is open on a dialog, from within the box's own loop.
static struct BoxWork {
    HWND dialog;
    std::function<void(HWND box)> work;
    bool done;
} boxWork;

static void CALLBACK LookForBox(HWND, UINT, UINT_PTR timer, DWORD)
{
    const HWND box = GetLastActivePopup(boxWork.dialog);
    if (box == boxWork.dialog || boxWork.done || !IsWindowVisible(box)) return;
    KillTimer(nullptr, timer);
    boxWork.done = true;
    boxWork.work(box);
}

static void WorkNextBox(HWND dialog, std::function<void(HWND box)> work)
{
    boxWork = {dialog, std::move(work), false};
    SetTimer(nullptr, 0, 20, LookForBox);
}

static void CloseBox(HWND box, int button) { PostMessageA(box, WM_COMMAND, WPARAM(button), 0); }

TEST_F(RealWindows, TheColourControlOpensThePickerAndTellsWhatWasChosen)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        enum { PICKER_RED = 706 };
        std::vector<std::pair<int, uint32_t>> seen;
        scene.answer = [&](const Told &told) {
            if (LOWORD(told.word) == BACKGROUND)
                seen.emplace_back(HIWORD(told.word), *reinterpret_cast<const uint32_t *>(told.extra));
            return 0;
        };
        const HWND colour = GetDlgItem(scene.dialog, BACKGROUND);
        KPZ_SendMsgAndWait(colour, COLOUR_SETTING, COLOUR_SHOWN, 0x00332211);
        WorkNextBox(scene.dialog, [](HWND box) {
            SetDlgItemInt(box, PICKER_RED, 200, FALSE);
            CloseBox(box, IDOK);
        });
        ClickOn(scene.dialog, BACKGROUND);
        EXPECT_TRUE(boxWork.done);
        ASSERT_EQ(seen.size(), 2u);
        EXPECT_EQ(seen[0].first, COLOUR_CHANGING);
        EXPECT_EQ(seen[1].first, COLOUR_CHANGED);
        EXPECT_EQ(seen[1].second & 0xFF, 200u);
        EXPECT_EQ(HostShownColour(scene.dialog, BACKGROUND), seen[1].second);

        WorkNextBox(scene.dialog, [](HWND box) { CloseBox(box, IDCANCEL); });
        SetFocus(colour);
        PressKey(colour, VK_SPACE);
        EXPECT_TRUE(boxWork.done) << "the keyboard opens it too";
        EXPECT_EQ(seen.size(), 2u) << "nothing was chosen";
        scene.answer = nullptr;
    });
}

TEST_F(RealWindows, AMessageBoxWaitsForThePersonWhileOtherThreadsGoOn)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        std::atomic<LRESULT> answer{0};
        std::thread sender;
        scene.answer = [](const Told &told) { return told.message == TEST_MESSAGE ? INT_PTR(7) : 0; };
        WorkNextBox(scene.dialog, [&](HWND box) {
            sender = std::thread([&answer, box, dialog = scene.dialog] {
                answer = KPZ_SendMsgAndWait(dialog, TEST_MESSAGE, 0, 0);
                CloseBox(box, IDOK);
            });
        });
        EXPECT_EQ(KPZ_MessageBox(scene.dialog, "There is nothing to do.", "Noise", MB_ICONERROR), IDOK);
        ASSERT_TRUE(boxWork.done);
        sender.join();
        scene.answer = nullptr;
        EXPECT_EQ(answer, 7);
        EXPECT_EQ(scene.threads.back(), std::this_thread::get_id());
    });
}

//---- Messages and pixels

TEST_F(RealWindows, PrivateMessagesThatTheSystemUsesItselfAreTheDialogsAlone)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        SetWindowPos(scene.dialog, nullptr, -500, -500, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        EXPECT_EQ(KPZ_SendMsgAndWait(scene.dialog, REFRESH_PREVIEW, 0, 0), 0);
        RECT area;
        GetWindowRect(scene.dialog, &area);
        EXPECT_EQ(area.left, -500) << "to a dialog of the system's own it means: come back onto the screen";
    });
}

static int painted;

static LRESULT KPZAPI DrawSquare(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message != WM_PAINT) return KPZ_DefWindowProc(window, message, word, extra);
    RECT area;
    const DrawSpace space = KPZ_BeginPaint(window, nullptr, &area);
    KPZ_SetDrawSpaceToRGB(space);
    const RECT square = {10, 20, 30, 40};
    KPZ_FillRect(space, &square, 0x000080FF);
    const POINT line[] = {{50, 60}, {50, 80}};
    KPZ_SetCurrentPosition(space, line);
    KPZ_PolyLine(space, 2, line);
    KPZ_EndPaint(space);
    ++painted;
    return 0;
}

TEST_F(RealWindows, WhatIsDrawnCanBeSeen)
{
    painted = 0;
    HostSetPreviewProcedure(DrawSquare);
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        RunUntil([] { return painted > 0; });
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        const HDC screen = GetDC(preview);
        const COLORREF background = GetSysColor(COLOR_APPWORKSPACE);
        EXPECT_EQ(GetPixel(screen, 10, 20), 0x000080FFu);
        EXPECT_EQ(GetPixel(screen, 29, 39), 0x000080FFu);
        EXPECT_EQ(GetPixel(screen, 30, 39), background);
        EXPECT_EQ(GetPixel(screen, 9, 20), background);
        EXPECT_EQ(GetPixel(screen, 50, 70), 0u);
        ReleaseDC(preview, screen);
    });
    HostSetPreviewProcedure(nullptr);
}

//---- The preview control's mouse

static std::vector<Told> previewTold;

static LRESULT KPZAPI NoteMouse(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_MOUSEWHEEL || message == WM_CAPTURECHANGED) {
        previewTold.push_back({message, word, extra});
        return 0;
    }
    return KPZ_DefWindowProc(window, message, word, extra);
}

TEST_F(RealWindows, ThePreviewCanHaveTheMouseToItself)
{
    HostSetPreviewProcedure(NoteMouse);
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        previewTold.clear();
        HostCaptureMouse(preview);
        EXPECT_EQ(GetCapture(), preview);
        HostCaptureMouse(nullptr);
        EXPECT_EQ(GetCapture(), nullptr);
        EXPECT_EQ(previewTold, (std::vector<Told>{{WM_CAPTURECHANGED, 0, 0}}));
    });
    HostSetPreviewProcedure(nullptr);
}

TEST_F(RealWindows, TheWheelTurnsForThePreviewUnderThePointer)
{
    HostSetPreviewProcedure(NoteMouse);
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL), field = GetDlgItem(scene.dialog, AMOUNT_FIELD);
        POINT place = {20, 30};
        ClientToScreen(preview, &place);
        const WPARAM notch = MAKEWPARAM(0, WHEEL_DELTA);
        const LPARAM there = MAKELPARAM(place.x, place.y);
        previewTold.clear();
        PostMessageA(field, WM_MOUSEWHEEL, notch, there);
        HandlePosted();
        EXPECT_EQ(previewTold, (std::vector<Told>{{WM_MOUSEWHEEL, notch, there}}));
        HostFromScreen(preview, &place);
        EXPECT_EQ(place.x, 20);
        EXPECT_EQ(place.y, 30);
        previewTold.clear();
        POINT beside = {-20, 30};
        ClientToScreen(preview, &beside);
        PostMessageA(field, WM_MOUSEWHEEL, notch, MAKELPARAM(beside.x, beside.y));
        HandlePosted();
        EXPECT_TRUE(previewTold.empty());
    });
    HostSetPreviewProcedure(nullptr);
}

//---- Modules

// Its strings stand in strings.rc.
TEST(ModuleResources, AreReadWhereAModuleBringsNoTable)
{
    HostKnowModule("PROGRAM", GetModuleHandleA(nullptr), nullptr);
    char buffer[20];
    EXPECT_EQ(KPZ_LoadString(nullptr, "PROGRAM", 16, buffer, sizeof buffer), 7);
    EXPECT_STREQ(buffer, "sixteen");
    EXPECT_EQ(KPZ_LoadString(nullptr, "PROGRAM", 16, buffer, 4), 3);
    EXPECT_STREQ(buffer, "six");
    EXPECT_EQ(KPZ_LoadString(nullptr, "PROGRAM", 17, buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "");
    HostKnowModule("PROGRAM", nullptr, nullptr);
}
