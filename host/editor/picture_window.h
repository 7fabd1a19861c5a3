// Windows of pictures, and how they come and go.

#pragma once

#include "host/editor/document_file.h"
#include "host/editor/editor.h"

void RegisterPictureWindows();
// Opens a window for a picture and makes it the active one. Null when there can be no more, after a message.
// `document` is put on it where there is one (document_file.h).
PictureWindow *ShowPicture(Editor &editor, Picture &&contents, const std::string &file, FileFormat format,
                           Document *document = nullptr);
// Takes a closed picture's window away.
void RemovePictureWindow(Editor &editor, PictureWindow *picture);
