// The module's commands, counted from the host's base id, and the orders in which menu and chooser show them. The
// numbers are fixed, gaps included: 0, 4 and 11 are no commands.

#pragma once

#include "framework/effect.h"

enum CommandOffset {
    FILTERS_COMMAND = 1,
    MEDIAN_COMMAND = 2,
    NOISE_COMMAND = 3,
    MIRROR_COMMAND = 5,
    SHEAR_COMMAND = 6,
    BLOCKS_COMMAND = 7,
    WAVE_COMMAND = 8,
    RIPPLE_COMMAND = 9,
    SWIRL_COMMAND = 10,
    OIL_PAINTING_COMMAND = 12,
    FISHEYE_COMMAND = 13,
    CONE_HEAD_COMMAND = 14,
    RANDOM_SHEAR_COMMAND = 15,
    MELT_COMMAND = 16,
    POLAR_COORDINATES_COMMAND = 17,
    SLICES_COMMAND = 18,
    ACID_COMMAND = 19,
    DOUBLE_VISION_COMMAND = 20,
    TILES_COMMAND = 21,
    SOLARIZE_COMMAND = 22,
    CHOOSER_COMMAND = 23,
};

struct MenuLabel {
    int offset;
    const char *label;
};

// In menu order; Filters and Effects Help stand apart from them.
constexpr MenuLabel FILTERS_LABEL = {FILTERS_COMMAND, "&Filters"};
constexpr MenuLabel HELP_LABEL = {CHOOSER_COMMAND, "Effects &Help"};
constexpr MenuLabel menuLabels[] = {
    {ACID_COMMAND, "&Acid"},
    {BLOCKS_COMMAND, "&Blocks"},
    {CONE_HEAD_COMMAND, "&Cone"},
    {DOUBLE_VISION_COMMAND, "&Double Vision"},
    {FISHEYE_COMMAND, "Fish&eye"},
    {MEDIAN_COMMAND, "&Median"},
    {MELT_COMMAND, "Meltin&g"},
    {MIRROR_COMMAND, "M&irror"},
    {NOISE_COMMAND, "&Noise"},
    {OIL_PAINTING_COMMAND, "&Oil Painting"},
    {POLAR_COORDINATES_COMMAND, "&Polar Coordinates"},
    {RANDOM_SHEAR_COMMAND, "Random S&hear"},
    {RIPPLE_COMMAND, "&Ripple"},
    {SHEAR_COMMAND, "&Shear"},
    {SLICES_COMMAND, "S&lices"},
    {SOLARIZE_COMMAND, "Solari&ze"},
    {SWIRL_COMMAND, "S&wirl"},
    {TILES_COMMAND, "&Tiles"},
    {WAVE_COMMAND, "Wa&ve"},
};

// The chooser's entries, and with the help command after them the commands that menus enable and grey.
constexpr int chooserOffsets[] = {
    FILTERS_COMMAND,       ACID_COMMAND,    BLOCKS_COMMAND,       CONE_HEAD_COMMAND,
    DOUBLE_VISION_COMMAND, FISHEYE_COMMAND, MEDIAN_COMMAND,       MELT_COMMAND,
    MIRROR_COMMAND,        NOISE_COMMAND,   OIL_PAINTING_COMMAND, POLAR_COORDINATES_COMMAND,
    RANDOM_SHEAR_COMMAND,  RIPPLE_COMMAND,  SHEAR_COMMAND,        SLICES_COMMAND,
    SOLARIZE_COMMAND,      SWIRL_COMMAND,   TILES_COMMAND,        WAVE_COMMAND,
};

// The effect behind a command; null for a number that is no command and for the help command.
const EffectDescriptor *EffectOfCommand(int offset);
