// Groups of controls from left to right, as many in a row as the dialog is wide, each control as wide as its text. Places
// follow the dialog's font, as those of its own controls do.

#include "host/editor/strip_layout.h"

#include <algorithm>
#include <vector>

static constexpr char STRIP_CLASS[] = "VelmorantStrip";

// In dialog units.
static constexpr int MARGIN = 7, GAP = 4, GROUP_GAP = 9, ROW_GAP = 4, BUTTON_HEIGHT = 14, LINE_HEIGHT = 9;
static constexpr int PRESET_WIDTH = 84, SEED_WIDTH = 52, BUTTON_PADDING = 12;

enum class Piece { LABEL, BUTTON, FIELD, LIST };

struct StripPiece {
    int id;
    Piece piece;
    const char *text;
    bool startsGroup;
};

static constexpr StripPiece pieces[] = {
    {STRIP_PRESET_LABEL, Piece::LABEL, "Preset:", true},
    {STRIP_PRESET, Piece::LIST, "", false},
    {STRIP_SAVE_PRESET, Piece::BUTTON, "Save", false},
    {STRIP_DELETE_PRESET, Piece::BUTTON, "Delete", false},
    {STRIP_RESET, Piece::BUTTON, "Reset", true},
    {STRIP_RANDOMISE, Piece::BUTTON, "Randomise", false},
    {STRIP_UNDO_SETTINGS, Piece::BUTTON, "Undo Settings", false},
    {STRIP_SEED_LABEL, Piece::LABEL, "Seed:", true},
    {STRIP_SEED, Piece::FIELD, "", false},
    {STRIP_NEW_SEED, Piece::BUTTON, "New", false},
    {STRIP_COPY_COMMAND, Piece::BUTTON, "Copy as command", true},
};

struct StripLayout {
    HWND dialog, strip;
    HFONT font;
    int width;       // of the dialog's inside, pixels
    int x, y, row;   // where the next control goes; where its row begins
};

static SIZE InPixels(const StripLayout &layout, int width, int height)
{
    RECT area = {0, 0, width, height};
    MapDialogRect(layout.dialog, &area);
    return {area.right, area.bottom};
}

static int Across(const StripLayout &layout, int units) { return InPixels(layout, units, 0).cx; }
static int Down(const StripLayout &layout, int units) { return InPixels(layout, 0, units).cy; }

static int WidthOfText(const StripLayout &layout, const char *text)
{
    SIZE size = {};
    const HDC space = GetDC(layout.strip);
    const HGDIOBJ before = SelectObject(space, layout.font);
    GetTextExtentPoint32A(space, text, lstrlenA(text), &size);
    SelectObject(space, before);
    ReleaseDC(layout.strip, space);
    return size.cx;
}

static HWND AddControl(const StripLayout &layout, const char *windowClass, const char *text, DWORD style,
                       DWORD extendedStyle, int id, const RECT &place)
{
    const HWND made = CreateWindowExA(extendedStyle, windowClass, text, style | WS_CHILD | WS_VISIBLE, place.left,
                                      place.top, place.right - place.left, place.bottom - place.top, layout.strip,
                                      reinterpret_cast<HMENU>(INT_PTR(id)), GetModuleHandleA(nullptr), nullptr);
    SendMessageA(made, WM_SETFONT, reinterpret_cast<WPARAM>(layout.font), FALSE);
    return made;
}

static int WidthOf(const StripLayout &layout, const StripPiece &piece)
{
    switch (piece.piece) {
    case Piece::LABEL: return WidthOfText(layout, piece.text) + 2;
    case Piece::BUTTON: return WidthOfText(layout, piece.text) + Across(layout, BUTTON_PADDING);
    case Piece::FIELD: return Across(layout, SEED_WIDTH);
    case Piece::LIST: return Across(layout, PRESET_WIDTH);
    }
    return 0;
}

static void AddPiece(StripLayout &layout, const StripPiece &piece)
{
    const int width = WidthOf(layout, piece), height = Down(layout, BUTTON_HEIGHT);
    RECT place = {layout.x, layout.y, layout.x + width, layout.y + height};
    const int drop = Down(layout, 3);
    switch (piece.piece) {
    case Piece::LABEL:
        place.top += drop;
        AddControl(layout, "STATIC", piece.text, SS_LEFT, 0, piece.id, place);
        break;
    case Piece::BUTTON: AddControl(layout, "BUTTON", piece.text, BS_PUSHBUTTON | WS_TABSTOP, 0, piece.id, place); break;
    case Piece::FIELD:
        InflateRect(&place, 0, -1);
        AddControl(layout, "EDIT", "", ES_AUTOHSCROLL | ES_NUMBER | WS_TABSTOP, WS_EX_CLIENTEDGE, piece.id, place);
        break;
    case Piece::LIST:
        place.bottom = place.top + 12 * height;   // with the list that drops down
        AddControl(layout, "COMBOBOX", "", CBS_DROPDOWN | CBS_AUTOHSCROLL | WS_VSCROLL | WS_TABSTOP, 0, piece.id,
                   place);
        break;
    }
    layout.x += width + Across(layout, GAP);
}

static void BeginRow(StripLayout &layout)
{
    if (layout.x > layout.row) layout.y += Down(layout, BUTTON_HEIGHT + ROW_GAP);
    layout.x = layout.row;
}

// A group stays together.
static void AddPieces(StripLayout &layout, bool seed)
{
    std::vector<StripPiece> chosen;
    for (const StripPiece &piece : pieces)
        if (seed || piece.id < STRIP_SEED_LABEL || piece.id > STRIP_NEW_SEED) chosen.push_back(piece);
    for (size_t i = 0; i < chosen.size();) {
        size_t end = i + 1;
        int width = WidthOf(layout, chosen[i]);
        for (; end < chosen.size() && !chosen[end].startsGroup; ++end)
            width += Across(layout, GAP) + WidthOf(layout, chosen[end]);
        if (layout.x > layout.row) layout.x += Across(layout, GROUP_GAP - GAP);
        if (layout.x + width > layout.width - layout.row) BeginRow(layout);
        for (; i < end; ++i) AddPiece(layout, chosen[i]);
    }
    BeginRow(layout);
}

static void AddLines(StripLayout &layout, bool above)
{
    const int right = layout.width - layout.row, height = Down(layout, LINE_HEIGHT);
    const DWORD style = SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS;
    if (above) {
        AddControl(layout, "STATIC", "", style, 0, STRIP_PICTURE, {layout.row, layout.y, right, layout.y + height});
        layout.y += Down(layout, LINE_HEIGHT + ROW_GAP);
        return;
    }
    const int buttonHeight = Down(layout, BUTTON_HEIGHT), drop = Down(layout, 3);
    const StripPiece convert = {STRIP_CONVERT, Piece::BUTTON, "Convert...", true};
    AddControl(layout, "STATIC", "", style, 0, STRIP_NOTE,
               {layout.row, layout.y + drop, right, layout.y + drop + height});
    AddControl(layout, "BUTTON", convert.text, BS_PUSHBUTTON | WS_TABSTOP, 0, convert.id,
               {right - WidthOf(layout, convert), layout.y, right, layout.y + buttonHeight});
    layout.y += Down(layout, BUTTON_HEIGHT + ROW_GAP);
}

void ShowConvertButton(HWND strip, bool shown)
{
    const HWND note = GetDlgItem(strip, STRIP_NOTE), convert = GetDlgItem(strip, STRIP_CONVERT);
    if (((GetWindowLongA(convert, GWL_STYLE) & WS_VISIBLE) != 0) == shown) return;
    RECT place, button, area;
    GetWindowRect(note, &place);
    GetWindowRect(convert, &button);
    GetClientRect(strip, &area);
    MapWindowPoints(nullptr, strip, reinterpret_cast<POINT *>(&place), 2);
    MapWindowPoints(nullptr, strip, reinterpret_cast<POINT *>(&button), 2);
    const LONG right = shown ? button.left - place.left : area.right - place.left;
    SetWindowPos(note, nullptr, 0, 0, right - place.left, place.bottom - place.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ShowWindow(convert, shown ? SW_SHOW : SW_HIDE);
}

void WidenStrip(HWND strip, int width)
{
    RECT area;
    GetClientRect(strip, &area);
    const LONG more = width - area.right;
    for (const int id : {int(STRIP_PICTURE), int(STRIP_NOTE), int(STRIP_CONVERT)}) {
        const HWND part = GetDlgItem(strip, id);
        RECT place;
        GetWindowRect(part, &place);
        MapWindowPoints(nullptr, strip, reinterpret_cast<POINT *>(&place), 2);
        if (id == STRIP_CONVERT) place.left += more;
        SetWindowPos(part, nullptr, place.left, place.top, place.right + more - place.left, place.bottom - place.top,
                     SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
    }
    SetWindowPos(strip, nullptr, 0, 0, width, area.bottom, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// The dialog stays about where it was, and on the screen.
static void Enlarge(HWND dialog, int height)
{
    RECT place;
    GetWindowRect(dialog, &place);
    MONITORINFO screen = {};
    screen.cbSize = sizeof screen;
    GetMonitorInfoA(MonitorFromWindow(dialog, MONITOR_DEFAULTTONEAREST), &screen);
    const LONG all = place.bottom - place.top + height;
    LONG top = place.top - height / 2;
    top = std::max(screen.rcWork.top, std::min(top, screen.rcWork.bottom - all));
    SetWindowPos(dialog, nullptr, place.left, top, place.right - place.left, all, SWP_NOZORDER | SWP_NOACTIVATE);
}

static void Register(WNDPROC procedure)
{
    WNDCLASSA made = {};
    made.lpfnWndProc = procedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    made.lpszClassName = STRIP_CLASS;
    RegisterClassA(&made);   // changes nothing from the second time on
}

HWND MakeStrip(HWND dialog, WNDPROC procedure, void *data, bool seed)
{
    Register(procedure);
    RECT inside;
    GetClientRect(dialog, &inside);
    StripLayout layout = {
        dialog, nullptr, reinterpret_cast<HFONT>(SendMessageA(dialog, WM_GETFONT, 0, 0)), int(inside.right), 0, 0, 0};
    layout.strip = CreateWindowExA(WS_EX_CONTROLPARENT, STRIP_CLASS, "", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0,
                                   inside.bottom, inside.right, 10, dialog,
                                   reinterpret_cast<HMENU>(INT_PTR(STRIP_WINDOW)), GetModuleHandleA(nullptr), nullptr);
    SetWindowLongPtrA(layout.strip, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(data));
    layout.x = layout.row = Across(layout, MARGIN);
    layout.y = Down(layout, ROW_GAP);
    AddLines(layout, true);
    AddPieces(layout, seed);
    AddLines(layout, false);
    SetWindowPos(layout.strip, HWND_BOTTOM, 0, inside.bottom, inside.right, layout.y, SWP_NOACTIVATE);
    Enlarge(dialog, layout.y);
    return layout.strip;
}
