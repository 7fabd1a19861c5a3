// Windows of pictures, and how they come and go.

#pragma once

#include "host/editor/editor.h"

void RegisterPictureWindows();
// Opens a window for a picture and makes it the active one. Null when there can be no more, after a message.
PictureWindow *ShowPicture(Editor &editor, Picture &&contents, const std::string &file, FileFormat format);
// Takes a closed picture's window away.
void RemovePictureWindow(Editor &editor, PictureWindow *picture);
