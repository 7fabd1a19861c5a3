// Level 1: the file itself. It exports what a host looks for, is loaded and let go, twice, and does nothing of itself
// meanwhile.

#include "host/check/plan.h"

#include "host/check/stage.h"
#include "host/documents/library.h"

static constexpr const char *ENTRY_POINTS[] = {"KPZInitialize", "KPZSetupMenus", "KPZCommandProcessor",
                                               "KPZNewImageProcessor", "KPZExitProcessor"};

static void *Load(const CheckedModule &module)
{
    std::string error;
    Doing("loaded the library");
    void *library = OpenLibrary(module.request.module, error);
    if (!library) Found(Rule::LOADS, "it cannot be loaded: " + error);
    return library;
}

// On 32-bit Windows a compiler's own name has the bytes of its arguments behind it.
static std::string Decorated(void *library, const std::string &name)
{
    for (int bytes = 0; bytes <= 20; bytes += 4)
        for (const char *mark : {"", "_"}) {
            const std::string other = mark + name + "@" + std::to_string(bytes);
            if (FindName(library, other.c_str())) return "; it exports " + other + ", which no host asks for";
        }
    return "";
}

static void CheckExports(const CheckedModule &module)
{
    void *library = Load(module);
    if (!library) return;
    for (const char *name : ENTRY_POINTS) {
        Doing(std::string("asked the library for ") + name);
        Expect(FindName(library, name) != nullptr, Rule::EXPORTS,
               std::string("there is no ") + name + Decorated(library, name));
    }
    Doing("let the library go");
    CloseLibrary(library);
}

static void ExpectQuiet(const Calls &calls)
{
    if (!calls.empty()) Found(Rule::LOADS_QUIETLY, "it called " + calls[0].name);
}

static void CheckLoading(const CheckedModule &module)
{
    for (const char *time : {"", " again"}) {
        void *library = nullptr, *other = nullptr;
        ExpectQuiet(AllCallsDuring([&] { library = Load(module); }));
        if (!library) return;
        ExpectQuiet(AllCallsDuring([&] { other = Load(module); }));   // a second hold on the same
        if (other) CloseLibrary(other);
        Doing(std::string("let the library go") + time);
        ExpectQuiet(AllCallsDuring([&] { CloseLibrary(library); }));
    }
}

static void CheckQuietEntries(const CheckedModule &module)
{
    EffectsModule loaded;
    std::string error;
    if (!LoadModule(loaded, module.request.module, error)) return;
    int32_t result = 0;
    const Calls calls = AllCallsDuring([&] {
        Doing("called KPZNewImageProcessor with numbers that are no addresses");
        result |= loaded.newImageProcessor(1, -1);
        Doing("called KPZExitProcessor");
        result |= loaded.exitProcessor();
    });
    Expect(result == 0, Rule::DOES_NOTHING, "the answer was " + Number(result));
    if (!calls.empty()) Found(Rule::DOES_NOTHING, "it called " + calls[0].name);
    UnloadModule(loaded);
}

// A whole life of a host, twice: what stays behind of the first may hurt the second.
static void CheckTwice(const CheckedModule &module)
{
    EffectsModule loaded;
    std::string error;
    for (const char *time : {"", " a second time"}) {
        if (!LoadModule(loaded, module.request.module, error)) return;
        const HMENU menu = HostCreateMenu();
        Doing(std::string("called KPZInitialize") + time);
        loaded.initialize(menu, 100);
        Doing(std::string("called KPZSetupMenus without an image") + time);
        loaded.setupMenus(menu, 100, nullptr);
        Doing(std::string("called KPZExitProcessor and let the library go") + time);
        loaded.exitProcessor();
        UnloadModule(loaded);
        HostDestroyMenu(menu);
    }
}

void PlanLibraryChecks(const CheckedModule &module, Plan &plan)
{
    plan.push_back({1, "1/exports", "", [&] { CheckExports(module); }});
    plan.push_back({1, "1/loading", "", [&] { CheckLoading(module); }});
    plan.push_back({1, "1/entries", "", [&] { CheckQuietEntries(module); }});
    plan.push_back({1, "1/twice", "", [&] { CheckTwice(module); }});
}
