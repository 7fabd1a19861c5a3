#include "plugin/menu_tables.h"

#include "effects/effects.h"

static const struct { int offset; const EffectDescriptor *effect; } effects[] = {
    {NOISE_COMMAND, &noise},
    {WAVE_COMMAND, &wave},
    {ACID_COMMAND, &acid},
    {DOUBLE_VISION_COMMAND, &doubleVision},
    {SOLARIZE_COMMAND, &solarize},
};

const EffectDescriptor *EffectOfCommand(int offset)
{
    for (const auto &entry : effects)
        if (entry.offset == offset) return entry.effect;
    return nullptr;
}
