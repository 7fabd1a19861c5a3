// What has been done to a picture, kept step by step: the host knows the steps that can be undone, the editor notes of
// each what it was done with, and keeps that beyond what undo still reaches.

#pragma once

#include "host/editor/editor.h"

// What a dialog is about to apply to the active picture, before its controls are greyed for the run.
TakenStep StepAbout(HWND dialog, const DialogTemplate &effect, const PictureWindow &picture);
// Notes the steps that have come since the last look. To be called when the picture does not run.
void NoteSteps(PictureWindow &picture);
// The run that `begun` tells of has ended; `finished`: it was not aborted, and has changed the picture.
void NoteRun(PictureWindow &picture, bool finished);
// The steps that have led to what the picture is, and those that redo would bring again; the oldest first. `reached` is
// the place of the first state that undo still goes back to: 0 is the file's, or what was before the first step that is
// known; `current` that of the picture as it is.
struct StepList {
    std::vector<TakenStep> steps;
    size_t reached = 0, current = 0;
};
StepList StepsOf(const PictureWindow &picture);
