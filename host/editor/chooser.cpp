// The effects' chooser as the editor shows it: the picture, and of each effect what it makes of it. VLMMISC's dialog
// and its list box stay what they are; the list view that covers the box passes its selection on to it, so that OK
// and Enter choose what the box has selected. Nothing is selected there for an effect that the picture's type refuses.

#include "host/editor/chooser.h"

#include "host/editor/colours.h"
#include "host/editor/picture_drawing.h"
#include "host/editor/refusals.h"
#include "host/editor/screen.h"
#include "host/editor/thumbnail_process.h"
#include "interface/effect_table.h"

#include <algorithm>
#include <utility>

enum { EFFECT_LIST = 960, TELLING_LINE = 961 };
enum { ENTRIES = 1 + EFFECT_COUNT, COLUMNS = 7, ROWS = (ENTRIES + COLUMNS - 1) / COLUMNS };
static constexpr UINT THUMBNAILS_CAME = WM_APP + 1;
static constexpr UINT_PTR LOOK_TIMER = 1;
static constexpr UINT RETRY_WAIT = 15;     // milliseconds until a picture in other hands is looked at again
static constexpr UINT CHANGE_WAIT = 300;   // and until a picture that has changed is thought to have come to rest

struct ChooserEntry {
    std::string name, tells;
    bool available = true;
    Thumbnail thumbnail;   // empty: the dimmed original stands in its place
};

struct Chooser {
    Editor *editor = nullptr;
    HWND dialog = nullptr, list = nullptr, view = nullptr, line = nullptr;
    int dots = 96;          // per inch
    Extent room = {0, 0};   // of a thumbnail
    ChooserEntry entries[ENTRIES];
    Thumbnail dimmed;
    const ImageRecord *image = nullptr;   // whose picture is shown
    uint64_t state = 0;                   // MiscStateNumber of what is shown
    bool beforeRun = false;               // it is the picture that a run has begun with
    std::shared_ptr<ThumbnailWork> work;
};

// There is never more than one.
static std::unique_ptr<Chooser> theChooser;

static HFONT FontOf(HWND window) { return reinterpret_cast<HFONT>(SendMessageA(window, WM_GETFONT, 0, 0)); }

static int Scaled(const Chooser &chooser, int length) { return MulDiv(length, chooser.dots, 96); }

//---- The selection

static int SelectedEntry(const Chooser &chooser) { return ListView_GetNextItem(chooser.view, -1, LVNI_SELECTED); }

// Why an effect cannot be chosen, and what helps.
static std::string WhyFaded(const Chooser &chooser, int entry)
{
    const ImageRecord *image = chooser.editor->host.context.activeImage;
    const Refusal refusal =
        image ? RefusalOf(*DialogTemplateAt(entry - 1), image->colourType, image->maskEditing) : Refusal{};
    return refusal.why.empty() ? chooser.entries[entry].name + " is not available for this picture"
                               : refusal.why + ": " + refusal.helps;
}

static void PassSelectionOn(const Chooser &chooser)
{
    const int selected = SelectedEntry(chooser);
    const bool available = selected >= 0 && chooser.entries[selected].available;
    std::string tells;
    if (available) tells = chooser.entries[selected].tells;
    else if (selected >= 0) tells = WhyFaded(chooser, selected);
    SendMessageA(chooser.list, LB_SETCURSEL, WPARAM(available ? selected : -1), 0);
    EnableWindow(GetDlgItem(chooser.dialog, IDOK), available);
    if (!tells.empty()) tells[0] = char(toupper(tells[0]));
    SetWindowTextA(chooser.line, tells.c_str());
}

static void SelectEntry(const Chooser &chooser, int entry)
{
    ListView_SetItemState(chooser.view, entry, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
}

//---- The picture

static void KPZAPI TakeReduced(void *context, const ImageRecord *image)
{
    *static_cast<Picture *>(context) = Reduced(*image, {THUMBNAIL_SOURCE_EDGE, THUMBNAIL_SOURCE_EDGE});
}

static void EndWork(Chooser &chooser)
{
    if (chooser.work) EndThumbnails(*chooser.work);
    chooser.work.reset();
}

static uint32_t Background()
{
    const DWORD colour = Colour(COLOR_WINDOW);
    return uint32_t(GetRValue(colour)) << 16 | uint32_t(GetGValue(colour)) << 8 | GetBValue(colour);
}

static void ShowOriginal(Chooser &chooser, const Picture &picture)
{
    for (ChooserEntry &entry : chooser.entries) entry.thumbnail = {};
    chooser.entries[0].thumbnail = ThumbnailOf(picture, chooser.room);
    chooser.dimmed = Dimmed(chooser.entries[0].thumbnail, Background());
    InvalidateRect(chooser.view, nullptr, TRUE);
}

// Tries again a little later when the picture is in other hands.
static void LookAtPicture(Chooser &chooser)
{
    KillTimer(chooser.dialog, LOOK_TIMER);
    const PictureWindow *picture = ActivePicture(*chooser.editor);
    if (!picture) return;
    const ImageRecord *image = picture->image;
    Picture reduced;
    const bool running = HostRunUnderWay(image);
    if (!LookAtImage(*picture, TakeReduced, &reduced)) {
        SetTimer(chooser.dialog, LOOK_TIMER, RETRY_WAIT, nullptr);
        return;
    }
    chooser.image = image;
    chooser.state = MiscStateNumber(image);
    chooser.beforeRun = running;
    ShowOriginal(chooser, reduced);
    EndWork(chooser);
    chooser.work = StartThumbnails(std::move(reduced), chooser.room, chooser.dialog, THUMBNAILS_CAME);
}

static void FindAvailable(Chooser &chooser)
{
    bool changed = false;
    ChooseMenus(&chooser.editor->host.context);
    for (int i = 1; i < ENTRIES; ++i) {
        const bool available = CommandEnabled(chooser.editor->host, DialogTemplateAt(i - 1)->commandOffset);
        changed |= std::exchange(chooser.entries[i].available, available) != available;
    }
    if (!changed || !chooser.view) return;
    InvalidateRect(chooser.view, nullptr, TRUE);
    PassSelectionOn(chooser);
}

static bool IsOutOfDate(const Chooser &chooser)
{
    const ImageRecord *image = chooser.editor->host.context.activeImage;
    if (image != chooser.image) return true;
    return !HostRunUnderWay(image) && (chooser.beforeRun || MiscStateNumber(image) != chooser.state);
}

void RefreshChooser()
{
    if (!theChooser) return;
    Chooser &chooser = *theChooser;
    if (!chooser.editor->host.context.activeImage) {
        EndWork(chooser);
        PostMessageA(chooser.dialog, WM_CLOSE, 0, 0);
        return;
    }
    FindAvailable(chooser);
    if (!IsOutOfDate(chooser)) return;
    EndWork(chooser);
    SetTimer(chooser.dialog, LOOK_TIMER, CHANGE_WAIT, nullptr);
}

static void OnThumbnails(Chooser &chooser)
{
    if (!chooser.work) return;
    for (MadeThumbnail &made : TakeThumbnails(*chooser.work)) {
        const int entry = made.effect + 1;
        if (entry < 1 || entry >= ENTRIES) continue;
        chooser.entries[entry].thumbnail = std::move(made.thumbnail);
        ListView_RedrawItems(chooser.view, entry, entry);
    }
}

//---- Drawing

static void DrawThumbnail(HDC space, const Thumbnail &thumbnail, POINT corner)
{
    const Extent &extent = thumbnail.extent;
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, extent.width, -extent.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetDIBitsToDevice(space, corner.x, corner.y, DWORD(extent.width), DWORD(extent.height), 0, 0, 0,
                      UINT(extent.height), thumbnail.words.data(), &info, DIB_RGB_COLORS);
}

static void DrawFrame(HDC space, RECT area, int thickness, int colour)
{
    for (int i = 0; i < thickness; ++i) {
        InflateRect(&area, 1, 1);
        FrameRect(space, &area, ColourBrush(colour));
    }
}

static void DrawPictureOf(const Chooser &chooser, HDC space, const ChooserEntry &entry, const RECT &area, bool selected)
{
    const bool made = entry.available && !entry.thumbnail.words.empty();
    const Thumbnail &thumbnail = made ? entry.thumbnail : chooser.dimmed;
    const POINT corner = {(area.left + area.right - thumbnail.extent.width) / 2,
                          (area.top + area.bottom - thumbnail.extent.height) / 2};
    const RECT place = {corner.x, corner.y, corner.x + thumbnail.extent.width, corner.y + thumbnail.extent.height};
    if (!thumbnail.words.empty()) DrawThumbnail(space, thumbnail, corner);
    if (selected) DrawFrame(space, place, Scaled(chooser, 3), COLOR_HIGHLIGHT);
    else DrawFrame(space, place, 1, made ? COLOR_BTNSHADOW : COLOR_BTNFACE);
}

// Below the picture, as wide as it is written.
static void DrawNameOf(const Chooser &chooser, HDC space, const ChooserEntry &entry, const RECT &picture, bool selected)
{
    const HGDIOBJ before = SelectObject(space, FontOf(chooser.dialog));
    SIZE written;
    GetTextExtentPoint32A(space, entry.name.c_str(), int(entry.name.size()), &written);
    const LONG margin = Scaled(chooser, 4), left = (picture.left + picture.right - written.cx) / 2;
    const LONG top = picture.bottom + Scaled(chooser, 3);
    const RECT area = {left - margin, top - 1, left + written.cx + margin, top + written.cy + 1};
    if (selected) FillRect(space, &area, ColourBrush(COLOR_HIGHLIGHT));
    const int colour = selected ? COLOR_HIGHLIGHTTEXT : entry.available ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT;
    SetTextColor(space, Colour(colour));
    SetBkMode(space, TRANSPARENT);
    TextOutA(space, left, top, entry.name.c_str(), int(entry.name.size()));
    if (selected && GetFocus() == chooser.view) DrawFocusRect(space, &area);
    SelectObject(space, before);
}

static LRESULT OnDraw(const Chooser &chooser, const NMLVCUSTOMDRAW &draw)
{
    if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
    const auto index = int(draw.nmcd.dwItemSpec);
    if (draw.nmcd.dwDrawStage != CDDS_ITEMPREPAINT || index >= ENTRIES) return CDRF_DODEFAULT;
    const bool selected = ListView_GetItemState(chooser.view, index, LVIS_SELECTED) != 0;
    RECT picture = {};
    ListView_GetItemRect(chooser.view, index, &picture, LVIR_ICON);
    DrawPictureOf(chooser, draw.nmcd.hdc, chooser.entries[index], picture, selected);
    DrawNameOf(chooser, draw.nmcd.hdc, chooser.entries[index], picture, selected);
    return CDRF_SKIPDEFAULT;
}

//---- The dialog

// The view is still at work when it tells of a double click: the dialog, which goes by it, hears of it afterwards.
static LRESULT OnNotice(const Chooser &chooser, const NMHDR &notice)
{
    switch (notice.code) {
    case LVN_ITEMCHANGED:
        if (reinterpret_cast<const NMLISTVIEW &>(notice).uNewState & LVIS_SELECTED) PassSelectionOn(chooser);
        break;
    case NM_CLICK:
    case NM_RCLICK: PassSelectionOn(chooser); break;   // beside the pictures nothing is selected
    case LVN_ITEMACTIVATE: PostMessageA(chooser.dialog, WM_COMMAND, IDOK, 0); break;
    case NM_SETFOCUS:
    case NM_KILLFOCUS: InvalidateRect(chooser.view, nullptr, FALSE); break;
    case NM_CUSTOMDRAW: return OnDraw(chooser, reinterpret_cast<const NMLVCUSTOMDRAW &>(notice));
    }
    return 0;
}

// The chosen effect's dialog would open only when the loops of dialogs that were opened after the chooser have ended,
// if the command came from the chooser's own: it comes from the main window.
static bool OpenChosen(const Chooser &chooser)
{
    const LRESULT entry = SendMessageA(chooser.list, LB_GETCURSEL, 0, 0);
    if (entry < 1 || entry >= ENTRIES) return false;
    const Editor &editor = *chooser.editor;
    const int32_t command = editor.host.base + DialogTemplateAt(int32_t(entry) - 1)->commandOffset;
    KPZ_DismissDialog(chooser.dialog, CHOOSER_CANCELLED);
    PostMessageA(editor.frame, WM_COMMAND, WPARAM(command), 0);
    return true;
}

static LRESULT KPZAPI ChooserProcedure(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    if (!theChooser) return KPZ_DefWindowProc(dialog, message, word, extra);
    Chooser &chooser = *theChooser;
    LRESULT colours = 0;
    if (TakeColourMessage(dialog, message, word, colours)) return colours;
    switch (message) {
    case WM_NOTIFY: {
        const auto &notice = *reinterpret_cast<const NMHDR *>(extra);
        if (notice.hwndFrom == chooser.view) return OnNotice(chooser, notice);
        break;
    }
    case WM_COMMAND:
        if (LOWORD(word) == IDOK && OpenChosen(chooser)) return 0;
        break;
    case WM_TIMER: LookAtPicture(chooser); return 0;
    case THUMBNAILS_CAME: OnThumbnails(chooser); return 0;
    case WM_DESTROY:
        EndWork(chooser);
        theChooser.reset();
        break;
    }
    return KPZ_DefWindowProc(dialog, message, word, extra);
}

//---- Making it

static Extent SizeOfWindow(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    return {area.right - area.left, area.bottom - area.top};
}

static RECT FreeScreen(HWND window)
{
    MONITORINFO screen = {};
    screen.cbSize = sizeof screen;
    GetMonitorInfoA(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &screen);
    return screen.rcWork;
}

static int LineHeight(HWND window)
{
    const HDC space = GetDC(window);
    const HGDIOBJ before = SelectObject(space, FontOf(window));
    TEXTMETRICA metrics;
    GetTextMetricsA(space, &metrics);
    SelectObject(space, before);
    ReleaseDC(window, space);
    return metrics.tmHeight;
}

static HWND AddWindow(const Chooser &chooser, const char *windowClass, DWORD style, DWORD extendedStyle, int id)
{
    const HWND made =
        CreateWindowExA(extendedStyle, windowClass, "", style | WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, chooser.dialog,
                        reinterpret_cast<HMENU>(INT_PTR(id)), GetModuleHandleA(nullptr), nullptr);
    SendMessageA(made, WM_SETFONT, reinterpret_cast<WPARAM>(FontOf(chooser.dialog)), FALSE);
    return made;
}

static void ReadEntries(Chooser &chooser)
{
    for (int i = 0; i < ENTRIES; ++i) {
        char name[256] = "";
        SendMessageA(chooser.list, LB_GETTEXT, WPARAM(i), reinterpret_cast<LPARAM>(name));
        chooser.entries[i].name = name;
        chooser.entries[i].tells = i > 0 ? DialogTemplateAt(i - 1)->summary : "the picture as it is";
    }
}

// An image list without images tells the room that a thumbnail with its frame takes.
static void SetSpacing(const Chooser &chooser)
{
    const int frame = Scaled(chooser, 4);
    const int width = chooser.room.width + 2 * frame, height = chooser.room.height + 2 * frame;
    const HIMAGELIST rooms = ImageList_Create(width, height, ILC_COLOR, 1, 0);   // the view's now
    ListView_SetImageList(chooser.view, rooms, LVSIL_NORMAL);
    ListView_SetIconSpacing(chooser.view, width + Scaled(chooser, 8),
                            height + LineHeight(chooser.dialog) + Scaled(chooser, 12));
}

static void FillView(Chooser &chooser)
{
    for (int i = 0; i < ENTRIES; ++i) {
        LVITEMA item = {};
        item.mask = LVIF_TEXT;
        item.iItem = i;
        item.pszText = chooser.entries[i].name.data();
        SendMessageA(chooser.view, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));
    }
}

// The view stands where the list box was in the order of the keyboard.
static void MakeView(Chooser &chooser)
{
    const DWORD style = LVS_ICON | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_AUTOARRANGE | WS_TABSTOP | WS_GROUP;
    chooser.view = AddWindow(chooser, WC_LISTVIEWA, style, WS_EX_CLIENTEDGE, 0);
    chooser.line = AddWindow(chooser, WC_STATICA, SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, 0, TELLING_LINE);
    SetWindowPos(chooser.view, chooser.list, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    ListView_SetExtendedListViewStyle(chooser.view, LVS_EX_DOUBLEBUFFER);
    ShowWindow(chooser.list, SW_HIDE);
}

static Extent ViewExtent(const Chooser &chooser)
{
    const DWORD spacing = ListView_GetItemSpacing(chooser.view, FALSE);
    return {COLUMNS * LOWORD(spacing) + 2 * GetSystemMetrics(SM_CXEDGE) + Scaled(chooser, 6),
            ROWS * HIWORD(spacing) + 2 * GetSystemMetrics(SM_CYEDGE) + Scaled(chooser, 6)};
}

static void PlaceInFrontOf(HWND dialog, Extent inside, HWND frame)
{
    RECT area = {0, 0, inside.width, inside.height}, before;
    AdjustWindowRectEx(&area, DWORD(GetWindowLongA(dialog, GWL_STYLE)), FALSE,
                       DWORD(GetWindowLongA(dialog, GWL_EXSTYLE)));
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    GetWindowRect(frame, &before);
    const RECT free = FreeScreen(frame);
    const LONG left = (before.left + before.right - width) / 2, top = (before.top + before.bottom - height) / 2;
    SetWindowPos(dialog, nullptr, std::max(free.left, std::min(left, free.right - width)),
                 std::max(free.top, std::min(top, free.bottom - height)), width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    RECT got;   // the borders may be those of another screen
    GetClientRect(dialog, &got);
    SetWindowPos(dialog, nullptr, 0, 0, width + inside.width - got.right, height + inside.height - got.bottom,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// The label, the view below it, and below that the line and the buttons.
static void LayOutDialog(const Chooser &chooser)
{
    POINT corner = {0, 0};
    MapWindowPoints(chooser.list, chooser.dialog, &corner, 1);
    const HWND ok = GetDlgItem(chooser.dialog, IDOK), cancel = GetDlgItem(chooser.dialog, IDCANCEL);
    const Extent view = ViewExtent(chooser), button = SizeOfWindow(ok);
    const int left = corner.x, top = corner.y, gap = Scaled(chooser, 8), lineHeight = LineHeight(chooser.dialog);
    const int right = left + view.width, below = top + view.height + gap;
    MoveWindow(chooser.view, left, top, view.width, view.height, FALSE);
    MoveWindow(cancel, right - button.width, below, button.width, button.height, FALSE);
    MoveWindow(ok, right - 2 * button.width - gap, below, button.width, button.height, FALSE);
    MoveWindow(chooser.line, left, below + (button.height - lineHeight) / 2, view.width - 2 * button.width - 3 * gap,
               lineHeight, FALSE);
    PlaceInFrontOf(chooser.dialog, {right + left, below + button.height + left}, chooser.editor->frame);
}

void FurnishChooser(Editor &editor, HWND dialog)
{
    theChooser = std::make_unique<Chooser>();
    Chooser &chooser = *theChooser;
    chooser.editor = &editor;
    chooser.dialog = dialog;
    chooser.list = GetDlgItem(dialog, EFFECT_LIST);
    const RECT free = FreeScreen(editor.frame);
    constexpr int WIDTH = 960;   // of the dialog at 96 dots per inch, and a little more
    chooser.dots = std::min(int(DotsPerInch(editor.frame)), MulDiv(96, free.right - free.left, WIDTH));
    chooser.room = {Scaled(chooser, 112), Scaled(chooser, 84)};
    ReadEntries(chooser);
    FindAvailable(chooser);
    MakeView(chooser);
    KPZ_SubclassWindow(dialog, ChooserProcedure);
    SetSpacing(chooser);
    LayOutDialog(chooser);
    FillView(chooser);
    SelectEntry(chooser, 0);
    DressChooser();
}

void DressChooser()
{
    if (!theChooser) return;
    ListView_SetBkColor(theChooser->view, Colour(COLOR_WINDOW));
    DressControls(theChooser->dialog);
}

void BeginChooser()
{
    if (!theChooser) return;
    SetFocus(theChooser->view);
    LookAtPicture(*theChooser);
}
