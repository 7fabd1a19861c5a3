// The effects module where it is linked in: its names are looked up in a table, and there is no file of it. Stands in the
// place of library.cpp for targets that load nothing at run time.

#include "host/dialogs/dialogs.h"
#include "host/documents/library.h"
#include "interface/exports.h"

#include <cstring>

KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base);
KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active);
KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                              INT_PTR alsoOpaque);
KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR first, INT_PTR second);
KPZ_EXPORT int32_t KPZAPI KPZExitProcessor(void);
extern "C" const ModuleString KPZStrings[];

template <typename Entry> static void *AddressOf(Entry entry) { return reinterpret_cast<void *>(entry); }

void *OpenLibrary(const std::string &, std::string &)
{
    static char linked;
    return &linked;
}

void *FindName(void *, const char *name)
{
    const struct {
        const char *name;
        void *address;
    } names[] = {
        {"KPZInitialize", AddressOf(KPZInitialize)},
        {"KPZSetupMenus", AddressOf(KPZSetupMenus)},
        {"KPZCommandProcessor", AddressOf(KPZCommandProcessor)},
        {"KPZNewImageProcessor", AddressOf(KPZNewImageProcessor)},
        {"KPZExitProcessor", AddressOf(KPZExitProcessor)},
        {"KPZStrings", const_cast<ModuleString *>(KPZStrings)},
    };
    for (const auto &entry : names)
        if (strcmp(name, entry.name) == 0) return entry.address;
    return nullptr;
}

void CloseLibrary(void *) {}
std::string FileOfCode(const void *) { return ""; }
std::string ProgramFile() { return ""; }
std::string ProgramFolder() { return ""; }
