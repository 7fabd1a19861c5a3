// Floating objects: their records, pasting them over the base picture, the outline around the selected ones. Placing
// them by a person's hand is host/documents'; what effects do to them is the module's.

#include "host/misc/pictures/objects.h"

#include "host/misc/runs/undo.h"
#include "maths/pixels.h"

#include <algorithm>
#include <cstring>
#include <utility>

//---- Making and keeping

FloatingObject *KPZAPI MiscNewObject(ImageRecord *image, int32_t width, int32_t height)
{
    const uint64_t rowBytes = RowStride(image->bitsPerPixel, width) + RowStride(MaskBitsOf(image->colourType), width);
    auto *object =
        reinterpret_cast<FloatingObject *>(AllocateBytes(sizeof(FloatingObject) + rowBytes * uint64_t(height)));
    *object = {};
    object->mark[0] = 100;
    object->mark[2] = 1;
    object->number = int16_t(image->nextObjectNumber++);
    object->width = int16_t(width);
    object->height = int16_t(height);
    object->pixels = reinterpret_cast<uint8_t *>(object + 1);
    return object;
}

static size_t PictureSize(const ImageRecord &image)
{
    return size_t(RowStride(image.bitsPerPixel, image.width)) * image.height;
}

static void KeepBase(ImageRecord &image)
{
    BasePicture &base = image.base;
    if (base.pixels) return;
    base.pixels = AllocateBytes(PictureSize(image));
    memcpy(base.pixels, image.pixels, PictureSize(image));
    CopyDescription(base, image);
}

// As the module grows the list: by 1024 entries, one of which stays free.
static void MakeRoom(ObjectList &list)
{
    if (list.objects && list.count < list.capacity - 1) return;
    const int32_t capacity = list.capacity + 1024;
    auto **objects = reinterpret_cast<FloatingObject **>(AllocateBytes(uint64_t(capacity) * sizeof(FloatingObject *)));
    std::copy_n(list.objects, list.count, objects);
    KPZ_FreeMem(list.objects);
    list.objects = objects;
    list.capacity = capacity;
}

void KPZAPI MiscAddObject(ImageRecord *image, FloatingObject *object)
{
    KeepBase(*image);
    MakeRoom(image->objectList);
    image->objectList.objects[image->objectList.count++] = object;
}

void KPZAPI MiscRemoveObject(ImageRecord *image, int32_t index)
{
    ObjectList &list = image->objectList;
    KPZ_FreeMem(list.objects[index]);
    std::copy(list.objects + index + 1, list.objects + list.count, list.objects + index);
    if (--list.count > 0 || !image->base.pixels) return;
    std::swap(image->pixels, image->base.pixels);
    KPZ_FreeMem(image->base.pixels);
    KPZ_FreeMem(image->base.mask);
    image->base = {};
}

//---- Pasting

// value + (pixel - value) * cover / 255, rounded; (t + 1 + (t >> 8)) >> 8 is t / 255 for every t that comes here.
static uint8_t Covered(uint8_t value, uint8_t pixel, uint8_t cover)
{
    const auto t = uint16_t(pixel * cover + value * (255 - cover) + 127);
    return uint8_t(uint16_t(t + 1 + (t >> 8)) >> 8);
}

static void CoverBytes(uint8_t *values, const uint8_t *pixels, const uint8_t *cover, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) values[i] = Covered(values[i], pixels[i], cover[i]);
}

// One byte of the mask counts for three: a stretch of the row at a time, so that it stays near.
static void CoverColours(uint8_t *values, const uint8_t *pixels, const uint8_t *mask, int32_t count)
{
    constexpr int32_t STRETCH = 64;
    uint8_t cover[3 * STRETCH];
    for (int32_t done = 0; done < count; done += STRETCH) {
        const int32_t now = std::min(STRETCH, count - done);
        for (int32_t i = 0; i < now; ++i) cover[3 * i] = cover[3 * i + 1] = cover[3 * i + 2] = mask[done + i];
        CoverBytes(values + 3 * done, pixels + 3 * done, cover, 3 * now);
    }
}

// Pixels from..to - 1 of an object's row go where the bit mask is set.
static void CoverBits(uint8_t *row, int32_t x, const uint8_t *objectRow, const uint8_t *mask, int32_t from, int32_t to,
                      int32_t bitsPerPixel)
{
    for (int32_t i = from; i < to; ++i) {
        const int32_t start = i;
        while (i < to && BitAt(mask, i)) ++i;
        CopyRun(objectRow, start, row, x + start, i - start, bitsPerPixel);
    }
}

static void PasteInto(ImageRecord &image, const FloatingObject &object)
{
    const int32_t bits = image.bitsPerPixel, maskBits = MaskBitsOf(image.colourType), bytes = bits / 8;
    const uint32_t stride = RowStride(bits, image.width), objectStride = RowStride(bits, object.width);
    const uint32_t maskStride = RowStride(maskBits, object.width);
    const uint8_t *masks = MaskOf(object, bits);
    const auto from = int32_t(std::clamp<int64_t>(-int64_t(object.x), 0, object.width));
    const auto to = int32_t(std::clamp<int64_t>(int64_t(image.width) - object.x, from, object.width));
    for (int32_t y = 0; y < object.height; ++y) {
        const int64_t imageY = int64_t(object.y) + y;
        if (imageY < 0 || imageY >= image.height || from == to) continue;
        uint8_t *row = image.pixels + size_t(imageY) * stride;
        const uint8_t *objectRow = object.pixels + size_t(y) * objectStride, *mask = masks + size_t(y) * maskStride;
        const auto start = size_t(int64_t(object.x) + from);
        if (maskBits == 1) CoverBits(row, object.x, objectRow, mask, from, to, bits);
        else if (bytes == 3) CoverColours(row + 3 * start, objectRow + 3 * from, mask + from, to - from);
        else CoverBytes(row + start, objectRow + from, mask + from, to - from);
    }
}

void KPZAPI FastPasteInto(ImageRecord *image, const FloatingObject *object, int32_t zero)
{
    LogCall("FastPasteInto", nullptr, image, object, zero);
    PasteInto(*image, *object);
}

void PutTogether(ImageRecord &image)
{
    if (!image.base.pixels) return;
    memcpy(image.pixels, image.base.pixels, PictureSize(image));
    for (int32_t i = 0; i < image.objectList.count; ++i) PasteInto(image, *image.objectList.objects[i]);
}

//---- Selected objects

static int32_t SelectedCount(const ObjectList &list)
{
    return int32_t(std::count_if(list.objects, list.objects + list.count,
                                 [](const FloatingObject *object) { return object->selected != 0; }));
}

int32_t KPZAPI CountSelectedObjects(const ObjectList *objects)
{
    LogCall("CountSelectedObjects", nullptr, objects);
    return SelectedCount(*objects);
}

static void OutlineSelectedObjects(const ObjectList &objects, ObjectOutline &outline)
{
    KPZ_FreeMem(outline.points);
    outline = {};
    const int32_t count = 4 * SelectedCount(objects);
    if (count == 0) return;
    outline.points = reinterpret_cast<POINT *>(AllocateBytes(uint64_t(count) * sizeof(POINT)));
    outline.pointCount = count;
    POINT *next = outline.points;
    for (int32_t i = 0; i < objects.count; ++i) {
        const FloatingObject &object = *objects.objects[i];
        if (!object.selected) continue;
        const LONG right = object.x + object.width - 1, bottom = object.y + object.height - 1;
        *next++ = {object.x, object.y};
        *next++ = {right, object.y};
        *next++ = {right, bottom};
        *next++ = {object.x, bottom};
    }
}

void KPZAPI CreateOutlineOfObjects(const ObjectList *objects, ObjectOutline *outline, SemaphoreHandle objectLock)
{
    LogCall("CreateOutlineOfObjects", nullptr, objects, outline, objectLock);
    OutlineSelectedObjects(*objects, *outline);
}

void KPZAPI MiscShowObjects(ImageRecord *image)
{
    PutTogether(*image);
    OutlineSelectedObjects(image->objectList, image->objectOutline);
    MakeDisplayCurrent(image);
}

//---- The image's window

// The window's own thread sizes it; a run does not wait for that.
void KPZAPI SizeWindow(HWND imageWindow, int32_t placementX, int32_t placementY, int32_t width, int32_t height)
{
    LogCall("SizeWindow", nullptr, imageWindow, placementX, placementY, width, height);
    KPZ_SendMsgNoWait(imageWindow, IMAGE_SIZED, WPARAM(width), height);
}
