// Pictures opened from files and saved into them. What fails or is lost is told to the person here.

#pragma once

#include "host/editor/editor.h"

void OpenFile(Editor &editor, const std::string &file);
void OpenByDialog(Editor &editor);
// Of RecentFiles; one that has gone is forgotten.
void OpenRecent(Editor &editor, size_t number);
// Back to what is in its file: by undo where that goes so far, which redo brings back; else it is opened anew.
void RevertPicture(Editor &editor, PictureWindow &picture);
// PART: something was left out, of which the person has been told. Then, and after an export, the picture counts as
// changed as before.
enum class Saved { NOTHING, PART, ALL };
Saved SavePicture(Editor &editor, PictureWindow &picture);
Saved SavePictureAs(Editor &editor, PictureWindow &picture);
void ExportPicture(Editor &editor, PictureWindow &picture);
bool ReadFile(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format);
