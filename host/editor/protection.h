// Parts of a picture that a person has painted over so that effects leave them as they are. What is protected goes back
// and forth with undo and redo; it belongs to the picture's size, and to no file.

#pragma once

#include "host/editor/editor.h"

// Null where nothing was ever protected, or the picture has another size by now.
const Protection *ProtectionOf(const PictureWindow &picture);
bool IsProtected(const PictureWindow &picture);
