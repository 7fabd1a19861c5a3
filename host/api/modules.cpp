// The loaded modules that are known by name, with their strings. The host's own resources are known from the start.

#include "host/api/backend.h"

#include <map>
#include <mutex>
#include <stdio.h>
#include <string.h>
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
    else Modules().erase(name);
}

ModuleHandle KnownModule(const char *name)
{
    std::lock_guard guard(modulesLock);
    const auto found = name ? Modules().find(name) : Modules().end();
    return found == Modules().end() ? nullptr : found->second.handle;
}

static const char *TextOf(const ModuleString *strings, int32_t id)
{
    for (const ModuleString *string = strings; string->text; ++string)
        if (string->id == id) return string->text;
    return "";
}

// A module's table stands before its resources.
int32_t StringOfModule(const char *module, int32_t id, char *buffer, int32_t size)
{
    std::lock_guard guard(modulesLock);
    buffer[0] = 0;
    const auto found = module ? Modules().find(module) : Modules().end();
    if (found == Modules().end()) return 0;
    const KnownEntry &entry = found->second;
    if (!entry.strings) return backend::StringResource(entry.handle, id, buffer, size);
    snprintf(buffer, size_t(size), "%s", TextOf(entry.strings, id));
    return int32_t(strlen(buffer));
}
