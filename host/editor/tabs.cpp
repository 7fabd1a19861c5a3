// See tabs.h. Each tab is a window with its picture's title as its text, so that what reads windows aloud reads tabs too;
// none takes the keyboard. They are drawn here, since the system's own are light in dark colours.

#include "host/editor/tabs.h"

#include "host/editor/colours.h"
#include "host/editor/screen.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <commctrl.h>
#include <utility>

static constexpr char ROW_CLASS[] = "VelmorantTabs", TAB_CLASS[] = "VelmorantTab";

// At 96 dots per inch.
static constexpr int HEIGHT = 24, PADDING = 8, CROSS = 16, NARROWEST = 64, WIDEST = 220;

static HFONT font;
static HWND tips;
static struct {
    HWND tab;
    bool onCross, pressed;
} under;   // the mouse

static int Scaled(HWND window, int length) { return MulDiv(length, int(DotsPerInch(window)), 96); }

static PictureWindow *PictureOf(HWND tab)
{
    return reinterpret_cast<PictureWindow *>(GetWindowLongPtrA(tab, GWLP_USERDATA));
}

//---- Drawing

static RECT CrossIn(HWND tab)
{
    const Extent size = SizeOf(tab);
    const int side = Scaled(tab, CROSS), right = size.width - Scaled(tab, PADDING) / 2, top = (size.height - side) / 2;
    return {right - side, top, right, top + side};
}

static void DrawCross(HDC space, HWND tab, bool active)
{
    RECT area = CrossIn(tab);
    const bool lit = under.tab == tab && under.onCross;
    if (lit) FillRect(space, &area, ColourBrush(COLOR_HIGHLIGHT));
    const int colour = lit ? COLOR_HIGHLIGHTTEXT : active ? COLOR_WINDOWTEXT : COLOR_BTNTEXT;
    const HPEN pen = CreatePen(PS_SOLID, Scaled(tab, 1), Colour(colour));
    const HGDIOBJ before = SelectObject(space, pen);
    InflateRect(&area, -Scaled(tab, 5), -Scaled(tab, 5));
    MoveToEx(space, area.left, area.top, nullptr);
    LineTo(space, area.right, area.bottom);
    MoveToEx(space, area.left, area.bottom - 1, nullptr);
    LineTo(space, area.right, area.top - 1);
    SelectObject(space, before);
    DeleteObject(pen);
}

// A name that is too long ends in dots, and its star is seen all the same.
static void DrawTitle(HDC space, HWND tab, const PictureWindow &picture)
{
    const bool starred = picture.title != picture.name;
    RECT star = {0, 0, 0, 0}, area;
    GetClientRect(tab, &area);
    area.left += Scaled(tab, PADDING);
    area.right = CrossIn(tab).left - Scaled(tab, PADDING) / 2;
    if (starred) DrawTextW(space, L" *", -1, &star, DT_SINGLELINE | DT_CALCRECT);
    RECT name = area, wanted = area;
    name.right -= star.right;
    const std::wstring text = WideOf(picture.name);
    const UINT style = DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX;
    DrawTextW(space, text.c_str(), -1, &wanted, style | DT_CALCRECT);
    DrawTextW(space, text.c_str(), -1, &name, style | DT_END_ELLIPSIS);
    area.left = std::min(wanted.right, name.right);
    if (starred) DrawTextW(space, L" *", -1, &area, style);
}

static void Paint(HWND tab, const PictureWindow &picture)
{
    PAINTSTRUCT paint;
    RECT area;
    const HDC space = BeginPaint(tab, &paint);
    GetClientRect(tab, &area);
    const bool active = ActivePicture(*picture.editor) == &picture;
    FillRect(space, &area, ColourBrush(active ? COLOR_WINDOW : COLOR_BTNFACE));
    const HGDIOBJ before = SelectObject(space, font);
    SetBkMode(space, TRANSPARENT);
    SetTextColor(space, Colour(active ? COLOR_WINDOWTEXT : COLOR_BTNTEXT));
    DrawTitle(space, tab, picture);
    DrawCross(space, tab, active);
    SelectObject(space, before);
    RECT line = area;
    line.left = line.right - 1;
    FillRect(space, &line, ColourBrush(COLOR_BTNSHADOW));
    line = area;
    line.bottom = Scaled(tab, 2);
    if (active) FillRect(space, &line, ColourBrush(COLOR_HIGHLIGHT));
    EndPaint(tab, &paint);
}

//---- The mouse

static void OnMove(HWND tab, LPARAM at)
{
    const RECT cross = CrossIn(tab);
    const bool onCross = PtInRect(&cross, {short(LOWORD(at)), short(HIWORD(at))});
    if (under.tab == tab && under.onCross == onCross) return;
    under = {tab, onCross, under.tab == tab && under.pressed};
    TRACKMOUSEEVENT track = {sizeof track, TME_LEAVE, tab, 0};
    TrackMouseEvent(&track);
    InvalidateRect(tab, nullptr, FALSE);
}

static void OnLeave(HWND tab)
{
    if (under.tab == tab) under = {};
    InvalidateRect(tab, nullptr, FALSE);
}

static void OnPress(HWND tab, const PictureWindow &picture, LPARAM at)
{
    OnMove(tab, at);
    under.pressed = under.onCross;
    if (!under.pressed)
        SendMessageA(picture.editor->client, WM_MDIACTIVATE, reinterpret_cast<WPARAM>(picture.window), 0);
}

// It closes as from its own frame, which asks what is to be asked.
static void Close(const PictureWindow &picture) { PostMessageA(picture.window, WM_CLOSE, 0, 0); }

static LRESULT CALLBACK TabProcedure(HWND tab, UINT message, WPARAM word, LPARAM extra)
{
    const PictureWindow *picture = PictureOf(tab);
    if (!picture) return DefWindowProcA(tab, message, word, extra);
    switch (message) {
    case WM_PAINT: Paint(tab, *picture); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_MOUSEMOVE: OnMove(tab, extra); return 0;
    case WM_MOUSELEAVE: OnLeave(tab); return 0;
    case WM_LBUTTONDOWN: OnPress(tab, *picture, extra); return 0;
    case WM_LBUTTONUP:
        OnMove(tab, extra);
        if (under.pressed && under.onCross) Close(*picture);
        under.pressed = false;
        return 0;
    case WM_MBUTTONUP: Close(*picture); return 0;
    }
    return DefWindowProcA(tab, message, word, extra);
}

//---- The row

// Where its file is: names alone may be alike.
static void TellTip(NMTTDISPINFOA &asked)
{
    static std::string shown;
    const PictureWindow *picture = PictureOf(reinterpret_cast<HWND>(asked.hdr.idFrom));
    if (!picture) return;
    shown = picture->file.empty() ? picture->name + ": has no file yet" : picture->file;
    asked.lpszText = shown.data();
}

static LRESULT CALLBACK RowProcedure(HWND row, UINT message, WPARAM word, LPARAM extra)
{
    RECT area;
    switch (message) {
    case WM_ERASEBKGND:
        GetClientRect(row, &area);
        FillRect(reinterpret_cast<HDC>(word), &area, ColourBrush(COLOR_BTNFACE));
        return 1;
    case WM_NOTIFY:
        if (reinterpret_cast<const NMHDR *>(extra)->code == TTN_GETDISPINFOA)
            TellTip(*reinterpret_cast<NMTTDISPINFOA *>(extra));
        return 0;
    }
    return DefWindowProcA(row, message, word, extra);
}

static void Register(const char *name, WNDPROC procedure)
{
    WNDCLASSA made = {};
    made.lpfnWndProc = procedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.lpszClassName = name;
    RegisterClassA(&made);
}

void UseTabsFont(const Editor &editor)
{
    NONCLIENTMETRICSA metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const HFONT before = font;
    font = FontFor(editor.frame, metrics.lfMenuFont);
    if (before) DeleteObject(before);
}

void MakeTabs(Editor &editor)
{
    Register(ROW_CLASS, RowProcedure);
    Register(TAB_CLASS, TabProcedure);
    UseTabsFont(editor);
    editor.tabs = CreateWindowExA(0, ROW_CLASS, "", WS_CHILD | WS_CLIPCHILDREN, 0, 0, 0, 0, editor.frame, nullptr,
                                  GetModuleHandleA(nullptr), nullptr);
    tips = CreateWindowExA(WS_EX_TOPMOST, TOOLTIPS_CLASSA, "", WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP, 0, 0, 0, 0,
                           editor.frame, nullptr, GetModuleHandleA(nullptr), nullptr);
}

static bool IsShown(const Editor &editor)
{
    return editor.tabs && (GetWindowLongA(editor.tabs, GWL_STYLE) & WS_VISIBLE);
}

int TabsHeight(const Editor &editor) { return IsShown(editor) ? Scaled(editor.frame, HEIGHT) : 0; }

static int WidthOfTitle(HWND tab, const PictureWindow &picture)
{
    RECT text = {0, 0, 0, 0};
    const HDC space = GetDC(tab);
    const HGDIOBJ before = SelectObject(space, font);
    DrawTextW(space, WideOf(picture.name + " *").c_str(), -1, &text, DT_SINGLELINE | DT_NOPREFIX | DT_CALCRECT);
    SelectObject(space, before);
    ReleaseDC(tab, space);
    const int width = text.right + 2 * Scaled(tab, PADDING) + Scaled(tab, CROSS);
    return std::clamp(width, Scaled(tab, NARROWEST), Scaled(tab, WIDEST));
}

// As wide as the titles, or, where that is too much, narrower and at last moved aside so far that the active one is seen.
void LayOutTabs(const Editor &editor, int top)
{
    if (!editor.tabs) return;
    const int room = SizeOf(editor.frame).width, height = TabsHeight(editor);
    MoveWindow(editor.tabs, 0, top, room, height, TRUE);
    if (height == 0 || editor.pictures.empty()) return;
    std::vector<int> widths;
    int sum = 0;
    for (const auto &picture : editor.pictures) {
        widths.push_back(picture->tab ? WidthOfTitle(picture->tab, *picture) : 0);
        sum += widths.back();
    }
    const int most = std::max(Scaled(editor.frame, NARROWEST), room / int(widths.size()));
    if (sum > room)
        for (int &width : widths) width = std::min(width, most);
    int left = 0, shift = 0;
    for (size_t i = 0; i < widths.size(); left += widths[i++])
        if (editor.pictures[i].get() == ActivePicture(editor)) shift = std::max(0, left + widths[i] - room);
    left = -shift;
    for (size_t i = 0; i < widths.size(); left += widths[i++]) {
        const HWND tab = editor.pictures[i]->tab;
        const RECT place = {left, 0, left + widths[i], height};
        RECT before;
        GetWindowRect(tab, &before);
        MapWindowPoints(nullptr, editor.tabs, reinterpret_cast<POINT *>(&before), 2);
        if (!EqualRect(&before, &place)) MoveWindow(tab, left, 0, widths[i], height, TRUE);
    }
}

static void MakeTab(const Editor &editor, PictureWindow &picture)
{
    picture.tab = CreateWindowExA(0, TAB_CLASS, "", WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, editor.tabs, nullptr,
                                  GetModuleHandleA(nullptr), nullptr);
    SetWindowLongPtrA(picture.tab, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&picture));
    TOOLINFOA tool = {};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = editor.tabs;
    tool.uId = reinterpret_cast<UINT_PTR>(picture.tab);
    tool.lpszText = LPSTR_TEXTCALLBACKA;
    SendMessageA(tips, TTM_ADDTOOLA, 0, reinterpret_cast<LPARAM>(&tool));
}

static bool TakeTitle(HWND tab, const std::string &title)
{
    std::string shown(size_t(GetWindowTextLengthA(tab)), 0);
    GetWindowTextA(tab, shown.data(), int(shown.size()) + 1);
    if (shown == title) return false;
    SetWindowTextA(tab, title.c_str());
    return true;
}

static bool FillsWindow(const Editor &editor)
{
    BOOL large = FALSE;
    SendMessageA(editor.client, WM_MDIGETACTIVE, 0, reinterpret_cast<LPARAM>(&large));
    return large && !editor.pictures.empty();
}

void RefreshTabs(Editor &editor)
{
    if (!editor.tabs) return;
    static const PictureWindow *active;
    bool changed = std::exchange(active, ActivePicture(editor)) != active;
    for (HWND tab = GetWindow(editor.tabs, GW_CHILD), next = nullptr; tab; tab = next) {
        next = GetWindow(tab, GW_HWNDNEXT);
        const auto stays = [=](const auto &picture) { return picture->tab == tab; };
        if (std::any_of(editor.pictures.begin(), editor.pictures.end(), stays)) continue;
        SetWindowLongPtrA(tab, GWLP_USERDATA, 0);
        DestroyWindow(tab);
        changed = true;
    }
    for (const auto &picture : editor.pictures) {
        if (!picture->tab) MakeTab(editor, *picture);
        changed = TakeTitle(picture->tab, picture->title) || changed;
    }
    const bool shows = FillsWindow(editor);
    if (shows != IsShown(editor)) {
        ShowWindow(editor.tabs, shows ? SW_SHOWNA : SW_HIDE);
        SendMessageA(editor.frame, WM_SIZE, 0, 0);
    } else if (changed && shows) {
        RECT place;
        GetWindowRect(editor.tabs, &place);
        MapWindowPoints(nullptr, editor.frame, reinterpret_cast<POINT *>(&place), 2);
        LayOutTabs(editor, place.top);
    }
    if (changed) RedrawWindow(editor.tabs, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}
