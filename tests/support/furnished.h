// Open images with all that a person can put on one, and what they hold, to compare.

#pragma once

#include "host/documents/image_parts.h"

#include <string>

// A random picture of 37 x 21 pixels with a mask, three objects (the first and the last selected) and a free outline;
// with an odd seed the mask is being edited.
ImageRecord *OpenFurnished(Host &host, int32_t colourType, uint32_t seed);
const FloatingObject &ObjectOf(const ImageRecord *image, int32_t index);
// Every byte of planes, base, objects and their places, selection and outline, and the numbers beside them.
std::string StateOf(const ImageRecord *image);
