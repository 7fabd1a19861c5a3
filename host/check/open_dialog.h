// An effect's dialog that is open on a stage, and the blocks that its module keeps for the images: found by what passes
// between module and host, without knowing how the module keeps its books.

#pragma once

#include "host/check/pictures.h"
#include "host/check/plan.h"
#include "host/check/stage.h"

struct OpenDialog {
    ModuleStage &stage;
    const CheckedEffect &effect;
    HWND dialog;
    const DialogTemplate *table;   // null where the host has none
    // The header that InitializeFilter was last handed for an image; null when there was none.
    FilterHeader *HeaderOf(const ImageRecord *image) const;
    EffectBlock *BlockOf(const ImageRecord *image) const;
    // What the block holds behind the common part.
    std::vector<int32_t> ParametersOf(const ImageRecord *image) const;
};

// Opens the effect's dialog and runs the script in it. False when there is none to look into, which is told elsewhere.
bool InDialogOf(const CheckedEffect &effect, ModuleStage &stage, const std::function<void(OpenDialog &)> &script);

// Every header that the host was handed, in order.
struct HandedHeader {
    FilterHeader *header;
    ImageRecord *image;
};
std::vector<HandedHeader> HandedHeaders(const Calls &calls);

// Works every control of the effect's own with a random value, as a person: numbers within their ranges.
void SetAtRandom(OpenDialog &open, std::mt19937 &generator);
// Whether a control of a template is the effect's own and not one that all dialogs share.
bool IsOwnControl(const ControlTemplate &row);
// Frees what the undo steps hold, so that blocks can be counted.
void ForgetUndoOf(const ModuleStage &stage);
