// The part of an image record that makes up its picture: planes, size, palette, base picture, mask and whether it is
// being edited, floating objects with their places, selection and outline. Undo keeps it, the preview works on a copy
// of it. A record that only holds such a part has neither window nor locks.

#pragma once

#include "host/api/host_api.h"
#include "maths/pixels.h"

// `size` bytes, not cleared, to be freed with KPZ_FreeMem. [any]
uint8_t *AllocateBytes(uint64_t size);
// Fills an empty record with copies of `from`'s picture. The caller holds the image's locks. [any]
void CopyPicture(ImageRecord &to, const ImageRecord &from);
// Lets two records change pictures; nothing is copied. [any]
void ExchangePictures(ImageRecord &one, ImageRecord &other);
// Whether two records hold the same: sizes, types, planes, masks, base pictures and objects. What rows have beyond their
// pixels is nobody's, and may make two differ that look alike. [any]
bool SamePictures(const ImageRecord &one, const ImageRecord &other);
// Frees a picture and leaves the record empty. [any]
void FreePicture(ImageRecord &record);
