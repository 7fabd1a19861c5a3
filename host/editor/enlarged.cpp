// Mirror's doubling and Shear's slant of one plane, by the words of their open dialogs. That both are what the runs make
// is tested with the runs.

#include "host/editor/enlarged.h"

#include "host/acting/acting.h"

#include <cstdlib>
#include <cstring>
#include <utility>

static uint8_t *RowOf(const Picture &picture, int32_t y)
{
    return picture.pixels.get() + size_t(RowStride(picture.bitsPerPixel, picture.width)) * size_t(y);
}

static Picture LikeThis(const Picture &picture, int32_t width, int32_t height)
{
    Picture made = NewPicture(picture.colourType, width, height);
    CopyPalette(made, picture);
    return made;
}

//---- Mirror

static void CopyPixels(const uint8_t *from, uint8_t *to, int32_t at, int32_t width, int32_t bitsPerPixel)
{
    if (bitsPerPixel >= 8) memcpy(to + at * bitsPerPixel / 8, from, size_t(width) * size_t(bitsPerPixel) / 8);
    else
        for (int32_t x = 0; x < width; ++x) SetBit(to, at + x, BitAt(from, x));
}

// `later`: the half that the picture goes into is the second.
static void PutInHalf(const Picture &picture, const Picture &doubled, bool sideways, bool later)
{
    for (int32_t y = 0; y < picture.height; ++y) {
        uint8_t *row = RowOf(doubled, y + (!sideways && later ? picture.height : 0));
        CopyPixels(RowOf(picture, y), row, sideways && later ? picture.width : 0, picture.width, picture.bitsPerPixel);
    }
}

static Picture Mirrored(HWND dialog, const DialogTemplate &table, Picture picture)
{
    if (ShownOption(dialog, table, "scope") != "all") return picture;
    const std::string direction = ShownOption(dialog, table, "direction");
    const bool sideways = direction == "left" || direction == "right",
               before = direction == "left" || direction == "up";
    const Picture doubled = LikeThis(picture, picture.width * (sideways ? 2 : 1), picture.height * (sideways ? 1 : 2));
    PutInHalf(picture, doubled, sideways, before);
    FlipPic(picture.pixels.get(), picture.width, picture.height, sideways ? 0 : 1, picture.bitsPerPixel);
    PutInHalf(picture, doubled, sideways, !before);
    return CopyOf(doubled);
}

//---- Shear

// A level, an index, a bit, or the colour itself.
static int32_t FillOf(const Picture &picture, uint32_t colour)
{
    switch (picture.colourType) {
    case GREY: return Brightness(colour) & 0xFF;
    case PALETTE: return FindClosestColor(colour, picture.red, picture.green, picture.blue, picture.paletteEntries);
    case ONE_BIT: return Brightness(colour) >= 129;
    default: return int32_t(colour);
    }
}

static Picture Slanted(HWND dialog, const DialogTemplate &table, Picture picture)
{
    const std::string scope = ShownOption(dialog, table, "scope");
    if (scope != "all" && scope != "image") return picture;
    const ControlTemplate *colour = FindOption(table, "fill-colour");
    const int32_t angle = std::atoi(ShownOption(dialog, table, "angle").c_str());
    const int32_t fill = FillOf(picture, colour ? HostShownColour(dialog, colour->id) : 0);
    const bool horizontal = ShownOption(dialog, table, "direction") == "horizontal";
    int32_t goOn = 0;
    uint8_t *pixels = picture.pixels.release();
    ShearFunction(&pixels, &picture.width, &picture.height, picture.bitsPerPixel, picture.colourType, angle, fill, 1,
                  nullptr, nullptr, horizontal, &goOn);
    picture.pixels.reset(pixels);
    return picture;
}

Picture Enlarged(HWND dialog, Picture picture)
{
    const DialogTemplate *table = FindDialogTemplate(HostDialogTemplate(dialog));
    if (!table || !table->changesSize) return picture;
    const bool mirrors = strcmp(table->effect, "mirror") == 0;
    return mirrors ? Mirrored(dialog, *table, std::move(picture)) : Slanted(dialog, *table, std::move(picture));
}
