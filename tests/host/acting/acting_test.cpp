// Acting on the module's own dialogs: what a routine does to a control is seen by asking the dialog afterwards.

#include "host/acting/acting.h"
#include "tests/support/comparison.h"

#include <algorithm>

namespace
{

const DialogTemplate &Table(const char *effect) { return *FindEffectTemplate(effect); }

// A host with one grey picture open. A script that fails an assertion leaves its dialog open, so it closes last.
class Acting : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(StartHost(host, "", error)) << error;
        image = OpenImage(host, GreyRamp());
    }
    void TearDown() override { EndHost(host); }

    static Picture GreyRamp()
    {
        Picture picture = NewPicture(GREY, 64, 48);
        for (int i = 0; i < 64 * 48; ++i) picture.pixels[size_t(i)] = uint8_t(i);
        return picture;
    }

    // Runs a script in an effect's dialog and closes it.
    void In(const char *effect, const std::function<void(HWND dialog)> &script)
    {
        EXPECT_TRUE(ActInDialog(host, Table(effect).commandOffset, [&script](HWND dialog) {
            script(dialog);
            Press(dialog, CLOSE_BUTTON);
        }));
    }

    std::string Set(HWND dialog, const char *effect, const char *option, const char *value)
    {
        std::string error;
        return SetOption(dialog, Table(effect), option, value, error) ? "" : error;
    }
    std::string Shown(HWND dialog, const char *effect, const char *option)
    {
        return ShownOption(dialog, Table(effect), option);
    }

    Host host;
    ImageRecord *image = nullptr;
};

}   // namespace

//---- Dialogs

TEST_F(Acting, ScriptRunsWhileTheDialogIsOpenAndTheCallReturnsWhenItHasGone)
{
    HWND open = nullptr;
    EXPECT_TRUE(ActInDialog(host, Table("noise").commandOffset, [&](HWND dialog) {
        open = host.context.openEffectDialog;
        EXPECT_EQ(dialog, open);
        Press(dialog, CLOSE_BUTTON);
    }));
    EXPECT_NE(open, nullptr);
    EXPECT_EQ(host.context.openEffectDialog, nullptr);
}

TEST_F(Acting, CommandThatOpensNoDialogRunsNoScript)
{
    bool ran = false;
    constexpr int32_t UNUSED_OFFSET = 4;
    EXPECT_FALSE(ActInDialog(host, UNUSED_OFFSET, [&ran](HWND) { ran = true; }));
    EXPECT_FALSE(ran);
}

TEST_F(Acting, ScriptMayOpenAnotherDialog)
{
    std::string shown;
    In("wave", [&](HWND outer) {
        In("noise", [&](HWND inner) {
            EXPECT_NE(inner, outer);
            shown = Shown(inner, "noise", "amount");
        });
        EXPECT_EQ(Set(outer, "wave", "amplitude", "12"), "");
        EXPECT_EQ(Shown(outer, "wave", "amplitude"), "12");
    });
    EXPECT_EQ(shown, "15");
}

//---- Controls

TEST_F(Acting, TypingReplacesTheNumber)
{
    In("noise", [&](HWND dialog) {
        Type(dialog, 1300, "42");
        EXPECT_EQ(Shown(dialog, "noise", "amount"), "42");
        EXPECT_EQ(Shown(dialog, "noise", "variation"), "10");
    });
}

TEST_F(Acting, SpinningStopsAtTheValueInEitherDirection)
{
    In("noise", [&](HWND dialog) {
        SpinTo(dialog, 1290, 20);
        EXPECT_EQ(Shown(dialog, "noise", "amount"), "20");
        SpinTo(dialog, 1290, 3);
        EXPECT_EQ(Shown(dialog, "noise", "amount"), "3");
    });
}

TEST_F(Acting, TickingClicksOnlyWhenItMakesADifference)
{
    In("noise", [&](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, true);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, PREVIEW_CHECK));
        Tick(dialog, PREVIEW_CHECK, false);
        EXPECT_FALSE(KPZ_IsButtonChecked(dialog, PREVIEW_CHECK));
        Tick(dialog, PREVIEW_CHECK, false);
        EXPECT_FALSE(KPZ_IsButtonChecked(dialog, PREVIEW_CHECK));
    });
}

TEST_F(Acting, ChoosingSlidingAndPickingReachTheirControls)
{
    In("wave", [&](HWND dialog) {
        Choose(dialog, 5530);
        Slide(dialog, PRIORITY_TRACKBAR, 3);
        PickColour(dialog, 1130, 0x00332211);
        EXPECT_EQ(Shown(dialog, "wave", "orientation"), "columns");
        EXPECT_EQ(Shown(dialog, "wave", "priority"), "3");
        EXPECT_EQ(Shown(dialog, "wave", "background"), "#112233");
    });
}

TEST_F(Acting, GreyedButtonCannotBePressed)
{
    In("noise", [&](HWND dialog) {
        KPZ_EnableDlgItem(dialog, APPLY_BUTTON, FALSE);
        Press(dialog, APPLY_BUTTON);
        EXPECT_FALSE(RunUnderWay(image));
        EXPECT_EQ(SharedRead(image->runStarted), 0);
    });
}

//---- Runs

TEST_F(Acting, RunIsUnderWayFromApplyUntilTheDialogHasHeardOfItsEnd)
{
    const Picture before = PictureOf(image);
    In("noise", [&](HWND dialog) {
        KPZ_GetMutexSem(image->imageLock, 5000);   // the run has to wait for it
        Press(dialog, APPLY_BUTTON);
        EXPECT_TRUE(RunUnderWay(image));
        EXPECT_FALSE(KPZ_IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON)));
        KPZ_ReleaseMutexSem(image->imageLock);
        WaitForRun(image);
        EXPECT_FALSE(RunUnderWay(image));
        EXPECT_TRUE(KPZ_IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON)));
    });
    EXPECT_FALSE(SamePicture(PictureOf(image), before));
}

TEST_F(Acting, WaitingWithoutARunReturnsAtOnce)
{
    In("noise", [&](HWND) { WaitForRun(image); });
    EXPECT_EQ(SharedRead(image->runStarted), 0);
}

TEST_F(Acting, RunsOfTwoImagesAreWaitedForEachByItself)
{
    ImageRecord *second = OpenImage(host, GreyRamp());
    In("noise", [&](HWND dialog) {
        KPZ_GetMutexSem(image->imageLock, 5000);
        Press(dialog, APPLY_BUTTON);
        ActivateImage(host, second);
        Press(dialog, APPLY_BUTTON);
        WaitForRun(second);
        EXPECT_TRUE(RunUnderWay(image));
        KPZ_ReleaseMutexSem(image->imageLock);
        WaitForRun(image);
    });
    EXPECT_FALSE(SamePicture(PictureOf(image), GreyRamp()));
    EXPECT_FALSE(SamePicture(PictureOf(second), GreyRamp()));
}

TEST_F(Acting, SecondRunIsWaitedForLikeTheFirst)
{
    In("noise", [&](HWND dialog) {
        for (int run = 0; run < 20; ++run) {
            Press(dialog, APPLY_BUTTON);
            WaitForRun(image);
            EXPECT_EQ(SharedRead(image->effectThread), nullptr);
        }
    });
    EXPECT_EQ(MiscUndoCount(image), 20);
}

TEST_F(Acting, WaitUntilAsksFirst)
{
    int asked = 0;
    WaitUntil([&asked] { return ++asked > 0; });
    EXPECT_EQ(asked, 1);
}

//---- Options

TEST_F(Acting, OptionsAreSetAndShownInTheSameWords)
{
    const std::vector<std::pair<const char *, const char *>> options = {
        {"amplitude", "50"},        {"wavelength", "1000"}, {"phase", "360"},        {"background", "#FF8001"},
        {"orientation", "columns"}, {"priority", "4"},      {"orientation", "rows"}, {"amplitude", "1"},
    };
    In("wave", [&](HWND dialog) {
        for (const auto &[option, value] : options) {
            EXPECT_EQ(Set(dialog, "wave", option, value), "");
            EXPECT_EQ(Shown(dialog, "wave", option), value);
        }
    });
}

TEST_F(Acting, RadioTakesItsControlsNumber)
{
    In("wave", [&](HWND dialog) {
        EXPECT_EQ(Set(dialog, "wave", "orientation", "5530"), "");
        EXPECT_EQ(Shown(dialog, "wave", "orientation"), "columns");
    });
}

TEST_F(Acting, BadValuesAreRefusedInOneLineAndChangeNothing)
{
    In("wave", [&](HWND dialog) {
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "51"), "51 is outside 1..50");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "0"), "0 is outside 1..50");
        EXPECT_EQ(Set(dialog, "wave", "phase", "-1"), "-1 is outside 0..360");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "ten"), "'ten' is not a whole number of 1..50");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "1.5"), "'1.5' is not a whole number of 1..50");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", ""), "'' is not a whole number of 1..50");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", " 5"), "' 5' is not a whole number of 1..50");
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "99999999999999999999"),
                  "'99999999999999999999' is not a whole number of 1..50");
        EXPECT_EQ(Set(dialog, "wave", "orientation", "diagonal"), "'diagonal' is not one of rows, columns");
        EXPECT_EQ(Set(dialog, "wave", "orientation", "1201"), "'1201' is not one of rows, columns");
        EXPECT_EQ(Set(dialog, "wave", "background", "red"), "'red' is not a colour as #RRGGBB");
        EXPECT_EQ(Set(dialog, "wave", "background", "#12345"), "'#12345' is not a colour as #RRGGBB");
        EXPECT_EQ(Set(dialog, "wave", "background", "#12345G"), "'#12345G' is not a colour as #RRGGBB");
        EXPECT_EQ(Set(dialog, "wave", "priority", "5"), "5 is outside 0..4");
        EXPECT_EQ(Set(dialog, "wave", "speed", "5"), "no such parameter");
        EXPECT_EQ(Shown(dialog, "wave", "amplitude"), "10");
        EXPECT_EQ(Shown(dialog, "wave", "background"), "#000000");
        EXPECT_EQ(Shown(dialog, "wave", "orientation"), "rows");
        EXPECT_EQ(Shown(dialog, "wave", "speed"), "");
    });
}

TEST_F(Acting, OptionWhoseControlIsGreyedIsRefused)
{
    In("wave", [&](HWND dialog) {
        KPZ_EnableDlgItem(dialog, 1070, FALSE);
        EXPECT_EQ(Set(dialog, "wave", "amplitude", "5"), "its control is greyed");
        EXPECT_EQ(Shown(dialog, "wave", "amplitude"), "10");
    });
}

TEST_F(Acting, RangesComeFromTheOpenDialog)
{
    In("wave", [&](HWND dialog) {
        int32_t low = 0, high = 0;
        OptionRange(dialog, *FindOption(Table("wave"), "wavelength"), low, high);
        EXPECT_EQ(low, 1);
        EXPECT_EQ(high, 1000);
        KPZ_SetSpinBoxRange(dialog, 1030, 3, 30);
        OptionRange(dialog, *FindOption(Table("wave"), "wavelength"), low, high);
        EXPECT_EQ(low, 3);
        EXPECT_EQ(high, 30);
    });
}

//---- An option of several fields

// A dialog of the test's own, made from the table of Filters: its 49 fields are one option.
static INT_PTR KPZAPI KernelDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    if (message != WM_INITDIALOG) return KPZ_DefDlgProc(dialog, message, word, extra);
    for (int32_t field = 4020; field <= 4068; ++field) {
        KPZ_SetSpinBoxRange(dialog, field, -50, 50);
        KPZ_SetSpinBoxValue(dialog, field, field == 4044);
    }
    const DialogTemplate &table = Table("filters");
    const std::string identity = ShownOption(dialog, table, "kernel");
    std::string mixed = "-50", error;
    for (int i = 1; i < 49; ++i) mixed += (i % 2 ? "," : " ") + std::to_string(i);

    EXPECT_EQ(std::count(identity.begin(), identity.end(), ' '), 48);
    EXPECT_EQ(std::count(identity.begin(), identity.end(), '1'), 1);
    EXPECT_FALSE(SetOption(dialog, table, "kernel", "1 2 3", error));
    EXPECT_EQ(error, "3 numbers where there are 49");
    EXPECT_FALSE(SetOption(dialog, table, "kernel", mixed.substr(0, mixed.size() - 2) + "51", error));
    EXPECT_EQ(error, "51 is outside -50..50");
    EXPECT_EQ(ShownOption(dialog, table, "kernel"), identity);
    EXPECT_TRUE(SetOption(dialog, table, "kernel", mixed, error)) << error;
    std::replace(mixed.begin(), mixed.end(), ',', ' ');
    EXPECT_EQ(ShownOption(dialog, table, "kernel"), mixed);
    KPZ_DismissDialog(dialog, 7);
    return 1;
}

TEST_F(Acting, FieldsOfOneOptionAreSetTogether)
{
    const INT_PTR result = KPZ_RunDialogBox(KPZ_GetDesktopWindow(), KernelDialog,
                                            KPZ_GetLoadedModuleHandle(HOST_RESOURCES), Table("filters").id, nullptr);
    EXPECT_EQ(result, 7);
}
