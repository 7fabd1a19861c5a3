// Which commands are possible, and what each one starts. Commands are those of commands.h.

#pragma once

#include "host/editor/editor.h"

bool CommandPossible(const Editor &editor, int command);
// Runs a command, unless it is greyed.
void RunEditorCommand(Editor &editor, int command);
// Opens an effect's dialog, or the chooser, unless the picture's type refuses it. `offset` counts from the module's
// base id.
void RunEffect(Editor &editor, int32_t offset);
// The next picture or the one before. Without going round: the buttons of the effects' dialogs name the list's ends.
void ActivateNeighbour(Editor &editor, int step);
