// The twin of threads.cpp where there are no threads to keep dialogs on: every call works them on its caller's own, and
// hands news on as they come. One call at a time; one that is made from within another, by a progress routine, is
// refused.

#include "host/library/calls.h"
#include "host/library/run_handle.h"
#include "host/library/service.h"

#include <new>
#include <utility>

// Never destroyed.
struct Door {
    Service service;
    Call *arrival = nullptr;
    bool started = false, serving = false;
    int retained = 0;
};

static Door &TheDoor()
{
    static Door &door = *new Door;
    return door;
}

//---- For service.cpp

void TakeArrivals(std::vector<Call *> &calls, size_t)
{
    if (Call *call = std::exchange(TheDoor().arrival, nullptr)) calls.push_back(call);
}

void TellProgress(Call &call, int step, int tenths)
{
    const bool news = step != call.shownStep || tenths != call.shownTenths;
    call.shownStep = step;
    call.shownTenths = tenths;
    if (!news || !call.run || !call.run->progress || call.abort) return;
    if (call.run->progress(call.run->context, step, int(call.steps->size()), tenths) != 0) call.abort = true;
}

void TellEnd(Call &call) { call.done = true; }
bool AbortWanted(const Call &call) { return call.abort || (call.run && call.run->cancelled); }

//---- For callers

void WakeDialogs()
{
    const Door &door = TheDoor();
    if (door.serving) HostWake(door.service.host.context.window);
}

vlm_code Perform(Call &call)
{
    Door &door = TheDoor();
    std::string error;
    if (door.serving) return Fail(VLM_FAILED, "another call is under way, and there is one thread");
    if (!door.started && !StartService(door.service, error)) return Fail(VLM_NO_MODULE, "effects module", error);
    door.started = door.serving = true;
    door.arrival = &call;
    try {
        Serve(door.service);
    } catch (const std::bad_alloc &) {
        call.code = VLM_NO_MEMORY;
        call.line = "out of memory";   // short enough to need none
        door.service.calls.clear();    // the call is its caller's again
    }
    door.serving = false;
    return call.code == VLM_OK ? VLM_OK : Fail(call.code, call.line);
}

void vlm_retain(void) { ++TheDoor().retained; }

void vlm_release(void)
{
    Door &door = TheDoor();
    if (door.retained == 0 || --door.retained > 0 || !door.started || door.serving) return;
    EndService(door.service);
    door.started = false;
}
