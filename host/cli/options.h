// The command line's words as CLI11 takes them, and where it leaves what stands behind them.

#pragma once

#include "host/cli/command_line.h"

#include <string>
#include <vector>

namespace CLI
{
class App;
}

// Numbers are read as text, so that a bad one is answered in the same words as a bad parameter.
struct NumberTexts {
    std::string quality, compression, jobs, threads, page, subsampling, strip, progressive;
    std::string level, checkSeed, minutes;
    std::string seed, area;       // of the step that is being read, as its objects
    std::string recipe, preset;   // likewise
    std::vector<std::string> objects;
    bool several = false;             // there are other steps, so that files may stand with them
    std::vector<std::string> files;   // of `apply`, in the order given
};

// Stands in an effect's place where the steps come from a recipe or a preset.
constexpr char KEPT_STEPS[] = "recipe";

// Whether an effect's name follows the command's.
inline bool TakesEffect(const std::string &command) { return command == "apply" || command == "batch"; }

// The program's commands with their options, which write into `line` and `texts` when words are parsed; both outlive the
// parsing. An effect's own options go into the last of the line's steps.
void SetUp(CLI::App &app, CommandLine &line, NumberTexts &texts);
