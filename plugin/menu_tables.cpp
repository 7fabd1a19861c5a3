#include "plugin/menu_tables.h"

#include "effects/effects.h"

static const struct { int offset; const EffectDescriptor *effect; } effects[] = {
    {FILTERS_COMMAND, &filters},
    {MEDIAN_COMMAND, &median},
    {NOISE_COMMAND, &noise},
    {MIRROR_COMMAND, &mirror},
    {SHEAR_COMMAND, &shear},
    {BLOCKS_COMMAND, &blocks},
    {WAVE_COMMAND, &wave},
    {OIL_PAINTING_COMMAND, &oilPainting},
    {RANDOM_SHEAR_COMMAND, &randomShear},
    {MELT_COMMAND, &melt},
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
