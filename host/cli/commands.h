// The commands. Each prints what it has to say and returns the program's exit code.

#pragma once

#include "host/cli/command_line.h"

int ListEffects(const CommandLine &line);
int DoKernels(const CommandLine &line);
int ApplyToOne(const CommandLine &line);
int ApplyToMany(const CommandLine &line);
int DoRecipe(const CommandLine &line);
int DoPresets(const CommandLine &line);
int Complete(const CommandLine &line);
int PrintCompletion(const CommandLine &line);
int PrintManual(const CommandLine &line);
int MakeSheet(const CommandLine &line);
int CheckModuleFile(const CommandLine &line);
