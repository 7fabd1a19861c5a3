// The effects' chooser, with thumbnails; one at most.

#pragma once

#include "host/editor/editor.h"

// Makes room for thumbnails in the chooser's dialog, before it is shown.
void FurnishChooser(Editor &editor, HWND dialog);
// Begins to make them, when it stands ready.
void BeginChooser();
// The active picture has changed, or another one has become active: the chooser, if it is open, follows.
void RefreshChooser();
// Colours have changed.
void DressChooser();
