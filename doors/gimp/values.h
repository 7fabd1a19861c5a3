// What one run of an effect is told: a value for each of its settings, in the words of the command line, and a seed.

#ifndef DOORS_GIMP_VALUES_H
#define DOORS_GIMP_VALUES_H

#include <stdint.h>
#include <string>
#include <vector>

#include <door_table.h>
#include <libgimp/gimp.h>
#include <velmorant.h>

struct Values {
    std::vector<std::string> words;   // one for each setting, in the table's order
    uint32_t seed = 0;
    bool randomSeed = false;   // every run that begins with these values draws another seed
};

Values StandardValues(const DoorEffect &effect);

// The values of the run that this GIMP last made of the effect; the standard ones before the first.
Values LastValues(const DoorEffect &effect);
void KeepLastValues(const DoorEffect &effect, const Values &values);

// The values of a preset's step; the line where it has a fault or a kernel that a grid cannot show.
bool PresetValues(const DoorEffect &effect, const char *preset, Values &values, std::string &error);

// A procedure's parameters behind run mode, image and drawable: as many as ArgumentCount.
int ArgumentCount(const DoorEffect &effect);
void DeclareArguments(const DoorEffect &effect, std::vector<GimpParamDef> &arguments);
// False, with a line, where a choice or a switch is a number that it does not have; all else is checked with the steps.
bool ReadArguments(const DoorEffect &effect, const GimpParam *arguments, Values &values, std::string &error);

// A single step. A kernel that is given by its name brings its divisor, bias and combine mode.
vlm_code WriteSteps(const DoorEffect &effect, const Values &values, vlm_steps *steps);

std::string ColourWord(const GimpRGB &colour);
// A word that is no colour counts as black.
GimpRGB ColourOf(const std::string &word);

// The settings that a kernel's name brings.
extern const char *const KERNEL_DIVISOR, *const KERNEL_BIAS, *const KERNEL_MODE;
// Where the effect has the setting; -1 where it does not.
int SettingNamed(const DoorEffect &effect, const char *name);

#endif
