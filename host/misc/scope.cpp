// Modes and what they mean:
//     image        the picture and its mask plane; with a selected area its rectangle as a picture of that size
//     all          the same, then every floating object with its own mask
//     objects      the selected floating objects, each with its own mask
//     new object   the selected area, else the whole picture; the result stays in the picture
// An image with floating objects is worked on beneath them, in its base picture, and is put together again.

#include "host/misc/scope.h"

#include "host/api/host_api.h"
#include "host/misc/image_copy.h"

#include <algorithm>
#include <cstring>

struct Area { int32_t left, top, width, height; };

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

// The random turn ends with the worker that took it, so that other runs that draw need not wait for this one's end.
static void CallWorker(EffectBlock &block)
{
    block.header.worker(&block);
    HostEndRandomTurn();
}

//---- The picture and its selected rectangle

bool HasSelectedArea(const ImageRecord &image) { return image.selection.pointCount > 0; }

// The selected rectangle within the picture, or all of it; a width or height below 1 is an area outside.
static Area WorkingArea(const ImageRecord &image)
{
    if (!HasSelectedArea(image)) return {0, 0, image.width, image.height};
    const Selection &selection = image.selection;
    const int32_t left = std::max(selection.left, 0), top = std::max(selection.top, 0);
    const int32_t right = std::min(selection.right, image.width - 1);
    const int32_t bottom = std::min(selection.bottom, image.height - 1);
    return {left, top, right - left + 1, bottom - top + 1};
}

static void CopyBits(uint8_t *to, int32_t toX, const uint8_t *from, int32_t fromX, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        const int bit = from[(fromX + i) >> 3] >> (7 - (fromX + i) % 8) & 1;
        const int place = 7 - (toX + i) % 8;
        uint8_t &byte = to[(toX + i) >> 3];
        byte = uint8_t((byte & ~(1 << place)) | bit << place);
    }
}

static void CopyPixels(uint8_t *to, int32_t toX, const uint8_t *from, int32_t fromX, int32_t count,
                       int32_t bitsPerPixel)
{
    const int32_t bytes = bitsPerPixel / 8;
    if (bytes == 0) CopyBits(to, toX, from, fromX, count);
    else            memcpy(to + toX * bytes, from + fromX * bytes, size_t(count) * bytes);
}

static uint8_t *CutArea(const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area)
{
    if (!plane) return nullptr;
    const uint32_t fromStride = StrideOf(bitsPerPixel, width), stride = StrideOf(bitsPerPixel, area.width);
    uint8_t *cut = AllocateBytes(stride * uint32_t(area.height));
    for (int32_t y = 0; y < area.height; ++y) {
        uint8_t *row = cut + size_t(y) * stride;
        memset(row + stride - 4, 0, 4);   // the padding
        CopyPixels(row, 0, plane + size_t(area.top + y) * fromStride, area.left, area.width, bitsPerPixel);
    }
    return cut;
}

static void PasteArea(uint8_t *plane, int32_t width, const uint8_t *cut, int32_t bitsPerPixel, const Area &area)
{
    if (!plane) return;
    const uint32_t toStride = StrideOf(bitsPerPixel, width), stride = StrideOf(bitsPerPixel, area.width);
    for (int32_t y = 0; y < area.height; ++y) {
        CopyPixels(plane + size_t(area.top + y) * toStride, area.left, cut + size_t(y) * stride, 0, area.width,
                   bitsPerPixel);
    }
}

static void RunOnArea(EffectBlock &block, ImageRecord &image, uint8_t *pixels, const Area &area)
{
    ImageView &view = block.view;
    view.width = area.width;
    view.height = area.height;
    view.pixels = CutArea(pixels, image.width, image.bitsPerPixel, area);
    view.mask = CutArea(image.mask, image.width, image.maskBitsPerPixel, area);
    uint8_t *cutPixels = view.pixels, *cutMask = view.mask;
    CallWorker(block);
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
    if (image.base.pixels) block.view.pixels = image.base.pixels;
    const Area area = WorkingArea(image);
    if (area.width < 1 || area.height < 1) return;
    if (area.width == image.width && area.height == image.height) CallWorker(block);
    else                                                          RunOnArea(block, image, block.view.pixels, area);
}

//---- Floating objects

static uint8_t *ObjectMask(const FloatingObject &object, int32_t bitsPerPixel)
{
    return object.pixels + size_t(StrideOf(bitsPerPixel, object.width)) * object.height;
}

static void RunOnObjects(EffectBlock &block, ImageRecord &image, bool selectedOnly)
{
    FillView(block, image);
    ImageView &view = block.view;
    view.maskInUse = 1;
    view.maskBitsPerPixel = ObjectMaskBits(image.colourType);
    for (int32_t i = 0; i < image.objectList.count && !Aborted(image); ++i) {
        const FloatingObject &object = *image.objectList.objects[i];
        if (selectedOnly && !object.selected) continue;
        view.width = object.width;
        view.height = object.height;
        view.pixels = object.pixels;
        view.mask = ObjectMask(object, image.bitsPerPixel);
        ResetProgress(image.window, image.progress);
        CallWorker(block);
    }
}

static bool MaskBit(const uint8_t *row, int32_t x) { return row[x >> 3] >> (7 - x % 8) & 1; }

// Pixels from..to - 1 of an object's row over a picture's row, through a mask row of 8 bits or 1.
static void PasteObjectRow(uint8_t *row, int32_t x, const uint8_t *objectRow, const uint8_t *mask, int32_t maskBits,
                           int32_t from, int32_t to, int32_t bitsPerPixel)
{
    const int32_t bytes = bitsPerPixel / 8;
    for (int32_t i = from; i < to; ++i) {
        if (maskBits == 1) {
            if (MaskBit(mask, i)) CopyPixels(row, x + i, objectRow, i, 1, bitsPerPixel);
            continue;
        }
        for (int32_t c = 0; c < bytes; ++c) {
            uint8_t &value = row[(x + i) * bytes + c];
            value = uint8_t((objectRow[i * bytes + c] * mask[i] + value * (255 - mask[i]) + 127) / 255);
        }
    }
}

static void PasteObject(ImageRecord &image, const FloatingObject &object)
{
    const int32_t maskBits = ObjectMaskBits(image.colourType);
    const uint32_t stride = StrideOf(image.bitsPerPixel, image.width);
    const uint32_t objectStride = StrideOf(image.bitsPerPixel, object.width);
    const uint32_t maskStride = StrideOf(maskBits, object.width);
    const uint8_t *mask = ObjectMask(object, image.bitsPerPixel);
    const int32_t from = std::max(0, -object.x), to = std::min<int32_t>(object.width, image.width - object.x);
    for (int32_t y = 0; y < object.height; ++y) {
        if (object.y + y < 0 || object.y + y >= image.height) continue;
        PasteObjectRow(image.pixels + size_t(object.y + y) * stride, object.x, object.pixels + size_t(y) * objectStride,
                       mask + size_t(y) * maskStride, maskBits, from, to, image.bitsPerPixel);
    }
}

static void PutTogether(ImageRecord &image)
{
    if (!image.base.pixels) return;
    memcpy(image.pixels, image.base.pixels, size_t(StrideOf(image.bitsPerPixel, image.width)) * image.height);
    for (int32_t i = 0; i < image.objectList.count; ++i) PasteObject(image, *image.objectList.objects[i]);
}

//---- All of it

void RunScope(EffectBlock &block, ImageRecord &image)
{
    const int32_t mode = block.header.previewMode;
    if (mode != SCOPE_OBJECTS) RunOnPicture(block, image);
    if (mode == SCOPE_OBJECTS || mode == SCOPE_ALL) RunOnObjects(block, image, mode == SCOPE_OBJECTS);
    if (!Aborted(image)) PutTogether(image);
    FillView(block, image);
}
