// Pictures cut, resized and turned, as runs of the editor's own.

#pragma once

#include "host/editor/editor.h"

// PICTURE_CROP .. PICTURE_FLIP_DOWN; resizing asks for the size first.
void ChangeGeometry(Editor &editor, PictureWindow &picture, int command);
