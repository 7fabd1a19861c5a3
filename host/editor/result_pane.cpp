// A child of the dialog that keeps a reduced result and draws it. Works on a copy that is not larger than the pane, so
// that a change is seen at once.

#include "host/editor/result_pane.h"

#include "host/editor/colours.h"
#include "host/editor/dialog_settings.h"
#include "host/editor/enlarged.h"
#include "host/editor/picture_drawing.h"
#include "host/editor/screen.h"
#include "host/editor/thumbnails.h"

#include <cstring>
#include <utility>

static constexpr char PANE_CLASS[] = "VelmorantResult";

struct ResultPane {
    std::string settings;   // what is shown was made with these
    const ImageRecord *image = nullptr;
    uint64_t state = 0;
    Extent room = {};
    Picture picture;   // the reduced one
    Thumbnail shown;
};

static ResultPane *PaneOf(HWND window)
{
    return window ? reinterpret_cast<ResultPane *>(GetWindowLongPtrA(window, GWLP_USERDATA)) : nullptr;
}

static void Draw(HWND window, const Thumbnail &shown)
{
    PAINTSTRUCT paint;
    const HDC space = BeginPaint(window, &paint);
    const Extent room = SizeOf(window), &extent = shown.extent;
    const int left = (room.width - extent.width) / 2, top = (room.height - extent.height) / 2;
    if (!shown.words.empty()) {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof info.bmiHeader, extent.width, -extent.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        SetDIBitsToDevice(space, left, top, DWORD(extent.width), DWORD(extent.height), 0, 0, 0, UINT(extent.height),
                          shown.words.data(), &info, DIB_RGB_COLORS);
        ExcludeClipRect(space, left, top, left + extent.width, top + extent.height);
    }
    const RECT all = {0, 0, room.width, room.height};
    FillRect(space, &all, ColourBrush(COLOR_APPWORKSPACE));
    EndPaint(window, &paint);
}

static LRESULT CALLBACK PaneProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    ResultPane *pane = PaneOf(window);
    if (message == WM_NCCREATE)
        SetWindowLongPtrA(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTA *>(extra)->lpCreateParams));
    if (!pane) return DefWindowProcA(window, message, word, extra);
    switch (message) {
    case WM_PAINT: Draw(window, pane->shown); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_DESTROY:
        SetWindowLongPtrA(window, GWLP_USERDATA, 0);
        delete pane;
        return 0;
    }
    return DefWindowProcA(window, message, word, extra);
}

//---- Making it

static void Register()
{
    WNDCLASSA made = {};
    made.lpfnWndProc = PaneProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.lpszClassName = PANE_CLASS;
    RegisterClassA(&made);   // changes nothing from the second time on
}

void AddResultPane(HWND dialog, const DialogTemplate &effect)
{
    const HWND preview = GetDlgItem(dialog, PREVIEW_CONTROL);
    if (!effect.changesSize || !preview) return;
    Register();
    RECT place;
    GetWindowRect(preview, &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&place), 2);
    const LONG width = place.right - place.left, height = place.bottom - place.top;
    const bool sketches = strcmp(effect.effect, "shear") == 0;
    if (sketches)
        SetWindowPos(preview, nullptr, 0, 0, width, height / 2 - 2, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    else ShowWindow(preview, SW_HIDE);
    if (sketches) place.top += height / 2 + 2;
    CreateWindowExA(0, PANE_CLASS, "", WS_CHILD | WS_VISIBLE, place.left, place.top, width, place.bottom - place.top,
                    dialog, reinterpret_cast<HMENU>(INT_PTR(RESULT_PANE)), GetModuleHandleA(nullptr), new ResultPane);
    for (const int button : {int(PREVIEW_ZOOM_OUT), int(PREVIEW_ZOOM_IN), int(PREVIEW_ZOOM_FIT)})
        ShowWindow(GetDlgItem(dialog, button), SW_HIDE);
}

//---- Showing

struct Look {
    Extent room;
    Picture picture;
};

static void KPZAPI TakeReduced(void *context, const ImageRecord *image)
{
    Look &look = *static_cast<Look *>(context);
    look.picture = Reduced(*image, look.room);
}

// A picture in other hands stays as it was shown; its run's end brings the next look.
static bool LookAgain(ResultPane &pane, const PictureWindow &picture, Extent room)
{
    Look look = {room, {}};
    const uint64_t state = MiscStateNumber(picture.image);
    if (IsRunning(picture) || !LookAtImage(picture, TakeReduced, &look)) return false;
    pane.picture = std::move(look.picture);
    pane.image = picture.image;
    pane.state = state;
    pane.room = room;
    return true;
}

static std::string SettingsFor(HWND dialog, const DialogTemplate &effect)
{
    const bool on = KPZ_IsButtonChecked(dialog, PREVIEW_CHECK) != 0;
    return on ? StepLine(effect, SettingsIn(dialog, effect, Which::ALL)) + ShownOption(dialog, effect, "scope") : "";
}

void UpdateResultPane(HWND dialog, const PictureWindow *picture)
{
    const HWND window = GetDlgItem(dialog, RESULT_PANE);
    const DialogTemplate *effect = FindDialogTemplate(HostDialogTemplate(dialog));
    ResultPane *pane = PaneOf(window);
    if (!pane || !effect || !picture) return;
    const Extent room = SizeOf(window);
    const bool sized = pane->room.width != room.width || pane->room.height != room.height;
    const bool changed = sized || pane->image != picture->image || pane->state != MiscStateNumber(picture->image);
    if ((changed || !pane->picture.pixels) && !LookAgain(*pane, *picture, room)) return;
    const std::string settings = SettingsFor(dialog, *effect);
    if (!changed && settings == pane->settings && !pane->shown.words.empty()) return;
    pane->settings = settings;
    Picture copy = CopyOf(pane->picture);
    pane->shown = ThumbnailOf(settings.empty() ? std::move(copy) : Enlarged(dialog, std::move(copy)), room);
    InvalidateRect(window, nullptr, FALSE);
}
