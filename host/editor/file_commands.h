// Pictures opened from files and saved into them. What fails or is lost is told to the person here.

#pragma once

#include "host/editor/editor.h"

void OpenFile(Editor &editor, const std::string &file);
void OpenByDialog(Editor &editor);
// Both false when nothing was saved.
bool SavePicture(Editor &editor, PictureWindow &picture);
bool SavePictureAs(Editor &editor, PictureWindow &picture);
bool ReadFile(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format);
