// Checking and applying steps, and the runs that say how.

#include "host/library/run_handle.h"

#include "host/library/calls.h"
#include "host/library/picture_handle.h"
#include "host/library/settings.h"

#include <algorithm>

//---- Runs

vlm_run *vlm_run_new(void)
{
    vlm_run *run = nullptr;
    Guarded([&] {
        run = new vlm_run;
        return VLM_OK;
    });
    return run;
}

void vlm_run_free(vlm_run *run) { delete run; }

void vlm_run_set_progress(vlm_run *run, vlm_progress progress, void *context)
{
    if (!run) return;
    run->progress = progress;
    run->context = context;
}

void vlm_run_set_seed(vlm_run *run, uint32_t seed)
{
    if (run) run->seed = seed;
}

void vlm_run_clear_seed(vlm_run *run)
{
    if (run) run->seed.reset();
}

void vlm_run_set_threads(vlm_run *run, int threads)
{
    if (run) run->threads = std::clamp(threads, 0, 64);
}

void vlm_run_set_restoring(vlm_run *run, int on)
{
    if (run) run->restoring = on != 0;
}

void vlm_run_cancel(vlm_run *run)
{
    if (!run || run->cancelled.exchange(true)) return;
    WakeDialogs();
}

void vlm_run_rearm(vlm_run *run)
{
    if (run) run->cancelled = false;
}

int vlm_run_seed(const vlm_run *run, int step, uint32_t *seed)
{
    if (!run || step < 0 || size_t(step) >= run->seeds.size() || !run->seeds[size_t(step)]) return 0;
    if (seed) *seed = *run->seeds[size_t(step)];
    return 1;
}

int vlm_run_failed_step(const vlm_run *run) { return run ? run->failedStep : -1; }

//---- Checking

static vlm_code CheckStep(const Step &step, std::vector<std::string> &notices)
{
    if (const vlm_code code = CheckOdds(step)) return code;
    Call call;
    SettingFault fault;
    call.effect = step.effect;
    call.task = [&](Host &, HWND dialog) {
        if (GiveSettings(dialog, step, Purpose::TRIAL, call.boxes, fault)) call.notices = Contradictions(dialog, step);
    };
    if (const vlm_code code = Perform(call)) return code;
    for (std::string &notice : call.notices) notices.push_back(std::move(notice));
    return fault.code == VLM_OK ? VLM_OK : Fail(fault.code, fault.subject, fault.text);
}

// One like it has been found right: asked again it would answer the same.
static bool SeenBefore(const std::vector<Step> &steps, size_t step)
{
    return std::any_of(steps.begin(), steps.begin() + ptrdiff_t(step), [&](const Step &before) {
        const auto same = [](const GivenSetting &one, const GivenSetting &other) {
            return one.name == other.name && one.value == other.value;
        };
        return before.effect == steps[step].effect &&
               std::equal(before.settings.begin(), before.settings.end(), steps[step].settings.begin(),
                          steps[step].settings.end(), same);
    });
}

static vlm_code CheckInDialogs(const vlm_steps *steps, int *failed)
{
    if (steps->checked.load()) return VLM_OK;
    const auto notices = std::make_shared<std::vector<std::string>>();
    for (size_t i = 0; i < steps->steps.size(); ++i) {
        const vlm_code code = SeenBefore(steps->steps, i) ? VLM_OK : CheckStep(steps->steps[i], *notices);
        if (code == VLM_OK) continue;
        if (failed) *failed = int(i);
        return code;
    }
    steps->checked = CheckedNotices(notices);
    return VLM_OK;
}

static vlm_code CheckSteps(const vlm_steps *steps, int *failed, std::vector<std::string> &notices)
{
    if (const vlm_code code = CheckInDialogs(steps, failed)) return code;
    if (const CheckedNotices told = steps->checked) notices = *told;
    for (const Step &step : steps->steps) {
        const std::string notice = NoticeOfScope(step);
        if (!notice.empty()) notices.push_back(notice);
    }
    return VLM_OK;
}

vlm_code vlm_steps_check(const vlm_steps *steps, int *step)
{
    return Guarded([&] {
        if (step) *step = -1;
        if (!steps) return FailArgument("steps");
        std::vector<std::string> notices;
        const vlm_code code = CheckSteps(steps, step, notices);
        SetNotices(notices);
        return code;
    });
}

//---- Applying

// A single step's faults are found before it runs, without a trial.
static vlm_code CheckBeforeRun(const vlm_steps *steps, int *failed, std::vector<std::string> &notices)
{
    if (steps->checked.load()) return VLM_OK;
    if (steps->steps.size() > 1) return CheckSteps(steps, failed, notices);
    if (const vlm_code code = CheckOdds(steps->steps[0])) return *failed = 0, code;
    const std::string notice = NoticeOfScope(steps->steps[0]);
    if (!notice.empty()) notices.push_back(notice);
    return VLM_OK;
}

static vlm_code PerformRun(const vlm_steps *steps, vlm_picture *picture, vlm_run *run, Call &call)
{
    Picture before;
    if (!run || run->restoring) before = CopyOf(picture->picture);
    call.steps = &steps->steps;
    call.picture = std::move(picture->picture);
    call.run = run;
    call.unchecked = !steps->checked.load();
    if (run) call.seed = run->seed;
    const vlm_code code = Perform(call);
    // What never came to be opened comes back as it was.
    picture->picture = code == VLM_OK || !before.pixels ? std::move(call.picture) : std::move(before);
    return code;
}

vlm_code vlm_apply(const vlm_steps *steps, vlm_picture *picture, vlm_run *run)
{
    return Guarded([&] {
        if (!steps) return FailArgument("steps");
        if (!HoldsPicture(picture)) return FailArgument("picture");
        std::vector<std::string> notices;
        SetNotices({});
        if (run) run->seeds.clear();
        if (run) run->failedStep = -1;
        if (steps->steps.empty()) return VLM_OK;

        int failed = -1;
        vlm_code code = CheckBeforeRun(steps, &failed, notices);
        if (code == VLM_OK) {
            Call call;
            code = PerformRun(steps, picture, run, call);
            failed = call.failedStep;
            for (std::string &notice : call.notices) notices.push_back(std::move(notice));
            if (run) run->seeds = std::move(call.seeds);
        }
        if (run) run->failedStep = failed;
        SetNotices(notices);
        return code;
    });
}
