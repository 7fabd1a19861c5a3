// Messages and questions that a person answers before anything else of the editor can be worked.

#pragma once

#include "host/editor/editor.h"

#include <commdlg.h>
#include <functional>

// The button that was pressed: IDOK, IDYES, ...
int32_t ShowMessage(const Editor &editor, const std::string &text, UINT style);
// A dialog of the editor's own, which its caller makes and runs within `show`.
INT_PTR AskByDialog(const Editor &editor, const std::function<INT_PTR()> &show);
// The system's file dialog; false when cancelled.
bool AskForFile(const Editor &editor, BOOL save, OPENFILENAMEA &question);
