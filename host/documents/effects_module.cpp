#include "host/documents/effects_module.h"

#include "host/documents/library.h"
#include "host/misc/misc.h"

static constexpr char MODULE_NAME[] = "VLMEFF";

static bool FindEntries(EffectsModule &module, std::string &error)
{
    const char *missing = nullptr;
    const auto find = [&](const char *name) {
        void *entry = FindName(module.library, name);
        if (!entry && !missing) missing = name;
        return entry;
    };
    module.initialize = reinterpret_cast<decltype(module.initialize)>(find("KPZInitialize"));
    module.setupMenus = reinterpret_cast<decltype(module.setupMenus)>(find("KPZSetupMenus"));
    module.commandProcessor = reinterpret_cast<decltype(module.commandProcessor)>(find("KPZCommandProcessor"));
    module.newImageProcessor = reinterpret_cast<decltype(module.newImageProcessor)>(find("KPZNewImageProcessor"));
    module.exitProcessor = reinterpret_cast<decltype(module.exitProcessor)>(find("KPZExitProcessor"));
    if (missing) error = std::string("the effects module has no ") + missing;
    return !missing;
}

void UnloadModule(EffectsModule &module)
{
    HostKnowModule(MODULE_NAME, nullptr, nullptr);
    CloseLibrary(module.library);
    module = {};
}

// A module's strings are a table it may export, since only Windows has string resources.
bool LoadModule(EffectsModule &module, const std::string &file, std::string &error)
{
    module.library = OpenLibrary(file, error);
    if (!module.library) return false;
    const auto *strings = static_cast<const ModuleString *>(FindName(module.library, "KPZStrings"));
    HostKnowModule(MODULE_NAME, module.library, strings);
    if (FindEntries(module, error)) return true;
    UnloadModule(module);
    return false;
}
