// Modes and what they mean:
//     image        the picture and its mask plane; with a selected area its rectangle as a picture of that size
//     all          the same, then every floating object with its own mask
//     objects      the selected floating objects, each with its own mask
//     new object   the selected area, else the whole picture, becomes a floating object in its place, with the outline
//                  for its mask, and that alone is worked on
// An image with floating objects is worked on beneath them, in its base picture, and is put together again.

#include "host/misc/runs/scope.h"

#include "host/misc/pictures/crop.h"
#include "host/misc/pictures/objects.h"
#include "host/misc/pictures/rows.h"

#include <cstring>

static bool Aborted(const ImageRecord &image) { return SharedRead(image.abortRequest) != 0; }

//---- The view

void FillView(EffectBlock &block, ImageRecord &image)
{
    ImageView &view = block.view;
    view.width = image.width;
    view.height = image.height;
    view.bitsPerPixel = image.bitsPerPixel;
    view.paletteEntries = &image.paletteEntries;
    view.colourType = image.colourType;
    view.pixels = image.pixels;
    view.red = image.red;
    view.green = image.green;
    view.blue = image.blue;
    view.abortFlag = &image.abortRequest;
    view.mask = image.mask;
    view.maskInUse = 0;
    view.maskBitsPerPixel = image.maskBitsPerPixel;
    view.progressWindow = image.window;
    view.progress = image.progress;
}

//---- The picture and its selected rectangle

static void RunOnArea(EffectBlock &block, ImageRecord &image, uint8_t *pixels, const Area &area)
{
    ImageView &view = block.view;
    view.width = area.width;
    view.height = area.height;
    view.pixels = CutArea(pixels, image.width, image.bitsPerPixel, area);
    view.mask = CutArea(image.mask, image.width, image.maskBitsPerPixel, area);
    uint8_t *cutPixels = view.pixels, *cutMask = view.mask;
    block.header.worker(&block);
    if (!Aborted(image)) {
        PasteArea(pixels, image.width, cutPixels, image.bitsPerPixel, area);
        PasteArea(image.mask, image.width, cutMask, image.maskBitsPerPixel, area);
    }
    KPZ_FreeMem(cutPixels);
    KPZ_FreeMem(cutMask);
}

static void RunOnPicture(EffectBlock &block, ImageRecord &image)
{
    FillView(block, image);
    block.view.pixels = PictureBeneath(image);
    const Area area = WorkingArea(image);
    if (area.width < 1 || area.height < 1) return;
    if (area.width == image.width && area.height == image.height) block.header.worker(&block);
    else RunOnArea(block, image, block.view.pixels, area);
}

//---- Floating objects

static void RunOnObject(EffectBlock &block, ImageRecord &image, const FloatingObject &object)
{
    FillView(block, image);
    ImageView &view = block.view;
    view.width = object.width;
    view.height = object.height;
    view.pixels = object.pixels;
    view.mask = MaskOf(object, image.bitsPerPixel);
    view.maskInUse = 1;
    view.maskBitsPerPixel = MaskBitsOf(image.colourType);
    block.header.worker(&block);
}

static void RunOnObjects(EffectBlock &block, ImageRecord &image, bool selectedOnly)
{
    for (int32_t i = 0; i < image.objectList.count && !Aborted(image); ++i) {
        const FloatingObject &object = *image.objectList.objects[i];
        if (selectedOnly && !object.selected) continue;
        ResetProgress(image.window, image.progress);
        RunOnObject(block, image, object);
    }
}

// The outline's bits as an object's mask; all of it without an outline.
static void FillMask(uint8_t *mask, int32_t maskBits, const uint8_t *outline, const Area &area)
{
    const uint32_t stride = RowStride(maskBits, area.width), outlineStride = RowStride(1, area.width);
    for (int32_t y = 0; y < area.height; ++y) {
        uint8_t *row = mask + size_t(y) * stride;
        const uint8_t *bits = outline ? outline + size_t(y) * outlineStride : nullptr;
        memset(row, 0, stride);
        if (!bits) FillPixels(row, 0, area.width, maskBits, 255);
        else if (maskBits == 1) CopyBits(bits, 0, row, 0, area.width);
        else
            for (int32_t x = 0; x < area.width; ++x) row[x] = BitAt(bits, x) ? 255 : 0;
    }
}

static FloatingObject *ObjectOfArea(ImageRecord &image, const Area &area)
{
    FloatingObject *object = MiscNewObject(&image, area.width, area.height);
    object->x = area.left;
    object->y = area.top;
    CopyArea(object->pixels, PictureBeneath(image), image.width, image.bitsPerPixel, area);
    uint8_t *outline = OutlineMask(image.selection, area);
    FillMask(MaskOf(*object, image.bitsPerPixel), MaskBitsOf(image.colourType), outline, area);
    KPZ_FreeMem(outline);
    return object;
}

// What is too large to be an object is worked on in the picture.
static void RunOnNewObject(EffectBlock &block, ImageRecord &image)
{
    const Area area = WorkingArea(image);
    if (area.width < 1 || area.height < 1) return;
    if (area.width > MOST_OBJECT_EDGE || area.height > MOST_OBJECT_EDGE) return RunOnPicture(block, image);
    FloatingObject *object = ObjectOfArea(image, area);
    MiscAddObject(&image, object);
    RunOnObject(block, image, *object);
}

//---- All of it

void RunScope(EffectBlock &block, ImageRecord &image, int32_t mode)
{
    if (mode == SCOPE_NEW_OBJECT) RunOnNewObject(block, image);
    if (mode == SCOPE_IMAGE || mode == SCOPE_ALL) RunOnPicture(block, image);
    if (mode == SCOPE_OBJECTS || mode == SCOPE_ALL) RunOnObjects(block, image, mode == SCOPE_OBJECTS);
    if (!Aborted(image)) PutTogether(image);
    FillView(block, image);
}
