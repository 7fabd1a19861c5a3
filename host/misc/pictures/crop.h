// Cutting areas out of pictures and putting them back.

#pragma once

#include "interface/host_interface.h"

// What is beneath an image's floating objects: its base picture, or the picture when it has none.
inline uint8_t *PictureBeneath(const ImageRecord &image)
{
    return image.base.pixels ? image.base.pixels : image.pixels;
}

// Part of a picture; a width or height below 1 is no part of it.
struct Area {
    int32_t left, top, width, height;
};

// Whether a selected area of the image is there to work on.
bool HasSelectedArea(const ImageRecord &image);
// The selected rectangle within the picture, or all of it.
Area WorkingArea(const ImageRecord &image);

// Copies a plane's part, which lies within it, into rows of their own, their padding cleared.
void CopyArea(uint8_t *to, const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area);
// The same into new memory; null of a null plane.
uint8_t *CutArea(const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area);
// Puts such a copy back.
void PasteArea(uint8_t *plane, int32_t width, const uint8_t *cut, int32_t bitsPerPixel, const Area &area);
// One bit per pixel of the area, set where the selected outline holds it; null when that is a rectangle or nothing.
uint8_t *OutlineMask(const Selection &selection, const Area &area);
