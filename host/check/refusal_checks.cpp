// Level 6: what a host may refuse a run: its locks, its thread, memory.

#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"

#include <algorithm>

static void OnImage(const CheckedModule &module, const CheckedEffect &effect, int32_t width, int32_t height,
                    const std::function<void(OpenDialog &, ImageRecord *)> &script)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(module.request.seed);
    ImageRecord *image = Open(stage, RandomPictureOf(RGB, width, height, 8, generator));
    Doing("opened the dialog of " + effect.word);
    InDialogOf(effect, stage, [&](OpenDialog &open) { script(open, image); });
}

static void ExpectGivenUp(const OpenDialog &open, ImageRecord *image, Rule rule)
{
    Expect(!IsRunning(image), rule, "effectThread is not null");
    Expect(IsEnabled(open.dialog, APPLY_BUTTON), rule, "the dialog's controls are still disabled");
    for (const SemaphoreHandle lock : {image->imageLock, image->objectLock}) {
        const bool taken = KPZ_GetMutexSem(lock, 0);
        if (Expect(taken, rule, "a lock is still held")) KPZ_ReleaseMutexSem(lock);
    }
}

static void CheckLocks(const CheckedModule &module, const CheckedEffect &effect)
{
    OnImage(module, effect, 40, 30, [&](OpenDialog &open, ImageRecord *image) {
        const std::string before = StateOfImage(image);
        HostRefuseSemaphore(image->imageLock);
        Doing("pressed Apply in the dialog of " + effect.word + " and refused the image lock");
        ApplyAndWait(open.dialog);
        HostRefuseSemaphore(nullptr);
        ExpectGivenUp(open, image, Rule::WITHOUT_LOCK);
        Expect(StateOfImage(image) == before, Rule::WITHOUT_LOCK, "the image has changed");
        Expect(MiscUndoCount(image) == 0, Rule::WITHOUT_LOCK, "there is an undo step");

        HostRefuseSemaphore(image->objectLock);
        Doing("pressed Apply in the dialog of " + effect.word + " and refused the object lock");
        ApplyAndWait(open.dialog);
        HostRefuseSemaphore(nullptr);
        ExpectGivenUp(open, image, Rule::LOCKS_GIVEN_BACK);
        if (MiscUndoCount(image)) MiscUndo(image);
        Expect(StateOfImage(image) == before, Rule::UNDONE, "undo has not brought back what was there before");
    });
}

static void CheckThread(const CheckedModule &module, const CheckedEffect &effect)
{
    OnImage(module, effect, 40, 30, [&](OpenDialog &open, ImageRecord *image) {
        const std::string before = StateOfImage(image);
        HostRefuseThreads(1);
        Doing("pressed Apply in the dialog of " + effect.word + " and refused the thread");
        const Calls calls = CallsDuring([&] { ApplyAndWait(open.dialog); });
        HostRefuseThreads(0);
        ExpectGivenUp(open, image, Rule::WITHOUT_THREAD);
        Expect(StateOfImage(image) == before, Rule::WITHOUT_THREAD, "the image has changed");
        for (const Call &call : Only(calls, {"KPZ_SetThreadPriority"}))
            Expect(call.arguments[0] != 0, Rule::PRIORITY_SET, "the priority of the dialogs' own thread was set");
        Doing("pressed Apply in the dialog of " + effect.word + " when there could be a thread again");
        const Calls again = CallsDuring([&] { ApplyAndWait(open.dialog); });
        Expect(CountOf(again, "KPZ_CreateThread") == 1, Rule::WITHOUT_THREAD, "no run was begun");
    });
}

// Large planes only: smaller requests are never refused.
static void CheckMemory(const CheckedModule &module, const CheckedEffect &effect)
{
    OnImage(module, effect, 700, 520, [&](OpenDialog &open, ImageRecord *image) {
        HostLetRunsBeLeft(TRUE);
        const std::string before = StateOfImage(image);
        for (int refused = 1; refused <= 3; ++refused) {
            Doing("pressed Apply in the dialog of " + effect.word + " and refused it memory");
            MiscForgetUndo(image);
            HostRefuseMemory(refused);
            ApplyAndWait(open.dialog);
            HostRefuseMemory(0);
            ExpectGivenUp(open, image, Rule::WITHOUT_MEMORY);
            if (HostRunFailure(image, nullptr, 0) == RUN_WITHOUT_MEMORY)
                Expect(StateOfImage(image) == before, Rule::WITHOUT_MEMORY, "the image is another one than before");
            else if (MiscUndoCount(image)) MiscUndo(image);
        }
        HostLetRunsBeLeft(FALSE);
    });
}

void PlanRefusalChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects) {
        const std::string start = "6/" + effect.word + "/";
        plan.push_back({6, start + "locks", effect.word, [&] { CheckLocks(module, effect); }});
        plan.push_back({6, start + "thread", effect.word, [&] { CheckThread(module, effect); }});
        plan.push_back({6, start + "memory", effect.word, [&] { CheckMemory(module, effect); }});
    }
}
