// Level 8: several pictures and threads at once. What is made together is what is made alone.

#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"

static ImageRecord *OpenType(ModuleStage &stage, int32_t type, uint32_t seed)
{
    std::mt19937 generator(seed);
    return Open(stage, RandomPictureOf(type, 160, 120, MaskBitsOf(type), generator));
}

static std::vector<std::string> StatesOf(const ModuleStage &stage)
{
    std::vector<std::string> states;
    for (const ImageRecord *image : stage.images) states.push_back(StateOfImage(image));
    return states;
}

// Runs the effect on a picture of each type, one after the other or all at once.
static std::vector<std::string> RunOnAll(const CheckedModule &module, const CheckedEffect &effect, bool together,
                                         int threads)
{
    std::vector<std::string> states;
    ModuleStage stage(module.request.module);
    for (const int32_t type : ALL_TYPES) OpenType(stage, type, module.request.seed);
    HostAllowThreads(threads);
    MiscShareAll(threads > 1);
    HostFixSeed(TRUE, module.request.seed);
    InDialogOf(effect, stage, [&](OpenDialog &open) {
        for (ImageRecord *image : std::vector<ImageRecord *>(stage.images)) {
            ActivateImage(stage.host, image);
            Press(open.dialog, APPLY_BUTTON);
            if (!together) WaitForRuns();
        }
        WaitForRuns();
        states = StatesOf(stage);
        for (const ImageRecord *image : stage.images)
            Expect(!IsRunning(image), Rule::END_ORDER, "effectThread is not null when all runs have ended");
        ActivateImage(stage.host, stage.images[0]);
        Expect(IsEnabled(open.dialog, APPLY_BUTTON), Rule::READY_AGAIN, "Apply is greyed when all runs have ended");
    });
    HostFixSeed(FALSE, 0);
    MiscShareAll(FALSE);
    HostAllowThreads(0);
    return states;
}

static void CheckTogether(const CheckedModule &module, const CheckedEffect &effect)
{
    Doing("ran " + effect.word + " on four pictures, one after the other");
    const std::vector<std::string> alone = RunOnAll(module, effect, false, 1);
    for (const int threads : {1, 3, 8}) {
        Doing("ran " + effect.word + " on four pictures at once, with " + Number(threads) +
              (threads == 1 ? " thread" : " threads"));
        Expect(RunOnAll(module, effect, true, threads) == alone, Rule::TOGETHER, "a picture is another one than alone");
        if (threads == 1) continue;
        Doing("ran " + effect.word + " on four pictures, one after the other, with " + Number(threads) + " threads");
        Expect(RunOnAll(module, effect, false, threads) == alone, Rule::SAME_AGAIN,
               "a picture is another one than with one thread");
    }
}

// Every effect's dialog inside the one before, and a run in each.
static void CheckNested(const CheckedModule &module)
{
    const uint64_t mark = BlockMark();
    {
        ModuleStage stage(module.request.module);
        for (size_t i = 0; i < module.effects.size(); ++i) OpenType(stage, RGB, uint32_t(i));
        std::function<void(size_t)> openFrom = [&](size_t index) {
            if (index == module.effects.size()) return;
            Doing("opened the dialogs of " + Number(intptr_t(index) + 1) + " effects inside each other");
            WorkInDialog(stage, module.effects[index].offset, [&](HWND dialog) {
                ActivateImage(stage.host, stage.images[index]);
                Press(dialog, APPLY_BUTTON);
                openFrom(index + 1);
                Expect(IsOpen(dialog), Rule::IMAGE_LEFT, "a dialog has gone that nobody closed");
            });
        };
        openFrom(0);
        Expect(!stage.host.context.openEffectDialog, Rule::OPEN_EFFECT,
               "openEffectDialog is not null when all dialogs have gone");
    }
    Expect(BlocksMadeSince(mark) == 0, Rule::RETURNED, "when all had gone there were still " + BlocksSince(mark));
}

void PlanCrowdChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects)
        plan.push_back({8, "8/" + effect.word + "/together", effect.word, [&] { CheckTogether(module, effect); }});
    plan.push_back({8, "8/nested", "", [&] { CheckNested(module); }});
}
