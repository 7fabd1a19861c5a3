// Swirl: twists the picture like a whirlpool. The host's SwirlFunction does all of it, the mask plane, progress and
// abort included; an amount of 0 leaves the picture alone and reports nothing.

#include "effects/effects.h"

enum { AMOUNT = 6440, AMOUNT_EDIT = 1440 };

struct SwirlParameters {
    int32_t amount = 45;   // -8000..8000; its sign is the sense
};
struct SwirlBlock {
    EffectBlock common;
    SwirlParameters own;
};
BLOCK_SIZE(SwirlBlock, 136);

static constexpr SwirlParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(AMOUNT, AMOUNT_EDIT, FIELD(SwirlBlock, own.amount), -8000, 8000),
};

static INT_PTR KPZAPI SwirlDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(swirl, dialog, message, word, extra);
}

//---- Worker

static void KPZAPI SwirlWorker(EffectBlock *shared)
{
    const SwirlBlock block = BlockOf<SwirlBlock>(swirl, shared);
    const ImageView &view = block.common.view;
    if (block.own.amount == 0 || IsEmpty(view)) return;
    SwirlFunction(view.pixels, view.mask, view.width, view.height, view.bitsPerPixel, view.maskBitsPerPixel,
                  view.colourType, block.own.amount, view.maskInUse, view.progressWindow, view.progress,
                  view.abortFlag);
}

const EffectDescriptor swirl = {
    .name = "Swirl",
    .title = "Swirl",
    .commandOffset = SWIRL_COMMAND,
    .blockSize = sizeof(SwirlBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = SwirlWorker,
    .dialog = SwirlDialog,
};
