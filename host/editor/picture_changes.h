// What follows when a picture has changed, or another one becomes the active one: its window's size and title, the
// status line, the chooser.

#pragma once

#include "host/editor/editor.h"

// The picture's size, title or state has changed.
void PictureChanged(Editor &editor, PictureWindow &picture);
void UpdateTitles(Editor &editor);
void ActivatePicture(Editor &editor, PictureWindow *picture);
// The size of the window around a picture of this size on the screen, within the room there is.
Extent WindowAround(const Editor &editor, Extent shown);
