#include "host/misc/rendering.h"

#include "host/misc/image_copy.h"

#include <algorithm>
#include <cmath>
#include <vector>

static constexpr uint32_t VEIL = 0xE02020;

//---- One row of the picture at chosen columns

struct Palette { uint32_t words[256]; };

static Palette PaletteOf(const ImageRecord &picture)
{
    Palette palette;
    for (int i = 0; i < 256; ++i) {
        palette.words[i] = uint32_t(picture.red[i]) << 16 | uint32_t(picture.green[i]) << 8 | picture.blue[i];
    }
    return palette;
}

static void FetchColours(const uint8_t *row, const int32_t *columns, int32_t count, uint32_t *words)
{
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t *pixel = row + 3 * columns[i];
        words[i] = pixel[0] | uint32_t(pixel[1]) << 8 | uint32_t(pixel[2]) << 16;
    }
}

static void FetchBytes(const uint8_t *row, const int32_t *columns, int32_t count, const Palette &palette,
                       uint32_t *words)
{
    for (int32_t i = 0; i < count; ++i) words[i] = palette.words[row[columns[i]]];
}

static void FetchBits(const uint8_t *row, const int32_t *columns, int32_t count, const Palette &palette,
                      uint32_t *words)
{
    for (int32_t i = 0; i < count; ++i) words[i] = palette.words[row[columns[i] >> 3] >> (7 - columns[i] % 8) & 1];
}

static uint32_t Mix(uint32_t from, uint32_t to, uint32_t share)   // share of 510
{
    uint32_t mixed = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        mixed |= ((from >> shift & 255) * (510 - share) + (to >> shift & 255) * share + 255) / 510 << shift;
    }
    return mixed;
}

// Half of what the mask leaves out.
static void LayVeil(const uint8_t *mask, int32_t bits, const int32_t *columns, int32_t count, uint32_t *words)
{
    for (int32_t i = 0; i < count; ++i) {
        const int32_t x = columns[i];
        const uint32_t kept = bits == 8 ? mask[x] : mask[x >> 3] >> (7 - x % 8) & 1 ? 255 : 0;
        if (kept != 255) words[i] = Mix(words[i], VEIL, 255 - kept);
    }
}

struct Fetching {
    const Rendering &rendering;
    Palette palette;
    uint32_t stride, maskStride;
};

static void FetchRow(const Fetching &fetching, int32_t y, const int32_t *columns, int32_t count, uint32_t *words)
{
    const ImageRecord &picture = *fetching.rendering.picture;
    const uint8_t *row = picture.pixels + size_t(fetching.stride) * uint32_t(y);
    if (picture.bitsPerPixel == 24)     FetchColours(row, columns, count, words);
    else if (picture.bitsPerPixel == 8) FetchBytes(row, columns, count, fetching.palette, words);
    else                                FetchBits(row, columns, count, fetching.palette, words);
    if (!fetching.rendering.maskShown || !picture.mask) return;
    const uint8_t *mask = picture.mask + size_t(fetching.maskStride) * uint32_t(y);
    LayVeil(mask, picture.maskBitsPerPixel, columns, count, words);
}

//---- Scaling

// Two words' channels halved, rounded down.
static uint32_t Middle(uint32_t one, uint32_t other) { return (one & other) + (((one ^ other) & 0xFEFEFE) >> 1); }

static void Average(uint32_t *words, const uint32_t *others, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) words[i] = Middle(words[i], others[i]);
}

// The picture's line at `share` of the way through window line `at`, within the picture.
static int32_t LineAt(LONG at, double share, double scale, int32_t length)
{
    return std::clamp(int32_t((double(at) + share) / scale), 0, length - 1);
}

struct Columns {
    LONG from, to;                       // window columns that show the picture
    std::vector<int32_t> first, second;  // the picture's columns of each; alike when it is not reduced
};

static Columns ColumnsOf(const Rendering &rendering, const RECT &part, POINT origin, Extent shown)
{
    Columns columns;
    columns.from = std::max(part.left, origin.x);
    columns.to = std::max(columns.from, std::min<LONG>(part.right, origin.x + shown.width));
    const double scale = rendering.view.scale;
    const double share = scale < 1 ? 0.25 : 0.5;
    for (LONG x = columns.from; x < columns.to; ++x) {
        columns.first.push_back(LineAt(x - origin.x, share, scale, rendering.picture->width));
        columns.second.push_back(LineAt(x - origin.x, 1 - share, scale, rendering.picture->width));
    }
    return columns;
}

static void RenderRow(const Fetching &fetching, const Columns &columns, LONG y, uint32_t *words, uint32_t *room)
{
    const double scale = fetching.rendering.view.scale;
    const int32_t height = fetching.rendering.picture->height;
    const auto count = int32_t(columns.first.size());
    if (scale >= 1) return FetchRow(fetching, LineAt(y, 0.5, scale, height), columns.first.data(), count, words);
    uint32_t *below = room, *beside = room + count;
    for (const double share : {0.25, 0.75}) {
        uint32_t *line = share < 0.5 ? words : below;
        const int32_t at = LineAt(y, share, scale, height);
        FetchRow(fetching, at, columns.first.data(), count, line);
        FetchRow(fetching, at, columns.second.data(), count, beside);
        Average(line, beside, count);
    }
    Average(words, below, count);
}

void Render(const Rendering &rendering, const RECT &part, uint32_t *words)
{
    const ImageRecord &picture = *rendering.picture;
    const Extent extent = {picture.width, picture.height};
    const Extent shown = ShownExtent(rendering.view, extent);
    const POINT origin = OriginOf(rendering.view, extent, rendering.window);
    const Columns columns = ColumnsOf(rendering, part, origin, shown);
    const Fetching fetching = {rendering, PaletteOf(picture), StrideOf(picture.bitsPerPixel, picture.width),
                               StrideOf(picture.maskBitsPerPixel, picture.width)};
    std::vector<uint32_t> room(2 * columns.first.size());
    const size_t width = size_t(part.right - part.left);
    for (LONG y = part.top; y < part.bottom; ++y, words += width) {
        std::fill(words, words + width, rendering.background);
        if (y < origin.y || y >= origin.y + shown.height || columns.first.empty()) continue;
        RenderRow(fetching, columns, y - origin.y, words + (columns.from - part.left), room.data());
    }
}
