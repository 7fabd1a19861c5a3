// The row of tabs above pictures that fill the window, worked with the mouse on the screen.

#include "tests/host/editor/editor_fixture.h"

#include <commctrl.h>

struct TabsTest : EditorFixture {
    HWND Row() const { return FindWindowExA(editor.frame, nullptr, "VelmorantTabs", nullptr); }
    HWND Tab(const std::string &title) const { return FindWindowExA(Row(), nullptr, "VelmorantTab", title.c_str()); }
    bool HasTab(const std::string &title)
    {
        return WaitFor([&] { return Tab(title) != nullptr; });
    }
    static RECT PlaceOf(HWND window)
    {
        RECT place = {};
        GetWindowRect(window, &place);
        return place;
    }
    // The line above the one whose picture is seen.
    bool IsLit(const std::string &title) const
    {
        const RECT place = PlaceOf(Tab(title));
        const COLORREF lit = GetSysColor(COLOR_HIGHLIGHT);
        const std::vector<uint32_t> seen = SeenAt({place.left + 2, place.top, place.left + 4, place.top + 1});
        return seen[0] == uint32_t(GetRValue(lit) << 16 | GetGValue(lit) << 8 | GetBValue(lit));
    }
    bool IsActive(const std::string &title, const std::string &other)
    {
        return WaitFor([&] { return TextOf(editor.frame) == "Velmorant - [" + title + "]"; }) &&
               WaitFor([&] { return IsLit(title) && !IsLit(other); });
    }
    void Press(const std::string &title, UINT down, UINT up, bool cross)
    {
        const HWND tab = Tab(title);
        RECT area = {};
        GetClientRect(tab, &area);
        const LPARAM at = MAKELPARAM(cross ? area.right - 10 : 10, area.bottom / 2);
        PostMessageA(tab, WM_MOUSEMOVE, 0, at);
        PostMessageA(tab, down, 0, at);
        PostMessageA(tab, up, 0, at);
    }
    void ClickOn(const std::string &title) { Press(title, WM_LBUTTONDOWN, WM_LBUTTONUP, false); }
    void ClickCross(const std::string &title) { Press(title, WM_LBUTTONDOWN, WM_LBUTTONUP, true); }
    void MiddleClick(const std::string &title) { Press(title, WM_MBUTTONDOWN, WM_MBUTTONUP, false); }
};

TEST_F(TabsTest, ATabShowsItsPictureAndHasItsNameStarAndPath)
{
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120)), MakeFile("pond.png", NewPicture(GREY, 60, 40))});
    EXPECT_TRUE(WaitFor([&] { return IsWindowVisible(Row()) != 0; }));
    ASSERT_TRUE(HasTab("lake.png"));
    ASSERT_TRUE(HasTab("pond.png"));
    EXPECT_LE(PlaceOf(Tab("lake.png")).right, PlaceOf(Tab("pond.png")).left) << "side by side, as they were opened";
    EXPECT_TRUE(IsActive("pond.png", "lake.png"));
    ClickOn("lake.png");
    EXPECT_TRUE(IsActive("lake.png", "pond.png"));
    Choose(editor, PICTURE_GREY);
    EXPECT_TRUE(HasTab("lake.png *"));
    ASSERT_TRUE(TakeKeyboard(editor));
    Key(VK_TAB, true);
    EXPECT_TRUE(IsActive("pond.png", "lake.png *"));
    Key(VK_F6, true);
    EXPECT_TRUE(IsActive("lake.png *", "pond.png"));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTab("lake.png"));

    const RECT place = PlaceOf(Tab("pond.png"));
    const auto told = [&] {
        for (HWND tip = nullptr; (tip = FindWindowExA(nullptr, tip, TOOLTIPS_CLASSA, nullptr));)
            if (IsWindowVisible(tip)) return TextOf(tip) == FileOf("pond.png");
        return false;
    };
    int step = 0;
    EXPECT_TRUE(WaitFor([&] {
        if (++step % 100 == 1) SetCursorPos(place.left + 10 + step / 100 % 8, (place.top + place.bottom) / 2);
        return told();
    }));
    SetCursorPos(0, 0);
    QuitUnasked();
}

TEST_F(TabsTest, CrossAndMiddleButtonCloseAndAskBeforeChangesAreLost)
{
    const Picture picture = NewPicture(RGB, 160, 120);
    Start({MakeFile("one.png", picture), MakeFile("two.png", picture), MakeFile("three.png", picture)});
    ASSERT_TRUE(HasTab("one.png"));
    ClickCross("one.png");
    EXPECT_TRUE(HasTitles({"three.png", "two.png"})) << "without having been the one that was seen";
    EXPECT_TRUE(WaitFor([&] { return !Tab("one.png"); }));
    ClickOn("three.png");
    EXPECT_TRUE(IsActive("three.png", "two.png"));
    Choose(editor, PICTURE_GREY);
    ASSERT_TRUE(HasTab("three.png *"));
    ClickOn("two.png");
    EXPECT_TRUE(IsActive("two.png", "three.png *"));
    MiddleClick("three.png *");
    EXPECT_NE(Asked(editor).find("three.png"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDCANCEL));
    EXPECT_TRUE(HasTitles({"three.png *", "two.png"}));
    MiddleClick("two.png");
    EXPECT_TRUE(HasTitles({"three.png *"}));
    MiddleClick("three.png *");
    EXPECT_TRUE(Answer(editor, IDNO));
    EXPECT_TRUE(HasTitles({}));
    EXPECT_TRUE(WaitFor([&] { return !IsWindowVisible(Row()); })) << "no picture, no row";
}

TEST_F(TabsTest, ManyFitTheWindowAndPicturesInWindowsOfTheirOwnHaveNone)
{
    std::vector<std::string> files;
    for (int i = 0; i < 9; ++i)
        files.push_back(MakeFile("a picture with a long name " + std::to_string(i) + ".png", NewPicture(RGB, 40, 30)));
    Start(files);
    ASSERT_TRUE(HasTab("a picture with a long name 8.png"));
    const HWND client = FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr);
    const LONG right = PlaceOf(client).right, top = PlaceOf(client).top;
    EXPECT_TRUE(WaitFor([&] { return PlaceOf(Tab("a picture with a long name 8.png")).right <= right; }));
    EXPECT_GT(PlaceOf(Tab("a picture with a long name 0.png")).right, PlaceOf(Row()).left);
    EXPECT_TRUE(WaitFor([&] { return !OfOneColour(Seen(Tab("a picture with a long name 3.png"))); }));

    Choose(editor, WINDOW_CASCADE);
    EXPECT_TRUE(WaitFor([&] { return !IsWindowVisible(Row()); }));
    EXPECT_TRUE(WaitFor([&] { return PlaceOf(client).top < top; })) << "and pictures have its room";
    const HWND picture = FindWindowExA(client, nullptr, "VelmorantPicture", nullptr);
    PostMessageA(client, WM_MDIMAXIMIZE, reinterpret_cast<WPARAM>(picture), 0);
    EXPECT_TRUE(WaitFor([&] { return IsWindowVisible(Row()) != 0; }));
    EXPECT_TRUE(WaitFor([&] { return PlaceOf(client).top == top; }));
}
