// Where a program hooks itself in: its look at messages before windows and dialogs get them, which is how it has keys of
// its own; its look at messages that have been handled; and its answers to message boxes. Both back ends ask here.

#include "host/api/backend.h"

#include <mutex>

//---- Messages to be handled

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

//---- Messages that have been handled

static std::mutex observerLock;
static ObserverRoutine observer;
static void *observerContext;

KPZ_EXPORT void KPZAPI HostObserve(ObserverRoutine routine, void *context)
{
    std::lock_guard guard(observerLock);
    observer = routine;
    observerContext = context;
}

void TellObserver(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    std::unique_lock guard(observerLock);
    const ObserverRoutine routine = observer;
    void *context = observerContext;
    guard.unlock();
    if (routine) routine(context, window, message, word, extra);
}

//---- Message boxes

static MessageBoxRoutine answerRoutine;
static void *answerContext;

KPZ_EXPORT void KPZAPI HostAnswerMessageBoxes(MessageBoxRoutine routine, void *context)
{
    answerRoutine = routine;
    answerContext = context;
}

int32_t AnswerMessageBox(HWND owner, const char *text, const char *title, int32_t style)
{
    return answerRoutine ? answerRoutine(answerContext, owner, text, title, style) : 0;
}
