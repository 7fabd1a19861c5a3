// Sheets: pictures of any size and type, made smaller until they fit, in rows with a name beneath each. Runs no effect
// and reads no file; what is shown and in which order is the caller's.

#include "host/library/errors.h"
#include "host/library/lettering.h"

#include <algorithm>
#include <cmath>
#include <string.h>

static constexpr int32_t USUAL_WIDTH = 1600, MARGIN = 24, BETWEEN = 16, LETTERS = 14, BELOW = 34;
static constexpr uint8_t PAPER[3] = {250, 250, 248}, INK[3] = {40, 40, 44};

//---- Pictures

// What the mask lets through lies on the paper's colour.
static vlm_code PlaneOf(const vlm_picture &picture, RgbPlane &plane)
{
    plane.width = vlm_picture_width(&picture);
    plane.height = vlm_picture_height(&picture);
    const size_t pixels = size_t(plane.width) * size_t(plane.height);
    std::vector<uint8_t> withAlpha(4 * pixels);
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = plane.width;
    planes.height = plane.height;
    planes.layout = VLM_LAYOUT_RGBA;
    planes.pixels = withAlpha.data();
    if (const vlm_code code = vlm_picture_to_planes(&picture, &planes)) return code;
    plane.bytes.resize(3 * pixels);
    for (size_t i = 0; i < pixels; ++i) {
        const int alpha = withAlpha[4 * i + 3];
        for (size_t c = 0; c < 3; ++c)
            plane.bytes[3 * i + c] = uint8_t((withAlpha[4 * i + c] * alpha + PAPER[c] * (255 - alpha) + 127) / 255);
    }
    return VLM_OK;
}

// Where each pixel of the smaller row begins among those of the larger, in 256ths.
static int64_t EdgeOf(int32_t place, int32_t from, int32_t to) { return int64_t(place) * from * 256 / to; }

// One direction at a time: every new pixel is the mean of what it covers. Larger ones come of repeating.
static RgbPlane ScaledAcross(const RgbPlane &from, int32_t width)
{
    RgbPlane to = {width, from.height, std::vector<uint8_t>(3 * size_t(width) * size_t(from.height))};
    for (int32_t y = 0; y < from.height; ++y) {
        const uint8_t *row = &from.bytes[3 * size_t(y) * size_t(from.width)];
        uint8_t *out = &to.bytes[3 * size_t(y) * size_t(width)];
        for (int32_t x = 0; x < width; ++x) {
            const int64_t start = EdgeOf(x, from.width, width);
            const int64_t end = std::max(EdgeOf(x + 1, from.width, width), start + 1);
            int64_t sums[3] = {};
            for (int64_t at = start; at < end;) {
                const int64_t pixel = at / 256, share = std::min(end, (pixel + 1) * 256) - at;
                for (int c = 0; c < 3; ++c) sums[c] += share * row[3 * pixel + c];
                at += share;
            }
            for (int c = 0; c < 3; ++c) out[3 * x + c] = uint8_t((sums[c] + (end - start) / 2) / (end - start));
        }
    }
    return to;
}

static RgbPlane Turned(const RgbPlane &from)
{
    RgbPlane to = {from.height, from.width, std::vector<uint8_t>(from.bytes.size())};
    for (int32_t y = 0; y < from.height; ++y)
        for (int32_t x = 0; x < from.width; ++x)
            memcpy(&to.bytes[3 * (size_t(x) * size_t(from.height) + size_t(y))],
                   &from.bytes[3 * (size_t(y) * size_t(from.width) + size_t(x))], 3);
    return to;
}

static RgbPlane Scaled(const RgbPlane &from, int32_t width, int32_t height)
{
    if (from.width == width && from.height == height) return from;
    return Turned(ScaledAcross(Turned(ScaledAcross(from, width)), height));
}

static vlm_code PictureOf(const RgbPlane &plane, vlm_picture **picture)
{
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = plane.width;
    planes.height = plane.height;
    planes.layout = VLM_LAYOUT_RGB;
    planes.pixels = const_cast<uint8_t *>(plane.bytes.data());
    return vlm_picture_from_planes(&planes, picture);
}

vlm_code vlm_picture_scale(const vlm_picture *picture, int32_t width, int32_t height, vlm_picture **scaled)
{
    return Guarded([&] {
        if (scaled) *scaled = nullptr;
        if (!picture || !scaled) return FailArgument("picture or scaled");
        if (width < 1 || height < 1 || width > 32767 || height > 32767) return FailArgument("width or height");
        RgbPlane plane;
        if (const vlm_code code = PlaneOf(*picture, plane)) return code;
        return PictureOf(Scaled(plane, width, height), scaled);
    });
}

//---- Sheets

struct Cells {
    int32_t columns, width, height;   // of a cell's picture at most
};

// The whole is as wide as was asked for; a cell is as high as the highest picture comes out in it.
static Cells CellsOf(const vlm_tile *tiles, int count, int columns, int32_t sheetWidth)
{
    Cells cells = {columns, 0, 1};
    cells.width = (sheetWidth - 2 * MARGIN - (columns - 1) * BETWEEN) / columns;
    for (int i = 0; i < count; ++i) {
        const double width = vlm_picture_width(tiles[i].picture), height = vlm_picture_height(tiles[i].picture);
        const double fits = std::min(cells.width / width, 1.5 * cells.width / height);
        cells.height = std::max(cells.height, int32_t(std::lround(height * fits)));
    }
    return cells;
}

static void Paste(RgbPlane &sheet, const RgbPlane &plane, int32_t x, int32_t y)
{
    for (int32_t row = 0; row < plane.height; ++row)
        memcpy(&sheet.bytes[3 * (size_t(y + row) * size_t(sheet.width) + size_t(x))],
               &plane.bytes[3 * size_t(row) * size_t(plane.width)], 3 * size_t(plane.width));
}

static vlm_code PlaceTile(RgbPlane &sheet, const Cells &cells, const vlm_tile &tile, int32_t x, int32_t y)
{
    RgbPlane plane;
    if (const vlm_code code = PlaneOf(*tile.picture, plane)) return code;
    const double fits = std::min(double(cells.width) / plane.width, double(cells.height) / plane.height);
    const int32_t width = std::clamp(int32_t(std::lround(plane.width * fits)), 1, cells.width);
    const int32_t height = std::clamp(int32_t(std::lround(plane.height * fits)), 1, cells.height);
    Paste(sheet, Scaled(plane, width, height), x + (cells.width - width) / 2, y + (cells.height - height) / 2);
    const std::string label = FittingText(tile.label ? tile.label : "", LETTERS, cells.width);
    const double start = x + (cells.width - WidthOfText(label, LETTERS)) / 2;
    DrawText(sheet, label, start, y + cells.height + 8, LETTERS, INK);
    return VLM_OK;
}

static vlm_code CheckTiles(const vlm_tile *tiles, int count, int columns, int32_t width)
{
    if (!tiles || count < 1) return FailArgument("tiles or count");
    for (int i = 0; i < count; ++i)
        if (!tiles[i].picture || vlm_picture_width(tiles[i].picture) < 1) return FailArgument("a tile's picture");
    if (columns < 0 || columns > 100 || width < 0 || (width > 0 && (width < 200 || width > 10000)))
        return FailArgument("columns or width");
    return VLM_OK;
}

vlm_code vlm_sheet_make(const vlm_tile *tiles, int count, int columns, int32_t width, vlm_picture **sheet)
{
    return Guarded([&] {
        if (sheet) *sheet = nullptr;
        if (!sheet) return FailArgument("sheet");
        if (const vlm_code code = CheckTiles(tiles, count, columns, width)) return code;
        const int32_t whole = width ? width : USUAL_WIDTH;
        const int asked = columns ? columns : int(std::ceil(std::sqrt(double(count) * 1.1)));
        const int most = std::max(1, (whole - 2 * MARGIN + BETWEEN) / (64 + BETWEEN));   // 64 pixels a picture at least
        const Cells cells = CellsOf(tiles, count, std::clamp(asked, 1, std::min(count, most)), whole);
        const int rows = (count + cells.columns - 1) / cells.columns;
        RgbPlane plane = {whole, 2 * MARGIN + rows * (cells.height + BELOW) + (rows - 1) * BETWEEN, {}};
        plane.bytes.resize(3 * size_t(plane.width) * size_t(plane.height));
        for (size_t i = 0; i < plane.bytes.size(); ++i) plane.bytes[i] = PAPER[i % 3];
        for (int i = 0; i < count; ++i) {
            const int32_t x = MARGIN + i % cells.columns * (cells.width + BETWEEN);
            const int32_t y = MARGIN + i / cells.columns * (cells.height + BELOW + BETWEEN);
            if (const vlm_code code = PlaceTile(plane, cells, tiles[i], x, y)) return code;
        }
        return PictureOf(plane, sheet);
    });
}
