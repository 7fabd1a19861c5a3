// The editor's own commands on the screen: the last effect again, an effect by a word, pictures cut, resized and turned,
// recent files, what cannot be done, and what the status line tells.

#include "tests/host/editor/editor_fixture.h"
#include "tests/host/editor/slope.h"

#include "host/dialogs/dialogs.h"
#include "tests/support/read_back.h"

#include <algorithm>
#include <commctrl.h>
#include <cstring>

enum { FIRST_ROW = 101, SECOND_ROW = 102, THIRD_ROW = 103, FOURTH_ROW = 104, AMPLITUDE = 1080, POINTER_PART = 5 };
enum { WAVE = MODULE_BASE + WAVE_COMMAND };

struct EditorCommands : EditorFixture {
    void SaveAs(const std::string &name, const std::string &title)
    {
        Choose(editor, SAVE_FILE_AS);
        NameFile(editor, "Save As", FileOf(name));
        EXPECT_TRUE(HasTitles({title}));
    }
    static bool Enabled(HWND dialog, int id) { return IsWindowEnabled(GetDlgItem(dialog, id)); }
    HWND Status() const { return FindWindowExA(editor.frame, nullptr, STATUSCLASSNAMEA, nullptr); }
    // The clipboard's text would not come over; a part of the status line is asked for in the editor's own memory.
    std::string StatusPart(int part) const
    {
        void *there = VirtualAllocEx(editor.process, nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        SendMessageA(Status(), SB_GETTEXTA, WPARAM(part), reinterpret_cast<LPARAM>(there));
        char text[200] = "";
        ReadProcessMemory(editor.process, there, text, sizeof text - 1, nullptr);
        VirtualFreeEx(editor.process, there, 0, MEM_RELEASE);
        return text;
    }
    std::string SizeShown() const { return StatusPart(2); }
};

TEST_F(EditorCommands, RepeatAppliesTheLastEffectWithItsSettingsAndNoDialog)
{
    const std::string file = MakeFile("lake.png", Slope(160, 120));
    Start({file});
    const HWND dialog = OpenDialog(WAVE, "Wave");
    Type(dialog, AMPLITUDE, "25");
    Click(dialog, APPLY_BUTTON);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    ASSERT_TRUE(WaitFor([=] { return Enabled(dialog, APPLY_BUTTON); }));
    Click(dialog, CLOSE_BUTTON);
    EXPECT_TRUE(IsGone(dialog));
    SaveAs("once.png", "once.png");
    ASSERT_TRUE(TakeKeyboard(editor));
    Key('F', true);
    EXPECT_TRUE(HasTitles({"once.png *"}));
    EXPECT_EQ(FindByTitle(editor, "Wave"), nullptr) << "nobody sees a dialog";
    SaveAs("twice.png", "twice.png");
    const std::string files = "\"" + file + "\" \"" + FileOf("told.png") + "\"";
    ASSERT_EQ(RunProgram("velmorant.exe", "apply wave " + files + " --amplitude 25 --then wave --amplitude 25 --quiet"),
              0);
    EXPECT_TRUE(Same(ReadBack(FileOf("twice.png")), ReadBack(FileOf("told.png"))));

    Choose(editor, EFFECT_REPEAT_IN_DIALOG);
    const HWND again = AwaitWindow(editor, "Wave");
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(WaitFor([=] { return TextOf(GetDlgItem(again, AMPLITUDE)) == "25"; }));
    Click(again, CLOSE_BUTTON);
    EXPECT_TRUE(IsGone(again));
    QuitUnasked();
}

TEST_F(EditorCommands, FindOpensAnEffectByAWord)
{
    Start({MakeFile("lake.png", Slope(64, 48))});
    Choose(editor, EFFECT_FIND);
    const HWND form = AwaitWindow(editor, "Find an Effect"), list = GetDlgItem(form, SECOND_ROW);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCOUNT, 0, 0) == EFFECT_COUNT; }));
    Type(form, FIRST_ROW, "blur");
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCOUNT, 0, 0) == 3; }));
    PostMessageA(GetDlgItem(form, FIRST_ROW), WM_KEYDOWN, VK_DOWN, 1);   // from Double Vision to Filters
    EXPECT_TRUE(WaitFor([=] { return SendMessageA(list, LB_GETCURSEL, 0, 0) == 1; }));
    PostMessageA(GetDlgItem(form, FIRST_ROW), WM_KEYDOWN, VK_RETURN, 1);
    EXPECT_NE(AwaitWindow(editor, "Filters"), nullptr);
    EXPECT_FALSE(IsWindow(form));
}

TEST_F(EditorCommands, WhatCannotBeDoneIsGreyedInTheDialogs)
{
    Start({MakeFile("one.png", Slope(64, 48)), MakeFile("two.png", Slope(64, 48))});
    const HWND dialog = OpenDialog(WAVE, "Wave");
    const auto greyed = [=](int id) { return WaitFor([=] { return !Enabled(dialog, id); }); };
    const auto possible = [=](int id) { return WaitFor([=] { return Enabled(dialog, id); }); };
    for (const int id : {int(SCOPE_ALL_RADIO), int(SCOPE_OBJECTS_RADIO), int(SCOPE_NEW_OBJECT_RADIO),
                         int(HOST_COMMAND_FIRST), HOST_COMMAND_FIRST + 1, int(HOST_COMMAND_LAST)})
        EXPECT_TRUE(greyed(id)) << id;
    EXPECT_TRUE(possible(SCOPE_IMAGE_RADIO));
    EXPECT_TRUE(possible(HOST_COMMAND_FIRST + 2)) << "there is a picture before it";
    Choose(editor, EDIT_COPY);
    Choose(editor, EDIT_PASTE);
    EXPECT_TRUE(possible(SCOPE_ALL_RADIO));
    EXPECT_TRUE(possible(SCOPE_OBJECTS_RADIO));
    EXPECT_TRUE(possible(HOST_COMMAND_FIRST));
    EXPECT_TRUE(greyed(SCOPE_NEW_OBJECT_RADIO));
    Choose(editor, EDIT_SELECT_ALL);
    EXPECT_TRUE(possible(SCOPE_NEW_OBJECT_RADIO));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(possible(HOST_COMMAND_FIRST + 1));
    EXPECT_TRUE(greyed(SCOPE_OBJECTS_RADIO));
    Choose(editor, WINDOW_NEXT);
    EXPECT_TRUE(greyed(HOST_COMMAND_FIRST + 2));
    EXPECT_TRUE(possible(HOST_COMMAND_LAST));
    Click(dialog, CLOSE_BUTTON);
    EXPECT_TRUE(IsGone(dialog));
}

TEST_F(EditorCommands, PicturesAreTurnedCutAndResizedWithUndo)
{
    const Picture slope = Slope(160, 120);
    Start({MakeFile("lake.png", slope)});
    const auto becomes = [&](const std::string &size) { return WaitFor([&] { return SizeShown() == size; }); };
    for (const int command : {PICTURE_TURN_RIGHT, PICTURE_TURN_RIGHT, PICTURE_FLIP_ACROSS, PICTURE_FLIP_DOWN}) {
        const std::string before = SizeShown();
        Choose(editor, command);
        EXPECT_TRUE(HasTitles({"lake.png *"}));
        if (command == PICTURE_TURN_RIGHT) { EXPECT_TRUE(becomes(before == "160 x 120" ? "120 x 160" : "160 x 120")); }
        Sleep(50);
    }
    SaveAs("same.png", "same.png");
    EXPECT_TRUE(Same(ReadBack(FileOf("same.png")), slope)) << "turned by half, and turned over both ways";

    Choose(editor, PICTURE_RESIZE);
    const HWND form = AwaitWindow(editor, "Resize");
    Type(form, FIRST_ROW, "80");
    EXPECT_TRUE(WaitFor([=] { return TextOf(GetDlgItem(form, SECOND_ROW)) == "60"; })) << "it keeps its shape";
    PostMessageA(form, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(becomes("80 x 60"));
    EXPECT_TRUE(HasTitles({"same.png *"}));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(becomes("160 x 120"));

    EXPECT_EQ(RoomOf(editor).x > 160, true);
    const POINT room = RoomOf(editor), corner = {(room.x - 160) / 2, (room.y - 120) / 2};
    Drag(editor, {{corner.x + 10, corner.y + 20}, {corner.x + 59, corner.y + 49}});
    Choose(editor, PICTURE_CROP);
    EXPECT_TRUE(becomes("50 x 30"));
    SaveAs("part.png", "part.png");
    const Picture part = ReadBack(FileOf("part.png"));
    EXPECT_EQ(part.pixels[0], 10);
    EXPECT_EQ(part.pixels[1], 20);
    QuitUnasked();
}

TEST_F(EditorCommands, RecentFilesAndTheWindowsPlaceAreRemembered)
{
    Start({MakeFile("one.png", Slope(64, 48)), MakeFile("two.png", Slope(64, 48))});
    SetWindowPos(editor.frame, nullptr, 60, 70, 800, 600, SWP_NOZORDER);
    QuitUnasked();
    Start({});
    RECT place = {};
    GetWindowRect(editor.frame, &place);
    EXPECT_EQ(place.left, 60);
    EXPECT_EQ(place.top, 70);
    EXPECT_EQ(place.right, 860);
    EXPECT_EQ(place.bottom, 670);
    Choose(editor, FIRST_RECENT + 1);   // the last but one
    EXPECT_TRUE(HasTitles({"one.png"}));
    std::filesystem::remove(PathOf(FileOf("two.png")));
    Choose(editor, FIRST_RECENT + 1);
    EXPECT_NE(Asked(editor).find("two.png"), std::string::npos) << "it has gone";
    EXPECT_TRUE(Answer(editor, IDOK));
    Choose(editor, FIRST_RECENT + 1);   // and is no longer there
    QuitUnasked();
}

TEST_F(EditorCommands, RevertGoesBackToTheFileAndRedoComesAgain)
{
    Start({MakeFile("lake.png", Slope(64, 48))});
    Choose(editor, PICTURE_GREY);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_TRUE(WaitFor([&] { return StatusPart(1) == "Grey"; }));
    Choose(editor, PICTURE_TURN_HALF);
    Sleep(100);
    Choose(editor, REVERT_FILE);
    EXPECT_TRUE(HasTitles({"lake.png"}));
    EXPECT_TRUE(WaitFor([&] { return StatusPart(1) == "RGB"; }));
    Choose(editor, EDIT_REDO);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"lake.png"}));
    QuitUnasked();
}

TEST_F(EditorCommands, TheStatusLineTellsThePixelUnderThePointer)
{
    Start({MakeFile("lake.png", Slope(160, 120))});
    const POINT room = RoomOf(editor), corner = {(room.x - 160) / 2, (room.y - 120) / 2};
    PostMessageA(CanvasOf(editor), WM_MOUSEMOVE, 0, MAKELPARAM(corner.x + 20, corner.y + 9));
    EXPECT_TRUE(WaitFor([&] { return StatusPart(POINTER_PART) == "20, 9  200 9 20"; })) << StatusPart(POINTER_PART);
}

TEST_F(EditorCommands, APngPictureIsPastedWithItsMask)
{
    Picture picture = NewPicture(RGB, 30, 20);
    AddMask(picture, 8);
    picture.mask[0] = 100;
    std::vector<uint8_t> bytes;
    std::vector<std::string> notices;
    std::string error;
    ASSERT_TRUE(WritePictureBytes("a.png", picture, FileFormat::PNG, {}, bytes, notices, error)) << error;
    Start({});
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    memcpy(GlobalLock(memory), bytes.data(), bytes.size());
    GlobalUnlock(memory);
    SetClipboardData(RegisterClipboardFormatA("PNG"), memory);
    CloseClipboard();
    Choose(editor, EDIT_PASTE_PICTURE);
    EXPECT_TRUE(HasTitles({"Untitled 1 *"}));
    SaveAs("pasted.png", "pasted.png");
    const Picture pasted = ReadBack(FileOf("pasted.png"));
    ASSERT_TRUE(pasted.mask);
    EXPECT_EQ(pasted.mask[0], 100);
    QuitUnasked();
}

//---- Before and after on the picture itself

// The picture in the middle of its window, at its own size.
struct Sight {
    HWND canvas;
    POINT room, corner;
    uint32_t At(const std::vector<uint32_t> &seen, LONG x, LONG y) const
    {
        return seen[size_t(corner.y + y) * size_t(room.x) + size_t(corner.x + x)];
    }
};

static Sight SightOf(const EditorProcess &editor, LONG width, LONG height)
{
    const POINT room = RoomOf(editor);
    return {CanvasOf(editor), room, {(room.x - width) / 2, (room.y - height) / 2}};
}

TEST_F(EditorCommands, WhatAnEffectWouldMakeIsSeenOnThePictureBesideWhatItIs)
{
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});   // black; Solarize makes it white
    const Sight sight = SightOf(editor, 160, 120);
    const auto shows = [&](LONG x, uint32_t colour) {
        return WaitFor([&] { return sight.At(Seen(sight.canvas), x, 60) == colour; });
    };
    EXPECT_TRUE(shows(20, 0));
    const HWND dialog = OpenDialog(MODULE_BASE + SOLARIZE_COMMAND, "Solarize");
    SetWindowPos(dialog, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    EXPECT_TRUE(shows(20, 0xFFFFFF)) << "what Apply would make";
    EXPECT_TRUE(HasTitles({"lake.png"})) << "and nothing is changed";
    PostMessageA(dialog, WM_KEYDOWN, VK_F8, 1);
    EXPECT_TRUE(shows(20, 0)) << "while the key is held, before";
    PostMessageA(dialog, WM_KEYUP, VK_F8, 1);
    EXPECT_TRUE(shows(20, 0xFFFFFF));

    Choose(editor, VIEW_SPLIT);
    EXPECT_TRUE(shows(20, 0)) << "the left side is as it was";
    EXPECT_TRUE(shows(140, 0xFFFFFF));
    const LONG middle = sight.room.x / 2;
    Drag(editor, {{middle, 30}, {middle - 70, 30}});
    EXPECT_TRUE(shows(20, 0xFFFFFF)) << "the line has been dragged to the left";
    EXPECT_TRUE(shows(2, 0));
    Choose(editor, VIEW_SPLIT);
    Click(dialog, APPLY_BUTTON);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_TRUE(shows(20, 0xFFFFFF)) << "the picture itself, not the effect upon it again";
    Choose(editor, VIEW_PREVIEW);
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"lake.png"}));
    EXPECT_TRUE(shows(20, 0)) << "switched off, the picture alone";
    Click(dialog, CLOSE_BUTTON);
    EXPECT_TRUE(IsGone(dialog));
    QuitUnasked();
}

TEST_F(EditorCommands, WhatIsTransparentShowsAChessboardAndAMaskIsExplained)
{
    Picture picture = NewPicture(RGB, 160, 120);
    AddMask(picture, 8);
    std::fill_n(picture.mask.get(), 160 * 60, uint8_t(255));   // the upper half is opaque, and black
    Start({MakeFile("lake.png", picture)});
    const Sight sight = SightOf(editor, 160, 120);
    const auto shows = [&](LONG x, LONG y, uint32_t colour) {
        return WaitFor([&] { return sight.At(Seen(sight.canvas), x, y) == colour; });
    };
    EXPECT_TRUE(shows(4, 4, 0));
    EXPECT_TRUE(shows(4, 68, 0xFFFFFF));
    EXPECT_TRUE(shows(12, 68, 0xC8C8C8));
    Choose(editor, MASK_EDIT);
    EXPECT_TRUE(WaitFor([&] { return sight.At(Seen(sight.canvas), 4, 68) >> 16 > 100; })) << "the veil is red";
    Choose(editor, MASK_EXPLAIN);
    EXPECT_NE(Asked(editor).find("transparency"), std::string::npos);
    EXPECT_TRUE(Answer(editor, IDOK));
    QuitUnasked();
}

TEST_F(EditorCommands, AboutTellsTheVersionAndTheLicence)
{
    Start({});
    Choose(editor, HELP_ABOUT);
    const std::string told = Asked(editor);
    EXPECT_NE(told.find("Velmorant " VELMORANT_VERSION "\n"), std::string::npos) << told;
    EXPECT_NE(told.find("MIT licence"), std::string::npos) << told;
    EXPECT_TRUE(Answer(editor, IDOK));
    QuitUnasked();
}

TEST_F(EditorCommands, WhatIsPaintedOverStaysAsItIsWhateverAnEffectDoes)
{
    Start({MakeFile("lake.png", NewPicture(RGB, 160, 120))});   // black; Solarize makes it white
    const Sight sight = SightOf(editor, 160, 120);
    const auto shows = [&](LONG x, LONG y, uint32_t colour) {
        return WaitFor([&] { return sight.At(Seen(sight.canvas), x, y) == colour; });
    };
    EXPECT_TRUE(shows(20, 60, 0));
    Choose(editor, PROTECT_PAINT);
    const auto place = [&](LONG x, LONG y) { return POINT{sight.corner.x + x, sight.corner.y + y}; };
    Drag(editor, {place(100, 20), place(100, 100)});
    EXPECT_TRUE(WaitFor([&] { return sight.At(Seen(sight.canvas), 100, 60) >> 16 > 100; })) << "under a red veil";
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    Drag(editor, {place(100, 100)}, true);   // and freed again below
    EXPECT_TRUE(shows(100, 104, 0));
    Choose(editor, PROTECT_PAINT);
    EXPECT_TRUE(shows(100, 60, 0)) << "the veil is for painting";

    HWND dialog = OpenDialog(MODULE_BASE + SOLARIZE_COMMAND, "Solarize");
    SetWindowPos(dialog, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    EXPECT_TRUE(shows(20, 60, 0xFFFFFF)) << "what Apply would make";
    EXPECT_EQ(sight.At(Seen(sight.canvas), 100, 60), 0u) << "and what it would leave";
    Click(dialog, APPLY_BUTTON);
    EXPECT_TRUE(CloseAfterRun(dialog));
    SaveAs("saved.png", "saved.png");
    const Picture saved = ReadBack(FileOf("saved.png"));
    const auto at = [&](const Picture &picture, int32_t x, int32_t y) {
        return int(picture.pixels[size_t(RowStride(24, 160)) * size_t(y) + size_t(3 * x)]);
    };
    EXPECT_EQ(at(saved, 20, 60), 255);
    EXPECT_EQ(at(saved, 100, 60), 0);
    EXPECT_EQ(at(saved, 111, 30), 0) << "within the brush's 24 pixels";
    EXPECT_EQ(at(saved, 114, 30), 255);
    EXPECT_EQ(at(saved, 100, 104), 255);

    // The run, the freeing and the stroke are undone: then nothing is protected, and redo protects again.
    for (int i = 0; i < 3; ++i) Choose(editor, EDIT_UNDO);
    dialog = OpenDialog(MODULE_BASE + SOLARIZE_COMMAND, "Solarize");
    SetWindowPos(dialog, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    EXPECT_TRUE(shows(100, 60, 0xFFFFFF)) << "the preview of all of it";
    Choose(editor, EDIT_REDO);
    EXPECT_TRUE(shows(100, 60, 0));
    Choose(editor, PROTECT_INVERT);
    EXPECT_TRUE(shows(100, 60, 0xFFFFFF));
    EXPECT_TRUE(shows(20, 60, 0));
    Choose(editor, PROTECT_NOTHING);
    EXPECT_TRUE(shows(20, 60, 0xFFFFFF));
    Click(dialog, CLOSE_BUTTON);
    EXPECT_TRUE(IsGone(dialog));

    // By the keyboard, at the arrow keys' place.
    Choose(editor, PROTECT_PAINT);
    ASSERT_TRUE(TakeKeyboard(editor));
    for (const WPARAM key : {WPARAM(VK_RIGHT), WPARAM(VK_SPACE)}) PostMessageA(sight.canvas, WM_KEYDOWN, key, 1);
    EXPECT_TRUE(WaitFor([&] { return sight.At(Seen(sight.canvas), 85, 66) >> 16 > 100; }));
}

TEST_F(EditorCommands, AltAndAClickGiveAPixelsColourToTheDialog)
{
    Start({MakeFile("lake.png", Slope(160, 120))});
    const HWND dialog = OpenDialog(WAVE, "Wave");
    SetWindowPos(dialog, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    Click(dialog, PREVIEW_CHECK);
    HWND colour = nullptr;
    const DialogTemplate &table = *FindEffectTemplate("wave");
    for (int32_t i = 0; i < table.controlCount; ++i)
        if (table.controls[i].kind == COLOUR_CONTROL) colour = GetDlgItem(dialog, table.controls[i].id);
    ASSERT_NE(colour, nullptr);
    const std::vector<uint32_t> before = Seen(colour);
    const Sight sight = SightOf(editor, 160, 120);
    ASSERT_TRUE(TakeKeyboard(editor));
    const auto alt = [](DWORD flags) {
        INPUT input = {};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = VK_MENU;
        input.ki.dwFlags = flags;
        SendInput(1, &input, sizeof input);
    };
    // A posted click may come before the key, which is input, and a key is lost while the keyboard changes hands.
    EXPECT_TRUE(WaitFor([&] {
        alt(0);
        Sleep(100);
        Drag(editor, {{sight.corner.x + 12, sight.corner.y + 100}});
        return WaitFor([=] { return Seen(colour) != before; }, 1);
    }));
    alt(KEYEVENTF_KEYUP);
}
