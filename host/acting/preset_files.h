// Presets as files, and the one step's line that each has. No dialog is asked: whether
// the values are right is for those to find out who work a dialog with them. Reads the folder anew at every question,
// since other programs keep presets there too.

#pragma once

#include "host/acting/user_files.h"

// A recipe's first line is this and the version.
constexpr char RECIPE_HEAD[] = "velmorant recipe ";
constexpr int RECIPE_VERSION = 1;

constexpr UserFiles PRESET_FILES = {"presets", ".recipe", "preset"};

// A preset with its step's line as it stands there: the effect first, then its settings.
struct PresetLine {
    std::string name, file, summary, line;   // no file: it comes with the program
};
// Those that come with the program and are hidden by none of the user's, and the user's, as far as they can be read.
std::vector<PresetLine> PresetLines();
// The first step's line of a recipe's file, and its first comment. False when it cannot be read or has none.
bool ReadStepLine(const std::string &file, std::string &line, std::string &comment);
// The text of a recipe of these steps.
std::string RecipeOfLines(const std::vector<std::string> &lines);
// Writes it, and makes its folder where there is none. False with one line.
bool WriteStepLines(const std::string &file, const std::vector<std::string> &lines, std::string &error);
