// What can be saved when memory has run out.

#pragma once

#include "host/editor/editor.h"

// To the main window: another thread has run out of memory; and, posted then, what ends the program.
enum { MEMORY_HAS_RUN_OUT = WM_APP + 1, END_FOR_MEMORY };

// To be called when the main window stands.
void PrepareForMemoryEnd(Editor &editor);
// Asks whether the changed pictures shall be saved as copies, does so, and ends the program. Returns when that is under
// way already: several threads may run out at once.
void EndForMemory(Editor &editor);
