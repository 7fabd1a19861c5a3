// Presets as files: their names, the user's folder, and the one step's line that each has. No dialog is asked: whether
// the values are right is for those to find out who work a dialog with them. Reads the folder anew at every question,
// since other programs keep presets there too.

#pragma once

#include <string>
#include <vector>

// A recipe's first line is this and the version.
constexpr char RECIPE_HEAD[] = "velmorant recipe ";
constexpr int RECIPE_VERSION = 1;

// Empty where the system names no folder of the user's own; it need not exist.
std::string PresetFolder();
// A name becomes a file's on every system. Empty when it can, else what is wrong.
std::string FaultOfPresetName(const std::string &name);
// Letters' case does not count.
bool SamePresetName(const std::string &one, const std::string &other);
// The file that a new preset would have; those there are, by name; the name of one; and the one of a name, whatever its
// letters' case, empty when there is none.
std::string FileForPreset(const std::string &name);
std::vector<std::string> PresetFiles();
std::string NameOfPresetFile(const std::string &file);
std::string PresetFileOf(const std::string &name);

// A preset with its step's line as it stands there: the effect first, then its settings.
struct PresetLine {
    std::string name, file, summary, line;   // no file: it comes with the program
};
// Those that come with the program and are hidden by none of the user's, and the user's, as far as they can be read.
std::vector<PresetLine> PresetLines();
// The first step's line of a recipe's file, and its first comment. False when it cannot be read or has none.
bool ReadStepLine(const std::string &file, std::string &line, std::string &comment);
// Writes a recipe of one step, and makes its folder where there is none. False with one line.
bool WriteStepLine(const std::string &file, const std::string &line, std::string &error);
