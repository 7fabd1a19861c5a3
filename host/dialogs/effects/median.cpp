#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1540, 1550, "&Radius:", "pixels", "radius", "half the side of the neighbourhood square, pixels"),
    Frame("&Select", "select-mode", "which pixel of a neighbourhood is taken"),
    Radio(1520, "Median (removes speckle)", "median", "the pixel of middle brightness: removes speckle"),
    Radio(1510, "Maximum (spreads light areas)", "maximum", "the brightest pixel: spreads light areas"),
    Radio(1470, "Minimum (spreads dark areas)", "minimum", "the darkest pixel: spreads dark areas"),
};

constinit const EffectSheet medianSheet = {
    .summary = "takes the middle, lightest or darkest pixel of each neighbourhood",
    .about =
        "Every pixel becomes a copy of the one of middle brightness around it, which removes speckle and keeps edges. "
        "The maximum spreads light areas and the minimum dark ones. No new colours arise, and a palette stays as it "
        "is.",
    .example = "--radius 3",
    .settings = settings,
    .reachOption = "radius",
    .reach = 1,
};
