// Pictures made into another type, as a run of the editor's own.

#pragma once

#include "host/editor/editor.h"

// Begins the run. `command` is one of PICTURE_ONE_BIT .. PICTURE_RGB.
void ConvertPicture(Editor &editor, PictureWindow &picture, int command);
