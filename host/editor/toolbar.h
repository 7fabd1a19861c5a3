// The toolbar under the menu: commands of the menu as pictures, greyed as they are there, with their names and keys as tips.

#pragma once

#include "host/editor/editor.h"

void MakeToolbar(Editor &editor);
// How high it is, in pixels of the main window; 0 when it is not shown.
int ToolbarHeight(const Editor &editor);
void LayOutToolbar(const Editor &editor);
// Buttons greyed and pressed as their commands are.
void GreyToolbar(const Editor &editor);
// Its pictures in the system's colours of now, as large as the screen wants them.
void UseToolbarPictures(const Editor &editor);
// For WM_NOTIFY in the main window: true when it was the toolbar's.
bool TakeToolbarNotice(const Editor &editor, LPARAM extra, LRESULT &result);
// Shown or not, which is remembered.
void ToggleToolbar(Editor &editor);
