// Pictures outside the editor: made empty with their type's palette, given a mask, copied. Reading and writing them is
// picture_file.cpp's.

#include "host/documents/picture.h"

#include "host/api/host_api.h"

#include <atomic>
#include <cassert>
#include <cstring>
#include <new>

static std::atomic<bool> mayBeRefused{false};

void LetPicturesBeRefused() { mayBeRefused = true; }

static PlaneBytes Allocate(int32_t bitsPerPixel, int32_t width, int32_t height)
{
    const uint32_t size = uint32_t(RowStride(bitsPerPixel, width)) * uint32_t(height);
    auto *memory = static_cast<uint8_t *>(mayBeRefused ? HostTryAllocate(size) : HostAllocate(size));
    if (!memory) throw std::bad_alloc();
    return PlaneBytes(memory);
}

static size_t PlaneSize(int32_t bitsPerPixel, int32_t width, int32_t height)
{
    return size_t(RowStride(bitsPerPixel, width)) * size_t(height);
}

static PlaneBytes Cleared(int32_t bitsPerPixel, int32_t width, int32_t height)
{
    PlaneBytes plane = Allocate(bitsPerPixel, width, height);
    memset(plane.get(), 0, PlaneSize(bitsPerPixel, width, height));
    return plane;
}

static PlaneBytes CopyOfPlane(const PlaneBytes &plane, int32_t bitsPerPixel, int32_t width, int32_t height)
{
    if (!plane) return nullptr;
    PlaneBytes copy = Allocate(bitsPerPixel, width, height);
    memcpy(copy.get(), plane.get(), PlaneSize(bitsPerPixel, width, height));
    return copy;
}

static void SetGreys(Picture &picture, int32_t entries)
{
    picture.paletteEntries = entries;
    for (int32_t i = 0; i < entries; ++i) {
        picture.red[i] = picture.green[i] = picture.blue[i] = uint8_t(i * 255 / (entries - 1));
    }
}

Picture NewPicture(int32_t colourType, int32_t width, int32_t height)
{
    assert(width > 0 && height > 0 && "a picture has at least one pixel");
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.colourType = colourType;
    picture.bitsPerPixel = colourType == ONE_BIT ? 1 : colourType == RGB ? 24 : 8;
    if (colourType == GREY) SetGreys(picture, 256);
    if (colourType == ONE_BIT) SetGreys(picture, 2);
    picture.pixels = Cleared(picture.bitsPerPixel, width, height);
    return picture;
}

void AddMask(Picture &picture, int32_t bitsPerPixel)
{
    picture.mask = Cleared(bitsPerPixel, picture.width, picture.height);
    picture.maskBitsPerPixel = bitsPerPixel;
}

Picture CopyOf(const Picture &picture)
{
    Picture copy;
    CopyDescription(copy, picture);
    copy.pixels = CopyOfPlane(picture.pixels, picture.bitsPerPixel, picture.width, picture.height);
    copy.mask = CopyOfPlane(picture.mask, picture.maskBitsPerPixel, picture.width, picture.height);
    copy.maskBitsPerPixel = picture.maskBitsPerPixel;
    copy.extras = picture.extras;
    return copy;
}
