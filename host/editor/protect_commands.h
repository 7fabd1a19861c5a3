// Painting what effects are to leave alone, and bringing it back after a run. A stroke is an undo step. Floating objects are
// not protected, nor is a picture that becomes larger.

#pragma once

#include "host/editor/editor.h"

// Begins or ends the painting. The picture can be changed (CanChange), here and below.
void ToggleProtecting(Editor &editor, PictureWindow &picture);
// PROTECT_INVERT, PROTECT_NOTHING or PROTECT_MASK.
void ChangeProtection(Editor &editor, PictureWindow &picture, int command);
// A stroke's undo step; then its parts, as PaintMask: 255 frees, 0 protects.
void BeginProtectionStroke(PictureWindow &picture);
void PaintProtection(PictureWindow &picture, POINT from, POINT to, int32_t diameter, uint8_t value);
// An effect's run has ended, and has its undo step: brings back what is protected.
void ProtectResult(Editor &editor, PictureWindow &picture);
