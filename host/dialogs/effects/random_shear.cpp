#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Colour("&Fill colour:", "fill-colour", "colour of what the shear uncovers"),
};

constinit const EffectSheet randomShearSheet = {
    .summary = "jitters rows and columns along random walks",
    .about =
        "Rows slide sideways and columns up and down, each a pixel further or nearer than its neighbour, by chance. "
        "Edges fray and far parts drift away; what is uncovered takes the fill colour. No two runs are the same.",
    .example = "--fill-colour '#202830'",
    .settings = settings,
    .draws = true,
};
