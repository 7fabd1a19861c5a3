// Filling rows of pixels of every depth. Nothing beyond the named pixels is written, so a row's padding stays as it is.
// What copies pixels stands in maths/pixels.h.

#pragma once

#include <cstdint>

// Sets `count` pixels to one value: a bit, a byte, or a colour 0x00BBGGRR.
void FillPixels(uint8_t *row, int32_t x, int32_t count, int32_t bitsPerPixel, uint32_t value);
