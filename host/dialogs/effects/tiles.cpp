#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1150, 1140, "Tile &size:", "pixels", "tile-size", "edge of a square tile, pixels"),
    Colour("&Background:", "background", "colour of the gaps between tiles"),
    Spin(1110, 1120, "O&ffset:", "pixels", "offset", "spread of the random shift, pixels"),
};

constinit const EffectSheet tilesSheet = {
    .summary = "cuts the picture into square tiles and scatters them",
    .about =
        "Square tiles are taken out of the picture and put down again a little to the side, each by an amount of its "
        "own. They overlap, and the gaps between them show the background. No two runs are the same.",
    .example = "--tile-size 28 --background '#202830' --offset 14",
    .settings = settings,
    .draws = true,
};
