// See dark_menus.h. What a program draws is mute to readers of the screen, unless its data begin as they look for it, and deaf
// to its letter, unless the program finds that: both are done here. What a row does and whether it is possible stays the
// menu's to know.

#include "host/editor/dark_menus.h"

#include "host/editor/colours.h"
#include "host/editor/screen.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <oleacc.h>
#include <string>
#include <vector>

struct DrawnRow {
    MSAAMENUINFO read = {};   // first, where readers of the screen look for it
    std::wstring label, key;
    bool inBar = false, separates = false, opens = false;
    UINT kind = 0;   // the menu's own for it
};

typedef std::vector<std::unique_ptr<DrawnRow>> DrawnRows;

static std::map<HMENU, DrawnRows> &DrawnMenus()
{
    static auto &menus = *new std::map<HMENU, DrawnRows>;
    return menus;
}

static const DrawnRow *RowOf(ULONG_PTR data)
{
    for (const auto &[menu, rows] : DrawnMenus())
        for (const auto &row : rows)
            if (reinterpret_cast<ULONG_PTR>(row.get()) == data) return row.get();
    return nullptr;
}

//---- What a menu has

static MENUITEMINFOW RowAt(HMENU menu, UINT at)
{
    MENUITEMINFOW item = {};
    item.cbSize = sizeof item;
    item.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_SUBMENU | MIIM_DATA;
    GetMenuItemInfoW(menu, at, TRUE, &item);
    return item;
}

static std::wstring TextAt(HMENU menu, UINT at)
{
    std::vector<wchar_t> text(1000);
    GetMenuStringW(menu, at, text.data(), int(text.size()), MF_BYPOSITION);
    return text.data();
}

static void UseKind(HMENU menu, UINT at, UINT kind, const DrawnRow *row)
{
    MENUITEMINFOW item = {};
    item.cbSize = sizeof item;
    item.fMask = MIIM_FTYPE | MIIM_DATA;
    item.fType = kind;
    item.dwItemData = reinterpret_cast<ULONG_PTR>(row);
    SetMenuItemInfoW(menu, at, TRUE, &item);
}

static void UseGround(HMENU menu, HBRUSH ground)
{
    MENUINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = MIM_BACKGROUND;
    info.hbrBack = ground;
    SetMenuInfo(menu, &info);
}

//---- From the menu to its rows

// `before` is what it was drawn as, with its texts where the menu itself no longer tells them.
static std::unique_ptr<DrawnRow> NewRow(const std::wstring &text, const MENUITEMINFOW &item, const DrawnRow *before,
                                        bool inBar)
{
    auto row = std::make_unique<DrawnRow>();
    const size_t tab = text.find(L'\t');
    row->label = text.substr(0, tab);
    row->key = tab == std::wstring::npos ? L"" : text.substr(tab + 1);
    if (text.empty() && before) row->label = before->label, row->key = before->key;
    row->inBar = inBar;
    row->separates = (item.fType & MFT_SEPARATOR) != 0;
    row->opens = item.hSubMenu != nullptr;
    row->kind = item.fType & ~UINT(MFT_OWNERDRAW);
    row->read = {DWORD(MSAA_MENU_SIG), DWORD(row->label.size()), row->label.data()};
    return row;
}

// What stands in the bar for a picture that fills the window is the system's.
static bool IsOurs(const MENUITEMINFOW &item) { return !(item.fType & MFT_BITMAP); }

static void Dress(HMENU menu, bool isBar)
{
    DrawnRows &rows = DrawnMenus()[menu], made;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        const MENUITEMINFOW item = RowAt(menu, UINT(i));
        const DrawnRow *before = item.fType & MFT_OWNERDRAW ? RowOf(item.dwItemData) : nullptr;
        if (!IsOurs(item)) continue;
        if (before && !IsDark()) UseKind(menu, UINT(i), before->kind, nullptr);
        if (!IsDark()) continue;
        made.push_back(NewRow(TextAt(menu, UINT(i)), item, before, isBar));
        UseKind(menu, UINT(i), made.back()->kind | MFT_OWNERDRAW, made.back().get());
    }
    rows = std::move(made);
    UseGround(menu, IsDark() ? ColourBrush(COLOR_BTNFACE) : nullptr);
    if (rows.empty()) DrawnMenus().erase(menu);
}

static bool everDark;

void DressMenu(HMENU menu)
{
    everDark = everDark || IsDark();
    if (everDark) Dress(menu, false);
}

void DressMenuBar(HWND window)
{
    everDark = everDark || IsDark();
    if (!everDark) return;
    Dress(GetMenu(window), true);
    DrawMenuBar(window);
}

//---- Drawing

static constexpr wchar_t CHECK[] = L"b", BULLET[] = L"h", ARROW[] = L"8";   // in Marlett

// Lengths of a row, in pixels.
struct RowMeasures {
    int mark, gap, arrow;
};

static RowMeasures MeasuresFor(HWND window)
{
    const int dots = int(DotsPerInch(window));
    return {MulDiv(22, dots, 96), MulDiv(20, dots, 96), MulDiv(16, dots, 96)};
}

struct MenuFont {
    HDC space;
    HFONT font;
    HGDIOBJ before;
    MenuFont(HWND window, HDC drawn, bool ofMarks) : space(drawn)
    {
        NONCLIENTMETRICSA metrics = {};
        metrics.cbSize = sizeof metrics;
        SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
        LOGFONTA wanted = metrics.lfMenuFont;
        if (ofMarks) {
            wanted = {};
            wanted.lfHeight = metrics.lfMenuFont.lfHeight * 5 / 4;
            wanted.lfCharSet = SYMBOL_CHARSET;
            lstrcpyA(wanted.lfFaceName, "Marlett");
        }
        font = FontFor(window, wanted);
        before = SelectObject(space, font);
    }
    MenuFont(const MenuFont &) = delete;
    MenuFont &operator=(const MenuFont &) = delete;
    ~MenuFont()
    {
        SelectObject(space, before);
        DeleteObject(font);
    }
};

static SIZE SizeOfText(HDC space, const std::wstring &text)
{
    RECT area = {};
    DrawTextW(space, text.c_str(), -1, &area, DT_SINGLELINE | DT_CALCRECT);
    return {area.right, area.bottom};
}

static void Measure(HWND window, MEASUREITEMSTRUCT &item, const DrawnRow &row)
{
    const HDC space = GetDC(window);
    {
        const MenuFont font(window, space, false);
        const RowMeasures measures = MeasuresFor(window);
        const SIZE label = SizeOfText(space, row.label.empty() ? L"A" : row.label);
        const LONG key = row.key.empty() ? 0 : measures.gap + SizeOfText(space, row.key).cx;
        item.itemWidth = UINT(row.inBar ? label.cx : measures.mark + label.cx + key + measures.arrow);
        item.itemHeight = UINT(row.separates ? label.cy / 2 : label.cy + label.cy / 2);
    }
    ReleaseDC(window, space);
}

static void DrawMark(HWND window, HDC space, RECT area, const wchar_t *mark)
{
    const MenuFont font(window, space, true);
    DrawTextW(space, mark, 1, &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
}

static int ColourOfRow(const DrawnRow &row, UINT state)
{
    if (state & (ODS_GRAYED | ODS_DISABLED)) return COLOR_GRAYTEXT;
    if (row.inBar && (state & ODS_INACTIVE)) return COLOR_GRAYTEXT;
    return state & ODS_SELECTED ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT;
}

static void DrawTexts(HWND window, const DRAWITEMSTRUCT &item, const DrawnRow &row)
{
    const MenuFont font(window, item.hDC, false);
    const RowMeasures measures = MeasuresFor(window);
    RECT area = item.rcItem;
    const UINT format = DT_VCENTER | DT_SINGLELINE | (item.itemState & ODS_NOACCEL ? DT_HIDEPREFIX : 0);
    if (!row.inBar) area.left += measures.mark;
    if (!row.inBar) area.right -= measures.arrow;
    DrawTextW(item.hDC, row.label.c_str(), -1, &area, format | (row.inBar ? DT_CENTER : DT_LEFT));
    if (!row.key.empty()) DrawTextW(item.hDC, row.key.c_str(), -1, &area, format | DT_RIGHT);
}

static void Draw(HWND window, const DRAWITEMSTRUCT &item, const DrawnRow &row)
{
    const HDC space = item.hDC;
    const RECT &area = item.rcItem;
    const RowMeasures measures = MeasuresFor(window);
    const bool chosen = (item.itemState & (ODS_SELECTED | ODS_HOTLIGHT)) && !row.separates;
    FillRect(space, &area, ColourBrush(chosen ? COLOR_HIGHLIGHT : COLOR_BTNFACE));
    if (row.separates) {
        const LONG middle = (area.top + area.bottom) / 2;
        const RECT line = {area.left + measures.mark, middle, area.right - 2, middle + 1};
        FillRect(space, &line, ColourBrush(COLOR_BTNSHADOW));
        return;
    }
    SetBkMode(space, TRANSPARENT);
    SetTextColor(space, Colour(ColourOfRow(row, item.itemState)));
    DrawTexts(window, item, row);
    if (item.itemState & ODS_CHECKED)
        DrawMark(window, space, {area.left, area.top, area.left + measures.mark, area.bottom},
                 row.kind & MFT_RADIOCHECK ? BULLET : CHECK);
    if (!row.opens || row.inBar) return;
    DrawMark(window, space, {area.right - measures.arrow, area.top, area.right, area.bottom}, ARROW);
    ExcludeClipRect(space, area.left, area.top, area.right, area.bottom);   // else the system's arrow comes over it
}

void PaintBarsRest(HWND window)
{
    if (!IsDark()) return;
    RECT place, inside, row;
    GetWindowRect(window, &place);
    GetClientRect(window, &inside);
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT *>(&inside), 2);
    const HMENU bar = GetMenu(window);
    if (IsIconic(window) || !GetMenuItemRect(window, bar, 0, &row)) return;
    const HDC space = GetWindowDC(window);
    const auto fill = [&](RECT part) {
        OffsetRect(&part, -place.left, -place.top);
        FillRect(space, &part, ColourBrush(COLOR_BTNFACE));
    };
    fill({inside.left, row.bottom, inside.right, inside.top});   // a line of the system's
    LONG done = inside.left;
    for (int i = 0; i < GetMenuItemCount(bar); ++i) {
        RECT next;
        if (!GetMenuItemRect(window, bar, UINT(i), &next) || next.bottom != row.bottom) continue;
        if (next.left > done) fill({done, row.top, next.left, row.bottom});
        done = std::max(done, next.right);
    }
    if (inside.right > done) fill({done, row.top, inside.right, row.bottom});
    ReleaseDC(window, space);
}

//---- Letters

static wchar_t Small(wchar_t letter)
{
    return wchar_t(reinterpret_cast<UINT_PTR>(CharLowerW(LPWSTR(UINT_PTR(letter)))));
}

static wchar_t LetterOf(const std::wstring &label)
{
    for (size_t i = 0; i + 1 < label.size(); ++i) {
        if (label[i] != L'&') continue;
        if (label[++i] != L'&') return Small(label[i]);
    }
    return 0;
}

// Where several have the letter, they are gone through.
static LRESULT RowOfLetter(HMENU menu, wchar_t letter)
{
    std::vector<int> found;
    size_t next = 0;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        const MENUITEMINFOW item = RowAt(menu, UINT(i));
        const DrawnRow *row = item.fType & MFT_OWNERDRAW ? RowOf(item.dwItemData) : nullptr;
        if (!row || LetterOf(row->label) != letter) continue;
        found.push_back(i);
        if (item.fState & MFS_HILITE) next = found.size();
    }
    if (found.empty()) return 0;
    return MAKELRESULT(found[next % found.size()], found.size() == 1 ? MNC_EXECUTE : MNC_SELECT);
}

bool TakeMenuMessage(HWND window, UINT message, WPARAM word, LPARAM extra, LRESULT &result)
{
    if (message == WM_MENUCHAR) {
        result = RowOfLetter(reinterpret_cast<HMENU>(extra), Small(wchar_t(LOWORD(word))));
        return result != 0;
    }
    if (message == WM_MEASUREITEM) {
        auto &item = *reinterpret_cast<MEASUREITEMSTRUCT *>(extra);
        const DrawnRow *row = item.CtlType == ODT_MENU ? RowOf(item.itemData) : nullptr;
        if (row) Measure(window, item, *row);
        return row && (result = TRUE);
    }
    if (message == WM_DRAWITEM) {
        const auto &item = *reinterpret_cast<const DRAWITEMSTRUCT *>(extra);
        const DrawnRow *row = item.CtlType == ODT_MENU ? RowOf(item.itemData) : nullptr;
        if (row) Draw(window, item, *row);
        return row && (result = TRUE);
    }
    return false;
}
