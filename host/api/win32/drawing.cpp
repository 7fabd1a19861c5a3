// Drawing goes to a picture in memory that is shown whole at the end, so nothing flickers.

#include "host/api/win32/win32.h"

#include <algorithm>
#include <mutex>

// One drawing under way, from KPZ_BeginPaint to KPZ_EndPaint.
struct Painting {
    HWND window;
    PAINTSTRUCT paint;
    HDC memory;   // the drawing space that is given out
    HBITMAP picture;
    HGDIOBJ before;   // what the memory held at first
};

static std::mutex paintingsLock;
static std::vector<Painting> paintings;

static void AddPainting(const Painting &painting)
{
    std::lock_guard guard(paintingsLock);
    paintings.push_back(painting);
}

// False when nothing was begun on this drawing space.
static bool TakePainting(DrawSpace space, Painting &painting)
{
    std::lock_guard guard(paintingsLock);
    const auto found =
        std::find_if(paintings.begin(), paintings.end(), [space](const Painting &one) { return one.memory == space; });
    if (found == paintings.end()) return false;
    painting = *found;
    paintings.erase(found);
    return true;
}

namespace backend
{

WNDPROC Subclass(HWND handle, WNDPROC procedure)
{
    Window *window = RecordOf(handle);
    return window ? PutProcedure(window->procedures, procedure) : nullptr;
}

DrawSpace BeginPaint(HWND handle, RECT *area)
{
    *area = {};
    Painting painting = {};
    painting.window = handle;
    const HDC screen = ::BeginPaint(handle, &painting.paint);
    if (!screen) return nullptr;
    RECT whole;
    WindowRect(handle, &whole);
    *area = painting.paint.rcPaint;
    painting.memory = CreateCompatibleDC(screen);
    painting.picture = CreateCompatibleBitmap(screen, std::max(whole.right, 1L), std::max(whole.bottom, 1L));
    painting.before = SelectObject(painting.memory, painting.picture);
    ::FillRect(painting.memory, &whole, reinterpret_cast<HBRUSH>(GetClassLongPtrA(handle, GCLP_HBRBACKGROUND)));
    AddPainting(painting);
    return painting.memory;
}

void EndPaint(DrawSpace space)
{
    Painting painting;
    if (!TakePainting(space, painting)) return;
    const RECT &part = painting.paint.rcPaint;
    BitBlt(painting.paint.hdc, part.left, part.top, part.right - part.left, part.bottom - part.top, painting.memory,
           part.left, part.top, SRCCOPY);
    SelectObject(painting.memory, painting.before);
    DeleteObject(painting.picture);
    DeleteDC(painting.memory);
    ::EndPaint(painting.window, &painting.paint);
}

void WindowRect(HWND handle, RECT *area)
{
    *area = {};
    GetClientRect(handle, area);
}

// Colours are so from the start.
void UseRgb(DrawSpace) {}

void FillArea(DrawSpace space, const RECT &area, uint32_t colour)
{
    const auto device = static_cast<HDC>(space);
    SetDCBrushColor(device, colour & 0xFFFFFF);
    ::FillRect(device, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void MoveTo(DrawSpace space, const POINT &position)
{
    MoveToEx(static_cast<HDC>(space), position.x, position.y, nullptr);
}

void DrawLines(DrawSpace space, int32_t count, const POINT *points)
{
    PolylineTo(static_cast<HDC>(space), points, DWORD(count));
}

void DrawPixels(DrawSpace space, const RECT &area, const uint32_t *words)
{
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetDIBitsToDevice(static_cast<HDC>(space), area.left, area.top, DWORD(width), DWORD(height), 0, 0, 0, UINT(height),
                      words, &info, DIB_RGB_COLORS);
}

// May be called from a run's thread; the window's own is woken. Without a window the system would mark every one.
void Invalidate(HWND handle, const RECT *area, bool children)
{
    if (handle) RedrawWindow(handle, area, nullptr, RDW_INVALIDATE | (children ? RDW_ALLCHILDREN : RDW_NOCHILDREN));
}

}   // namespace backend
