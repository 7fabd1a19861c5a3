// Every effect's command: its place in the menu, its label, its dialog.

#pragma once

#include "tests/framework/stage.h"

struct EffectCommand {
    int offset;
    const char *label;
    int32_t templateId;
};

// Filters first, then in menu order; the chooser has the same order.
constexpr EffectCommand effectCommands[] = {
    {1, "&Filters", 4010},        {19, "&Acid", 4660},    {7, "&Blocks", 4630},        {14, "&Cone", 3930},
    {20, "&Double Vision", 3970}, {13, "Fish&eye", 4870}, {2, "&Median", 4100},        {16, "Meltin&g", 4720},
    {5, "M&irror", 4150},         {3, "&Noise", 4240},    {12, "&Oil Painting", 4330}, {17, "&Polar Coordinates", 4880},
    {15, "Random S&hear", 4890},  {9, "&Ripple", 4370},   {6, "&Shear", 4680},         {18, "S&lices", 4740},
    {22, "Solari&ze", 4530},      {10, "S&wirl", 1330},   {21, "&Tiles", 4900},        {8, "Wa&ve", 4610},
};

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
