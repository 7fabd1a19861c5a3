// The line beneath the pictures: the active one's type, size, zoom and place, and how far what runs has come.

#pragma once

#include "host/editor/editor.h"

// As a part of the main window, which stands.
void MakeStatusLine(Editor &editor);
// Its parts, to the width that it has.
void LayOutStatus(const Editor &editor);
// The system's font for it, as large as the screen wants it.
void UseStatusFont(const Editor &editor);
void UpdateStatus(Editor &editor);
// What the mouse is at in the active picture (Editor::pointer).
void ShowPointer(const Editor &editor);
// A run has come further.
void ShowProgress(const Editor &editor);
// Draws the bars, which the line leaves to its owner.
void DrawProgress(const Editor &editor, HDC space, const RECT &area);
