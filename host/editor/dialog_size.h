// Effects' dialogs made larger by a person: the preview takes what a dialog grows by, what stands beneath it and beside it
// moves, and all else stays. How much larger is the same for all of them, and remembered.

#pragma once

#include "interface/windows_calls.h"

#include <functional>

// To be called before the dialog is shown, when it has all of its controls; it is then as large as the last one was made,
// as far as its screen has room. `resized`, when its size has changed and stays for now.
void LetDialogGrow(HWND dialog, std::function<void()> resized);
