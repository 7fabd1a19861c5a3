#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(6450, 1010, "A&mount:", "%", "amount", "how much melts, percent"),
    Frame("&Direction", "direction", "which way the picture melts"),
    Radio(1230, "Down", "down", "dark pixels run down"),
    Radio(1240, "Up", "up", "dark pixels run up"),
    Radio(1250, "Left", "left", "dark pixels run to the left"),
    Radio(1260, "Right", "right", "dark pixels run to the right"),
};

constinit const EffectSheet meltSheet = {
    .summary = "makes the picture run like wax",
    .about =
        "Dark pixels sink in one direction for as long as what lies ahead is at least as bright, as wax does that "
        "runs. "
        "The amount is how many pixels set out: at 100 percent as many as the picture has. No two runs are the same.",
    .example = "--amount 60 --direction down",
    .settings = settings,
    .draws = true,
};
