#include "host/editor/refusals.h"

const char *WordOfType(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "black and white";
    case GREY: return "grey";
    case PALETTE: return "palette";
    default: return "RGB";
    }
}

// The menu offers Filters for every picture, since kernels may be made and saved with any.
Refusal RefusalOf(const DialogTemplate &effect, int32_t colourType, bool maskEditing)
{
    const EffectEntry *entry = EffectOfCommand(effect.commandOffset);
    if (!entry) return {};
    const bool leaves = entry->offset == FILTERS_COMMAND && colourType == ONE_BIT;
    if (IsOffered(entry->rule, colourType, maskEditing) && !leaves) return {};
    const std::string name = effect.title;
    if (entry->rule == MenuRule::NO_MASK_EDITING)
        return {name + " does nothing while the mask is edited", "end that with Ctrl+M", false};
    const std::string type = WordOfType(colourType);
    const char *helps =
        entry->rule == MenuRule::GREY_OR_RGB ? "convert it to RGB or grey" : "convert it to RGB, grey or palette";
    return {name + " leaves " + type + " pictures as they are", helps, true};
}
