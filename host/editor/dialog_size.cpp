// See dialog_size.h. A dialog's own size is the smallest; places are counted from the ones that it was made with, so that
// nothing drifts however often it is resized.

#include "host/editor/dialog_size.h"

#include "host/editor/remembered.h"
#include "host/editor/result_pane.h"
#include "host/editor/screen.h"
#include "host/editor/strip_layout.h"
#include "interface/messages.h"

#include <algorithm>
#include <commctrl.h>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

static constexpr char MEMORY[] = "dialogs";

// What a control gets of each pixel that its dialog grows by, in halves.
struct Placed {
    HWND control;
    RECT place;
    int right, down, wider, higher;
};

struct Growing {
    std::function<void()> resized;
    Extent usual = {}, window = {};   // of the dialog's inside, and with its frame
    Extent opened = {};               // what it was larger by when it was opened
    std::vector<Placed> controls;
    bool held = false;   // by the mouse, or by the keys that size windows
};

static RECT PlaceIn(HWND dialog, HWND control)
{
    RECT place;
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&place), 2);
    return place;
}

// Shear has its sketch in the preview's place and the result beneath it: each gets half of the height.
static void Plan(Growing &growing, HWND dialog)
{
    const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL), result = GetDlgItem(dialog, RESULT_PANE);
    const RECT sight = PlaceIn(dialog, preview), pane = result ? PlaceIn(dialog, result) : sight;
    const bool halves = pane.top >= sight.bottom;
    const LONG left = sight.left, right = sight.right, bottom = std::max(sight.bottom, pane.bottom);
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
        Placed placed = {control, PlaceIn(dialog, control), 0, 0, 0, 0};
        const int id = GetDlgCtrlID(control);
        if (id == STRIP_WINDOW) placed.down = 2;
        else if (control == preview) placed.wider = 2, placed.higher = halves ? 1 : 2;
        else if (control == result) placed.wider = 2, placed.higher = halves ? 1 : 2, placed.down = halves;
        else if (placed.place.left >= right) placed.right = 2;
        else if (placed.place.top >= bottom && placed.place.left >= left) placed.down = 2;
        const int zooms[] = {PREVIEW_ZOOM_OUT, PREVIEW_ZOOM_IN, PREVIEW_ZOOM_FIT};
        if (std::find(std::begin(zooms), std::end(zooms), id) != std::end(zooms)) placed.right = 2;   // flush with it
        growing.controls.push_back(placed);
    }
}

static Extent GrownBy(const Growing &growing, HWND dialog)
{
    const Extent size = SizeOf(dialog);
    return {std::max(0, size.width - growing.usual.width), std::max(0, size.height - growing.usual.height)};
}

static void LayOut(const Growing &growing, HWND dialog)
{
    const Extent more = GrownBy(growing, dialog);
    for (const Placed &placed : growing.controls) {
        const RECT &place = placed.place;
        if (GetDlgCtrlID(placed.control) == STRIP_WINDOW) WidenStrip(placed.control, growing.usual.width + more.width);
        SetWindowPos(placed.control, nullptr, place.left + placed.right * more.width / 2,
                     place.top + placed.down * more.height / 2,
                     place.right - place.left + placed.wider * more.width / 2,
                     place.bottom - place.top + placed.higher * more.height / 2,
                     SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS |
                         (GetDlgCtrlID(placed.control) == STRIP_WINDOW ? SWP_NOSIZE : 0));
    }
    RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

//---- Memory, at 96 dots per inch

static int InUnits(HWND dialog, int pixels) { return MulDiv(pixels, 96, int(DotsPerInch(dialog))); }
static int InPixels(HWND dialog, int units) { return MulDiv(units, int(DotsPerInch(dialog)), 96); }

static Extent RememberedGrowth(HWND dialog)
{
    Extent more = {0, 0};
    if (sscanf(Remembered(MEMORY).c_str(), "%d,%d", &more.width, &more.height) != 2) return {0, 0};
    more = {std::clamp(more.width, 0, 10000), std::clamp(more.height, 0, 10000)};
    return {InPixels(dialog, more.width), InPixels(dialog, more.height)};
}

static void RememberGrowth(const Growing &growing, HWND dialog)
{
    const Extent more = GrownBy(growing, dialog);
    if (more.width == growing.opened.width && more.height == growing.opened.height) return;
    Remember(MEMORY, std::to_string(InUnits(dialog, more.width)) + "," + std::to_string(InUnits(dialog, more.height)));
}

//---- The dialog

static LRESULT CALLBACK Procedure(HWND dialog, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR data)
{
    auto *growing = reinterpret_cast<Growing *>(data);
    const LRESULT result = DefSubclassProc(dialog, message, word, extra);
    switch (message) {
    case WM_GETMINMAXINFO:
        reinterpret_cast<MINMAXINFO *>(extra)->ptMinTrackSize = {growing->window.width, growing->window.height};
        break;
    case WM_ENTERSIZEMOVE: growing->held = true; break;
    case WM_SIZE:
        if (word == SIZE_MINIMIZED) break;
        LayOut(*growing, dialog);
        if (!growing->held) growing->resized();
        break;
    case WM_EXITSIZEMOVE:
        growing->held = false;
        growing->resized();
        break;
    case WM_DESTROY: RememberGrowth(*growing, dialog); break;
    case WM_NCDESTROY:
        RemoveWindowSubclass(dialog, Procedure, 1);
        delete growing;
        break;
    }
    return result;
}

// Its inside stays as large as it was; a frame that can be dragged is thicker.
static void TakeFrame(Growing &growing, HWND dialog)
{
    const LONG style = (GetWindowLongA(dialog, GWL_STYLE) & ~DS_MODALFRAME) | WS_THICKFRAME;
    SetWindowLongA(dialog, GWL_STYLE, style);
    RECT area = {0, 0, growing.usual.width, growing.usual.height};
    AdjustWindowRectEx(&area, DWORD(style), FALSE, DWORD(GetWindowLongA(dialog, GWL_EXSTYLE)));
    growing.window = {area.right - area.left, area.bottom - area.top};
}

// Around where it was, and on its screen.
static void Open(Growing &growing, HWND dialog)
{
    RECT place;
    GetWindowRect(dialog, &place);
    MONITORINFO screen = {};
    screen.cbSize = sizeof screen;
    GetMonitorInfoA(MonitorFromWindow(dialog, MONITOR_DEFAULTTONEAREST), &screen);
    const RECT &work = screen.rcWork;
    const Extent wanted = RememberedGrowth(dialog);
    const auto part = [](LONG most, int32_t usual, int32_t more) {
        return std::max(usual, std::min(usual + more, int32_t(most)));
    };
    const LONG width = part(work.right - work.left, growing.window.width, wanted.width);
    const LONG height = part(work.bottom - work.top, growing.window.height, wanted.height);
    const LONG left = place.left - (width - (place.right - place.left)) / 2;
    const LONG top = place.top - (height - (place.bottom - place.top)) / 2;
    SetWindowPos(dialog, nullptr, std::max(work.left, std::min(left, work.right - width)),
                 std::max(work.top, std::min(top, work.bottom - height)), width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
    growing.opened = GrownBy(growing, dialog);
}

void LetDialogGrow(HWND dialog, std::function<void()> resized)
{
    if (!GetDlgItem(dialog, PREVIEW_CONTROL)) return;
    auto growing = std::make_unique<Growing>();
    growing->resized = std::move(resized);
    growing->usual = SizeOf(dialog);
    Plan(*growing, dialog);
    TakeFrame(*growing, dialog);
    Growing &kept = *growing;
    if (!SetWindowSubclass(dialog, Procedure, 1, reinterpret_cast<DWORD_PTR>(growing.release()))) return;
    Open(kept, dialog);
}
