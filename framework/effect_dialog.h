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

// What a command meant to a table of controls: it came from none of them, it told nothing new, or the block has
// changed.
enum class Taken { NOTHING, NO_CHANGE, CHANGE };
// Takes a command of one of the table's controls into the block.
Taken TakeControl(const ControlTable &controls, HWND dialog, EffectBlock *block, int id, int notification,
                  LPARAM extra);
// Stores the scope that a radio button stands for in the current block, for the next run: one that is under way may be
// about to read its own, so its block gets it when it has ended. True when the id is one of them. The slot is not empty.
bool TakeScope(DialogState *state, int id);

// An error box with an OK button.
void ShowError(HWND dialog, const char *text, const char *title);
