// Level 4: runs as a dialog starts them, from Apply to the word that they have ended, and what happens on their threads.
// What becomes of objects and undo is level 5's.

#include "host/check/effect_facts.h"
#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"
#include "host/check/threads_of_process.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <thread>

static std::string NamesIn(const Calls &calls)
{
    std::string names;
    for (const Call &call : calls) names += (names.empty() ? "" : ", ") + call.name;
    return names.empty() ? "nothing" : names;
}

//---- Apply

static void ExpectHeader(const OpenDialog &open, const FilterHeader &header, const ImageRecord *image)
{
    Expect(header.image == image, Rule::BLOCK_SET, "header.image is not the active image");
    Expect(header.owner == open.dialog, Rule::BLOCK_SET, "header.owner is not the dialog");
    Expect(header.block && &header.block->header == &header, Rule::BLOCK_SET,
           "header.block is not the block that the header is part of");
    Expect(header.priority >= 0 && header.priority <= 4, Rule::BLOCK_SET,
           "header.priority is " + Number(header.priority));
    Expect(header.zero == 0, Rule::BLOCK_SET, "header.zero is " + Number(header.zero));
}

// What Apply asked of the host on the dialogs' thread.
static void ExpectStart(OpenDialog &open, const ImageRecord *image, const Calls &calls, ThreadHandle seen)
{
    const Calls steps = Only(calls, {"KPZ_CreateThread", "ChooseMenus", "KPZ_SetThreadPriority"});
    const std::vector<std::string> order = {"KPZ_CreateThread", "ChooseMenus", "KPZ_SetThreadPriority"};
    if (!Expect(steps.size() == 3 && NamesOf(steps) == order, Rule::STARTING_ORDER, "the calls were " + NamesIn(steps)))
        return;
    const auto *header = reinterpret_cast<FilterHeader *>(steps[0].arguments[2]);
    Expect(seen != nullptr, Rule::STARTING_ORDER, "effectThread was null when ChooseMenus was called");
    Expect(reinterpret_cast<ThreadHandle>(steps[2].arguments[0]) == seen, Rule::PRIORITY_SET,
           "the priority of another thread was set");
    if (!Expect(header == open.HeaderOf(image), Rule::STARTING_ORDER,
                "the thread was handed another header than the active image's"))
        return;
    ExpectHeader(open, *header, image);
    Expect(steps[2].arguments[1] == header->priority, Rule::PRIORITY_SET,
           "it was set to " + Number(steps[2].arguments[1]) + " and the block has " + Number(header->priority));
}

static std::vector<int> EnabledOf(HWND dialog)
{
    std::vector<int> enabled;
    if (const DialogTemplate *table = FindDialogTemplate(HostDialogTemplate(dialog)))
        for (int32_t i = 0; i < table->controlCount; ++i)
            if (table->controls[i].id > 0 && IsEnabled(dialog, table->controls[i].id))
                enabled.push_back(table->controls[i].id);
    return enabled;
}

static void ExpectGreyed(HWND dialog)
{
    std::vector<int> usable = {ABORT_BUTTON, PRIORITY_TRACKBAR, PREVIEW_ZOOM_OUT, PREVIEW_ZOOM_IN, PREVIEW_ZOOM_FIT};
    for (const int id : usable)
        Expect(!GetDlgItem(dialog, id) || IsEnabled(dialog, id), Rule::GREYED_IN_RUN,
               "control " + Number(id) + " cannot be used during a run");
    for (const int id : EnabledOf(dialog))
        Expect(std::count(usable.begin(), usable.end(), id) != 0, Rule::GREYED_IN_RUN,
               "control " + Number(id) + " can be used during a run");
    for (const HWND child : ChildrenOf(dialog)) {
        const bool known =
            std::any_of(usable.begin(), usable.end(), [&](int id) { return GetDlgItem(dialog, id) == child; });
        if (!known)
            Expect(!KPZ_IsWindowEnabled(child), Rule::GREYED_IN_RUN,
                   "a control can be used during a run that is none of those five");
    }
}

// -1 when it was neither.
static int AbortShown(HWND dialog, const Calls &calls)
{
    int shown = -1;
    for (const Call &call : Only(calls, {"KPZ_ShowWindow"}))
        if (reinterpret_cast<HWND>(call.arguments[0]) == GetDlgItem(dialog, ABORT_BUTTON))
            shown = call.arguments[1] != 0;
    return shown;
}

static void ExpectReady(OpenDialog &open, const ImageRecord *image, const Calls &calls)
{
    Expect(!IsRunning(image), Rule::END_ORDER, "effectThread is not null when the run has ended");
    for (const HWND child : ChildrenOf(open.dialog))
        if (!Expect(KPZ_IsWindowEnabled(child) != 0, Rule::READY_AGAIN, "a control of the dialog is still disabled"))
            break;
    Expect(AbortShown(open.dialog, calls) == 0, Rule::ABORT_SHOWN, "it was not hidden when the run had ended");
    Expect(CountOf(calls, "ChooseMenus") == 1, Rule::READY_AGAIN,
           "ChooseMenus was called " + Number(CountOf(calls, "ChooseMenus")) + " times");
}

//---- The run's thread

// What was true when a call was made, for a run that an effect brings itself.
struct ThreadWatch {
    ImageRecord *image = nullptr;
    std::mutex guard;
    int imageLock = 0, objectLock = 0;   // how often it is held
    bool requestAtLock = false, requestAtUndo = false, heldAtUndo = true, toldWithLocks = false,
         toldWhileRunning = false;
    int undoSteps = 0;
    bool changedBeforeUndo = false;
    std::string before;
};

static void OnRunCall(ThreadWatch &watch, std::string_view name, const intptr_t *arguments)
{
    const std::lock_guard hold(watch.guard);
    const auto lock = reinterpret_cast<SemaphoreHandle>(arguments[0]);
    const int step = name == "KPZ_GetMutexSem" ? 1 : name == "KPZ_ReleaseMutexSem" ? -1 : 0;
    if (step && lock == watch.image->imageLock) {
        if (step > 0) watch.requestAtLock = SharedRead(watch.image->abortRequest) != 0;
        watch.imageLock += step;
    }
    if (step && lock == watch.image->objectLock) watch.objectLock += step;
    if (name == "UndoUtility") {
        ++watch.undoSteps;
        watch.requestAtUndo = SharedRead(watch.image->abortRequest) != 0;
        watch.heldAtUndo = watch.imageLock == 1;
        if (watch.undoSteps == 1) watch.changedBeforeUndo = StateOfImage(watch.image) != watch.before;
    }
    if (name == "KPZ_SendMsgAndWait" && arguments[1] == RUN_FINISHED) {
        watch.toldWithLocks = watch.imageLock || watch.objectLock;
        watch.toldWhileRunning = SharedRead(watch.image->effectThread) != nullptr;
    }
}

static intptr_t PlaceOf(const Calls &calls, const std::string &name)
{
    for (size_t i = 0; i < calls.size(); ++i)
        if (calls[i].name == name) return intptr_t(i);
    return -1;
}

static void ExpectLocks(const Calls &calls, const ImageRecord *image)
{
    const Calls locks = Only(calls, {"KPZ_GetMutexSem", "KPZ_ReleaseMutexSem"});
    const auto is = [&](size_t i, const char *name, SemaphoreHandle lock) {
        return i < locks.size() && locks[i].name == name &&
               reinterpret_cast<SemaphoreHandle>(locks[i].arguments[0]) == lock;
    };
    Expect(is(0, "KPZ_GetMutexSem", image->imageLock) && is(1, "KPZ_GetMutexSem", image->objectLock), Rule::LOCKS_TAKEN,
           "the first calls were " +
               NamesIn(Calls(locks.begin(), locks.begin() + std::min<ptrdiff_t>(2, ptrdiff_t(locks.size())))) +
               ", of other locks or in another order");
    for (const Call &call : Only(locks, {"KPZ_GetMutexSem"}))
        Expect(call.arguments[1] == 5000, Rule::LOCKS_TAKEN, "it waits for " + Number(call.arguments[1]) + " ms");
    const size_t count = locks.size();
    Expect(count >= 4 && is(count - 2, "KPZ_ReleaseMutexSem", image->objectLock) &&
               is(count - 1, "KPZ_ReleaseMutexSem", image->imageLock),
           Rule::LOCKS_GIVEN_BACK, "the last calls about locks were not these two");
    Expect(CountOf(locks, "KPZ_GetMutexSem") == CountOf(locks, "KPZ_ReleaseMutexSem"), Rule::LOCKS_GIVEN_BACK,
           Number(CountOf(locks, "KPZ_GetMutexSem")) + " were taken and " +
               Number(CountOf(locks, "KPZ_ReleaseMutexSem")) + " given back");
}

static void ExpectThreadFrame(const Calls &calls)
{
    const Calls frame = Only(
        calls, {"KPZ_Initialize", "KPZ_CreateMsgQueue", "KPZ_CancelShutdown", "KPZ_DestroyMsgQueue", "KPZ_Terminate"});
    const std::vector<std::string> order = {"KPZ_Initialize", "KPZ_CreateMsgQueue", "KPZ_CancelShutdown",
                                            "KPZ_DestroyMsgQueue", "KPZ_Terminate"};
    if (!Expect(NamesOf(frame) == order && frame.size() == 5, Rule::THREAD_SET_UP, "the calls were " + NamesIn(frame)))
        return;
    Expect(PlaceOf(calls, "KPZ_CancelShutdown") < PlaceOf(calls, "KPZ_GetMutexSem"), Rule::THREAD_SET_UP,
           "the thread was set up behind its first lock");
    Expect(frame[2].arguments[1] == 1 && frame[1].arguments[1] == 0, Rule::THREAD_SET_UP,
           "the second arguments are not 0 and 1");
}

// The run of a routine of the module's own; FilterThread's are the host's.
static void ExpectOwnRun(const OpenDialog &open, const ThreadWatch &watch, const Calls &calls)
{
    const ImageRecord *image = watch.image;
    ExpectThreadFrame(calls);
    ExpectLocks(calls, image);
    Expect(watch.requestAtLock, Rule::REQUEST_CLEARED, "it was cleared before the image lock was asked for");
    Expect(!watch.requestAtUndo, Rule::REQUEST_CLEARED,
           "a request from before the run was still there when UndoUtility was called");
    Expect(watch.undoSteps == 1, Rule::UNDO_FIRST, "UndoUtility was called " + Number(watch.undoSteps) + " times");
    Expect(watch.heldAtUndo, Rule::LOCKS_TAKEN, "UndoUtility was called without the image lock");
    Expect(!watch.changedBeforeUndo, Rule::UNDO_FIRST, "the image had changed when UndoUtility was called");
    Expect(!watch.toldWithLocks, Rule::LOCKS_GIVEN_BACK, "the dialog was told of the end while a lock was held");
    Expect(!watch.toldWhileRunning, Rule::END_ORDER, "the dialog was told of the end while effectThread was not null");

    const Calls told = Only(calls, {"KPZ_SendMsgAndWait"});
    const bool once = told.size() == 1 && told[0].arguments[1] == RUN_FINISHED;
    if (Expect(once, Rule::END_ORDER, "RUN_FINISHED was sent " + Number(intptr_t(told.size())) + " times")) {
        Expect(reinterpret_cast<HWND>(told[0].arguments[0]) == open.dialog, Rule::END_ORDER,
               "RUN_FINISHED was sent to another window");
        Expect(reinterpret_cast<HWND>(told[0].arguments[2]) == image->window, Rule::END_ORDER,
               "its word is not the image's window");
    }
    const intptr_t end = PlaceOf(calls, "KPZ_SendMsgAndWait");
    const intptr_t drawn = std::max(PlaceOf(calls, "KPZ_InvalidateRect"), PlaceOf(calls, "SizeWindow"));
    Expect(drawn >= 0 && drawn < end, Rule::END_ORDER,
           "the image's window was neither redrawn nor sized before RUN_FINISHED");
    const intptr_t normal = PlaceOf(calls, "KPZ_SetThreadPriority"), palette = PlaceOf(calls, "KPZ_AdjustPalette");
    Expect(normal >= 0 && calls[size_t(normal)].arguments[0] == 0 &&
               calls[size_t(normal)].arguments[1] == NORMAL_PRIORITY,
           Rule::NORMAL_AGAIN,
           normal < 0 ? "KPZ_SetThreadPriority was not called" : "it was called with other arguments than null and 2");
    Expect(palette >= 0 && palette < end, Rule::PALETTE_CURRENT, "KPZ_AdjustPalette was not called before the end");
    const Calls progress = Only(calls, {"InitiateProgress", "IncrementProgress", "FinishProgress"});
    if (CountOf(progress, "IncrementProgress") == 0 && CountOf(progress, "InitiateProgress") == 0) return;
    Expect(progress.front().name == "InitiateProgress" && progress.back().name == "FinishProgress",
           Rule::PROGRESS_FRAMED, "the first was " + progress.front().name + " and the last " + progress.back().name);
}

//---- Checks

struct RunCase {
    int32_t type, width, height, maskBits;
};

static std::string Told(const RunCase &picture)
{
    return TypeName(picture.type) + " of " + Number(picture.width) + " x " + Number(picture.height) +
           (picture.maskBits ? " with a mask" : "");
}

// Opens a picture and the effect's dialog on it.
static void OnPicture(const CheckedModule &module, const CheckedEffect &effect, const RunCase &picture,
                      const std::function<void(OpenDialog &, ImageRecord *)> &script)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(module.request.seed);
    ImageRecord *image =
        Open(stage, RandomPictureOf(picture.type, picture.width, picture.height, picture.maskBits, generator));
    Doing("opened the dialog of " + effect.word + " on " + Told(picture));
    InDialogOf(effect, stage, [&](OpenDialog &open) { script(open, image); });
}

static bool Refuses(const CheckedEffect &effect, const ImageRecord *image)
{
    const BoxFact *box = effect.known ? BoxFactOf(effect.offset, image->colourType, image->maskEditing != 0) : nullptr;
    return box && !box->runs;
}

static void ExpectBoxes(const OpenDialog &open, const ImageRecord *image)
{
    const BoxFact *box =
        open.effect.known ? BoxFactOf(open.effect.offset, image->colourType, image->maskEditing != 0) : nullptr;
    const auto &boxes = open.stage.boxes;
    if (!open.effect.known) return;
    if (!Expect(boxes.size() == (box ? 1u : 0u), Rule::SHEET_BOX,
                Number(intptr_t(boxes.size())) + " boxes were shown") ||
        !box)
        return;
    Expect(boxes[0].text == box->text, Rule::SHEET_BOX, "it says '" + boxes[0].text + "'");
    Expect(boxes[0].title == box->title, Rule::SHEET_BOX, "its title is '" + boxes[0].title + "'");
    Expect(boxes[0].style == 0x10, Rule::SHEET_BOX, "its style is " + Number(boxes[0].style));
}

static void CheckOneRun(const CheckedModule &module, const CheckedEffect &effect, const RunCase &picture)
{
    OnPicture(module, effect, picture, [&](OpenDialog &open, ImageRecord *image) {
        ThreadWatch watch;
        watch.image = image;
        watch.before = StateOfImage(image);
        ThreadHandle seen = nullptr;
        open.stage.atMenus = [&] { seen = SharedRead(image->effectThread); };
        std::atomic<bool> applied{false};
        const auto uiThread = std::this_thread::get_id();
        ListenToCalls([&](const char *call, const intptr_t *arguments) {
            if (applied && std::this_thread::get_id() != uiThread) OnRunCall(watch, call, arguments);
        });
        SharedWrite(image->abortRequest, 1);   // of an earlier run: it is this run's to clear
        const int threads = ThreadsOfProcess();
        Doing("pressed Apply in the dialog of " + effect.word + " on " + Told(picture));
        applied = true;
        ThreadHandle started = nullptr;
        Calls pressed, rest;
        const Calls all = AllCallsDuring([&] {
            Press(open.dialog, APPLY_BUTTON);
            started = seen;
            LoggedCall entry;
            for (int32_t i = 0; HostLogEntry(i, &entry); ++i)
                if (!entry.onRunThread)
                    pressed.push_back({entry.call, {entry.arguments[0], entry.arguments[1], entry.arguments[2]}});
            const bool runs = CountOf(pressed, "KPZ_CreateThread") != 0;
            if (runs && IsRunning(image)) {
                ExpectGreyed(open.dialog);
                Expect(AbortShown(open.dialog, pressed) == 1, Rule::ABORT_SHOWN, "it was not shown when the run began");
            }
            WaitForRuns();
        });
        ListenToCalls(nullptr);
        open.stage.atMenus = nullptr;
        ExpectBoxes(open, image);
        if (Refuses(effect, image)) {
            Expect(CountOf(pressed, "KPZ_CreateThread") == 0, Rule::SHEET_BOX, "a run was begun all the same");
            Expect(StateOfImage(image) == watch.before, Rule::SHEET_BOX, "the image has changed");
            return;
        }
        ExpectStart(open, image, pressed, started);
        if (CountOf(pressed, "KPZ_CreateThread") != 1) return;
        Calls onThread, onUi;
        for (const Call &call : all) (call.onRunThread ? onThread : onUi).push_back(call);
        onUi.erase(onUi.begin(), onUi.begin() + ptrdiff_t(std::min(pressed.size(), onUi.size())));
        ExpectReady(open, image, onUi);
        Expect(SharedRead(image->abortRequest) == 0, Rule::REQUEST_CLEARED, "abortRequest is still set after the run");
        Expect(AtMostThreads(threads), Rule::THREADS_JOINED, "there are more threads than before the run");
        if (CountOf(onThread, "FilterThread") == 0) ExpectOwnRun(open, watch, onThread);
        // A second one on the same image runs as the first did.
        Doing("pressed Apply again in the dialog of " + effect.word + " on " + Told(picture));
        ForgetUndoOf(open.stage);
        const uint64_t mark = BlockMark();
        ApplyAndWait(open.dialog);
        ForgetUndoOf(open.stage);
        // The image's own planes may be others than before.
        const int own = (image->pixels != nullptr) + (image->mask != nullptr) + (image->displayCopy != nullptr) +
                        (image->base.pixels != nullptr);
        Expect(BlocksMadeSince(mark) <= own, Rule::RETURNED, "the run has not handed back " + BlocksSince(mark));
    });
}

static void CheckRuns(const CheckedModule &module, const CheckedEffect &effect)
{
    for (const int32_t type : ALL_TYPES)
        for (const int32_t maskBits : {0, MaskBitsOf(type)}) CheckOneRun(module, effect, {type, 40, 30, maskBits});
    CheckOneRun(module, effect, {RGB, 1, 1, 0});
}

// An 8-bit display has a copy of 24-bit pictures.
static void CheckDisplay(const CheckedModule &module, const CheckedEffect &effect)
{
    HostSetDisplayDepth(8);
    OnPicture(module, effect, {RGB, 40, 30, 0}, [&](OpenDialog &open, ImageRecord *image) {
        Doing("pressed Apply in the dialog of " + effect.word + " with a display of 8 bits");
        ApplyAndWait(open.dialog);
        uint8_t *expected = nullptr;
        Update8BitVersion(image->pixels, &expected, image->width, image->height, image->red, image->green, image->blue,
                          0);
        const size_t size = size_t(RowStride(8, image->width)) * size_t(image->height);
        const bool current = image->displayCopy && memcmp(image->displayCopy, expected, size) == 0;
        Expect(current, Rule::DISPLAY_CURRENT, "the copy is not that of the picture as it is now");
        KPZ_FreeMem(expected);
    });
    HostSetDisplayDepth(24);
}

// An abort at every report: the image is as it was.
static void CheckAborts(const CheckedModule &module, const CheckedEffect &effect)
{
    for (const int32_t type : {RGB, PALETTE}) {
        const RunCase picture = {type, 32, 12, MaskBitsOf(type)};
        OnPicture(module, effect, picture, [&](OpenDialog &open, ImageRecord *image) {
            if (Refuses(effect, image)) return;
            AbortNextRun(image, -1);
            ApplyAndWait(open.dialog);
            const int reports = std::min(ReportsOf(image), 40);
            MiscUndo(image);
            ForgetUndoOf(open.stage);
            const std::string before = StateOfImage(image);
            for (int report = 0; report < reports; ++report) {
                Doing("pressed Apply in the dialog of " + effect.word + " on " + Told(picture) +
                      " and aborted at report " + Number(report));
                AbortNextRun(image, report);
                ApplyAndWait(open.dialog);
                // The next plane may report its first row before it asks.
                Expect(ReportsOf(image) <= report + 2, Rule::ABORT_HEEDED,
                       Number(ReportsOf(image) - report - 1) + " more reports came");
                Expect(StateOfImage(image) == before, Rule::ABORT_RESTORES,
                       "the image is another one than before the run");
                Expect(MiscUndoCount(image) == 0, Rule::ABORT_RESTORES, "there is an undo step");
                Expect(!IsRunning(image), Rule::END_ORDER, "effectThread is not null");
            }
        });
    }
}

// What a person does while a run stands still at a report.
static void CheckMeanwhile(const CheckedModule &module, const CheckedEffect &effect)
{
    OnPicture(module, effect, {RGB, 40, 30, 0}, [&](OpenDialog &open, ImageRecord *image) {
        AbortNextRun(image, -1);
        ApplyAndWait(open.dialog);
        if (ReportsOf(image) == 0) return;   // it cannot be held
        const HWND dialog = open.dialog;
        Doing("pressed Apply in the dialog of " + effect.word + " and held the run");
        if (!Expect(HoldRunOfApply(dialog, image, 0), Rule::PROGRESS_REPORTED,
                    "the run has not come to its first report"))
            return;
        const ThreadHandle thread = SharedRead(image->effectThread);

        Doing("gave the command of Apply while the run of " + effect.word + " was under way");
        const Calls again = CallsDuring([&] { Command(dialog, APPLY_BUTTON); });
        Expect(CountOf(again, "KPZ_CreateThread") == 0, Rule::ONE_RUN, "another run was begun");
        Expect(SharedRead(image->effectThread) == thread, Rule::ONE_RUN, "effectThread is another one");

        Doing("moved the priority while the run of " + effect.word + " was under way");
        KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, 4);
        const Calls moved = Only(CallsDuring([&] { Command(dialog, PRIORITY_TRACKBAR); }), {"KPZ_SetThreadPriority"});
        const FilterHeader *header = open.HeaderOf(image);
        Expect(moved.size() == 1 && reinterpret_cast<ThreadHandle>(moved[0].arguments[0]) == thread &&
                   moved[0].arguments[1] == 4,
               Rule::PRIORITY_SET,
               moved.empty() ? "KPZ_SetThreadPriority was not called"
                             : "it was called for another thread or with another priority");
        Expect(!header || SharedRead(header->priority) == 4, Rule::PRIORITY_SET, "the block's priority is not 4");

        Doing("gave the close button's command while the run of " + effect.word + " was under way");
        const size_t boxes = open.stage.boxes.size();
        KPZ_EnableDlgItem(dialog, CLOSE_BUTTON, TRUE);
        Command(dialog, CLOSE_BUTTON);
        if (!Expect(IsOpen(dialog), Rule::CLOSE_REFUSED, "the dialog has gone")) return LetGo(image);
        Expect(open.stage.boxes.size() == boxes + 1, Rule::CLOSE_REFUSED,
               Number(intptr_t(open.stage.boxes.size() - boxes)) + " boxes were shown");
        const EffectFacts *facts = effect.known ? FactsOf(effect.offset) : nullptr;
        if (facts && open.stage.boxes.size() > boxes) {
            const ShownBox &box = open.stage.boxes.back();
            const std::string name = facts->name;
            Expect(box.text == "The " + name +
                                   " function is running on some images, abort those images or wait for them to finish",
                   Rule::SHEET_BOX, "it says '" + box.text + "'");
            Expect(box.title == name + " Error", Rule::SHEET_BOX, "its title is '" + box.title + "'");
        }
        KPZ_EnableDlgItem(dialog, CLOSE_BUTTON, FALSE);

        Doing("gave the close button's command, greyed, while the run of " + effect.word + " was under way");
        Command(dialog, CLOSE_BUTTON);
        Expect(IsOpen(dialog), Rule::CLOSE_REFUSED, "the dialog has gone");

        Doing("pressed Abort while the run of " + effect.word + " was under way");
        Press(dialog, ABORT_BUTTON);
        Expect(SharedRead(image->abortRequest) == 1, Rule::ABORT_PRESSED,
               "abortRequest is " + Number(SharedRead(image->abortRequest)));
        LetGo(image);
        WaitForRuns();
        Expect(MiscLastRunAborted(image) != 0, Rule::ABORT_HEEDED, "the run has gone on to its end");
        Expect(IsEnabled(dialog, APPLY_BUTTON), Rule::READY_AGAIN, "Apply is greyed after the abort");
    });
}

void PlanRunChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects) {
        const std::string start = "4/" + effect.word + "/";
        plan.push_back({4, start + "run", effect.word, [&] { CheckRuns(module, effect); }});
        plan.push_back({4, start + "display", effect.word, [&] { CheckDisplay(module, effect); }});
        plan.push_back({4, start + "abort-run", effect.word, [&] { CheckAborts(module, effect); }});
        plan.push_back({4, start + "meanwhile", effect.word, [&] { CheckMeanwhile(module, effect); }});
    }
}
