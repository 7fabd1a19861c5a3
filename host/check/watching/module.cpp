// The module made for watching: the five routines by which a host knows it, and the sixth by which the host's driver hands
// itself over. What is looked at stands in the *_checks.cpp.

#include "host/check/watching/watch.h"

#include <cstring>

//---- The five

// Its commands, by their offsets.
enum { WATCH_COMMAND = 1, GREYED_COMMAND, HIGH_COMMAND };

KPZ_EXPORT int32_t KPZAPI KPZInitialize(HMENU menu, int32_t base)
{
    ++watch.initialized;
    ExpectDialogThread("KPZInitialize");
    Expect(menu != nullptr, Rule::HOST_STARTS, "its menu is null");
    Expect(base >= 0 && base <= 32000, Rule::HOST_STARTS, "its base is " + std::to_string(base));
    Expect(watch.setUps == 0, Rule::HOST_STARTS, "KPZSetupMenus was called before");
    watch.menu = menu;
    watch.base = base;
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + WATCH_COMMAND), "&Watch");
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + GREYED_COMMAND), "&Greyed");
    AppendMenuA(menu, MF_STRING, UINT_PTR(base + HIGH_COMMAND), "&High");
    return 0;
}

KPZ_EXPORT int32_t KPZAPI KPZSetupMenus(HMENU menu, int32_t base, ImageRecord *active)
{
    ++watch.setUps;
    watch.setUpFor = active;
    ExpectDialogThread("KPZSetupMenus");
    Expect(menu == watch.menu && base == watch.base, Rule::HOST_SETUP,
           "its menu and base are not those of KPZInitialize");
    // An image's address is a value that enables, also where all that is set of it lies in its upper half.
    const INT_PTR high = INT_PTR(1) << (sizeof(INT_PTR) * 4);
    KPZ_EnableMenuItem(menu, base + WATCH_COMMAND, active != nullptr);
    KPZ_EnableMenuItem(menu, base + GREYED_COMMAND, 0);
    KPZ_EnableMenuItem(menu, base + HIGH_COMMAND, active ? high : 0);
    return 0;
}

KPZ_EXPORT INT_PTR KPZAPI KPZCommandProcessor(HostContext *host, int32_t command, INT_PTR, int32_t base, INT_PTR)
{
    ExpectDialogThread("KPZCommandProcessor");
    Expect(base == watch.base, Rule::HOST_COMMAND, "its base is not the one of KPZInitialize");
    if (!Expect(host != nullptr, Rule::HOST_RECORD, "a command came without it")) return 0;
    Expect(!watch.host || watch.host == host, Rule::HOST_RECORD, "its address is another one than before");
    watch.host = host;
    if (!host->activeImage || int16_t(command) - base != WATCH_COMMAND) return 0;
    return watch.command ? watch.command() : 0;
}

KPZ_EXPORT int32_t KPZAPI KPZNewImageProcessor(INT_PTR, INT_PTR)
{
    ExpectDialogThread("KPZNewImageProcessor");
    ++watch.newImages;
    return 0;
}

KPZ_EXPORT int32_t KPZAPI KPZExitProcessor(void)
{
    ExpectDialogThread("KPZExitProcessor");
    ++watch.exits;
    return 0;
}

//---- The sixth

static bool Start()
{
    BeginCheck(1, "host/start", "");
    Doing("started the host with a module");
    const ModuleRoutines routines = {KPZInitialize, KPZSetupMenus, KPZCommandProcessor, KPZNewImageProcessor,
                                     KPZExitProcessor};
    const bool started = watch.driver->start(&routines);
    Expect(started, Rule::HOST_STARTS, "the driver says that it does not start");
    Expect(watch.initialized == 1, Rule::HOST_STARTS, "it was called " + std::to_string(watch.initialized) + " times");
    Expect(watch.setUps > 0, Rule::HOST_SETUP, "it was not called after the start");
    Expect(!watch.setUpFor, Rule::HOST_SETUP, "it was called with an image, and none is open");
    EndCheck();
    return started && watch.initialized;
}

static bool IsAsked(const std::string &only, const std::string &name)
{
    return only.empty() || name == only || name.starts_with(only + "/");
}

static void MakeFrom(const HostCheck *checks, const std::string &only, std::string &after)
{
    for (; checks->name; ++checks) {
        const bool made = !after.empty();
        if (after == checks->name) after.clear();
        if (made || !IsAsked(only, checks->name)) continue;
        BeginCheck(checks->level, checks->name, "");
        watch.told.clear();
        Blame(Rule::HOST_LIVES, Rule::HOST_RETURNS);
        checks->run();
        EndCheck();
    }
}

static void End(const std::string &only)
{
    if (!IsAsked(only, "host/end")) return watch.driver->end();
    BeginCheck(9, "host/end", "");
    Doing("ended the host");
    watch.driver->end();
    Expect(watch.exits == 1, Rule::HOST_ENDS, "it was called " + std::to_string(watch.exits) + " times");
    EndCheck();
}

KPZ_EXPORT int32_t KPZAPI WatchHost(const HostDriver *driver, const char *report, const char *only, const char *after)
{
    if (!StartReporting(report)) return 1;
    watch.driver = driver;
    watch.dialogThread = std::this_thread::get_id();
    Blame(Rule::HOST_LIVES, Rule::HOST_RETURNS);
    std::string left = after;
    if (Start()) {
        for (const HostCheck *checks : {basicChecks, dialogChecks, imageChecks, runChecks, serviceChecks})
            MakeFrom(checks, only, left);
        if (left != "host/end") End(only);
    }
    EndReporting();
    return 0;
}
