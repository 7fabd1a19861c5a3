// `velmorant batch`: many pictures through the same steps. Twice as many threads as jobs each take a picture from reading to
// writing; as many as there are jobs run at a time, while the others read and write. Everything that they share is
// looked at under one lock, and what there is to say is said there too.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/memory.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/paths/collisions.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

enum class Stage { WAITING, READING, READ, RUNNING, WRITING, DONE };

struct Batch;

struct Item {
    std::string input, output;
    Batch *batch = nullptr;
    uint32_t number = 0;   // what it adds to the seeds
    Stage stage = Stage::WAITING;
    int tenths = 0;       // of all steps
    uint64_t bytes = 0;   // of the picture's planes; 0 until it has been read
    RunPointer run = {};
};

struct Batch {
    const CommandLine &line;
    StepsPointer steps = {};
    std::deque<Item> items = {};
    std::mutex lock = {};   // of all that follows, and of the items' stages
    std::condition_variable moved = {};
    uint64_t free = UINT64_MAX;   // memory to share out, when nobody has said how many jobs
    uint64_t largest = 0;         // bytes of the largest picture's planes so far
    size_t begun = 0, done = 0;   // how many have left WAITING, and have come to DONE
    int running = 0;
    bool failed = false;
    bool stopping = false;   // an interrupt has been seen
};

//---- Before anything is opened

static bool FailUsing(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

// One output per input, in a folder that exists, over no input.
static bool ListItems(Batch &batch)
{
    const CommandLine &line = batch.line;
    std::error_code ignored;
    const std::filesystem::path folder = PathOf(line.outputFolder);
    if (!std::filesystem::is_directory(folder, ignored)) return FailUsing(line.outputFolder, "is not a folder");
    std::vector<std::string> names;
    for (const std::string &input : line.inputs) {
        if (input == "-") return FailUsing("-", "a batch reads files, not standard input");
        names.push_back(WithoutFolder(input));
        Item &item = batch.items.emplace_back();
        item.batch = &batch;
        item.input = input;
        item.number = line.sameSeed ? 0 : uint32_t(batch.items.size() - 1);
        item.output = NameOf(folder / PathOf(names.back()));
        if (std::filesystem::equivalent(PathOf(input), PathOf(item.output), ignored)) {
            return FailUsing(input, "would be written over; name another output folder");
        }
        if (!SaveSpares(line, {input, item.output})) return false;
    }
    const auto [one, other] = NamesOfOneFile(line.outputFolder, names);
    if (other)
        return FailUsing(line.inputs[other], "would be written to one file with another input, " + line.inputs[one]);
    return true;
}

//---- Stages; the caller holds the lock

static void ShowShare(const Batch &batch)
{
    size_t tenths = 10 * batch.done;
    for (size_t i = 0; i < batch.begun; ++i) {
        const Item &item = batch.items[i];
        if (item.stage != Stage::DONE) tenths += size_t(item.tenths);
    }
    const std::string counts = std::to_string(batch.done) + " of " + std::to_string(batch.items.size());
    const size_t steps = batch.line.steps.size();
    const std::string what = steps > 1 ? std::to_string(steps) + " steps," : batch.line.steps[0].effect;
    ShowProgress(what + " " + counts, double(tenths) / double(10 * batch.items.size()));
}

static void MoveTo(Batch &batch, Item &item, Stage stage)
{
    batch.running += (stage == Stage::RUNNING) - (item.stage == Stage::RUNNING);
    batch.done += stage == Stage::DONE;
    item.stage = stage;
    ShowShare(batch);
    batch.moved.notify_all();
}

static void Tell(const Batch &batch, const std::string &subject, const std::vector<std::string> &notices)
{
    if (!batch.line.quiet) ReportAll(subject, notices);
}

static void Fault(Batch &batch, Item &item)
{
    batch.failed = true;
    MoveTo(batch, item, Stage::DONE);
}

//---- One picture, on its thread

static int OnProgress(void *context, int step, int steps, int tenths)
{
    Item &item = *static_cast<Item *>(context);
    const std::lock_guard hold(item.batch->lock);
    item.tenths = (10 * step + tenths) / steps;
    ShowShare(*item.batch);
    return item.batch->stopping;
}

static uint64_t BytesOf(const vlm_picture *picture)
{
    const vlm_type type = vlm_picture_type(picture);
    const int bits = (type == VLM_RGB ? 24 : type == VLM_ONE_BIT ? 1 : 8) + vlm_picture_mask_bits(picture);
    return uint64_t(vlm_picture_height(picture)) * (uint64_t(vlm_picture_width(picture)) * uint64_t(bits) / 8 + 4);
}

static PicturePointer ReadItem(Batch &batch, Item &item)
{
    PicturePointer picture = Read(item.input, batch.line.allowHuge);
    const std::vector<std::string> notices = Notices();
    const std::lock_guard hold(batch.lock);
    if (picture) {
        item.bytes = BytesOf(picture.get());
        batch.largest = std::max(batch.largest, item.bytes);
        Tell(batch, item.input, notices);
        MoveTo(batch, item, Stage::READ);
    } else if (!batch.stopping) {
        ReportLine(vlm_error_line());
        Fault(batch, item);
    }
    return picture;
}

// False when it is not to begin any more.
static bool WaitForTurn(Batch &batch, Item &item)
{
    std::unique_lock hold(batch.lock);
    batch.moved.wait(hold, [&batch] { return batch.running < batch.line.jobs || batch.stopping; });
    if (batch.stopping) return false;
    item.run = MakeRun(batch.line, item.number);
    vlm_run_set_progress(item.run.get(), OnProgress, &item);
    vlm_run_set_restoring(item.run.get(), 0);
    MoveTo(batch, item, Stage::RUNNING);
    return true;
}

static bool RunItem(Batch &batch, Item &item, vlm_picture *picture)
{
    const StepsPointer own = item.number ? WithSeedsFrom(batch.line, batch.steps.get(), item.number) : nullptr;
    const vlm_code code = vlm_apply(own ? own.get() : batch.steps.get(), picture, item.run.get());
    const std::vector<std::string> notices = Notices();
    const std::lock_guard hold(batch.lock);
    ReportAll(item.input, notices);
    if (code == VLM_OK) {
        MoveTo(batch, item, Stage::WRITING);
        return true;
    }
    if (code != VLM_ABORTED) Report(item.input, vlm_error_line());
    Fault(batch, item);
    return false;
}

static void WriteItem(Batch &batch, Item &item, const vlm_picture *picture)
{
    const bool written = Write(picture, picture, item.output, batch.line.quality);
    const std::vector<std::string> notices = Notices();
    const std::lock_guard hold(batch.lock);
    if (!written) {
        Report(item.input, vlm_error_line());
        return Fault(batch, item);
    }
    Tell(batch, item.output, notices);
    MoveTo(batch, item, Stage::DONE);
}

static void DoItem(Batch &batch, Item &item)
{
    const PicturePointer picture = ReadItem(batch, item);
    if (!picture || !WaitForTurn(batch, item)) return;
    if (RunItem(batch, item, picture.get())) WriteItem(batch, item, picture.get());
}

// Pictures that are in memory, or will be in a moment.
static std::vector<uint64_t> BytesHeld(const Batch &batch)
{
    std::vector<uint64_t> held;
    for (size_t i = 0; i < batch.begun; ++i)
        if (batch.items[i].stage != Stage::DONE) held.push_back(batch.items[i].bytes);
    return held;
}

// Waits until there is room for another picture. Null when there is none to begin any more.
static Item *NextItem(Batch &batch)
{
    std::unique_lock hold(batch.lock);
    batch.moved.wait(hold, [&batch] {
        const bool none = batch.stopping || batch.begun == batch.items.size();
        return none || batch.free == UINT64_MAX || HasRoom(batch.free, BytesHeld(batch), batch.largest);
    });
    if (batch.stopping || batch.begun == batch.items.size()) return nullptr;
    Item &item = batch.items[batch.begun++];
    item.stage = Stage::READING;
    return &item;
}

static void DoItems(Batch &batch)
{
    while (Item *item = NextItem(batch)) {
        try {
            DoItem(batch, *item);
        } catch (const std::bad_alloc &) {
            const std::lock_guard hold(batch.lock);
            Report(item->input, "out of memory");
            Fault(batch, *item);
        }
    }
}

// Fewer where the system refuses more; without any the work is done here.
static std::vector<std::thread> StartThreads(Batch &batch, size_t count)
{
    std::vector<std::thread> threads;
    threads.reserve(count);
    try {
        while (threads.size() < count) threads.emplace_back(DoItems, std::ref(batch));
    } catch (const std::exception &) {
        if (threads.empty()) DoItems(batch);
    }
    return threads;
}

//---- All together

// On the thread that hears of interrupts.
static void Stop(Batch &batch)
{
    const std::lock_guard hold(batch.lock);
    batch.stopping = true;
    for (size_t i = 0; i < batch.begun; ++i)
        if (batch.items[i].stage == Stage::RUNNING) vlm_run_cancel(batch.items[i].run.get());
    batch.moved.notify_all();
}

// After an interrupt pictures that are being read are not waited for: the file may be a pipe that nobody writes to.
static bool IsOver(const Batch &batch)
{
    if (!batch.stopping) return batch.done == batch.items.size();
    return std::none_of(batch.items.begin(), batch.items.end(),
                        [](const Item &item) { return item.stage == Stage::RUNNING || item.stage == Stage::WRITING; });
}

static void RunBatch(Batch &batch)
{
    const size_t count = std::min(2 * size_t(batch.line.jobs), batch.items.size());
    std::vector<std::thread> threads = StartThreads(batch, count);
    {
        std::unique_lock hold(batch.lock);
        ShowShare(batch);
        batch.moved.wait(hold, [&batch] { return IsOver(batch); });
        EraseProgress();
        if (batch.stopping) std::_Exit(EXIT_INTERRUPTED);   // not waiting for what is being read
    }
    for (std::thread &thread : threads) thread.join();
}

int ApplyToMany(const CommandLine &line)
{
    Batch batch = {.line = line};
    if (!ListItems(batch) || !ObjectsSpareInput(line, 0) || !RecipeSpares(line, line.inputs)) return EXIT_FAILED;
    AllowProgress(!line.quiet);
    const int exitCode = MakeSteps(line, batch.steps);
    if (exitCode != EXIT_DONE) return exitCode;
    if (!line.saveRecipe.empty() && !KeepRecipe(line, batch.steps.get())) return EXIT_FAILED;
    if (!line.jobsGiven) batch.free = FreeMemory();
    HoldInterrupts([&batch] { Stop(batch); });
    RunBatch(batch);
    ReleaseInterrupts();
    return batch.failed ? EXIT_FAILED : EXIT_DONE;
}
