// The dialogs of the editor's own that are open. They are worked by whatever loop is at work, which may be an effect's
// dialog's; so the loop's messages are looked through for theirs.

#pragma once

#include "interface/windows_calls.h"

#include <vector>

// From its making until it goes.
void AddOwnDialog(HWND dialog);
void RemoveOwnDialog(HWND dialog);
const std::vector<HWND> &OwnDialogs();
// Whether a window is one of them, or within one.
bool IsOwnDialog(HWND window);
// For the host's loop: true when the message was one of theirs, and has been handled.
BOOL TakeOwnDialogMessage(HWND window, UINT message, WPARAM word, LPARAM extra);
