// The pane that shows what Mirror and Shear make of the picture: in the preview's place, or beneath the sketch that Shear
// draws there, which then has the upper half.

#pragma once

#include "host/editor/editor.h"

constexpr int RESULT_PANE = 0x7040;   // its id in the dialog

// Adds one to a dialog whose effect changes sizes. The preview's zoom buttons, which have nothing to zoom, go.
void AddResultPane(HWND dialog, const DialogTemplate &effect);
// Shows the picture as a run would leave it, or as it is where previews are off; nothing is done when nothing of it has
// changed. Dialogs without a pane are left alone.
void UpdateResultPane(HWND dialog, const PictureWindow *picture);
