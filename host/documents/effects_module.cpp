#include "host/documents/effects_module.h"

#include "host/documents/library.h"
#include "host/misc/misc.h"

static constexpr char MODULE_NAME[] = "VLMEFF";

template <typename Entry> static bool FindEntry(void *library, const char *name, Entry &entry, std::string &error)
{
    entry = reinterpret_cast<Entry>(FindName(library, name));
    if (!entry) error = std::string("the effects module has no ") + name;
    return entry != nullptr;
}

static bool FindEntries(EffectsModule &module, std::string &error)
{
    void *library = module.library;
    return FindEntry(library, "KPZInitialize", module.initialize, error) &&
           FindEntry(library, "KPZSetupMenus", module.setupMenus, error) &&
           FindEntry(library, "KPZCommandProcessor", module.commandProcessor, error) &&
           FindEntry(library, "KPZNewImageProcessor", module.newImageProcessor, error) &&
           FindEntry(library, "KPZExitProcessor", module.exitProcessor, error);
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
