// A program's own look at messages before windows and dialogs get them: how it has keys of its own.

#include "host/api/backend.h"

static TakeRoutine takeRoutine;
static void *takeContext;

KPZ_EXPORT void KPZAPI HostTakeMessages(TakeRoutine routine, void *context)
{
    takeRoutine = routine;
    takeContext = context;
}

bool TakeMessage(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    return takeRoutine && takeRoutine(takeContext, window, message, word, extra);
}
