// Scroll messages, which come back to the dialog as commands.

#include "tests/framework/stage.h"

static LPARAM Control(HWND dialog, int id) { return reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)); }

// The commands that the dialog sends itself while it handles a scroll message.
static Calls CommandsAfter(HWND dialog, UINT message, WPARAM word, LPARAM sender, LRESULT &result)
{
    Calls calls = Only(CallsDuring([&] { result = Send(dialog, message, word, sender); }), {"KPZ_SendMsgAndWait"});
    calls.erase(calls.begin());   // the scroll message itself
    return calls;
}

TEST(HorizontalScroll, OfThePriorityBecomesItsCommandWithTheScrollCode)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        const LPARAM sender = Control(dialog, PRIORITY_TRACKBAR);
        LRESULT result = 0;
        EXPECT_EQ(CommandsAfter(dialog, WM_HSCROLL, MAKEWPARAM(SB_THUMBPOSITION, 3), sender, result),
                  (Calls{Called("KPZ_SendMsgAndWait", dialog, WM_COMMAND,
                                MAKEWPARAM(PRIORITY_TRACKBAR, SB_THUMBPOSITION), sender)}));
        EXPECT_EQ(result, 1);
    });
}

TEST(HorizontalScroll, OfAnotherControlIsResentAsItCame)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (LPARAM sender : {Control(dialog, AMOUNT), Control(dialog, APPLY_BUTTON), LPARAM(0), LPARAM(-5)}) {
            const WPARAM word = MAKEWPARAM(UNUSED_COMMAND, 0xFFFE);
            LRESULT result = 0;
            EXPECT_EQ(CommandsAfter(dialog, WM_HSCROLL, word, sender, result),
                      (Calls{Called("KPZ_SendMsgAndWait", dialog, WM_COMMAND, word, sender)}));
            EXPECT_EQ(result, 1);
        }
    });
}

// A scroll code can read as a command: SB_LINEDOWN is the number of the Close button.
TEST(HorizontalScroll, OfAnotherControlActsAsTheCommandItReadsAs)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Send(dialog, WM_HSCROLL, SB_LINEDOWN, Control(dialog, AMOUNT));
        EXPECT_FALSE(IsOpen(dialog));
    });
}

TEST(ScrollMessages, AreAnsweredWithTheCommandsOwnResult)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        const WPARAM unknown = MAKEWPARAM(12345, 0);
        const INT_PTR defaultResult = KPZ_DefDlgProc(dialog, WM_COMMAND, unknown, 0);
        EXPECT_NE(defaultResult, 1);
        EXPECT_EQ(Send(dialog, WM_HSCROLL, unknown), defaultResult);
        EXPECT_EQ(Send(dialog, WM_VSCROLL, unknown), defaultResult);
        EXPECT_EQ(Send(dialog, WM_HSCROLL, UNUSED_COMMAND), 1);
        EXPECT_EQ(Send(dialog, WM_VSCROLL, UNUSED_COMMAND), 1);
    });
}

static void ExpectSpinChanged(HWND dialog, int id)
{
    const LPARAM sender = Control(dialog, id);
    LRESULT result = 0;
    EXPECT_EQ(CommandsAfter(dialog, WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, 7), sender, result),
              (Calls{Called("KPZ_SendMsgAndWait", dialog, WM_COMMAND, MAKEWPARAM(id, 0xFD2E), sender)}))
        << id;
    EXPECT_EQ(result, 1) << id;
}

TEST(VerticalScroll, OfASpinBoxBecomesItsPrivateNotification)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {AMOUNT, VARIATION}) ExpectSpinChanged(dialog, id);
    });
    InWave(stage, [](HWND dialog) {
        for (int id : {AMPLITUDE, WAVELENGTH, PHASE}) ExpectSpinChanged(dialog, id);
    });
}

TEST(VerticalScroll, OfAnotherControlIsResentAsItCame)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (LPARAM sender : {Control(dialog, AMOUNT_EDIT), Control(dialog, PRIORITY_TRACKBAR), LPARAM(0)}) {
            const WPARAM word = MAKEWPARAM(UNUSED_COMMAND, 0x8001);
            LRESULT result = 0;
            EXPECT_EQ(CommandsAfter(dialog, WM_VSCROLL, word, sender, result),
                      (Calls{Called("KPZ_SendMsgAndWait", dialog, WM_COMMAND, word, sender)}));
            EXPECT_EQ(result, 1);
        }
    });
}

TEST(VerticalScroll, OfTheArrowsReachesTheBlock)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        SpinTo(dialog, VARIATION, 42);
        EXPECT_EQ(CurrentNoise(dialog).variation, 42);
        EXPECT_EQ(CurrentNoise(dialog).amount, 15);
    });
}
