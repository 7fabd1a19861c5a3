// A picture in which every pixel tells where it is, and whether two are alike.

#pragma once

#include "host/documents/picture_file.h"

#include <cstring>

inline Picture Slope(int32_t width, int32_t height)
{
    Picture picture = NewPicture(RGB, width, height);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + size_t(RowStride(24, width)) * size_t(y);
        for (int32_t x = 0; x < width; ++x, row += 3) {
            row[0] = uint8_t(x);
            row[1] = uint8_t(y);
            row[2] = uint8_t((x / 8 + y / 8) % 2 * 200);
        }
    }
    return picture;
}

inline bool Same(const Picture &one, const Picture &other)
{
    return one.width == other.width && one.height == other.height && one.bitsPerPixel == other.bitsPerPixel &&
           memcmp(one.pixels.get(), other.pixels.get(),
                  size_t(RowStride(one.bitsPerPixel, one.width)) * size_t(one.height)) == 0;
}
