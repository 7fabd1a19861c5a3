// Deep copies of a record's picture, exchange of two, and freeing one. Who keeps which copy, and when, is undo's and
// the preview's to know.

#include "host/misc/pictures/image_copy.h"

#include <algorithm>
#include <cstring>
#include <utility>

uint8_t *AllocateBytes(uint64_t size) { return static_cast<uint8_t *>(HostAllocate(size)); }

static uint8_t *CopyBytes(const uint8_t *from, uint64_t size)
{
    if (!from) return nullptr;
    uint8_t *copy = AllocateBytes(size);
    memcpy(copy, from, size_t(size));
    return copy;
}

static uint8_t *CopyPlane(const uint8_t *from, int32_t bitsPerPixel, int32_t width, int32_t height)
{
    return CopyBytes(from, uint64_t(RowStride(bitsPerPixel, width)) * uint64_t(height));
}

static POINT *CopyPoints(const POINT *from, int32_t count)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(from);
    return reinterpret_cast<POINT *>(CopyBytes(bytes, uint32_t(count) * sizeof(POINT)));
}

static FloatingObject *CopyObject(const FloatingObject *from, int32_t bitsPerPixel, int32_t maskBits)
{
    const uint32_t rowBytes = RowStride(bitsPerPixel, from->width) + RowStride(maskBits, from->width);
    const uint32_t size = sizeof(FloatingObject) + rowBytes * uint32_t(from->height);
    auto *copy = reinterpret_cast<FloatingObject *>(CopyBytes(reinterpret_cast<const uint8_t *>(from), size));
    copy->pixels = reinterpret_cast<uint8_t *>(copy + 1);
    return copy;
}

static ObjectList CopyObjects(const ImageRecord &from)
{
    const ObjectList &list = from.objectList;
    if (!list.objects) return {};
    ObjectList copy = {nullptr, list.count, list.capacity};
    const uint32_t size = uint32_t(list.capacity) * sizeof(FloatingObject *);
    copy.objects = reinterpret_cast<FloatingObject **>(AllocateBytes(size));
    for (int32_t i = 0; i < list.count; ++i) {
        copy.objects[i] = CopyObject(list.objects[i], from.bitsPerPixel, MaskBitsOf(from.colourType));
    }
    return copy;
}

static BasePicture CopyBase(const BasePicture &from, int32_t maskBits)
{
    BasePicture copy = from;
    copy.pixels = CopyPlane(from.pixels, from.bitsPerPixel, from.width, from.height);
    copy.mask = CopyPlane(from.mask, maskBits, from.width, from.height);
    return copy;
}

void CopyPicture(ImageRecord &to, const ImageRecord &from)
{
    CopyDescription(to, from);
    to.pixels = CopyPlane(from.pixels, from.bitsPerPixel, from.width, from.height);
    to.maskBitsPerPixel = from.maskBitsPerPixel;
    to.mask = CopyPlane(from.mask, from.maskBitsPerPixel, from.width, from.height);
    to.secondMask = from.secondMask == from.mask
                        ? to.mask
                        : CopyPlane(from.secondMask, from.maskBitsPerPixel, from.width, from.height);
    to.base = CopyBase(from.base, from.maskBitsPerPixel);
    to.objectList = CopyObjects(from);
    to.nextObjectNumber = from.nextObjectNumber;
    to.maskEditing = from.maskEditing;
    to.selection = from.selection;
    to.selection.points = CopyPoints(from.selection.points, from.selection.pointCount);
    to.objectOutline = {from.objectOutline.pointCount,
                        CopyPoints(from.objectOutline.points, from.objectOutline.pointCount)};
}

// What is alike is not written: while a run's thread takes back an aborted run, the dialogs' thread may look at the
// image's type and size. By members: what stands between those of a record is nobody's and may differ.
template <typename Field> static void Exchange(Field &one, Field &other)
{
    if (memcmp(&one, &other, sizeof one) != 0) std::swap(one, other);
}

void ExchangePictures(ImageRecord &one, ImageRecord &other)
{
    Exchange(one.width, other.width);
    Exchange(one.height, other.height);
    Exchange(one.bitsPerPixel, other.bitsPerPixel);
    Exchange(one.colourType, other.colourType);
    Exchange(one.paletteEntries, other.paletteEntries);
    Exchange(one.red, other.red);
    Exchange(one.green, other.green);
    Exchange(one.blue, other.blue);
    Exchange(one.pixels, other.pixels);
    Exchange(one.maskBitsPerPixel, other.maskBitsPerPixel);
    Exchange(one.mask, other.mask);
    Exchange(one.secondMask, other.secondMask);
    Exchange(one.base, other.base);
    Exchange(one.objectList, other.objectList);
    Exchange(one.nextObjectNumber, other.nextObjectNumber);
    Exchange(one.maskEditing, other.maskEditing);
    Exchange(one.selection.pointCount, other.selection.pointCount);
    Exchange(one.selection.left, other.selection.left);
    Exchange(one.selection.top, other.selection.top);
    Exchange(one.selection.right, other.selection.right);
    Exchange(one.selection.bottom, other.selection.bottom);
    Exchange(one.selection.points, other.selection.points);
    Exchange(one.objectOutline.pointCount, other.objectOutline.pointCount);
    Exchange(one.objectOutline.points, other.objectOutline.points);
}

//---- Comparing

static bool SameBytes(const uint8_t *one, const uint8_t *other, int32_t bitsPerPixel, int32_t width, int32_t height)
{
    if (!one || !other) return one == other;
    return memcmp(one, other, size_t(RowStride(bitsPerPixel, width)) * size_t(height)) == 0;
}

static bool SameObject(const FloatingObject &one, const FloatingObject &other, int32_t bitsPerPixel, int32_t maskBits)
{
    if (one.number != other.number || one.width != other.width || one.height != other.height) return false;
    if (one.x != other.x || one.y != other.y) return false;
    const size_t rowBytes = size_t(RowStride(bitsPerPixel, one.width)) + RowStride(maskBits, one.width);
    return memcmp(one.pixels, other.pixels, rowBytes * size_t(one.height)) == 0;
}

static bool SameObjects(const ImageRecord &one, const ImageRecord &other)
{
    const ObjectList &list = one.objectList;
    if (list.count != other.objectList.count) return false;
    for (int32_t i = 0; i < list.count; ++i)
        if (!SameObject(*list.objects[i], *other.objectList.objects[i], one.bitsPerPixel, MaskBitsOf(one.colourType)))
            return false;
    return true;
}

static bool SameBase(const ImageRecord &one, const ImageRecord &other)
{
    const BasePicture &a = one.base, &b = other.base;
    if (!a.pixels || !b.pixels) return a.pixels == b.pixels;
    return a.width == b.width && a.height == b.height && a.bitsPerPixel == b.bitsPerPixel &&
           SameBytes(a.pixels, b.pixels, a.bitsPerPixel, a.width, a.height) &&
           SameBytes(a.mask, b.mask, one.maskBitsPerPixel, a.width, a.height);
}

bool SamePictures(const ImageRecord &one, const ImageRecord &other)
{
    const bool alike = one.width == other.width && one.height == other.height &&
                       one.bitsPerPixel == other.bitsPerPixel && one.colourType == other.colourType &&
                       one.paletteEntries == other.paletteEntries && one.maskBitsPerPixel == other.maskBitsPerPixel;
    if (!alike || !one.pixels || !other.pixels) return false;
    const bool palettes = memcmp(one.red, other.red, sizeof one.red) == 0 &&
                          memcmp(one.green, other.green, sizeof one.green) == 0 &&
                          memcmp(one.blue, other.blue, sizeof one.blue) == 0;
    return palettes && SameBytes(one.pixels, other.pixels, one.bitsPerPixel, one.width, one.height) &&
           SameBytes(one.mask, other.mask, one.maskBitsPerPixel, one.width, one.height) && SameBase(one, other) &&
           SameObjects(one, other);
}

void FreePicture(ImageRecord &record)
{
    KPZ_FreeMem(record.pixels);
    if (record.secondMask != record.mask) KPZ_FreeMem(record.secondMask);
    KPZ_FreeMem(record.mask);
    KPZ_FreeMem(record.base.pixels);
    KPZ_FreeMem(record.base.mask);
    for (int32_t i = 0; i < record.objectList.count; ++i) KPZ_FreeMem(record.objectList.objects[i]);
    KPZ_FreeMem(record.objectList.objects);
    KPZ_FreeMem(record.selection.points);
    KPZ_FreeMem(record.objectOutline.points);
    ImageRecord empty = {};
    ExchangePictures(record, empty);
}
