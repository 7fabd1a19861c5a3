// Recipes: steps as text with a line each, read with all their faults told by line, and written with all settings.

#pragma once

#include "host/library/steps.h"

// Text of a file, "-" for standard input; false, with the error noted, when it cannot be had.
bool ReadRecipeText(const std::string &file, std::string &text);
// Reads and checks; `name` is what the error's line calls the text. `comment` takes the first line's that is one.
vlm_code ParseRecipe(const std::string &text, const std::string &name, vlm_steps &steps,
                     std::string *comment = nullptr);
// The text, with `comment` above the steps where there is one.
vlm_code FormatRecipe(const vlm_steps &steps, const std::string &comment, std::string &text);
vlm_code WriteRecipeText(const std::string &file, const std::string &text);
