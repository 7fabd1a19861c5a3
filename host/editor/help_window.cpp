// The help window: the effects in a list, and beside it the page of the chosen one, its pictures above its text. The
// pictures are those of docs/effects, which the program carries within itself under their files' names.

#include "host/editor/help_window.h"

#include "host/editor/beside.h"
#include "host/editor/colours.h"
#include "host/editor/help_text.h"
#include "host/editor/screen.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <richedit.h>
#include <windowsx.h>

static constexpr char HELP_CLASS[] = "VelmorantHelp", PICTURES_CLASS[] = "VelmorantHelpPictures";
static constexpr char HELP_TITLE[] = "Velmorant Help";
enum { EFFECT_LIST = 1, EFFECT_PICTURES, EFFECT_TEXT };
// Pixels at 96 dots per inch: around the page and within it; the window.
static constexpr int MARGIN = 10, INDENT = 16, WANTED_WIDTH = 720, WANTED_HEIGHT = 720, LEAST_WIDTH = 360;

// Where the two pictures stand in their window, each with its text beneath.
struct Gallery {
    RECT before, after, beforeText, afterText;
    LONG height;
};

struct HelpWindow {
    HWND window = nullptr, list = nullptr, pictures = nullptr, text = nullptr;
    HWND focus = nullptr;   // which of them has the keyboard when the window is active
    HFONT font = nullptr;
    const DialogTemplate *effect = nullptr;   // whose page it shows
    Picture before, after;
    std::string afterText;   // beneath the second picture
    Gallery gallery = {};
    RECT page = {};   // pictures and text
};

// There is at most one.
static HelpWindow help;
// Where it was on each screen when it was closed or had to go elsewhere.
static std::map<HMONITOR, RECT> &LastPlaces()
{
    static auto &places = *new std::map<HMONITOR, RECT>;
    return places;
}

static HMONITOR ScreenOf(HWND window) { return MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST); }

static int Scaled(int length) { return MulDiv(length, int(DotsPerInch(help.window)), 96); }

//---- The page's text

// Sizes in half points, distances in twentieths of a point.
struct ParagraphLook {
    int size, above, below, hanging;
    bool bold;
};

static ParagraphLook LookOf(HelpKind kind)
{
    switch (kind) {
    case HelpKind::TITLE: return {36, 60, 40, 0, true};
    case HelpKind::SUMMARY: return {24, 0, 160, 0, false};
    case HelpKind::HEADING: return {24, 240, 80, 0, true};
    case HelpKind::TERM: return {20, 0, 60, 240, false};
    default: return {20, 0, 80, 0, false};
    }
}

static std::string Escaped(const std::string &text)
{
    std::string escaped;
    for (const char letter : text) {
        if (strchr("\\{}", letter)) escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

// The control counts in the screen's dots per inch, which need not be the window's.
static std::string RtfOf(const HelpParagraph &paragraph)
{
    const ParagraphLook look = LookOf(paragraph.kind);
    const auto scaled = [](int length) { return MulDiv(length, int(DotsPerInch(help.window)), ScreenDotsPerInch()); };
    const int indent = scaled(INDENT * 15);
    char start[160];
    snprintf(start, sizeof start, "\\pard\\li%d\\fi-%d\\ri%d\\sb%d\\sa%d\\f0\\fs%d%s ", indent + scaled(look.hanging),
             scaled(look.hanging), indent, scaled(look.above), scaled(look.below), scaled(look.size),
             look.bold ? "\\b" : "\\b0");
    const std::string text = Escaped(paragraph.text);
    if (paragraph.kind != HelpKind::TERM) return start + text;
    return start + ("{\\b " + text + ":} ") + Escaped(paragraph.meaning);
}

static void ShowText()
{
    const COLORREF colour = Colour(COLOR_WINDOWTEXT);
    char table[80];
    snprintf(table, sizeof table, "{\\colortbl;\\red%d\\green%d\\blue%d;}\\cf1 ", GetRValue(colour), GetGValue(colour),
             GetBValue(colour));
    std::string text = "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fswiss Segoe UI;}}" + std::string(table);
    const std::vector<HelpParagraph> page = HelpPage(*help.effect);
    for (size_t i = 0; i < page.size(); ++i) text += (i ? "\\par" : "") + RtfOf(page[i]);
    text += "}";
    SendMessageA(help.text, EM_SETBKGNDCOLOR, 0, LPARAM(Colour(COLOR_WINDOW)));
    SETTEXTEX way = {ST_DEFAULT, CP_ACP};
    SendMessageA(help.text, EM_SETTEXTEX, reinterpret_cast<WPARAM>(&way), reinterpret_cast<LPARAM>(text.c_str()));
    SendMessageA(help.text, EM_SETSEL, 0, 0);
    SendMessageA(help.text, WM_VSCROLL, SB_TOP, 0);
}

//---- Its pictures

static Picture CarriedPicture(const char *name)
{
    Picture picture;
    const HRSRC place = FindResourceA(nullptr, name, RT_RCDATA);
    const HGLOBAL loaded = place ? LoadResource(nullptr, place) : nullptr;
    const auto *bytes = static_cast<const uint8_t *>(loaded ? LockResource(loaded) : nullptr);
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    if (bytes) ReadPictureBytes({bytes, SizeofResource(nullptr, place)}, picture, format, notices, error);
    return picture;
}

static LONG TextHeight(HDC space, const std::string &text, RECT &place)
{
    DrawTextA(space, text.c_str(), -1, &place, DT_WORDBREAK | DT_NOPREFIX | DT_CALCRECT);
    return place.bottom - place.top;
}

// As large as the room allows, but no larger than they are, and the pictures no higher than `height`.
static Gallery LayOutGallery(HDC space, LONG width, LONG height)
{
    const LONG indent = Scaled(INDENT), room = std::max<LONG>(1, width - 3 * indent);
    const Picture &before = help.before, &after = help.after;
    const int32_t highest = std::max({before.height, after.height, 1}), both = std::max(1, before.width + after.width);
    const double scale = std::min({DotsPerInch(help.window) / 96.0, double(room) / both, double(height) / highest});
    const auto shown = [=](int32_t length) { return LONG(length * scale + 0.5); };
    Gallery gallery = {};
    gallery.before = {indent, indent, indent + shown(before.width), indent + shown(before.height)};
    const LONG left = gallery.before.right + indent;
    gallery.after = {left, indent, left + shown(after.width), indent + shown(after.height)};
    const LONG textTop = indent + shown(highest) + indent / 4;
    gallery.beforeText = {indent, textTop, gallery.before.right, textTop};
    gallery.afterText = {left, textTop, width - indent, textTop};
    gallery.height = textTop + std::max(TextHeight(space, "Before", gallery.beforeText),
                                        TextHeight(space, help.afterText, gallery.afterText));
    return gallery;
}

// A picture's rows lie as the system wants them.
static void DrawPicture(HDC space, const Picture &picture, const RECT &place)
{
    if (!picture.pixels || picture.bitsPerPixel != 24) return;
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, picture.width, -picture.height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    StretchDIBits(space, place.left, place.top, place.right - place.left, place.bottom - place.top, 0, 0, picture.width,
                  picture.height, picture.pixels.get(), &info, DIB_RGB_COLORS, SRCCOPY);
}

static void DrawGallery(HWND window, HDC space)
{
    RECT area;
    GetClientRect(window, &area);
    FillRect(space, &area, ColourBrush(COLOR_WINDOW));
    SelectObject(space, help.font);
    SetBkMode(space, TRANSPARENT);
    SetTextColor(space, Colour(COLOR_WINDOWTEXT));
    SetStretchBltMode(space, HALFTONE);
    SetBrushOrgEx(space, 0, 0, nullptr);
    Gallery gallery = help.gallery;
    DrawPicture(space, help.before, gallery.before);
    DrawPicture(space, help.after, gallery.after);
    DrawTextA(space, "Before", -1, &gallery.beforeText, DT_WORDBREAK | DT_NOPREFIX);
    DrawTextA(space, help.afterText.c_str(), -1, &gallery.afterText, DT_WORDBREAK | DT_NOPREFIX);
}

static LRESULT CALLBACK PicturesProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_ERASEBKGND) return TRUE;
    if (message != WM_PAINT) return DefWindowProcA(window, message, word, extra);
    PAINTSTRUCT paint;
    DrawGallery(window, BeginPaint(window, &paint));
    EndPaint(window, &paint);
    return 0;
}

//---- The window

static void Place(HWND window, const RECT &place)
{
    MoveWindow(window, place.left, place.top, place.right - place.left, place.bottom - place.top, TRUE);
}

static void LayOut()
{
    constexpr int LIST_WIDTH = 150;
    RECT area;
    GetClientRect(help.window, &area);
    const int margin = Scaled(MARGIN), right = margin + Scaled(LIST_WIDTH);
    Place(help.list, {margin, margin, right, area.bottom - margin});
    help.page = {right + margin, margin, area.right - margin, area.bottom - margin};
    const RECT &page = help.page;

    const HDC space = GetDC(help.pictures);
    const HGDIOBJ before = SelectObject(space, help.font);
    help.gallery = LayOutGallery(space, page.right - page.left, (page.bottom - page.top) * 2 / 5);
    SelectObject(space, before);
    ReleaseDC(help.pictures, space);

    const LONG textTop = std::min(page.bottom, page.top + help.gallery.height + Scaled(8));
    Place(help.pictures, {page.left, page.top, page.right, textTop - 1});   // a line stays between the two
    Place(help.text, {page.left, textTop, page.right, page.bottom});
    InvalidateRect(help.window, nullptr, TRUE);
    InvalidateRect(help.pictures, nullptr, FALSE);
}

static void ShowPage(const DialogTemplate &effect)
{
    if (help.effect == &effect) return;
    help.effect = &effect;
    help.after = CarriedPicture(effect.effect);
    help.afterText = "After: " + ExampleText(effect);
    SetWindowTextA(help.pictures, ("Before and after: " + ExampleText(effect)).c_str());
    const auto name = reinterpret_cast<LPARAM>(effect.title);
    SendMessageA(help.list, LB_SETCURSEL, WPARAM(SendMessageA(help.list, LB_FINDSTRINGEXACT, WPARAM(-1), name)), 0);
    ShowText();
    LayOut();
}

static void OnListChanges()
{
    const LRESULT chosen = SendMessageA(help.list, LB_GETCURSEL, 0, 0);
    if (chosen < 0) return;
    ShowPage(*reinterpret_cast<const DialogTemplate *>(SendMessageA(help.list, LB_GETITEMDATA, WPARAM(chosen), 0)));
}

static void UseFont()
{
    NONCLIENTMETRICSA metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const HFONT before = help.font;
    help.font = FontFor(help.window, metrics.lfMessageFont);
    SendMessageA(help.list, WM_SETFONT, reinterpret_cast<WPARAM>(help.font), TRUE);
    LOGFONTA made = {};
    GetObjectA(help.font, sizeof made, &made);
    SendMessageA(help.list, LB_SETITEMHEIGHT, 0, std::abs(made.lfHeight) * 3 / 2);
    if (before) DeleteObject(before);
}

// Around the list and around the page; stronger where the keyboard is.
static void DrawFrames(HDC space)
{
    RECT list;
    GetWindowRect(help.list, &list);
    MapWindowPoints(nullptr, help.window, reinterpret_cast<POINT *>(&list), 2);
    for (const bool ofList : {true, false}) {
        RECT frame = ofList ? list : help.page;
        const bool focused = GetFocus() == (ofList ? help.list : help.text);
        for (int i = 0; i < (focused ? 2 : 1); ++i) {
            InflateRect(&frame, 1, 1);
            FrameRect(space, &frame, ColourBrush(focused ? COLOR_HIGHLIGHT : COLOR_BTNSHADOW));
        }
    }
}

static void OnPaint()
{
    PAINTSTRUCT paint;
    DrawFrames(BeginPaint(help.window, &paint));
    EndPaint(help.window, &paint);
}

static void OnCommand(WPARAM word)
{
    const int control = LOWORD(word), code = HIWORD(word);
    if (control == EFFECT_LIST && code == LBN_SELCHANGE) return OnListChanges();
    const bool focus = control == EFFECT_LIST ? code == LBN_SETFOCUS || code == LBN_KILLFOCUS
                                              : code == EN_SETFOCUS || code == EN_KILLFOCUS;
    if (focus) InvalidateRect(help.window, nullptr, TRUE);
}

static void OnDotsChanged(const RECT &place)
{
    UseFont();
    ShowText();
    SetWindowPos(help.window, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    LayOut();
}

static void RememberPlace()
{
    if (!IsIconic(help.window) && !IsZoomed(help.window))
        GetWindowRect(help.window, &LastPlaces()[ScreenOf(help.window)]);
}

static LRESULT CALLBACK HelpProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (!help.window || window != help.window) return DefWindowProcA(window, message, word, extra);
    LRESULT colours = 0;
    if (TakeColourMessage(window, message, word, colours)) return colours;
    switch (message) {
    case WM_SIZE:
        if (word != SIZE_MINIMIZED) LayOut();
        return 0;
    case WM_PAINT: OnPaint(); return 0;
    case WM_COMMAND: OnCommand(word); return 0;
    case WM_ACTIVATE:
        if (LOWORD(word) == WA_INACTIVE && IsChild(window, GetFocus())) help.focus = GetFocus();
        break;
    case WM_SETFOCUS: SetFocus(help.focus); return 0;
    case WM_GETMINMAXINFO:
        reinterpret_cast<MINMAXINFO *>(extra)->ptMinTrackSize = {Scaled(LEAST_WIDTH), Scaled(300)};
        return 0;
    case WM_DPICHANGED: OnDotsChanged(*reinterpret_cast<const RECT *>(extra)); return 0;
    case WM_DESTROY:
        RememberPlace();
        DeleteObject(help.font);
        help = {};
        return 0;
    }
    return DefWindowProcA(window, message, word, extra);
}

//---- Opening and closing

// Changes nothing from the second time on.
static void RegisterHelp()
{
    WNDCLASSEXA made = {};
    made.cbSize = sizeof made;
    made.lpfnWndProc = HelpProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hIcon = LoadIcon(made.hInstance, MAKEINTRESOURCE(1));
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    made.lpszClassName = HELP_CLASS;
    RegisterClassExA(&made);
    made.lpfnWndProc = PicturesProcedure;
    made.hbrBackground = nullptr;
    made.lpszClassName = PICTURES_CLASS;
    RegisterClassExA(&made);
    LoadLibraryA("riched20.dll");
}

static HWND MakeChild(const char *windowClass, DWORD style, int id)
{
    return CreateWindowExA(0, windowClass, "", WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, help.window,
                           reinterpret_cast<HMENU>(INT_PTR(id)), GetModuleHandleA(nullptr), nullptr);
}

static void FillList()
{
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate *dialog = DialogTemplateAt(i);
        if (!dialog->effect) continue;
        const LRESULT at = SendMessageA(help.list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(dialog->title));
        SendMessageA(help.list, LB_SETITEMDATA, WPARAM(at), reinterpret_cast<LPARAM>(dialog));
    }
}

static RECT FreeScreen(HWND window)
{
    MONITORINFO screen = {};
    screen.cbSize = sizeof screen;
    GetMonitorInfoA(ScreenOf(window), &screen);
    return screen.rcWork;
}

// The dialog that a person asks from, else null.
static HWND AskingDialog()
{
    const HWND active = GetActiveWindow();
    return HostDialogTemplate(active) ? active : nullptr;
}

static bool Hides(HWND dialog, const RECT &place)
{
    RECT asked;
    return dialog && GetWindowRect(dialog, &asked) && Overlap(asked, place);
}

// Where it was on this screen, else at the right; beside the dialog that it explains, which goes aside where it must.
static RECT PlaceFor(HWND frame, HWND dialog)
{
    const HWND asks = dialog ? dialog : frame;
    const RECT work = FreeScreen(asks);
    const int dots = int(DotsPerInch(frame));
    const Extent wanted = {MulDiv(WANTED_WIDTH, dots, 96), MulDiv(WANTED_HEIGHT, dots, 96)};
    const auto known = LastPlaces().find(ScreenOf(asks));
    if (known != LastPlaces().end() && !Hides(dialog, known->second)) return known->second;
    RECT place = {work.right, work.top, work.right, work.bottom};   // of no width: all of the screen is free
    if (dialog) GetWindowRect(dialog, &place);
    else place.left = place.right = work.left;
    const Beside beside = PlaceBeside(place, work, wanted, MulDiv(LEAST_WIDTH, dots, 96));
    if (dialog && (beside.other.x != place.left || beside.other.y != place.top))
        SetWindowPos(dialog, nullptr, beside.other.x, beside.other.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    return beside.place;
}

static void GoAsideFrom(HWND frame, HWND dialog)
{
    RECT place;
    GetWindowRect(help.window, &place);
    if (IsIconic(help.window) || IsZoomed(help.window) || !Hides(dialog, place)) return;
    place = PlaceFor(frame, dialog);
    SetWindowPos(help.window, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

static void MakeHelp(HWND frame, HWND dialog)
{
    const RECT place = PlaceFor(frame, dialog);
    RegisterHelp();
    help.window = CreateWindowExA(0, HELP_CLASS, HELP_TITLE, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, place.left,
                                  place.top, place.right - place.left, place.bottom - place.top, nullptr, nullptr,
                                  GetModuleHandleA(nullptr), nullptr);
    help.list = MakeChild("LISTBOX", WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT, EFFECT_LIST);
    help.pictures = MakeChild(PICTURES_CLASS, 0, EFFECT_PICTURES);
    help.text = MakeChild(RICHEDIT_CLASSA, WS_VSCROLL | ES_MULTILINE | ES_READONLY, EFFECT_TEXT);
    help.before = CarriedPicture("before");
    UseFont();
    FillList();
}

// A person who asks about an effect wants to read, any other to choose.
void ShowHelp(const Editor &editor, const DialogTemplate *effect)
{
    if (editor.quitting || editor.ended) return;
    const bool isNew = !help.window;
    const HWND dialog = AskingDialog();
    if (isNew) MakeHelp(editor.frame, dialog);
    else GoAsideFrom(editor.frame, dialog);
    if (effect || isNew) ShowPage(effect ? *effect : *DialogTemplateAt(0));
    if (isNew) ShowWindow(help.window, SW_SHOW);
    if (IsIconic(help.window)) ShowWindow(help.window, SW_RESTORE);
    HostBringForward(help.window);
    SetFocus(effect ? help.text : help.list);
}

void DressHelp()
{
    if (!help.window) return;
    ShowText();
    RedrawWindow(help.window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void CloseHelp()
{
    if (help.window) DestroyWindow(help.window);
}

bool IsHelp(HWND window) { return window && window == help.window; }

//---- Keys and the wheel

static bool TakeHelpKey(WPARAM key)
{
    const bool control = GetKeyState(VK_CONTROL) < 0;
    if (key == VK_ESCAPE || (key == 'W' && control)) CloseHelp();
    else if (key == VK_TAB && !control) SetFocus(GetFocus() == help.list ? help.text : help.list);
    else return false;
    return true;
}

// The wheel turns the text unless the pointer is on the list, wherever the keyboard is.
static bool TakeWheel(HWND window, WPARAM word, LPARAM extra)
{
    const HWND under = WindowFromPoint({GET_X_LPARAM(extra), GET_Y_LPARAM(extra)});
    const HWND turned = under == help.list ? help.list : help.text;
    if (window != turned) SendMessageA(turned, WM_MOUSEWHEEL, word, extra);
    return window != turned;
}

bool TakeHelpMessage(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (!help.window || (window != help.window && !IsChild(help.window, window))) return false;
    if (message == WM_KEYDOWN) return TakeHelpKey(word);
    return message == WM_MOUSEWHEEL && TakeWheel(window, word, extra);
}
