// What an open menu shows: greyed commands, the names of the steps to undo and redo.

#pragma once

#include "host/editor/editor.h"

void OnMenuOpens(Editor &editor, HMENU menu);
