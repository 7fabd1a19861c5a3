// Menus in dark colours: the editor draws their rows itself then, since the system has no dark ones that a program can ask
// for. In other colours they are the system's.

#pragma once

#include "interface/windows_calls.h"

// The rows of a menu that opens as the colours want them, once they are as they are to be seen.
void DressMenu(HMENU menu);
// A window's bar: when it has been made, and when colours have changed.
void DressMenuBar(HWND window);
// What no heading covers of it, which the system draws in its own colours: to be called when it has.
void PaintBarsRest(HWND window);

// For the procedure of the window whose menu it is: true when the message is about a row that is drawn here, or is a
// letter that one has; `result` is then what to return.
bool TakeMenuMessage(HWND window, UINT message, WPARAM word, LPARAM extra, LRESULT &result);
