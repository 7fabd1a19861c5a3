// Floating objects and the picture beneath them. An image that has objects keeps a base picture; what it shows is the
// base with the objects pasted onto it, bottom to top. The caller holds the image's locks. [any]

#pragma once

#include "host/misc/image_copy.h"

inline uint8_t *MaskOf(const FloatingObject &object, int32_t bitsPerPixel)
{
    return object.pixels + size_t(StrideOf(bitsPerPixel, object.width)) * object.height;
}
// The largest edge that an object's header can tell.
static constexpr int32_t LONGEST_OBJECT_EDGE = INT16_MAX;

// A header at (0, 0) with room for the planes, which are not filled; the image's next number is its own.
FloatingObject *NewObject(ImageRecord &image, int32_t width, int32_t height);
// Puts an object on top, keeping the picture as base when the image has no object yet. What is shown stays.
void AppendObject(ImageRecord &image, FloatingObject *object);
// Makes the shown pixels anew. Does nothing without a base picture.
void PutTogether(ImageRecord &image);
// Four corners for each selected object, in the order of the list: top left, top right, bottom right, bottom left.
void OutlineSelectedObjects(const ObjectList &objects, ObjectOutline &outline);
