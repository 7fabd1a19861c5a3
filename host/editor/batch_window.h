// The window "Run on Other Pictures": the effects of a history on other files, with progress, abort, and what has become of
// each picture. It works while pictures are worked on in the editor. One at most.

#pragma once

#include "host/editor/editor.h"

// Opens it with these steps, or brings it forward; steps of a batch that runs stay what they are.
void ShowBatch(Editor &editor, const StepsAsRecipe &recipe);
// Before the editor ends: asks whether a batch that runs is to be aborted. False when it is not.
bool EndBatch(const Editor &editor);
