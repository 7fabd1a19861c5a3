// Draws a picture's window: the picture as a run or a preview leaves it to be seen, and the marks of selected area,
// floating objects and keyboard cursor over it. It never waits for a picture that is in other hands, but tries again
// later.

#include "host/editor/picture_drawing.h"

#include "host/editor/canvas_preview.h"
#include "host/editor/colours.h"
#include "host/editor/protection.h"
#include "host/editor/screen.h"
#include "host/misc/preview/rendering.h"

#include <algorithm>

static constexpr UINT_PTR RETRY_TIMER = 1;
static constexpr UINT RETRY_WAIT = 15;   // milliseconds until a picture in other hands is looked at again

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

static Rendering RenderingOf(const PictureWindow &picture, const ImageRecord *image)
{
    const DWORD grey = Colour(COLOR_APPWORKSPACE);
    const uint32_t background = GetRValue(grey) << 16 | GetGValue(grey) << 8 | GetBValue(grey);
    const bool maskShown = picture.image->maskEditing != 0;
    return {image, picture.view, SizeOf(picture.canvas), background, maskShown, !maskShown};
}

// The picture with what is protected for its mask, which gets the veil then.
static Rendering RenderingOfProtection(const PictureWindow &picture, ImageRecord &lent)
{
    const Protection &protection = *ProtectionOf(picture);
    Rendering rendering = RenderingOf(picture, &lent);
    lent.mask = const_cast<uint8_t *>(protection.bytes.data());   // it is only read
    lent.maskBitsPerPixel = 8;
    rendering.maskShown = true;
    rendering.maskIsAlpha = false;
    return rendering;
}

// What is protected, in greys as the window shows it.
static std::vector<uint32_t> FreeWords(const PictureWindow &picture, const Protection &protection, const RECT &part)
{
    ImageRecord grey = {};
    grey.width = protection.width;
    grey.height = protection.height;
    grey.colourType = GREY;
    grey.bitsPerPixel = 8;
    grey.paletteEntries = 256;
    for (int i = 0; i < 256; ++i) grey.red[i] = grey.green[i] = grey.blue[i] = uint8_t(i);
    grey.pixels = const_cast<uint8_t *>(protection.bytes.data());   // it is only read
    Rendering rendering = RenderingOf(picture, &grey);
    rendering.background = 0xFFFFFF;
    rendering.maskShown = rendering.maskIsAlpha = false;
    std::vector<uint32_t> words(size_t(part.right - part.left) * size_t(part.bottom - part.top));
    Render(rendering, part, words.data());
    return words;
}

// To the right of the line, all of it where there is none. What a run would enlarge is not laid over what is.
static void KPZAPI DrawPreview(void *context, const ImageRecord *image)
{
    const Sheet &sheet = *static_cast<Sheet *>(context);
    const PictureWindow &picture = sheet.picture;
    if (image->width != picture.extent.width || image->height != picture.extent.height) return;
    RECT part = sheet.part;
    part.left = std::max<LONG>(part.left, SplitColumn(picture));
    if (part.left >= part.right) return;
    const auto width = size_t(part.right - part.left), stride = size_t(sheet.part.right - sheet.part.left);
    std::vector<uint32_t> words(width * size_t(part.bottom - part.top));
    Render(RenderingOf(picture, image), part, words.data());
    uint32_t *to = sheet.words + (part.left - sheet.part.left);
    const Protection *protection = ProtectionOf(picture);
    std::vector<uint32_t> free;
    if (protection && protection->any) free = FreeWords(picture, *protection, part);
    for (size_t y = 0; y < size_t(part.bottom - part.top); ++y) {
        uint32_t *row = words.data() + y * width;
        if (!free.empty()) BringBackSeen(to + y * stride, row, free.data() + y * width, width);
        std::copy_n(row, width, to + y * stride);
    }
}

// Light and dark beside each other show on every picture.
static void DrawSplit(const Sheet &sheet)
{
    const int column = SplitColumn(sheet.picture);
    if (column <= 0) return;
    const RECT light = {column - 1, sheet.part.top, column, sheet.part.bottom};
    const RECT dark = {column, sheet.part.top, column + 1, sheet.part.bottom};
    FillRect(sheet.space, &light, HBRUSH(GetStockObject(WHITE_BRUSH)));
    FillRect(sheet.space, &dark, HBRUSH(GetStockObject(BLACK_BRUSH)));
}

static void KPZAPI DrawPicture(void *context, const ImageRecord *image)
{
    Sheet &sheet = *static_cast<Sheet *>(context);
    const PictureWindow &picture = sheet.picture;
    ImageRecord lent = *image;
    const bool veiled = picture.protecting && ProtectionOf(picture);
    Render(veiled ? RenderingOfProtection(picture, lent) : RenderingOf(picture, image), sheet.part, sheet.words);
    const HWND preview = PreviewFor(picture);
    if (preview && MiscLookAtPreview(preview, picture.image, DrawPreview, &sheet)) DrawSplit(sheet);
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

void PaintPicture(PictureWindow &picture)
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

void PaintAgain(PictureWindow &picture)
{
    KillTimer(picture.canvas, RETRY_TIMER);
    const RECT part = picture.unpainted;
    picture.unpainted = {};
    InvalidateRect(picture.canvas, &part, FALSE);
}
