// The toolbar, and the editor in dark colours and in those of high contrast, on the screen.

#include "tests/host/editor/editor_fixture.h"

#include "host/dialogs/dialogs.h"
#include "host/editor/strip_controls.h"
#include "host/editor/window_controls.h"
#include "interface/messages.h"

#include <algorithm>
#include <commctrl.h>
#include <map>

enum { AMPLITUDE_ARROWS = 1070 };

struct LooksTest : EditorFixture {
    std::vector<std::pair<int, COLORREF>> usual;   // the system's own colours, where a test has set others

    ~LooksTest() override
    {
        SetLook(Look::NONE);
        for (const auto &[index, colour] : usual) SetSysColors(1, &index, &colour);
    }
    void UseColour(int index, COLORREF colour)
    {
        usual.emplace_back(index, GetSysColor(index));
        SetSysColors(1, &index, &colour);
    }
    HWND Tabs() const { return FindWindowExA(editor.frame, nullptr, "VelmorantTabs", nullptr); }
    // Whether its ground is of one colour, and something on it of the other one; both are told as 0x00RRGGBB.
    static bool Consists(HWND window, uint32_t ground, uint32_t writing)
    {
        return WaitFor([=] {
            const std::vector<uint32_t> seen = Seen(window);
            return GroundOf(window) == ground && std::find(seen.begin(), seen.end(), writing) != seen.end();
        });
    }
    HWND Toolbar() const { return FindWindowExA(editor.frame, nullptr, TOOLBARCLASSNAMEA, nullptr); }
    HWND Status() const { return FindWindowExA(editor.frame, nullptr, STATUSCLASSNAMEA, nullptr); }
    HWND Client() const { return FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr); }
    bool Possible(int command) const { return SendMessageA(Toolbar(), TB_ISBUTTONENABLED, WPARAM(command), 0) != 0; }
    bool Becomes(int command, bool possible)
    {
        return WaitFor([=, this] { return Possible(command) == possible; });
    }
    // What most of a window's inside is: its ground.
    static uint32_t GroundOf(HWND window) { return GroundOf(Seen(window)); }
    static uint32_t GroundOf(const std::vector<uint32_t> &seen)
    {
        std::map<uint32_t, size_t> counts;
        for (const uint32_t word : seen) ++counts[word];
        const auto most = std::max_element(
            counts.begin(), counts.end(), [](const auto &one, const auto &other) { return one.second < other.second; });
        return most->first;
    }
    static bool IsDark(uint32_t word) { return (word >> 16 & 255) < 80 && (word >> 8 & 255) < 80 && (word & 255) < 80; }
    // Of a window's greys.
    static uint32_t Brightest(HWND window)
    {
        uint32_t brightest = 0;
        for (const uint32_t word : Seen(window)) brightest = std::max(brightest, word & 255);
        return brightest;
    }
    static bool Darkens(HWND window, bool dark)
    {
        return WaitFor([=] { return IsDark(GroundOf(window)) == dark; });
    }
};

TEST_F(LooksTest, TheToolbarIsGreyedAsTheMenuAndItsButtonsAreCommands)
{
    Start({});
    ASSERT_NE(Toolbar(), nullptr);
    EXPECT_TRUE(IsWindowVisible(Toolbar()));
    EXPECT_TRUE(WaitFor([&] { return !OfOneColour(Seen(Toolbar())); })) << "its pictures are seen";
    EXPECT_TRUE(Possible(OPEN_FILE));
    EXPECT_TRUE(Becomes(SAVE_FILE, false));
    EndEditor(editor);
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});
    EXPECT_TRUE(Becomes(SAVE_FILE, true));
    EXPECT_TRUE(Becomes(EDIT_UNDO, false));
    Choose(editor, PICTURE_GREY);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_TRUE(Becomes(EDIT_UNDO, true));
    EXPECT_TRUE(Becomes(EDIT_REDO, false));

    // Undo's button lies where the bar says; it is pressed there.
    const LRESULT place = SendMessageA(Toolbar(), TB_COMMANDTOINDEX, EDIT_UNDO, 0);
    EXPECT_EQ(place, 3) << "behind Open, Save and a gap";
    const auto width = LOWORD(SendMessageA(Toolbar(), TB_GETBUTTONSIZE, 0, 0));
    const LPARAM at = MAKELPARAM(2 * width + 8 + width / 2, 10);
    PostMessageA(Toolbar(), WM_LBUTTONDOWN, MK_LBUTTON, at);
    PostMessageA(Toolbar(), WM_LBUTTONUP, 0, at);
    EXPECT_TRUE(HasTitles({"lake.png"}));
    EXPECT_TRUE(Becomes(EDIT_REDO, true));

    RECT before = {}, after = {};
    GetWindowRect(Client(), &before);
    Choose(editor, VIEW_TOOLBAR);
    EXPECT_TRUE(WaitFor([&] { return !IsWindowVisible(Toolbar()); }));
    EXPECT_TRUE(WaitFor([&] { return GetWindowRect(Client(), &after) && after.top < before.top; }));
    EndEditor(editor);
    Start({});
    EXPECT_FALSE(IsWindowVisible(Toolbar())) << "remembered";
    Choose(editor, VIEW_TOOLBAR);
    EXPECT_TRUE(WaitFor([&] { return IsWindowVisible(Toolbar()) != 0; }));
}

TEST_F(LooksTest, TheColoursFollowTheSystemsSetting)
{
    SetLook(Look::DARK);
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});
    EXPECT_TRUE(Darkens(Toolbar(), true));
    EXPECT_TRUE(Darkens(Status(), true));
    EXPECT_FALSE(OfOneColour(Seen(Status()))) << "its texts are seen";
    const HWND history = OpenDialog(EDIT_HISTORY, "History");
    EXPECT_TRUE(Darkens(history, true));
    EXPECT_TRUE(Darkens(GetDlgItem(history, HISTORY_LIST), true));
    const HWND dialog = OpenDialog(MODULE_BASE + WAVE_COMMAND, "Wave");
    EXPECT_TRUE(Darkens(dialog, true));
    const HWND apply = GetDlgItem(dialog, APPLY_BUTTON), arrows = GetDlgItem(dialog, AMPLITUDE_ARROWS);
    for (const HWND control : {apply, GetDlgItem(dialog, CLOSE_BUTTON), arrows, Tabs()})
        EXPECT_TRUE(Darkens(control, true)) << TextOf(control);
    EXPECT_TRUE(WaitFor([=] { return !OfOneColour(Seen(apply)); })) << "its text is seen";
    PostMessageA(apply, BM_SETSTATE, TRUE, 0);
    EXPECT_TRUE(WaitFor([=] { return GroundOf(apply) == 0x606060; })) << "pressed";
    PostMessageA(apply, BM_SETSTATE, FALSE, 0);
    EXPECT_TRUE(WaitFor([=] { return GroundOf(apply) == 0x404040; }));

    const HWND image = GetDlgItem(dialog, SCOPE_IMAGE_RADIO), refused = GetDlgItem(dialog, SCOPE_OBJECTS_RADIO);
    const HWND preset = GetDlgItem(GetDlgItem(dialog, STRIP_WINDOW), STRIP_PRESET);
    for (const HWND control : {image, refused, preset}) EXPECT_TRUE(Darkens(control, true)) << TextOf(control);
    EXPECT_TRUE(WaitFor([=] { return Brightest(image) >= 240; }));
    EXPECT_TRUE(WaitFor([=] { return Brightest(refused) == 140; })) << "what cannot be chosen is less bright";
    EXPECT_TRUE(WaitFor([=] { return Brightest(preset) <= 240; })) << "neither border nor arrow is light";

    SetLook(Look::LIGHT);
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(editor.frame, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>("ImmersiveColorSet"), SMTO_NORMAL,
                        30000, &ignored);
    for (const HWND window :
         {Toolbar(), Status(), Tabs(), history, GetDlgItem(history, HISTORY_LIST), dialog, apply, image, preset})
        EXPECT_TRUE(Darkens(window, false)) << TextOf(window);
}

TEST_F(LooksTest, TheChooserFollowsTheSystemsSettingToo)
{
    SetLook(Look::DARK);
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});
    const HWND chooser = OpenDialog(MODULE_BASE + CHOOSER_COMMAND, "Effects Helper");
    RECT area;
    GetWindowRect(chooser, &area);
    const RECT beneath = {area.left + 8, area.bottom - 12, area.right - 8, area.bottom - 6};   // its view and buttons
    EXPECT_TRUE(WaitFor([=] { return IsDark(GroundOf(SeenAt(beneath))); }));
    EXPECT_TRUE(Darkens(GetDlgItem(chooser, IDOK), true));
    EXPECT_TRUE(WaitFor([=] { return !OfOneColour(Seen(GetDlgItem(chooser, IDOK))); })) << "its text is seen";

    SetLook(Look::LIGHT);
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(editor.frame, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>("ImmersiveColorSet"), SMTO_NORMAL,
                        30000, &ignored);
    EXPECT_TRUE(WaitFor([=] { return !IsDark(GroundOf(SeenAt(beneath))); }));
    EXPECT_TRUE(Darkens(GetDlgItem(chooser, IDOK), false));
}

// The menus' headings, above the window's inside.
static RECT BarOf(const EditorProcess &editor)
{
    RECT inside;
    GetClientRect(editor.frame, &inside);
    MapWindowPoints(editor.frame, nullptr, reinterpret_cast<POINT *>(&inside), 2);
    return {inside.left, inside.top - GetSystemMetrics(SM_CYMENU) + 1, inside.right, inside.top - 1};
}

static HWND OpenMenu(const EditorProcess &editor, char letter)
{
    PostMessageA(editor.frame, WM_SYSCOMMAND, SC_KEYMENU, letter);
    WaitFor([] { return IsWindowVisible(FindWindowA("#32768", nullptr)) != 0; });
    return FindWindowA("#32768", nullptr);
}

static bool CloseMenu(const EditorProcess &editor)
{
    return WaitFor([&] {
        PostMessageA(editor.frame, WM_KEYDOWN, VK_ESCAPE, 1);
        Sleep(50);
        return !IsWindowVisible(FindWindowA("#32768", nullptr));
    });
}

TEST_F(LooksTest, MenusAreDarkAndKeepTheirLetters)
{
    SetLook(Look::DARK);
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});
    EXPECT_TRUE(WaitFor([&] { return IsDark(GroundOf(SeenAt(BarOf(editor)))); }));
    EXPECT_FALSE(OfOneColour(SeenAt(BarOf(editor)))) << "its headings are seen";
    const HWND menu = OpenMenu(editor, 'e');
    ASSERT_NE(menu, nullptr);
    RECT area;
    GetWindowRect(menu, &area);
    EXPECT_TRUE(WaitFor([=] { return IsDark(GroundOf(SeenAt(area))); }));
    EXPECT_TRUE(WaitFor([=] {
        const std::vector<uint32_t> seen = SeenAt(area);
        return std::find(seen.begin(), seen.end(), 0xF0F0F0U) != seen.end();   // what is possible
    }));

    // A menu that a program draws asks it for its letters.
    constexpr UINT GET_MENU = 0x01E1;   // MN_GETHMENU, which headers for older systems leave out
    DWORD_PTR edit = 0, ignored = 0;
    SendMessageTimeoutA(menu, GET_MENU, 0, 0, SMTO_NORMAL, 30000, &edit);
    const auto asked = [&](char letter) {
        DWORD_PTR result = 0;
        SendMessageTimeoutA(editor.frame, WM_MENUCHAR, MAKEWPARAM(letter, MF_POPUP), LPARAM(edit), SMTO_NORMAL, 30000,
                            &result);
        return std::make_pair(int(LOWORD(result)), int(HIWORD(result)));
    };
    EXPECT_EQ(asked('h'), std::make_pair(2, MNC_EXECUTE));
    EXPECT_EQ(asked('F'), std::make_pair(6, MNC_EXECUTE));
    EXPECT_EQ(asked('q').second, MNC_IGNORE);
    EXPECT_TRUE(CloseMenu(editor));

    SetLook(Look::LIGHT);
    SendMessageTimeoutA(editor.frame, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>("ImmersiveColorSet"), SMTO_NORMAL,
                        30000, &ignored);
    EXPECT_TRUE(WaitFor([&] { return !IsDark(GroundOf(SeenAt(BarOf(editor)))); }));
    const HWND light = OpenMenu(editor, 'e');
    ASSERT_NE(light, nullptr);
    GetWindowRect(light, &area);
    EXPECT_TRUE(WaitFor([=] { return !IsDark(GroundOf(SeenAt(area))); }));
    EXPECT_TRUE(CloseMenu(editor));
}

// Of high contrast the system's colours are what is seen: a black ground with white and yellow upon it. That it is switched
// on, which goes before dark colours, cannot be told to the Wine that tests run under.
TEST_F(LooksTest, HighContrastHasTheSystemsColours)
{
    constexpr COLORREF BLACK = 0, WHITE = 0xFFFFFF, YELLOW = 0x00FFFF;
    for (const int ground : {COLOR_WINDOW, COLOR_BTNFACE, COLOR_APPWORKSPACE}) UseColour(ground, BLACK);
    UseColour(COLOR_WINDOWTEXT, YELLOW);
    UseColour(COLOR_BTNTEXT, WHITE);
    UseColour(COLOR_HIGHLIGHT, 0xFF00FF);
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120)), MakeFile("pond.png", NewPicture(RGB, 160, 120))});
    EXPECT_TRUE(Consists(Toolbar(), 0, 0xFFFFFF)) << "its pictures have the texts' colour";
    const HWND active = FindWindowExA(Tabs(), nullptr, "VelmorantTab", "pond.png");
    const HWND other = FindWindowExA(Tabs(), nullptr, "VelmorantTab", "lake.png");
    EXPECT_TRUE(Consists(active, 0, 0xFFFF00));
    EXPECT_TRUE(Consists(active, 0, 0xFF00FF)) << "the line above it";
    EXPECT_TRUE(Consists(other, 0, 0xFFFFFF));
    const HWND history = OpenDialog(EDIT_HISTORY, "History");
    EXPECT_TRUE(Consists(history, 0, 0xFFFF00));
    const HWND dialog = OpenDialog(MODULE_BASE + WAVE_COMMAND, "Wave");
    EXPECT_TRUE(Consists(dialog, 0, 0xFFFF00));
}
