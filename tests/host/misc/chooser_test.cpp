// The effect chooser's dialog: what chooses, what does not, and what it lists. Where its entries come from is the
// module's.

#include "tests/host/misc/stage.h"

#include <cstring>
#include <gtest/gtest.h>

static constexpr int32_t EFFECT_LIST = 960;

struct Chooser {
    HostContext context = {};
    ChooserRecord record = {};
    std::function<void(HWND)> act;
};

static LRESULT KPZAPI HostProcedure(HWND window, UINT message, WPARAM, LPARAM extra)
{
    auto *chooser = static_cast<Chooser *>(HostWindowData(window));
    if (message == CHOOSER_OPENED) chooser->act(reinterpret_cast<HWND>(extra));
    return 0;
}

// Opens the chooser, acts on it, and returns its result.
static INT_PTR Choose(const std::function<void(HWND dialog)> &act)
{
    Chooser chooser;
    chooser.act = act;
    chooser.context.resourceModule = HOST_RESOURCES;
    chooser.context.window = HostCreateWindow("host", HostProcedure, &chooser);
    ChooserRecord &record = chooser.record;
    record.resourceModule = HOST_RESOURCES;
    strcpy(record.title, "Effects Helper");
    record.host = &chooser.context;
    record.entryCount = 21;
    strcpy(record.names[0], "Original Image");
    for (int32_t i = 1; i <= 20; ++i) snprintf(record.names[i], 50, "Effect %d", i);
    const INT_PTR result = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), HelperDialog,
                                            KPZ_GetLoadedModuleHandle(HOST_RESOURCES), CHOOSER_TEMPLATE, &record);
    HostDestroyWindow(chooser.context.window);
    return result;
}

static void Press(HWND dialog, int32_t id) { KPZ_SendDlgItemMsg(dialog, id, BM_CLICK, 0, 0); }

TEST(Chooser, DoubleClickChoosesTheEntryLessOne)
{
    for (int32_t entry = 1; entry <= 20; ++entry) {
        EXPECT_EQ(Choose([=](HWND dialog) { HostDoubleClick(dialog, EFFECT_LIST, entry); }), entry - 1);
    }
}

TEST(Chooser, OkChoosesTheSelectedEntry)
{
    EXPECT_EQ(Choose([](HWND dialog) {
                  KPZ_SendDlgItemMsg(dialog, EFFECT_LIST, LB_SETCURSEL, 7, 0);
                  Press(dialog, 1);
              }),
              6);
}

TEST(Chooser, OkWithoutASelectionLeavesItOpen)
{
    bool stillThere = false;
    EXPECT_EQ(Choose([&](HWND dialog) {
                  Press(dialog, 1);
                  stillThere = GetDlgItem(dialog, EFFECT_LIST) != nullptr;
                  Press(dialog, 2);
              }),
              CHOOSER_CANCELLED);
    EXPECT_TRUE(stillThere);
}

TEST(Chooser, CancelCloseAndTheOriginalImageChooseNothing)
{
    EXPECT_EQ(Choose([](HWND dialog) { Press(dialog, 2); }), CHOOSER_CANCELLED);
    EXPECT_EQ(Choose([](HWND dialog) { KPZ_SendMsgNoWait(dialog, WM_CLOSE, 0, 0); }), CHOOSER_CANCELLED);
    EXPECT_EQ(Choose([](HWND dialog) { HostDoubleClick(dialog, EFFECT_LIST, 0); }), CHOOSER_CANCELLED);
}

TEST(Chooser, ListsTheEntries)
{
    char first[64] = "", last[64] = "";
    LRESULT count = 0;
    Choose([&](HWND dialog) {
        count = KPZ_SendDlgItemMsg(dialog, EFFECT_LIST, LB_GETCOUNT, 0, 0);
        KPZ_SendDlgItemMsg(dialog, EFFECT_LIST, LB_GETTEXT, 0, reinterpret_cast<LPARAM>(first));
        KPZ_SendDlgItemMsg(dialog, EFFECT_LIST, LB_GETTEXT, 20, reinterpret_cast<LPARAM>(last));
        Press(dialog, 2);
    });
    EXPECT_EQ(count, 21);
    EXPECT_STREQ(first, "Original Image");
    EXPECT_STREQ(last, "Effect 20");
}

TEST(Chooser, SelectingAloneChoosesNothing)
{
    EXPECT_EQ(Choose([](HWND dialog) {
                  const WPARAM selected = MAKEWPARAM(EFFECT_LIST, LBN_SELCHANGE);
                  KPZ_SendMsgAndWait(dialog, WM_COMMAND, selected, 0);
                  Press(dialog, 2);
              }),
              CHOOSER_CANCELLED);
}
