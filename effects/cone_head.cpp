// Cone Head: squeezes the middle of the picture towards a point, as if it were drawn onto a cone: Fisheye the other way
// round. A pixel at radius r inside the inscribed ellipse, which has radius R there, is fetched from the same ray at
// radius
//     (r * R^(k - 1))^(1 / k)        k: the power in tenths
// so for k above 1 the middle shrinks, below 1 it grows, and at 1 all stays. The ellipse itself, what lies outside, and
// a centre that falls on a pixel stay. The mask plane moves along.

#include "effects/effects.h"
#include "framework/lens.h"

enum { POWER = 1840, POWER_EDIT = 1850 };

struct ConeHeadParameters {
    int32_t conePower = 20;   // tenths, 1..100
};
struct ConeHeadBlock {
    EffectBlock common;
    ConeHeadParameters own;
};
BLOCK_SIZE(ConeHeadBlock, 136);

static constexpr ConeHeadParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(POWER, POWER_EDIT, FIELD(ConeHeadBlock, own.conePower), 1, 100),
};

static INT_PTR KPZAPI ConeHeadDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(coneHead, dialog, message, word, extra);
}

//---- Worker

static void KPZAPI ConeHeadWorker(EffectBlock *shared)
{
    const ConeHeadBlock block = BlockOf<ConeHeadBlock>(coneHead, shared);
    const double k = block.own.conePower * 0.1;
    BendRays(block.common.view, 1 / k - 1);   // (r * R^(k - 1))^(1 / k) = r * (r / R)^(1 / k - 1)
}

const EffectDescriptor coneHead = {
    .name = "Cone",
    .title = "Cone Head",
    .openTitle = "Cone",
    .commandOffset = CONE_HEAD_COMMAND,
    .blockSize = sizeof(ConeHeadBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = ConeHeadWorker,
    .dialog = ConeHeadDialog,
};
