#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Colour("&Fill colour:", "fill-colour", "colour outside the circle"),
};

constinit const EffectSheet polarCoordinatesSheet = {
    .summary = "wraps the picture round its centre",
    .about =
        "Columns become rays and rows become rings: the picture is wrapped round its centre, with the left edge at the "
        "right and the top in the middle. What lies outside the circle takes the fill colour.",
    .example = "--fill-colour '#202830'",
    .settings = settings,
    .mixes = true,
};
