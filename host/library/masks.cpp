// Makes masks of pictures by their brightness, and pictures of masks, and joins a mask to its picture again after
// both went through an effect. Neither scales nor shifts a mask: a picture of another size is refused. Runs no effect
// itself.

#include "host/library/masks.h"

#include <algorithm>

std::string SizeText(const Picture &picture)
{
    return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

static void BrightnessOfRow(const Picture &picture, int32_t y, const uint8_t *ofEntry, uint8_t *levels)
{
    const uint8_t *row = picture.pixels.get() + size_t(y) * size_t(RowStride(picture.bitsPerPixel, picture.width));
    for (int32_t x = 0; x < picture.width; ++x) {
        if (picture.bitsPerPixel == 24) levels[x] = uint8_t(Brightness(row + 3 * x));
        else if (picture.bitsPerPixel == 8) levels[x] = ofEntry[row[x]];
        else levels[x] = ofEntry[BitAt(row, x)];
    }
}

static void SetBits(const uint8_t *levels, int32_t width, uint8_t *bits)
{
    for (int32_t x = 0; x < width; ++x) SetBit(bits, x, levels[x] >= 128);
}

bool TakeMask(Picture &picture, const Picture &mask, std::string &error)
{
    if (mask.width != picture.width || mask.height != picture.height) {
        error = "is " + SizeText(mask) + " pixels, the picture " + SizeText(picture);
        return false;
    }
    uint8_t ofEntry[256];
    for (int i = 0; i < 256; ++i) ofEntry[i] = uint8_t(Brightness(mask.red[i], mask.green[i], mask.blue[i]));
    const int32_t bits = MaskBitsOf(picture.colourType);
    AddMask(picture, bits);
    std::vector<uint8_t> levels(size_t(mask.width));
    for (int32_t y = 0; y < mask.height; ++y) {
        uint8_t *row = picture.mask.get() + size_t(y) * size_t(RowStride(bits, mask.width));
        BrightnessOfRow(mask, y, ofEntry, levels.data());
        if (bits == 8) std::copy(levels.begin(), levels.end(), row);
        else SetBits(levels.data(), mask.width, row);
    }
    return true;
}

// Only the palette of a type is wanted of the smallest picture: the mask plane itself becomes the pixels.
Picture MaskAsPicture(PlaneBytes mask, int32_t maskBitsPerPixel, int32_t width, int32_t height)
{
    Picture picture = NewPicture(maskBitsPerPixel == 8 ? GREY : ONE_BIT, 1, 1);
    picture.width = width;
    picture.height = height;
    picture.pixels = std::move(mask);
    return picture;
}

Picture MaskAsPicture(Picture &picture)
{
    const int32_t bits = picture.maskBitsPerPixel;
    picture.maskBitsPerPixel = 0;
    return MaskAsPicture(std::move(picture.mask), bits, picture.width, picture.height);
}

// What has kept its size has not changed: no row or column has moved.
bool MaskFollows(const Picture &mask, int32_t width, int32_t height)
{
    return mask.pixels && (mask.width != width || mask.height != height);
}

void JoinMask(Picture &picture, Picture mask)
{
    picture.maskBitsPerPixel = mask.bitsPerPixel;
    picture.mask = std::move(mask.pixels);
}
