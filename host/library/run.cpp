// Checking and applying steps, and the runs that say how.

#include "host/library/run_handle.h"

#include "host/library/calls.h"
#include "host/library/edges.h"
#include "host/library/fringe.h"
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
        if (GiveSettings(dialog, step, Purpose::TRIAL, TRIAL_EDGE, call.boxes, fault))
            call.notices = Contradictions(dialog, step);
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

// Objects float through a whole chain: no picture with a border has them, and none of them a fringe to be cleaned.
static vlm_code CheckAmongObjects(const std::vector<Step> &steps, int *failed)
{
    bool objects = false;
    for (size_t i = 0; i < steps.size(); ++i) {
        const GivenSetting *scope = FindSetting(steps[i], "scope");
        objects = objects || !steps[i].objects.empty() || (scope && scope->value == "new-object");
        const bool edges = EdgesOf(steps[i]) != Edges::OWN;
        if (!objects || (!edges && !WantsCleanFringe(steps[i], false))) continue;
        if (failed) *failed = int(i);
        if (!edges) return FailCleanFringe();
        return Fail(VLM_AT_ODDS, "--edges", "is for pictures without objects, which float on through the steps");
    }
    return VLM_OK;
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
    if (const vlm_code code = CheckAmongObjects(steps->steps, failed)) return code;
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

// The picture's place is taken by the result; left as it was, or empty, where the run fails.
static vlm_code PerformRun(const std::vector<Step> &steps, Picture &picture, bool clean, vlm_run *run, Call &call)
{
    Picture before;
    if (!run || run->restoring) before = CopyOf(picture);
    call.steps = &steps;
    call.picture = std::move(picture);
    call.run = run;
    call.clean = clean;
    if (run) call.seed = run->seed;
    for (const Step &step : steps) call.reaches.push_back(EdgesOf(step) == Edges::OWN ? Reach{} : ReachOf(step));
    const vlm_code code = Guarded([&] { return Perform(call); });
    // What never came to be opened comes back as it was.
    picture = code == VLM_OK || !before.pixels ? std::move(call.picture) : std::move(before);
    return code;
}

//---- Applying to several pages

// Tells of all pages as of one picture.
struct PageProgress {
    vlm_progress progress;
    void *context;
    int page, pages;
};

static int TellOfPages(void *context, int step, int steps, int tenths)
{
    const auto &told = *static_cast<PageProgress *>(context);
    const int64_t whole = 10 * int64_t(steps), done = told.page * whole + 10 * step + tenths;
    const int all = int(done / told.pages), last = int(whole) - 1;
    if (all >= whole) return told.progress(told.context, steps - 1, steps, 10);
    return told.progress(told.context, std::min(all, last) / 10, steps, std::min(all, last) % 10);
}

// All pages draw alike: with the seeds that the first one drew.
static std::vector<Step> WithSeeds(const std::vector<Step> &steps, const std::vector<std::optional<uint32_t>> &seeds)
{
    std::vector<Step> seeded = steps;
    for (size_t i = 0; i < std::min(seeded.size(), seeds.size()); ++i)
        if (seeds[i]) seeded[i].seed = seeds[i];
    return seeded;
}

static void AddNew(std::vector<std::string> &notices, std::vector<std::string> &more)
{
    for (std::string &notice : more)
        if (std::find(notices.begin(), notices.end(), notice) == notices.end()) notices.push_back(std::move(notice));
}

static vlm_code PerformPages(const std::vector<Step> &given, vlm_picture *picture, vlm_run *run, Call &first)
{
    std::vector<Picture> before;
    const bool restores = !run || run->restoring;
    if (restores) before.push_back(CopyOf(picture->picture));
    for (const Picture &page : picture->further)
        if (restores) before.push_back(CopyOf(page));
    PageProgress told = {run ? run->progress : nullptr, run ? run->context : nullptr, 0, vlm_picture_pages(picture)};
    if (told.progress) vlm_run_set_progress(run, TellOfPages, &told);
    const vlm_code code = Guarded([&] {
        vlm_code one = PerformRun(given, picture->picture, !picture->maskIsApart, run, first);
        const std::vector<Step> steps = WithSeeds(given, first.seeds);
        for (size_t i = 0; one == VLM_OK && i < picture->further.size(); ++i) {
            Call call;
            told.page = int(i) + 1;
            one = PerformRun(steps, picture->further[i], !picture->maskIsApart, run, call);
            AddNew(first.notices, call.notices);
            if (one != VLM_OK) first.failedStep = call.failedStep;
        }
        return one;
    });
    if (told.progress) vlm_run_set_progress(run, told.progress, told.context);
    if (code == VLM_OK || !restores) return code;
    picture->picture = std::move(before[0]);
    std::move(before.begin() + 1, before.end(), picture->further.begin());
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
            call.unchecked = !steps->checked.load();
            code = picture->further.empty()
                       ? PerformRun(steps->steps, picture->picture, !picture->maskIsApart, run, call)
                       : PerformPages(steps->steps, picture, run, call);
            failed = call.failedStep;
            for (std::string &notice : call.notices) notices.push_back(std::move(notice));
            if (run) run->seeds = std::move(call.seeds);
        }
        if (run) run->failedStep = failed;
        SetNotices(notices);
        return code;
    });
}
