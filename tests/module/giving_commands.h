// Giving commands to the module, and which dialogs they open.

#pragma once

#include "tests/framework/stage.h"

// A command as the host hands it to the module. Only its low 16 bits count.
inline INT_PTR Process(Stage &stage, int32_t command, int32_t base)
{
    return stage.host.module.commandProcessor(&stage.host.context, command, 111, base, 222);
}

// What is asked of the host while the module handles a command; a dialog that opens is dismissed with 42.
constexpr INT_PTR DISMISSED = 42;
inline Calls CallsOfCommand(Stage &stage, int32_t command, int32_t base, INT_PTR &result)
{
    stage.host.onDialogOpened = [](HWND dialog) { KPZ_DismissDialog(dialog, DISMISSED); };
    return CallsDuring([&] { result = Process(stage, command, base); });
}

// The templates of the dialogs that were opened, in their order.
inline std::vector<intptr_t> TemplatesOf(const Calls &calls)
{
    std::vector<intptr_t> templates;
    for (const Call &call : Only(calls, {"KPZ_RunDialogBox"})) templates.push_back(call.arguments[3]);
    return templates;
}

typedef std::vector<intptr_t> Templates;
