#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Colour("&Fill colour:", "fill-colour", "colour of what the shear uncovers"),
    Spin(6140, 910, "A&ngle:", "degrees", "angle", "slant, degrees"),
    Frame("&Direction", "direction", "whether rows or columns slide"),
    Radio(900, "Horizontal", "horizontal", "rows slide sideways"),
    Radio(890, "Vertical", "vertical", "columns slide up or down"),
};

constinit const EffectSheet shearSheet = {
    .summary = "slants the picture by an angle",
    .about =
        "The picture is slanted: rows slide sideways or columns up and down, the further the farther they are from the "
        "edge that stays. It grows to hold the slanted picture, and the corners take the fill colour. The sketch in "
        "the "
        "dialog shows the slant. Selected objects can be slanted alone, as one group.",
    .example = "--angle 20 --fill-colour '#202830'",
    .settings = settings,
    .scope = SHEAR_SCOPE,
    .mixes = true,
};
