// The strip beneath an effect's dialog, which is the editor's and not the module's: which picture the dialog works on,
// presets, Reset, Randomise and what undoes them, the seed, the command line's words, and a line of notes. It knows
// settings as words (dialog_settings.h); the dialog's own controls stay what they are.

#pragma once

#include "host/editor/editor.h"
#include "host/editor/strip_controls.h"

// Adds one to a dialog that has just been made, before it is shown, and gives it the values that were used last.
void FurnishDialog(Editor &editor, HWND dialog, const DialogTemplate &effect);
// What a dialog has handled: images that come, go and become active, the ends of runs.
void TellStrip(HWND dialog, UINT message, LPARAM extra);
// The dialog's preview shows something. The first time it goes to actual size where the effect is judged by single pixels.
void OnPreviewShown(HWND dialog, HWND preview);
// A run of the dialog's has begun: its values are those that were used last.
void OnRunBegun(HWND dialog, PictureWindow &picture);
// It has ended; `unchanged`: it has left the picture as it was.
void OnRunEnded(HWND dialog, bool unchanged);
// The colours have changed (colours.h): the effects' dialogs follow.
void DressDialogs();
// Brings all strips in line with the pictures.
void RefreshStrips();
// A key pressed in a dialog. True when it was the strip's, or must not close the dialog so soon after a run.
bool TakeStripKey(HWND dialog, HWND control, WPARAM key);
