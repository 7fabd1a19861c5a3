// `velmorant batch`: many pictures through one dialog. Files are read and written on threads of their own while
// effects run; all else happens on the dialogs' thread, in Advance, after every message. A picture is opened when its
// turn to run has come and closed when its run has ended. The dialog goes when the last picture closes, so a finished
// picture is kept open until the next one has been opened.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/session.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <set>
#include <thread>
#include <vector>

enum class Stage { WAITING, READING, READ, RUNNING, WRITING, DONE };

struct Item {
    PictureFile file;
    std::string output;
    Stage stage = Stage::WAITING;
    ImageRecord *image = nullptr;
    Picture mask = {};       // taken apart, to be run after the picture
    bool maskRuns = false;   // the image is the mask, and file.picture what the picture has become
    int tenths = 0;          // of the run
    std::thread thread;      // READING, WRITING
    std::atomic<bool> threadEnded = false;
    bool threadWorked = false;   // to be looked at when the thread has ended
};

struct Batch {
    Session &session;
    HWND dialog = nullptr;
    std::deque<Item> items = {};
    std::vector<Item *> held = {};   // those between WAITING and DONE, in order
    size_t begun = 0, done = 0;      // how many have left WAITING, and have come to DONE
    ImageRecord *kept = nullptr;     // a finished picture that keeps the dialog open
    bool opened = false;             // a picture that the dialog can open on
    bool failed = false;
    bool stopping = false;   // an interrupt has been seen
    bool moved = false;      // an item has gone on to another stage
};

//---- Before anything is opened

static bool FailUsing(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

// One output per input, in a folder that exists, over no input.
static bool ListItems(const CommandLine &line, std::deque<Item> &items)
{
    std::error_code ignored;
    const std::filesystem::path folder(line.outputFolder);
    if (!std::filesystem::is_directory(folder, ignored)) return FailUsing(line.outputFolder, "is not a folder");
    std::set<std::string> names;
    for (const std::string &input : line.inputs) {
        if (input == "-") return FailUsing("-", "a batch reads files, not standard input");
        const std::filesystem::path name = std::filesystem::path(input).filename();
        if (!names.insert(name.string()).second) {
            return FailUsing(input, "another input has this name too, and both would be written to one file");
        }
        Item &item = items.emplace_back();
        item.file.name = input;
        item.output = (folder / name).string();
        if (std::filesystem::equivalent(input, item.output, ignored)) {
            return FailUsing(input, "would be written over; name another output folder");
        }
        if (!SaveSpares(line, {input, item.output})) return false;
    }
    return true;
}

//---- Stages

static void MoveTo(Batch &batch, Item &item, Stage stage)
{
    item.stage = stage;
    batch.done += stage == Stage::DONE;
    batch.moved = true;
}

static size_t CountOf(const Batch &batch, Stage stage)
{
    return size_t(std::count_if(batch.held.begin(), batch.held.end(),
                                [stage](const Item *item) { return item->stage == stage; }));
}

static void ShowShare(const Batch &batch)
{
    size_t tenths = 10 * batch.done;
    for (const Item *item : batch.held) tenths += item->stage == Stage::DONE ? 0 : size_t(item->tenths);
    const std::string counts = std::to_string(batch.done) + " of " + std::to_string(batch.items.size());
    ShowProgress(std::string(batch.session.effect->effect) + " " + counts,
                 double(tenths) / double(10 * batch.items.size()));
}

//---- Reading and writing

static void StartThread(Batch &batch, Item &item, Stage stage, bool (*work)(Item &, const CommandLine &line))
{
    const HWND window = batch.session.host.context.window;
    const CommandLine &line = *batch.session.line;
    MoveTo(batch, item, stage);
    item.threadEnded = false;
    item.thread = std::thread([&item, work, &line, window] {
        item.threadWorked = work(item, line);
        item.threadEnded = true;
        HostWake(window);
    });
}

static bool ReadItem(Item &item, const CommandLine &line)
{
    if (!Read(item.file)) return false;
    item.file.error = FaultOfArea(line, item.file.picture);
    return item.file.error.empty();
}

static bool WriteItem(Item &item, const CommandLine &line)
{
    const bool written = Write(item.file, item.output, line.quality);
    item.file.picture = {};
    return written;
}

static void Finish(Batch &batch, Item &item, const std::string &fault)
{
    MoveTo(batch, item, Stage::DONE);
    if (fault.empty()) return;
    batch.failed = true;
    Report(item.file.name, fault);
}

// Takes in a thread that has ended: its picture goes on to the next stage, or its fault is told.
static void TakeThread(Batch &batch, Item &item)
{
    const bool reading = item.stage == Stage::READING;
    item.thread.join();
    if (!item.threadWorked) {
        Finish(batch, item, reading ? item.file.error : item.output + ": " + item.file.error);
        return;
    }
    if (!batch.session.line->quiet) ReportAll(reading ? item.file.name : item.output, item.file.notices);
    MoveTo(batch, item, reading ? Stage::READ : Stage::DONE);
}

//---- Opening, running, closing

// Opens a picture that has been read and makes it active. False when the effect's command is greyed for it.
static bool OpenItem(Batch &batch, Item &item)
{
    Host &host = batch.session.host;
    item.mask = TakeMaskApart(batch.session, item.file.picture);
    item.image = OpenInput(batch.session, std::move(item.file.picture));
    if (batch.kept) CloseImage(host, batch.kept);
    batch.kept = nullptr;
    ActivateImage(host, item.image);
    const std::string fault = FaultOfType(batch.session);
    if (!fault.empty()) Finish(batch, item, fault);
    return fault.empty();
}

static void CloseItem(Batch &batch, Item &item)
{
    Host &host = batch.session.host;
    const bool last = host.context.firstImage == item.image && !item.image->next;
    if (last && batch.dialog) batch.kept = item.image;
    else CloseImage(host, item.image);
    item.image = nullptr;
}

static void RunItem(Batch &batch, Item &item)
{
    std::string fault;
    if (item.image) ActivateImage(batch.session.host, item.image);   // the first, opened before the dialog
    else if (!OpenItem(batch, item)) return CloseItem(batch, item);
    batch.session.subject = item.file.name;
    const RunOf what = item.maskRuns ? RunOf::MASK : RunOf::PICTURE;
    if (StartRun(batch.session, batch.dialog, what, fault)) {
        MoveTo(batch, item, Stage::RUNNING);
        return;
    }
    batch.failed = true;
    Finish(batch, item, fault);
    CloseItem(batch, item);
}

// The picture is closed when its mask has been opened: a dialog without pictures would go.
static void RunMask(Batch &batch, Item &item)
{
    ImageRecord *picture = item.image;
    item.image = OpenImage(batch.session.host, std::move(item.mask));
    item.mask = {};
    item.maskRuns = true;
    item.tenths = 0;
    CloseImage(batch.session.host, picture);
    RunItem(batch, item);
}

static void TakeResult(Batch &batch, Item &item)
{
    const bool aborted = MiscLastRunAborted(item.image);
    if (!aborted) (item.maskRuns ? item.mask : item.file.picture) = TakePicture(item.image);
    if (!aborted && !item.maskRuns && MaskFollows(item.mask, item.file.picture)) return RunMask(batch, item);
    CloseItem(batch, item);
    if (aborted) return Finish(batch, item, "");
    if (item.mask.pixels) JoinMask(item.file.picture, std::move(item.mask));
    StartThread(batch, item, Stage::WRITING, WriteItem);
}

//---- Interrupts

// Abort works on the active image.
static void Abort(Batch &batch, const Item &item)
{
    ActivateImage(batch.session.host, item.image);
    Press(batch.dialog, ABORT_BUTTON);
}

static void StopAtInterrupt(Batch &batch)
{
    if (batch.stopping || !Interrupted()) return;
    batch.stopping = true;
    for (const Item *item : batch.held)
        if (item->stage == Stage::RUNNING) Abort(batch, *item);
}

// A run that is just starting forgets an earlier request, so Abort is pressed again at each report.
static void OnProgress(Batch &batch, const ImageRecord *image, int tenths)
{
    for (Item *item : batch.held) {
        if (item->image != image || item->stage != Stage::RUNNING) continue;
        item->tenths = tenths;
        if (batch.stopping) Abort(batch, *item);
    }
    ShowShare(batch);
}

//---- All together

static void TakeWhatHasEnded(Batch &batch)
{
    for (Item *item : batch.held) {
        const bool threaded = item->stage == Stage::READING || item->stage == Stage::WRITING;
        if (threaded && item->threadEnded) TakeThread(batch, *item);
        if (item->stage == Stage::RUNNING && !RunUnderWay(item->image)) TakeResult(batch, *item);
    }
}

// At most two pictures per job are in memory: one that runs, and one that is being read or written.
static void StartReads(Batch &batch)
{
    const size_t limit = 2 * size_t(batch.session.line->jobs);
    std::erase_if(batch.held, [](const Item *item) { return item->stage == Stage::DONE; });
    while (batch.held.size() < limit && batch.begun < batch.items.size()) {
        Item &item = batch.items[batch.begun++];
        batch.held.push_back(&item);
        StartThread(batch, item, Stage::READING, ReadItem);
    }
}

static void StartRuns(Batch &batch)
{
    const size_t limit = size_t(batch.session.line->jobs);
    size_t runs = CountOf(batch, Stage::RUNNING);
    for (Item *item : batch.held) {
        if (runs >= limit) return;
        if (item->stage != Stage::READ) continue;
        RunItem(batch, *item);
        runs += item->stage == Stage::RUNNING;
    }
}

// The dialog's command needs an active image that it is enabled for: the first such picture opens it.
static void OpenFirst(Batch &batch)
{
    for (Item *item : batch.held) {
        if (item->stage != Stage::READ) continue;
        batch.opened = OpenItem(batch, *item);
        if (batch.opened) return;
        CloseItem(batch, *item);
    }
}

static void Step(Batch &batch)
{
    batch.moved = false;
    StopAtInterrupt(batch);
    TakeWhatHasEnded(batch);
    if (batch.stopping) return;
    if (batch.dialog) StartRuns(batch);
    else if (!batch.opened) OpenFirst(batch);
    StartReads(batch);
}

// Does all that can be done now, and again as long as that changed something: closing a picture may handle messages,
// whose news would else wait for the next one. True when nothing is left to wait for. After an interrupt pictures
// that are being read are not waited for: the file may be a pipe that nobody writes to.
static bool Advance(Batch &batch)
{
    do Step(batch);
    while (batch.moved);
    ShowShare(batch);
    if (batch.stopping) return CountOf(batch, Stage::RUNNING) + CountOf(batch, Stage::WRITING) == 0;
    return batch.done == batch.items.size();
}

static void RunBatch(Batch &batch)
{
    Host &host = batch.session.host;
    host.onProgress = [&batch](ImageRecord *image, int tenths) { OnProgress(batch, image, tenths); };
    WaitUntil([&batch] { return Advance(batch) || batch.opened; });
    if (batch.opened && !batch.stopping) {
        ActInDialog(host, batch.session.effect->commandOffset, [&batch](HWND dialog) {
            batch.dialog = dialog;
            WaitUntil([&batch] { return Advance(batch); });
            Press(dialog, CLOSE_BUTTON);
        });
    }
    host.onProgress = nullptr;
    EraseProgress();
}

int ApplyToMany(const CommandLine &line)
{
    Session session;
    Batch batch = {.session = session};
    if (!ListItems(line, batch.items) || !ObjectsSpareInput(line, 0)) return EXIT_FAILED;
    const int exitCode = OpenSession(session, line);
    if (exitCode != EXIT_DONE) return exitCode;

    const HWND window = session.host.context.window;
    HoldInterrupts([window] { HostWake(window); });
    RunBatch(batch);
    if (batch.stopping) std::_Exit(EXIT_INTERRUPTED);   // not waiting for what is being read
    ReleaseInterrupts();
    CloseSession(session);
    return batch.failed || batch.done < batch.items.size() ? EXIT_FAILED : EXIT_DONE;
}
