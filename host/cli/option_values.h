// What stands behind options, read into the command line: numbers, words that mean numbers, places. All of these answer
// false after a line that says what would be right.

#pragma once

#include "host/cli/options.h"

bool ReadNumbers(const NumberTexts &texts, CommandLine &line);
// The words that are about the files that are read and written.
bool ReadFileWords(const NumberTexts &texts, CommandLine &line);
// What belongs to one step.
bool ReadStep(const NumberTexts &texts, GivenStep &step);
