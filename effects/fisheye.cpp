// Fisheye: bulges the picture inside the ellipse inscribed in it, as a wide-angle lens does. A pixel at radius r, where
// the ellipse has radius R, is fetched from the same ray at radius
//     r^k / R^(k - 1)        k: the power in tenths
// so for k above 1 the middle grows, below 1 it shrinks, and at 1 all stays. The ellipse itself, what lies outside, and
// a centre that falls on a pixel stay. The mask plane moves along.

#include "effects/effects.h"
#include "framework/lens.h"

enum { POWER = 1840, POWER_EDIT = 1850 };

struct FisheyeParameters {
    int32_t lensPower = 20;   // tenths, 1..100
};
struct FisheyeBlock {
    EffectBlock common;
    FisheyeParameters own;
};
BLOCK_SIZE(FisheyeBlock, 136);

static constexpr FisheyeParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(POWER, POWER_EDIT, FIELD(FisheyeBlock, own.lensPower), 1, 100),
};

static INT_PTR KPZAPI FisheyeDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(fisheye, dialog, message, word, extra);
}

//---- Worker

static void KPZAPI FisheyeWorker(EffectBlock *shared)
{
    const FisheyeBlock block = BlockOf<FisheyeBlock>(fisheye, shared);
    const double k = block.own.lensPower * 0.1;
    BendRays(block.common.view, k - 1);   // r^k / R^(k - 1) = r * (r / R)^(k - 1)
}

// The block's title is another word than the dialog's, and it stays so.
const EffectDescriptor fisheye = {
    .name = "Fish Eye",
    .title = "Fishing",
    .openTitle = "Fisheye",
    .commandOffset = FISHEYE_COMMAND,
    .blockSize = sizeof(FisheyeBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = FisheyeWorker,
    .dialog = FisheyeDialog,
};
