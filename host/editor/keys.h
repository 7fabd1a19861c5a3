// Keys that are commands, in whichever message loop they come: of the main window, of an effect's dialog, of the help.

#pragma once

#include "host/editor/editor.h"

// Is asked about every message (HostTakeMessages). TRUE when it was meant for it.
BOOL KPZAPI TakeKey(void *editor, HWND window, UINT message, WPARAM key, LPARAM extra);
