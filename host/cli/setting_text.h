// Settings for people: in the command line's help and in `velmorant effects`.

#pragma once

#include "host/library/velmorant.h"

#include <string>

// The value ("1..100", "on|off") and the meaning with its default and choices, in lines.
std::string ValueText(const vlm_setting &setting);
std::string MeaningText(const vlm_setting &setting);
