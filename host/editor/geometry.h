// Pictures cut, resized, turned and turned over, with their masks. Pixels that stay as they are go to the bit; resizing
// makes new ones of their neighbours, where the type has colours in between: RGB and grey. A palette's indices and single
// bits are names, so those take the nearest pixel whatever is asked for.

#pragma once

#include "host/editor/conversion.h"

enum class Filter { NEAREST, LINEAR, CUBIC };
enum class Turn {
    RIGHT,
    LEFT,
    HALF,
    ACROSS,
    DOWN
};   // a quarter, a half; left and right or top and bottom change places

// The pixels left..left + width - 1, top..top + height - 1, which lie within the picture.
Picture Cropped(const Picture &from, int32_t left, int32_t top, int32_t width, int32_t height, const GoOn &goOn);
// LINEAR and CUBIC take the mean of all that a smaller picture's pixel covers. `goOn` as in conversion.h.
Picture Resized(const Picture &from, int32_t width, int32_t height, Filter filter, const GoOn &goOn);
Picture Turned(const Picture &from, Turn turn, const GoOn &goOn);
