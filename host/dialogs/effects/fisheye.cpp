#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1840, 1850, "&Lens power:", "tenths", "lens-power",
         "how far the centre bulges: an exponent in tenths, 10 changes nothing"),
};

constinit const EffectSheet fisheyeSheet = {
    .summary = "bulges the picture as a wide-angle lens does",
    .about =
        "The middle of the picture bulges as through a wide-angle lens. Above 10 it comes nearer, below 10 it sinks "
        "back, and 10 changes nothing. What lies outside the ellipse that fits the picture stays.",
    .example = "--lens-power 20",
    .settings = settings,
    .mixes = true,
};
