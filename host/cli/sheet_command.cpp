// `velmorant sheet`: one picture through many steps, each by itself, and all results on one sheet or in files of their
// own. As many are worked on at once as there are processors.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/cli/sheet_request.h"
#include "host/paths/collisions.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>
#include <thread>

static constexpr int32_t SMALL_EDGE = 640;   // of a reduced copy

constexpr int USUAL_DELAY = 80;   // milliseconds

struct Sheet {
    SheetRequest request = {};
    PicturePointer picture = {};
    std::vector<StepsPointer> steps = {};       // an entry's; null for the picture as it is
    std::vector<PicturePointer> results = {};   // of a sheet or an animation
    std::mutex lock = {};                       // of all that follows
    std::vector<vlm_run *> runs = {};           // under way
    size_t begun = 0, done = 0;
    bool stopping = false, failed = false;
};

static bool FailAsTold()
{
    ReportLine(vlm_error_line());
    return false;
}

//---- Before anything runs

static bool MakeSteps(const SheetEntry &entry, StepsPointer &steps)
{
    if (entry.effect.empty()) return true;
    steps.reset(vlm_steps_new());
    if (!steps) throw std::bad_alloc();
    if (vlm_steps_add(steps.get(), entry.effect.c_str()) != VLM_OK) return FailAsTold();
    for (const GivenParameter &given : entry.parameters)
        if (vlm_steps_set(steps.get(), 0, given.name.c_str(), given.value.c_str()) != VLM_OK) return FailAsTold();
    return vlm_steps_check(steps.get(), nullptr) == VLM_OK || FailAsTold();
}

// How files are read and written: as a command line of its own would say it.
static CommandLine FilesOf(const SheetRequest &request)
{
    CommandLine line;
    line.allowHuge = request.allowHuge;
    line.quality = request.quality;
    line.page = request.page;
    return line;
}

static bool MakeAllSteps(Sheet &sheet)
{
    const std::vector<SheetEntry> &entries = sheet.request.entries;
    sheet.steps.clear();
    sheet.steps.resize(entries.size());
    for (size_t i = 0; i < entries.size(); ++i)
        if (!MakeSteps(entries[i], sheet.steps[i])) return false;
    return true;
}

static bool ReadInput(Sheet &sheet)
{
    const SheetRequest &request = sheet.request;
    sheet.picture = ReadAlone(request.input, FilesOf(request));
    if (!sheet.picture) return FailAsTold();
    if (!request.quiet) ReportAll(InputName(request.input), Notices());
    const int pages = vlm_picture_pages(sheet.picture.get());
    if (pages > 1 && request.frames.empty() && !request.quiet)
        Report(InputName(request.input),
               "the first of " + std::to_string(pages) + " pages or frames is shown; --page N shows another");
    if (!request.small) return true;
    const int32_t width = vlm_picture_width(sheet.picture.get()), height = vlm_picture_height(sheet.picture.get());
    const double fits = std::min(1.0, double(SMALL_EDGE) / std::max(width, height));
    vlm_picture *copy = nullptr;
    const auto scaled = [fits](int32_t edge) { return std::max(1, int32_t(std::lround(edge * fits))); };
    if (vlm_picture_scale(sheet.picture.get(), scaled(width), scaled(height), &copy) != VLM_OK) return FailAsTold();
    sheet.picture.reset(copy);
    return true;
}

//---- Pictures

static bool Next(Sheet &sheet, size_t &entry)
{
    const std::lock_guard hold(sheet.lock);
    if (sheet.stopping || sheet.failed || sheet.begun == sheet.request.entries.size()) return false;
    entry = sheet.begun++;
    return true;
}

static void NoteRun(Sheet &sheet, vlm_run *run, bool begins)
{
    const std::lock_guard hold(sheet.lock);
    if (begins) sheet.runs.push_back(run);
    else std::erase(sheet.runs, run);
    if (begins && sheet.stopping) vlm_run_cancel(run);
}

static bool Keep(Sheet &sheet, size_t entry, PicturePointer picture)
{
    if (!sheet.results.empty()) return sheet.results[entry] = std::move(picture), true;
    return Write(picture.get(), picture.get(), FrameName(sheet.request.frames, int(entry) + 1), FilesOf(sheet.request));
}

static void Do(Sheet &sheet, size_t entry)
{
    vlm_picture *copy = nullptr;
    const int pages = sheet.request.frames.empty() ? 1 : vlm_picture_pages(sheet.picture.get());
    if (vlm_picture_page(sheet.picture.get(), int(entry) % pages, &copy) != VLM_OK) throw std::bad_alloc();
    PicturePointer picture(copy);
    const RunPointer run(vlm_run_new());
    if (!run) throw std::bad_alloc();
    vlm_run_set_seed(run.get(), sheet.request.seed);
    vlm_run_set_restoring(run.get(), 0);
    NoteRun(sheet, run.get(), true);
    const bool went = !sheet.steps[entry] || vlm_apply(sheet.steps[entry].get(), copy, run.get()) == VLM_OK;
    NoteRun(sheet, run.get(), false);
    const bool kept = went && Keep(sheet, entry, std::move(picture));
    const std::lock_guard hold(sheet.lock);
    ++sheet.done;
    ShowProgress("sheet", double(sheet.done) / double(sheet.request.entries.size()));
    if (kept || sheet.stopping || sheet.failed) return;
    sheet.failed = true;
    Report(InputName(sheet.request.input), sheet.request.entries[entry].label + ": " + vlm_error_line());
}

static void DoEntries(Sheet &sheet)
{
    try {
        for (size_t entry; Next(sheet, entry);) Do(sheet, entry);
    } catch (const std::bad_alloc &) {
        const std::lock_guard hold(sheet.lock);
        if (!sheet.failed) Report(InputName(sheet.request.input), "out of memory");
        sheet.failed = true;
    }
}

// Fewer threads where the system refuses more; this one works too.
static void DoAll(Sheet &sheet)
{
    std::vector<std::thread> threads;
    const size_t most = std::min<size_t>(std::max(1u, std::thread::hardware_concurrency()), 16);
    try {
        while (threads.size() + 1 < std::min(most, sheet.request.entries.size()))
            threads.emplace_back(DoEntries, std::ref(sheet));
    } catch (const std::exception &) {
    }
    DoEntries(sheet);
    for (std::thread &thread : threads) thread.join();
    EraseProgress();
}

static void Stop(Sheet &sheet)
{
    const std::lock_guard hold(sheet.lock);
    sheet.stopping = true;
    for (vlm_run *run : sheet.runs) vlm_run_cancel(run);
}

static bool WriteSheet(const Sheet &sheet)
{
    const SheetRequest &request = sheet.request;
    std::vector<vlm_tile> tiles;
    for (size_t i = 0; i < sheet.results.size(); ++i)
        tiles.push_back({sheet.results[i].get(), request.entries[i].label.c_str()});
    vlm_picture *made = nullptr;
    if (vlm_sheet_make(tiles.data(), int(tiles.size()), request.columns, request.width, &made) != VLM_OK)
        return FailAsTold();
    const PicturePointer owner(made);
    return Write(made, sheet.picture.get(), request.output, FilesOf(request)) || FailAsTold();
}

// All frames in one file. Those of a still picture are shown alike long, and for ever.
static bool WriteAnimation(const Sheet &sheet)
{
    const SheetRequest &request = sheet.request;
    vlm_picture *all = sheet.results[0].get();
    for (size_t i = 1; i < sheet.results.size(); ++i)
        if (vlm_picture_add_page(all, sheet.results[i].get()) != VLM_OK) return FailAsTold();
    const vlm_format *format = vlm_format_of_file(request.frames.c_str());
    const bool pages = format && format->name == std::string("tiff");   // which have no times
    const bool still = vlm_picture_pages(sheet.picture.get()) == 1 && !pages;
    if (still || request.delay) vlm_picture_set_animation(all, request.delay ? request.delay : USUAL_DELAY, 0);
    if (!Write(all, sheet.picture.get(), request.frames, FilesOf(request))) return FailAsTold();
    if (!request.quiet) ReportAll(request.frames, Notices());
    return true;
}

// Nobody wants a sheet in the place of the picture that it shows.
static bool SparesInput(const SheetRequest &request)
{
    const bool numbered = !request.frames.empty() && !request.animation;
    const size_t count = numbered ? request.entries.size() : 1;
    for (size_t i = 0; i < count; ++i) {
        const std::string output = numbered                 ? FrameName(request.frames, int(i) + 1)
                                   : request.frames.empty() ? request.output
                                                            : request.frames;
        if (output == "-" || !AreOneFile(request.input, output)) continue;
        Report(output, "is the picture's file, and the sheet would write over it");
        return false;
    }
    return true;
}

int MakeSheet(const CommandLine &line)
{
    Sheet sheet = {};
    SheetRequest &request = sheet.request;
    if (const int exitCode = ReadSheetRequest(line.words, 0, request)) return exitCode;
    const bool named = request.frames.empty() || request.animation;
    const std::string output = request.frames.empty() ? request.output : request.frames;
    if (!CheckOutput(named ? output : FrameName(output, 1), FilesOf(request))) return EXIT_FAILED;
    if (!SparesInput(request)) return EXIT_FAILED;
    if (!MakeAllSteps(sheet) || !ReadInput(sheet)) return EXIT_FAILED;
    const int pages = vlm_picture_pages(sheet.picture.get());
    if (!request.frames.empty() && pages > 1) {   // as many values as there are frames
        request.entries.clear();
        if (const int exitCode = ReadSheetRequest(line.words, pages, request)) return exitCode;
        if (!MakeAllSteps(sheet)) return EXIT_FAILED;
    }
    sheet.results.resize(named ? request.entries.size() : 0);
    AllowProgress(!request.quiet);
    HoldInterrupts([&sheet] { Stop(sheet); });
    DoAll(sheet);
    bool written = !sheet.stopping && !sheet.failed;
    if (written && named) written = request.animation ? WriteAnimation(sheet) : WriteSheet(sheet);
    ReleaseInterrupts();
    return sheet.stopping ? EXIT_INTERRUPTED : written ? EXIT_DONE : EXIT_FAILED;
}
