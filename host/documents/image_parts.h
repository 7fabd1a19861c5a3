// What a person puts on an open image: floating objects, a selected area, the mask and its editing. All of it is for an
// image that does not run; each routine takes the image's locks, and what it changed is shown: in the image's window,
// and in the previews when the image is the active one. None records an undo step: a command does so before it, with
// UndoUtility. [ui]

#pragma once

#include "host/documents/documents.h"

//---- Floating objects, counted from the bottom

// Adds a picture on top, selected, its first pixel at (x, y) of the image. Its colours become the image's type: greys
// by brightness, nearest palette entries, bits by a brightness above 128. Its mask is the object's, opaque where it has
// none; palettes that carry alpha count too. False with one line when an edge is longer than MOST_OBJECT_EDGE.
bool AddObject(ImageRecord *image, const Picture &picture, int32_t x, int32_t y, std::string &error);
void SelectObject(ImageRecord *image, int32_t index, bool selected);
void MoveObject(ImageRecord *image, int32_t index, int32_t x, int32_t y);
void RemoveObject(ImageRecord *image, int32_t index);

//---- The selected area, in place of the one before

// Ends inclusive; the area may go beyond the picture.
void SelectArea(ImageRecord *image, int32_t left, int32_t top, int32_t right, int32_t bottom);
// A closed outline through the middles of its points, which are pixels. At least one.
void SelectOutline(ImageRecord *image, const std::vector<POINT> &points);
void SelectNothing(ImageRecord *image);

//---- The mask

// Gives an image a mask plane (replacing the one it has), or takes it away when null.
void SetMask(ImageRecord *image, PlaneBytes mask, int32_t bitsPerPixel);
// Begins or ends the editing of the mask; the menus follow.
void EditMask(ImageRecord *image, bool on);
