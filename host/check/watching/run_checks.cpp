// Runs: blocks as InitializeFilter fills them, threads, locks, undo, aborts, progress and the end, looked at from within
// the worker and from the dialog.

#include "host/check/watching/watch.h"

#include <chrono>
#include <memory>

constexpr int PATIENCE = 20000;   // milliseconds that one thread of a check waits for the other, at most

static int32_t UndoSteps(ImageRecord *image) { return watch.driver->undoSteps ? watch.driver->undoSteps(image) : 0; }

static void NoteWithoutUndo()
{
    if (!watch.driver->undoSteps) Note("undo is looked at by its pixels only: the driver has no undoSteps");
    if (!watch.driver->undo) Note("undone pixels are not looked at: the driver has no undo");
}

//---- Blocks

static void LookAtBlock(Play &play)
{
    Doing("called InitializeFilter for a block of a new image");
    ImageRecord *image = OwnImage();
    struct {
        EffectBlock common;
        uint8_t own[16];
    } block = {};
    FilterHeader &header = block.common.header;
    block.common.view.blockSize = sizeof block;
    for (uint8_t &byte : block.own) byte = 0x5A;
    header.image = image;
    header.block = &block.common;
    header.priority = 3;
    snprintf(header.title, sizeof header.title, "to be emptied");
    InitializeFilter(&header, image);
    const std::string difference = DifferenceOf(block.common.view, *image);
    Expect(difference.empty(), Rule::HOST_BLOCK_FILLED, difference);
    Expect(header.previewMode == SCOPE_IMAGE, Rule::HOST_BLOCK_FILLED,
           "previewMode is " + std::to_string(header.previewMode) + ", and no object is selected");
    Expect(!header.title[0], Rule::HOST_BLOCK_FILLED, "the title is not empty");
    Expect(!header.worker, Rule::HOST_BLOCK_FILLED, "the worker is not null");
    Expect(block.common.view.blockSize == int32_t(sizeof block), Rule::HOST_BLOCK_LEFT, "blockSize was written");
    Expect(header.image == image && header.block == &block.common, Rule::HOST_BLOCK_LEFT,
           "header->image or header->block was written");
    for (const uint8_t byte : block.own)
        if (!Expect(byte == 0x5A, Rule::HOST_BLOCK_LEFT, "a byte behind the header was written")) break;
    (void)play;
}

static void Blocks() { InCommand({LookAtBlock}); }

//---- A whole run

// Between the worker and the dialogs' thread, which is to be kept busy while the worker reports.
struct Meeting {
    std::atomic<bool> workerReady{false}, dialogBusy{false}, reported{false};
    std::atomic<int32_t> undoBefore{0};
};

static void LookFromWorker(EffectBlock &block, Run &run, Meeting &meeting)
{
    ImageRecord &image = *run.image;
    const std::string difference = DifferenceOf(block.view, image);
    Expect(difference.empty(), Rule::HOST_RUN_VIEW, difference);
    Expect(!SharedRead(*block.view.abortFlag), Rule::HOST_REQUEST,
           "it was set before the run, and the worker finds it set");
    Expect(!OtherGets(image.imageLock), Rule::HOST_RUN_LOCKS,
           "another thread got the image lock while the worker worked");
    Expect(!OtherGets(image.objectLock), Rule::HOST_RUN_LOCKS,
           "another thread got the object lock while the worker worked");
    if (watch.driver->undoSteps)
        Expect(UndoSteps(&image) == meeting.undoBefore + 1, Rule::HOST_UNDO,
               "when the worker was called there were " + std::to_string(UndoSteps(&image) - meeting.undoBefore) +
                   " new steps");

    meeting.workerReady = true;
    ComesToHold(PATIENCE, [&] { return meeting.dialogBusy.load(); });
    for (int32_t tenths = 0; tenths <= 10; ++tenths) {
        IncrementProgress(block.view.progressWindow, block.view.progress, tenths);
        IncrementProgress(block.view.progressWindow, nullptr, tenths);
    }
    ResetProgress(block.view.progressWindow, block.view.progress);
    ResetProgress(block.view.progressWindow, nullptr);
    meeting.reported = true;
    const size_t bytes = run.before.size();
    for (size_t i = 0; i < bytes; ++i) image.pixels[i] ^= 0xFF;
}

// The dialogs' thread does nothing else until the worker has reported: progress that waited for it would wait for ever.
static void KeepBusy(Play &play, Run &run, Meeting &meeting)
{
    if (!meeting.workerReady) {
        if (run.finished == 0) Again(play);
        return;
    }
    Doing("called the four routines of progress from a worker while the dialogs' thread was busy");
    meeting.dialogBusy = true;
    Expect(ComesToHold(5000, [&] { return meeting.reported.load(); }), Rule::HOST_PROGRESS,
           "they had not returned after 5 seconds, and waited for the dialogs' thread");
    Doing("ran a worker on an RGB picture of 30 x 20");
    Blame(Rule::HOST_LIVES, Rule::HOST_FINISHED);
    play.waiting = run.finished == 0;
}

// Starts a run while the object lock is another thread's: with the image lock alone it may not have changed anything yet.
static void StartWithoutObjectLock(Play &play, Run &run)
{
    ImageRecord &image = *run.image;
    std::atomic<bool> held{false};
    std::thread holder([&] {
        KPZ_GetMutexSem(image.objectLock, 1000);
        held = true;
        ComesToHold(PATIENCE, [&] { return run.started > 0; });
        const bool imageFirst = ComesToHold(3000, [&] { return !OtherGets(image.imageLock); });
        Expect(imageFirst, Rule::HOST_RUN_LOCKS,
               "the object lock was another thread's, and the run had not taken the image lock after 3 seconds");
        ComesToHold(50, [] { return false; });
        Expect(SharedRead(image.abortRequest) != 0, Rule::HOST_REQUEST, "it was cleared before the run had both locks");
        Expect(run.worked == 0, Rule::HOST_RUN_LOCKS, "the worker was called without the object lock");
        KPZ_ReleaseMutexSem(image.objectLock);
    });
    ComesToHold(PATIENCE, [&] { return held.load(); });
    StartRun(play, run, false);
    holder.join();
}

static void LookAtResult(Run &run, Meeting &meeting)
{
    ImageRecord &image = *run.image;
    Expect(run.started == 1, Rule::HOST_THREAD, "the routine was called " + std::to_string(run.started) + " times");
    Expect(run.worked == 1, Rule::HOST_RUN_STARTS, "the worker was called " + std::to_string(run.worked) + " times");
    Expect(run.finished == 1, Rule::HOST_FINISHED, "it came " + std::to_string(run.finished) + " times");
    if (run.worked == 0) return;
    std::vector<uint8_t> inverted = run.before;
    for (uint8_t &byte : inverted) byte ^= 0xFF;
    Expect(BytesOf(image) == inverted, Rule::HOST_RUN_STARTS, "the image has not the bytes that the worker has left");
    if (watch.driver->undoSteps)
        Expect(UndoSteps(&image) == meeting.undoBefore + 1, Rule::HOST_UNDO,
               "after the run there were " + std::to_string(UndoSteps(&image) - meeting.undoBefore) + " new steps");
    if (!watch.driver->undo) return;
    Doing("undid a run");
    watch.driver->undo(&image);
    Expect(BytesOf(image) == run.before, Rule::HOST_UNDO, "the image is not as it was before the run");
}

static void WholeRun()
{
    NoteWithoutUndo();
    Run run;
    Meeting meeting;
    run.work = [&](EffectBlock &block) { LookFromWorker(block, run, meeting); };
    InCommand({
        [&](Play &play) {
            run.image = OwnImage();
            meeting.undoBefore = UndoSteps(run.image);
            Doing("ran a worker on an RGB picture of 30 x 20, with abortRequest set before");
            SharedWrite(run.image->abortRequest, 1);
            StartWithoutObjectLock(play, run);
        },
        [&](Play &play) { KeepBusy(play, run, meeting); },
        [&](Play &) { LookAtResult(run, meeting); },
    });
}

//---- Aborts

static void Abort()
{
    Run run;
    std::atomic<bool> halfway{false}, seen{false};
    int32_t undoBefore = 0;
    run.work = [&](EffectBlock &block) {
        for (size_t i = 0; i < run.before.size() / 2; ++i) block.view.pixels[i] ^= 0xFF;
        halfway = true;
        seen = ComesToHold(PATIENCE, [&] { return SharedRead(*block.view.abortFlag) || run.end; }) && !run.end;
    };
    InCommand({
        [&](Play &play) {
            run.image = OwnImage();
            undoBefore = UndoSteps(run.image);
            Doing("set abortRequest while a worker was half through its picture");
            StartRun(play, run, false);
        },
        [&](Play &play) {
            if (!halfway) return run.finished ? void() : Again(play);
            SharedWrite(run.image->abortRequest, 1);
            play.waiting = true;
        },
        [&](Play &) {
            if (!run.worked) return;
            Expect(seen, Rule::HOST_ABORT, "the worker's abort flag did not show it");
            Expect(BytesOf(*run.image) == run.before, Rule::HOST_ABORTED, "the image is not as it was before the run");
            const int32_t steps = UndoSteps(run.image) - undoBefore;
            Expect(steps == 0, Rule::HOST_ABORTED,
                   "there are " + std::to_string(steps) + " undo steps more than before");
        },
    });
}

//---- A lock that is refused

static void LockRefused()
{
    Run run;
    std::thread holder;
    std::atomic<bool> held{false};
    std::chrono::steady_clock::time_point begun;
    double seconds = 0;
    InCommand({
        [&](Play &play) {
            run.image = OwnImage();
            Doing("ran a worker while another thread held the image lock");
            holder = std::thread([&] {
                KPZ_GetMutexSem(run.image->imageLock, 1000);
                held = true;
                ComesToHold(2 * PATIENCE, [&] { return run.end.load(); });
                KPZ_ReleaseMutexSem(run.image->imageLock);
            });
            ComesToHold(PATIENCE, [&] { return held.load(); });
            SharedWrite(run.image->abortRequest, 1);
            begun = std::chrono::steady_clock::now();
            StartRun(play, run, true);
        },
        [&](Play &) {
            seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
            Expect(run.worked == 0, Rule::HOST_RUN_REFUSED, "the worker was called");
            Expect(seconds > 4, Rule::HOST_RUN_REFUSED,
                   "it gave up after " + std::to_string(int(seconds * 1000)) + " ms");
            Expect(BytesOf(*run.image) == run.before, Rule::HOST_RUN_REFUSED, "the image is not as it was");
            Expect(SharedRead(run.image->abortRequest) != 0, Rule::HOST_REQUEST,
                   "it was cleared though the run had no lock");
            run.end = true;
            holder.join();
        },
    });
    run.end = true;
    if (holder.joinable()) holder.join();
}

//---- Side by side

static void SideBySide()
{
    Run first, second;
    ImageRecord *other = nullptr;
    bool met = false;
    first.work = [&](EffectBlock &) { met = ComesToHold(5000, [&] { return second.worked > 0; }); };
    second.work = [&](EffectBlock &block) {
        for (size_t i = 0; i < second.before.size(); ++i) block.view.pixels[i] ^= 0xFF;
    };
    InCommand({
        [&](Play &play) {
            first.image = OwnImage();
            Doing("ran workers on two pictures at once, without setting their threads' priority");
            other = watch.driver->openImage(11, 11, RGB);
            if (!other) return;
            second.image = other;
            StartRun(play, first, false, false);
            StartRun(play, second, true, false);
        },
        [&](Play &play) { play.waiting = other && !(first.finished && second.finished); },
        [&](Play &) {
            if (!other) return;
            Expect(met, Rule::HOST_TOGETHER,
                   "the first run's worker waited 5 seconds, and the second's was not called");
            Expect(first.finished == 1 && second.finished == 1, Rule::HOST_FINISHED, "it did not come once for each");
            if (!watch.driver->undo) return;
            Doing("undid the second of two runs that went side by side");
            watch.driver->undo(other);
            Expect(BytesOf(*other) == second.before, Rule::HOST_UNDO, "the image is not as it was before its run");
            Expect(BytesOf(*first.image) == first.before, Rule::HOST_UNDO, "it changed another image than its own");
        },
        [&](Play &) {
            if (other) watch.driver->closeImage(other);
        },
    });
}

//---- An image that closes while it runs

static void CloseRunning()
{
    Run run;
    std::atomic<bool> seen{false};
    ImageRecord *other = nullptr;
    bool closed = false;
    run.work = [&](EffectBlock &block) {
        seen = ComesToHold(PATIENCE, [&] { return SharedRead(*block.view.abortFlag) != 0; });
    };
    InCommand({
        [&](Play &play) {
            other = watch.driver->openImage(11, 11, RGB);
            run.image = other;
            if (!other) return;
            StartRun(play, run, false);
        },
        [&](Play &play) {
            if (!other || run.finished) return;
            if (!run.worked) return Again(play);
            Doing("closed a picture while a worker ran on it");
            Blame(Rule::HOST_LIVES, Rule::HOST_CLOSED_RUNNING);
            watch.told.clear();
            watch.driver->closeImage(other);
            Blame(Rule::HOST_LIVES, Rule::HOST_RETURNS);
            closed = true;
            Expect(run.finished == 1, Rule::HOST_CLOSED_RUNNING,
                   run.finished ? "RUN_FINISHED came more than once" : "RUN_FINISHED had not come when it was closed");
            Expect(seen, Rule::HOST_CLOSED_RUNNING, "the worker saw no abort request");
            bool ended = false;
            for (const Told &told : watch.told) {
                ended = ended || told.message == RUN_FINISHED;
                Expect(told.message != IMAGE_CLOSED || ended, Rule::HOST_CLOSED_RUNNING,
                       "IMAGE_CLOSED came before RUN_FINISHED");
            }
        },
    });
    if (other && !closed && IsLinked(other)) watch.driver->closeImage(other);
}

const HostCheck runChecks[] = {
    {5, "host/blocks", Blocks},
    {5, "host/run", WholeRun},
    {5, "host/abort", Abort},
    {5, "host/lock-refused", LockRefused},
    {5, "host/side-by-side", SideBySide},
    {5, "host/close-running", CloseRunning},
    {0, nullptr, nullptr},
};
