// Steps, and runs of them without the interpreter's lock. A run on Python's main thread is made by a thread of its own,
// while the main thread looks for signals and calls the user's callable: the library reports tenths only, and Ctrl-C is
// to be heard between them.

#include "doors/python/native/calls.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

static constexpr std::chrono::milliseconds SIGNAL_INTERVAL{20};

struct Outcome {
    vlm_code code = VLM_OK;
    std::string line = {};
    std::vector<std::string> notices = {};
};

// One run, from the moment that Python asks for it.
struct Watch {
    vlm_steps *steps;
    vlm_picture *picture;
    vlm_run *run;
    py::object progress;   // None for none
    Outcome outcome = {};
    std::exception_ptr thrown = {};   // by the callable or by a signal
    bool refused = false;             // the callable answered False; a short run may have ended all the same

    std::mutex lock = {};   // of what follows: the question that the run's thread asks the main one
    std::condition_variable moved = {};
    bool asked = false, over = false;
    double share = 0;
    int answer = 0;
};

static double ShareOf(int step, int steps, int tenths) { return (step + tenths / 10.0) / steps; }

// True when the run is to go on. [with the interpreter's lock]
static bool AskUser(Watch &watch, double share)
{
    try {
        if (PyErr_CheckSignals()) throw py::error_already_set();
        watch.refused = !watch.progress.is_none() && watch.progress(share).is(py::bool_(false));
        return !watch.refused;
    } catch (...) {
        watch.thrown = std::current_exception();
        return false;
    }
}

static void Apply(Watch &watch)
{
    watch.outcome.code = vlm_apply(watch.steps, watch.picture, watch.run);
    if (watch.outcome.code != VLM_OK) watch.outcome.line = vlm_error_line();
    for (int i = 0; i < vlm_notice_count(); ++i) watch.outcome.notices.emplace_back(vlm_notice(i));
}

//---- On the calling thread

static int OnProgressHere(void *context, int step, int steps, int tenths)
{
    auto &watch = *static_cast<Watch *>(context);
    const py::gil_scoped_acquire lock;
    return AskUser(watch, ShareOf(step, steps, tenths)) ? 0 : 1;
}

static void RunHere(Watch &watch)
{
    if (!watch.progress.is_none()) vlm_run_set_progress(watch.run, OnProgressHere, &watch);
    const Unlocked others;
    Apply(watch);
}

//---- On a thread of its own

static int OnProgressThere(void *context, int step, int steps, int tenths)
{
    auto &watch = *static_cast<Watch *>(context);
    std::unique_lock hold(watch.lock);
    watch.share = ShareOf(step, steps, tenths);
    watch.asked = true;
    watch.moved.notify_all();
    watch.moved.wait(hold, [&watch] { return !watch.asked; });
    return watch.answer;
}

// False, with what was thrown kept, after a signal whose handler threw. [with the interpreter's lock]
static bool SignalsAreQuiet(Watch &watch)
{
    if (!PyErr_CheckSignals()) return true;
    watch.thrown = std::make_exception_ptr(py::error_already_set());
    return false;
}

// True when the run is to go on. [without the interpreter's lock]
static bool LookAround(Watch &watch, bool asked, double share)
{
    if (watch.thrown) return false;
    const py::gil_scoped_acquire lock;
    return asked ? AskUser(watch, share) : SignalsAreQuiet(watch);
}

// Answers and looks for signals until the run is over. [without the interpreter's lock]
static void Attend(Watch &watch)
{
    std::unique_lock hold(watch.lock);
    while (!watch.over) {
        watch.moved.wait_for(hold, SIGNAL_INTERVAL, [&watch] { return watch.over || watch.asked; });
        if (watch.over) return;
        const bool asked = watch.asked;
        const double share = watch.share;
        hold.unlock();
        const bool goesOn = LookAround(watch, asked, share);
        if (!goesOn) vlm_run_cancel(watch.run);
        hold.lock();
        if (!asked) continue;
        watch.answer = goesOn ? 0 : 1;
        watch.asked = false;
        watch.moved.notify_all();
    }
}

template <typename Work> static std::thread NewThread(Work work)
{
    try {
        return std::thread(work);
    } catch (const std::system_error &) {
        throw Failure{VLM_NO_THREAD, "the system refuses a thread to run on"};
    }
}

static void RunThere(Watch &watch)
{
    if (!watch.progress.is_none()) vlm_run_set_progress(watch.run, OnProgressThere, &watch);
    const Unlocked others;
    std::thread thread = NewThread([&watch] {
        Apply(watch);
        const std::lock_guard hold(watch.lock);
        watch.over = true;
        watch.moved.notify_all();
    });
    Attend(watch);
    thread.join();
}

//---- For Python

static py::list Run(const NativeSteps &steps, NativePicture &picture, std::optional<uint32_t> seed,
                    const py::object &progress, bool onMainThread)
{
    const RunPointer run(vlm_run_new());
    if (!run) ThrowFailure(vlm_error_code());
    if (seed) vlm_run_set_seed(run.get(), *seed);
    vlm_run_set_restoring(run.get(), 0);   // who calls works on a copy
    const InUse use(picture);
    Watch watch = {
        .steps = steps.handle.get(), .picture = picture.handle.get(), .run = run.get(), .progress = progress};
    const KnownRun known(run.get());
    if (onMainThread) RunThere(watch);
    else RunHere(watch);
    if (watch.thrown) std::rethrow_exception(watch.thrown);
    if (watch.refused) throw Failure{VLM_ABORTED, "aborted"};
    if (watch.outcome.code != VLM_OK) throw Failure{watch.outcome.code, watch.outcome.line};
    py::list notices;
    for (const std::string &line : watch.outcome.notices) notices.append(py::str(line));
    return notices;
}

static NativeSteps MakeSteps() { return Own(vlm_steps_new()); }

static void Check(const NativeSteps &steps)
{
    std::string line;
    vlm_code code;
    {
        const Unlocked others;
        code = vlm_steps_check(steps.handle.get(), nullptr);
        if (code != VLM_OK) line = vlm_error_line();
    }
    if (code != VLM_OK) throw Failure{code, line};
}

static std::string Line(const NativeSteps &steps, int step, bool all)
{
    return Taken(vlm_steps_line(steps.handle.get(), step, all));
}

void DefineRuns(py::module_ &module)
{
    py::class_<NativeSteps>(module, "Steps")
        .def(py::init(&MakeSteps))
        .def("__len__", [](const NativeSteps &steps) { return vlm_steps_count(steps.handle.get()); })
        .def("add", [](NativeSteps &steps,
                       const std::string &effect) { Hold(vlm_steps_add(steps.handle.get(), Text(effect))); })
        .def("add_line", [](NativeSteps &steps,
                            const std::string &line) { Hold(vlm_steps_add_line(steps.handle.get(), Text(line))); })
        .def("set",
             [](NativeSteps &steps, int step, const std::string &setting, const std::string &value) {
                 Hold(vlm_steps_set(steps.handle.get(), step, Text(setting), Text(value)));
             })
        .def("set_area",
             [](NativeSteps &steps, int step, int left, int top, int width, int height) {
                 Hold(vlm_steps_set_area(steps.handle.get(), step, left, top, width, height));
             })
        .def("add_object",
             [](NativeSteps &steps, int step, NativePicture &object, int x, int y) {
                 const InUse use(object);
                 Hold(vlm_steps_add_object(steps.handle.get(), step, object.handle.get(), x, y));
             })
        .def("line", Line)
        .def("check", Check);
    module.def("run", Run);
}
