#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(6440, 1440, "Swirl a&mount:", "degrees", "swirl-amount", "turn at the centre, degrees; its sign is the sense"),
};

constinit const EffectSheet swirlSheet = {
    .summary = "twists the picture like a whirlpool",
    .about = "The middle of the picture is turned, and the turn dies away towards the circle that fits the picture. A "
             "negative amount turns the other way.",
    .example = "--swirl-amount 240",
    .settings = settings,
    .mixes = true,
};
