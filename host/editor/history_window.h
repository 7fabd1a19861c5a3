// The window "History": the active picture's steps as a list. A step that is chosen is gone back or forward to, as undo
// and redo do; from the effects among them comes a recipe, or a batch. One at most.

#pragma once

#include "host/editor/editor.h"

// Opens it, or brings it forward.
void ShowHistory(Editor &editor);
// Brings it in line with the active picture, whose steps are noted; nothing is drawn when nothing has changed.
void RefreshHistory(Editor &editor);
