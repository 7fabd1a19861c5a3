// See colours.h. Nothing is asked of the system that it does not document: the setting is the one that its own pages tell
// programs to read, and buttons whose texts would stay black are left without the visual style.

#include "host/editor/colours.h"

#include <uxtheme.h>

#include <commctrl.h>
#include <map>

static constexpr char SETTINGS[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";

static bool looked, dark;

static bool HasHighContrast()
{
    HIGHCONTRASTA contrast = {};
    contrast.cbSize = sizeof contrast;
    return SystemParametersInfoA(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON);
}

static bool WantsDark()
{
    DWORD light = 1, size = sizeof light;
    RegGetValueA(HKEY_CURRENT_USER, SETTINGS, "AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &light, &size);
    return light == 0 && !HasHighContrast();
}

bool LookForColours()
{
    const bool before = dark;
    dark = WantsDark();
    looked = true;
    return dark != before;
}

bool IsDark()
{
    if (!looked) LookForColours();
    return dark;
}

//---- Colours

static constexpr COLORREF Rgb(int red, int green, int blue) { return COLORREF(red | green << 8 | blue << 16); }

static COLORREF DarkColour(int index)
{
    switch (index) {
    case COLOR_WINDOW: return Rgb(32, 32, 32);
    case COLOR_WINDOWTEXT:
    case COLOR_BTNTEXT: return Rgb(240, 240, 240);
    case COLOR_BTNFACE: return Rgb(45, 45, 45);
    case COLOR_APPWORKSPACE: return Rgb(24, 24, 24);
    case COLOR_BTNSHADOW: return Rgb(96, 96, 96);
    case COLOR_GRAYTEXT: return Rgb(140, 140, 140);
    case COLOR_HIGHLIGHT: return Rgb(38, 93, 160);
    case COLOR_HIGHLIGHTTEXT: return Rgb(255, 255, 255);
    default: return GetSysColor(index);
    }
}

COLORREF Colour(int index) { return IsDark() ? DarkColour(index) : GetSysColor(index); }

HBRUSH ColourBrush(int index)
{
    if (!IsDark()) return GetSysColorBrush(index);
    static auto &brushes = *new std::map<int, HBRUSH>;
    HBRUSH &brush = brushes[index];
    if (!brush) brush = CreateSolidBrush(DarkColour(index));
    return brush;
}

//---- Windows

static LRESULT ColoursFor(HDC space, int background)
{
    SetTextColor(space, Colour(COLOR_WINDOWTEXT));
    SetBkColor(space, Colour(background));
    return reinterpret_cast<LRESULT>(ColourBrush(background));
}

bool TakeColourMessage(HWND window, UINT message, WPARAM word, LRESULT &result)
{
    if (!IsDark()) return false;
    const auto space = reinterpret_cast<HDC>(word);
    RECT area;
    switch (message) {
    case WM_ERASEBKGND:
        GetClientRect(window, &area);
        FillRect(space, &area, ColourBrush(COLOR_BTNFACE));
        result = TRUE;
        return true;
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN: result = ColoursFor(space, COLOR_BTNFACE); return true;
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX: result = ColoursFor(space, COLOR_WINDOW); return true;
    }
    return false;
}

// A frame with its text, since the system's own has that in black.
static void PaintFrame(HWND frame)
{
    PAINTSTRUCT paint;
    RECT area;
    char text[100] = "";
    const HDC space = BeginPaint(frame, &paint);
    const auto font = reinterpret_cast<HFONT>(SendMessageA(frame, WM_GETFONT, 0, 0));
    const HGDIOBJ before = SelectObject(space, font);
    GetClientRect(frame, &area);
    GetWindowTextA(frame, text, sizeof text);
    RECT place = {9, 0, 9, 0};
    DrawTextA(space, text, -1, &place, DT_SINGLELINE | DT_CALCRECT);
    area.top = place.bottom / 2;
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    SetTextColor(space, Colour(IsWindowEnabled(frame) ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    SetBkColor(space, Colour(COLOR_BTNFACE));
    const bool marks = (SendMessageA(frame, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) == 0;
    if (text[0]) DrawTextA(space, text, -1, &place, DT_SINGLELINE | (marks ? 0 : DT_HIDEPREFIX));
    SelectObject(space, before);
    EndPaint(frame, &paint);
}

static LRESULT CALLBACK FrameProcedure(HWND frame, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR)
{
    if (!IsDark()) return DefSubclassProc(frame, message, word, extra);
    if (message == WM_PAINT) return PaintFrame(frame), 0;
    const LRESULT result = DefSubclassProc(frame, message, word, extra);
    if (message == WM_SETTEXT || message == WM_ENABLE) InvalidateRect(frame, nullptr, TRUE);   // it has drawn at once
    return result;
}

// Buttons that are pushed have a light face of their own; the others are a mark and a text on the dialog's ground.
static BOOL CALLBACK DressControl(HWND control, LPARAM)
{
    char name[16] = "";
    GetClassNameA(control, name, sizeof name);
    if (lstrcmpiA(name, "BUTTON") != 0) return TRUE;
    const LONG kind = GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK;
    if (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON) return TRUE;
    if (kind == BS_GROUPBOX) SetWindowSubclass(control, FrameProcedure, 1, 0);   // once, however often it is asked for
    if (IsDark()) SetWindowTheme(control, L"", L"");
    else SetWindowTheme(control, nullptr, nullptr);
    return TRUE;
}

void DressControls(HWND window)
{
    static bool everDark;
    everDark = everDark || IsDark();
    if (everDark) EnumChildWindows(window, DressControl, 0);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}
