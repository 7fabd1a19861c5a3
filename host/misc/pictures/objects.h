// Floating objects within VLMMISC; misc.h tells of them.

#pragma once

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"

inline uint8_t *MaskOf(const FloatingObject &object, int32_t bitsPerPixel)
{
    return object.pixels + size_t(RowStride(bitsPerPixel, object.width)) * object.height;
}
// Makes the shown pixels anew. Does nothing without a base picture.
void PutTogether(ImageRecord &image);
