// Pictures of the editor's windows on the screen, in the build's folder `screens`: scripts/screens.sh puts them into
// docs/editor. Whether they look well is for a person to say; that nothing in them is blank is tested.

#include "host/acting/example.h"
#include "host/editor/conversion.h"
#include "host/editor/window_controls.h"
#include "tests/host/editor/editor_fixture.h"

#include <set>

static int DotsPerInch()
{
    const HDC screen = GetDC(nullptr);
    const int dots = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return dots;
}

// A length that is told for 96 dots per inch.
static LONG Scaled(int length) { return MulDiv(length, DotsPerInch(), 96); }

static RECT PlaceOf(HWND window)
{
    RECT place;
    GetWindowRect(window, &place);
    return place;
}

//---- Files

static std::string FileFor(const std::string &name)
{
    char own[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, own, sizeof own);
    const std::string dots = DotsPerInch() == 96 ? "" : "-" + std::to_string(DotsPerInch());
    const auto file = std::filesystem::path(own).parent_path().parent_path() / "screens" / (name + dots + ".png");
    std::filesystem::create_directories(file.parent_path());
    return file.string();
}

static Picture PictureOfArea(const RECT &area)
{
    const std::vector<uint32_t> seen = SeenAt(area);
    Picture picture = NewPicture(RGB, area.right - area.left, area.bottom - area.top);
    for (int32_t y = 0; y < picture.height; ++y) {
        uint8_t *byte = picture.pixels.get() + size_t(RowStride(24, picture.width)) * size_t(y);
        for (int32_t x = 0; x < picture.width; ++x) {
            const uint32_t word = seen[size_t(y) * size_t(picture.width) + size_t(x)];
            for (const int shift : {0, 8, 16}) *byte++ = uint8_t(word >> shift);
        }
    }
    return picture;
}

// With a palette, which makes the file small.
static void Keep(HWND window, const std::string &name)
{
    const RECT place = PlaceOf(window);
    EXPECT_GE(place.left, 0) << name;
    EXPECT_GE(place.top, 0) << name;
    EXPECT_LE(place.right, GetSystemMetrics(SM_CXSCREEN)) << name;
    EXPECT_LE(place.bottom, GetSystemMetrics(SM_CYSCREEN)) << name;
    const Picture picture =
        Converted(PictureOfArea(place), PALETTE, OneBitMethod::THRESHOLD, [](int32_t, int32_t) { return true; });
    std::vector<std::string> notices;
    std::string error;
    EXPECT_TRUE(WritePicture(FileFor(name), picture, FileFormat::PNG, {}, notices, error)) << error;
}

//---- Windows

// The field within a combo box has its border around it.
static bool IsWithinAnother(HWND control)
{
    char name[16] = "";
    GetClassNameA(GetParent(control), name, sizeof name);
    return lstrcmpiA(name, "ComboBox") == 0;
}

// The first control in which nothing is to be seen: every kind has a text or a border.
static BOOL CALLBACK TakeBlank(HWND control, LPARAM found)
{
    if (!IsWindowVisible(control) || IsWithinAnother(control) || !OfOneColour(SeenAt(PlaceOf(control)))) return TRUE;
    *reinterpret_cast<HWND *>(found) = control;
    return FALSE;
}

static HWND BlankControl(HWND dialog)
{
    HWND blank = nullptr;
    EnumChildWindows(dialog, TakeBlank, reinterpret_cast<LPARAM>(&blank));
    return blank;
}

static void KeepDialog(HWND dialog, const std::string &name)
{
    const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
    EXPECT_FALSE(AwaitStill(preview ? preview : dialog).empty()) << name;
    EXPECT_TRUE(WaitFor([=] { return !BlankControl(dialog); }, 5))
        << name << ": blank is " << GetDlgCtrlID(BlankControl(dialog)) << " \"" << TextOf(BlankControl(dialog)) << "\"";
    Keep(dialog, name);
}

struct ShownWindow {
    int command;
    std::string title, name;
    const DialogTemplate *table = nullptr;   // null for what is no effect's dialog
};

static std::vector<ShownWindow> AllWindows()
{
    std::vector<ShownWindow> windows;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &table = *DialogTemplateAt(i);
        if (table.effect) windows.push_back({MODULE_BASE + table.commandOffset, table.title, table.effect, &table});
    }
    windows.push_back({MODULE_BASE + CHOOSER_COMMAND, "Effects Helper", "chooser"});
    windows.push_back({HELP_EFFECTS, "Velmorant Help", "help"});
    return windows;
}

// Types the numbers of the effect's example, whose picture shows what it does.
static void TypeExample(HWND dialog, const DialogTemplate &table)
{
    for (const GivenOption &option : ExampleOptions(table)) {
        for (int32_t i = 1; i < table.controlCount; ++i) {
            const ControlTemplate &row = table.controls[i];
            if (row.kind != SPIN_ARROWS || option.name != row.option) continue;
            Type(dialog, table.controls[i - 1].id, option.value);
        }
    }
}

// The process that makes them has come and gone.
static void AwaitThumbnails(const EditorProcess &editor)
{
    EXPECT_TRUE(WaitFor([&] { return CountProcessesOf(editor) == 1; }));
    EXPECT_TRUE(WaitFor([&] { return CountProcessesOf(editor) == 0; }));
}

struct EditorPictures : EditorFixture {
    // `enough` names those that are kept, where it names any.
    void KeepWindows(const std::string &below, const std::set<std::string> &enough)
    {
        for (const ShownWindow &shown : AllWindows()) {
            if (!enough.empty() && !enough.contains(shown.name)) continue;
            const HWND window = OpenDialog(shown.command, shown.title);
            ASSERT_NE(window, nullptr);
            if (shown.table) TypeExample(window, *shown.table);
            if (shown.command == MODULE_BASE + CHOOSER_COMMAND) AwaitThumbnails(editor);
            KeepDialog(window, below + shown.name);
            CloseDialog(window);
        }
    }
    void StartWithLake(int width, int height)
    {
        const std::string size = std::to_string(width) + " " + std::to_string(height);
        ASSERT_EQ(RunProgram("sample-picture.exe", size + " \"" + FileOf("lake.png") + "\""), 0);
        Start({FileOf("lake.png")});
    }
    void CloseDialog(HWND dialog)
    {
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        EXPECT_TRUE(IsGone(dialog));
    }
};

TEST_F(EditorPictures, TheMainWindowWithADialogBeforeIt)
{
    StartWithLake(int(Scaled(420)), int(Scaled(280)));
    SetWindowPos(editor.frame, nullptr, Scaled(10), Scaled(10), Scaled(900), Scaled(600), SWP_NOZORDER);
    const HWND client = FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr);
    const HWND picture = FindWindowExA(client, nullptr, "VelmorantPicture", nullptr);
    SendMessageA(client, WM_MDIRESTORE, reinterpret_cast<WPARAM>(picture), 0);
    SetWindowPos(picture, nullptr, Scaled(12), Scaled(12), Scaled(480), Scaled(360), SWP_NOZORDER);
    const HWND dialog = OpenDialog(MODULE_BASE + FindEffectTemplate("wave")->commandOffset, "Wave");
    const RECT frame = PlaceOf(editor.frame), wave = PlaceOf(dialog);
    const LONG left = frame.right - (wave.right - wave.left) - Scaled(12);
    const LONG top = frame.bottom - (wave.bottom - wave.top) - Scaled(32);
    SetWindowPos(dialog, nullptr, left, top, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
    EXPECT_FALSE(AwaitStill(GetDlgItem(dialog, PREVIEW_CONTROL)).empty());
    EXPECT_FALSE(OfOneColour(Seen(picture)));
    Keep(editor.frame, "main");
    CloseDialog(dialog);
}

TEST_F(EditorPictures, EveryDialogWithItsPreview)
{
    StartWithLake(360, 240);
    // On a screen of more dots, the largest and those with drawing of their own are enough.
    KeepWindows("", DotsPerInch() == 96 ? std::set<std::string>() : std::set<std::string>{"filters", "wave", "shear"});
}

// In the folder `dark`, for those who look.
TEST_F(EditorPictures, WindowsInDarkColours)
{
    if (DotsPerInch() != 96) GTEST_SKIP() << "dots change no colours";
    SetLook(Look::DARK);
    StartWithLake(360, 240);
    SetLook(Look::NONE);   // it is asked for when the editor starts
    KeepWindows("dark/", {"mirror", "shear", "noise", "chooser", "help"});
}

TEST_F(EditorPictures, DarkColours)
{
    if (DotsPerInch() != 96) GTEST_SKIP() << "dots change no colours";
    SetLook(Look::DARK);
    StartWithLake(420, 280);
    SetLook(Look::NONE);   // it is asked for when the editor starts
    SetWindowPos(editor.frame, nullptr, 10, 10, 900, 640, SWP_NOZORDER);
    const HWND dialog = OpenDialog(MODULE_BASE + FindEffectTemplate("wave")->commandOffset, "Wave");
    const RECT frame = PlaceOf(editor.frame), wave = PlaceOf(dialog);
    SetWindowPos(dialog, nullptr, frame.right - (wave.right - wave.left) - 12,
                 frame.bottom - (wave.bottom - wave.top) - 32, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
    EXPECT_FALSE(AwaitStill(GetDlgItem(dialog, PREVIEW_CONTROL)).empty());
    EXPECT_FALSE(AwaitStill(editor.frame, 300).empty());
    Keep(editor.frame, "dark");
    CloseDialog(dialog);
    const HWND filters = OpenDialog(MODULE_BASE + FindEffectTemplate("filters")->commandOffset, "Filters");
    KeepDialog(filters, "filters-dark");
    CloseDialog(filters);
    PostMessageA(editor.frame, WM_SYSCOMMAND, SC_KEYMENU, 'v');
    EXPECT_TRUE(WaitFor([] { return IsWindowVisible(FindWindowA("#32768", nullptr)) != 0; }));
    EXPECT_FALSE(AwaitStill(FindWindowA("#32768", nullptr), 300).empty());
    Keep(editor.frame, "menu-dark");
    for (int i = 0; i < 2; ++i) PostMessageA(editor.frame, WM_KEYDOWN, VK_ESCAPE, 1);
}

// Of programs that are started hereafter. High contrast has none of its own.
static void UseVisualStyle(bool used)
{
    RegSetKeyValueA(HKEY_CURRENT_USER, "Software\\Microsoft\\Windows\\CurrentVersion\\ThemeManager", "ThemeActive",
                    REG_SZ, used ? "1" : "0", 2);
}

// The system's colours, and its controls drawn in them, as high contrast has both; all as before with the test's end.
struct HighContrast {
    std::vector<int> places;
    std::vector<COLORREF> usual;
    HighContrast()
    {
        constexpr COLORREF BLACK = 0, WHITE = 0xFFFFFF, YELLOW = 0x00FFFF, CYAN = 0xFFFF00, GREEN = 0x3FF23F;
        for (const int ground :
             {COLOR_WINDOW, COLOR_BTNFACE, COLOR_APPWORKSPACE, COLOR_MENU, COLOR_MENUBAR, COLOR_ACTIVECAPTION,
              COLOR_GRADIENTACTIVECAPTION, COLOR_INACTIVECAPTION, COLOR_GRADIENTINACTIVECAPTION, COLOR_HIGHLIGHTTEXT})
            Use(ground, BLACK);
        for (const int writing : {COLOR_WINDOWTEXT, COLOR_BTNTEXT, COLOR_MENUTEXT, COLOR_CAPTIONTEXT, COLOR_WINDOWFRAME,
                                  COLOR_3DLIGHT, COLOR_3DDKSHADOW})
            Use(writing, WHITE);
        Use(COLOR_BTNHIGHLIGHT, 0xC0C0C0);
        Use(COLOR_BTNSHADOW, 0x808080);
        Use(COLOR_INACTIVECAPTIONTEXT, YELLOW);
        Use(COLOR_HIGHLIGHT, CYAN);
        Use(COLOR_GRAYTEXT, GREEN);
        UseVisualStyle(false);
    }
    HighContrast(const HighContrast &) = delete;
    HighContrast &operator=(const HighContrast &) = delete;
    ~HighContrast()
    {
        SetSysColors(int(places.size()), places.data(), usual.data());
        UseVisualStyle(true);
    }
    void Use(int place, COLORREF colour)
    {
        places.push_back(place);
        usual.push_back(GetSysColor(place));
        SetSysColors(1, &place, &colour);
    }
};

TEST_F(EditorPictures, ColoursOfHighContrast)
{
    if (DotsPerInch() != 96) GTEST_SKIP() << "dots change no colours";
    const HighContrast contrast;
    ASSERT_EQ(RunProgram("sample-picture.exe", "300 400 \"" + FileOf("pond.png") + "\""), 0);
    ASSERT_EQ(RunProgram("sample-picture.exe", "420 280 \"" + FileOf("lake.png") + "\""), 0);
    Start({FileOf("pond.png"), FileOf("lake.png")});
    SetWindowPos(editor.frame, nullptr, 10, 10, 900, 640, SWP_NOZORDER);
    const HWND dialog = OpenDialog(MODULE_BASE + FindEffectTemplate("wave")->commandOffset, "Wave");
    const RECT frame = PlaceOf(editor.frame), wave = PlaceOf(dialog);
    SetWindowPos(dialog, nullptr, frame.right - (wave.right - wave.left) - 12,
                 frame.bottom - (wave.bottom - wave.top) - 32, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
    EXPECT_FALSE(AwaitStill(GetDlgItem(dialog, PREVIEW_CONTROL)).empty());
    EXPECT_FALSE(AwaitStill(editor.frame, 300).empty());
    Keep(editor.frame, "contrast");
    CloseDialog(dialog);
}

// Their texts come and go, so that a control of theirs may well be blank.
TEST_F(EditorPictures, HistoryAndWhatItsStepsMakeOfOtherPictures)
{
    StartWithLake(360, 240);
    const HWND history = OpenDialog(EDIT_HISTORY, "History"), list = GetDlgItem(history, HISTORY_LIST);
    LRESULT rows = 1;
    for (const char *name : {"wave", "noise"}) {
        const DialogTemplate &table = *FindEffectTemplate(name);
        const HWND dialog = OpenDialog(MODULE_BASE + table.commandOffset, table.title);
        Click(dialog, APPLY_BUTTON);
        ++rows;   // when its run has ended
        EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCOUNT, 0, 0) == rows; }));
        EXPECT_TRUE(CloseAfterRun(dialog));
    }
    Choose(editor, PICTURE_FLIP_ACROSS);
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCOUNT, 0, 0) == 4; }));
    SetForegroundWindow(history);
    PostMessageA(list, WM_KEYDOWN, VK_UP, 1);
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCURSEL, 0, 0) == 2; }));
    EXPECT_FALSE(AwaitStill(history, 300).empty());
    Keep(history, "history");

    PostMessageA(list, WM_KEYDOWN, VK_DOWN, 1);
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCURSEL, 0, 0) == 3; }));
    Click(history, HISTORY_RUN);
    const HWND batch = AwaitWindow(editor, "Run on Other Pictures");
    ASSERT_NE(batch, nullptr);
    MakeFile("pond.jpg", NewPicture(RGB, 90, 60));
    MakeFile("river.png", NewPicture(RGB, 60, 90));
    for (const char *name : {"pond.jpg", "river.png"}) {
        Click(batch, BATCH_ADD);
        NameFile(editor, "Add Pictures", FileOf(name));
    }
    const std::string out = FileOf("out");
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(GetDlgItem(batch, BATCH_FOLDER), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(out.c_str()),
                        SMTO_NORMAL, 30000, &ignored);
    EXPECT_TRUE(WaitFor([=] { return IsWindowEnabled(GetDlgItem(batch, BATCH_START)); }));
    Click(batch, BATCH_START);
    EXPECT_TRUE(WaitFor([=] { return TextOf(GetDlgItem(batch, BATCH_REPORT)) == "2 written."; }));
    SetWindowTextA(GetDlgItem(batch, BATCH_FOLDER), "C:\\Pictures\\waved");   // no folder of a test's
    EXPECT_FALSE(AwaitStill(batch, 300).empty());
    Keep(batch, "batch");
}
