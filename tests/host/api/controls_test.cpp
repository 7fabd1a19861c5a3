// Buttons, trackbar, list box, colour control and preview control.

#include "tests/host/api/scene.h"

#include <string>

enum { FADE = 1020, ROWS = 1200, COLUMNS = 5530, BACKGROUND = 1130 };

static const int32_t scopeRadios[] = {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO};

//---- Buttons

TEST(Buttons, CheckedByCodeTellNobody)
{
    InDialog(RIPPLE_TEMPLATE, [](Scene &scene) {
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, FADE));
        KPZ_CheckButton(scene.dialog, FADE, 1);
        EXPECT_TRUE(KPZ_IsButtonChecked(scene.dialog, FADE));
        KPZ_CheckButton(scene.dialog, FADE, 0);
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, FADE));
        KPZ_CheckButton(scene.dialog, SCOPE_ALL_RADIO, 1);
        EXPECT_TRUE(scene.told.empty());
    });
}

TEST(Buttons, AClickOnACheckBoxTurnsItOverAndTellsTheDialog)
{
    InDialog(RIPPLE_TEMPLATE, [](Scene &scene) {
        std::vector<bool> seen;
        scene.answer = [&](const Told &) { return seen.push_back(KPZ_IsButtonChecked(scene.dialog, FADE)), 0; };
        const Told clicked = Notified(FADE, BN_CLICKED, GetDlgItem(scene.dialog, FADE));
        for (int i = 0; i < 3; ++i) KPZ_SendDlgItemMsg(scene.dialog, FADE, BM_CLICK, 0, 0);
        EXPECT_EQ(scene.told, (std::vector<Told>{clicked, clicked, clicked}));
        EXPECT_EQ(seen, (std::vector<bool>{true, false, true})) << "it has turned over when the dialog is told";
        scene.answer = nullptr;
    });
}

TEST(Buttons, ARadioButtonUnchecksTheRestOfItsGroupAndNothingElse)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        KPZ_CheckButton(scene.dialog, COLUMNS, 1);
        KPZ_CheckButton(scene.dialog, PREVIEW_CHECK, 1);
        for (const int32_t chosen : scopeRadios) {
            KPZ_CheckButton(scene.dialog, chosen, 1);
            for (const int32_t id : scopeRadios)
                EXPECT_EQ(KPZ_IsButtonChecked(scene.dialog, id) != 0, id == chosen) << id;
        }
        EXPECT_TRUE(KPZ_IsButtonChecked(scene.dialog, COLUMNS));
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, ROWS));
        EXPECT_TRUE(KPZ_IsButtonChecked(scene.dialog, PREVIEW_CHECK));
        KPZ_CheckButton(scene.dialog, ROWS, 1);
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, COLUMNS));
        EXPECT_TRUE(KPZ_IsButtonChecked(scene.dialog, SCOPE_NEW_OBJECT_RADIO));
    });
}

TEST(Buttons, UncheckingARadioButtonLeavesTheGroupWithoutOne)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        KPZ_CheckButton(scene.dialog, ROWS, 1);
        KPZ_CheckButton(scene.dialog, ROWS, 0);
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, ROWS));
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, COLUMNS));
    });
}

TEST(Buttons, AClickOnARadioButtonChecksItAndTellsTheDialogOfItAlone)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        KPZ_CheckButton(scene.dialog, ROWS, 1);
        KPZ_SendDlgItemMsg(scene.dialog, COLUMNS, BM_CLICK, 0, 0);
        EXPECT_TRUE(KPZ_IsButtonChecked(scene.dialog, COLUMNS));
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, ROWS));
        EXPECT_EQ(scene.told, (std::vector<Told>{Notified(COLUMNS, BN_CLICKED, GetDlgItem(scene.dialog, COLUMNS))}));
    });
}

TEST(Buttons, APushButtonTellsTheDialogUnlessItIsGreyed)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SendDlgItemMsg(scene.dialog, APPLY_BUTTON, BM_CLICK, 0, 0);
        const Told clicked = Notified(APPLY_BUTTON, BN_CLICKED, GetDlgItem(scene.dialog, APPLY_BUTTON));
        EXPECT_EQ(scene.told, (std::vector<Told>{clicked}));
        KPZ_EnableDlgItem(scene.dialog, APPLY_BUTTON, FALSE);
        KPZ_SendDlgItemMsg(scene.dialog, APPLY_BUTTON, BM_CLICK, 0, 0);
        EXPECT_EQ(scene.told.size(), 1u);
        EXPECT_FALSE(KPZ_IsButtonChecked(scene.dialog, APPLY_BUTTON));
    });
}

//---- Trackbar

TEST(Trackbar, KeepsItsPositionWithinItsRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_TrackbarSetRange(scene.dialog, PRIORITY_TRACKBAR, LOWEST_PRIORITY, HIGHEST_PRIORITY);
        const struct {
            int32_t set, is;
        } cases[] = {{2, 2}, {4, 4}, {5, 4}, {-1, 0}, {0, 0}};
        for (const auto &told : cases) {
            KPZ_TrackbarSetPos(scene.dialog, PRIORITY_TRACKBAR, told.set);
            EXPECT_EQ(KPZ_TrackbarGetPos(scene.dialog, PRIORITY_TRACKBAR), told.is);
        }
        KPZ_TrackbarSetPos(scene.dialog, PRIORITY_TRACKBAR, 4);
        KPZ_TrackbarSetRange(scene.dialog, PRIORITY_TRACKBAR, 0, 3);
        EXPECT_EQ(KPZ_TrackbarGetPos(scene.dialog, PRIORITY_TRACKBAR), 3);
        KPZ_TrackbarSetRange(scene.dialog, PRIORITY_TRACKBAR, -10, -5);
        EXPECT_EQ(KPZ_TrackbarGetPos(scene.dialog, PRIORITY_TRACKBAR), -5);
        EXPECT_TRUE(scene.told.empty()) << "set by code, it tells nobody";
    });
}

TEST(Trackbar, MovedByAPersonTellsTheDialogOfEveryStep)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_TrackbarSetRange(scene.dialog, PRIORITY_TRACKBAR, 0, 4);
        KPZ_TrackbarSetPos(scene.dialog, PRIORITY_TRACKBAR, 2);
        std::vector<int32_t> seen;
        std::vector<int> codes;
        scene.answer = [&](const Told &told) {
            EXPECT_EQ(told.message, UINT(WM_HSCROLL));
            EXPECT_EQ(told.extra, reinterpret_cast<LPARAM>(GetDlgItem(scene.dialog, PRIORITY_TRACKBAR)));
            seen.push_back(KPZ_TrackbarGetPos(scene.dialog, PRIORITY_TRACKBAR));
            codes.push_back(LOWORD(told.word));
            return 0;
        };
        HostSlideTrackbar(scene.dialog, PRIORITY_TRACKBAR, 4);
        HostSlideTrackbar(scene.dialog, PRIORITY_TRACKBAR, 3);
        HostSlideTrackbar(scene.dialog, PRIORITY_TRACKBAR, 3);
        HostSlideTrackbar(scene.dialog, PRIORITY_TRACKBAR, 9);
        scene.answer = nullptr;
        EXPECT_EQ(seen, (std::vector<int32_t>{3, 3, 4, 4, 3, 3, 4, 4}));
        EXPECT_EQ(codes, (std::vector<int>{SB_LINEDOWN, SB_ENDSCROLL, SB_LINEDOWN, SB_ENDSCROLL, SB_LINEUP,
                                           SB_ENDSCROLL, SB_LINEDOWN, SB_ENDSCROLL}));
    });
}

//---- List box

static std::string EntryOf(HWND dialog, int32_t entry)
{
    char text[100] = "";
    KPZ_SendDlgItemMsg(dialog, KERNEL_LIST, LB_GETTEXT, WPARAM(entry), reinterpret_cast<LPARAM>(text));
    return text;
}

class ListBox : public testing::TestWithParam<int>
{
};

TEST_P(ListBox, KeepsItsEntriesInTheOrderTheyCame)
{
    InDialog(GetParam(), [](Scene &scene) {
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), -1);
        const char *entries[] = {"Sharpen", "Blur", "Emboss", "Blur"};
        for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, entries[i]), i);
        EXPECT_EQ(KPZ_SendDlgItemMsg(scene.dialog, KERNEL_LIST, LB_GETCOUNT, 0, 0), 4);
        for (int32_t i = 0; i < 4; ++i) EXPECT_EQ(EntryOf(scene.dialog, i), entries[i]);
        EXPECT_EQ(KPZ_SendDlgItemMsg(scene.dialog, KERNEL_LIST, LB_GETTEXT, 4, 0), LB_ERR);
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), -1);
        EXPECT_TRUE(scene.told.empty());
    });
}

INSTANTIATE_TEST_SUITE_P(Templates, ListBox, testing::Values(FILTERS_TEMPLATE, CHOOSER_TEMPLATE));

TEST(ListBox, ADoubleClickSelectsThenTellsOfBoth)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        for (const char *text : {"one", "two", "three"}) KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, text);
        std::vector<int32_t> seen;
        scene.answer = [&](const Told &) {
            return seen.push_back(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST)), 0;
        };
        HostDoubleClick(scene.dialog, KERNEL_LIST, 1);
        const HWND list = GetDlgItem(scene.dialog, KERNEL_LIST);
        EXPECT_EQ(scene.told, (std::vector<Told>{Notified(KERNEL_LIST, LBN_SELCHANGE, list),
                                                 Notified(KERNEL_LIST, LBN_DBLCLK, list)}));
        EXPECT_EQ(seen, (std::vector<int32_t>{1, 1}));
        HostDoubleClick(scene.dialog, KERNEL_LIST, 3);
        HostDoubleClick(scene.dialog, KERNEL_LIST, -1);
        EXPECT_EQ(scene.told.size(), 2u) << "there is nothing to click on";
        scene.answer = nullptr;
    });
}

TEST(ListBox, ASelectionByCodeTellsNobody)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        for (const char *text : {"one", "two"}) KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, text);
        KPZ_SendDlgItemMsg(scene.dialog, KERNEL_LIST, LB_SETCURSEL, 1, 0);
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), 1);
        KPZ_SendDlgItemMsg(scene.dialog, KERNEL_LIST, LB_SETCURSEL, WPARAM(-1), 0);
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), -1);
        EXPECT_TRUE(scene.told.empty());
    });
}

TEST(ListBox, TheDialogMayCloseAtTheFirstNotification)
{
    const INT_PTR result = InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, "one");
        scene.answer = [&](const Told &told) {
            if (told.message == WM_COMMAND) KPZ_DismissDialog(scene.dialog, 9);
            return 0;
        };
        HostDoubleClick(scene.dialog, KERNEL_LIST, 0);
        EXPECT_EQ(scene.told.size(), 2u) << "the selection and the end";
    });
    EXPECT_EQ(result, 9);
}

TEST(ListBox, ThatIsNotThereTakesAndSelectsNothing)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        EXPECT_EQ(KPZ_ListBoxAddToEnd(scene.dialog, KERNEL_LIST, "one"), -1);
        EXPECT_EQ(KPZ_ListBoxQuerySelection(scene.dialog, KERNEL_LIST), -1);
    });
}

//---- Colour control

TEST(ColourControl, ShowsWhatItIsToldToAndTellsNobody)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        KPZ_SendDlgItemMsg(scene.dialog, BACKGROUND, COLOUR_SETTING, COLOUR_SHOWN, 0x00332211);
        KPZ_SendDlgItemMsg(scene.dialog, BACKGROUND, COLOUR_SETTING, COLOUR_SETTING_4, 0);
        KPZ_SendDlgItemMsg(scene.dialog, BACKGROUND, COLOUR_SETTING, COLOUR_SETTING_5, 1);
        EXPECT_EQ(HostShownColour(scene.dialog, BACKGROUND), 0x00332211u);
        EXPECT_TRUE(scene.told.empty());
    });
}

TEST(ColourControl, APickedColourIsToldTwiceThroughAPointer)
{
    InDialog(WAVE_TEMPLATE, [](Scene &scene) {
        std::vector<std::pair<int, uint32_t>> seen;
        scene.answer = [&](const Told &told) {
            EXPECT_EQ(told.message, UINT(WM_COMMAND));
            EXPECT_EQ(LOWORD(told.word), BACKGROUND);
            seen.emplace_back(HIWORD(told.word), *reinterpret_cast<const uint32_t *>(told.extra));
            return 0;
        };
        HostPickColour(scene.dialog, BACKGROUND, 0x00FF8001);
        EXPECT_EQ(seen,
                  (std::vector<std::pair<int, uint32_t>>{{COLOUR_CHANGING, 0x00FF8001}, {COLOUR_CHANGED, 0x00FF8001}}));
        EXPECT_EQ(HostShownColour(scene.dialog, BACKGROUND), 0x00FF8001u);
        KPZ_EnableDlgItem(scene.dialog, BACKGROUND, FALSE);
        HostPickColour(scene.dialog, BACKGROUND, 1);
        EXPECT_EQ(seen.size(), 2u);
        EXPECT_EQ(HostShownColour(scene.dialog, BACKGROUND), 0x00FF8001u);
        scene.answer = nullptr;
    });
}

//---- Preview control

static std::vector<Told> previewTold, subclassTold;

static bool IsPrivate(UINT message)
{
    return message == SHOW_PREVIEW || message == PREVIEW_CHANGED || message == WM_DESTROY;
}

static LRESULT KPZAPI NotePreview(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (!IsPrivate(message)) return KPZ_DefWindowProc(window, message, word, extra);
    previewTold.push_back({message, word, extra});
    return 12;
}

static LRESULT KPZAPI NoteSubclass(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (!IsPrivate(message)) return KPZ_DefWindowProc(window, message, word, extra);
    subclassTold.push_back({message, word, extra});
    return 34;
}

class PreviewControl : public testing::Test
{
protected:
    void SetUp() override
    {
        previewTold.clear();
        subclassTold.clear();
        HostSetPreviewProcedure(NotePreview);
    }
    void TearDown() override { HostSetPreviewProcedure(nullptr); }
};

TEST_F(PreviewControl, GetsTheProcedureSetBeforeAndHearsOfItsEnd)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        EXPECT_TRUE(previewTold.empty()) << "its creation sends it nothing";
        HostSetPreviewProcedure(NoteSubclass);   // for the next one
        EXPECT_EQ(KPZ_SendDlgItemMsg(scene.dialog, PREVIEW_CONTROL, SHOW_PREVIEW, 0, 5), 12);
        EXPECT_EQ(KPZ_SendDlgItemMsg(scene.dialog, PREVIEW_CONTROL, PREVIEW_CHANGED, 0, 0), 12);
    });
    EXPECT_EQ(previewTold, (std::vector<Told>{{SHOW_PREVIEW, 0, 5}, {PREVIEW_CHANGED, 0, 0}, {WM_DESTROY, 0, 0}}));
    EXPECT_TRUE(subclassTold.empty());
}

TEST_F(PreviewControl, SubclassedHandsItsMessagesToTheNewProcedure)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        EXPECT_EQ(KPZ_SubclassWindow(preview, NoteSubclass), NotePreview);
        EXPECT_EQ(KPZ_SendMsgAndWait(preview, SHOW_PREVIEW, 0, 1), 34);
        EXPECT_EQ(KPZ_SubclassWindow(preview, NotePreview), NoteSubclass);
        EXPECT_EQ(KPZ_SendMsgAndWait(preview, SHOW_PREVIEW, 0, 2), 12);
        EXPECT_EQ(KPZ_SubclassWindow(preview, NoteSubclass), NotePreview);
    });
    EXPECT_EQ(subclassTold, (std::vector<Told>{{SHOW_PREVIEW, 0, 1}, {WM_DESTROY, 0, 0}}));
    EXPECT_EQ(previewTold, (std::vector<Told>{{SHOW_PREVIEW, 0, 2}}));
}

static LRESULT KPZAPI NoteAndGoOn(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (IsPrivate(message)) subclassTold.push_back({message, word, extra});
    return KPZ_DefWindowProc(window, message, word, extra);
}

TEST_F(PreviewControl, WhatTheNewProcedureLeavesAloneReachesTheReplacedOne)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        KPZ_SubclassWindow(preview, NoteAndGoOn);
        EXPECT_EQ(KPZ_SendMsgAndWait(preview, SHOW_PREVIEW, 0, 1), 12);
    });
    const std::vector<Told> both = {{SHOW_PREVIEW, 0, 1}, {WM_DESTROY, 0, 0}};
    EXPECT_EQ(subclassTold, both);
    EXPECT_EQ(previewTold, both);
}

TEST_F(PreviewControl, TheDefaultProcedureDoesNotCallTheProcedureAgain)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        const HWND preview = GetDlgItem(scene.dialog, PREVIEW_CONTROL);
        EXPECT_EQ(KPZ_DefWindowProc(preview, SHOW_PREVIEW, 0, 1), 0);
        EXPECT_TRUE(previewTold.empty());
    });
}
