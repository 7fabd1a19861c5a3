// The strip beneath an effect's dialog, worked as a person works it: presets, the settings' memory, seeds, notes, and
// what the keyboard finds there.

#include "tests/host/editor/editor_fixture.h"

#include "host/dialogs/dialogs.h"
#include "host/editor/strip_controls.h"
#include "tests/support/read_back.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <tuple>

enum {
    FILTERS = MODULE_BASE + FILTERS_COMMAND,
    NOISE = MODULE_BASE + NOISE_COMMAND,
    OIL_PAINTING = MODULE_BASE + OIL_PAINTING_COMMAND,
    WAVE = MODULE_BASE + WAVE_COMMAND,
};
enum { ITERATIONS_FIELD = 930, AMPLITUDE_FIELD = 1080, AMOUNT_FIELD = 1300, MIDDLE_WEIGHT = 4044, OTHER_WEIGHT = 4043 };
enum { FIRST_KERNEL = 0 };

static Picture Checks(int32_t width, int32_t height)
{
    Picture picture = NewPicture(RGB, width, height);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + size_t(RowStride(24, width)) * size_t(y);
        for (int32_t x = 0; x < width; ++x, row += 3) {
            row[0] = uint8_t(x * 255 / width);
            row[1] = uint8_t(y * 255 / height);
            row[2] = uint8_t((x / 16 + y / 16) % 2 * 200);
        }
    }
    return picture;
}

static bool SamePixels(const Picture &one, const Picture &other)
{
    return one.width == other.width && one.height == other.height && one.colourType == other.colourType &&
           memcmp(one.pixels.get(), other.pixels.get(),
                  size_t(RowStride(one.bitsPerPixel, one.width)) * size_t(one.height)) == 0;
}

static HWND StripOf(HWND dialog) { return GetDlgItem(dialog, STRIP_WINDOW); }
static HWND InStrip(HWND dialog, int id) { return GetDlgItem(StripOf(dialog), id); }
static std::string Field(HWND dialog, int id) { return TextOf(GetDlgItem(dialog, id)); }
static std::string Note(HWND dialog) { return TextOf(InStrip(dialog, STRIP_NOTE)); }

// What the clipboard holds as text.
static std::string Copied()
{
    std::wstring text;
    if (!WaitFor([] { return OpenClipboard(nullptr) != 0; }, 5)) return "";
    if (const HANDLE memory = GetClipboardData(CF_UNICODETEXT)) {
        if (const auto *held = static_cast<const wchar_t *>(GlobalLock(memory))) text = held;
        GlobalUnlock(memory);
    }
    CloseClipboard();
    return Utf8Of(text);
}

// A preview that shows an RGB picture at its own size, in its middle.
static bool ShowsPixels(HWND preview, const Picture &picture)
{
    RECT area;
    GetClientRect(preview, &area);
    const std::vector<uint32_t> seen = Seen(preview);
    const LONG left = (area.right - picture.width) / 2, top = (area.bottom - picture.height) / 2;
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.pixels.get() + size_t(RowStride(24, picture.width)) * size_t(y);
        for (int32_t x = 0; x < picture.width; ++x, row += 3) {
            const uint32_t word = uint32_t(row[2]) << 16 | uint32_t(row[1]) << 8 | row[0];
            if (seen[size_t(top + y) * size_t(area.right) + size_t(left + x)] != word) return false;
        }
    }
    return true;
}

struct StripTest : EditorFixture {
    bool Shows(HWND dialog, int field, const std::string &text)
    {
        return WaitFor([=] { return Field(dialog, field) == text; }, 10);
    }
    bool NoteHas(HWND dialog, const std::string &text)
    {
        return WaitFor([=] { return Note(dialog).find(text) != std::string::npos; }, 10);
    }
    bool HasTitles(const std::vector<std::string> &titles)
    {
        return WaitFor([&] { return PictureTitles(editor) == titles; });
    }
    static bool Idle(HWND dialog) { return IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON)); }
    void TypeNumber(HWND dialog, int field, const std::string &text)
    {
        Type(dialog, field, text);
        EXPECT_TRUE(Shows(dialog, field, text));
    }
    void ApplyTo(HWND dialog, const std::vector<std::string> &titles)
    {
        Click(dialog, APPLY_BUTTON);
        EXPECT_TRUE(HasTitles(titles));
        EXPECT_TRUE(WaitFor([=] { return Idle(dialog); }));
    }
    void Close(HWND dialog)
    {
        Click(dialog, CLOSE_BUTTON);
        EXPECT_TRUE(IsGone(dialog));
    }
    void SaveAs(const std::string &name)
    {
        Choose(editor, SAVE_FILE_AS);
        NameFile(editor, "Save As", FileOf(name));
    }
    void ActivateDialog(HWND dialog)
    {
        SetForegroundWindow(dialog);
        EXPECT_TRUE(WaitFor([=] { return GetForegroundWindow() == dialog; }));
    }
    HWND Focus() const
    {
        GUITHREADINFO info = {};
        info.cbSize = sizeof info;
        GetGUIThreadInfo(GetWindowThreadProcessId(editor.frame, nullptr), &info);
        return info.hwndFocus;
    }
};

TEST_F(StripTest, SettingsAreResetDrawnByLotAndBroughtBack)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(WAVE, "Wave");
    const std::string first = Field(dialog, AMPLITUDE_FIELD);
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_RESET)), "Reset");
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_RANDOMISE)), "Randomise");
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_COPY_COMMAND)), "Copy as command");
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_PICTURE)), "lake.png: RGB, 64 x 48");
    EXPECT_FALSE(IsWindowEnabled(InStrip(dialog, STRIP_UNDO_SETTINGS)));

    TypeNumber(dialog, AMPLITUDE_FIELD, "25");
    Click(StripOf(dialog), STRIP_RESET);
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, first));
    Click(StripOf(dialog), STRIP_UNDO_SETTINGS);
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, "25"));
    EXPECT_TRUE(WaitFor([=] { return !IsWindowEnabled(InStrip(dialog, STRIP_UNDO_SETTINGS)); }));

    const auto all = [=] {
        std::string texts;
        for (const int field : {int(AMPLITUDE_FIELD), 1050, 1100}) texts += Field(dialog, field) + " ";
        return texts;
    };
    const std::string before = all();
    Click(StripOf(dialog), STRIP_RANDOMISE);
    ASSERT_TRUE(NoteHas(dialog, "by lot"));
    const std::string drawn = all();
    EXPECT_NE(drawn, before);
    const int amplitude = atoi(drawn.c_str());
    EXPECT_TRUE(amplitude >= 1 && amplitude <= 100) << drawn;
    Click(StripOf(dialog), STRIP_UNDO_SETTINGS);
    EXPECT_TRUE(WaitFor([&] { return all() == before; }, 10)) << all();
}

TEST_F(StripTest, ADialogOpensWithTheValuesThatWereUsedLast)
{
    const std::string one = MakeFile("one.png", Checks(64, 48)), two = MakeFile("two.png", Checks(48, 64));
    Start({one, two});
    HWND dialog = OpenDialog(WAVE, "Wave");
    TypeNumber(dialog, AMPLITUDE_FIELD, "25");
    ApplyTo(dialog, {"one.png", "two.png *"});
    TypeNumber(dialog, AMPLITUDE_FIELD, "77");   // and never used
    Choose(editor, WINDOW_NEXT);
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, "25")) << "what was used last at all";
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_PICTURE)), "one.png: RGB, 64 x 48");
    TypeNumber(dialog, AMPLITUDE_FIELD, "31");
    ApplyTo(dialog, {"one.png *", "two.png *"});
    Close(dialog);
    Choose(editor, WINDOW_NEXT);
    dialog = OpenDialog(WAVE, "Wave");
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, "25")) << "what was used last for the picture";
    EndEditor(editor);
    Start({one});
    EXPECT_TRUE(Shows(OpenDialog(WAVE, "Wave"), AMPLITUDE_FIELD, "31")) << "another day";
}

TEST_F(StripTest, APresetIsSavedForTheCommandLineTooTakenAndDeleted)
{
    const std::string file = MakeFile("lake.png", Checks(64, 48));
    Start({file});
    const HWND dialog = OpenDialog(WAVE, "Wave"), list = InStrip(dialog, STRIP_PRESET);
    const auto count = [=] { return SendMessageA(list, CB_GETCOUNT, 0, 0); };
    const LRESULT shipped = count();
    EXPECT_GE(shipped, 1) << "flag comes with the program";
    TypeNumber(dialog, AMPLITUDE_FIELD, "25");
    Click(StripOf(dialog), STRIP_SAVE_PRESET);
    EXPECT_TRUE(NoteHas(dialog, "Type a name"));
    SetWindowTextA(list, "my storm");
    Click(StripOf(dialog), STRIP_SAVE_PRESET);
    EXPECT_TRUE(WaitFor([=] { return count() == shipped + 1; })) << Note(dialog);
    ApplyTo(dialog, {"lake.png *"});
    SaveAs("waved.png");
    EXPECT_TRUE(HasTitles({"waved.png"}));
    ASSERT_EQ(RunProgram("velmorant.exe",
                         "apply \"" + file + "\" \"" + FileOf("told.png") + "\" --preset \"my storm\" --quiet"),
              0);
    EXPECT_TRUE(SamePixels(ReadBack(FileOf("waved.png")), ReadBack(FileOf("told.png"))));

    const auto choose = [=](LRESULT entry) {
        PostMessageA(list, CB_SETCURSEL, WPARAM(entry), 0);
        PostMessageA(StripOf(dialog), WM_COMMAND, MAKEWPARAM(STRIP_PRESET, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(list));
    };
    choose(0);
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, "5")) << "flag";
    EXPECT_TRUE(NoteHas(dialog, "flag"));
    Click(StripOf(dialog), STRIP_DELETE_PRESET);
    EXPECT_TRUE(NoteHas(dialog, "stays"));
    choose(shipped);
    EXPECT_TRUE(Shows(dialog, AMPLITUDE_FIELD, "25"));
    Click(StripOf(dialog), STRIP_DELETE_PRESET);
    EXPECT_TRUE(Answer(editor, IDYES));
    EXPECT_TRUE(WaitFor([=] { return count() == shipped; }));
    EXPECT_EQ(RunProgram("velmorant.exe", "presets show \"my storm\""), 1);
}

TEST_F(StripTest, TheCopiedCommandMakesTheSamePicture)
{
    Start({MakeFile("lake 1.png", Checks(64, 48))});
    int number = 0;
    for (const auto &[command, title] : {std::pair(FILTERS, "Filters"), std::pair(NOISE, "Noise")}) {
        const HWND dialog = OpenDialog(command, title);
        TypeNumber(dialog, command == FILTERS ? int(OTHER_WEIGHT) : int(AMOUNT_FIELD), "40");
        Click(StripOf(dialog), STRIP_COPY_COMMAND);
        ASSERT_TRUE(NoteHas(dialog, "Copied"));
        const std::string line = Copied();
        ASSERT_TRUE(line.starts_with("velmorant apply ")) << line;
        ApplyTo(dialog, {number == 0 ? "lake 1.png *" : "saved1.png *"});
        Close(dialog);
        const std::string saved = "saved" + std::to_string(++number) + ".png";
        SaveAs(saved);
        EXPECT_TRUE(HasTitles({saved}));
        ASSERT_EQ(RunProgram("velmorant.exe", line.substr(sizeof "velmorant" - 1) + " --quiet"), 0) << line;
        const std::string told = command == FILTERS ? "lake 1 filters.png" : "saved1 noise.png";
        EXPECT_TRUE(SamePixels(ReadBack(FileOf(saved)), ReadBack(FileOf(told)))) << line;
    }
}

TEST_F(StripTest, APictureHasOneSeedUntilARunHasUsedIt)
{
    Start({MakeFile("lake.png", Checks(160, 120))});
    const HWND dialog = OpenDialog(NOISE, "Noise"), preview = GetDlgItem(dialog, PREVIEW_CONTROL);
    const auto seed = [=] { return TextOf(InStrip(dialog, STRIP_SEED)); };
    const std::string first = seed();
    ASSERT_FALSE(first.empty());
    ApplyTo(dialog, {"lake.png *"});
    EXPECT_TRUE(WaitFor([&] { return seed() != first; })) << "the next run has another";
    SaveAs("one.png");
    EXPECT_TRUE(HasTitles({"one.png"}));
    const Picture one = ReadBack(FileOf("one.png"));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"one.png *"}));
    EXPECT_TRUE(WaitFor([&] { return seed() == first; })) << "undo brings it back";
    ActivateDialog(dialog);   // the question has brought the main window forward
    EXPECT_TRUE(WaitFor([&] { return ShowsPixels(preview, one); })) << "the preview shows what Apply makes";
    Click(dialog, APPLY_BUTTON);
    EXPECT_TRUE(WaitFor([&] { return seed() != first && Idle(dialog); }));
    SaveAs("two.png");
    EXPECT_TRUE(HasTitles({"two.png"}));
    EXPECT_TRUE(SamePixels(one, ReadBack(FileOf("two.png"))));

    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(WaitFor([&] { return seed() == first; }));
    ActivateDialog(dialog);
    EXPECT_TRUE(WaitFor([&] { return ShowsPixels(preview, one); }));
    Click(StripOf(dialog), STRIP_NEW_SEED);
    EXPECT_TRUE(WaitFor([&] { return seed() != first && !ShowsPixels(preview, one); }));
    Type(StripOf(dialog), STRIP_SEED, first);
    EXPECT_TRUE(WaitFor([&] { return seed() == first && ShowsPixels(preview, one); })) << seed();
}

TEST_F(StripTest, NumberFieldsTakeNumbersAndTellTheirRange)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(NOISE, "Noise"), field = GetDlgItem(dialog, AMOUNT_FIELD);
    ActivateDialog(dialog);
    PostMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(field), TRUE);
    Type(dialog, AMOUNT_FIELD, "a-4b0.0c");
    EXPECT_TRUE(Shows(dialog, AMOUNT_FIELD, "400")) << "digits alone: its range has no sign";
    EXPECT_TRUE(NoteHas(dialog, "Amount: 400 is outside 1 to 100")) << Note(dialog);
    Key(VK_TAB);
    EXPECT_TRUE(Shows(dialog, AMOUNT_FIELD, "100"));
    EXPECT_TRUE(NoteHas(dialog, "so it has become 100")) << Note(dialog);

    RECT place;
    GetWindowRect(field, &place);
    HWND tip = nullptr;
    const auto shown = [&] {
        tip = nullptr;
        while ((tip = FindWindowExA(nullptr, tip, TOOLTIPS_CLASSA, nullptr)))
            if (IsWindowVisible(tip)) return TextOf(tip) == "1 to 100";
        return false;
    };
    int step = 0;
    EXPECT_TRUE(WaitFor([&] {
        if (++step % 100 == 1) SetCursorPos(place.left + 4 + step / 100 % 8, (place.top + place.bottom) / 2);
        return shown();
    }));
    SetCursorPos(0, 0);
    Close(dialog);

    const HWND filters = OpenDialog(FILTERS, "Filters"), weight = GetDlgItem(filters, OTHER_WEIGHT);
    Type(filters, OTHER_WEIGHT, "-5-0");
    ASSERT_TRUE(Shows(filters, OTHER_WEIGHT, "-50"));
    ActivateDialog(filters);
    PostMessageA(filters, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(weight), TRUE);
    ASSERT_TRUE(WaitFor([&] { return Focus() == weight; }));
    Key(VK_TAB);
    ASSERT_TRUE(WaitFor([&] { return Focus() != weight; }));
    EXPECT_TRUE(WaitFor([=] {
        return SendMessageA(weight, EM_POSFROMCHAR, 0, 0) >= 0 &&
               int16_t(LOWORD(SendMessageA(weight, EM_POSFROMCHAR, 0, 0))) >= 0;
    })) << "its sign is seen";
}

TEST_F(StripTest, WhatATypeRefusesIsToldBeforeAndARunThatChangesNothingLeavesNoTrace)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(OIL_PAINTING, "Oil Painting"), convert = InStrip(dialog, STRIP_CONVERT);
    EXPECT_FALSE(IsWindowVisible(convert));
    Choose(editor, PICTURE_ONE_BIT);
    EXPECT_TRUE(NoteHas(dialog, "Oil Painting leaves black and white pictures as they are")) << Note(dialog);
    EXPECT_TRUE(WaitFor([=] { return IsWindowVisible(convert); }));
    SaveAs("bits.png");
    EXPECT_TRUE(HasTitles({"bits.png"}));
    ASSERT_TRUE(WaitFor([=] { return Idle(dialog); }));
    Click(dialog, APPLY_BUTTON);
    Sleep(300);
    EXPECT_TRUE(WaitFor([=] { return Idle(dialog); }));
    EXPECT_TRUE(HasTitles({"bits.png"})) << "no star";
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"bits.png *"})) << "what is undone is the conversion";
    EXPECT_TRUE(WaitFor([=] { return TextOf(InStrip(dialog, STRIP_PICTURE)) == "bits.png: RGB, 64 x 48"; }));
    EXPECT_TRUE(WaitFor([=] { return !IsWindowVisible(convert); }));
    Choose(editor, EDIT_REDO);
    EXPECT_TRUE(WaitFor([=] { return IsWindowVisible(convert); }));
    ActivateDialog(dialog);
    Click(StripOf(dialog), STRIP_CONVERT);
    ASSERT_TRUE(WaitFor([&] { return MenuIsOpen(editor); }));
    Key(VK_DOWN);   // RGB
    Key(VK_RETURN);
    EXPECT_TRUE(WaitFor([=] { return TextOf(InStrip(dialog, STRIP_PICTURE)) == "bits.png: RGB, 64 x 48"; }));
    EXPECT_TRUE(WaitFor([=] { return Note(dialog).empty(); })) << Note(dialog);
}

TEST_F(StripTest, AfterARunTheKeyboardIsWhereItWasAndEscDoesNotCloseAtOnce)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(WAVE, "Wave"), field = GetDlgItem(dialog, AMPLITUDE_FIELD);
    ActivateDialog(dialog);
    PostMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(field), TRUE);
    ASSERT_TRUE(WaitFor([&] { return Focus() == field; }));
    Key(VK_RETURN);
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_TRUE(WaitFor([&] { return Idle(dialog) && Focus() == field; }));
    // Behind the command itself: it finds the run at work, or just ended.
    PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(APPLY_BUTTON, BN_CLICKED), 0);
    PostMessageA(field, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(WaitFor([=] { return Idle(dialog); }));
    EXPECT_TRUE(IsWindow(dialog));
    EXPECT_TRUE(WaitFor([=] {
        Sleep(600);
        PostMessageA(field, WM_KEYDOWN, VK_ESCAPE, 1);
        Sleep(100);
        return !IsWindow(dialog);
    })) << "later it does";
}

TEST_F(StripTest, AClickShowsAKernelAndEscBringsTheWeightsBack)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(FILTERS, "Filters"), list = GetDlgItem(dialog, KERNEL_LIST);
    RECT inside;
    GetClientRect(list, &inside);
    EXPECT_EQ(inside.bottom % SendMessageA(list, LB_GETITEMHEIGHT, 0, 0), 0) << "whole rows";
    TypeNumber(dialog, OTHER_WEIGHT, "-50");
    const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
    const std::vector<uint32_t> before = AwaitStill(preview, 400);
    const auto click = [=](int x, int y) {
        PostMessageA(list, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        PostMessageA(list, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    };
    ActivateDialog(dialog);
    click(20, 5);
    EXPECT_TRUE(NoteHas(dialog, "Double click")) << Note(dialog);
    EXPECT_TRUE(WaitFor([&] { return Seen(preview) != before; }));
    EXPECT_NE(Field(dialog, OTHER_WEIGHT), "-50");
    PostMessageA(list, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(Shows(dialog, OTHER_WEIGHT, "-50"));
    EXPECT_TRUE(IsWindow(dialog));
    click(20, 5);
    EXPECT_TRUE(WaitFor([=] { return Field(dialog, OTHER_WEIGHT) != "-50"; }));
    PostMessageA(list, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(20, 5));
    PostMessageA(list, WM_LBUTTONUP, 0, MAKELPARAM(20, 5));
    EXPECT_TRUE(NoteHas(dialog, "stand in the fields")) << Note(dialog);
    PostMessageA(list, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(IsGone(dialog)) << "kept: Esc closes";
}

TEST_F(StripTest, WhatIsJudgedByPixelsOpensAtActualSize)
{
    Picture lines = NewPicture(RGB, 700, 500);   // columns of black and white, grey where they are reduced
    for (int32_t y = 0; y < lines.height; ++y) {
        uint8_t *row = lines.pixels.get() + size_t(RowStride(24, lines.width)) * size_t(y);
        for (int32_t x = 0; x < lines.width; ++x, row += 3) memset(row, x % 2 ? 255 : 0, 3);
    }
    Start({MakeFile("lines.png", lines)});
    // In the middle of a preview: how many words are neither black nor white.
    const auto greys = [](HWND preview) {
        RECT area;
        GetClientRect(preview, &area);
        const std::vector<uint32_t> seen = Seen(preview);
        const auto *row = seen.data() + size_t(area.bottom / 2) * size_t(area.right);
        return std::count_if(row, row + area.right, [](uint32_t word) { return word != 0 && word != 0xFFFFFF; });
    };
    HWND dialog = OpenDialog(FILTERS, "Filters");
    const auto preview = [&] { return GetDlgItem(dialog, PREVIEW_CONTROL); };
    EXPECT_TRUE(WaitFor([&] { return greys(preview()) == 0 && !OfOneColour(Seen(preview())); }));
    Click(dialog, PREVIEW_ZOOM_FIT);
    EXPECT_TRUE(WaitFor([&] { return greys(preview()) > 50; })) << "and stays where a person puts it";
    TypeNumber(dialog, ITERATIONS_FIELD, "2");   // which leaves the lines as they are
    EXPECT_FALSE(AwaitStill(preview(), 400).empty());
    EXPECT_GT(greys(preview()), 50);
    Close(dialog);
    dialog = OpenDialog(WAVE, "Wave");
    EXPECT_FALSE(AwaitStill(preview(), 400).empty());
    EXPECT_GT(greys(preview()), 50) << "what moves the picture shows all of it";
}

//---- Beside the strip

static RECT PlaceOf(HWND window)
{
    RECT place = {};
    GetWindowRect(window, &place);
    return place;
}

static bool Apart(HWND one, HWND other)
{
    const RECT a = PlaceOf(one), b = PlaceOf(other);
    RECT common;
    return !IntersectRect(&common, &a, &b);
}

TEST_F(StripTest, HelpNeverLiesOverTheDialogThatItExplains)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(FILTERS, "Filters");
    ActivateDialog(dialog);
    Key(VK_F1);
    HWND help = AwaitWindow(editor, "Velmorant Help");
    ASSERT_NE(help, nullptr);
    EXPECT_TRUE(WaitFor([=] { return Apart(dialog, help); }));
    // Put over the dialog it goes aside when it is asked again.
    const RECT place = PlaceOf(dialog);
    SetWindowPos(help, nullptr, place.left + 30, place.top + 30, 500, 400, SWP_NOZORDER);
    ActivateDialog(dialog);
    Key(VK_F1);
    EXPECT_TRUE(WaitFor([=] { return Apart(dialog, help); }));
    // Where it does not disturb it comes again where it was.
    Close(dialog);
    SetWindowPos(help, nullptr, 40, 50, 600, 500, SWP_NOZORDER);
    PostMessageA(help, WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsGone(help));
    Choose(editor, HELP_EFFECTS);
    help = AwaitWindow(editor, "Velmorant Help");
    EXPECT_TRUE(WaitFor([=] { return PlaceOf(help).left == 40 && PlaceOf(help).right == 640; }));
}

// How many pixels of a window's caption have the colour of an active one.
static long ActiveCaption(HWND window)
{
    const RECT place = PlaceOf(window);
    const LONG height = GetSystemMetrics(SM_CYCAPTION);
    const COLORREF colour = GetSysColor(COLOR_ACTIVECAPTION);
    const uint32_t word = uint32_t(GetRValue(colour)) << 16 | uint32_t(GetGValue(colour)) << 8 | GetBValue(colour);
    const std::vector<uint32_t> seen = SeenAt({place.left, place.top, place.right, place.top + height});
    return long(std::count(seen.begin(), seen.end(), word));
}

TEST_F(StripTest, ThePictureThatADialogWorksOnIsMarkedAndNamed)
{
    Start({MakeFile("one.png", Checks(64, 48)), MakeFile("two.png", Checks(48, 64))});
    Choose(editor, WINDOW_TILE_DOWN);
    const HWND dialog = OpenDialog(WAVE, "Wave"), client = FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr);
    SetWindowPos(dialog, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    SetWindowPos(editor.frame, nullptr, 600, 0, 660, 900, SWP_NOZORDER);
    Choose(editor, WINDOW_TILE_DOWN);
    ActivateDialog(dialog);
    HWND one = FindWindowExA(client, nullptr, "VelmorantPicture", "one.png");
    HWND two = FindWindowExA(client, nullptr, "VelmorantPicture", "two.png");
    ASSERT_TRUE(one && two);
    const HWND status = FindWindowExA(editor.frame, nullptr, STATUSCLASSNAMEA, nullptr);
    EXPECT_TRUE(WaitFor([=] { return ActiveCaption(two) > 300 && ActiveCaption(one) == 0; }))
        << ActiveCaption(one) << " " << ActiveCaption(two);
    EXPECT_EQ(TextOf(InStrip(dialog, STRIP_PICTURE)), "two.png: RGB, 48 x 64");
    EXPECT_TRUE(WaitFor([=] { return TextOf(status).starts_with("two.png"); })) << TextOf(status);
    Click(dialog, HOST_COMMAND_FIRST + 2);
    EXPECT_TRUE(WaitFor([=] { return ActiveCaption(one) > 300 && ActiveCaption(two) == 0; }))
        << ActiveCaption(one) << " " << ActiveCaption(two);
    EXPECT_TRUE(WaitFor([=] { return TextOf(InStrip(dialog, STRIP_PICTURE)) == "one.png: RGB, 64 x 48"; }));
    EXPECT_TRUE(WaitFor([=] { return TextOf(status).starts_with("one.png"); })) << TextOf(status);
}

TEST_F(StripTest, AKernelsFileHasTheEndingThatIsOfferedAndIsFoundAgain)
{
    Start({MakeFile("lake.png", Checks(64, 48))});
    const HWND dialog = OpenDialog(FILTERS, "Filters");
    TypeNumber(dialog, OTHER_WEIGHT, "-50");
    Click(dialog, SAVE_KERNEL_BUTTON);
    HWND box = nullptr;
    ASSERT_TRUE(WaitFor([&] {
        box = GetForegroundWindow();
        DWORD process = 0;
        GetWindowThreadProcessId(box, &process);
        return process == editor.id && box != dialog && box != editor.frame && GetDlgItem(box, IDOK);
    }));
    NameFile(editor, TextOf(box), FileOf("mine"));
    EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(PathOf(FileOf("mine.flt"))); })) << "with its ending";
    Click(StripOf(dialog), STRIP_RESET);
    EXPECT_TRUE(Shows(dialog, OTHER_WEIGHT, "0"));
    Click(dialog, LOAD_KERNEL_BUTTON);
    ASSERT_TRUE(WaitFor([&] {
        box = GetForegroundWindow();
        DWORD process = 0;
        GetWindowThreadProcessId(box, &process);
        return process == editor.id && box != dialog && box != editor.frame && GetDlgItem(box, IDOK);
    }));
    const HWND types = GetDlgItem(box, 0x470);   // the list of file types, in all of the system's file dialogs
    ASSERT_NE(types, nullptr);
    EXPECT_NE(TextOf(types).find("*.flt"), std::string::npos) << TextOf(types);
    NameFile(editor, TextOf(box), FileOf("mine.flt"));
    EXPECT_TRUE(Shows(dialog, OTHER_WEIGHT, "-50"));
}

TEST_F(StripTest, TheChooserTellsWhyAnEffectIsFadedAndWhatHelps)
{
    enum { TELLING_LINE = 961 };
    Start({MakeFile("bits.png", NewPicture(ONE_BIT, 60, 40))});
    const HWND chooser = OpenDialog(MODULE_BASE + CHOOSER_COMMAND, "Effects Helper");
    ActivateDialog(chooser);
    Key('N');   // Noise
    const HWND line = GetDlgItem(chooser, TELLING_LINE);
    EXPECT_TRUE(WaitFor([=] {
        return TextOf(line).find("Noise leaves black and white pictures as they are: convert") == 0;
    })) << TextOf(line);
}

TEST_F(StripTest, MirrorAndShearShowWhatTheirRunsMake)
{
    constexpr int RESULT_PANE = 0x7040, LEFT_BUTTON = 1260, ANGLE_FIELD = 910;
    Start({MakeFile("lake.png", Checks(60, 40))});
    for (const auto &[command, title, name] : {std::tuple(MODULE_BASE + MIRROR_COMMAND, "Mirror", "mirrored.png"),
                                               std::tuple(MODULE_BASE + SHEAR_COMMAND, "Shear", "slanted.png")}) {
        const HWND dialog = OpenDialog(command, title), pane = GetDlgItem(dialog, RESULT_PANE);
        ASSERT_NE(pane, nullptr);
        EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, PREVIEW_ZOOM_IN))) << "there is nothing to zoom";
        if (command == MODULE_BASE + MIRROR_COMMAND) Click(dialog, LEFT_BUTTON);
        else TypeNumber(dialog, ANGLE_FIELD, "20");
        EXPECT_FALSE(AwaitStill(pane, 400).empty());
        const auto told = [=] { return TextOf(InStrip(dialog, STRIP_PICTURE)); };
        const std::string before = told();
        Click(dialog, APPLY_BUTTON);
        EXPECT_TRUE(WaitFor([&] { return told() != before && Idle(dialog); })) << "another size: " << told();
        SaveAs(name);
        EXPECT_TRUE(HasTitles({name}));
        const Picture made = ReadBack(FileOf(name));
        Choose(editor, EDIT_UNDO);
        EXPECT_TRUE(WaitFor([&] { return PictureTitles(editor)[0] != name; }));
        ActivateDialog(dialog);
        EXPECT_TRUE(WaitFor([&] { return ShowsPixels(pane, made); })) << title;
        if (command == MODULE_BASE + SHEAR_COMMAND) {
            EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, PREVIEW_CONTROL))) << "the sketch stays";
            EXPECT_TRUE(Apart(GetDlgItem(dialog, PREVIEW_CONTROL), pane));
        }
        Close(dialog);
    }
}
