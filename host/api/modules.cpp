// The loaded modules that are known by name, with their strings. The host's own resources are known from the start.

#include "host/api/backend.h"

#include <map>
#include <mutex>
#include <string>

struct KnownEntry {
    ModuleHandle handle;
    const ModuleString *strings;
};

static std::mutex modulesLock;

static std::map<std::string, KnownEntry> &Modules()
{
    static const int hostResources = 0;   // its address is the handle
    // Never freed: a run thread may still ask while the program ends.
    static auto &modules = *new std::map<std::string, KnownEntry>{
        {HOST_RESOURCES, {const_cast<int *>(&hostResources), HostStrings()}},
    };
    return modules;
}

KPZ_EXPORT void KPZAPI HostKnowModule(const char *name, ModuleHandle module, const ModuleString *strings)
{
    std::lock_guard guard(modulesLock);
    if (module) Modules()[name] = {module, strings};
    else        Modules().erase(name);
}

ModuleHandle KnownModule(const char *name)
{
    std::lock_guard guard(modulesLock);
    const auto found = name ? Modules().find(name) : Modules().end();
    return found == Modules().end() ? nullptr : found->second.handle;
}

const char *StringOfModule(const char *module, int32_t id)
{
    std::lock_guard guard(modulesLock);
    const auto found = module ? Modules().find(module) : Modules().end();
    if (found == Modules().end() || !found->second.strings) return nullptr;
    for (const ModuleString *string = found->second.strings; string->text; ++string)
        if (string->id == id) return string->text;
    return nullptr;
}
