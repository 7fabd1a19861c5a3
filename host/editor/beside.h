// Where a window goes that must not lie over another one.

#pragma once

#include "host/misc/preview/view.h"

struct Beside {
    RECT place;    // of the window
    POINT other;   // the other's corner: where it was, or moved aside as far as it must be
};
// Of a window that wants to be as large as `wanted` and is at least `least` wide, beside another one on the free part of
// a screen. On a screen too small for both it is narrower than `least`, down to nothing.
Beside PlaceBeside(const RECT &other, const RECT &screen, Extent wanted, int32_t least);
bool Overlap(const RECT &one, const RECT &other);
