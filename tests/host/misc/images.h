// A record that lends a picture's planes, for routines that look at an image.

#pragma once

#include "host/documents/picture.h"

inline ImageRecord RecordOf(const Picture &picture)
{
    ImageRecord image = {};
    CopyDescription(image, picture);
    image.pixels = picture.pixels.get();
    image.mask = picture.mask.get();
    image.maskBitsPerPixel = picture.maskBitsPerPixel;
    return image;
}
