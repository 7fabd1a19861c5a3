// An open image for the effects that bring a run of their own, without a host around it.

#pragma once

#include "effects/effects.h"
#include "host/misc/misc.h"
#include "tests/support/pictures.h"

#include <algorithm>

// An image of its own for a run that replaces the planes; nobody watches it.
struct OpenImage {
    ImageRecord record = {};

    explicit OpenImage(const Picture &picture)
    {
        const size_t size = size_t(RowStride(picture.bitsPerPixel, picture.width)) * picture.height;
        KPZ_AllocMem(&record.pixels, uint32_t(size), 0x301);
        memcpy(record.pixels, picture.pixels.get(), size);
        record.width = picture.width;
        record.height = picture.height;
        record.bitsPerPixel = picture.bitsPerPixel;
        record.colourType = picture.colourType;
        record.paletteEntries = picture.paletteEntries;
        record.imageLock = HostCreateSemaphore();
        record.objectLock = HostCreateSemaphore();
    }
    ~OpenImage()
    {
        MiscForgetUndo(&record);
        MiscFreePicture(&record);
        HostDestroySemaphore(record.imageLock);
        HostDestroySemaphore(record.objectLock);
    }
    OpenImage(const OpenImage &) = delete;
    OpenImage &operator=(const OpenImage &) = delete;
};

// Runs the effect on all of the image, with its own parameters as 32-bit fields.
inline void RunOnImage(const EffectDescriptor &effect, OpenImage &image, const std::vector<int32_t> &own)
{
    std::vector<uint8_t> memory(size_t(effect.blockSize));
    auto *block = reinterpret_cast<EffectBlock *>(memory.data());
    block->header.block = block;
    block->header.image = &image.record;
    block->header.previewMode = SCOPE_ALL;
    std::copy(own.begin(), own.end(), reinterpret_cast<int32_t *>(block + 1));
    effect.thread(&block->header);
}
