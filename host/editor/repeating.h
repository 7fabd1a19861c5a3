// The effect that was applied last, with its settings: applied again without its dialog, or its dialog opened with them.

#pragma once

#include "host/editor/editor.h"

// The dialog's run has just been started, and its controls are greyed: what stands in them is what will be repeated.
void NoteApply(HWND dialog);
// The title of the effect that would be repeated; empty when there is none yet.
const char *TitleToRepeat();
// There is one, and the picture's type takes it.
bool CanRepeat(const Editor &editor);
// At once: the dialog works unseen, and goes with its run.
void RepeatEffect(Editor &editor);
void RepeatInDialog(Editor &editor);
// A run of this dialog has ended, or did not begin.
void CloseAfterRepeating(HWND dialog);
