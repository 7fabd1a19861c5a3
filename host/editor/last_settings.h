// The values that an effect was last applied with: for a picture, and at all, which outlives the editor.

#pragma once

#include "host/editor/dialog_settings.h"
#include "host/editor/editor.h"

void RememberSettings(PictureWindow &picture, const DialogTemplate &effect, const Settings &settings);
// The picture's, else those used last at all; empty when there are none.
Settings LastSettings(const PictureWindow *picture, const DialogTemplate &effect);
