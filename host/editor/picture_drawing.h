// Draws a picture's window.

#pragma once

#include "host/editor/editor.h"

// WM_PAINT's, and the timer's that it sets when the picture is in other hands.
void PaintPicture(PictureWindow &picture);
void PaintAgain(PictureWindow &picture);
// Lets a routine look at what a picture shows, as it was before when it runs. Never waits: false when a run or a
// preview has it in its hands just now.
bool LookAtImage(const PictureWindow &picture, LookRoutine look, void *context);
