// Pictures closed, one or all, and what a person is asked before that.

#pragma once

#include "host/editor/editor.h"

// Both false when the person wants to keep a picture; then all of them stay.
bool ClosePicture(Editor &editor, PictureWindow &picture);
bool CloseAll(Editor &editor);
