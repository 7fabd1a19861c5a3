// The keyboard in a picture's window.

#pragma once

#include "host/editor/editor.h"

// False when the key means nothing to a picture.
bool OnKey(PictureWindow &picture, WPARAM key);
