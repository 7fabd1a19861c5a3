// What other threads ask of the dialogs' thread, and how they wait for it. One file of two stands behind this: threads.cpp
// keeps a thread for the dialogs, one_thread.cpp works them on the caller's own where there are no threads.

#pragma once

#include "host/acting/acting.h"
#include "host/library/edges.h"
#include "host/library/steps.h"

#include <condition_variable>
#include <functional>

struct vlm_run;

// One piece of work. It lives where the caller waits for it. The first group is the caller's to fill in, the second the
// dialogs' thread's to work with; the third both look at, under the lock of the file that is behind this.
struct Call {
    // A task: done on the dialogs' thread as it is; with an effect, within its open dialog on a sample picture.
    std::function<void(Host &host, HWND dialog)> task = {};
    const DialogTemplate *effect = nullptr;
    // A run, where there is no task: all steps on a picture, whose place the result takes.
    const std::vector<Step> *steps = nullptr;
    Picture picture = {};
    std::optional<uint32_t> seed = {};   // of the steps without one
    bool clean = false;                  // the fringe of its mask, where a step does not say
    bool unchecked = false;              // what its settings contradict has not been told
    std::vector<Reach> reaches = {};     // a step's where it has edges of its own choosing
    vlm_run *run = nullptr;              // whom to tell of progress, and who may cancel; null for nobody

    // Results, once it is done.
    vlm_code code = VLM_OK;
    std::string line = {};
    std::vector<std::string> notices = {};
    std::vector<std::optional<uint32_t>> seeds = {};   // that the steps drew with
    int failedStep = -1;

    // Of the dialogs' thread.
    enum class Stage { ARRIVED, OPEN, RUNNING, ENDED } stage = Stage::ARRIVED;
    size_t step = 0;
    ImageRecord *image = nullptr;     // what is open: the picture, or its mask that is run by itself
    ImageRecord *waiting = nullptr;   // the picture, while its mask is run
    Picture mask = {};                // apart while the picture is run
    Picture seen = {};                // its colours as far as the mask shows them, likewise
    enum class Part { PICTURE, MASK, SEEN } part = Part::PICTURE;   // which of them runs
    bool cleaning = false;                                          // all three are run
    int32_t border = 0;                    // pixels around the picture that the step does without afterwards
    bool threadless = false;               // its run waits for a thread that others have
    std::vector<std::string> boxes = {};   // texts of the module's message boxes

    // Shared.
    std::condition_variable changed = {};
    bool done = false, abort = false;
    int shownStep = -1, shownTenths = -1;
};

// Has the dialogs' thread do it and waits for the end. The call's code; its line has been noted as this thread's error.
vlm_code Perform(Call &call);
// Lets the dialogs' thread look again at who wants to abort. [any]
void WakeDialogs();

//---- For service.cpp, on the dialogs' thread

// Takes over what has been asked for since, at most `room` of it.
void TakeArrivals(std::vector<Call *> &calls, size_t room);
void TellProgress(Call &call, int step, int tenths);
// The call may be gone as soon as it has been told.
void TellEnd(Call &call);
bool AbortWanted(const Call &call);
