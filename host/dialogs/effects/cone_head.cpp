#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1840, 1850, "Cone po&wer:", "tenths", "cone-power",
         "how far the centre shrinks: an exponent in tenths, 10 changes nothing"),
};

constinit const EffectSheet coneHeadSheet = {
    .summary = "squeezes the middle of the picture towards a point",
    .about =
        "Above 10 the middle of the picture is drawn together towards a point, as if it lay on a cone; below 10 it "
        "bulges, and 10 changes nothing. What lies outside the ellipse that fits the picture stays. It takes back what "
        "Fisheye does.",
    .example = "--cone-power 18",
    .settings = settings,
    .mixes = true,
};
