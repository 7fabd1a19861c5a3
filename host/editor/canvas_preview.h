// What an effect would make of the picture, seen on the picture itself: the foremost dialog's preview, drawn in the
// picture's own window, all of it or one side of a line that can be dragged. It is made once, by the dialog's preview
// control; here it is only looked at.

#pragma once

#include "host/editor/editor.h"

// The preview control whose picture is to be seen in the window; null for none: the option is off, the key for "before" is
// held, there is no dialog, or its settings have not changed since its last run.
HWND PreviewFor(const PictureWindow &picture);
// What the host tells of preview controls and dialogs: look again, a setting has changed, a run has ended.
void OnPreviewMessage(Editor &editor, HWND window, UINT message);
void PausePreview(Editor &editor, HWND dialog);

// The commands.
void TogglePreviewOnPicture(Editor &editor);
void ToggleSplit(Editor &editor, PictureWindow &picture);
// While the key is held.
void ShowBefore(Editor &editor, bool before);
constexpr WPARAM BEFORE_KEY = VK_F8;
// The column of the line, window pixels; the left side shows the picture as it is.
int SplitColumn(const PictureWindow &picture);
bool IsAtSplit(const PictureWindow &picture, POINT position);
void MoveSplit(PictureWindow &picture, int column);
