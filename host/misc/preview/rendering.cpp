// Draws a part of a view into words of 32 bits: pixels looked up, veiled by the mask where that is shown, means taken
// where the picture is shown smaller. Arithmetic alone: no window, no drawing call.

#include "host/misc/preview/rendering.h"

#include "host/misc/pictures/image_copy.h"
#include "host/misc/pictures/rows.h"

#include <algorithm>
#include <cmath>
#include <vector>

static constexpr uint32_t VEIL = 0xE02020;

//---- Pixels of the picture

// A colour's channels with room to add up to 256 of them: blue and red in 16 bits each, and green.
struct Colour {
    uint32_t blueRed, green;
};

static Colour ColourOf(uint32_t word) { return {word & 0xFF00FF, word >> 8 & 0xFF}; }
static uint32_t WordOf(Colour colour) { return colour.blueRed | colour.green << 8; }

struct Palette {
    Colour colours[256];
};

static Palette PaletteOf(const ImageRecord &picture)
{
    Palette palette;
    for (int i = 0; i < 256; ++i) {
        palette.colours[i] = {uint32_t(picture.red[i]) << 16 | picture.blue[i], picture.green[i]};
    }
    return palette;
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
static Colour Veiled(Colour colour, const uint8_t *mask, int32_t bits, int32_t x)
{
    const uint32_t kept = bits == 8 ? mask[x] : BitAt(mask, x) ? 255 : 0;
    return kept == 255 ? colour : ColourOf(Mix(WordOf(colour), VEIL, 255 - kept));
}

//---- Scaling

// How many columns, and how many rows, of a picture make one of the window. What is much reduced keeps its thin lines.
static int SamplesAt(double scale) { return scale >= 1 ? 1 : scale >= 1.0 / 3 ? 2 : 4; }

// The picture's line of sample `index` in window line `at`, within the picture.
static int32_t LineAt(LONG at, int index, int samples, double scale, int32_t length)
{
    return std::clamp(int32_t((double(at) + (index + 0.5) / samples) / scale), 0, length - 1);
}

struct Columns {
    LONG from, to;   // window columns that show the picture
    int samples;
    std::vector<int32_t> at;   // the picture's columns, `samples` of them for each
};

static Columns ColumnsOf(const Rendering &rendering, const RECT &part, POINT origin, Extent shown)
{
    Columns columns;
    columns.from = std::max(part.left, origin.x);
    columns.to = std::max(columns.from, std::min<LONG>(part.right, origin.x + shown.width));
    const double scale = rendering.view.scale;
    columns.samples = SamplesAt(scale);
    for (LONG x = columns.from; x < columns.to; ++x) {
        for (int i = 0; i < columns.samples; ++i) {
            columns.at.push_back(LineAt(x - origin.x, i, columns.samples, scale, rendering.picture->width));
        }
    }
    return columns;
}

template <int SAMPLES, typename PixelAt>
static void AddPixels(PixelAt pixelAt, const int32_t *at, std::vector<Colour> &sums)
{
    for (Colour &sum : sums) {
        for (int i = 0; i < SAMPLES; ++i) {
            const Colour colour = pixelAt(*at++);
            sum.blueRed += colour.blueRed;
            sum.green += colour.green;
        }
    }
}

template <typename PixelAt> static void AddRow(PixelAt pixelAt, const Columns &columns, std::vector<Colour> &sums)
{
    switch (columns.samples) {
    case 1: AddPixels<1>(pixelAt, columns.at.data(), sums); break;
    case 2: AddPixels<2>(pixelAt, columns.at.data(), sums); break;
    case 4: AddPixels<4>(pixelAt, columns.at.data(), sums); break;
    }
}

//---- Rows

struct Source {
    const ImageRecord &picture;
    bool veiled;   // what the mask leaves out
    Palette palette;
    uint32_t stride, maskStride;
};

template <typename PixelAt>
static void AddMaskedRow(const Source &source, int32_t y, PixelAt pixelAt, const Columns &columns,
                         std::vector<Colour> &sums)
{
    if (!source.veiled) return AddRow(pixelAt, columns, sums);
    const uint8_t *mask = source.picture.mask + size_t(source.maskStride) * uint32_t(y);
    const int32_t bits = source.picture.maskBitsPerPixel;
    AddRow([=](int32_t x) { return Veiled(pixelAt(x), mask, bits, x); }, columns, sums);
}

static void AddRowOf(const Source &source, int32_t y, const Columns &columns, std::vector<Colour> &sums)
{
    const uint8_t *row = source.picture.pixels + size_t(source.stride) * uint32_t(y);
    const Colour *colours = source.palette.colours;
    const auto colourAt = [=](int32_t x) -> Colour {
        const uint8_t *pixel = row + 3 * x;
        return {uint32_t(pixel[2]) << 16 | pixel[0], pixel[1]};
    };
    const auto entryAt = [=](int32_t x) { return colours[row[x]]; };
    const auto bitAt = [=](int32_t x) { return colours[BitAt(row, x)]; };
    switch (source.picture.bitsPerPixel) {
    case 24: AddMaskedRow(source, y, colourAt, columns, sums); break;
    case 8: AddMaskedRow(source, y, entryAt, columns, sums); break;
    default: AddMaskedRow(source, y, bitAt, columns, sums); break;
    }
}

// The rounded mean of samples * samples colours each.
static void TakeMean(const std::vector<Colour> &sums, int samples, uint32_t *words)
{
    const int shift = samples == 4 ? 4 : samples == 2 ? 2 : 0;
    const uint32_t half = 1u << shift >> 1;
    for (const Colour &sum : sums) {
        *words++ = ((sum.blueRed + (half | half << 16)) >> shift & 0xFF00FF) | (sum.green + half) >> shift << 8;
    }
}

//---- What is seen through

// Squares of this many window pixels, from the picture's corner on.
static constexpr LONG SQUARE = 8;
static constexpr uint32_t LIGHT = 0xFFFFFF, DARK = 0xC8C8C8;

static void AddAlpha(const Source &source, int32_t y, const Columns &columns, std::vector<uint32_t> &alphas)
{
    const uint8_t *mask = source.picture.mask + size_t(source.maskStride) * uint32_t(y);
    const bool bytes = source.picture.maskBitsPerPixel == 8;
    const int32_t *at = columns.at.data();
    for (uint32_t &alpha : alphas) {
        for (int i = 0; i < columns.samples; ++i, ++at) alpha += bytes ? mask[*at] : BitAt(mask, *at) ? 255 : 0;
    }
}

// `x` and `y` count from the picture's corner; `samples` alphas have been added up in each.
static void ShowThrough(const std::vector<uint32_t> &alphas, uint32_t samples, LONG x, LONG y, uint32_t *words)
{
    for (const uint32_t alpha : alphas) {
        if (alpha < 255 * samples) {
            const uint32_t square = (x / SQUARE + y / SQUARE) % 2 ? DARK : LIGHT;
            *words = Mix(square, *words, 2 * (alpha / samples));
        }
        ++words;
        ++x;
    }
}

void Render(const Rendering &rendering, const RECT &part, uint32_t *words)
{
    const ImageRecord &picture = *rendering.picture;
    const Extent extent = {picture.width, picture.height};
    const Extent shown = ShownExtent(rendering.view, extent);
    const POINT origin = OriginOf(rendering.view, extent, rendering.window);
    const Columns columns = ColumnsOf(rendering, part, origin, shown);
    const Source source = {picture, rendering.maskShown && picture.mask, PaletteOf(picture),
                           uint32_t(RowStride(picture.bitsPerPixel, picture.width)),
                           uint32_t(RowStride(picture.maskBitsPerPixel, picture.width))};
    std::vector<Colour> sums;
    std::vector<uint32_t> alphas;
    const bool seenThrough = rendering.maskIsAlpha && picture.mask && !rendering.maskShown;
    const size_t width = size_t(part.right - part.left);
    for (LONG y = part.top; y < part.bottom; ++y, words += width) {
        std::fill(words, words + width, rendering.background);
        if (y < origin.y || y >= origin.y + shown.height || columns.from == columns.to) continue;
        sums.assign(size_t(columns.to - columns.from), {});
        alphas.assign(seenThrough ? sums.size() : 0, 0);
        for (int i = 0; i < columns.samples; ++i) {
            const int32_t at = LineAt(y - origin.y, i, columns.samples, rendering.view.scale, picture.height);
            AddRowOf(source, at, columns, sums);
            if (seenThrough) AddAlpha(source, at, columns, alphas);
        }
        uint32_t *first = words + (columns.from - part.left);
        TakeMean(sums, columns.samples, first);
        const auto samples = uint32_t(columns.samples * columns.samples);
        ShowThrough(alphas, samples, columns.from - origin.x, y - origin.y, first);
    }
}
