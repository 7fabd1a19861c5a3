// A colour of the picture for an effect's colour setting.

#pragma once

#include "host/editor/editor.h"

// The pixel that was pressed gives its colour to the foremost dialog's colour setting; of several to the one that has the
// keyboard, else to the first. Nothing without one.
void PickColourUnder(PictureWindow &picture);
