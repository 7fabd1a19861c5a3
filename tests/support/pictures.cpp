// Pictures for tests: of told values, and at random from a seed, the same on every system.

#include "tests/support/pictures.h"

#include <assert.h>
#include <ostream>
#include <utility>

static uint8_t *PixelRow(const Picture &picture, int32_t y)
{
    return picture.pixels.get() + size_t(y) * RowStride(picture.bitsPerPixel, picture.width);
}

static uint8_t *MaskRow(const Picture &picture, int32_t y)
{
    return picture.mask.get() + size_t(y) * RowStride(picture.maskBitsPerPixel, picture.width);
}

// A number below `count`. The standard's distributions differ from library to library; this is the same everywhere.
static uint32_t Below(uint32_t count, std::mt19937 &generator) { return uint32_t(uint64_t(generator()) * count >> 32); }

static void SetValue(uint8_t *row, int32_t bitsPerPixel, int32_t x, uint32_t value)
{
    if (bitsPerPixel == 1) {
        const uint8_t bit = uint8_t(0x80 >> (x & 7));
        row[x >> 3] = uint8_t(value ? row[x >> 3] | bit : row[x >> 3] & ~bit);
    } else if (bitsPerPixel == 8) {
        row[x] = uint8_t(value);
    } else {
        for (int c = 0; c < 3; ++c) row[3 * x + 2 - c] = uint8_t(value >> 8 * c);
    }
}

static uint32_t ValueOf(const uint8_t *row, int32_t bitsPerPixel, int32_t x)
{
    if (bitsPerPixel == 1) return row[x >> 3] >> (7 - (x & 7)) & 1;
    if (bitsPerPixel == 8) return row[x];
    return uint32_t(row[3 * x + 2]) | uint32_t(row[3 * x + 1]) << 8 | uint32_t(row[3 * x]) << 16;
}

static void FillAtRandom(uint8_t *bytes, size_t count, std::mt19937 &generator)
{
    for (size_t i = 0; i < count; ++i) bytes[i] = uint8_t(Below(256, generator));
}

static void SetPaletteEntry(Picture &picture, int entry, uint32_t colour)
{
    picture.red[entry] = uint8_t(colour);
    picture.green[entry] = uint8_t(colour >> 8);
    picture.blue[entry] = uint8_t(colour >> 16);
}

//---- Random pictures

static void SetRandomPalette(Picture &picture, std::mt19937 &generator)
{
    picture.paletteEntries = int32_t(1 + Below(256, generator));
    for (int i = 0; i < picture.paletteEntries; ++i) SetPaletteEntry(picture, i, Below(1 << 24, generator));
    if (Below(3, generator) > 0) return;
    for (int i = 0; i < picture.paletteEntries; i += 3) {
        const uint32_t twin = Below(uint32_t(picture.paletteEntries), generator);
        SetPaletteEntry(picture, i,
                        picture.red[twin] | uint32_t(picture.green[twin]) << 8 | uint32_t(picture.blue[twin]) << 16);
    }
}

static void SetGreyPalette(Picture &picture, int32_t entries)
{
    picture.paletteEntries = entries;
    for (uint32_t i = 0; i < uint32_t(entries); ++i) {
        SetPaletteEntry(picture, int(i), i | i << 8 | (uint32_t(entries) - 1 - i) << 16);
    }
}

// A new picture whose every byte is random, padding too; the palette is yet to come.
static Picture RandomBytes(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator)
{
    Picture picture = NewPicture(colourType, width, height);
    FillAtRandom(picture.pixels.get(), size_t(height) * RowStride(picture.bitsPerPixel, width), generator);
    return picture;
}

Picture RandomPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator)
{
    Picture picture = RandomBytes(colourType, width, height, generator);
    if (colourType != PALETTE) return picture;
    SetRandomPalette(picture, generator);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) PixelRow(picture, y)[x] %= uint32_t(picture.paletteEntries);
    }
    return picture;
}

Picture NaturalPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator)
{
    Picture picture = RandomBytes(colourType, width, height, generator);
    if (colourType == PALETTE) SetGreyPalette(picture, 256);
    const int slopeX = int(Below(400, generator)) - 200, slopeY = int(Below(400, generator)) - 200;
    const int start = int(Below(256, generator));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint32_t colour = 0;
            for (int c = 0; c < 3; ++c) {
                const int level = start + 40 * c + slopeX * x / width + slopeY * y / height + int(Below(9, generator));
                // Up to 255 and down again, so that there is no sudden step.
                const uint32_t folded = uint32_t(level + 1024) % 512;
                colour |= (folded < 256 ? folded : 511 - folded) << 8 * c;
            }
            const uint32_t value = picture.bitsPerPixel == 24  ? colour
                                   : picture.bitsPerPixel == 8 ? colour & 0xFF
                                                               : (colour & 0xFF) >> 7;
            SetValue(PixelRow(picture, y), picture.bitsPerPixel, x, value);
        }
    }
    return picture;
}

Picture FewValuesPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator)
{
    Picture picture = RandomBytes(colourType, width, height, generator);
    if (colourType == PALETTE) SetGreyPalette(picture, 16);
    uint32_t values[4];
    for (uint32_t &value : values) {
        value = picture.bitsPerPixel == 1 ? Below(2, generator)
                : colourType == PALETTE   ? Below(16, generator)
                                          : Below(1u << picture.bitsPerPixel, generator);
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            SetValue(PixelRow(picture, y), picture.bitsPerPixel, x, values[Below(4, generator)]);
        }
    }
    return picture;
}

void AddRandomMask(Picture &picture, int32_t bitsPerPixel, std::mt19937 &generator)
{
    AddMask(picture, bitsPerPixel);
    FillAtRandom(picture.mask.get(), size_t(picture.height) * RowStride(bitsPerPixel, picture.width), generator);
    if (bitsPerPixel != 8) return;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const uint32_t choice = Below(3, generator);
            if (choice < 2) MaskRow(picture, y)[x] = choice == 0 ? 0 : 255;
        }
    }
}

static const char *NameOfType(int32_t colourType)
{
    return colourType == ONE_BIT ? "ONE_BIT" : colourType == GREY ? "GREY" : colourType == PALETTE ? "PALETTE" : "RGB";
}

std::ostream &operator<<(std::ostream &out, const PictureCase &picture)
{
    out << NameOfType(picture.colourType) << ' ' << picture.width << " x " << picture.height;
    if (picture.maskBits == 0) out << ", no mask";
    else out << ", mask of " << picture.maskBits << " bits " << (picture.maskInUse ? "in use" : "not in use");
    return out << ", seed " << picture.seed;
}

Picture RandomPicture(const PictureCase &picture)
{
    std::mt19937 generator(picture.seed);
    Picture made = RandomPicture(picture.colourType, picture.width, picture.height, generator);
    if (picture.maskBits != 0) AddRandomMask(made, picture.maskBits, generator);
    return made;
}

std::vector<PictureCase> AllPictureCases(uint32_t seed)
{
    std::vector<PictureCase> cases;
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const PictureSize &size : AWKWARD_SIZES) {
            for (int32_t maskBits : {0, 8, 1}) {
                for (bool maskInUse : {false, true}) {
                    if (maskBits == 0 && maskInUse) continue;
                    cases.push_back({type, size.width, size.height, maskBits, maskInUse, seed++});
                }
            }
        }
    }
    return cases;
}

//---- Pictures in words

static Picture FromValues(int32_t colourType, const Values &values)
{
    Picture picture = NewPicture(colourType, int32_t(values[0].size()), int32_t(values.size()));
    for (int y = 0; y < picture.height; ++y) {
        assert(values[size_t(y)].size() == values[0].size() && "all rows are equally long");
        for (int x = 0; x < picture.width; ++x) {
            SetValue(PixelRow(picture, y), picture.bitsPerPixel, x, values[size_t(y)][size_t(x)]);
        }
    }
    return picture;
}

static Values FromBitRows(const BitRows &rows)
{
    Values values;
    for (const std::string &row : rows) {
        values.emplace_back();
        for (char bit : row) values.back().push_back(bit == '1');
    }
    return values;
}

Picture Grey(const Values &levels) { return FromValues(GREY, levels); }
Picture Rgb(const Values &colours) { return FromValues(RGB, colours); }
Picture Bits(const BitRows &bits) { return FromValues(ONE_BIT, FromBitRows(bits)); }

Picture Palette(const std::vector<uint32_t> &colours, const Values &indices)
{
    Picture picture = FromValues(PALETTE, indices);
    picture.paletteEntries = int32_t(colours.size());
    for (size_t i = 0; i < colours.size(); ++i) SetPaletteEntry(picture, int(i), colours[i]);
    return picture;
}

static void SetMaskValues(Picture &picture, const Values &values)
{
    assert(values.size() == size_t(picture.height) && values[0].size() == size_t(picture.width));
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            SetValue(MaskRow(picture, y), picture.maskBitsPerPixel, x, values[size_t(y)][size_t(x)]);
        }
    }
}

Picture WithMask(Picture picture, const Values &levels)
{
    AddMask(picture, 8);
    SetMaskValues(picture, levels);
    return picture;
}

Picture WithBitMask(Picture picture, const BitRows &bits)
{
    AddMask(picture, 1);
    SetMaskValues(picture, FromBitRows(bits));
    return picture;
}

//---- One pixel

uint32_t PixelOf(const Picture &picture, int32_t x, int32_t y)
{
    return ValueOf(PixelRow(picture, y), picture.bitsPerPixel, x);
}

uint32_t MaskPixelOf(const Picture &picture, int32_t x, int32_t y)
{
    return ValueOf(MaskRow(picture, y), picture.maskBitsPerPixel, x);
}
