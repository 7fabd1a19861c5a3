// A picture of one type made into another.
//
// Greys are the brightness (11 red + 16 green + 5 blue) / 32. At most 256 colours become a palette as they are; more
// are put together into 256 by median cut, each entry the mean of its share of the picture, and every pixel takes the
// entry nearest to it. One bit is white above a brightness of 128, or what error diffusion makes of it. A mask keeps
// its shape: 8 bits for grey and RGB, 1 bit (from 128 on) for the others.

#pragma once

#include "host/documents/picture.h"

#include <functional>

enum class OneBitMethod { THRESHOLD, DIFFUSION };

// `goOn` is asked before every row with the number of rows done of all there are to do; when it answers false the
// result has no pixels.
typedef std::function<bool(int32_t done, int32_t all)> GoOn;
Picture Converted(const Picture &from, int32_t colourType, OneBitMethod method, const GoOn &goOn);
