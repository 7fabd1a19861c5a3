// See colours.h. Nothing is asked of the system that it does not document: the setting is the one that its own pages tell
// programs to read, and buttons whose texts would stay black are left without the visual style.

#include "host/editor/colours.h"

#include "host/editor/dark_controls.h"

#include <uxtheme.h>

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
    case COLOR_BTNHIGHLIGHT: return Rgb(64, 64, 64);
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

// Without the visual style marks with a text have the dialog's ground. What has a face of its own is drawn by us.
static BOOL CALLBACK DressControl(HWND control, LPARAM)
{
    char name[16] = "";
    GetClassNameA(control, name, sizeof name);
    DressControlInDark(control);
    if (lstrcmpiA(name, "BUTTON") != 0) return TRUE;
    const LONG kind = GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK;
    if (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON) return TRUE;
    if (IsDark()) SetWindowTheme(control, L"", L"");
    else SetWindowTheme(control, nullptr, nullptr);
    return TRUE;
}

void DressCaption(HWND window)
{
    typedef HRESULT(WINAPI * SetAttribute)(HWND, DWORD, const void *, DWORD);
    static const auto setAttribute = reinterpret_cast<SetAttribute>(
        reinterpret_cast<void *>(GetProcAddress(LoadLibraryA("dwmapi.dll"), "DwmSetWindowAttribute")));
    constexpr DWORD DARK_CAPTION = 20;   // DWMWA_USE_IMMERSIVE_DARK_MODE, in headers for newer systems
    const BOOL wanted = IsDark();
    if (setAttribute) setAttribute(window, DARK_CAPTION, &wanted, sizeof wanted);
}

void DressControls(HWND window)
{
    static bool everDark;
    everDark = everDark || IsDark();
    if (everDark) EnumChildWindows(window, DressControl, 0);
    if (everDark) DressCaption(window);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}
