// The dialog that all effects share: one block per open image, a live preview, Apply and Abort on the active image,
// and no closing while a run is under way. An effect's dialog procedure hands every message to EffectDialog; what is
// the effect's own it does in the hooks of its descriptor, with the routines declared here.
//
// All of it runs on the thread of the dialogs.

#pragma once

#include "framework/effect.h"

// What every effect's dialog procedure does with a message.
INT_PTR EffectDialog(const EffectDescriptor &effect, HWND dialog, UINT message, WPARAM word, LPARAM extra);

// The block whose values the controls show; null when the slot is empty.
inline EffectBlock *CurrentBlock(const DialogState *state) { return state->slots[state->currentSlot]; }

// Writes the current block into all controls, after an effect has changed the block by itself. What the controls tell
// meanwhile is not taken for a person's change. Does nothing when the slot is empty.
void LoadControls(const EffectDescriptor &effect, HWND dialog, DialogState *state);

// Tells the preview control that parameters changed, when the preview is on.
void ParametersChanged(HWND dialog, const DialogState *state);

// An error box with an OK button.
void ShowError(HWND dialog, const char *text, const char *title);
