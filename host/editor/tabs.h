// The row of tabs above pictures that fill the window: one for each, with its name, its star and a cross that closes it.
// What a tab does is asked of its picture's window, as from its own frame; keys go through pictures without it.

#pragma once

#include "host/editor/editor.h"

void MakeTabs(Editor &editor);
// How high the row is, in pixels of the main window; 0 when it is not shown.
int TabsHeight(const Editor &editor);
// Beneath what stands at `top`.
void LayOutTabs(const Editor &editor, int top);
// A tab for each picture, as it is called now; and the row itself comes when pictures fill the window, and goes when not.
void RefreshTabs(Editor &editor);
// A font as large as the screen wants it.
void UseTabsFont(const Editor &editor);
