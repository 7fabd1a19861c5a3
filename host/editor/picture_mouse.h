// The mouse in a picture's window: what its buttons' messages do. `keys` and `extra` are the messages' own.

#pragma once

#include "host/editor/editor.h"

void OnPress(PictureWindow &picture, WPARAM keys, LPARAM extra, bool right);
// The pointer has left the window.
void OnLeave(PictureWindow &picture);
void OnMove(PictureWindow &picture, LPARAM extra);
void OnRelease(PictureWindow &picture);
