// What the status line says of the active picture, and the bars of all that run. The line is told to look again after
// whatever may have changed it; it does not watch for changes itself.

#include "host/editor/status_line.h"

#include "host/editor/colours.h"
#include "host/editor/greying.h"
#include "host/editor/picture_drawing.h"
#include "host/editor/protection.h"
#include "host/editor/screen.h"
#include "host/editor/strip.h"
#include "host/paths/paths.h"

#include <algorithm>

enum StatusPart { HINT_PART, TYPE_PART, SIZE_PART, ZOOM_PART, PLACE_PART, POINTER_PART, PROGRESS_PART, STATUS_PARTS };

static int Scaled(const Editor &editor, int length) { return MulDiv(length, int(DotsPerInch(editor.frame)), 96); }

//---- What it says

static const char *TypeText(const ImageRecord &image)
{
    switch (image.colourType) {
    case ONE_BIT: return "1 bit";
    case GREY: return "Grey";
    case PALETTE: return "Palette";
    default: return "RGB";
    }
}

// The status line draws a part at once, so a part that says the same is left alone.
static void SetPart(const Editor &editor, StatusPart part, const std::string &text)
{
    static std::string shown[STATUS_PARTS];
    if (shown[part] == text) return;
    shown[part] = text;
    SendMessageA(editor.status, SB_SETTEXTA, WPARAM(part), reinterpret_cast<LPARAM>(text.c_str()));
}

static std::string TimesText(LONG width, LONG height) { return std::to_string(width) + " x " + std::to_string(height); }

static std::string ZoomText(double scale)
{
    char text[32];
    snprintf(text, sizeof text, scale * 100 == int(scale * 100) ? "%.0f %%" : "%.1f %%", scale * 100);
    return text;
}

static std::string PlaceText(const PictureWindow &picture)
{
    const Selection &selection = picture.image->selection;
    if (selection.pointCount > 0) {
        return std::to_string(selection.left) + ", " + std::to_string(selection.top) + ": " +
               TimesText(selection.right - selection.left + 1, selection.bottom - selection.top + 1);
    }
    if (!picture.cursorShown) return "";
    return std::to_string(picture.cursor.x) + ", " + std::to_string(picture.cursor.y);
}

struct PixelQuery {
    POINT at;
    std::string text;
};

static void KPZAPI TakePixel(void *context, const ImageRecord *image)
{
    PixelQuery &query = *static_cast<PixelQuery *>(context);
    if (query.at.x >= image->width || query.at.y >= image->height) return;
    const uint8_t *row = image->pixels + size_t(RowStride(image->bitsPerPixel, image->width)) * size_t(query.at.y);
    char text[80];
    const LONG x = query.at.x;
    const int entry = image->bitsPerPixel == 8 ? row[x] : image->bitsPerPixel == 1 ? BitAt(row, x) : 0;
    if (image->colourType == RGB) snprintf(text, sizeof text, "%d %d %d", row[3 * x + 2], row[3 * x + 1], row[3 * x]);
    else if (image->colourType == PALETTE)
        snprintf(text, sizeof text, "#%d: %d %d %d", entry, image->red[entry], image->green[entry], image->blue[entry]);
    else snprintf(text, sizeof text, "%d", entry);
    query.text = text;
}

static std::string PointerText(const Editor &editor, const PictureWindow &picture)
{
    const POINT &at = editor.pointer;
    if (at.x < 0 || at.y < 0 || at.x >= picture.extent.width || at.y >= picture.extent.height) return "";
    PixelQuery query = {at, ""};
    LookAtImage(picture, TakePixel, &query);
    return std::to_string(at.x) + ", " + std::to_string(at.y) + "  " + query.text;
}

void ShowPointer(const Editor &editor)
{
    const PictureWindow *picture = ActivePicture(editor);
    SetPart(editor, POINTER_PART, picture ? PointerText(editor, *picture) : "");
}

static std::string HintText(const Editor &editor, const PictureWindow &picture)
{
    if (picture.image->maskEditing) {
        return "Mask: left button paints, right button clears; brush " + std::to_string(editor.brush);
    }
    if (picture.protecting)
        return "Protection: left button protects, right button frees; brush " + std::to_string(editor.brush);
    if (IsProtected(picture)) return "Parts of it are protected";
    return picture.image->mask ? "Has a mask" : "";
}

static void UpdateParts(const Editor &editor, const PictureWindow *picture)
{
    const bool still = picture && !picture->closing && !IsRunning(*picture);
    if (still) {
        const std::string hint = HintText(editor, *picture);
        SetPart(editor, HINT_PART, picture->name + (hint.empty() ? "" : ": " + hint));
        SetPart(editor, TYPE_PART, TypeText(*picture->image));
        SetPart(editor, PLACE_PART, PlaceText(*picture));
    }
    if (!picture) {
        SetPart(editor, HINT_PART, "Open a picture: Ctrl+O, or drop it here");
        for (const StatusPart part : {TYPE_PART, SIZE_PART, ZOOM_PART, PLACE_PART, POINTER_PART})
            SetPart(editor, part, "");
        return;
    }
    SetPart(editor, SIZE_PART, TimesText(picture->extent.width, picture->extent.height));
    SetPart(editor, ZOOM_PART, ZoomText(picture->view.scale));
}

// Drawn with what else waits to be drawn, however many reports have come meanwhile.
void ShowProgress(const Editor &editor)
{
    RECT area;
    if (SendMessageA(editor.status, SB_GETRECT, PROGRESS_PART, reinterpret_cast<LPARAM>(&area))) {
        InvalidateRect(editor.status, &area, FALSE);
    }
}

void UpdateStatus(Editor &editor)
{
    UpdateParts(editor, ActivePicture(editor));
    ShowPointer(editor);
    GreyDialogsSoon(editor);
    ShowProgress(editor);
    RefreshStrips();
}

//---- Its parts

static int StatusWidth(const Editor &editor, const std::string &text)
{
    SIZE size = {};
    const HDC space = GetDC(editor.status);
    const LRESULT font = SendMessageA(editor.status, WM_GETFONT, 0, 0);
    const HGDIOBJ before = SelectObject(space, reinterpret_cast<HFONT>(font));
    GetTextExtentPoint32A(space, text.c_str(), int(text.size()), &size);
    SelectObject(space, before);
    ReleaseDC(editor.status, space);
    return size.cx + Scaled(editor, 14);   // its borders, and room before the text
}

// Each part is as wide as its longest text; hint and progress share what the others leave.
void LayOutStatus(const Editor &editor)
{
    static constexpr const char *longest[STATUS_PARTS] = {
        "", "Palette", "30000 x 30000", "1600.0 %", "30000, 30000: 30000 x 30000", "30000, 30000  #255: 255 255 255",
        ""};
    RECT area;
    GetClientRect(editor.status, &area);
    int edges[STATUS_PARTS] = {};
    for (int part = TYPE_PART; part <= POINTER_PART; ++part)
        edges[part] = edges[part - 1] + StatusWidth(editor, longest[part]);
    const int hint = std::max<int>(0, (area.right - edges[POINTER_PART]) / 2);
    for (int part = HINT_PART; part <= POINTER_PART; ++part) edges[part] += hint;
    edges[PROGRESS_PART] = -1;
    SendMessageA(editor.status, SB_SETPARTS, STATUS_PARTS, reinterpret_cast<LPARAM>(edges));
}

void UseStatusFont(const Editor &editor)
{
    NONCLIENTMETRICSA metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    static HFONT used;
    const HFONT before = used;
    used = FontFor(editor.frame, metrics.lfStatusFont);
    SendMessageA(editor.status, WM_SETFONT, reinterpret_cast<WPARAM>(used), TRUE);
    if (before) DeleteObject(before);
}

// In dark colours it is drawn here, part by part: the system's own has its texts in black.
static void PaintDark(const Editor &editor)
{
    PAINTSTRUCT paint;
    RECT area;
    const HDC space = BeginPaint(editor.status, &paint);
    GetClientRect(editor.status, &area);
    FillRect(space, &area, ColourBrush(COLOR_BTNFACE));
    SetTextColor(space, Colour(COLOR_BTNTEXT));
    SetBkMode(space, TRANSPARENT);
    const auto font = reinterpret_cast<HFONT>(SendMessageA(editor.status, WM_GETFONT, 0, 0));
    const HGDIOBJ before = SelectObject(space, font);
    for (WPARAM part = HINT_PART; part < PROGRESS_PART; ++part) {
        wchar_t text[512] = L"";
        if (LOWORD(SendMessageW(editor.status, SB_GETTEXTLENGTHW, part, 0)) < std::size(text))
            SendMessageW(editor.status, SB_GETTEXTW, part, reinterpret_cast<LPARAM>(text));
        if (!SendMessageA(editor.status, SB_GETRECT, part, reinterpret_cast<LPARAM>(&area))) continue;
        FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
        InflateRect(&area, -3, 0);
        DrawTextW(space, text, -1, &area, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
    }
    SelectObject(space, before);
    if (SendMessageA(editor.status, SB_GETRECT, PROGRESS_PART, reinterpret_cast<LPARAM>(&area)))
        DrawProgress(editor, space, area);
    EndPaint(editor.status, &paint);
}

static LRESULT CALLBACK StatusProcedure(HWND window, UINT message, WPARAM word, LPARAM extra, UINT_PTR, DWORD_PTR data)
{
    const Editor &editor = *reinterpret_cast<const Editor *>(data);
    if (IsDark() && message == WM_ERASEBKGND) return TRUE;
    if (IsDark() && message == WM_PAINT) return PaintDark(editor), 0;
    const LRESULT result = DefSubclassProc(window, message, word, extra);
    // It draws a part at once when its text is set.
    if (IsDark() && (message == SB_SETTEXTA || message == SB_SETTEXTW)) InvalidateRect(window, nullptr, FALSE);
    return result;
}

void MakeStatusLine(Editor &editor)
{
    editor.status = CreateWindowExA(0, STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0,
                                    editor.frame, nullptr, GetModuleHandleA(nullptr), nullptr);
    SetWindowSubclass(editor.status, StatusProcedure, 1, reinterpret_cast<DWORD_PTR>(&editor));
    UseStatusFont(editor);
    LayOutStatus(editor);
    SendMessageA(editor.status, SB_SETTEXTA, WPARAM(PROGRESS_PART) | SBT_OWNERDRAW, 0);
}

//---- Bars

static void DrawBar(HDC space, RECT area, const std::wstring &name, int32_t tenths)
{
    InflateRect(&area, -2, -1);
    FillRect(space, &area, ColourBrush(COLOR_WINDOW));
    RECT done = area;
    done.right = area.left + MulDiv(area.right - area.left, tenths, 10);
    const RECT rest = {done.right, area.top, area.right, area.bottom};
    FillRect(space, &done, ColourBrush(COLOR_HIGHLIGHT));
    FrameRect(space, &area, ColourBrush(COLOR_BTNSHADOW));
    SetBkMode(space, TRANSPARENT);
    RECT text = area;
    InflateRect(&text, -4, 0);
    // The name is dark before the bar and light on it.
    for (const bool onBar : {true, false}) {
        const RECT &part = onBar ? done : rest;
        const int saved = SaveDC(space);
        IntersectClipRect(space, part.left, part.top, part.right, part.bottom);
        SetTextColor(space, Colour(onBar ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
        DrawTextW(space, name.c_str(), -1, &text, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
        RestoreDC(space, saved);
    }
}

// A bar for each picture that runs, side by side.
void DrawProgress(const Editor &editor, HDC space, const RECT &area)
{
    FillRect(space, &area, ColourBrush(COLOR_BTNFACE));
    std::vector<const PictureWindow *> running;
    for (const auto &picture : editor.pictures)
        if (IsRunning(*picture)) running.push_back(picture.get());
    const auto count = int(running.size());
    for (int i = 0; i < count; ++i) {
        const int left = area.left + MulDiv(area.right - area.left, i, count);
        const int right = area.left + MulDiv(area.right - area.left, i + 1, count);
        const int32_t tenths = std::max(0, MiscProgress(running[size_t(i)]->image->progress));
        DrawBar(space, {left, area.top, right, area.bottom}, WideOf(running[size_t(i)]->name), tenths);
    }
}
