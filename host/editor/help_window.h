// The window with the pages of the effects; one at most.

#pragma once

#include "host/editor/editor.h"

// Opens the help window, or brings it forward, with an effect's page; null: with the one that it shows, or the first.
void ShowHelp(const Editor &editor, const DialogTemplate *effect);
// The colours have changed (colours.h).
void DressHelp();
void CloseHelp();
bool IsHelp(HWND window);
// To be asked about every message, since any loop may be at work. True when it was a key of the help window's.
bool TakeHelpMessage(HWND window, UINT message, WPARAM word, LPARAM extra);
