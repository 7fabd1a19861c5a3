// What cannot be done just now is greyed in the effects' dialogs too: scopes without floating objects or selected area,
// Undo, Redo, Previous and Next. The module enables its controls by rules of its own, so the editor looks after them
// whenever something may have changed.

#pragma once

#include "host/editor/editor.h"

constexpr UINT GREY_DIALOGS = WM_APP + 20;   // to the main window
// Soon: after all that is under way has been handled.
void GreyDialogsSoon(const Editor &editor);
// At once; what GREY_DIALOGS asks for.
void GreyDialogs(const Editor &editor);
