// What a check finds: which promise was not kept, told so that the writer of a module can act on it. A finding is the
// child's to make (child.h) and the parent's to print; this is the record, its promise, and its line of text.

#pragma once

#include <string>
#include <vector>

// The promises of contracts.inc, by their names.
enum class Rule {
#define CONTRACT(name, ...) name,
#include "host/check/contracts.inc"
};

struct Contract {
    const char *call;       // the function, record or message that it is about
    const char *file;       // where it stands, from the tree's root
    const char *anchor;     // words of its line
    const char *sentence;   // it, in a sentence
};
const Contract &ContractOf(Rule rule);
int ContractCount();
// The line that a promise stands in, counted from 1 in the text that this program was built with; 0 when its anchor is
// not there, -1 when it is there more than once.
int LineOf(const Contract &contract);
// "interface/vlmapi.h:14"
std::string PlaceOf(const Contract &contract);

struct Finding {
    int level = 0;
    std::string check;      // the check that found it, by its name for --only
    std::string effect;     // its word; empty where it is of no effect
    std::string call;       // what it is about
    std::string done;       // what was done
    std::string expected;   // and why
    std::string where;      // the promise's place
    std::string happened;
    int again = 0;   // how often it was found besides
};

// One line of JSON, and back; false for a line that is none.
std::string JsonOf(const Finding &finding);
bool FindingOf(const std::string &line, Finding &finding);
