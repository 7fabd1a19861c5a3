// Cutting areas out of pictures and putting them back.

#pragma once

#include "plugin/host_interface.h"

// Part of a picture; a width or height below 1 is no part of it.
struct Area { int32_t left, top, width, height; };

// Whether a selected area of the image is there to work on.
bool HasSelectedArea(const ImageRecord &image);
// The selected rectangle within the picture, or all of it.
Area WorkingArea(const ImageRecord &image);

// A copy of a plane's part, its padding cleared; null of a null plane. The area lies within the plane.
uint8_t *CutArea(const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area);
// Puts such a copy back.
void PasteArea(uint8_t *plane, int32_t width, const uint8_t *cut, int32_t bitsPerPixel, const Area &area);
// One bit per pixel of the working area: set where the selected outline holds it. Null when the outline is a rectangle.
uint8_t *OutlineMask(const Selection &selection, const Area &area);
