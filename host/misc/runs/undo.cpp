// Undo and redo, kept beside the images by their records' addresses. A step is a whole picture, copied once when a
// run begins; after that steps and images only change pictures with each other. Where a host keeps no steps, a run's
// is there all the same, for its seed, but holds no picture.

#include "host/misc/runs/undo.h"

#include "host/misc/joining.h"
#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/runs/seeds.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

static constexpr uint32_t LOCK_WAIT = 1000;   // milliseconds; a preview holds an idle image's lock only for a copy

struct UndoStep {
    ImageRecord picture = {};   // without pixels where none are kept
    std::string label;
    uint64_t thread = 0;          // that recorded it
    ThreadHandle run = nullptr;   // the run that recorded it; null when none did, or it has been taken back since
    uint64_t state = 0;           // the number of what it holds
    uint64_t recorded = 0;        // larger for those recorded later, of all images
    bool ofRun = false;           // a run has recorded it, and not an edit
    uint32_t runSeed = 0;         // the image's when that began
    ImageSeeds seeds = {};        // the image's at the other side of the step
};

struct History {
    std::vector<UndoStep> undo, redo;   // the latest last
    // In case the step that the latest run has recorded is taken back: what redo was then, and the steps that are too many
    // with that one.
    std::vector<UndoStep> heldRedo, heldOldest;
    uint64_t heldAt = 0;      // the number of what the image held then
    std::string shownLabel;   // what was handed out last
    uint64_t state = 0;       // the number of what the image holds
    bool lastRunAborted = false;
};

// A routine that looks at a step (MiscLookBeforeRun) may ask for what there is, and may run out of memory.
static std::recursive_mutex guard;
static int32_t looks;   // such routines at work
static size_t stepsKept = 20;
static uint64_t latestState;

// The caller holds the guard. Never destroyed: run threads may outlive statics.
static std::unordered_map<const ImageRecord *, History> &Histories()
{
    static auto &histories = *new std::unordered_map<const ImageRecord *, History>;
    return histories;
}

static void DropOldest(std::vector<UndoStep> &steps, size_t count)
{
    for (size_t i = 0; i < count; ++i) FreePicture(steps[i].picture);
    steps.erase(steps.begin(), steps.begin() + ptrdiff_t(count));
}

static void KeepAtMost(std::vector<UndoStep> &steps, size_t count)
{
    if (steps.size() > count) DropOldest(steps, steps.size() - count);
}

static UndoStep TakeLast(std::vector<UndoStep> &steps)
{
    UndoStep step = std::move(steps.back());
    steps.pop_back();
    return step;
}

//---- A run's step

// The system gives a new thread the id of one that has ended; these numbers are never used twice.
static uint64_t ThisThread()
{
    static std::atomic<uint64_t> latest{0};
    static thread_local const uint64_t own = ++latest;
    return own;
}

static void DropAll(std::vector<UndoStep> &steps) { DropOldest(steps, steps.size()); }

static void DropHeld(History &history)
{
    DropAll(history.heldRedo);
    DropAll(history.heldOldest);
}

static void HoldSteps(History &history, size_t undoSteps)
{
    history.heldRedo.swap(history.redo);
    history.heldAt = history.state;
    if (history.undo.size() <= undoSteps) return;
    const auto end = history.undo.end() - ptrdiff_t(undoSteps);
    history.heldOldest.assign(std::make_move_iterator(history.undo.begin()), std::make_move_iterator(end));
    history.undo.erase(history.undo.begin(), end);
}

// A run that has come to nothing leaves what could be undone and done again. After one that has made something the image
// holds something else, which those steps do not follow.
static void BringHeldBack(History &history)
{
    if (history.state != history.heldAt) return;
    if (history.redo.empty()) history.redo.swap(history.heldRedo);
    history.undo.insert(history.undo.begin(), std::make_move_iterator(history.heldOldest.begin()),
                        std::make_move_iterator(history.heldOldest.end()));
    history.heldOldest.clear();
}

// What is no longer needed is freed first, so that the new step can have its memory. Answers whether it is to hold a
// picture.
static bool MakeRoom(ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    History &history = Histories()[image];
    DropHeld(history);
    const size_t before = std::max(stepsKept, size_t(1)) - 1;
    if (stepsKept > 0 && SharedRead(image->effectThread)) HoldSteps(history, before);
    DropAll(history.redo);
    KeepAtMost(history.undo, before);
    history.lastRunAborted = false;
    return stepsKept > 0;
}

void KPZAPI UndoUtility(ImageRecord *image, int32_t picture, int32_t mask, int32_t objects, int32_t newObject,
                        const char *label)
{
    LogCall("UndoUtility", label, image, picture, mask, objects, newObject, label);
    const bool kept = MakeRoom(image);
    UndoStep step;
    const int32_t firstBlock = HostBlocksOfWork();
    if (kept) CopyPicture(step.picture, *image);
    if (label) step.label = label;
    step.thread = ThisThread();
    step.run = SharedRead(image->effectThread);
    step.ofRun = step.run != nullptr;
    step.seeds = SeedsOf(image);
    step.runSeed = step.seeds.current;
    if (step.ofRun) BeginSeededRun(image);
    const std::lock_guard<std::recursive_mutex> hold(guard);
    History &history = Histories()[image];
    step.recorded = ++latestState;
    step.state = std::exchange(history.state, latestState);
    history.undo.push_back(std::move(step));
    HostKeepBlocks(firstBlock);
}

// A run may end before it has recorded a step: another one's is not taken back for it.
void TakeRunBack(ImageRecord *image, bool aborted)
{
    UndoStep step;
    {
        const std::lock_guard<std::recursive_mutex> hold(guard);
        // One that has recorded nothing has no history either; a run that ends for want of memory gets no memory for one.
        if (!aborted && !Histories().contains(image)) return;
        History &history = Histories()[image];
        history.lastRunAborted = aborted;
        const bool recorded = !history.undo.empty() && history.undo.back().thread == ThisThread();
        if (recorded) step = TakeLast(history.undo), history.state = step.state;
        BringHeldBack(history);
        if (!recorded) return;
    }
    ExchangePictures(*image, step.picture);
    FreePicture(step.picture);
}

void KPZAPI ThreadAbortedUtility(ImageRecord *image)
{
    LogCall("ThreadAbortedUtility", nullptr, image);
    TakeRunBack(image, true);
}

void ForgetLastAbort(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    Histories()[image].lastRunAborted = false;
}

BOOL KPZAPI MiscLastRunAborted(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    return found != Histories().end() && found->second.lastRunAborted;
}

//---- Back and forth

void MakeDisplayCurrent(ImageRecord *image)
{
    if (image->bitsPerPixel == 24 && KPZ_GetDisplayDepth() == 8) {
        Update8BitVersion(image->pixels, &image->displayCopy, image->width, image->height, image->red, image->green,
                          image->blue, 0);
    }
    KPZ_AdjustPalette(image->red, image->green, image->blue, image->paletteEntries, &image->paletteChanged,
                      image->bitsPerPixel);
}

static bool LockImage(ImageRecord *image)
{
    if (SharedRead(image->effectThread) || !KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) return false;
    if (KPZ_GetMutexSem(image->objectLock, LOCK_WAIT)) return true;
    KPZ_ReleaseMutexSem(image->imageLock);
    return false;
}

static void UnlockImage(ImageRecord *image)
{
    KPZ_ReleaseMutexSem(image->objectLock);
    KPZ_ReleaseMutexSem(image->imageLock);
}

// An edit draws nothing: the image's seed is left as it is. A run's is the one that the run began with, whatever was
// set since.
static void ExchangeSeeds(ImageRecord *image, UndoStep &step, bool back)
{
    if (!step.ofRun) return;
    const ImageSeeds seeds = SeedsOf(image);
    if (back) step.seeds.current = step.runSeed;
    SetSeeds(image, step.seeds);
    step.seeds = seeds;
}

// Lets the image change pictures with the last of `from`, which then stands at the end of `to`.
static bool MoveStep(ImageRecord *image, std::vector<UndoStep> History::*from, std::vector<UndoStep> History::*to)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    History &history = Histories()[image];
    if ((history.*from).empty() || !(history.*from).back().picture.pixels) return false;
    DropHeld(history);
    UndoStep step = TakeLast(history.*from);
    ExchangePictures(*image, step.picture);
    std::swap(history.state, step.state);
    ExchangeSeeds(image, step, to == &History::redo);
    step.run = nullptr;
    (history.*to).push_back(std::move(step));
    return true;
}

static BOOL GoBackOrForth(ImageRecord *image, std::vector<UndoStep> History::*from, std::vector<UndoStep> History::*to)
{
    if (!LockImage(image)) return FALSE;
    const int32_t width = image->width, height = image->height;
    const bool moved = MoveStep(image, from, to);
    if (moved) MakeDisplayCurrent(image);
    UnlockImage(image);
    if (moved) KPZ_InvalidateRect(KPZ_GetClientHwnd(image->window, 0), nullptr, FALSE);
    if (image->width != width || image->height != height) {
        SizeWindow(image->window, image->windowPlacement[0], image->windowPlacement[1], image->width, image->height);
    }
    return moved;
}

BOOL KPZAPI MiscUndo(ImageRecord *image) { return GoBackOrForth(image, &History::undo, &History::redo); }

BOOL KPZAPI MiscRedo(ImageRecord *image) { return GoBackOrForth(image, &History::redo, &History::undo); }

// The seed of the run that made nothing has been drawn with all the same: the next one is fresh.
static bool DropIfUnchanged(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    if (found == Histories().end() || found->second.undo.empty()) return false;
    History &history = found->second;
    if (!history.undo.back().run) return false;
    if (!SamePictures(history.undo.back().picture, *image)) return DropHeld(history), false;
    UndoStep step = TakeLast(history.undo);
    history.state = step.state;
    BringHeldBack(history);
    FreePicture(step.picture);
    return true;
}

BOOL KPZAPI MiscDropUnchangedRun(ImageRecord *image)
{
    if (!LockImage(image)) return FALSE;
    const bool dropped = DropIfUnchanged(image);
    UnlockImage(image);
    return dropped;
}

//---- What there is

static int32_t CountOf(const std::vector<UndoStep> &steps)
{
    return int32_t(std::count_if(steps.begin(), steps.end(), [](const UndoStep &step) { return step.picture.pixels; }));
}

int32_t KPZAPI MiscUndoCount(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    return found == Histories().end() ? 0 : CountOf(found->second.undo);
}

int32_t KPZAPI MiscRedoCount(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    return found == Histories().end() ? 0 : CountOf(found->second.redo);
}

static const char *LabelOfLast(const ImageRecord *image, std::vector<UndoStep> History::*steps)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    if (found == Histories().end() || (found->second.*steps).empty()) return nullptr;
    found->second.shownLabel = (found->second.*steps).back().label;
    return found->second.shownLabel.c_str();
}

const char *KPZAPI MiscUndoLabel(const ImageRecord *image) { return LabelOfLast(image, &History::undo); }
const char *KPZAPI MiscRedoLabel(const ImageRecord *image) { return LabelOfLast(image, &History::redo); }

// A step that can be undone keeps the number of what was before it, one that can be redone that of what comes of it; the
// other one is its neighbour's, or the image's own.
static void DescribeStep(const History &history, size_t place, HistoryStep &told)
{
    const size_t undone = history.undo.size();
    const bool ahead = place >= undone;
    const size_t back = ahead ? history.redo.size() - 1 - (place - undone) : 0;   // the next one stands last
    const UndoStep &step = ahead ? history.redo[back] : history.undo[place];
    told = {};
    step.label.copy(told.label, sizeof told.label - 1);
    if (ahead) {
        told.before = back + 1 < history.redo.size() ? history.redo[back + 1].state : history.state;
        told.after = step.state;
    } else {
        told.before = step.state;
        told.after = place + 1 < undone ? history.undo[place + 1].state : history.state;
    }
}

BOOL KPZAPI MiscStepAt(const ImageRecord *image, int32_t place, HistoryStep *step)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    if (found == Histories().end() || place < 0) return FALSE;
    const History &history = found->second;
    if (size_t(place) >= history.undo.size() + history.redo.size()) return FALSE;
    DescribeStep(history, size_t(place), *step);
    return TRUE;
}

uint64_t KPZAPI MiscStateNumber(const ImageRecord *image)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    return found == Histories().end() ? 0 : found->second.state;
}

BOOL KPZAPI MiscLookBeforeRun(const ImageRecord *image, LookRoutine look, void *context)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    const ThreadHandle run = SharedRead(image->effectThread);
    if (!run || found == Histories().end() || found->second.undo.empty()) return FALSE;
    const UndoStep &step = found->second.undo.back();
    if (step.run != run || !step.picture.pixels) return FALSE;
    ++looks;
    look(context, &step.picture);
    --looks;
    return TRUE;
}

BOOL KPZAPI MiscLookAtLastStep(const ImageRecord *image, LookRoutine look, void *context)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    if (found == Histories().end() || found->second.undo.empty()) return FALSE;
    const UndoStep &step = found->second.undo.back();
    if (!step.picture.pixels) return FALSE;
    ++looks;
    look(context, &step.picture);
    --looks;
    return TRUE;
}

void KPZAPI MiscKeepUndoSteps(int32_t steps)
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    stepsKept = size_t(std::max(steps, 0));
}

void KPZAPI MiscForgetUndo(ImageRecord *image)
{
    ForgetSeeds(image);
    HostForgetRun(image);
    const std::lock_guard<std::recursive_mutex> hold(guard);
    const auto found = Histories().find(image);
    if (found == Histories().end()) return;
    DropHeld(found->second);
    for (std::vector<UndoStep> *steps : {&found->second.undo, &found->second.redo}) DropAll(*steps);
    Histories().erase(found);
}

void KPZAPI MiscFreePicture(ImageRecord *image) { FreePicture(*image); }

//---- When memory is short

// A run under way needs the step that it has recorded for its abort.
static bool NeedsLastStep(const ImageRecord *image, const History &history)
{
    if (history.undo.empty() || !history.undo.back().run || !HostRunUnderWay(image)) return false;
    return history.undo.back().run == SharedRead(image->effectThread);
}

// What only an abort would bring back goes first, then the oldest of all images' steps: those are the least missed.
BOOL KPZAPI GiveUpOldestStep()
{
    const std::lock_guard<std::recursive_mutex> hold(guard);
    if (looks) return FALSE;   // steps must stay where they are
    std::vector<UndoStep> *oldest = nullptr;
    for (auto &[image, history] : Histories()) {
        for (std::vector<UndoStep> *steps : {&history.heldRedo, &history.heldOldest})
            if (!steps->empty()) return DropOldest(*steps, 1), TRUE;
        const size_t needed = NeedsLastStep(image, history) ? 1 : 0;
        for (std::vector<UndoStep> *steps : {&history.undo, &history.redo}) {
            if (steps->size() <= needed) continue;
            if (!oldest || steps->front().recorded < oldest->front().recorded) oldest = steps;
        }
    }
    if (oldest) DropOldest(*oldest, 1);
    return oldest != nullptr;
}
