// An open image with mask, objects and a selected area, and all of an image's state as bytes, to see that nothing else
// has changed.

#include "tests/support/furnished.h"

#include "tests/support/pictures.h"

ImageRecord *OpenFurnished(Host &host, int32_t colourType, uint32_t seed)
{
    std::mt19937 generator(seed);
    Picture picture = RandomPicture(colourType, 37, 21, generator);
    AddRandomMask(picture, colourType == RGB || colourType == GREY ? 8 : 1, generator);
    ImageRecord *image = OpenImage(host, std::move(picture));
    std::string error;
    for (const int32_t x : {-4, 9, 30}) {
        Picture object = RandomPicture(RGB, 11, 8, generator);
        AddRandomMask(object, 8, generator);
        AddObject(image, object, x, x / 2, error);
    }
    SelectObject(image, 1, false);
    SelectOutline(image, {{3, 2}, {30, 5}, {12, 19}});
    EditMask(image, seed % 2);
    return image;
}

const FloatingObject &ObjectOf(const ImageRecord *image, int32_t index) { return *image->objectList.objects[index]; }

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
    const int32_t maskBits = image->colourType == RGB || image->colourType == GREY ? 8 : 1;
    const int32_t rowBytes = RowStride(image->bitsPerPixel, object.width) + RowStride(maskBits, object.width);
    const int32_t numbers[] = {object.x, object.y, object.width, object.height, object.selected, object.number};
    Add(state, numbers, sizeof numbers);
    Add(state, object.reserved, sizeof object.reserved);
    Add(state, object.pixels, size_t(rowBytes) * size_t(object.height));
}

std::string StateOf(const ImageRecord *image)
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
    for (int32_t i = 0; i < image->objectList.count; ++i) AddObjectState(state, image, ObjectOf(image, i));
    return state;
}
