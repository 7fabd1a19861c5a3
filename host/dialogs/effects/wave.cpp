#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1070, 1080, "A&mplitude:", "%", "amplitude", "how far the wave swings, percent of the extent across it"),
    Colour("&Background:", "background", "colour of what the wave uncovers"),
    Spin(1030, 1040, "&Wavelength:", "%", "wavelength", "length of one wave, percent of the extent across it"),
    Spin(1060, 1050, "Phas&e:", "degrees", "phase", "where the wave starts, degrees"),
    Frame("Or&ientation", "orientation", "whether rows or columns shift"),
    Radio(1200, "Rows shift sideways", "rows", "rows shift sideways; percentages are of the width"),
    Radio(5530, "Columns shift up and down", "columns", "columns shift up and down; percentages are of the height"),
};

constinit const EffectSheet waveSheet = {
    .summary = "bends the picture along a sine curve",
    .about = "Rows slide sideways along a sine curve, or columns up and down, and are squeezed so that they still fit. "
             "Amplitude is how far they swing, wavelength how long a wave is, and the phase where it begins. What is "
             "uncovered takes the background.",
    .example = "--amplitude 16 --background '#202830' --wavelength 45",
    .settings = settings,
    .mixes = true,
};
