// The host's own strings: the chooser's entries, which are the captions of the effects' dialogs.

#include "host/dialogs/dialogs.h"
#include "interface/effect_table.h"

#include <vector>

static std::vector<ModuleString> BuildStrings()
{
    enum { FIRST_NAME = 5101 };
    std::vector<ModuleString> strings;
    strings.reserve(CHOOSER_ROOM + 1);
    for (int i = 0; i < CHOOSER_ROOM; ++i)
        strings.push_back({FIRST_NAME + i, i < EFFECT_COUNT ? effectTable[i].title : ""});
    strings.push_back({0, nullptr});
    return strings;
}

const ModuleString *KPZAPI HostStrings(void)
{
    static const auto &strings = *new std::vector<ModuleString>(BuildStrings());   // as the dialogs
    return strings.data();
}
