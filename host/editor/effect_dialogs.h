// The effects' dialogs and their chooser, as they stand on the screen just now.

#pragma once

#include "host/editor/editor.h"

// Null when it is not open. It has no place on the host's list of dialogs.
HWND OpenChooser();
// Of the dialogs that are seen the foremost one's; null when there is none.
const DialogTemplate *EffectInFront();
// Its window; null when none is seen.
HWND DialogInFront(const Editor &editor);
// Makes the dialog that was opened last the active window. There is one.
void GoToDialog(const Editor &editor);
