// Runs of the editor's own: a picture becomes another one on a thread of its own, with progress, abort and undo, and the
// effects' dialogs wait for it as they do for each other.

#pragma once

#include "host/editor/conversion.h"
#include "host/editor/editor.h"

// Makes the new picture of the old one, on the run's thread; without pixels when `goOn` says no.
typedef std::function<Picture(const Picture &from, const GoOn &goOn)> MakesPicture;
// Begins the run; `label` is its undo step's and stays. The picture can be changed (CanChange). Floating objects are
// merged. The selected area stays where it is, or goes when pixels get other places.
enum class Places { STAY, CHANGE };
void StartPictureRun(Editor &editor, PictureWindow &picture, const char *label, Places places, MakesPicture makes);
