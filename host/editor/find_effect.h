// The command Find: an effect by a word.

#pragma once

#include "host/editor/editor.h"

// Asks, and opens the dialog of the effect that was chosen.
void FindEffect(Editor &editor);
