// The twenty effects as a person meets them: one table of settings each, then the table of contents. Ids are those
// that the effects module works with, ranges and defaults are the module's to set. Percentages, pixels and degrees
// are whole numbers.

#include "host/dialogs/sheets.h"

static constexpr Setting acid[] = {
    Spin(1420, 1430, "Acid &level:", "", "acid-level",
         "pattern's start value, and its centre: so many pixels from the left and from the top"),
};

static constexpr Setting blocks[] = {
    Spin(7210, 1180, "Block &width:", "pixels", "block-width", "width of a block, pixels"),
    Spin(7220, 1190, "Block h&eight:", "pixels", "block-height", "height of a block, pixels"),
};

static constexpr Setting coneHead[] = {
    Spin(1840, 1850, "Cone po&wer:", "tenths", "cone-power",
         "how far the centre shrinks: an exponent in tenths, 10 changes nothing"),
};

static constexpr Setting doubleVision[] = {
    Spin(1210, 1220, "&Distance:", "pixels", "distance", "width of the strips that repeat each other, pixels"),
    Frame("D&irection", "direction"),
    Radio(5530, "Side by side", "rows", "strips stand side by side along the rows"),
    Radio(1200, "One above the other", "columns", "strips stand one above the other along the columns"),
};

static constexpr Setting fisheye[] = {
    Spin(1840, 1850, "&Lens power:", "tenths", "lens-power",
         "how far the centre bulges: an exponent in tenths, 10 changes nothing"),
};

static constexpr Setting median[] = {
    Spin(1540, 1550, "&Radius:", "pixels", "radius", "half the side of the neighbourhood square, pixels"),
    Frame("&Select", "select-mode"),
    Radio(1520, "Median (removes speckle)", "median", "the pixel of middle brightness: removes speckle"),
    Radio(1510, "Maximum (spreads light areas)", "maximum", "the brightest pixel: spreads light areas"),
    Radio(1470, "Minimum (spreads dark areas)", "minimum", "the darkest pixel: spreads dark areas"),
};

static constexpr Setting melting[] = {
    Spin(6450, 1010, "A&mount:", "%", "amount", "how much melts, percent"),
    Frame("&Direction", "direction"),
    Radio(1230, "Down", "down", "dark pixels run down"),
    Radio(1240, "Up", "up", "dark pixels run up"),
    Radio(1250, "Left", "left", "dark pixels run to the left"),
    Radio(1260, "Right", "right", "dark pixels run to the right"),
};

static constexpr Setting mirror[] = {
    Frame("Put the &mirror image", "direction"),
    Radio(1230, "Above", "up", "the mirror image goes above the picture"),
    Radio(1240, "Below", "down", "the mirror image goes below the picture"),
    Radio(1250, "To the right", "right", "the mirror image goes to the right of the picture"),
    Radio(1260, "To the left", "left", "the mirror image goes to the left of the picture"),
};

static constexpr Setting noise[] = {
    Spin(1290, 1300, "A&mount:", "%", "amount", "share of the pixels that change, percent"),
    Spin(1310, 1320, "&Variation:", "levels", "variation", "largest change up or down, levels of 0 to 255"),
};

static constexpr Setting oilPainting[] = {
    Spin(1450, 1460, "&Brush size:", "pixels", "brush-size", "half the side of the brush's square, pixels"),
};

static constexpr Setting polarCoordinates[] = {
    Colour("&Fill colour:", "fill-colour", "colour outside the circle"),
};

static constexpr Setting randomShear[] = {
    Colour("&Fill colour:", "fill-colour", "colour of what the shear uncovers"),
};

static constexpr Setting ripple[] = {
    Spin(1070, 1080, "A&mplitude:", "%", "amplitude", "size of the swing, percent of the ripple radius"),
    Spin(1060, 1050, "Phas&e:", "degrees", "phase", "where the first ripple starts, degrees"),
    Spin(1030, 1040, "&Wavelength:", "%", "wavelength", "length of one ripple, percent of the ripple radius"),
    Check(1020, "&Fade towards the edge", "fade",
          "the swing fades to nothing at the ripple radius, and what lies outside stays"),
};

static constexpr Setting shear[] = {
    Colour("&Fill colour:", "fill-colour", "colour of what the shear uncovers"),
    Spin(6140, 910, "A&ngle:", "degrees", "angle", "slant, degrees"),
    Frame("&Direction", "direction"),
    Radio(900, "Horizontal", "horizontal", "rows slide sideways"),
    Radio(890, "Vertical", "vertical", "columns slide up or down"),
};

static constexpr Setting slices[] = {
    Colour("&Background:", "background", "colour of what the bands uncover"),
    Spin(1110, 1120, "Largest &shift:", "pixels", "max-shift", "largest shift of a band, pixels"),
    Spin(1090, 1100, "Mi&nimum width:", "pixels", "min-width", "least width of a band less one, pixels"),
    Spin(1160, 1170, "Ma&ximum width:", "pixels", "max-width", "greatest width of a band, pixels"),
};

static constexpr Setting solarize[] = {
    Spin(6380, 1280, "Th&reshold:", "levels", "threshold",
         "the brightness that pixels are compared with, or the ramp's end value; levels of 0 to 255"),
    Frame("&Mode", "solarize-mode"),
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

static constexpr Setting swirl[] = {
    Spin(6440, 1440, "Swirl a&mount:", "degrees", "swirl-amount", "turn at the centre, degrees; its sign is the sense"),
};

static constexpr Setting tiles[] = {
    Spin(1150, 1140, "Tile &size:", "pixels", "tile-size", "edge of a square tile, pixels"),
    Colour("&Background:", "background", "colour of the gaps between tiles"),
    Spin(1110, 1120, "O&ffset:", "pixels", "offset", "spread of the random shift, pixels"),
};

static constexpr Setting wave[] = {
    Spin(1070, 1080, "A&mplitude:", "%", "amplitude", "how far the wave swings, percent of the extent across it"),
    Colour("&Background:", "background", "colour of what the wave uncovers"),
    Spin(1030, 1040, "&Wavelength:", "%", "wavelength", "length of one wave, percent of the extent across it"),
    Spin(1060, 1050, "Phas&e:", "degrees", "phase", "where the wave starts, degrees"),
    Frame("Or&ientation", "orientation"),
    Radio(1200, "Rows shift sideways", "rows", "rows shift sideways; percentages are of the width"),
    Radio(5530, "Columns shift up and down", "columns", "columns shift up and down; percentages are of the height"),
};

//---- Table of contents

// Template id, caption, command-line name, command offset, help context, summary, settings.
static constexpr EffectSheet sheets[] = {
    {4010,
     "Filters",
     "filters",
     1,
     74,
     "weighs each pixel with its neighbours: smooths, embosses, finds edges",
     {},
     FAMILY_SCOPE,
     LayOutFilters},   // settings and layout in filters.cpp
    {4660, "Acid", "acid", 19, 85, "breaks the picture into garish coloured rings", acid},
    {4630, "Blocks", "blocks", 7, 84, "turns the picture into a mosaic of flat rectangles", blocks},
    {3930, "Cone Head", "cone-head", 14, 72, "squeezes the middle of the picture towards a point", coneHead},
    {3970, "Double Vision", "double-vision", 20, 73, "makes the picture look seen twice", doubleVision},
    {4870, "Fisheye", "fisheye", 13, 90, "bulges the picture as a wide-angle lens does", fisheye},
    {4100, "Median", "median", 2, 75, "takes the middle, lightest or darkest pixel of each neighbourhood", median},
    {4720, "Melting", "melt", 16, 87, "makes the picture run like wax", melting},
    {4150, "Mirror", "mirror", 5, 76, "doubles the picture with its mirror image", mirror, MIRROR_SCOPE},
    {4240, "Noise", "noise", 3, 77, "sprinkles colourless grain over the picture", noise},
    {4330, "Oil Painting", "oil-painting", 12, 78, "gives the picture the flat, daubed look of paint", oilPainting},
    {4880, "Polar Coordinates", "polar-coordinates", 17, 91, "wraps the picture round its centre", polarCoordinates},
    {4890, "Random Shear", "random-shear", 15, 92, "jitters rows and columns along random walks", randomShear},
    {4370, "Ripple", "ripple", 9, 79, "twists the picture in rings, as a stone does that falls into water", ripple},
    {4680, "Shear", "shear", 6, 86, "slants the picture by an angle", shear, SHEAR_SCOPE},
    {4740, "Slices", "slices", 18, 88, "cuts the picture into bands and slides them apart", slices},
    {4530, "Solarize", "solarize", 22, 82, "inverts tones as an over-exposed photographic plate does", solarize},
    {1330, "Swirl", "swirl", 10, 56, "twists the picture like a whirlpool", swirl},
    {4900, "Tiles", "tiles", 21, 93, "cuts the picture into square tiles and scatters them", tiles},
    {4610, "Wave", "wave", 8, 83, "bends the picture along a sine curve", wave},
};

constinit const std::span<const EffectSheet> effectSheets = sheets;
