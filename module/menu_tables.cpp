#include "module/menu_tables.h"

#include "effects/effects.h"

static const struct {
    int offset;
    const EffectDescriptor *effect;
} effects[] = {
    {FILTERS_COMMAND, &filters},
    {MEDIAN_COMMAND, &median},
    {NOISE_COMMAND, &noise},
    {MIRROR_COMMAND, &mirror},
    {SHEAR_COMMAND, &shear},
    {BLOCKS_COMMAND, &blocks},
    {WAVE_COMMAND, &wave},
    {RIPPLE_COMMAND, &ripple},
    {SWIRL_COMMAND, &swirl},
    {OIL_PAINTING_COMMAND, &oilPainting},
    {FISHEYE_COMMAND, &fisheye},
    {CONE_HEAD_COMMAND, &coneHead},
    {RANDOM_SHEAR_COMMAND, &randomShear},
    {MELT_COMMAND, &melt},
    {POLAR_COORDINATES_COMMAND, &polarCoordinates},
    {SLICES_COMMAND, &slices},
    {ACID_COMMAND, &acid},
    {DOUBLE_VISION_COMMAND, &doubleVision},
    {TILES_COMMAND, &tiles},
    {SOLARIZE_COMMAND, &solarize},
};

const EffectDescriptor *EffectOfCommand(int offset)
{
    for (const auto &entry : effects)
        if (entry.offset == offset) return entry.effect;
    return nullptr;
}
