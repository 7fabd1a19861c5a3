// Changes to a mask plane: 8 bits per pixel, or 1 bit where a value of 128 and above sets it.

#pragma once

#include "interface/windows_calls.h"

struct MaskPlane {
    uint8_t *bytes;
    int32_t bitsPerPixel;   // 8 or 1
    int32_t width, height;
};

void FillMask(const MaskPlane &mask, uint8_t value);
void InvertMask(const MaskPlane &mask);
// A round brush: every pixel whose middle is at most `diameter` / 2 from the stroke's middle line, ends included.
void PaintStroke(const MaskPlane &mask, POINT from, POINT to, int32_t diameter, uint8_t value);
