// `velmorant apply`: one picture in, one run of all steps, one picture out.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/paths/collisions.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <new>

typedef nlohmann::ordered_json Json;

static bool Fail(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

// What the library said of the last call.
static bool FailAsTold()
{
    ReportLine(vlm_error_line());
    return false;
}

// What can be known to go wrong before a long run should go wrong before it.
static bool CheckPlaces(const CommandLine &line)
{
    if (line.input == "-" && line.mask == "-") return Fail("--mask", "standard input can only be read once");
    if (!ObjectsSpareInput(line, (line.input == "-") + (line.mask == "-"))) return false;
    if (!line.maskOutput.empty()) {
        if (AreOneFile(line.output, line.maskOutput))
            return Fail(OutputName(line.maskOutput), "is named for both the result and its mask");
        if (line.maskOutput != "-" && AreOneFile(line.input, line.maskOutput))
            return Fail(line.maskOutput, "is the picture's file, and --mask-output would write over it");
    }
    if (line.json && (line.output == "-" || AreOneFile(line.output, "/dev/stdout")))
        return Fail("--json", "standard output takes the picture already");
    if (line.compare && line.output != "-" && AreOneFile(line.input, line.output))
        return Fail(line.output, "is the picture's file, and --compare would write over it");
    const std::vector<std::string> files = {line.input, line.output, line.mask, line.maskOutput};
    if (!SaveSpares(line, files) || !RecipeSpares(line, files)) return false;
    return CheckOutput(line.output, line) && (line.maskOutput.empty() || CheckOutput(line.maskOutput, line));
}

// What has been told, for --json too.
typedef std::vector<std::string> Told;

static void Tell(const CommandLine &line, const std::string &subject, const std::vector<std::string> &notices,
                 Told &told)
{
    if (!line.quiet) ReportAll(subject, notices);
    for (const std::string &notice : notices) told.emplace_back(subject).append(": ").append(notice);
}

static bool GiveMask(const CommandLine &line, vlm_picture *picture, Told &told)
{
    const PicturePointer mask = ReadFirst(line.mask, line);
    if (!mask) return FailAsTold();
    Tell(line, InputName(line.mask), Notices(), told);
    return vlm_picture_set_mask(picture, mask.get()) == VLM_OK || Fail(InputName(line.mask), vlm_error_line());
}

static bool ReadInputs(const CommandLine &line, InputPicture &input, Told &told)
{
    input = Read(line.input, line.output, line);
    if (!input.picture) {
        ReportLine(input.fault);
        return false;
    }
    Tell(line, InputName(line.input), Notices(), told);
    if (!MayWrite(input, line.output, line)) return FailAsTold();
    if (!line.mask.empty() && !GiveMask(line, input.picture.get(), told)) return false;
    if (!line.maskOutput.empty() && !vlm_picture_mask_bits(input.picture.get())) {
        return Fail("--mask-output", InputName(line.input) + " has no mask");
    }
    return true;
}

static int ShowTenths(void *context, int step, int steps, int tenths)
{
    std::string label = static_cast<const CommandLine *>(context)->steps[size_t(step)].effect;
    if (steps > 1) label += ", step " + std::to_string(step + 1) + " of " + std::to_string(steps);
    ShowProgress(label, (10 * step + tenths) / (10.0 * steps));
    return 0;
}

static int Run(const CommandLine &line, const vlm_steps *steps, vlm_picture *picture, vlm_run *run, bool &changed,
               Told &told)
{
    vlm_run_set_progress(run, ShowTenths, const_cast<CommandLine *>(&line));
    vlm_run_set_restoring(run, 0);
    const bool compared = !line.quiet || line.json;
    const uint64_t before = compared ? vlm_picture_sum(picture) : 0;
    const vlm_code code = vlm_apply(steps, picture, run);
    EraseProgress();
    changed = code != VLM_OK || !compared || vlm_picture_sum(picture) != before;
    const std::vector<std::string> notices = Notices();
    ReportAll(InputName(line.input), notices);
    for (const std::string &notice : notices) told.push_back(InputName(line.input) + ": " + notice);
    if (code != VLM_OK && code != VLM_ABORTED) Report(InputName(line.input), vlm_error_line());
    if (!changed && !line.quiet && !AnythingReported())   // what has been told says why
        Report(InputName(line.input), NOTHING_CHANGED);
    if (Interrupted() || code == VLM_ABORTED) return EXIT_INTERRUPTED;
    return code == VLM_OK ? EXIT_DONE : EXIT_FAILED;
}

static bool WriteBeside(const vlm_picture *picture, const vlm_picture *input, const std::string &output,
                        const CommandLine &line, Told &told)
{
    if (!Write(picture, input, output, line)) return FailAsTold();
    Tell(line, OutputName(output), Notices(), told);
    return true;
}

// A mask that came from a file of its own goes to one; the input's own goes back as alpha all the same.
static bool WriteOutputs(const CommandLine &line, InputPicture &input, Told &told)
{
    vlm_picture *picture = input.picture.get(), *mask = nullptr;
    if (!line.maskOutput.empty() && vlm_picture_get_mask(picture, &mask) != VLM_OK) return FailAsTold();
    const PicturePointer owner(mask);
    if (mask && !line.mask.empty()) vlm_picture_set_mask(picture, nullptr);
    if (!WriteResult(input, line.output, line)) return FailAsTold();
    std::vector<std::string> notices = NoticesOfWriting(input, line.output, line);
    const std::string format = NoticeOfFormat(input.picture.get(), line.output, line);
    if (!format.empty()) notices.push_back(format);
    Tell(line, OutputName(line.output), notices, told);
    return !mask || WriteBeside(mask, picture, line.maskOutput, line, told);
}

// What a run has drawn that nobody gave: the same picture comes out of it again.
static void TellSeeds(const CommandLine &line, const vlm_run *run)
{
    std::string seeds;
    const size_t count = line.steps.size();
    for (size_t i = 0; i < count; ++i) {
        uint32_t seed;
        if (line.steps[i].seed || line.steps[0].seed || !vlm_run_seed(run, int(i), &seed)) continue;
        const std::string step = count > 1 ? "step " + std::to_string(i + 1) + " (" + line.steps[i].effect + ") " : "";
        seeds += (seeds.empty() ? "" : ", ") + step + "seed " + std::to_string(seed);
    }
    if (!seeds.empty() && !line.quiet) Report(OutputName(line.output), seeds);
}

static int SaveRecipe(const CommandLine &line, vlm_steps *steps, const vlm_run *run)
{
    if (line.saveRecipe.empty()) return EXIT_DONE;
    for (int i = 0; i < vlm_steps_count(steps); ++i) {
        uint32_t seed;
        if (vlm_run_seed(run, i, &seed)) vlm_steps_set_seed(steps, i, seed);
    }
    return KeepRecipe(line, steps) ? EXIT_DONE : EXIT_FAILED;
}

typedef std::chrono::steady_clock::time_point Moment;

struct Timing {
    double read, run, written;   // seconds
};

static double Seconds(Moment from, Moment to) { return std::chrono::duration<double>(to - from).count(); }
static double Rounded(double seconds) { return std::round(seconds * 1000) / 1000; }

static void TellTiming(const CommandLine &line, const Timing &timing)
{
    char text[120];
    snprintf(text, sizeof text, "read in %.3f s, run in %.3f s, written in %.3f s", timing.read, timing.run,
             timing.written);
    Report(OutputName(line.output), text);
}

static void PrintJson(const CommandLine &line, const vlm_picture *picture, const vlm_run *run, bool changed,
                      const Timing &timing, const Told &told)
{
    Json json = {{"input", line.input},
                 {"output", line.output},
                 {"width", vlm_picture_width(picture)},
                 {"height", vlm_picture_height(picture)},
                 {"type", vlm_type_name(vlm_picture_type(picture))},
                 {"pages", vlm_picture_pages(picture)},
                 {"changed", changed},
                 {"seconds", Rounded(timing.read + timing.run + timing.written)},
                 {"read", Rounded(timing.read)},
                 {"run", Rounded(timing.run)},
                 {"written", Rounded(timing.written)},
                 {"steps", Json::array()},
                 {"notices", told}};
    for (size_t i = 0; i < line.steps.size(); ++i) {
        uint32_t seed;
        Json step = {{"effect", line.steps[i].effect}};
        if (vlm_run_seed(run, int(i), &seed)) step["seed"] = seed;
        json["steps"].push_back(std::move(step));
    }
    printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

static PicturePointer CopyOf(const vlm_picture *picture)
{
    vlm_picture *copy = nullptr;
    if (vlm_picture_copy(picture, &copy) != VLM_OK) throw std::bad_alloc();
    return PicturePointer(copy);
}

// In the place of the result: both beside each other, with the steps' names.
static bool WriteComparison(const CommandLine &line, const vlm_picture *before, const vlm_picture *after, Told &told)
{
    constexpr int32_t WIDTH = 2400;
    std::string steps;
    for (const GivenStep &step : line.steps) steps += (steps.empty() ? "" : ", ") + step.effect;
    const vlm_tile tiles[] = {{before, "before"}, {after, steps.c_str()}};
    vlm_picture *sheet = nullptr;
    if (vlm_sheet_make(tiles, 2, 2, WIDTH, &sheet) != VLM_OK) return FailAsTold();
    const PicturePointer owner(sheet);
    return WriteBeside(sheet, before, line.output, line, told);
}

int ApplyToOne(const CommandLine &line)
{
    const auto start = std::chrono::steady_clock::now();
    if (!CheckPlaces(line)) return EXIT_FAILED;
    StepsPointer steps;
    InputPicture input;
    Told told;
    AllowProgress(!line.quiet);
    int exitCode = MakeSteps(line, steps);
    if (exitCode != EXIT_DONE) return exitCode;
    if (!ReadInputs(line, input, told)) return EXIT_FAILED;
    const auto read = std::chrono::steady_clock::now();

    vlm_picture *picture = input.picture.get();
    const PicturePointer before = line.compare ? CopyOf(picture) : nullptr;
    const RunPointer run = MakeRun(line, 0);
    bool changed = true;
    HoldInterrupts([&run] { vlm_run_cancel(run.get()); });
    exitCode = Run(line, steps.get(), picture, run.get(), changed, told);
    const auto ran = std::chrono::steady_clock::now();
    ReleaseInterrupts();   // the slowest reader of a pipe can be left
    if (exitCode == EXIT_DONE) {
        const bool written =
            before ? WriteComparison(line, before.get(), picture, told) : WriteOutputs(line, input, told);
        if (!written) exitCode = EXIT_FAILED;
    }
    if (exitCode != EXIT_DONE) return exitCode;
    const Timing timing = {Seconds(start, read), Seconds(read, ran), Seconds(ran, std::chrono::steady_clock::now())};
    if (line.timing) TellTiming(line, timing);
    TellSeeds(line, run.get());
    if (line.json) PrintJson(line, picture, run.get(), changed, timing, told);
    return SaveRecipe(line, steps.get(), run.get());
}
