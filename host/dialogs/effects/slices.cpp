#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Colour("&Background:", "background", "colour of what the bands uncover"),
    Spin(1110, 1120, "Largest &shift:", "pixels", "max-shift", "largest shift of a band, pixels"),
    Spin(1090, 1100, "Mi&nimum width:", "pixels", "min-width", "least width of a band less one, pixels"),
    Spin(1160, 1170, "Ma&ximum width:", "pixels", "max-width", "greatest width of a band, pixels"),
};

static constexpr Contradiction contradictions[] = {
    {Contradiction::NOT_ABOVE, "max-width", "min-width", nullptr, "it counts as two above it"},
};

constinit const EffectSheet slicesSheet = {
    .summary = "cuts the picture into bands and slides them apart",
    .about =
        "The picture is cut into bands of random width, across and down, and each band slides by an amount of its own. "
        "What is uncovered at the right and at the bottom takes the background. No two runs are the same.",
    .example = "--background '#202830' --max-shift 24 --min-width 8 --max-width 40",
    .settings = settings,
    .draws = true,
    .contradictions = contradictions,
};
