// The host's own strings: the chooser's entries, which are the captions of the effects' dialogs.

#include "host/dialogs/dialogs.h"

#include <vector>

static std::vector<ModuleString> BuildStrings()
{
    enum { FIRST_NAME = 5101 };
    std::vector<ModuleString> strings;
    int32_t id = FIRST_NAME;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        if (DialogTemplateAt(i)->effect) strings.push_back({id++, DialogTemplateAt(i)->title});
    }
    strings.push_back({id, ""});   // the chooser's record has a place for one effect more
    strings.push_back({0, nullptr});
    return strings;
}

const ModuleString *KPZAPI HostStrings(void)
{
    static const std::vector<ModuleString> strings = BuildStrings();
    return strings.data();
}
