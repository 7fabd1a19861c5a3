// The routines of this library that its host calls by itself, and their handing over.

#pragma once

#include "interface/vlmapi.h"

// Gives the host the routines below, the first time that it is called. What every program with dialogs or images makes
// here first does so: its list of floating windows, an image's progress. Loading the library alone does nothing. [any]
void JoinHost();

// Draws and works a preview control, as a window procedure. [ui]
LRESULT KPZAPI PreviewProcedure(HWND window, UINT message, WPARAM word, LPARAM extra);
// A run of an image has come to its end, or was left there for want of memory. [run]
void KPZAPI OnRunEnd(ImageRecord *image, HWND dialog, BOOL left);
// Frees the undo step that is missed least. False when there is none to free. [any]
BOOL KPZAPI GiveUpOldestStep();
