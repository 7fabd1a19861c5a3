// Random pictures, open images with all that a person can put on one, and what they hold as bytes to compare.

#include "host/check/pictures.h"

#include "host/documents/image_parts.h"

uint32_t Below(uint32_t count, std::mt19937 &generator) { return uint32_t(uint64_t(generator()) * count >> 32); }

int32_t OtherMaskBits(int32_t colourType) { return 9 - MaskBitsOf(colourType); }

static void FillAtRandom(uint8_t *bytes, size_t count, std::mt19937 &generator)
{
    for (size_t i = 0; i < count; ++i) bytes[i] = uint8_t(generator() >> 24);
}

Picture RandomPictureOf(int32_t colourType, int32_t width, int32_t height, int32_t maskBits, std::mt19937 &generator)
{
    Picture picture = NewPicture(colourType, width, height);
    const auto stride = size_t(RowStride(picture.bitsPerPixel, width));
    FillAtRandom(picture.pixels.get(), stride * size_t(height), generator);
    if (colourType == PALETTE) {
        picture.paletteEntries = 200;
        for (auto *table : {picture.red, picture.green, picture.blue}) FillAtRandom(table, 200, generator);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) picture.pixels[size_t(y) * stride + size_t(x)] %= 200;
    }
    if (maskBits == 0) return picture;
    AddMask(picture, maskBits);
    FillAtRandom(picture.mask.get(), size_t(RowStride(maskBits, width)) * size_t(height), generator);
    return picture;
}

ImageRecord *OpenFurnishedImage(Host &host, int32_t colourType, bool withArea, std::mt19937 &generator)
{
    ImageRecord *image = OpenImage(host, RandomPictureOf(colourType, 37, 21, MaskBitsOf(colourType), generator));
    std::string error;
    for (const int32_t x : {-4, 9, 30}) AddObject(image, RandomPictureOf(RGB, 11, 8, 8, generator), x, x / 2, error);
    SelectObject(image, 1, false);
    if (withArea) SelectArea(image, 5, 4, 24, 15);
    return image;
}

//---- As bytes

static void Add(std::string &state, const void *bytes, size_t size)
{
    state.append(static_cast<const char *>(bytes), size);
}

static void AddPlane(std::string &state, const ImageRecord *image, const uint8_t *plane, int32_t bitsPerPixel)
{
    state += plane ? 'y' : 'n';
    if (plane) Add(state, plane, size_t(RowStride(bitsPerPixel, image->width)) * size_t(image->height));
}

static void AddObjectState(std::string &state, const ImageRecord *image, const FloatingObject &object)
{
    const int32_t rowBytes =
        RowStride(image->bitsPerPixel, object.width) + RowStride(MaskBitsOf(image->colourType), object.width);
    const int32_t numbers[] = {object.x, object.y, object.width, object.height, object.selected, object.number};
    Add(state, numbers, sizeof numbers);
    Add(state, object.reserved, sizeof object.reserved);
    Add(state, object.pixels, size_t(rowBytes) * size_t(object.height));
}

std::string StateOfImage(const ImageRecord *image)
{
    std::string state;
    const Selection &selection = image->selection;
    const ObjectOutline &outline = image->objectOutline;
    const BasePicture &base = image->base;
    const int32_t numbers[] = {
        image->width,
        image->height,
        image->bitsPerPixel,
        image->colourType,
        image->paletteEntries,
        image->maskEditing,
        image->maskBitsPerPixel,
        image->nextObjectNumber,
        image->objectList.count,
        selection.pointCount,
        selection.left,
        selection.top,
        selection.right,
        selection.bottom,
        outline.pointCount,
        base.width,
        base.height,
        base.bitsPerPixel,
        base.paletteEntries,
    };
    Add(state, numbers, sizeof numbers);
    for (const auto *table : {&image->red, &image->green, &image->blue, &base.red, &base.green, &base.blue})
        Add(state, *table, sizeof *table);
    AddPlane(state, image, image->pixels, image->bitsPerPixel);
    AddPlane(state, image, image->mask, image->maskBitsPerPixel);
    AddPlane(state, image, base.pixels, image->bitsPerPixel);
    Add(state, selection.points, size_t(selection.pointCount) * sizeof(POINT));
    Add(state, outline.points, size_t(outline.pointCount) * sizeof(POINT));
    for (int32_t i = 0; i < image->objectList.count; ++i) AddObjectState(state, image, *image->objectList.objects[i]);
    return state;
}
