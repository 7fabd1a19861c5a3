// Steps that come from a recipe or a preset, into the command line as if their words stood there.

#pragma once

#include "host/cli/command_line.h"

struct vlm_steps;

// In the place of the line's last step, whose seed and area count for all of them and whose objects for the first.
// EXIT_DONE, or the exit code after a line about what is wrong.
int TakeRecipe(const std::string &file, CommandLine &line);
// Likewise; with an effect it must be a preset of that one, and what the step was given overrides it.
int TakePreset(const std::string &name, const std::string &effect, CommandLine &line);
