// Changes that a person makes to a picture by hand: undo, selected area, floating objects, mask. The picture can be
// changed (CanChange) where nothing else is said.

#pragma once

#include "host/editor/editor.h"

// Goes so many steps forward, as redo does, or back when negative; as far as there are steps.
void GoThroughSteps(Editor &editor, PictureWindow &picture, int steps);
// After a run that has left another size on record than the picture has.
void PutSizeOnRecord(Editor &editor, PictureWindow &picture, TrueSize size);
void SelectRectangle(PictureWindow &picture, POINT one, POINT other);

//---- Floating objects

void PasteObject(Editor &editor, PictureWindow &picture, const Picture &contents);
void SelectNextObject(PictureWindow &picture, int step);
void SelectAllObjects(PictureWindow &picture);
void DeleteObjects(Editor &editor, PictureWindow &picture);
void MergeObjects(Editor &editor, PictureWindow &picture);
// By (dx, dy) pixels; `step` records an undo step first.
void MoveSelectedObjects(Editor &editor, PictureWindow &picture, int32_t dx, int32_t dy, bool step);
// The topmost object that covers a pixel, -1 for none.
int32_t ObjectUnder(const PictureWindow &picture, POINT pixel);
bool HasSelectedObjects(const PictureWindow &picture);

//---- The mask

void ToggleMaskEditing(Editor &editor, PictureWindow &picture);
void RemoveMask(Editor &editor, PictureWindow &picture);
// MASK_FILL, MASK_CLEAR or MASK_INVERT.
void ChangeWholeMask(Editor &editor, PictureWindow &picture, int command);
// With a round brush, from one pixel's middle to another's; 255 lets effects through, 0 keeps them out.
void PaintMask(PictureWindow &picture, POINT from, POINT to, int32_t diameter, uint8_t value);
