#include "host/editor/editor.h"

#include "host/misc/preview/rendering.h"

#include <algorithm>
#include <windowsx.h>

static constexpr char PICTURE_CLASS[] = "VelmorantPicture";
static constexpr UINT_PTR RETRY_TIMER = 1;
static constexpr UINT RETRY_WAIT = 15;   // milliseconds until a picture in other hands is looked at again
static constexpr int SCROLL_LINE = 32;   // window pixels at 96 dots per inch

static PictureWindow *Of(HWND window)
{
    return reinterpret_cast<PictureWindow *>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

static Extent SizeOf(HWND window)
{
    RECT area;
    GetClientRect(window, &area);
    return {area.right, area.bottom};
}

//---- Zooming and scrolling

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
static void LayOut(PictureWindow &picture)
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
    LayOut(picture);
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
    LayOut(picture);
    UpdateStatus(editor);
}

// What stays in sight is moved on the screen, and only what comes in is drawn.
static void ScrollTo(PictureWindow &picture, int32_t left, int32_t top)
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

static void OnScrollBar(PictureWindow &picture, int bar, int code)
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

static void OnWheel(PictureWindow &picture, WPARAM word, LPARAM extra, bool across)
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

//---- Drawing

// What is drawn into: the part of the window that wants drawing, as a picture in memory.
struct Sheet {
    PictureWindow &picture;
    RECT part;
    HDC space;
    uint32_t *words;
};

// Dashes of white on black show on every picture.
static void DrawDashes(const Sheet &sheet, const POINT *points, int count)
{
    const HPEN dotted = CreatePen(PS_DOT, 1, COLORREF(0));
    SetBkMode(sheet.space, OPAQUE);
    SetBkColor(sheet.space, COLORREF(0xFFFFFF));
    const HGDIOBJ before = SelectObject(sheet.space, dotted);
    for (int i = 0; i < count; ++i) {
        const POINT &from = points[i], &to = points[(i + 1) % count];
        MoveToEx(sheet.space, from.x, from.y, nullptr);
        LineTo(sheet.space, to.x, to.y);
    }
    SelectObject(sheet.space, before);
    DeleteObject(dotted);
}

// Around the pixels left..right, top..bottom.
static void DrawFrameAround(const Sheet &sheet, LONG left, LONG top, LONG right, LONG bottom)
{
    const PictureWindow &picture = sheet.picture;
    const Extent window = SizeOf(picture.canvas);
    const POINT first = CornerOf(picture.view, picture.extent, window, {left, top});
    const POINT last = CornerOf(picture.view, picture.extent, window, {right + 1, bottom + 1});
    const LONG x = last.x - 1, y = last.y - 1;
    const POINT corners[] = {first, {x, first.y}, {x, y}, {first.x, y}};
    DrawDashes(sheet, corners, 4);
}

static void DrawOutline(const Sheet &sheet, const Selection &selection)
{
    const PictureWindow &picture = sheet.picture;
    const Extent window = SizeOf(picture.canvas);
    const auto half = int32_t(picture.view.scale / 2);
    std::vector<POINT> points;
    for (int32_t i = 0; i < selection.pointCount; ++i) {
        const POINT corner = CornerOf(picture.view, picture.extent, window, selection.points[i]);
        points.push_back({corner.x + half, corner.y + half});
    }
    DrawDashes(sheet, points.data(), int(points.size()));
}

static bool IsRectangle(const Selection &selection)
{
    if (selection.pointCount != 4) return false;
    for (int32_t i = 0; i < 4; ++i) {
        const POINT &point = selection.points[i];
        if (point.x != selection.left && point.x != selection.right) return false;
        if (point.y != selection.top && point.y != selection.bottom) return false;
    }
    return true;
}

static void DrawMarks(const Sheet &sheet, const ImageRecord &image)
{
    const Selection &selection = image.selection;
    if (IsRectangle(selection)) {
        DrawFrameAround(sheet, selection.left, selection.top, selection.right, selection.bottom);
    } else if (selection.pointCount > 0) {
        DrawOutline(sheet, selection);
    }
    for (int32_t i = 0; i < image.objectList.count; ++i) {
        const FloatingObject &object = *image.objectList.objects[i];
        if (object.selected) {
            DrawFrameAround(sheet, object.x, object.y, object.x + object.width - 1, object.y + object.height - 1);
        }
    }
    const PictureWindow &picture = sheet.picture;
    if (!picture.cursorShown || GetFocus() != picture.canvas) return;
    DrawFrameAround(sheet, picture.cursor.x, picture.cursor.y, picture.cursor.x, picture.cursor.y);
}

static void KPZAPI DrawPicture(void *context, const ImageRecord *image)
{
    const Sheet &sheet = *static_cast<Sheet *>(context);
    const PictureWindow &picture = sheet.picture;
    const DWORD grey = GetSysColor(COLOR_APPWORKSPACE);
    const uint32_t background = GetRValue(grey) << 16 | GetGValue(grey) << 8 | GetBValue(grey);
    Render({image, picture.view, SizeOf(picture.canvas), background, picture.image->maskEditing != 0}, sheet.part,
           sheet.words);
    DrawMarks(sheet, *image);
}

bool LookAtImage(const PictureWindow &picture, LookRoutine look, void *context)
{
    ImageRecord *image = picture.image;
    if (MiscLookBeforeRun(image, look, context)) return true;
    if (picture.enlarger) return false;   // what the run has left on record does not fit the planes
    if (SharedRead(image->effectThread) || !KPZ_GetMutexSem(image->imageLock, 0)) return false;
    look(context, image);
    KPZ_ReleaseMutexSem(image->imageLock);
    return true;
}

static bool DrawPart(PictureWindow &picture, HDC screen, const RECT &part)
{
    const LONG width = part.right - part.left, height = part.bottom - part.top;
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void *words = nullptr;
    const HBITMAP memory = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &words, nullptr, 0);
    if (!memory) return false;
    const HDC space = CreateCompatibleDC(screen);
    const HGDIOBJ before = SelectObject(space, memory);
    SetWindowOrgEx(space, part.left, part.top, nullptr);
    Sheet sheet = {picture, part, space, static_cast<uint32_t *>(words)};
    const bool drawn = LookAtImage(picture, DrawPicture, &sheet);
    if (drawn) BitBlt(screen, part.left, part.top, width, height, space, part.left, part.top, SRCCOPY);
    SelectObject(space, before);
    DeleteDC(space);
    DeleteObject(memory);
    return drawn;
}

// A large part is drawn strip by strip, so that no other message has to wait for all of it.
static RECT FirstStrip(const RECT &part)
{
    constexpr LONG PIXELS = 150000;
    const LONG rows = std::max(16L, PIXELS / std::max(1L, part.right - part.left));
    return {part.left, part.top, part.right, std::min(part.bottom, part.top + rows)};
}

static void OnPaint(PictureWindow &picture)
{
    PAINTSTRUCT paint;
    const HDC screen = BeginPaint(picture.canvas, &paint);
    const RECT part = paint.rcPaint, strip = FirstStrip(part);
    const bool any = part.right > part.left && part.bottom > part.top;
    const bool drawn = any && DrawPart(picture, screen, strip);
    EndPaint(picture.canvas, &paint);
    if (any && !drawn) {
        UnionRect(&picture.unpainted, &picture.unpainted, &part);
        SetTimer(picture.canvas, RETRY_TIMER, RETRY_WAIT, nullptr);
    } else if (strip.bottom < part.bottom) {
        const RECT rest = {part.left, strip.bottom, part.right, part.bottom};
        InvalidateRect(picture.canvas, &rest, FALSE);
    }
}

static void OnRetry(PictureWindow &picture)
{
    KillTimer(picture.canvas, RETRY_TIMER);
    const RECT part = picture.unpainted;
    picture.unpainted = {};
    InvalidateRect(picture.canvas, &part, FALSE);
}

//---- The mouse

static POINT PixelUnder(const PictureWindow &picture, LPARAM extra)
{
    const POINT position = {GET_X_LPARAM(extra), GET_Y_LPARAM(extra)};
    return PixelAt(picture.view, picture.extent, SizeOf(picture.canvas), position);
}

static void BeginScrolling(PictureWindow &picture, LPARAM extra)
{
    picture.hand = Hand::SCROLLS;
    picture.scrollFrom = {GET_X_LPARAM(extra) + picture.view.left, GET_Y_LPARAM(extra) + picture.view.top};
}

static void BeginPainting(PictureWindow &picture, uint8_t value)
{
    Editor &editor = *picture.editor;
    picture.hand = Hand::PAINTS;
    picture.paint = value;
    UndoUtility(picture.image, 0, 1, 0, 0, "Paint Mask");
    PaintMask(picture, picture.pressed, picture.pressed, editor.brush, value);
}

static void PressObject(PictureWindow &picture, int32_t index, bool addsToSelection)
{
    ObjectList &list = picture.image->objectList;
    picture.hand = Hand::MOVES_OBJECTS;
    if (addsToSelection) return SelectObject(picture.image, index, !list.objects[index]->selected);
    if (list.objects[index]->selected) return;
    for (int32_t i = 0; i < list.count; ++i)
        if ((list.objects[i]->selected != 0) != (i == index)) SelectObject(picture.image, i, i == index);
}

static void OnPress(PictureWindow &picture, WPARAM keys, LPARAM extra, bool right)
{
    Editor &editor = *picture.editor;
    if (ActivePicture(editor) != &picture) ActivatePicture(editor, &picture);
    SetFocus(picture.canvas);
    if (picture.hand != Hand::FREE) return;
    picture.cursorShown = false;
    picture.pressed = picture.last = PixelUnder(picture, extra);
    picture.moved = false;
    if (keys & MK_MBUTTON || GetKeyState(VK_SPACE) < 0) {
        BeginScrolling(picture, extra);
    } else if (CanChange(&picture)) {
        const int32_t object = ObjectUnder(picture, picture.pressed);
        if (picture.image->maskEditing) BeginPainting(picture, right ? 0 : 255);
        else if (right) return;
        else if (object >= 0) PressObject(picture, object, keys & MK_CONTROL);
        else picture.hand = Hand::SELECTS;
    }
    if (picture.hand != Hand::FREE) SetCapture(picture.canvas);
}

static void Drag(PictureWindow &picture, POINT pixel)
{
    Editor &editor = *picture.editor;
    const LONG dx = pixel.x - picture.last.x, dy = pixel.y - picture.last.y;
    if ((!dx && !dy) || !CanChange(&picture)) return;
    switch (picture.hand) {
    case Hand::SELECTS: SelectRectangle(picture, picture.pressed, pixel); break;
    case Hand::MOVES_OBJECTS: MoveSelectedObjects(editor, picture, dx, dy, !picture.moved); break;
    case Hand::PAINTS: PaintMask(picture, picture.last, pixel, editor.brush, picture.paint); break;
    default: break;
    }
    picture.last = pixel;
    picture.moved = true;
    UpdateStatus(editor);
}

static void OnMove(PictureWindow &picture, LPARAM extra)
{
    if (picture.hand == Hand::FREE) return;
    if (picture.hand != Hand::SCROLLS) return Drag(picture, PixelUnder(picture, extra));
    ScrollTo(picture, picture.scrollFrom.x - GET_X_LPARAM(extra), picture.scrollFrom.y - GET_Y_LPARAM(extra));
}

static void DeselectAll(PictureWindow &picture)
{
    const ObjectList &list = picture.image->objectList;
    for (int32_t i = 0; i < list.count; ++i)
        if (list.objects[i]->selected) SelectObject(picture.image, i, false);
    SelectNothing(picture.image);
}

// A click that selects nothing lets go what was selected.
static void OnRelease(PictureWindow &picture)
{
    const Hand hand = picture.hand;
    picture.hand = Hand::FREE;
    ReleaseCapture();
    if (hand == Hand::SELECTS && !picture.moved && CanChange(&picture)) DeselectAll(picture);
    if (hand != Hand::FREE) PictureChanged(*picture.editor, picture);
}

//---- The keyboard

static void MoveCursor(PictureWindow &picture, LONG dx, LONG dy, bool selects)
{
    Editor &editor = *picture.editor;
    if (!picture.cursorShown) {
        const Extent window = SizeOf(picture.canvas);
        picture.cursor = PixelAt(picture.view, picture.extent, window, {window.width / 2, window.height / 2});
        picture.anchor = picture.cursor;
    }
    picture.cursorShown = true;
    picture.cursor.x = std::clamp<LONG>(picture.cursor.x + dx, 0, picture.extent.width - 1);
    picture.cursor.y = std::clamp<LONG>(picture.cursor.y + dy, 0, picture.extent.height - 1);
    ShowPixel(picture.view, picture.extent, SizeOf(picture.canvas), picture.cursor);
    LayOut(picture);
    if (!selects) picture.anchor = picture.cursor;
    else if (CanChange(&picture)) SelectRectangle(picture, picture.anchor, picture.cursor);
    UpdateStatus(editor);
}

// Key after key is one step, as long as nothing else comes between.
static void MoveByKey(PictureWindow &picture, LONG dx, LONG dy)
{
    Editor &editor = *picture.editor;
    MoveSelectedObjects(editor, picture, dx, dy, MiscStateNumber(picture.image) != picture.keyMoveState);
    picture.keyMoveState = MiscStateNumber(picture.image);
    PictureChanged(editor, picture);
}

static void PaintAtCursor(PictureWindow &picture)
{
    if (!picture.cursorShown || !CanChange(&picture) || !picture.image->maskEditing) return;
    UndoUtility(picture.image, 0, 1, 0, 0, "Paint Mask");
    PaintMask(picture, picture.cursor, picture.cursor, picture.editor->brush, GetKeyState(VK_SHIFT) < 0 ? 0 : 255);
    PictureChanged(*picture.editor, picture);
}

static bool OnKey(PictureWindow &picture, WPARAM key)
{
    const bool control = GetKeyState(VK_CONTROL) < 0, shift = GetKeyState(VK_SHIFT) < 0;
    const LONG step = control ? 10 : 1;
    const LONG dx = key == VK_LEFT ? -step : key == VK_RIGHT ? step : 0;
    const LONG dy = key == VK_UP ? -step : key == VK_DOWN ? step : 0;
    if (dx || dy) {
        if (!shift && CanChange(&picture) && HasSelectedObjects(picture)) MoveByKey(picture, dx, dy);
        else MoveCursor(picture, dx, dy, shift);
        return true;
    }
    switch (key) {
    case VK_PRIOR: OnScrollBar(picture, SB_VERT, SB_PAGEUP); return true;
    case VK_NEXT: OnScrollBar(picture, SB_VERT, SB_PAGEDOWN); return true;
    case VK_HOME: OnScrollBar(picture, control ? SB_VERT : SB_HORZ, SB_TOP); return true;
    case VK_END: OnScrollBar(picture, control ? SB_VERT : SB_HORZ, SB_BOTTOM); return true;
    case VK_SPACE: PaintAtCursor(picture); return true;
    }
    return false;
}

//---- The image's own window

// A run tells its own dialog of its end. The others, which may have greyed their controls for it and show previews of
// the picture that was, hear of it as of a picture that has just become active.
static void OnRunEnded(PictureWindow &picture)
{
    Editor &editor = *picture.editor;
    PictureChanged(editor, picture);
    if (ActivePicture(editor) != &picture || !CanChange(&picture)) return;
    MiscTellFloaters(editor.host.context.floaters, ACTIVE_IMAGE_CHANGED, 0, 0);
    ChooseMenus(&editor.host.context);
}

// A right button's press paints over nothing but masks, so it keeps its system meaning otherwise.
static LRESULT KPZAPI CanvasProcedure(HWND canvas, UINT message, WPARAM word, LPARAM extra)
{
    PictureWindow *picture = Of(canvas);
    if (!picture) return KPZ_DefWindowProc(canvas, message, word, extra);
    switch (message) {
    case WM_PAINT: OnPaint(*picture); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_TIMER: OnRetry(*picture); return 0;
    case WM_SIZE:
        LayOut(*picture);
        UpdateStatus(*picture->editor);
        return 0;
    case WM_HSCROLL: OnScrollBar(*picture, SB_HORZ, LOWORD(word)); return 0;
    case WM_VSCROLL: OnScrollBar(*picture, SB_VERT, LOWORD(word)); return 0;
    case WM_MOUSEWHEEL: OnWheel(*picture, word, extra, false); return 0;
    case WM_MOUSEHWHEEL: OnWheel(*picture, word, extra, true); return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_MBUTTONDOWN: OnPress(*picture, word, extra, false); return 0;
    case WM_RBUTTONDOWN: OnPress(*picture, word, extra, true); return 0;
    case WM_MOUSEMOVE: OnMove(*picture, extra); return 0;
    case WM_LBUTTONUP:
    case WM_MBUTTONUP:
    case WM_RBUTTONUP: OnRelease(*picture); return 0;
    case WM_CAPTURECHANGED: picture->hand = Hand::FREE; return 0;
    case WM_KEYDOWN:
        if (OnKey(*picture, word)) return 0;
        break;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        if (picture->cursorShown) RedrawPicture(*picture);
        break;
    case WM_GETDLGCODE: return DLGC_WANTALLKEYS;
    case WM_NULL: OnRunEnded(*picture); break;   // HostRunUnderWay has become 0
    case PROGRESS_CHANGED:
    case IMAGE_SIZED: return KPZ_DefWindowProc(canvas, message, word, extra);
    }
    return DefWindowProcA(canvas, message, word, extra);
}

static void FurnishCanvas(PictureWindow &picture)
{
    SetWindowLongPtrA(picture.canvas, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&picture));
    SetWindowLongPtrA(picture.canvas, GWL_STYLE, WS_CHILD | WS_HSCROLL | WS_VSCROLL);
    SetParent(picture.canvas, picture.window);
    KPZ_SubclassWindow(picture.canvas, CanvasProcedure);
    const Extent room = SizeOf(picture.window);
    SetWindowPos(picture.canvas, nullptr, 0, 0, room.width, room.height,
                 SWP_NOZORDER | SWP_FRAMECHANGED | SWP_SHOWWINDOW | SWP_NOACTIVATE);
}

//---- The frame around it

static void OnActivated(PictureWindow &picture)
{
    Host &host = picture.editor->host;
    if (!picture.closing && host.context.activeImage != picture.image) ActivateImage(host, picture.image);
    UpdateStatus(*picture.editor);
    RefreshChooser();
}

static LRESULT CALLBACK PictureProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    PictureWindow *picture = Of(window);
    if (!picture) return DefMDIChildProcA(window, message, word, extra);
    switch (message) {
    case WM_SIZE:
        if (word != SIZE_MINIMIZED) MoveWindow(picture->canvas, 0, 0, LOWORD(extra), HIWORD(extra), TRUE);
        break;
    case WM_MDIACTIVATE:
        if (reinterpret_cast<HWND>(extra) == window) OnActivated(*picture);
        break;
    case WM_SETFOCUS: SetFocus(picture->canvas); break;
    case WM_CLOSE:
        ActivatePicture(*picture->editor, picture);
        PostMessageA(picture->editor->frame, WM_COMMAND, CLOSE_FILE, 0);
        return 0;
    }
    return DefMDIChildProcA(window, message, word, extra);
}

void RegisterPictureWindows()
{
    WNDCLASSEXA made = {};
    made.cbSize = sizeof made;
    made.lpfnWndProc = PictureProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hIcon = LoadIcon(nullptr, IDI_APPLICATION);
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    made.lpszClassName = PICTURE_CLASS;
    RegisterClassExA(&made);
}

// The size of the window around a picture of this size on the screen, within the room there is.
static Extent WindowAround(const Editor &editor, Extent shown)
{
    const Extent room = SizeOf(editor.client);
    RECT area = {0, 0, shown.width, shown.height};
    AdjustWindowRectEx(&area, WS_OVERLAPPEDWINDOW, FALSE, WS_EX_MDICHILD);
    return {std::min<int32_t>(area.right - area.left, room.width),
            std::min<int32_t>(area.bottom - area.top, room.height)};
}

// The first picture fills the room; later ones do as the one before them.
static bool OpensLarge(const Editor &editor)
{
    BOOL large = FALSE;
    const auto active = reinterpret_cast<HWND>(SendMessageA(editor.client, WM_MDIGETACTIVE, 0, LPARAM(&large)));
    return !active || large;
}

static HWND MakeWindow(const Editor &editor, const PictureWindow &picture)
{
    const double scale = FittingScale(picture.extent, SizeOf(editor.client));
    const Extent size = WindowAround(editor, ShownExtent({scale, 0, 0}, picture.extent));
    const DWORD style = OpensLarge(editor) ? WS_MAXIMIZE : 0;
    return CreateMDIWindowA(PICTURE_CLASS, picture.name.c_str(), style, CW_USEDEFAULT, CW_USEDEFAULT, size.width,
                            size.height, editor.client, GetModuleHandleA(nullptr), 0);
}

// Undo keeps whole pictures; together they should leave a 32-bit program the room it works in.
static void LimitUndo(const Editor &editor)
{
    constexpr double ROOM = 600e6;
    double bytes = 1;
    for (const auto &picture : editor.pictures) {
        const ImageRecord &image = *picture->image;
        bytes += double(RowStride(image.bitsPerPixel, image.width)) * image.height;
    }
    MiscKeepUndoSteps(int32_t(std::clamp(ROOM / bytes, 3.0, 50.0)));
}

PictureWindow *ShowPicture(Editor &editor, Picture &&contents, const std::string &file, FileFormat format)
{
    const Extent extent = {contents.width, contents.height};
    ImageRecord *image = OpenImage(editor.host, std::move(contents));
    if (!image) {
        ShowMessage(editor, "No more pictures can be open at once.", MB_ICONERROR);
        return nullptr;
    }
    editor.pictures.push_back(std::make_unique<PictureWindow>());
    PictureWindow *picture = editor.pictures.back().get();
    picture->editor = &editor;
    picture->image = image;
    picture->canvas = image->window;
    picture->extent = extent;
    picture->file = file;
    picture->format = format;
    picture->name = file.empty() ? "Untitled " + std::to_string(++editor.untitled) : NameOfFile(file);
    LimitUndo(editor);
    picture->window = MakeWindow(editor, *picture);
    SetWindowLongPtrA(picture->window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(picture));
    FurnishCanvas(*picture);
    ActivatePicture(editor, picture);
    OnActivated(*picture);
    LayOut(*picture);
    SetWindowTextA(picture->window, picture->name.c_str());   // the main window's title follows
    picture->title = picture->name;
    SetFocus(picture->canvas);
    return picture;
}

void ActivatePicture(Editor &editor, PictureWindow *picture)
{
    const auto window = reinterpret_cast<WPARAM>(picture->window);
    if (IsIconic(picture->window)) SendMessageA(editor.client, WM_MDIRESTORE, window, 0);
    SendMessageA(editor.client, WM_MDIACTIVATE, window, 0);
}

void RemovePictureWindow(Editor &editor, PictureWindow *picture)
{
    const HWND window = picture->window;
    SetWindowLongPtrA(window, GWLP_USERDATA, 0);
    std::erase_if(editor.pictures, [=](const auto &one) { return one.get() == picture; });
    SendMessageA(editor.client, WM_MDIDESTROY, reinterpret_cast<WPARAM>(window), 0);
    if (PictureWindow *next = ActivePicture(editor)) ActivatePicture(editor, next);
    UpdateStatus(editor);
    RefreshChooser();
}

// A window that is not as large as it can be follows its picture's size.
static void FollowSize(Editor &editor, PictureWindow &picture)
{
    if (IsZoomed(picture.window) || IsIconic(picture.window)) return;
    const Extent size = WindowAround(editor, ShownExtent(picture.view, picture.extent));
    SetWindowPos(picture.window, nullptr, 0, 0, size.width, size.height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void PictureChanged(Editor &editor, PictureWindow &picture)
{
    if (!CanChange(&picture)) return UpdateStatus(editor);
    const ImageRecord &image = *picture.image;
    if (picture.extent.width != image.width || picture.extent.height != image.height) {
        picture.extent = {image.width, image.height};
        FollowSize(editor, picture);
        LayOut(picture);
    }
    RedrawPicture(picture);
    UpdateTitles(editor);
    UpdateStatus(editor);
    RefreshChooser();
}
