// Which part of a picture its window shows: zoom, scroll bars and the wheel. The arithmetic is in
// host/misc/preview/view.h; nothing is drawn here, only the window told to draw anew.

#include "host/editor/picture_view.h"

#include "host/editor/screen.h"
#include "host/editor/status_line.h"

#include <windowsx.h>

static constexpr int SCROLL_LINE = 32;   // window pixels at 96 dots per inch

void RedrawPicture(const PictureWindow &picture) { InvalidateRect(picture.canvas, nullptr, FALSE); }

static void SetScrollBar(HWND canvas, int bar, int32_t shown, int32_t seen, int32_t position)
{
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
    info.nMax = shown - 1;
    info.nPage = UINT(seen);
    info.nPos = position;
    SetScrollInfo(canvas, bar, &info, TRUE);
}

// A bar that comes or goes changes the room that the other one has.
void LayOutPicture(PictureWindow &picture)
{
    if (picture.layingOut) return;
    picture.layingOut = true;
    if (picture.fits) {
        ShowScrollBar(picture.canvas, SB_BOTH, FALSE);
        picture.view.scale = FittingScale(picture.extent, SizeOf(picture.canvas));
    }
    for (int pass = 0; pass < 2; ++pass) {
        const Extent window = SizeOf(picture.canvas), shown = ShownExtent(picture.view, picture.extent);
        ClampView(picture.view, picture.extent, window);
        SetScrollBar(picture.canvas, SB_HORZ, shown.width, window.width, picture.view.left);
        SetScrollBar(picture.canvas, SB_VERT, shown.height, window.height, picture.view.top);
    }
    picture.layingOut = false;
    RedrawPicture(picture);
}

static void ZoomAboutPoint(PictureWindow &picture, double scale, POINT point)
{
    picture.fits = false;
    ZoomAbout(picture.view, scale, point, picture.extent, SizeOf(picture.canvas));
    LayOutPicture(picture);
    UpdateStatus(*picture.editor);
}

void ZoomPicture(Editor &, PictureWindow &picture, double scale)
{
    const Extent window = SizeOf(picture.canvas);
    ZoomAboutPoint(picture, scale, {window.width / 2, window.height / 2});
}

void FitPicture(Editor &editor, PictureWindow &picture)
{
    picture.fits = true;
    LayOutPicture(picture);
    UpdateStatus(editor);
}

// What stays in sight is moved on the screen, and only what comes in is drawn.
void ScrollTo(PictureWindow &picture, int32_t left, int32_t top)
{
    const View before = picture.view;
    picture.view.left = left;
    picture.view.top = top;
    ClampView(picture.view, picture.extent, SizeOf(picture.canvas));
    const int dx = before.left - picture.view.left, dy = before.top - picture.view.top;
    if (!dx && !dy) return;
    SetScrollPos(picture.canvas, SB_HORZ, picture.view.left, TRUE);
    SetScrollPos(picture.canvas, SB_VERT, picture.view.top, TRUE);
    if (picture.unpainted.right) RedrawPicture(picture);
    else ScrollWindowEx(picture.canvas, dx, dy, nullptr, nullptr, nullptr, nullptr, SW_INVALIDATE);
}

void OnScrollBar(PictureWindow &picture, int bar, int code)
{
    const bool across = bar == SB_HORZ;
    const Extent window = SizeOf(picture.canvas);
    const int32_t seen = across ? window.width : window.height;
    const int32_t line = MulDiv(SCROLL_LINE, int(DotsPerInch(picture.canvas)), 96);
    int32_t position = across ? picture.view.left : picture.view.top;
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_TRACKPOS;
    switch (code) {
    case SB_LINEUP: position -= line; break;
    case SB_LINEDOWN: position += line; break;
    case SB_PAGEUP: position -= seen; break;
    case SB_PAGEDOWN: position += seen; break;
    case SB_TOP: position = 0; break;
    case SB_BOTTOM: position = INT32_MAX; break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
        if (GetScrollInfo(picture.canvas, bar, &info)) position = info.nTrackPos;
        break;
    }
    if (across) ScrollTo(picture, position, picture.view.top);
    else ScrollTo(picture, picture.view.left, position);
}

void OnWheel(PictureWindow &picture, WPARAM word, LPARAM extra, bool across)
{
    const int delta = GET_WHEEL_DELTA_WPARAM(word);
    const int line = MulDiv(SCROLL_LINE, int(DotsPerInch(picture.canvas)), 96);
    if (GET_KEYSTATE_WPARAM(word) & MK_CONTROL) {
        POINT point = {GET_X_LPARAM(extra), GET_Y_LPARAM(extra)};
        ScreenToClient(picture.canvas, &point);
        return ZoomAboutPoint(picture, NextScale(picture.view.scale, delta > 0 ? 1 : -1), point);
    }
    const int distance = 3 * line * delta / WHEEL_DELTA;
    if (across) ScrollTo(picture, picture.view.left + distance, picture.view.top);
    else if (GET_KEYSTATE_WPARAM(word) & MK_SHIFT) ScrollTo(picture, picture.view.left - distance, picture.view.top);
    else ScrollTo(picture, picture.view.left, picture.view.top - distance);
}
