#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(6380, 1280, "Th&reshold:", "levels", "threshold",
         "the brightness that pixels are compared with, or the ramp's end value; levels of 0 to 255"),
    Frame("&Mode", "solarize-mode", "which pixels are inverted"),
    Radio(1230, "Below a ramp that grows downwards", "below-down",
          "inverts what is darker than a ramp from top to bottom"),
    Radio(1240, "Above a ramp that grows downwards", "above-down",
          "inverts what is lighter than a ramp from top to bottom"),
    Radio(1250, "Below a ramp that grows rightwards", "below-right",
          "inverts what is darker than a ramp from left to right"),
    Radio(1260, "Above a ramp that grows rightwards", "above-right",
          "inverts what is lighter than a ramp from left to right"),
    Radio(1270, "Below the threshold everywhere", "constant", "inverts what is darker than the threshold"),
};

constinit const EffectSheet solarizeSheet = {
    .summary = "inverts tones as an over-exposed photographic plate does",
    .about =
        "Tones on one side of a threshold turn into their negative, as on a plate that saw light while it was "
        "developed. The threshold is the same everywhere, or grows from top to bottom or from left to right, so that "
        "the change sweeps over the picture. It works on RGB and grey pictures.",
    .example = "--threshold 150",
    .settings = settings,
};
