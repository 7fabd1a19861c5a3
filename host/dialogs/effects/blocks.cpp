#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(7210, 1180, "Block &width:", "pixels", "block-width", "width of a block, pixels"),
    Spin(7220, 1190, "Block h&eight:", "pixels", "block-height", "height of a block, pixels"),
};

constinit const EffectSheet blocksSheet = {
    .summary = "turns the picture into a mosaic of flat rectangles",
    .about =
        "The picture is cut into rectangles, and each takes the colour of its top left pixel: a mosaic, or a way to "
        "make a face or a number plate unreadable. Palette pictures keep their palette.",
    .example = "--block-width 12 --block-height 8",
    .settings = settings,
};
