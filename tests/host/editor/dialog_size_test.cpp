// Effects' dialogs made larger on the screen: what their previews get of it, and where all else stands.

#include "tests/host/editor/editor_fixture.h"

#include "host/dialogs/dialogs.h"
#include "host/editor/result_pane.h"
#include "host/editor/strip_controls.h"

#include <algorithm>

struct DialogSizeTest : EditorFixture {
    static RECT PlaceOf(HWND window)
    {
        RECT place = {};
        GetWindowRect(window, &place);
        return place;
    }
    static RECT PlaceIn(HWND dialog, int id)
    {
        RECT place = PlaceOf(GetDlgItem(dialog, id));
        MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&place), 2);
        return place;
    }
    static LONG WidthOf(const RECT &place) { return place.right - place.left; }
    static LONG HeightOf(const RECT &place) { return place.bottom - place.top; }
    // As a person who drags its corner, from the screen's own on.
    static bool Grow(HWND dialog, LONG width, LONG height)
    {
        const RECT before = PlaceOf(dialog);
        const LONG wide = WidthOf(before) + width, high = HeightOf(before) + height;
        SetWindowPos(dialog, nullptr, 0, 0, wide, high, SWP_NOZORDER | SWP_NOACTIVATE);
        return WaitFor([=] { return WidthOf(PlaceOf(dialog)) == wide && HeightOf(PlaceOf(dialog)) == high; });
    }
    HWND Open(const char *effect)
    {
        const DialogTemplate &table = *FindEffectTemplate(effect);
        return OpenDialog(MODULE_BASE + table.commandOffset, table.title);
    }
    void Close(HWND dialog)
    {
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        EXPECT_TRUE(IsGone(dialog));
    }
    // Columns of a window that do not look like its corner: the picture's width in it.
    static LONG ColumnsUsed(HWND window)
    {
        const std::vector<uint32_t> seen = Seen(window);
        const LONG width = WidthOf(PlaceOf(window)), height = LONG(seen.size()) / width;
        const auto *middle = seen.data() + width * (height / 2);
        return LONG(std::count_if(middle, middle + width, [&](uint32_t word) { return word != seen[0]; }));
    }
};

TEST_F(DialogSizeTest, ThePreviewTakesWhatADialogGrowsByAndTheNextDialogIsAsLarge)
{
    Picture picture = NewPicture(RGB, 1600, 1200);
    std::fill_n(picture.pixels.get(), size_t(RowStride(24, 1600)) * 1200, uint8_t(200));
    Start({MakeFile("lake.png", picture)});
    HWND dialog = Open("solarize");
    const RECT usual = PlaceOf(dialog), pane = PlaceIn(dialog, PREVIEW_CONTROL), strip = PlaceIn(dialog, STRIP_WINDOW);
    const RECT apply = PlaceIn(dialog, APPLY_BUTTON), scope = PlaceIn(dialog, SCOPE_IMAGE_RADIO);
    const RECT check = PlaceIn(dialog, PREVIEW_CHECK);
    const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
    const auto fills = [=] { return WaitFor([=] { return ColumnsUsed(preview) == WidthOf(PlaceOf(preview)); }); };
    EXPECT_TRUE(fills()) << "all of the picture's width is in sight";
    ASSERT_TRUE(Grow(dialog, 300, 200));
    EXPECT_EQ(WidthOf(PlaceIn(dialog, PREVIEW_CONTROL)), WidthOf(pane) + 300);
    EXPECT_EQ(HeightOf(PlaceIn(dialog, PREVIEW_CONTROL)), HeightOf(pane) + 200);
    EXPECT_TRUE(fills()) << "and is again, larger";
    EXPECT_EQ(PlaceIn(dialog, APPLY_BUTTON).left, apply.left + 300);
    EXPECT_EQ(PlaceIn(dialog, APPLY_BUTTON).top, apply.top);
    EXPECT_EQ(PlaceIn(dialog, SCOPE_IMAGE_RADIO).left, scope.left);
    EXPECT_EQ(PlaceIn(dialog, SCOPE_IMAGE_RADIO).top, scope.top);
    EXPECT_EQ(PlaceIn(dialog, PREVIEW_CHECK).top, check.top + 200);
    EXPECT_EQ(PlaceIn(dialog, STRIP_WINDOW).top, strip.top + 200);
    EXPECT_EQ(WidthOf(PlaceIn(dialog, STRIP_WINDOW)), WidthOf(strip) + 300);
    Close(dialog);

    dialog = Open("wave");
    const RECT wave = PlaceIn(dialog, PREVIEW_CONTROL);
    EXPECT_EQ(WidthOf(wave), WidthOf(pane) + 300) << "remembered";
    EXPECT_EQ(HeightOf(wave), HeightOf(pane) + 200);
    EXPECT_FALSE(AwaitStill(GetDlgItem(dialog, PREVIEW_CONTROL)).empty());
    SetWindowPos(dialog, nullptr, 0, 0, 50, 50, SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_TRUE(WaitFor([&] { return WidthOf(PlaceIn(dialog, PREVIEW_CONTROL)) == WidthOf(pane); }))
        << "never below its own size";
    EXPECT_EQ(HeightOf(PlaceIn(dialog, PREVIEW_CONTROL)), HeightOf(pane));
    Close(dialog);
    dialog = Open("solarize");
    EXPECT_EQ(WidthOf(PlaceOf(dialog)), WidthOf(usual));
    EXPECT_EQ(HeightOf(PlaceOf(dialog)), HeightOf(usual));
    Close(dialog);
    QuitUnasked();
}

TEST_F(DialogSizeTest, WhatHasNoPreviewOfItsOwnShowsItsResultLarger)
{
    Start({MakeFile("lake.png", NewPicture(GREY, 1600, 1200))});
    HWND dialog = Open("mirror");
    const HWND mirrored = GetDlgItem(dialog, RESULT_PANE);
    ASSERT_NE(mirrored, nullptr);
    EXPECT_TRUE(WaitFor([=] { return ColumnsUsed(mirrored) > 0; }));
    const LONG before = ColumnsUsed(mirrored), width = WidthOf(PlaceOf(mirrored));
    ASSERT_TRUE(Grow(dialog, 200, 200));
    EXPECT_EQ(WidthOf(PlaceOf(mirrored)), width + 200);
    EXPECT_TRUE(WaitFor([=] { return ColumnsUsed(mirrored) >= before + 90; })) << ColumnsUsed(mirrored);
    Close(dialog);

    dialog = Open("shear");   // 200 larger from the beginning
    const RECT sketch = PlaceIn(dialog, PREVIEW_CONTROL), result = PlaceIn(dialog, RESULT_PANE);
    EXPECT_NEAR(double(HeightOf(sketch)), double(HeightOf(result)), 2) << "a half each";
    EXPECT_GE(result.top, sketch.bottom);
    EXPECT_FALSE(AwaitStill(GetDlgItem(dialog, RESULT_PANE)).empty());
    Close(dialog);

    dialog = Open("filters");
    EXPECT_GE(PlaceIn(dialog, KERNEL_LIST).top, PlaceIn(dialog, PREVIEW_CONTROL).bottom);
    EXPECT_LE(PlaceIn(dialog, KERNEL_LIST).bottom, PlaceIn(dialog, STRIP_WINDOW).top);
    Close(dialog);
    QuitUnasked();
}

TEST_F(DialogSizeTest, KeysMakeADialogLarger)
{
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});
    const HWND dialog = Open("wave");
    const LONG width = WidthOf(PlaceOf(dialog));
    SetForegroundWindow(dialog);
    PostMessageA(dialog, WM_SYSCOMMAND, SC_SIZE, 0);   // the system menu's Size
    EXPECT_TRUE(WaitFor([&] {
        for (int i = 0; i < 4; ++i) PostMessageA(dialog, WM_KEYDOWN, VK_RIGHT, 1);
        return WaitFor([&] { return WidthOf(PlaceOf(dialog)) > width; }, 1);
    }));
    PostMessageA(dialog, WM_KEYDOWN, VK_RETURN, 1);
    EXPECT_GT(WidthOf(PlaceIn(dialog, PREVIEW_CONTROL)), 0);
    EXPECT_TRUE(WaitFor([&] {
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        return WaitFor([=] { return !IsWindow(dialog); }, 1);
    })) << "its keys are its own again";
    QuitUnasked();
}
