// The log of host calls, behind both back ends.

#include "host/api/backend.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <stdio.h>
#include <string.h>
#include <vector>

static std::atomic<bool> logging{false};
static std::atomic<CallRoutine> observer{nullptr};
static void *observerContext;
static std::mutex logLock;

// The caller holds the lock. Never destroyed: a run's thread may call while the program ends.
static std::vector<LoggedCall> &Calls()
{
    static auto &calls = *new std::vector<LoggedCall>;
    return calls;
}

KPZ_EXPORT void KPZAPI HostStartLog()
{
    std::lock_guard guard(logLock);
    Calls().clear();
    logging = true;
}

KPZ_EXPORT void KPZAPI HostStopLog() { logging = false; }

KPZ_EXPORT int32_t KPZAPI HostLogCount()
{
    std::lock_guard guard(logLock);
    return int32_t(Calls().size());
}

KPZ_EXPORT BOOL KPZAPI HostLogEntry(int32_t index, LoggedCall *entry)
{
    std::lock_guard guard(logLock);
    if (index < 0 || size_t(index) >= Calls().size()) return FALSE;
    *entry = Calls()[size_t(index)];
    return TRUE;
}

KPZ_EXPORT void KPZAPI HostObserveCalls(CallRoutine routine, void *context)
{
    observerContext = context;
    observer = routine;
}

// The control of a window, for the calls that name none themselves.
static int32_t ControlOf(const char *call, intptr_t window)
{
    const bool takesWindow =
        !strcmp(call, "KPZ_SendMsgAndWait") || !strcmp(call, "KPZ_SendMsgNoWait") || !strcmp(call, "EnableWindow");
    return takesWindow ? backend::ControlId(reinterpret_cast<HWND>(window)) : 0;
}

KPZ_EXPORT void KPZAPI HostLog(const char *call, const intptr_t *arguments, int32_t count, const char *text)
{
    if (const CallRoutine routine = observer) routine(observerContext, call, arguments, count, text);
    if (!logging.load(std::memory_order_relaxed)) return;
    LoggedCall entry = {};
    entry.call = call;
    constexpr auto ROOM = int32_t(std::size(entry.arguments));
    std::copy_n(arguments, std::min(count, ROOM), entry.arguments);
    if (text) snprintf(entry.text, sizeof entry.text, "%s", text);
    entry.controlId = count > 0 ? ControlOf(call, arguments[0]) : 0;
    entry.onRunThread = backend::OnRunThread();

    std::lock_guard guard(logLock);
    Calls().push_back(entry);
}
