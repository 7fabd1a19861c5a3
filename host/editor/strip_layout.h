// The strip's window and controls, made and placed; what they do is strip.h's.

#pragma once

#include "host/editor/strip_controls.h"
#include "interface/windows_calls.h"

// Makes the strip beneath a dialog, which grows by its height, and moves the dialog so that all of it stays on the screen.
// With `seed` it has the seed's controls. The procedure is the strip window's own and finds `data` as its user data.
HWND MakeStrip(HWND dialog, WNDPROC procedure, void *data, bool seed);
// The line of notes leaves room for the button beside it.
void ShowConvertButton(HWND strip, bool shown);
// The strip becomes so wide, in pixels: its lines go with it.
void WidenStrip(HWND strip, int width);
