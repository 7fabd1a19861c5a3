// What an effect's settings are: names and meanings from the host's dialog table, ranges and defaults from the opened
// dialog itself. As records, and as the JSON that programs read.

#pragma once

#include "host/acting/kernels.h"
#include "host/library/velmorant.h"

struct ChoiceDescription {
    std::string word, label, meaning;
    int32_t number;   // the control's, which does instead of the word
};

struct SettingDescription {
    std::string name;   // as an option, without dashes
    std::string label, unit;
    vlm_kind kind = VLM_NUMBER;
    int32_t low = 0, high = 0;   // of numbers
    int32_t count = 0;           // how many numbers
    std::string shown;           // what a fresh dialog shows: the default; empty for a file
    std::vector<ChoiceDescription> choices;
    std::string meaning;   // the choices of a choice have their own besides
    bool shared = false, writes = false, bringsOthers = false, inPixels = false;
};

// In the effect's open dialog. [ui]
std::vector<SettingDescription> DescribeSettings(HWND dialog, const DialogTemplate &effect);

// What a dialog shows behind a setting's number; empty when there is none.
std::string UnitOf(const DialogTemplate &effect, const ControlTemplate &row);
bool HasRange(vlm_kind kind);
// One effect, or all as a list; without a line break at the end.
std::string EffectJson(const DialogTemplate &effect, const std::vector<SettingDescription> &settings);
std::string ListJson(const std::vector<std::string> &entries);
std::string KernelJson(const Kernel &kernel);
