// What an effect's parameters are: names and meanings from the host's dialog table, ranges and defaults from the
// opened dialog itself.

#pragma once

#include "host/acting/acting.h"

enum class ParameterKind { NUMBER, NUMBERS, KERNEL, CHOICE, SWITCH, COLOUR, FILE_NAME };

bool HasRange(ParameterKind kind);

struct ChoiceDescription {
    std::string word;
    int32_t number;   // the control's, which does instead of the word
    std::string meaning;
};

struct ParameterDescription {
    std::string name;   // as an option, without dashes
    ParameterKind kind;
    int32_t low, high;   // NUMBER, and each of NUMBERS and of a KERNEL
    std::string shown;   // what a fresh dialog shows: the default; empty for a FILE_NAME
    std::vector<ChoiceDescription> choices;
    std::string meaning;   // empty for a CHOICE, whose choices have theirs
};

struct EffectDescription {
    std::string name, summary;
    std::string about;     // a paragraph on what it does
    std::string example;   // options that show it well
    std::vector<ParameterDescription> parameters;
};

// The option of the scope buttons, which every effect has.
constexpr char SCOPE_OPTION[] = "scope";
// The rows of a dialog's table that are parameters on the command line, one per parameter. Buttons that ask for a file,
// which the tables have no option for, are parameters too.
std::vector<const ControlTemplate *> ParameterRows(const DialogTemplate &table);

// Opens the effect's dialog on a small picture and runs `script` in it; the script does not close it. False when the
// effect's command opens no dialog: the module does not have it.
bool ActOnSample(Host &host, const DialogTemplate &effect, const std::function<void(HWND dialog)> &script);
bool DescribeEffect(Host &host, const DialogTemplate &effect, EffectDescription &description);
// All that the module has, in the chooser's order.
std::vector<EffectDescription> DescribeEffects(Host &host);

// For people: the value ("1..100", "rows|columns") and the meaning with its default and choices, in lines.
std::string ValueText(const ParameterDescription &parameter);
std::string MeaningText(const ParameterDescription &parameter);

// Names of the picture types that an effect's command is enabled for ("grey and RGB"), as the module's menu has it.
std::string TypesThatWork(Host &host, const DialogTemplate &effect);
const char *TypeName(int32_t colourType);
