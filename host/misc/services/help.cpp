// Menus and help: what the host's own program answers.

#include "host/misc/misc.h"

static MenuRoutine menuRoutine;
static void *menuContext;
static HelpRoutine helpRoutine;
static void *helpContext;

void KPZAPI MiscAnswerMenus(MenuRoutine routine, void *context)
{
    menuRoutine = routine;
    menuContext = context;
}

void KPZAPI MiscAnswerHelp(HelpRoutine routine, void *context)
{
    helpRoutine = routine;
    helpContext = context;
}

void KPZAPI ChooseMenus(HostContext *host)
{
    LogCall("ChooseMenus", nullptr, host);
    if (menuRoutine) menuRoutine(menuContext, host);
}

void KPZAPI RunHelp(int32_t context)
{
    LogCall("RunHelp", nullptr, context);
    if (helpRoutine) helpRoutine(helpContext, context);
}
