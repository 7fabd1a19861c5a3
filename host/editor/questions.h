// Messages and questions that a person answers before anything else of the editor can be worked.

#pragma once

#include "host/editor/editor.h"

#include <commdlg.h>

// The button that was pressed: IDOK, IDYES, ...
int32_t ShowMessage(const Editor &editor, const std::string &text, UINT style);
// The system's file dialog; false when cancelled.
bool AskForFile(const Editor &editor, BOOL save, OPENFILENAMEA &question);
