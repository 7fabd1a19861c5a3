// Pictures to and from the clipboard: 8 and 1 bit stay what they are, everything else comes and goes as RGB. Masks and
// floating objects stay behind.

#include "host/editor/clipboard.h"

#include "host/editor/geometry.h"

#include <algorithm>
#include <cstring>

// Many programs put pictures there as PNG files too, with what is transparent.
static UINT PngFormat()
{
    static const UINT format = RegisterClipboardFormatA("PNG");
    return format;
}

bool ClipboardHasPicture() { return IsClipboardFormatAvailable(CF_DIB) || IsClipboardFormatAvailable(PngFormat()); }

//---- Out

// The selected rectangle within the picture, or all of it.
static RECT AreaToCopy(const ImageRecord &image)
{
    const Selection &selection = image.selection;
    if (selection.pointCount == 0) return {0, 0, image.width, image.height};
    return {std::max(selection.left, 0), std::max(selection.top, 0), std::min(selection.right + 1, image.width),
            std::min(selection.bottom + 1, image.height)};
}

// A bitmap of the clipboard: header, palette, rows from the bottom up.
static void PutBitmap(uint8_t *bitmap, const ImageRecord &image, const RECT &area, int32_t entries)
{
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = WORD(image.bitsPerPixel);
    header.biClrUsed = DWORD(entries);
    memcpy(bitmap, &header, sizeof header);
    bitmap += sizeof header;
    for (int32_t i = 0; i < entries; ++i) {
        const RGBQUAD colour = {image.blue[i], image.green[i], image.red[i], 0};
        memcpy(bitmap, &colour, sizeof colour);
        bitmap += sizeof colour;
    }
    const auto fromStride = size_t(RowStride(image.bitsPerPixel, image.width));
    const auto stride = size_t(RowStride(image.bitsPerPixel, width));
    for (LONG y = area.bottom; y-- > area.top; bitmap += stride) {
        const uint8_t *row = image.pixels + fromStride * size_t(y);
        CopyRun(row, area.left, bitmap, 0, width, image.bitsPerPixel);
    }
}

// With the mask, which a bitmap has no place for.
static void GivePng(const ImageRecord &image, const RECT &area)
{
    const auto always = [](int32_t, int32_t) { return true; };
    const Picture part =
        Cropped(PictureOf(&image), area.left, area.top, area.right - area.left, area.bottom - area.top, always);
    std::vector<uint8_t> bytes;
    std::vector<std::string> notices;
    std::string error;
    if (!WritePictureBytes("a.png", part, FileFormat::PNG, {}, bytes, notices, error)) return;
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    if (!memory) return;
    memcpy(GlobalLock(memory), bytes.data(), bytes.size());
    GlobalUnlock(memory);
    if (!SetClipboardData(PngFormat(), memory)) GlobalFree(memory);
}

void CopyToClipboard(Editor &editor, const PictureWindow &picture)
{
    const ImageRecord &image = *picture.image;
    const RECT area = AreaToCopy(image);
    if (area.right <= area.left || area.bottom <= area.top) return;
    const int32_t entries = image.bitsPerPixel == 24 ? 0 : image.paletteEntries;
    const auto stride = size_t(RowStride(image.bitsPerPixel, area.right - area.left));
    const size_t head = sizeof(BITMAPINFOHEADER) + size_t(entries) * sizeof(RGBQUAD);
    const size_t size = head + stride * size_t(area.bottom - area.top);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    if (!memory) return;
    PutBitmap(static_cast<uint8_t *>(GlobalLock(memory)), image, area, entries);
    GlobalUnlock(memory);
    if (OpenClipboard(editor.frame)) {
        EmptyClipboard();
        const bool given = SetClipboardData(CF_DIB, memory) != nullptr;
        if (given && image.mask) GivePng(image, area);
        CloseClipboard();
        if (given) return;
    }
    GlobalFree(memory);
}

//---- In

static size_t PaletteBytes(const BITMAPINFOHEADER &header)
{
    if (header.biCompression == BI_BITFIELDS && header.biSize == sizeof header) return 3 * sizeof(DWORD);
    if (header.biClrUsed) return header.biClrUsed * sizeof(RGBQUAD);
    return header.biBitCount <= 8 ? sizeof(RGBQUAD) << header.biBitCount : 0;
}

struct Bitmap {
    BITMAPINFOHEADER header;
    LONG width, height;
    const uint8_t *head, *rows;   // what the clipboard holds, and the rows in it
};

static bool ReadHead(Bitmap &bitmap, const uint8_t *bytes, size_t size)
{
    if (size < sizeof bitmap.header) return false;
    memcpy(&bitmap.header, bytes, sizeof bitmap.header);
    const BITMAPINFOHEADER &header = bitmap.header;
    constexpr LONG MOST = 1000000;
    if (header.biWidth < 1 || header.biWidth > MOST || header.biHeight == 0) return false;
    if (header.biHeight > MOST || header.biHeight < -MOST || header.biSize > size || header.biClrUsed > 256)
        return false;
    bitmap.width = header.biWidth;
    bitmap.height = header.biHeight < 0 ? -header.biHeight : header.biHeight;
    const size_t start = header.biSize + PaletteBytes(header);
    bitmap.head = bytes;
    bitmap.rows = bytes + start;
    if (header.biCompression != BI_RGB && header.biCompression != BI_BITFIELDS) return start < size;
    const uint64_t stride = (uint64_t(header.biBitCount) * uint64_t(bitmap.width) + 31) / 32 * 4;
    return start + stride * uint64_t(bitmap.height) <= size;
}

static bool IsGreyRamp(const Picture &picture)
{
    for (int i = 0; i < 256; ++i)
        if (picture.red[i] != i || picture.green[i] != i || picture.blue[i] != i) return false;
    return true;
}

// Of a picture with a palette; entries that the bitmap does not have are black.
static void ReadPalette(Picture &contents, const Bitmap &bitmap, int32_t entries)
{
    contents.paletteEntries = entries;
    const uint8_t *entry = bitmap.head + bitmap.header.biSize;
    for (int32_t i = 0; i < entries; ++i, entry += sizeof(RGBQUAD)) {
        contents.blue[i] = entry[0];
        contents.green[i] = entry[1];
        contents.red[i] = entry[2];
    }
}

static void CopyRows(Picture &contents, const Bitmap &bitmap)
{
    const auto stride = size_t(RowStride(contents.bitsPerPixel, bitmap.width));
    for (LONG y = 0; y < bitmap.height; ++y) {
        const LONG from = bitmap.header.biHeight < 0 ? y : bitmap.height - 1 - y;
        memcpy(contents.pixels.get() + stride * size_t(y), bitmap.rows + stride * size_t(from), stride);
    }
}

// Eight bits stay what they are, grey or palette, and so do black and white. False for any other bitmap.
static bool TakeAsItIs(Picture &contents, const Bitmap &bitmap)
{
    const BITMAPINFOHEADER &header = bitmap.header;
    if (header.biCompression != BI_RGB || (header.biBitCount != 8 && header.biBitCount != 1)) return false;
    const int32_t most = 1 << header.biBitCount, entries = header.biClrUsed ? int32_t(header.biClrUsed) : most;
    if (entries > most) return false;
    Picture taken = NewPicture(header.biBitCount == 8 ? PALETTE : ONE_BIT, bitmap.width, bitmap.height);
    const Picture usual = NewPicture(ONE_BIT, 1, 1);
    ReadPalette(taken, bitmap, entries);
    const bool blackAndWhite = memcmp(taken.red, usual.red, 2) == 0 && memcmp(taken.green, usual.green, 2) == 0 &&
                               memcmp(taken.blue, usual.blue, 2) == 0;
    if (header.biBitCount == 1 && (entries < 2 || !blackAndWhite)) return false;
    CopyRows(taken, bitmap);
    if (header.biBitCount == 8 && IsGreyRamp(taken)) taken.colourType = GREY;
    contents = std::move(taken);
    return true;
}

// The system's own drawing understands every kind of bitmap.
static bool DrawInto(Picture &contents, const Bitmap &bitmap)
{
    const LONG width = bitmap.width, height = bitmap.height;
    BITMAPINFO made = {};
    made.bmiHeader = {sizeof made.bmiHeader, width, -height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    void *rows = nullptr;
    const HDC screen = GetDC(nullptr), space = CreateCompatibleDC(screen);
    const HBITMAP memory = CreateDIBSection(screen, &made, DIB_RGB_COLORS, &rows, nullptr, 0);
    bool drawn = false;
    if (memory) {
        const HGDIOBJ before = SelectObject(space, memory);
        drawn = StretchDIBits(space, 0, 0, width, height, 0, 0, width, height, bitmap.rows,
                              reinterpret_cast<const BITMAPINFO *>(bitmap.head), DIB_RGB_COLORS, SRCCOPY) > 0;
        GdiFlush();
        if (drawn) {
            contents = NewPicture(RGB, width, height);
            memcpy(contents.pixels.get(), rows, size_t(RowStride(24, width)) * size_t(height));
        }
        SelectObject(space, before);
        DeleteObject(memory);
    }
    DeleteDC(space);
    ReleaseDC(nullptr, screen);
    return drawn;
}

static bool TakePng(Picture &contents)
{
    const HANDLE memory = GetClipboardData(PngFormat());
    const auto *bytes = memory ? static_cast<const uint8_t *>(GlobalLock(memory)) : nullptr;
    if (!bytes) return false;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    const bool taken = ReadPictureBytes({bytes, GlobalSize(memory)}, contents, format, notices, error);
    GlobalUnlock(memory);
    return taken;
}

// The PNG file first: it has a mask where the bitmap has none.
bool PictureOnClipboard(Picture &contents)
{
    if (!OpenClipboard(nullptr)) return false;
    bool taken = TakePng(contents);
    if (const HANDLE memory = taken ? nullptr : GetClipboardData(CF_DIB)) {
        const auto *bytes = static_cast<const uint8_t *>(GlobalLock(memory));
        Bitmap bitmap = {};
        taken = bytes && ReadHead(bitmap, bytes, GlobalSize(memory)) &&
                (TakeAsItIs(contents, bitmap) || DrawInto(contents, bitmap));
        GlobalUnlock(memory);
    }
    CloseClipboard();
    return taken;
}
