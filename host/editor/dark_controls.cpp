// See dark_controls.h. Each kind has a procedure before its own, which paints in its place; what the control does stays its
// own procedure's.

#include "host/editor/dark_controls.h"

#include "host/editor/colours.h"
#include "host/editor/screen.h"

#include <algorithm>
#include <commctrl.h>
#include <iterator>

static bool MarksLetters(HWND control) { return (SendMessageA(control, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) == 0; }
static bool MarksFocus(HWND control) { return (SendMessageA(control, WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0; }

struct Painting {
    HWND control;
    PAINTSTRUCT paint = {};
    HDC space;
    HGDIOBJ font;
    RECT area = {};
    bool enabled;
    explicit Painting(HWND window)
        : control(window), space(BeginPaint(window, &paint)),
          font(SelectObject(space, reinterpret_cast<HFONT>(SendMessageA(window, WM_GETFONT, 0, 0)))),
          enabled(IsWindowEnabled(window) != FALSE)
    {
        GetClientRect(window, &area);
        SetTextColor(space, Colour(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    }
    Painting(const Painting &) = delete;
    Painting &operator=(const Painting &) = delete;
    ~Painting()
    {
        SelectObject(space, font);
        EndPaint(control, &paint);
    }
};

//---- Buttons

static void PaintButton(HWND button)
{
    Painting painting(button);
    const HDC space = painting.space;
    RECT area = painting.area;
    char text[100] = "";
    GetWindowTextA(button, text, sizeof text);
    const LRESULT state = SendMessageA(button, BM_GETSTATE, 0, 0);
    const bool isDefault = (GetWindowLongA(button, GWL_STYLE) & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
    FillRect(space, &area, ColourBrush(state & BST_PUSHED ? COLOR_BTNSHADOW : COLOR_BTNHIGHLIGHT));
    FrameRect(space, &area, ColourBrush(isDefault ? COLOR_HIGHLIGHT : COLOR_BTNSHADOW));
    SetBkMode(space, TRANSPARENT);
    const UINT prefix = MarksLetters(button) ? 0 : DT_HIDEPREFIX;
    DrawTextA(space, text, -1, &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE | prefix);
    InflateRect(&area, -3, -3);
    SetBkColor(space, 0);   // the dots of the mark are drawn in these two
    SetTextColor(space, 0xFFFFFF);
    if ((state & BST_FOCUS) && MarksFocus(button)) DrawFocusRect(space, &area);
}

// A button, a frame and an arrow draw at once what some messages change, in their own colours.
static bool DrawsAtOnce(UINT message)
{
    static constexpr UINT messages[] = {WM_SETTEXT,   WM_ENABLE,     WM_SETFOCUS,      WM_KILLFOCUS,     BM_SETSTATE,
                                        BM_SETSTYLE,  BM_SETCHECK,   WM_UPDATEUISTATE, WM_LBUTTONDOWN,   WM_LBUTTONUP,
                                        WM_MOUSEMOVE, WM_MOUSELEAVE, WM_TIMER,         WM_CAPTURECHANGED};
    return std::find(std::begin(messages), std::end(messages), message) != std::end(messages);
}

//---- Marks with a text

static int Scaled(HWND window, int length) { return MulDiv(length, int(DotsPerInch(window)), 96); }

// A circle or a box, with what stands in it when it is chosen.
static void PaintMark(const Painting &painting, const RECT &place, bool isCircle, LRESULT state)
{
    const HDC space = painting.space;
    const int writing = painting.enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT;
    const HGDIOBJ brush = SelectObject(space, ColourBrush(state & BST_PUSHED ? COLOR_BTNSHADOW : COLOR_WINDOW));
    const HPEN border = CreatePen(PS_SOLID, 1, Colour(COLOR_GRAYTEXT));
    const HGDIOBJ pen = SelectObject(space, border);
    const auto draw = isCircle ? Ellipse : Rectangle;
    draw(space, place.left, place.top, place.right, place.bottom);
    SelectObject(space, GetStockObject(NULL_PEN));
    SelectObject(space, ColourBrush(writing));
    const int size = place.right - place.left, quarter = size / 4;
    if ((state & BST_CHECKED) && isCircle) {
        Ellipse(space, place.left + quarter, place.top + quarter, place.right - quarter + 1,
                place.bottom - quarter + 1);
    } else if (state & BST_CHECKED) {
        const HPEN stroke = CreatePen(PS_SOLID, std::max(2, size / 6), Colour(writing));
        SelectObject(space, stroke);
        const POINT tick[] = {{place.left + quarter, place.top + size / 2},
                              {place.left + size * 2 / 5, place.top + size * 2 / 3},
                              {place.right - quarter - 1, place.top + quarter}};
        Polyline(space, tick, 3);
        SelectObject(space, pen);
        DeleteObject(stroke);
    }
    SelectObject(space, pen);
    SelectObject(space, brush);
    DeleteObject(border);
}

static void PaintMarked(HWND button)
{
    const Painting painting(button);
    const HDC space = painting.space;
    RECT area = painting.area;
    FillRect(space, &area, ColourBrush(COLOR_BTNFACE));
    const LONG kind = GetWindowLongA(button, GWL_STYLE) & BS_TYPEMASK;
    const LRESULT state = SendMessageA(button, BM_GETSTATE, 0, 0);
    const LONG size = Scaled(button, 13), top = (area.bottom - size) / 2;
    PaintMark(painting, {0, top, size, top + size}, kind == BS_RADIOBUTTON || kind == BS_AUTORADIOBUTTON, state);

    char text[200] = "";
    GetWindowTextA(button, text, sizeof text);
    RECT place = {0, 0, 0, 0};
    SetBkMode(space, TRANSPARENT);
    DrawTextA(space, text, -1, &place, DT_SINGLELINE | DT_CALCRECT);
    OffsetRect(&place, size + Scaled(button, 4), (area.bottom - place.bottom) / 2);
    DrawTextA(space, text, -1, &place, DT_SINGLELINE | (MarksLetters(button) ? 0 : DT_HIDEPREFIX));
    InflateRect(&place, 1, 1);
    SetBkColor(space, 0);
    SetTextColor(space, 0xFFFFFF);
    if (text[0] && (state & BST_FOCUS) && MarksFocus(button)) DrawFocusRect(space, &place);
}

//---- Frames

static void PaintFrame(HWND frame)
{
    Painting painting(frame);
    const HDC space = painting.space;
    RECT area = painting.area, place = {9, 0, 9, 0};
    char text[100] = "";
    GetWindowTextA(frame, text, sizeof text);
    DrawTextA(space, text, -1, &place, DT_SINGLELINE | DT_CALCRECT);
    area.top = place.bottom / 2;
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    SetBkColor(space, Colour(COLOR_BTNFACE));
    if (text[0]) DrawTextA(space, text, -1, &place, DT_SINGLELINE | (MarksLetters(frame) ? 0 : DT_HIDEPREFIX));
}

//---- Arrows

static void PaintArrow(HDC space, const RECT &area, bool up, bool enabled)
{
    FillRect(space, &area, ColourBrush(COLOR_BTNHIGHLIGHT));
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    const LONG size = std::max(1L, std::min(area.right - area.left, area.bottom - area.top) / 4);
    const LONG x = (area.left + area.right) / 2, y = (area.top + area.bottom) / 2;
    for (LONG row = 0; row <= size; ++row) {
        const LONG at = up ? y - size / 2 + row : y + size / 2 - row;
        const RECT line = {x - row, at, x + row + 1, at + 1};
        FillRect(space, &line, ColourBrush(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    }
}

static void PaintArrows(HWND arrows)
{
    const Painting painting(arrows);
    const RECT &area = painting.area;
    const LONG middle = (area.top + area.bottom) / 2;
    PaintArrow(painting.space, {area.left, area.top, area.right, middle}, true, painting.enabled);
    PaintArrow(painting.space, {area.left, middle, area.right, area.bottom}, false, painting.enabled);
}

//---- Edges

static void PaintEdge(HWND control)
{
    RECT area;
    GetWindowRect(control, &area);
    OffsetRect(&area, -area.left, -area.top);
    const HDC space = GetWindowDC(control);
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    InflateRect(&area, -1, -1);
    FrameRect(space, &area, ColourBrush(COLOR_WINDOW));
    ReleaseDC(control, space);
}

// A list that drops down draws its border and its arrow with the rest of it, and is drawn over.
static void PaintListsArrow(HWND list)
{
    COMBOBOXINFO info = {};
    info.cbSize = sizeof info;
    RECT area;
    if (!GetComboBoxInfo(list, &info) || !GetClientRect(list, &area)) return;
    const HDC space = GetDCEx(list, nullptr, DCX_CACHE | DCX_CLIPCHILDREN);
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    for (int i = 0; i < 2; ++i) {
        InflateRect(&area, -1, -1);
        FrameRect(space, &area, ColourBrush(COLOR_WINDOW));
    }
    PaintArrow(space, {info.rcButton.left - 1, area.top, area.right, area.bottom}, false,
               IsWindowEnabled(list) != FALSE);
    ReleaseDC(list, space);
}

//---- Procedures before theirs

static LRESULT CALLBACK PaintingProcedure(HWND control, UINT message, WPARAM word, LPARAM extra, UINT_PTR,
                                          DWORD_PTR data)
{
    if (!IsDark()) return DefSubclassProc(control, message, word, extra);
    if (message == WM_PAINT) return reinterpret_cast<void (*)(HWND)>(data)(control), 0;
    const LRESULT result = DefSubclassProc(control, message, word, extra);
    if (DrawsAtOnce(message)) InvalidateRect(control, nullptr, FALSE);
    return result;
}

static LRESULT CALLBACK EdgeProcedure(HWND control, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR)
{
    const LRESULT result = DefSubclassProc(control, message, word, extra);
    if (message == WM_NCPAINT && IsDark()) PaintEdge(control);
    return result;
}

static LRESULT CALLBACK ListProcedure(HWND list, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR)
{
    const LRESULT result = DefSubclassProc(list, message, word, extra);
    if (IsDark() && (message == WM_PAINT || DrawsAtOnce(message))) PaintListsArrow(list);
    return result;
}

static void PaintBy(HWND control, void (*paint)(HWND))
{
    SetWindowSubclass(control, PaintingProcedure, 1, reinterpret_cast<DWORD_PTR>(paint));
}

void DressControlInDark(HWND control)
{
    char name[32] = "";
    GetClassNameA(control, name, sizeof name);
    const LONG kind = GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK;
    if (lstrcmpiA(name, "BUTTON") == 0) {
        if (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON) PaintBy(control, PaintButton);
        if (kind == BS_GROUPBOX) PaintBy(control, PaintFrame);
        if (kind == BS_RADIOBUTTON || kind == BS_AUTORADIOBUTTON || kind == BS_CHECKBOX || kind == BS_AUTOCHECKBOX)
            PaintBy(control, PaintMarked);
    }
    if (lstrcmpiA(name, "COMBOBOX") == 0) SetWindowSubclass(control, ListProcedure, 3, 0);
    if (lstrcmpiA(name, UPDOWN_CLASSA) == 0) PaintBy(control, PaintArrows);
    if (GetWindowLongA(control, GWL_EXSTYLE) & WS_EX_CLIENTEDGE) SetWindowSubclass(control, EdgeProcedure, 2, 0);
}
