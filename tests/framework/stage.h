// The checks' stage (host/check/stage.h) as tests want it: with VLMEFF and random pictures, and what must not go wrong on
// it fails the test. Looks into the dialogs of this tree's framework, of which the checks know nothing.

#pragma once

#include "framework/effect.h"
#include "host/check/stage.h"
#include "tests/support/comparison.h"
#include "tests/support/pictures.h"

// Opens so many small RGB pictures, each another; the first is active.
struct Stage : ModuleStage {
    explicit Stage(int imageCount = 1);
};

// A random picture, another one with every call.
Picture AnyPicture(int32_t colourType, int32_t width = 12, int32_t height = 9);

// Opens the dialog of a command, runs the script in it, and leaves it: what still runs is aborted, the dialog closed.
void InDialog(Stage &stage, int commandOffset, const Script &script);
inline void InNoise(Stage &stage, const Script &script) { InDialog(stage, NOISE_COMMAND, script); }
inline void InWave(Stage &stage, const Script &script) { InDialog(stage, WAVE_COMMAND, script); }

// Presses Apply in the dialog of the active image and waits until its run stands still.
void ApplyAndHold(HWND dialog, ImageRecord *image, int report = 0);

//---- Looking into a dialog

enum { AMOUNT = 1290, AMOUNT_EDIT = 1300, VARIATION = 1310, VARIATION_EDIT = 1320 };
struct NoiseBlock {
    EffectBlock common;
    int32_t amount, variation;
};

enum {
    WAVELENGTH = 1030,
    WAVELENGTH_EDIT = 1040,
    PHASE = 1060,
    PHASE_EDIT = 1050,
    AMPLITUDE = 1070,
    AMPLITUDE_EDIT = 1080,
    BACKGROUND = 1130,
    ROWS = 1200,
    COLUMNS = 5530,
};
struct WaveBlock {
    EffectBlock common;
    int32_t amplitude;
    uint32_t background;
    int32_t wavelength, phase, orientation;
};

inline DialogState *StateOf(HWND dialog) { return static_cast<DialogState *>(KPZ_QueryWindowPtrSystem(dialog)); }
inline EffectBlock *BlockAt(HWND dialog, int slot) { return StateOf(dialog)->slots[slot]; }
inline EffectBlock *CurrentBlock(HWND dialog) { return BlockAt(dialog, StateOf(dialog)->currentSlot); }
inline NoiseBlock &NoiseAt(HWND dialog, int slot) { return *reinterpret_cast<NoiseBlock *>(BlockAt(dialog, slot)); }
inline NoiseBlock &CurrentNoise(HWND dialog) { return NoiseAt(dialog, StateOf(dialog)->currentSlot); }
inline WaveBlock &CurrentWave(HWND dialog) { return *reinterpret_cast<WaveBlock *>(CurrentBlock(dialog)); }
inline LPARAM HeaderOf(EffectBlock *block) { return reinterpret_cast<LPARAM>(&block->header); }

void PrintTo(const Call &call, std::ostream *out);
void PrintTo(const Message &message, std::ostream *out);
