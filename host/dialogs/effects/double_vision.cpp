#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1210, 1220, "&Distance:", "pixels", "distance", "width of the strips that repeat each other, pixels"),
    Frame("D&irection", "direction", "how the strips stand"),
    Radio(5530, "Side by side", "rows", "strips stand side by side along the rows"),
    Radio(1200, "One above the other", "columns", "strips stand one above the other along the columns"),
};

constinit const EffectSheet doubleVisionSheet = {
    .summary = "makes the picture look seen twice",
    .about =
        "Strips of the picture show, squeezed to half their width, the stretch that is twice as wide around them, so "
        "that neighbouring strips repeat each other: the picture looks seen twice. The distance is how far apart the "
        "two stand. The margins of a strip's width at both ends stay.",
    .example = "--distance 24",
    .settings = settings,
};
