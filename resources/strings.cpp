// The module's strings where there are no resources: the host finds this table in the module by its name and
// KPZ_LoadString reads it.

#include "interface/host_interface.h"

struct StringEntry {
    int32_t id;
    const char *text;
};

KPZ_EXPORT const StringEntry KPZStrings[];

// Ends in {0, null}.
#define STRING(id, text) {id, text},
const StringEntry KPZStrings[] = {
#include "resources/strings.inc"
    {0, nullptr},
};
