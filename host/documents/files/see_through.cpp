// See see_through.h. A GIF frame's transparent colour comes as a mask, a PNG palette's alpha stays with the palette, and
// each goes into the other's files without a pixel being lost. What a format has no place for at all is not told here.

#include "host/documents/files/see_through.h"

#include <algorithm>
#include <cstring>
#include <new>

static const int FULLY_SEEN = 255;
static const int NO_ENTRY = -1;

static bool HasMasksBesidePalettes(FileFormat format)
{
    return format == FileFormat::GIF || format == FileFormat::WEBP || format == FileFormat::TIFF ||
           format == FileFormat::PNM;
}

static void Lend(PlaneBytes &to, PlaneBytes plane, std::vector<PlaneBytes> &made)
{
    (void)to.release();   // another's, too
    to.reset(made.emplace_back(std::move(plane)).get());
}

static Picture Like(const Picture &picture, int32_t colourType)
{
    Picture fresh;
    std::string ignored;
    if (!StartPicture(fresh, colourType, picture.width, picture.height, true, ignored)) throw std::bad_alloc();
    return fresh;
}

//---- From a palette to a mask

static void MaskOfPalette(Picture &picture, std::vector<PlaneBytes> &made)
{
    const std::vector<uint8_t> &ofEntry = picture.extras.paletteAlpha;
    Picture mask = Like(picture, GREY);
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = RowAt(picture, y);
        uint8_t *to = RowToFill(mask, y);
        for (int32_t x = 0; x < picture.width; ++x) to[x] = row[x] < ofEntry.size() ? ofEntry[row[x]] : FULLY_SEEN;
    }
    Lend(picture.mask, std::move(mask.pixels), made);
    picture.maskBitsPerPixel = 8;
    picture.extras.paletteAlpha.clear();
}

//---- From a mask to a palette

// Which entry stands for an index that is seen so far.
struct Entries {
    std::vector<int> of = std::vector<int>(256 * 256, NO_ENTRY);
    bool moved = false;   // some stand at another place than their index
};

static size_t Pair(int index, int alpha) { return size_t(index) * 256 + size_t(alpha); }

template <typename Routine> static void ForEachPixel(const Picture &picture, Routine routine)
{
    std::vector<uint8_t> alpha(static_cast<size_t>(picture.width));
    for (int32_t y = 0; y < picture.height; ++y) {
        AlphaRow(picture, y, alpha.data());
        const uint8_t *row = RowAt(picture, y);
        for (int32_t x = 0; x < picture.width; ++x) routine(x, y, row[x], alpha[size_t(x)]);
    }
}

// Entries keep their places as far as they can: of what an index is seen as, most of all what hides least. The others
// take entries beyond the palette's, then those that no pixel names. False where there are more than 256.
static bool PlaceEntries(const Picture &picture, Entries &entries)
{
    std::vector<bool> seen(256 * 256, false);
    bool taken[256] = {};
    ForEachPixel(picture, [&](int32_t, int32_t, int index, int alpha) { seen[Pair(index, alpha)] = true; });
    std::vector<size_t> others;
    for (int index = 0; index < 256; ++index)
        for (int alpha = FULLY_SEEN; alpha >= 0; --alpha) {
            if (!seen[Pair(index, alpha)]) continue;
            if (taken[index]) others.push_back(Pair(index, alpha));
            else entries.of[Pair(index, alpha)] = index;
            taken[index] = true;
        }
    const int beyond = std::clamp(picture.paletteEntries, 0, 255);
    int tried = 0;
    for (const size_t pair : others) {
        while (tried < 256 && taken[(beyond + tried) % 256]) ++tried;
        if (tried == 256) return false;
        entries.of[pair] = (beyond + tried) % 256;
        taken[entries.of[pair]] = true;
    }
    entries.moved = !others.empty();
    return true;
}

static void GiveEntries(Picture &picture, const Entries &entries)
{
    std::vector<uint8_t> &alphas = picture.extras.paletteAlpha;
    alphas.clear();
    for (size_t pair = 0; pair < entries.of.size(); ++pair) {
        const int entry = entries.of[pair], index = int(pair / 256), alpha = int(pair % 256);
        if (entry == NO_ENTRY) continue;
        picture.red[entry] = picture.red[index];
        picture.green[entry] = picture.green[index];
        picture.blue[entry] = picture.blue[index];
        picture.paletteEntries = std::max(picture.paletteEntries, int32_t(entry + 1));
        if (alpha == FULLY_SEEN) continue;
        alphas.resize(std::max(alphas.size(), size_t(entry) + 1), FULLY_SEEN);
        alphas[size_t(entry)] = uint8_t(alpha);
    }
}

static bool PaletteOfMask(Picture &picture, std::vector<PlaneBytes> &made)
{
    Entries entries;
    if (!PlaceEntries(picture, entries)) return false;
    if (entries.moved) {
        Picture turned = Like(picture, PALETTE);
        for (int32_t y = 0; y < picture.height; ++y) RowToFill(turned, y);
        ForEachPixel(picture, [&](int32_t x, int32_t y, int index, int alpha) {
            turned.pixels[size_t(RowStride(8, picture.width)) * size_t(y) + size_t(x)] =
                uint8_t(entries.of[Pair(index, alpha)]);
        });
        Lend(picture.pixels, std::move(turned.pixels), made);
    }
    GiveEntries(picture, entries);
    (void)picture.mask.release();
    picture.maskBitsPerPixel = 0;
    return true;
}

// As a type that has masks there.
static void Widen(Picture &picture, int32_t colourType, std::vector<PlaneBytes> &made)
{
    Picture wide = Like(picture, colourType);
    for (int32_t y = 0; y < picture.height; ++y) {
        uint8_t *row = RowToFill(wide, y);
        if (colourType == GREY) {
            GreyRow(picture, y, row);
        } else {
            ColourRow(picture, y, row);
            SwapRedBlue(row, row, picture.width);
        }
    }
    picture.colourType = wide.colourType;
    picture.bitsPerPixel = wide.bitsPerPixel;
    picture.paletteEntries = wide.paletteEntries;
    memcpy(picture.red, wide.red, sizeof wide.red);
    memcpy(picture.green, wide.green, sizeof wide.green);
    memcpy(picture.blue, wide.blue, sizeof wide.blue);
    picture.extras.paletteAlpha.clear();
    Lend(picture.pixels, std::move(wide.pixels), made);
}

void FitTransparency(Picture &picture, FileFormat format, std::vector<PlaneBytes> &made, Notices &notices)
{
    const bool palette = picture.colourType == PALETTE;
    if (palette && !picture.mask && !picture.extras.paletteAlpha.empty() && HasMasksBesidePalettes(format)) {
        MaskOfPalette(picture, made);
    }
    if (format != FileFormat::PNG || !picture.mask) return;
    if (palette && !PaletteOfMask(picture, made)) {
        Widen(picture, RGB, made);
        notices.push_back("stored as RGB: a palette in a PNG file has no place for all that its mask tells apart");
    } else if (picture.colourType == ONE_BIT) {
        Widen(picture, GREY, made);
        notices.push_back("stored as grey: a 1-bit picture in a PNG file has no place for its mask");
    }
}
