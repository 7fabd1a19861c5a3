// What the Help button of an effect's dialog tells.

#pragma once

#include "host/dialogs/dialogs.h"

#include <string>

// The effect's title, what it does, and a line for each of its own settings: as the dialog labels it, and its meaning.
std::string HelpText(const DialogTemplate &effect);
