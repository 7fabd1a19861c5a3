// The main window.

#pragma once

#include "host/editor/editor.h"

// False when the system makes none.
bool MakeFrame(Editor &editor);
// To be called before EndHost, when no picture is open any more.
void EndFrame(Editor &editor);
