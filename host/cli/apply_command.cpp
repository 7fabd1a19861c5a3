// `velmorant apply`: one picture in, one run, one picture out.

#include "host/cli/commands.h"
#include "host/cli/interrupt.h"
#include "host/cli/session.h"

static bool Fail(const std::string &subject, const std::string &text)
{
    Report(subject, text);
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
    const std::string fault = FaultOfOutput(line.output);
    if (!fault.empty()) return Fail(line.output, fault);
    const std::string maskFault = line.maskOutput.empty() ? "" : FaultOfOutput(line.maskOutput);
    return maskFault.empty() || Fail(line.maskOutput, maskFault);
}

static bool ReadInput(PictureFile &file, bool quiet)
{
    if (!Read(file)) return Fail(InputName(file.name), file.error);
    if (!quiet) ReportAll(InputName(file.name), file.notices);
    return true;
}

static bool ReadInputs(const CommandLine &line, PictureFile &input)
{
    input.name = line.input;
    if (!ReadInput(input, line.quiet)) return false;
    if (!line.mask.empty()) {
        PictureFile mask;
        mask.name = line.mask;
        if (!ReadInput(mask, line.quiet)) return false;
        if (!TakeMask(input.picture, mask.picture, mask.error)) return Fail(InputName(line.mask), mask.error);
    }
    if (!line.maskOutput.empty() && !input.picture.mask) {
        return Fail("--mask-output", InputName(line.input) + " has no mask");
    }
    const std::string fault = FaultOfArea(line, input.picture);
    return fault.empty() || Fail(InputName(line.input), fault);
}

// Abort is pressed at the interrupt, and again at each progress report: a run that is just starting forgets an
// earlier request.
static void WaitForRunOrInterrupt(Session &session, HWND dialog, const ImageRecord *image)
{
    bool pressed = false;
    session.host.onProgress = [&](ImageRecord *, int tenths) {
        ShowProgress(session.effect->effect, tenths / 10.0);
        if (Interrupted()) Press(dialog, ABORT_BUTTON);
    };
    ShowProgress(session.effect->effect, 0);
    WaitUntil([&] {
        if (Interrupted() && !pressed) {
            pressed = true;
            Press(dialog, ABORT_BUTTON);
        }
        return !RunUnderWay(image);
    });
    session.host.onProgress = nullptr;
    EraseProgress();
}

// Runs the effect on the active image.
static int RunInDialog(Session &session, HWND dialog, ImageRecord *image, RunOf what)
{
    std::string error;
    const bool started = StartRun(session, dialog, what, error);
    if (started) WaitForRunOrInterrupt(session, dialog, image);
    if (!error.empty()) Report(session.subject, error);
    if (Interrupted() || MiscLastRunAborted(image)) return EXIT_INTERRUPTED;
    return started ? EXIT_DONE : EXIT_FAILED;
}

static int RunMask(Session &session, HWND dialog, Picture &mask)
{
    ImageRecord *image = OpenImage(session.host, std::move(mask));
    ActivateImage(session.host, image);
    const int exitCode = RunInDialog(session, dialog, image, RunOf::MASK);
    mask = TakePicture(image);
    return exitCode;
}

// What has become of the picture is left in `picture`, which was its mask when that was taken apart.
static int Run(Session &session, ImageRecord *image, Picture &picture, Picture mask)
{
    session.subject = InputName(session.line->input);
    const std::string fault = FaultOfType(session);
    if (!fault.empty()) return Report(session.subject, fault), EXIT_FAILED;

    int exitCode = EXIT_FAILED;
    ActInDialog(session.host, session.effect->commandOffset, [&](HWND dialog) {
        exitCode = RunInDialog(session, dialog, image, RunOf::PICTURE);
        if (exitCode == EXIT_DONE) picture = TakePicture(image);
        if (exitCode == EXIT_DONE && MaskFollows(mask, picture)) exitCode = RunMask(session, dialog, mask);
        Press(dialog, CLOSE_BUTTON);
    });
    if (mask.pixels) JoinMask(picture, std::move(mask));
    return exitCode;
}

static bool WriteOutput(PictureFile &file, const std::string &output, const CommandLine &line)
{
    if (!Write(file, output, line.quality)) return Fail(OutputName(output), file.error);
    if (!line.quiet) ReportAll(OutputName(output), file.notices);
    return true;
}

// A mask that came from a file of its own goes to one; the input's own goes back as alpha all the same.
static bool WriteOutputs(const CommandLine &line, PictureFile &file)
{
    if (line.maskOutput.empty()) return WriteOutput(file, line.output, line);
    PictureFile mask;
    mask.format = file.format;
    const bool apart = !line.mask.empty();
    if (apart) mask.picture = MaskAsPicture(file.picture);
    if (!WriteOutput(file, line.output, line)) return false;
    if (!apart) mask.picture = MaskAsPicture(file.picture);
    return WriteOutput(mask, line.maskOutput, line);
}

static int ApplyInSession(Session &session)
{
    PictureFile file;
    if (!ReadInputs(*session.line, file)) return EXIT_FAILED;

    const HWND window = session.host.context.window;
    HoldInterrupts([window] { HostWake(window); });
    Picture mask = TakeMaskApart(session, file.picture);
    ImageRecord *image = OpenInput(session, std::move(file.picture));
    int exitCode = Run(session, image, file.picture, std::move(mask));
    while (session.host.context.firstImage) CloseImage(session.host, session.host.context.firstImage);
    if (exitCode == EXIT_DONE && !WriteOutputs(*session.line, file)) exitCode = EXIT_FAILED;
    ReleaseInterrupts();
    return exitCode;
}

int ApplyToOne(const CommandLine &line)
{
    if (!CheckPlaces(line)) return EXIT_FAILED;
    Session session;
    int exitCode = OpenSession(session, line);
    if (exitCode != EXIT_DONE) return exitCode;
    exitCode = ApplyInSession(session);
    CloseSession(session);
    return exitCode;
}
