#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1070, 1080, "A&mplitude:", "%", "amplitude", "size of the swing, percent of the ripple radius"),
    Spin(1060, 1050, "Phas&e:", "degrees", "phase", "where the first ripple starts, degrees"),
    Spin(1030, 1040, "&Wavelength:", "%", "wavelength", "length of one ripple, percent of the ripple radius"),
    Check(1020, "&Fade towards the edge", "fade",
          "the swing fades to nothing at the ripple radius, and what lies outside stays"),
};

constinit const EffectSheet rippleSheet = {
    .summary = "twists the picture in rings, as a stone does that falls into water",
    .about =
        "Rings about the centre are twisted to and fro, like the water into which a stone has fallen. Amplitude is how "
        "far they swing, wavelength how wide the rings are, and the phase where the first begins. Faded, the rings die "
        "away towards the edge.",
    .example = "--amplitude 30 --wavelength 15",
    .settings = settings,
    .mixes = true,
};
