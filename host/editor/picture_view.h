// Which part of a picture its window shows.

#pragma once

#include "host/editor/editor.h"

void RedrawPicture(const PictureWindow &picture);
// After the window, the picture or the zoom has another size.
void LayOutPicture(PictureWindow &picture);
void ZoomPicture(Editor &editor, PictureWindow &picture, double scale);
// From now on the zoom follows the window's size.
void FitPicture(Editor &editor, PictureWindow &picture);
// Window pixels from the shown picture's corner to the window's; what lies beyond the ends is held back.
void ScrollTo(PictureWindow &picture, int32_t left, int32_t top);
// `bar` is SB_HORZ or SB_VERT, `code` what WM_HSCROLL tells.
void OnScrollBar(PictureWindow &picture, int bar, int code);
void OnWheel(PictureWindow &picture, WPARAM word, LPARAM extra, bool across);
