#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1290, 1300, "A&mount:", "%", "amount", "share of the pixels that change, percent"),
    Spin(1310, 1320, "&Variation:", "levels", "variation", "largest change up or down, levels of 0 to 255"),
};

constinit const EffectSheet noiseSheet = {
    .summary = "sprinkles colourless grain over the picture",
    .about = "Some pixels become a little lighter or darker, as film has grain. The amount is how many of them, the "
             "variation by how much at most. All channels of a pixel change alike, so no colours appear. It works on "
             "RGB and "
             "grey pictures. No two runs are the same.",
    .example = "--amount 40 --variation 60",
    .settings = settings,
    .draws = true,
};
