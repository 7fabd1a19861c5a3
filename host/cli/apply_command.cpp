// `velmorant apply`: one picture in, one run of all steps, one picture out.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"

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
    if (!line.maskOutput.empty() && line.output == line.maskOutput) {
        return Fail(OutputName(line.output), "is named for both the result and its mask");
    }
    if (!SaveSpares(line, {line.input, line.output, line.mask, line.maskOutput})) return false;
    return CheckOutput(line.output) && (line.maskOutput.empty() || CheckOutput(line.maskOutput));
}

static bool ReadInput(const std::string &file, const CommandLine &line, PicturePointer &picture)
{
    picture = Read(file, line.allowHuge);
    if (!picture) return FailAsTold();
    if (!line.quiet) ReportAll(InputName(file), Notices());
    return true;
}

static bool ReadInputs(const CommandLine &line, PicturePointer &picture)
{
    if (!ReadInput(line.input, line, picture)) return false;
    if (!line.mask.empty()) {
        PicturePointer mask;
        if (!ReadInput(line.mask, line, mask)) return false;
        const vlm_code code = vlm_picture_set_mask(picture.get(), mask.get());
        if (code != VLM_OK) return Fail(InputName(line.mask), vlm_error_line());
    }
    if (!line.maskOutput.empty() && !vlm_picture_mask_bits(picture.get())) {
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

static int Run(const CommandLine &line, const vlm_steps *steps, vlm_picture *picture, vlm_run *run)
{
    vlm_run_set_progress(run, ShowTenths, const_cast<CommandLine *>(&line));
    vlm_run_set_restoring(run, 0);
    const vlm_code code = vlm_apply(steps, picture, run);
    EraseProgress();
    ReportAll(InputName(line.input), Notices());
    if (code != VLM_OK && code != VLM_ABORTED) Report(InputName(line.input), vlm_error_line());
    if (Interrupted() || code == VLM_ABORTED) return EXIT_INTERRUPTED;
    return code == VLM_OK ? EXIT_DONE : EXIT_FAILED;
}

static bool WriteOutput(const vlm_picture *picture, const vlm_picture *input, const std::string &output,
                        const CommandLine &line)
{
    if (!Write(picture, input, output, line.quality)) return FailAsTold();
    if (!line.quiet) ReportAll(OutputName(output), Notices());
    return true;
}

// A mask that came from a file of its own goes to one; the input's own goes back as alpha all the same.
static bool WriteOutputs(const CommandLine &line, vlm_picture *picture)
{
    if (line.maskOutput.empty()) return WriteOutput(picture, picture, line.output, line);
    vlm_picture *mask = nullptr;
    if (vlm_picture_get_mask(picture, &mask) != VLM_OK) return FailAsTold();
    const PicturePointer owner(mask);
    if (!line.mask.empty()) vlm_picture_set_mask(picture, nullptr);
    return WriteOutput(picture, picture, line.output, line) && WriteOutput(mask, picture, line.maskOutput, line);
}

int ApplyToOne(const CommandLine &line)
{
    if (!CheckPlaces(line)) return EXIT_FAILED;
    StepsPointer steps;
    PicturePointer picture;
    AllowProgress(!line.quiet);
    int exitCode = MakeSteps(line, steps);
    if (exitCode != EXIT_DONE) return exitCode;
    if (!ReadInputs(line, picture)) return EXIT_FAILED;

    const RunPointer run = MakeRun(line, 0);
    HoldInterrupts([&run] { vlm_run_cancel(run.get()); });
    exitCode = Run(line, steps.get(), picture.get(), run.get());
    if (exitCode == EXIT_DONE && !WriteOutputs(line, picture.get())) exitCode = EXIT_FAILED;
    ReleaseInterrupts();
    return exitCode;
}
