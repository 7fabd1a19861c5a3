// The checks of a module: which there are, level by level. Each is a routine that plays on a stage of its own and tells
// what it finds (child.h); after one that ended the process the others go on in the next one.

#pragma once

#include "host/check/check.h"
#include "host/check/child.h"
#include "interface/effect_table.h"

#include <functional>
#include <map>
#include <string>

// A command of the module's menu.
struct CheckedEffect {
    int32_t offset = 0;
    std::string label, word;              // the label as the menu has it; the word of the command line
    const EffectEntry *known = nullptr;   // its row, where it is one of this editor's effects
};

struct CheckedModule {
    CheckRequest request;
    std::vector<CheckedEffect> effects;   // those that are to be checked
    bool hasChooser = false;
};

struct PlannedCheck {
    int level;
    std::string name;     // "4/noise/worker"
    std::string effect;   // its word; empty for none
    std::function<void()> run;
};
typedef std::vector<PlannedCheck> Plan;

// Each adds its checks. They keep a reference to the module.
void PlanLibraryChecks(const CheckedModule &module, Plan &plan);   // level 1
void PlanCommandChecks(const CheckedModule &module, Plan &plan);   // level 2
void PlanWorkerChecks(const CheckedModule &module, Plan &plan);    // level 4: workers alone
void PlanRunChecks(const CheckedModule &module, Plan &plan);       // level 4: runs from a dialog
void PlanDialogChecks(const CheckedModule &module, Plan &plan);    // level 3
void PlanScopeChecks(const CheckedModule &module, Plan &plan);     // level 5
void PlanRefusalChecks(const CheckedModule &module, Plan &plan);   // level 6
void PlanRandomChecks(const CheckedModule &module, Plan &plan);    // level 7
void PlanCrowdChecks(const CheckedModule &module, Plan &plan);     // level 8
void PlanGoldenChecks(const CheckedModule &module, Plan &plan);    // level 10

// What --record has written: from "noise/3/0" to a number. Empty for a file that cannot be read, or holds none.
std::map<std::string, std::string> NumbersRecordedIn(const std::string &file);

// Learns what is in the module's menu; false when it cannot be asked.
bool LearnEffects(CheckedModule &module);
// Whether a name is the effect's: its label without "&" or its word, in any case.
bool IsCalled(const CheckedEffect &effect, const std::string &name);

// What is called on every call of the host, on the thread that makes it; null for nothing. To be set while nothing runs.
typedef std::function<void(const char *call, const intptr_t *arguments)> CallListener;
void ListenToCalls(CallListener listener);
// Keeps the books of open_dialog.h.
void NoteHandedHeader(const char *call, const intptr_t *arguments);

//---- Words for findings

std::string TypeName(int32_t colourType);   // "an RGB picture"
std::string Number(intptr_t number);
