// Every dialog as the system has made it, at the screen's dots per inch: whether each text has room in its control as
// it is drawn in the control's own font, whether the controls keep off each other, and whether windows fit the screen.
// The tables are in dialog units, which the system rounds and fonts fill differently at every number of dots.

#include "host/acting/acting.h"
#include "interface/effect_table.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace
{

// All lengths in pixels.
struct Control {
    ControlKind kind;
    int32_t id;
    std::string text;   // a number field's longest number, a list's longest entry
    RECT place, told;   // within the dialog: where it is, and where its table says
    SIZE drawn;         // the text's
    SIZE room;          // what the control leaves for a text
};

struct Dialog {
    std::string caption;
    LONG captionWidth, captionRoom;
    RECT inside;   // at 0, 0
    SIZE window;
    std::vector<Control> controls;
};

UINT DotsPerInch()
{
    const HDC screen = GetDC(nullptr);
    const int dots = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return UINT(dots);
}

// A length that is told for 96 dots per inch.
LONG Scaled(int length) { return MulDiv(length, int(DotsPerInch()), 96); }

SIZE SizeOf(const RECT &area) { return {area.right - area.left, area.bottom - area.top}; }

std::string TextOf(HWND window)
{
    char text[300] = "";
    GetWindowTextA(window, text, sizeof text);
    return text;
}

//---- Texts

SIZE Drawn(const std::string &text, HFONT font, UINT format)
{
    const HDC space = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(space, font);
    RECT area = {};
    DrawTextA(space, text.c_str(), -1, &area, DT_CALCRECT | DT_SINGLELINE | format);
    SelectObject(space, before);
    ReleaseDC(nullptr, space);
    return SizeOf(area);
}

HFONT FontOf(HWND control) { return reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)); }

SIZE DrawnIn(HWND control, ControlKind kind, const std::string &text)
{
    return Drawn(text, FontOf(control), kind == LIST_BOX || kind == NUMBER_FIELD ? DT_NOPREFIX : 0);
}

std::string LongestNumber(HWND dialog, int32_t id)
{
    int32_t low, high;
    HostSpinRange(dialog, id, &low, &high);
    const std::string one = std::to_string(low), other = std::to_string(high);
    return one.size() > other.size() ? one : other;
}

std::string LongestEntry(HWND list)
{
    std::string longest;
    LONG width = 0;
    const auto count = int(SendMessageA(list, LB_GETCOUNT, 0, 0));
    for (int i = 0; i < count; ++i) {
        std::string entry(size_t(SendMessageA(list, LB_GETTEXTLEN, WPARAM(i), 0)), 0);
        SendMessageA(list, LB_GETTEXT, WPARAM(i), reinterpret_cast<LPARAM>(entry.data()));
        const LONG drawn = DrawnIn(list, LIST_BOX, entry).cx;
        if (drawn <= width) continue;
        width = drawn;
        longest = entry;
    }
    return longest;
}

std::string ShownText(HWND dialog, HWND control, const ControlTemplate &row)
{
    switch (row.kind) {
    case LABEL:
    case GROUP_BOX:
    case PUSH_BUTTON:
    case CHECK_BOX:
    case RADIO_BUTTON: return TextOf(control);
    case NUMBER_FIELD: return LongestNumber(dialog, row.id);
    case LIST_BOX: return LongestEntry(control);
    default: return "";
    }
}

//---- Room

// The box or circle before a text, half a zero's width between them, and the dotted line around the text.
LONG BesideChoice(HWND control) { return Scaled(13) + (Drawn("0", FontOf(control), 0).cx + 1) / 2 + 2; }

SIZE RoomIn(HWND control, ControlKind kind)
{
    constexpr int BUTTON_BORDER = 4, HEADING_START = 9, LIST_PADDING = 4, CARET = 1;
    RECT area;
    GetClientRect(control, &area);
    switch (kind) {
    case PUSH_BUTTON: InflateRect(&area, -Scaled(BUTTON_BORDER), -Scaled(BUTTON_BORDER)); break;
    case CHECK_BOX:
    case RADIO_BUTTON: area.left += BesideChoice(control); break;
    case GROUP_BOX: InflateRect(&area, -Scaled(HEADING_START), 0); break;
    case NUMBER_FIELD:
        SendMessageA(control, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&area));
        area.right -= CARET;
        break;
    case LIST_BOX: area.right -= LIST_PADDING; break;
    default: break;
    }
    return SizeOf(area);
}

// What a caption has between its window's left border and the button that closes it.
LONG CaptionRoom(HWND dialog)
{
    RECT window;
    GetWindowRect(dialog, &window);
    const int border = GetSystemMetrics(SM_CXFIXEDFRAME) + GetSystemMetrics(SM_CXPADDEDBORDER);
    return window.right - window.left - 2 * border - GetSystemMetrics(SM_CXSIZE) - Scaled(6);
}

LONG CaptionWidth(const std::string &caption)
{
    NONCLIENTMETRICSA metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const HFONT font = CreateFontIndirectA(&metrics.lfCaptionFont);
    const LONG width = Drawn(caption, font, DT_NOPREFIX).cx;
    DeleteObject(font);
    return width;
}

//---- Opening

Control Measure(HWND dialog, HWND control, const ControlTemplate &row)
{
    Control measured = {row.kind,
                        row.id,
                        ShownText(dialog, control, row),
                        {},
                        {row.x, row.y, row.x + row.width, row.y + row.height},
                        {},
                        RoomIn(control, row.kind)};
    MapDialogRect(dialog, &measured.told);
    GetWindowRect(control, &measured.place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&measured.place), 2);
    if (!measured.text.empty()) measured.drawn = DrawnIn(control, row.kind, measured.text);
    return measured;
}

Dialog Measure(HWND dialog)
{
    Dialog measured = {TextOf(dialog), 0, CaptionRoom(dialog), {}, {}, {}};
    RECT window;
    GetWindowRect(dialog, &window);
    measured.window = SizeOf(window);
    GetClientRect(dialog, &measured.inside);
    measured.captionWidth = CaptionWidth(measured.caption);
    const DialogTemplate &table = *FindDialogTemplate(HostDialogTemplate(dialog));
    HWND control = GetWindow(dialog, GW_CHILD);
    for (int32_t i = 0; i < table.controlCount; ++i, control = GetWindow(control, GW_HWNDNEXT))
        measured.controls.push_back(Measure(dialog, control, table.controls[i]));
    return measured;
}

// All of them, with the longest numbers that a large picture brings.
std::vector<Dialog> OpenAll()
{
    constexpr int32_t CANCEL_BUTTON = 2;
    Host host;
    std::string error;
    std::vector<Dialog> measured;
    if (!StartHost(host, "", error)) return measured;
    OpenImage(host, NewPicture(GREY, 20000, 20));
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &table = *DialogTemplateAt(i);
        if (!table.effect) continue;
        ActInDialog(host, table.commandOffset, [&](HWND dialog) {
            measured.push_back(Measure(dialog));
            Press(dialog, CLOSE_BUTTON);
        });
    }
    host.onChooserOpened = [&](HWND dialog) {
        measured.push_back(Measure(dialog));
        Press(dialog, CANCEL_BUTTON);
    };
    RunCommand(host, CHOOSER_COMMAND);
    EndHost(host);
    return measured;
}

const std::vector<Dialog> &AllDialogs()
{
    static const std::vector<Dialog> dialogs = OpenAll();
    return dialogs;
}

std::string NameOf(const Control &control) { return std::to_string(control.id) + " \"" + control.text + "\""; }

bool Within(const RECT &inner, const RECT &outer)
{
    return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
           inner.bottom <= outer.bottom;
}

// Below a frame's heading, within its lines.
RECT InsideOf(const Control &frame)
{
    const LONG line = Scaled(2);
    return {frame.place.left + line, frame.place.top + frame.drawn.cy, frame.place.right - line,
            frame.place.bottom - line};
}

}   // namespace

TEST(MeasuredDialogs, AreMeasuredAtTheDotsThatTheSessionHas)
{
    const char *told = getenv("VELMORANT_WINE_DPI");
    EXPECT_EQ(DotsPerInch(), told ? UINT(atoi(told)) : 96);
    EXPECT_EQ(AllDialogs().size(), size_t(DialogTemplateCount()));
}

TEST(MeasuredDialogs, EveryTextHasRoomInItsControl)
{
    for (const Dialog &dialog : AllDialogs()) {
        for (const Control &control : dialog.controls) {
            EXPECT_LE(control.drawn.cx, control.room.cx) << dialog.caption << ": " << NameOf(control) << " is too wide";
            if (control.kind == GROUP_BOX || control.kind == LIST_BOX) continue;
            EXPECT_LE(control.drawn.cy, control.room.cy) << dialog.caption << ": " << NameOf(control) << " is too high";
        }
    }
}

// To a pixel: the system rounds places and sizes apart.
TEST(MeasuredDialogs, EveryControlStandsWhereItsTableSays)
{
    for (const Dialog &dialog : AllDialogs()) {
        for (const Control &control : dialog.controls) {
            EXPECT_NEAR(control.place.left, control.told.left, 1) << dialog.caption << ": " << NameOf(control);
            EXPECT_NEAR(control.place.top, control.told.top, 1) << dialog.caption << ": " << NameOf(control);
            EXPECT_NEAR(control.place.right, control.told.right, 1) << dialog.caption << ": " << NameOf(control);
            EXPECT_NEAR(control.place.bottom, control.told.bottom, 1) << dialog.caption << ": " << NameOf(control);
        }
    }
}

TEST(MeasuredDialogs, NoTwoControlsOverlap)
{
    for (const Dialog &dialog : AllDialogs()) {
        for (auto one = dialog.controls.begin(); one != dialog.controls.end(); ++one) {
            EXPECT_TRUE(Within(one->place, dialog.inside)) << dialog.caption << ": " << NameOf(*one);
            for (auto other = one + 1; other != dialog.controls.end(); ++other) {
                RECT both;
                if (!IntersectRect(&both, &one->place, &other->place)) continue;
                const bool framed = one->kind == GROUP_BOX && Within(other->place, InsideOf(*one));
                EXPECT_TRUE(framed) << dialog.caption << ": " << NameOf(*one) << " and " << NameOf(*other);
            }
        }
    }
}

TEST(MeasuredDialogs, FitASmallScreenWithTheirCaptions)
{
    for (const Dialog &dialog : AllDialogs()) {
        EXPECT_LE(dialog.window.cx, Scaled(1024)) << dialog.caption;
        EXPECT_LE(dialog.window.cy, Scaled(768)) << dialog.caption;
        EXPECT_LE(dialog.captionWidth, dialog.captionRoom) << dialog.caption;
    }
}
