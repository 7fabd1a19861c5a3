// `velmorant batch`: many pictures through the same steps. Twice as many threads as jobs each take a picture from reading to
// writing; as many as there are jobs run at a time, while the others read and write. Everything that they share is
// looked at under one lock, and what there is to say is said there too.

#include "host/cli/batch_items.h"
#include "host/cli/batch_record.h"
#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/memory.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/paths/paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <mutex>
#include <new>
#include <random>
#include <set>
#include <thread>
#include <vector>

typedef nlohmann::ordered_json Json;

enum class Stage { WAITING, READING, READ, RUNNING, WRITING, DONE };

struct Batch;

struct Item {
    std::string input, output;
    std::string name;   // of the output, within the output folder
    Batch *batch = nullptr;
    uint32_t number = 0;   // what it adds to the seeds
    Stage stage = Stage::WAITING;
    int tenths = 0;       // of all steps
    uint64_t bytes = 0;   // of the picture's planes; 0 until it has been read
    RunPointer run = {};
    bool there = false;   // the output, which is not to be written over
    std::chrono::steady_clock::time_point start = {};
    std::vector<std::string> notices = {};
};

struct Batch {
    const CommandLine &line;
    StepsPointer steps = {};
    std::deque<Item> items = {};
    std::mutex lock = {};                // of all that follows, and of the items' stages
    std::condition_variable turn = {};   // fewer runs than jobs: one waiter may begin
    std::condition_variable room = {};   // a picture has gone, or its size is known
    std::condition_variable over = {};   // for the thread that began it all
    uint64_t free = UINT64_MAX;          // memory to share out, when nobody has said how many jobs
    uint64_t largest = 0;                // bytes of the largest picture's planes so far
    size_t begun = 0, done = 0;          // how many have left WAITING, and have come to DONE
    int running = 0;
    size_t first = 0;   // all before are DONE
    FILE *report = nullptr;
    BatchRecord record = {};
    size_t unchanged = 0;   // pictures that were written as they were
    bool failed = false;
    bool stopping = false;   // an interrupt has been seen
};

//---- Before anything is opened

static bool FailUsing(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

// Every picture has its number, whether it is left out or not: its seed does not depend on what is there already.
static bool ListItems(Batch &batch)
{
    const CommandLine &line = batch.line;
    std::vector<BatchEntry> entries;
    if (!ListBatch(line, entries)) return false;
    for (size_t i = 0; i < entries.size(); ++i) {
        const std::string output = OutputOf(line, entries[i]);
        if (!SaveSpares(line, {entries[i].input, output})) return false;
        Item &item = batch.items.emplace_back();
        item.batch = &batch;
        item.input = entries[i].input;
        item.output = output;
        item.name = entries[i].name;
        item.number = line.sameSeed ? 0 : uint32_t(i);
    }
    return true;
}

// What is there already, and is not known to be of other settings, is left out.
static void FindOutputs(Batch &batch, const CommandLine &given)
{
    const CommandLine &line = batch.line;
    std::error_code ignored;
    size_t otherwise = 0;
    ReadBatchRecord(given, batch.steps.get(), batch.record);
    for (Item &item : batch.items) {
        item.there = (line.skipExisting || line.noClobber) && std::filesystem::exists(PathOf(item.output), ignored);
        if (!item.there || line.noClobber || !WasMadeOtherwise(batch.record, item.name)) continue;
        item.there = false;
        ++otherwise;
    }
    if (otherwise && !line.quiet)
        Report(line.outputFolder, "of what is there already, " + std::to_string(otherwise) +
                                      (otherwise == 1 ? " is" : " are") +
                                      " of other settings and made again; --no-clobber keeps it");
}

static int TellPlan(const Batch &batch)
{
    for (const Item &item : batch.items) {
        const Json json = {{"file", item.input}, {"output", item.output}, {"status", item.there ? "there" : "planned"}};
        if (batch.line.report == "-") printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
        else printf("%s -> %s%s\n", item.input.c_str(), item.output.c_str(), item.there ? " (is there already)" : "");
    }
    return EXIT_DONE;
}

// Within the output folder they are made before anything is written.
static bool MakeFolders(const Batch &batch)
{
    std::set<std::filesystem::path> folders = {PathOf(batch.line.outputFolder)};
    for (const Item &item : batch.items) folders.insert(PathOf(item.output).parent_path());
    for (const std::filesystem::path &folder : folders) {
        std::error_code failure;
        std::filesystem::create_directories(folder, failure);
        if (failure) return FailUsing(NameOf(folder), failure.message());
    }
    return true;
}

static bool OpenReport(Batch &batch)
{
    const std::string &file = batch.line.report;
    if (file.empty()) return true;
    batch.report = file == "-" ? stdout : OpenByName(file, batch.line.skipExisting ? "ab" : "wb");
    return batch.report || FailUsing(file, "cannot be written");
}

// One that nobody gave is drawn here, so that the whole batch can be made again with it.
static void DrawSeeds(CommandLine &line)
{
    std::random_device fresh;
    for (GivenStep &step : line.steps) {
        const vlm_effect *effect = vlm_effect_named(step.effect.c_str());
        if (!line.steps[0].seed && !step.seed && effect && effect->draws) step.seed = uint32_t(fresh()) >> 1;
    }
}

static std::string SeedsDrawn(const CommandLine &before, const CommandLine &line)
{
    std::string seeds;
    for (size_t i = 0; i < line.steps.size(); ++i) {
        if (before.steps[i].seed || !line.steps[i].seed) continue;
        const std::string step = "step " + std::to_string(i + 1) + " (" + line.steps[i].effect + ") ";
        seeds += (seeds.empty() ? "" : ", ") + (line.steps.size() > 1 ? step : "") + "seed " +
                 std::to_string(*line.steps[i].seed);
    }
    return seeds;
}

//---- Stages; the caller holds the lock

static void ShowShare(const Batch &batch)
{
    if (!ProgressShown()) return;
    size_t tenths = 10 * batch.done;
    for (size_t i = batch.first; i < batch.begun; ++i) {
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
    const bool leaves = item.stage == Stage::RUNNING;
    batch.running += (stage == Stage::RUNNING) - leaves;
    batch.done += stage == Stage::DONE;
    item.stage = stage;
    while (batch.first < batch.begun && batch.items[batch.first].stage == Stage::DONE) ++batch.first;
    ShowShare(batch);
    if (leaves) batch.turn.notify_one();
    if (batch.free != UINT64_MAX && (stage == Stage::READ || stage == Stage::DONE)) batch.room.notify_all();
    if (batch.done == batch.items.size()) batch.over.notify_all();
}

static void Tell(const Batch &batch, const std::string &subject, const std::vector<std::string> &notices)
{
    if (!batch.line.quiet) ReportAll(subject, notices);
}

// A line for every picture that is done with, at once: what stands there holds after an interrupt too.
static void WriteReport(const Batch &batch, const Item &item, const char *status, const std::string &error)
{
    if (!batch.report) return;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - item.start;
    Json json = {{"file", item.input},
                 {"output", item.output},
                 {"status", status},
                 {"seconds", std::round(taken.count() * 1000) / 1000}};
    for (size_t i = 0; i < batch.line.steps.size(); ++i) {
        uint32_t seed;
        if (!vlm_run_seed(item.run.get(), int(i), &seed)) continue;
        if (batch.line.steps.size() == 1) json["seed"] = seed;
        else json["seeds"].push_back({{"step", i + 1}, {"seed", seed}});
    }
    json["notices"] = item.notices;
    json["error"] = error.empty() ? Json(nullptr) : Json(error);
    fprintf(batch.report, "%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
    fflush(batch.report);
}

static void Fault(Batch &batch, Item &item, const std::string &error)
{
    batch.failed = true;
    WriteReport(batch, item, "failed", error);
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
    const uint64_t row = uint64_t(vlm_picture_width(picture)) * uint64_t(bits) / 8 + 4;
    return uint64_t(vlm_picture_pages(picture)) * uint64_t(vlm_picture_height(picture)) * row;
}

static InputPicture ReadItem(Batch &batch, Item &item)
{
    item.start = std::chrono::steady_clock::now();
    InputPicture input = Read(item.input, item.output, batch.line);
    const std::vector<std::string> notices = Notices();
    item.notices = notices;
    const std::lock_guard hold(batch.lock);
    if (input.picture) {
        item.bytes = BytesOf(input.picture.get()) + BytesOf(input.whole.get());
        batch.largest = std::max(batch.largest, item.bytes);
        Tell(batch, item.input, notices);
        MoveTo(batch, item, Stage::READ);
    } else if (!batch.stopping) {
        ReportLine(input.fault);
        Fault(batch, item, input.fault);
    }
    return input;
}

// False when it is not to begin any more.
static bool WaitForTurn(Batch &batch, Item &item)
{
    std::unique_lock hold(batch.lock);
    batch.turn.wait(hold, [&batch] { return batch.running < batch.line.jobs || batch.stopping; });
    if (batch.stopping) return false;
    item.run = MakeRun(batch.line, item.number);
    if (ProgressShown()) vlm_run_set_progress(item.run.get(), OnProgress, &item);
    vlm_run_set_restoring(item.run.get(), 0);
    MoveTo(batch, item, Stage::RUNNING);
    return true;
}

static bool RunItem(Batch &batch, Item &item, vlm_picture *picture)
{
    const StepsPointer own = item.number ? WithSeedsFrom(batch.line, batch.steps.get(), item.number) : nullptr;
    const uint64_t before = vlm_picture_sum(picture);
    const vlm_code code = vlm_apply(own ? own.get() : batch.steps.get(), picture, item.run.get());
    std::vector<std::string> notices = Notices();
    const bool same = code == VLM_OK && notices.empty() && vlm_picture_sum(picture) == before;
    const std::lock_guard hold(batch.lock);
    ReportAll(item.input, notices);
    if (same) notices.push_back(NOTHING_CHANGED);   // for the report; people are told of all together
    batch.unchanged += same;
    item.notices.insert(item.notices.end(), notices.begin(), notices.end());
    if (code == VLM_OK) {
        MoveTo(batch, item, Stage::WRITING);
        return true;
    }
    if (code != VLM_ABORTED) Report(item.input, vlm_error_line());
    Fault(batch, item, vlm_error_line());
    return false;
}

static void WriteItem(Batch &batch, Item &item, InputPicture &input)
{
    const bool written = WriteResult(input, item.output, batch.line);
    const std::vector<std::string> notices = NoticesOfWriting(input, item.output, batch.line);
    const std::lock_guard hold(batch.lock);
    if (!written) {
        Report(item.input, vlm_error_line());
        return Fault(batch, item, vlm_error_line());
    }
    Tell(batch, item.output, notices);
    item.notices.insert(item.notices.end(), notices.begin(), notices.end());
    NoteMade(batch.record, item.name);
    WriteReport(batch, item, "done", "");
    MoveTo(batch, item, Stage::DONE);
}

static void LeaveOut(Batch &batch, Item &item)
{
    const std::lock_guard hold(batch.lock);
    item.start = std::chrono::steady_clock::now();
    if (!batch.line.noClobber) {
        WriteReport(batch, item, "skipped", "");
        return MoveTo(batch, item, Stage::DONE);
    }
    Report(item.output, "is there already");
    Fault(batch, item, "is there already");
}

static void DoItem(Batch &batch, Item &item)
{
    if (item.there) return LeaveOut(batch, item);
    InputPicture input = ReadItem(batch, item);
    if (!input.picture || !WaitForTurn(batch, item)) return;
    if (RunItem(batch, item, input.picture.get())) WriteItem(batch, item, input);
}

// Pictures that are in memory, or will be in a moment.
static std::vector<uint64_t> BytesHeld(const Batch &batch)
{
    std::vector<uint64_t> held;
    for (size_t i = batch.first; i < batch.begun; ++i)
        if (batch.items[i].stage != Stage::DONE) held.push_back(batch.items[i].bytes);
    return held;
}

// Waits until there is room for another picture. Null when there is none to begin any more.
static Item *NextItem(Batch &batch)
{
    std::unique_lock hold(batch.lock);
    batch.room.wait(hold, [&batch] {
        const bool none = batch.stopping || batch.begun == batch.items.size();
        return none || batch.free == UINT64_MAX || HasRoom(batch.free, BytesHeld(batch), batch.largest);
    });
    if (batch.stopping || batch.begun == batch.items.size()) return nullptr;
    Item &item = batch.items[batch.begun++];
    item.stage = Stage::READING;
    return &item;
}

static void DoOrFault(Batch &batch, Item &item)
{
    try {
        DoItem(batch, item);
    } catch (const std::bad_alloc &) {
        const std::lock_guard hold(batch.lock);
        Report(item.input, "out of memory");
        Fault(batch, item, "out of memory");
    }
}

// What cannot even be told ends the whole.
static void DoItems(Batch &batch)
{
    try {
        while (Item *item = NextItem(batch)) DoOrFault(batch, *item);
    } catch (const std::bad_alloc &) {
        EndOutOfMemory();
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
    batch.turn.notify_all();
    batch.room.notify_all();
    batch.over.notify_all();
}

static void RunBatch(Batch &batch)
{
    const size_t count = std::min(2 * size_t(batch.line.jobs), batch.items.size());
    std::vector<std::thread> threads = StartThreads(batch, count);
    {
        std::unique_lock hold(batch.lock);
        ShowShare(batch);
        batch.over.wait(hold, [&batch] { return batch.stopping || batch.done == batch.items.size(); });
        EraseProgress();
        if (batch.stopping) EndInterrupted();   // waiting for nothing: a file may be a pipe that nobody writes to
    }
    for (std::thread &thread : threads) thread.join();
}

int ApplyToMany(const CommandLine &given)
{
    CommandLine line = given;
    DrawSeeds(line);
    Batch batch = {.line = line};
    if (!ListItems(batch) || !ObjectsSpareInput(line, line.filesFrom == "-") || !RecipeSpares(line, line.inputs))
        return EXIT_FAILED;
    AllowProgress(!line.quiet);
    const int exitCode = MakeSteps(line, batch.steps);
    if (exitCode != EXIT_DONE) return exitCode;
    FindOutputs(batch, given);
    if (line.dryRun) return TellPlan(batch);
    if (!MakeFolders(batch) || !OpenReport(batch)) return EXIT_FAILED;
    if (!line.saveRecipe.empty() && !KeepRecipe(line, batch.steps.get())) return EXIT_FAILED;
    SurviveBrokenPipes();
    if (!line.jobsGiven) batch.free = FreeMemory();
    HoldInterrupts([&batch] { Stop(batch); });
    RunBatch(batch);
    ReleaseInterrupts();
    if (batch.report && batch.report != stdout && fclose(batch.report) != 0)
        batch.failed = !FailUsing(line.report, "cannot be written");
    if (batch.unchanged && !line.quiet) {
        const std::string count = batch.unchanged == 1 ? "one picture" : std::to_string(batch.unchanged) + " pictures";
        Report(line.outputFolder, "nothing has changed in " + count + " of " + std::to_string(batch.items.size()));
    }
    const std::string seeds = SeedsDrawn(given, line);
    if (!seeds.empty() && !line.quiet) Report(line.outputFolder, seeds);
    return batch.failed ? EXIT_FAILED : EXIT_DONE;
}
