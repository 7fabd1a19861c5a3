// The user's own folder for what this program keeps there: presets and kernels.

#pragma once

#include <string>

// $XDG_CONFIG_HOME/velmorant, or ~/.config/velmorant; on Windows %APPDATA%\Velmorant. Empty where the system names no
// place. It need not exist. [any]
std::string UserFolder();
