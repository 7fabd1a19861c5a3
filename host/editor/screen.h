// Measures of windows and of the screen they are on.

#pragma once

#include "host/misc/preview/view.h"
#include "interface/windows_calls.h"

UINT DotsPerInch(HWND window);
// What the system's fonts and measures are for.
int ScreenDotsPerInch();
// One of the system's fonts as large as a window wants it. The caller's to delete.
HFONT FontFor(HWND window, LOGFONTA font);
// Of a window's inside, in pixels.
Extent SizeOf(HWND window);
