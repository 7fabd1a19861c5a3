// There are no pixels: what is drawn leaves its trace in the log.

#include "host/api/headless/headless.h"

#include <algorithm>

// A drawing space needs to know no more than that it is one.
struct KpzDeviceHandle {
    HWND window;
};

namespace backend
{

WNDPROC Subclass(HWND handle, WNDPROC procedure)
{
    Window *window = FindWindow(handle);
    return window ? PutProcedure(window->procedures, procedure) : nullptr;
}

DrawSpace BeginPaint(HWND handle, RECT *area)
{
    WindowRect(handle, area);
    return FindWindow(handle) ? new KpzDeviceHandle{handle} : nullptr;
}

void EndPaint(DrawSpace space) { delete static_cast<KpzDeviceHandle *>(space); }

void WindowRect(HWND handle, RECT *area)
{
    const Window *window = FindWindow(handle);
    *area = {0, 0, window ? window->width : 0, window ? window->height : 0};
}

// Nothing comes of what is drawn.
void UseRgb(DrawSpace) {}
void FillArea(DrawSpace, const RECT &, uint32_t) {}
void MoveTo(DrawSpace, const POINT &) {}
void DrawLines(DrawSpace, int32_t, const POINT *) {}
void DrawPixels(DrawSpace, const RECT &, const uint32_t *) {}

// May be called from a run's thread; the window's own is woken. A window is always drawn whole.
void Invalidate(HWND handle, const RECT *, bool children)
{
    const std::shared_ptr<ThreadQueue> queue = MarkForDrawing(handle, children);
    if (!queue) return;
    std::lock_guard guard(queue->lock);
    queue->paintWanted = true;
    queue->arrived.notify_all();
}

}   // namespace backend

BOOL KPZAPI DrawEdge(HDC, RECT *area, UINT edge, UINT flags)
{
    constexpr UINT SHRINK = 0x2000;
    constexpr LONG THICKNESS = 2;
    LogCall("DrawEdge", nullptr, area->left, area->top, area->right, area->bottom, edge, flags);
    if (flags & SHRINK)
        *area = {area->left + THICKNESS, area->top + THICKNESS, area->right - THICKNESS, area->bottom - THICKNESS};
    return TRUE;
}
