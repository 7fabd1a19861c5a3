// A record that lends a picture's planes, for routines that look at an image.

#pragma once

#include "host/documents/picture.h"

#include <cstring>

inline ImageRecord RecordOf(const Picture &picture)
{
    ImageRecord image = {};
    image.width = picture.width;
    image.height = picture.height;
    image.bitsPerPixel = picture.bitsPerPixel;
    image.colourType = picture.colourType;
    image.paletteEntries = picture.paletteEntries;
    memcpy(image.red, picture.red, sizeof image.red);
    memcpy(image.green, picture.green, sizeof image.green);
    memcpy(image.blue, picture.blue, sizeof image.blue);
    image.pixels = picture.pixels.get();
    image.mask = picture.mask.get();
    image.maskBitsPerPixel = picture.maskBitsPerPixel;
    return image;
}
