// The window History, and the batch that it leads to, worked as a person works them: what is listed, where a click goes,
// the recipe that is saved, and what becomes of other pictures.

#include "tests/host/editor/editor_fixture.h"
#include "tests/host/editor/slope.h"

#include "host/dialogs/dialogs.h"
#include "host/documents/library.h"
#include "host/editor/window_controls.h"
#include "tests/support/read_back.h"

#include <fstream>

enum {
    NOISE = MODULE_BASE + NOISE_COMMAND,
    OIL_PAINTING = MODULE_BASE + OIL_PAINTING_COMMAND,
    WAVE = MODULE_BASE + WAVE_COMMAND
};
enum { AMPLITUDE_FIELD = 1080, AMOUNT_FIELD = 1300 };

struct HistoryTest : EditorFixture {
    HWND history = nullptr, list = nullptr;

    static std::string Shown(HWND window, int id) { return TextOf(GetDlgItem(window, id)); }
    static bool Shows(HWND window, int id, const std::string &text)
    {
        return WaitFor([=] { return Shown(window, id).find(text) != std::string::npos; });
    }
    static std::string Row(HWND rows, int place)
    {
        wchar_t text[2000] = L"";
        if (SendMessageW(rows, LB_GETTEXTLEN, WPARAM(place), 0) < LRESULT(std::size(text)))
            SendMessageW(rows, LB_GETTEXT, WPARAM(place), reinterpret_cast<LPARAM>(text));
        return Utf8Of(text);
    }
    bool RowsAre(const std::vector<std::string> &starts)
    {
        return WaitFor([&] {
            if (SendMessageA(list, LB_GETCOUNT, 0, 0) != LRESULT(starts.size())) return false;
            for (size_t i = 0; i < starts.size(); ++i)
                if (!Row(list, int(i)).starts_with(starts[i])) return false;
            return true;
        });
    }
    bool StandsAt(int place)
    {
        return WaitFor([=, this] { return SendMessageA(list, LB_GETCURSEL, 0, 0) == place; });
    }
    void ClickRow(int place)
    {
        const auto height = int(SendMessageA(list, LB_GETITEMHEIGHT, 0, 0));
        const LPARAM at = MAKELPARAM(20, place * height + height / 2);
        PostMessageA(list, WM_LBUTTONDOWN, MK_LBUTTON, at);
        PostMessageA(list, WM_LBUTTONUP, 0, at);
    }
    void OpenHistory()
    {
        Choose(editor, EDIT_HISTORY);
        history = AwaitWindow(editor, "History");
        ASSERT_NE(history, nullptr);
        list = GetDlgItem(history, HISTORY_LIST);
    }
    // Until its run has ended; then the dialog goes.
    void Apply(int command, const std::string &title, int field, const std::string &number)
    {
        const HWND dialog = OpenDialog(command, title);
        const std::vector<std::string> before = PictureTitles(editor);
        if (field) {
            Type(dialog, field, number);
            EXPECT_TRUE(WaitFor([=] { return Shown(dialog, field) == number; }));
        }
        Click(dialog, APPLY_BUTTON);
        EXPECT_TRUE(WaitFor([&] { return PictureTitles(editor)[0].ends_with("*"); }));
        EXPECT_TRUE(CloseAfterRun(dialog));
    }
    Picture Exported(const std::string &name)
    {
        Choose(editor, EXPORT_FILE);
        NameFile(editor, "Export", FileOf(name));
        EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(PathOf(FileOf(name))); }));
        std::error_code ignored;
        EXPECT_TRUE(WaitFor([&] { return IsWindowEnabled(editor.frame) != 0; }));
        return ReadBack(FileOf(name));
    }
    Picture Told(const std::string &words, const std::string &name)
    {
        EXPECT_EQ(RunProgram("velmorant.exe", "apply " + words + " --quiet"), 0) << words;
        return ReadBack(FileOf(name));
    }
    std::string Quoted(const std::string &name) const { return "\"" + FileOf(name) + "\""; }
    // The batch's window with these pictures, to be written into the folder `out`; opened from History.
    HWND PrepareBatch(const std::vector<std::string> &names)
    {
        EXPECT_TRUE(WaitFor([&] { return IsWindowEnabled(GetDlgItem(history, HISTORY_RUN)) != 0; }));
        Click(history, HISTORY_RUN);
        const HWND batch = AwaitWindow(editor, "Run on Other Pictures"), rows = GetDlgItem(batch, BATCH_LIST);
        EXPECT_NE(batch, nullptr);
        for (size_t i = 0; i < names.size(); ++i) {
            Click(batch, BATCH_ADD);
            NameFile(editor, "Add Pictures", FileOf(names[i]));
            EXPECT_TRUE(WaitFor([=] { return SendMessageA(rows, LB_GETCOUNT, 0, 0) == LRESULT(i + 1); }));
        }
        EXPECT_FALSE(IsWindowEnabled(GetDlgItem(batch, BATCH_START))) << "there is no folder yet";
        const std::string out = FileOf("out");
        DWORD_PTR ignored = 0;
        SendMessageTimeoutA(GetDlgItem(batch, BATCH_FOLDER), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(out.c_str()),
                            SMTO_NORMAL, 30000, &ignored);
        EXPECT_TRUE(WaitFor([=] { return IsWindowEnabled(GetDlgItem(batch, BATCH_START)) != 0; }));
        return batch;
    }
    // Started, and so far that its first work is in the folder; large pictures and a slow effect leave the time for that.
    HWND StartLongBatch(const std::vector<std::string> &names)
    {
        MakeFile("lake.png", Slope(160, 120));
        for (const std::string &name : names) MakeFile(name, Slope(2400, 1800));
        Start({FileOf("lake.png")});
        Apply(OIL_PAINTING, "Oil Painting", 0, "");
        OpenHistory();
        const HWND batch = PrepareBatch(names);
        Click(batch, BATCH_START);
        EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(PathOf(FileOf("out"))); }));
        return batch;
    }
    // Whatever has been written is whole.
    void ExpectWholePictures() const
    {
        for (const auto &entry : std::filesystem::directory_iterator(PathOf(FileOf("out")))) {
            if (NameOf(entry.path().filename()).starts_with('.')) continue;   // the batch's own record
            EXPECT_EQ(ReadBack(NameOf(entry.path())).width, 2400) << entry.path();
        }
    }
};

TEST_F(HistoryTest, StepsAreListedAndAClickGoesBackAndForth)
{
    MakeFile("lake.png", Slope(160, 120));
    Start({FileOf("lake.png")});
    OpenHistory();
    EXPECT_TRUE(RowsAre({"As it was opened"}));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(history, HISTORY_SAVE))) << "there is no effect yet";
    Apply(WAVE, "Wave", AMPLITUDE_FIELD, "25");
    EXPECT_TRUE(RowsAre({"As it was opened", "Wave: Amplitude 25"})) << Row(list, 1);
    Choose(editor, PICTURE_TURN_HALF);
    EXPECT_TRUE(RowsAre({"As it was opened", "Wave: Amplitude 25", "Rotate Half"}));
    EXPECT_TRUE(StandsAt(2));
    EXPECT_EQ(Shown(history, HISTORY_PICTURE), "lake.png");
    EXPECT_EQ(Shown(history, HISTORY_DETAILS), "Rotate Half");
    const Picture turned = Exported("turned.png");

    ClickRow(1);
    EXPECT_TRUE(StandsAt(1));
    EXPECT_TRUE(Shows(history, HISTORY_DETAILS, "Wave: Amplitude 25"));
    EXPECT_TRUE(RowsAre({"As it was opened", "Wave: Amplitude 25", "Rotate Half"})) << "what redo brings again stays";
    const std::string files = "wave " + Quoted("lake.png") + " " + Quoted("told.png") + " --amplitude 25";
    EXPECT_TRUE(Same(Exported("waved.png"), Told(files, "told.png")));
    ClickRow(0);
    EXPECT_TRUE(HasTitles({"lake.png"})) << "the file's own state";
    ClickRow(2);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_TRUE(Same(Exported("again.png"), turned));

    // By the keyboard too: the arrow keys go through the list, Ctrl+Z undoes, Esc closes.
    PostMessageA(list, WM_KEYDOWN, VK_UP, 1);
    EXPECT_TRUE(StandsAt(1));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(StandsAt(0)) << "it follows what is undone elsewhere";
    Choose(editor, PICTURE_GREY);
    EXPECT_TRUE(RowsAre({"As it was opened", "Grey"})) << "a new step ends what was ahead";
    PostMessageA(list, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(IsGone(history));
}

TEST_F(HistoryTest, TheEffectsBecomeARecipeThatMakesTheSamePicture)
{
    MakeFile("lake.png", Slope(160, 120));
    Start({FileOf("lake.png")});
    Apply(WAVE, "Wave", AMPLITUDE_FIELD, "25");
    Apply(NOISE, "Noise", AMOUNT_FIELD, "40");
    const Picture made = Exported("made.png");
    Choose(editor, PICTURE_TURN_HALF);
    OpenHistory();
    EXPECT_TRUE(RowsAre({"As it was opened", "Wave: ", "Noise: ", "Rotate Half"}));
    Click(history, HISTORY_SAVE);
    NameFile(editor, "Save as Recipe", FileOf("look.recipe"));
    EXPECT_TRUE(Shows(history, HISTORY_NOTE, "Saved: 2 steps. Left out: Rotate Half.")) << Shown(history, HISTORY_NOTE);
    const std::string words = "--recipe " + Quoted("look.recipe") + " " + Quoted("lake.png") + " " + Quoted("told.png");
    EXPECT_TRUE(Same(Told(words, "told.png"), made)) << "with the seed that was drawn";
    EXPECT_EQ(RunProgram("velmorant.exe", "recipe check " + Quoted("look.recipe")), 0);
}

TEST_F(HistoryTest, OtherPicturesAreWorkedOnWithAReport)
{
    MakeFile("lake.png", Slope(160, 120));
    MakeFile("one.png", Slope(90, 60));
    MakeFile("two.png", Slope(60, 90));
    std::ofstream(PathOf(FileOf("broken.png"))) << "no picture";
    Start({FileOf("lake.png")});
    Apply(WAVE, "Wave", AMPLITUDE_FIELD, "25");
    OpenHistory();
    const HWND batch = PrepareBatch({"one.png", "broken.png", "two.png"}), rows = GetDlgItem(batch, BATCH_LIST);
    EXPECT_TRUE(Shows(batch, BATCH_STEPS, "Steps: Wave."));
    const std::string out = FileOf("out");
    Click(batch, BATCH_START);
    EXPECT_TRUE(Shows(batch, BATCH_REPORT, "2 written, 1 failed.")) << Shown(batch, BATCH_REPORT);
    EXPECT_EQ(Row(rows, 0), "one.png: written");
    EXPECT_TRUE(Row(rows, 1).starts_with("broken.png: failed: ")) << Row(rows, 1);
    EXPECT_EQ(Row(rows, 2), "two.png: written");
    const auto kindOf = [=](int id) { return GetWindowLongA(GetDlgItem(batch, id), GWL_STYLE) & BS_TYPEMASK; };
    EXPECT_TRUE(WaitFor([&] { return kindOf(IDCANCEL) == BS_DEFPUSHBUTTON && kindOf(BATCH_START) == BS_PUSHBUTTON; }))
        << "one button alone looks like the one that Enter presses";
    for (const std::string name : {"one.png", "two.png"}) {
        const std::string files = "wave " + Quoted(name) + " " + Quoted("told " + name) + " --amplitude 25";
        EXPECT_TRUE(Same(ReadBack(NameOf(PathOf(out) / name)), Told(files, "told " + name))) << name;
    }
    Click(batch, BATCH_START);
    EXPECT_TRUE(Shows(batch, BATCH_REPORT, "0 written, 1 failed, 2 left out.")) << Shown(batch, BATCH_REPORT);
    PostMessageA(rows, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(IsGone(batch));
}

TEST_F(HistoryTest, ABatchIsAbortedWithoutHalfAPicture)
{
    const HWND batch = StartLongBatch({"one.png", "two.png", "three.png", "four.png"});
    Click(batch, BATCH_ABORT);
    EXPECT_TRUE(Shows(batch, BATCH_REPORT, "Aborted. ")) << Shown(batch, BATCH_REPORT);
    ExpectWholePictures();
}

TEST_F(HistoryTest, QuittingDuringABatchAsksAndLeavesNothingBehind)
{
    const std::vector<std::string> names = {"one.png", "two.png", "three.png", "four.png", "five.png", "six.png"};
    const HWND batch = StartLongBatch(names);
    Choose(editor, EDIT_UNDO);   // so that nothing but the batch is asked about
    EXPECT_TRUE(HasTitles({"lake.png"}));
    Choose(editor, QUIT_EDITOR);
    EXPECT_NE(Asked(editor).find("still being worked on"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDCANCEL));
    EXPECT_TRUE(IsWindowVisible(batch)) << "it goes on";
    EXPECT_EQ(CountProcessesOf(editor, "velmorant.exe"), 1);
    Choose(editor, QUIT_EDITOR);
    EXPECT_TRUE(Answer(editor, IDOK));
    EXPECT_TRUE(HasEnded(editor));
    EXPECT_TRUE(WaitFor([&] { return CountProcessesOf(editor, "velmorant.exe") == 0; }));
    ExpectWholePictures();
    const std::string recipe = "velmorant-batch-" + std::to_string(editor.id);
    for (const auto &entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
        EXPECT_FALSE(NameOf(entry.path().filename()).starts_with(recipe)) << entry.path();
    for (const std::string &name : names) EXPECT_EQ(ReadBack(FileOf(name)).width, 2400) << "they are as they were";
}

// Where the installer puts the command line that this system can start.
TEST_F(HistoryTest, TheCommandLineIsFoundInItsFolder)
{
    const std::string installed = FileOf("installed");
    CopyEditorTo(installed);
    MakeFile("lake.png", Slope(160, 120));
    MakeFile("one.png", Slope(90, 60));
    editor = StartEditor({FileOf("lake.png")}, installed);
    ASSERT_TRUE(HasTitles({"lake.png"}));
    Apply(WAVE, "Wave", AMPLITUDE_FIELD, "25");
    OpenHistory();
    ASSERT_TRUE(WaitFor([&] { return IsWindowEnabled(GetDlgItem(history, HISTORY_RUN)) != 0; }));
    Click(history, HISTORY_RUN);
    EXPECT_NE(Asked(editor).find("The installer offers it"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDOK));
    BOOL under64Bits = FALSE;
    IsWow64Process(GetCurrentProcess(), &under64Bits);
    const auto command = under64Bits ? PathOf(installed) / "command" : PathOf(installed);
    std::filesystem::create_directory(command);
    for (const char *file : {"velmorant.exe", "velmorant.dll", "VLMEFF.dll", "VLMAPI.dll", "VLMMISC.dll"})
        if (!std::filesystem::exists(command / file))
            std::filesystem::copy(PathOf(ProgramFolder()) / file, command / file);
    const HWND batch = PrepareBatch({"one.png"});
    Click(batch, BATCH_START);
    EXPECT_TRUE(Shows(batch, BATCH_REPORT, "1 written.")) << Shown(batch, BATCH_REPORT);
    EXPECT_EQ(ReadBack(FileOf("out/one.png")).width, 90);
}
