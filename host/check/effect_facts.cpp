// Titles, ranges and defaults of the effects' dialogs, the words of their message boxes, and the parameters behind their
// controls. The tables of the dialogs themselves are host/dialogs'.

#include "host/check/effect_facts.h"

#include "interface/effect_table.h"

static const EffectFacts facts[] = {
    {"Matrix",
     1,
     "Filters",
     "Filters",
     74,
     {{990, 1, 1000, 1}, {980, -255, 255, 0}, {920, 1, 50, 1}, {4020, -50, 50, 0}, {4044, -50, 50, 1}},
     {5160, 1270},
     false},
    {"Median", 2, "Median", "Median Filter", 75, {{1540, 1, 30, 1}}, {1520}, false},
    {"Noise", 3, "Noise", "Noise", 77, {{1290, 1, 100, 15}, {1310, 1, 255, 10}}, {}, false},
    {"Mirror", 5, "", "", 76, {}, {1260, 6950}, false},
    {"Shear", 6, "", "Shear", 86, {{6140, -75, 75, 0}}, {900, 6940}, true},
    {"Block", 7, "Blocks", "Blocks", 84, {{7210, 1, 500, 10}, {7220, 1, 500, 10}}, {}, false},
    {"Wave", 8, "Wave", "Wave", 83, {{1070, 1, 50, 10}, {1030, 1, 1000, 20}, {1060, 0, 360, 0}}, {1200}, false},
    {"Ripple",
     9,
     "Ripple",
     "Ripple",
     79,
     {{1060, -360, 360, 0}, {1070, 1, 100, 10}, {1030, 1, 100, 10}},
     {1020},
     false},
    {"Swirl", 10, "Swirl", "Swirl", 56, {{6440, -8000, 8000, 45}}, {}, false},
    {"Oil Painting", 12, "Oil Painting", "Oil Painting", 78, {{1450, 1, 50, 3}}, {}, false},
    {"Fish Eye", 13, "Fishing", "Fisheye", 90, {{1840, 1, 100, 20}}, {}, false},
    {"Cone", 14, "Cone Head", "Cone", 72, {{1840, 1, 100, 20}}, {}, false},
    {"Random Shear", 15, "Random Shear", "Random Shear", 92, {}, {}, true},
    {"Melt", 16, "Melt", "Melting", 87, {{6450, 1, 100, 100}}, {1260}, false},
    {"Polar", 17, "Polar Coord", "Polar Coord", 91, {}, {}, true},
    {"Slices", 18, "Slices", "Slices", 88, {{1110, 1, 1000, 32}, {1090, 1, 1000, 8}, {1160, 1, 1000, 40}}, {}, true},
    {"Acid", 19, "Acid", "Acid", 85, {{1420, 0, 2000, 128}}, {}, false},
    {"DV", 20, "Double Vision", "Double Vision", 73, {{1210, 1, 300, 20}}, {5530}, false},
    {"Tile", 21, "Tiles", "Tiles", 93, {{1110, 1, 1000, 32}, {1150, 1, 1000, 32}}, {}, true},
    {"Solarize", 22, "Solarize", "Solarize", 82, {{6380, 0, 255, 128}}, {1270}, false},
};

std::span<const EffectFacts> AllEffectFacts() { return facts; }

const EffectFacts *FactsOf(int offset)
{
    for (const EffectFacts &effect : facts)
        if (effect.offset == offset) return &effect;
    return nullptr;
}

// Which control changes which of an effect's own parameters.
using enum ParameterControl;
static constexpr ParameterFact parameters[] = {
    {2, SPIN, 1540, 1550, 0},  {2, RADIO, 1510, 0, 1},    {2, RADIO, 1470, 0, 1},    {2, RADIO, 1520, 0, 1},
    {3, SPIN, 1290, 1300, 0},  {3, SPIN, 1310, 1320, 1},  {5, RADIO, 1230, 0, 0},    {5, RADIO, 1240, 0, 0},
    {5, RADIO, 1250, 0, 0},    {5, RADIO, 1260, 0, 0},    {6, COLOUR, 1130, 0, 0},   {6, SPIN, 6140, 910, 1},
    {6, RADIO, 890, 0, 2},     {6, RADIO, 900, 0, 2},     {7, SPIN, 7210, 1180, 0},  {7, SPIN, 7220, 1190, 1},
    {8, SPIN, 1070, 1080, 0},  {8, COLOUR, 1130, 0, 1},   {8, SPIN, 1030, 1040, 2},  {8, SPIN, 1060, 1050, 3},
    {8, RADIO, 5530, 0, 4},    {8, RADIO, 1200, 0, 4},    {9, SPIN, 1070, 1080, 0},  {9, SPIN, 1060, 1050, 1},
    {9, SPIN, 1030, 1040, 2},  {9, CHECK, 1020, 0, 3},    {10, SPIN, 6440, 1440, 0}, {12, SPIN, 1450, 1460, 0},
    {13, SPIN, 1840, 1850, 0}, {14, SPIN, 1840, 1850, 0}, {15, COLOUR, 1130, 0, 0},  {16, SPIN, 6450, 1010, 0},
    {16, RADIO, 1230, 0, 1},   {16, RADIO, 1240, 0, 1},   {16, RADIO, 1250, 0, 1},   {16, RADIO, 1260, 0, 1},
    {17, COLOUR, 1130, 0, 0},  {18, COLOUR, 1130, 0, 0},  {18, SPIN, 1110, 1120, 1}, {18, SPIN, 1090, 1100, 2},
    {18, SPIN, 1160, 1170, 3}, {19, SPIN, 1420, 1430, 0}, {20, SPIN, 1210, 1220, 0}, {20, RADIO, 1200, 0, 1},
    {20, RADIO, 5530, 0, 1},   {21, SPIN, 1150, 1140, 0}, {21, COLOUR, 1130, 0, 1},  {21, SPIN, 1110, 1120, 2},
    {22, SPIN, 6380, 1280, 0}, {22, RADIO, 1230, 0, 1},   {22, RADIO, 1240, 0, 1},   {22, RADIO, 1250, 0, 1},
    {22, RADIO, 1260, 0, 1},   {22, RADIO, 1270, 0, 1},
};

std::span<const ParameterFact> AllParameterFacts() { return parameters; }

// The words of message boxes at Apply.
static constexpr BoxFact noiseBox = {
    NOISE_COMMAND, true, "This function works only on RGB (24 bit) or Grayscale images.  Try changing Color Type.",
    "Velmorant: Function Error"};
static constexpr BoxFact acidBox = {ACID_COMMAND, false, "This function works only on RGB (24 bit) or Grayscale images",
                                    "Velmorant: Function Error"};
static constexpr BoxFact mirrorBox = {
    MIRROR_COMMAND, false, "This operation cannot be performed on an image while editing its mask", "Mask Error"};

const BoxFact *BoxFactOf(int offset, int32_t colourType, bool maskEditing)
{
    const bool coloured = colourType == RGB || colourType == GREY;
    if (offset == NOISE_COMMAND && !coloured) return &noiseBox;
    if (offset == ACID_COMMAND && !coloured) return &acidBox;
    return offset == MIRROR_COMMAND && maskEditing ? &mirrorBox : nullptr;
}

ProgressKind ProgressKindOf(int offset)
{
    switch (offset) {
    case ACID_COMMAND:
    case CONE_HEAD_COMMAND:
    case FISHEYE_COMMAND:
    case MEDIAN_COMMAND:
    case NOISE_COMMAND:
    case OIL_PAINTING_COMMAND:
    case POLAR_COORDINATES_COMMAND:
    case RANDOM_SHEAR_COMMAND:
    case RIPPLE_COMMAND:
    case SLICES_COMMAND:
    case SOLARIZE_COMMAND:
    case SWIRL_COMMAND: return ProgressKind::EACH_ROW;
    case DOUBLE_VISION_COMMAND: return ProgressKind::ROWS_OR_COLUMNS;
    case WAVE_COMMAND: return ProgressKind::BEFORE_EACH_PLANE;
    case BLOCKS_COMMAND:
    case TILES_COMMAND: return ProgressKind::BIG_ROWS;
    case MELT_COMMAND: return ProgressKind::HUNDRED_PASSES;
    case FILTERS_COMMAND: return ProgressKind::ITERATIONS;
    default: return ProgressKind::ANY;
    }
}
