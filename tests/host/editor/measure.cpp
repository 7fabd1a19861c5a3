// How soon the editor answers with a picture of 12 megapixels: from its start to the picture, from a change of a setting to
// the preview on the picture, and the longest that a message waits. Prints a table beside what is aimed at; it is no test,
// since another program's load is in every figure. scripts/measure-editor runs it.

#include "host/dialogs/dialogs.h"
#include "host/documents/library.h"
#include "host/documents/picture_file.h"
#include "host/editor/commands.h"
#include "interface/messages.h"
#include "tests/host/editor/person.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

constexpr int MODULE_BASE = 1000, ROUNDS = 5;

static double Milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

// What is met in practice stands between the best of some rounds and the middle one.
struct Figures {
    double best, middle;
};

template <typename Round> static Figures Several(Round round)
{
    std::vector<double> times;
    for (int i = 0; i < ROUNDS; ++i) times.push_back(round());
    std::sort(times.begin(), times.end());
    return {times[0], times[ROUNDS / 2]};
}

static void Print(const char *what, const Figures &figures, double aim)
{
    printf("%-44s %7.0f %7.0f %9.0f%s\n", what, figures.best, figures.middle, aim,
           figures.middle <= aim ? ""
           : figures.best <= aim ? "   best only"
                                 : "   not met");
    fflush(stdout);
}

//---- From the start to the picture

static double TimeToStart(const std::string &file)
{
    const double start = Milliseconds();
    EditorProcess editor = StartEditor({file});
    WaitFor([&] {
        const HWND canvas = CanvasOf(editor);
        return canvas && !OfOneColour(Seen(canvas));
    });
    const double taken = Milliseconds() - start;
    Choose(editor, QUIT_EDITOR);
    HasEnded(editor);
    EndEditor(editor);
    return taken;
}

//---- From a change to the preview on the picture

struct Change {
    const char *effect;
    char away, back;   // digits that are typed over a field's first one; 0: the preview is switched off and on
    double aim;
    int field = 0;   // 0: the dialog's first one with a number
};

// Bars: for those that look at a pixel's value alone and those that move pixels, and for all others.
constexpr double AT_ONCE = 100, SOON = 300;
constexpr int CENTRE_WEIGHT = 970;

static constexpr Change changes[] = {
    {"solarize", '2', '1', AT_ONCE},  {"noise", '2', '1', AT_ONCE},     {"acid", '2', '1', AT_ONCE},
    {"wave", '2', '1', AT_ONCE},      {"ripple", '2', '1', AT_ONCE},    {"fisheye", '3', '2', AT_ONCE},
    {"cone-head", '3', '2', AT_ONCE}, {"swirl", '5', '4', AT_ONCE},     {"polar-coordinates", 0, 0, AT_ONCE},
    {"slices", '4', '3', AT_ONCE},    {"random-shear", 0, 0, AT_ONCE},  {"double-vision", '3', '2', AT_ONCE},
    {"blocks", '2', '1', SOON},       {"tiles", '4', '3', SOON},        {"melt", 0, 0, SOON},
    {"median", '2', '1', SOON},       {"oil-painting", '2', '3', SOON}, {"filters", '8', '0', SOON, CENTRE_WEIGHT},
};

static int FieldOf(const DialogTemplate &table)
{
    for (int32_t i = 1; i < table.controlCount; ++i)
        if (table.controls[i].kind == SPIN_ARROWS) return table.controls[i - 1].id;
    return 0;
}

struct Sight {
    double first, last;   // milliseconds until the picture looks different, and until it stays as it then is
};

// A part of the picture in which every effect changes something: looking at all of it would take its time, too.
static RECT WatchedPart(HWND canvas)
{
    RECT area;
    GetClientRect(canvas, &area);
    MapWindowPoints(canvas, nullptr, reinterpret_cast<POINT *>(&area), 2);
    const LONG left = area.left + (area.right - area.left) / 4;
    return {left, area.top, left + (area.right - area.left) / 10, area.bottom};
}

// What a dialog shows of itself is not looked at: it stands beside the main window.
static Sight TimeToLook(HWND canvas, const std::function<void()> &act)
{
    constexpr double REST = 300, LONGEST = 60000;
    const RECT part = WatchedPart(canvas);
    std::vector<uint32_t> view = SeenAt(part);
    const double start = Milliseconds();
    Sight sight = {0, 0};
    act();
    while (Milliseconds() - start < (sight.last > 0 ? sight.last + REST : LONGEST)) {
        std::vector<uint32_t> now = SeenAt(part);
        if (now == view) continue;
        view = std::move(now);
        sight.last = Milliseconds() - start;
        if (sight.first <= 0) sight.first = sight.last;
    }
    return sight;
}

static void PlaceBeside(const EditorProcess &editor, HWND dialog)
{
    SetWindowPos(editor.frame, nullptr, 0, 0, 800, 1000, SWP_NOZORDER);
    SetWindowPos(dialog, nullptr, 804, 0, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
    AwaitStill(CanvasOf(editor), 700);
}

static void MeasurePreview(const EditorProcess &editor, const Change &change)
{
    const DialogTemplate &table = *FindEffectTemplate(change.effect);
    Choose(editor, MODULE_BASE + table.commandOffset);
    const HWND dialog = AwaitWindow(editor, table.title), canvas = CanvasOf(editor);
    if (!dialog) return;
    PlaceBeside(editor, dialog);
    std::vector<double> last;
    const Figures first = Several([&] {
        if (!change.away) {
            TimeToLook(canvas, [&] { Click(dialog, PREVIEW_CHECK); });
            const Sight sight = TimeToLook(canvas, [&] { Click(dialog, PREVIEW_CHECK); });
            return last.push_back(sight.last), sight.first;
        }
        const int field = change.field ? change.field : FieldOf(table);
        TimeToLook(canvas, [&] { TypeFirstDigit(dialog, field, change.away); });
        const Sight sight = TimeToLook(canvas, [&] { TypeFirstDigit(dialog, field, change.back); });
        return last.push_back(sight.last), sight.first;
    });
    std::sort(last.begin(), last.end());
    char what[80];
    snprintf(what, sizeof what, "%s (all of it: %.0f)", table.title, last[ROUNDS / 2]);
    Print(what, first, change.aim);
    PostMessageA(dialog, WM_CLOSE, 0, 0);
    IsGone(dialog);
}

//---- How long messages wait

static double WaitWhilePreviewed(const EditorProcess &editor, HWND dialog)
{
    const ULONGLONG end = GetTickCount64() + 2000;
    const int field = FieldOf(*FindEffectTemplate("wave"));
    int amplitude = 10;
    return LongestWait(editor, [&] {
        Type(dialog, field, std::to_string(amplitude = amplitude < 40 ? amplitude + 1 : 10));
        return GetTickCount64() > end;
    });
}

static double WaitWhileRun(const EditorProcess &editor, HWND dialog)
{
    bool begun = false;
    Click(dialog, APPLY_BUTTON);
    return LongestWait(editor, [&] {
        const bool idle = IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON));
        begun = begun || !idle;
        return begun && idle;
    });
}

static double WaitWhilePainted(const EditorProcess &editor)
{
    const ULONGLONG end = GetTickCount64() + 2000;
    LONG x = 100;
    return LongestWait(editor, [&] {
        Drag(editor, {{x, 300}, {x + 40, 340}});
        x = x < 600 ? x + 5 : 100;
        Sleep(20);
        return GetTickCount64() > end;
    });
}

static void MeasureWaits(const EditorProcess &editor)
{
    constexpr double AIM = 30;
    const DialogTemplate &wave = *FindEffectTemplate("wave");
    Print("a message waits, while protection is painted", Several([&] {
              Choose(editor, PROTECT_PAINT);
              const double wait = WaitWhilePainted(editor);
              Choose(editor, PROTECT_PAINT);
              return wait;
          }),
          AIM);
    Choose(editor, MODULE_BASE + wave.commandOffset);
    const HWND dialog = AwaitWindow(editor, wave.title);
    PlaceBeside(editor, dialog);
    Print("... while previews follow, with protection", Several([&] { return WaitWhilePreviewed(editor, dialog); }),
          AIM);
    Print("... while a run goes on, with protection", Several([&] { return WaitWhileRun(editor, dialog); }), AIM);
    Choose(editor, PROTECT_NOTHING);
    Print("... while previews follow, without", Several([&] { return WaitWhilePreviewed(editor, dialog); }), AIM);
    Print("... while a run goes on, without", Several([&] { return WaitWhileRun(editor, dialog); }), AIM);
    PostMessageA(dialog, WM_CLOSE, 0, 0);
    IsGone(dialog);
}

int main(int count, char **words)
{
    if (count < 2) return fprintf(stderr, "editor_measure PICTURE\n"), 2;
    const std::string file = words[1];
    SetEnvironmentVariableW(L"APPDATA", std::filesystem::temp_directory_path().c_str());
    printf("%-44s %7s %7s %9s\n", "milliseconds", "best", "middle", "aimed at");
    Print("from the start to the picture", Several([&] { return TimeToStart(file); }), 1500);
    EditorProcess editor = StartEditor({file});
    for (const Change &change : changes) MeasurePreview(editor, change);
    MeasureWaits(editor);
    EndEditor(editor);
    return 0;
}
