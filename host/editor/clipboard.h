// Pictures to and from the clipboard, as the bitmaps that other programs know.

#pragma once

#include "host/editor/editor.h"

bool ClipboardHasPicture();
// The selected area, or all of the picture.
void CopyToClipboard(Editor &editor, const PictureWindow &picture);
// False when there is none that can be understood.
bool PictureOnClipboard(Picture &contents);
