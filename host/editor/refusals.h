// Why an effect does nothing to a picture, and what helps, in words for people.

#pragma once

#include "host/dialogs/dialogs.h"
#include "interface/effect_table.h"

#include <string>

// "black and white", "grey", "palette", "RGB"
const char *WordOfType(int32_t colourType);
struct Refusal {
    std::string why, helps;    // both empty: the effect works
    bool converting = false;   // into another type helps
};
Refusal RefusalOf(const DialogTemplate &effect, int32_t colourType, bool maskEditing);
