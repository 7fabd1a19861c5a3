// Inside the process that a module is loaded in: what is being done now, what was found, and the last words of a process
// that dies of the module. Everything goes to a report, a file that the parent reads: a line for each finding and each
// beginning and end of a check.

#pragma once

#include "host/check/findings.h"

#include <functional>

// Opens the report and begins to watch: crashes, the end of memory, and a thread of its own for what hangs. False when the
// report cannot be written.
bool StartReporting(const std::string &reportFile);

// Seconds without any sign of life that are taken for a hang.
int Patience();

// From the one to the other findings are of this check.
void BeginCheck(int level, const std::string &name, const std::string &effect);
void EndCheck();
// The last line of a report that is whole.
void EndReporting();

// What is being done from now on, for people: "opened the dialog of Noise". Also tells the watch that it goes on. [any]
void Doing(const std::string &what);
const std::string &BeingDone();
// A promise was not kept. Of one promise a check tells the first time and counts the others. [any]
void Found(Rule rule, const std::string &happened);
// The same unless it holds, which it returns.
bool Expect(bool holds, Rule rule, const std::string &happened);
// The first promise of this check that was not kept lately; 0 at first. [any]
int FindingsOfCheck();
// What could not be looked at, and why.
void Note(const std::string &text);
// One of the module's effects, by its word.
void NameEffect(const std::string &word);

// Ends the process behind a finding that it cannot go on from. [any]
[[noreturn]] void EndOfModule(Rule rule, const std::string &happened);

// The last call of the host that the module has made, for those who tell of its end. [any]
void NoteCall(const char *call);

// Which promises a crash and a hang break from now on: a module's, CRASH and HANG, without it. [any]
void Blame(Rule crash, Rule hang);
// What a fault at an address tells more than the address; false where it tells nothing. Called as the process ends. [any]
typedef bool (*FaultExplainer)(const void *address, Rule &rule, std::string &happened);
void ExplainFaults(FaultExplainer explainer);
// A service is tried that may end the process by saying that it is not served, up to the end of this check.
void Try(const std::string &service);

// Lines of a report.
constexpr char BEGIN_LINE[] = "begin ", END_LINE[] = "end ", FINDING_LINE[] = "finding ", FATAL_LINE[] = "fatal ",
               NOTE_LINE[] = "note ", EFFECT_LINE[] = "effect ", DONE_LINE[] = "done", DOING_LINE[] = "doing ",
               TRY_LINE[] = "try ";
// The exit code of a process whose module has not the effect that was asked for.
constexpr int NO_EFFECT = 4;
