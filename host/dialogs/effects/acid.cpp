#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1420, 1430, "Acid &level:", "", "acid-level",
         "pattern's start value, and its centre: so many pixels from the left and from the top"),
};

constinit const EffectSheet acidSheet = {
    .summary = "breaks the picture into garish coloured rings",
    .about =
        "Every value is combined with a pattern that falls off with the square of the distance from one point, which "
        "lays garish rings over the picture. The acid level moves that point along the diagonal and changes the rings "
        "with it. It works on RGB and grey pictures.",
    .example = "--acid-level 180",
    .settings = settings,
};
