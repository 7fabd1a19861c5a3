// The toolbar, and the editor in dark colours, on the screen.

#include "tests/host/editor/editor_fixture.h"

#include "host/dialogs/dialogs.h"
#include "host/editor/window_controls.h"

#include <algorithm>
#include <commctrl.h>
#include <map>

struct LooksTest : EditorFixture {
    ~LooksTest() override { SetLook(Look::NONE); }
    HWND Toolbar() const { return FindWindowExA(editor.frame, nullptr, TOOLBARCLASSNAMEA, nullptr); }
    HWND Status() const { return FindWindowExA(editor.frame, nullptr, STATUSCLASSNAMEA, nullptr); }
    HWND Client() const { return FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr); }
    bool Possible(int command) const { return SendMessageA(Toolbar(), TB_ISBUTTONENABLED, WPARAM(command), 0) != 0; }
    bool Becomes(int command, bool possible)
    {
        return WaitFor([=, this] { return Possible(command) == possible; });
    }
    // What most of a window's inside is: its ground.
    static uint32_t GroundOf(HWND window)
    {
        std::map<uint32_t, size_t> counts;
        for (const uint32_t word : Seen(window)) ++counts[word];
        const auto most = std::max_element(
            counts.begin(), counts.end(), [](const auto &one, const auto &other) { return one.second < other.second; });
        return most->first;
    }
    static bool IsDark(uint32_t word) { return (word >> 16 & 255) < 80 && (word >> 8 & 255) < 80 && (word & 255) < 80; }
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

    SetLook(Look::LIGHT);
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(editor.frame, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>("ImmersiveColorSet"), SMTO_NORMAL,
                        30000, &ignored);
    for (const HWND window : {Toolbar(), Status(), history, GetDlgItem(history, HISTORY_LIST), dialog})
        EXPECT_TRUE(Darkens(window, false)) << TextOf(window);
}
