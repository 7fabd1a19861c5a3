// The example that every effect's table gives, taken apart.

#pragma once

#include "host/dialogs/dialogs.h"

#include <string>
#include <vector>

struct GivenOption {
    std::string name, value;   // without "--", and without the quotes of a shell
};
std::vector<GivenOption> ExampleOptions(const DialogTemplate &table);
