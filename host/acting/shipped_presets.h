// The presets that come with the library.

#pragma once

#include <span>

struct ShippedPreset {
    const char *name, *summary, *line;
};
std::span<const ShippedPreset> ShippedPresets();
