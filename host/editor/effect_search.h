// Which effects a few typed letters mean: names, summaries, settings and kernels, and other words that people have for
// what an effect does. No window; the order of the answers is by how well they fit.

#pragma once

#include "host/dialogs/dialogs.h"

#include <string>
#include <vector>

// Every word of `words` must begin a word of the effect's, letters' case ignored. Without words, all effects in the order
// of their names. `kernels` are the names of the ready-made kernels, by which Filters is found.
std::vector<const DialogTemplate *> FindEffects(const std::string &words, const std::vector<std::string> &kernels);
