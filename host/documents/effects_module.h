// A loaded effects module: its five entry points, found by name, and its strings made known to VLMAPI. When they are
// called is the host's to know.

#pragma once

#include "interface/host_interface.h"

#include <string>

struct EffectsModule {
    void *library = nullptr;
    InitializeEntry initialize = nullptr;
    SetupMenusEntry setupMenus = nullptr;
    CommandProcessorEntry commandProcessor = nullptr;
    NewImageProcessorEntry newImageProcessor = nullptr;
    ExitProcessorEntry exitProcessor = nullptr;
};

// Loads a module's file. False with one line when it cannot be loaded or lacks an entry point. [ui]
bool LoadModule(EffectsModule &module, const std::string &file, std::string &error);
// Lets go of the module's file; the record is empty afterwards. [ui]
void UnloadModule(EffectsModule &module);
