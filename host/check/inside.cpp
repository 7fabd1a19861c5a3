// The process that a module is loaded in: learns what the module has, plans its checks and makes them one after the other,
// from behind the one that ended the process before it.

#include "host/check/plan.h"

#include "host/check/guarded_memory.h"
#include "host/check/stage.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#ifndef _WIN32
#include <sys/resource.h>
#endif

//---- Calls

static CallListener listener;

void ListenToCalls(CallListener routine) { listener = std::move(routine); }

static void KPZAPI OnCall(void *, const char *call, const intptr_t *arguments, int32_t, const char *)
{
    NoteCall(call);
    NoteHandedHeader(call, arguments);
    if (listener) listener(call, arguments);
}

//---- The module's menu

static std::string Lower(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

static std::string WithoutMark(std::string label)
{
    std::erase(label, '&');
    return label;
}

bool IsCalled(const CheckedEffect &effect, const std::string &name)
{
    return Lower(name) == Lower(effect.word) || Lower(name) == Lower(WithoutMark(effect.label));
}

static CheckedEffect EffectOf(int32_t offset, const std::string &label)
{
    const EffectEntry *entry = EffectOfCommand(offset);
    if (entry && Lower(WithoutMark(entry->label)) != Lower(WithoutMark(label))) entry = nullptr;
    std::string word = Lower(WithoutMark(label));
    std::replace(word.begin(), word.end(), ' ', '-');
    return {offset, label, entry ? entry->word : word, entry};
}

static bool IsChooser(int32_t offset, const std::string &label)
{
    return offset == CHOOSER_COMMAND && WithoutMark(label) == "Effects Help";
}

bool LearnEffects(CheckedModule &module)
{
    EffectsModule loaded;
    std::string error;
    if (!LoadModule(loaded, module.request.module, error)) return false;
    constexpr int32_t BASE = 1000;
    const HMENU menu = HostCreateMenu();
    loaded.initialize(menu, BASE);
    MenuItem item;
    for (int32_t i = 0; HostMenuItem(menu, i, &item); ++i) {
        if (!item.label[0]) continue;
        if (IsChooser(item.command - BASE, item.label)) module.hasChooser = true;
        else module.effects.push_back(EffectOf(item.command - BASE, item.label));
    }
    HostDestroyMenu(menu);
    loaded.exitProcessor();
    UnloadModule(loaded);
    return true;
}

//---- Words

std::string TypeName(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "a one-bit picture";
    case GREY: return "a grey picture";
    case PALETTE: return "a palette picture";
    default: return "an RGB picture";
    }
}

std::string Number(intptr_t number) { return std::to_string((long long)number); }

//---- One check after the other

static bool IsAsked(const CheckRequest &request, const PlannedCheck &check)
{
    return request.only.empty() || check.name == request.only || check.name.starts_with(request.only + "/");
}

static void Make(const PlannedCheck &check)
{
    BeginCheck(check.level, check.name, check.effect);
    try {
        check.run();
    } catch (const std::exception &failure) {   // the stage cannot be set up
        Found(Rule::LOADS, failure.what());
    }
    ListenToCalls(nullptr);
    LookAtGuards();
    EndCheck();
}

// Passes over what was made before, up to the check `after`.
static void MakeAll(const CheckRequest &request, const Plan &plan, std::string &after)
{
    for (const PlannedCheck &check : plan) {
        const bool made = !after.empty();
        if (check.name == after) after.clear();
        if (!made && IsAsked(request, check)) Make(check);
    }
}

static void LimitMemory()
{
#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit limit = {rlim_t(3) << 30, rlim_t(3) << 30};
    setrlimit(RLIMIT_DATA, &limit);
#endif
}

static void PlanUsual(const CheckedModule &module, Plan &plan)
{
    PlanDialogChecks(module, plan);
    PlanWorkerChecks(module, plan);
    PlanRunChecks(module, plan);
    PlanScopeChecks(module, plan);
    PlanRefusalChecks(module, plan);
    PlanRandomChecks(module, plan);
    PlanCrowdChecks(module, plan);
}

// Level 9: all of it with one seed after the other, which stands in the checks' names: "9/17/4/noise/abort".
static void MakeForHours(CheckedModule &module, std::string after)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(module.request.minutes * 60);
    if (after.empty()) ++module.request.seed;
    else module.request.seed = uint32_t(strtoul(after.c_str() + 2, nullptr, 10));
    for (;; ++module.request.seed) {
        Plan plan;
        PlanUsual(module, plan);
        for (PlannedCheck &check : plan) {
            check.name = "9/" + std::to_string(module.request.seed) + "/" + check.name;
            const bool made = !after.empty();
            if (check.name == after) after.clear();
            if (std::chrono::steady_clock::now() >= end) return;
            if (!made) Make(check);
        }
        after.clear();
    }
}

static int CheckAll(CheckedModule &module, std::string after)
{
    Plan plan;
    PlanLibraryChecks(module, plan);
    MakeAll(module.request, plan, after);

    // What the menu holds is learned again in each process, as a check of its own: it may end it.
    BeginCheck(2, "2/menu/first", "");
    Doing("called KPZInitialize");
    const bool learned = LearnEffects(module);
    EndCheck();
    if (!learned) return 0;   // told by level 1
    for (const CheckedEffect &effect : module.effects) NameEffect(effect.word);
    if (!module.request.effect.empty()) {
        std::erase_if(module.effects,
                      [&](const CheckedEffect &effect) { return !IsCalled(effect, module.request.effect); });
        if (module.effects.empty()) return NO_EFFECT;
    }
    if (!after.starts_with("9/")) {
        plan.clear();
        PlanCommandChecks(module, plan);
        PlanUsual(module, plan);
        PlanGoldenChecks(module, plan);
        std::erase_if(plan, [&](const PlannedCheck &check) { return check.level > module.request.level; });
        MakeAll(module.request, plan, after);
    }
    if (module.request.level >= 9 && module.request.only.empty()) MakeForHours(module, after);
    return 0;
}

static bool ExplainFault(const void *address, Rule &rule, std::string &happened)
{
    happened = PlaceOfAddress(address);
    rule = IsPlaneAddress(address) ? Rule::BEYOND_PLANE : Rule::BEYOND_BLOCK;
    return !happened.empty();
}

int CheckInside(int argc, char **argv)
{
    enum { REPORT = 2, MODULE, LEVEL, EFFECT, ONLY, SEED, MINUTES, GOLDEN, RECORD, AFTER, COUNT };
    if (argc != COUNT || !StartReporting(argv[REPORT])) return 1;
    ExplainFaults(ExplainFault);
    GuardMemory();
    LimitMemory();
    HostObserveCalls(OnCall, nullptr);
    CheckedModule module;
    module.request = {
        argv[MODULE], atoi(argv[LEVEL]), argv[EFFECT],       argv[ONLY], uint32_t(strtoul(argv[SEED], nullptr, 10)),
        argv[GOLDEN], argv[RECORD],      atof(argv[MINUTES])};
    const int exitCode = CheckAll(module, argv[AFTER]);
    EndReporting();
    return exitCode;
}
