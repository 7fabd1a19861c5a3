#include "host/cli/session.h"

#include "host/cli/kernels.h"

#include <filesystem>

//---- The session

static int32_t KPZAPI ShowMessageBox(void *context, HWND, const char *text, const char *, int32_t)
{
    Session &session = *static_cast<Session *>(context);
    ++session.boxesShown;
    Report(session.subject, text);
    return IDOK;
}

// The order on the command line says nothing. A kernel brings other parameters with it, a choice may change what a
// number's range is, and what is saved is all of it.
enum Turn { KERNEL_TURN, CHOICE_TURN, NUMBER_TURN, SAVE_TURN };

static Turn TurnOf(const Session &session, const std::string &parameter)
{
    if (parameter == "kernel" || parameter == "load") return KERNEL_TURN;
    if (parameter == "save") return SAVE_TURN;
    const ControlTemplate *row = FindOption(*session.effect, parameter);
    return row && (row->kind == SPIN_ARROWS || row->kind == NUMBER_FIELD) ? NUMBER_TURN : CHOICE_TURN;
}

// The module shows a message box when it does not like the file; then `error` stays empty.
static bool LoadKernel(Session &session, HWND dialog, const std::string &file, std::string &error)
{
    error = FaultOfKernelFile(file, false);
    if (!error.empty()) return false;
    const int boxesBefore = session.boxesShown;
    const std::string subject = session.subject;
    session.subject = file;
    PressAndName(dialog, LOAD_KERNEL_BUTTON, file);
    session.subject = subject;
    return session.boxesShown == boxesBefore;
}

static bool SetParameter(Session &session, HWND dialog, const GivenParameter &given, bool trial, std::string &error)
{
    if (given.name == "load") return LoadKernel(session, dialog, given.value, error);
    if (given.name == "save") return SaveKernel(dialog, given.value, !trial, error);
    if (given.name == "kernel" && !LooksLikeNumbers(given.value)) return ChooseKernel(dialog, given.value, error);
    return SetOption(dialog, *session.effect, given.name, given.value, error);
}

// Whose fault it was when it went wrong: `subject` is the option, or its file. A trial leaves no file behind.
static bool SetParameters(Session &session, HWND dialog, bool trial, std::string &subject, std::string &error)
{
    for (const Turn turn : {KERNEL_TURN, CHOICE_TURN, NUMBER_TURN, SAVE_TURN}) {
        for (const GivenParameter &given : session.line->parameters) {
            if (TurnOf(session, given.name) != turn) continue;
            const bool file = given.name == "load" || given.name == "save";
            subject = file ? given.value : "--" + given.name;
            if (!SetParameter(session, dialog, given, trial, error)) return false;
        }
    }
    return true;
}

static int CheckEffect(Session &session)
{
    std::string subject, error;
    bool taken = false;
    const bool built = ActOnSample(session.host, *session.effect, [&](HWND dialog) {
        taken = SetParameters(session, dialog, true, subject, error);
    });
    if (!built) {
        Report(session.effect->effect, "not an effect that is built here (velmorant effects lists them)");
        return EXIT_USAGE;
    }
    if (!error.empty()) Report(subject, error);
    return taken ? EXIT_DONE : EXIT_FAILED;
}

int OpenSession(Session &session, const CommandLine &line)
{
    std::string error;
    if (!StartHost(session.host, "", error)) {
        Report("effects module", error);
        return EXIT_FAILED;
    }
    session.line = &line;
    session.effect = FindEffectTemplate(line.effect.c_str());
    HostAnswerMessageBoxes(ShowMessageBox, &session);
    HostFixSeed(line.seeded, line.seed);
    AllowProgress(!line.quiet);

    const int exitCode = CheckEffect(session);
    if (exitCode == EXIT_DONE) session.worksOn = TypesThatWork(session.host, *session.effect);
    else                       CloseSession(session);
    return exitCode;
}

void CloseSession(Session &session)
{
    EraseProgress();
    EndHost(session.host);
    HostAnswerMessageBoxes(nullptr, nullptr);
}

//---- Files

bool Read(PictureFile &file) { return ReadPicture(file.name, file.picture, file.format, file.notices, file.error); }

bool Write(PictureFile &file, const std::string &output, int quality)
{
    const FileFormat told = output == "-" ? FileFormat::UNKNOWN : FormatOfName(output);
    const FileFormat format = told == FileFormat::UNKNOWN ? file.format : told;
    file.notices.clear();
    return WritePicture(output, file.picture, format, {quality}, file.notices, file.error);
}

std::string FaultOfOutput(const std::string &output)
{
    if (output == "-") return "";
    std::error_code ignored;
    const std::filesystem::path path(output), folder = path.parent_path();
    if (std::filesystem::is_directory(path, ignored)) return "is a folder";
    if (FormatOfName(output) == FileFormat::UNKNOWN) return "its ending is none of " + KnownEndings();
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) return "its folder does not exist";
    return "";
}

static std::filesystem::path Resolved(const std::string &file)
{
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::weakly_canonical(file, failure);
    return failure ? std::filesystem::path(file) : path;
}

bool SaveSpares(const CommandLine &line, const std::vector<std::string> &files)
{
    for (const GivenParameter &given : line.parameters) {
        if (given.name != "save" || given.value.empty()) continue;
        for (const std::string &file : files) {
            if (file.empty() || Resolved(given.value) != Resolved(file)) continue;
            Report(given.value, "is a picture's file, and --save would write over it");
            return false;
        }
    }
    return true;
}

//---- Masks

static uint8_t BrightnessOf(int red, int green, int blue) { return uint8_t((11 * red + 16 * green + 5 * blue) >> 5); }

static void BrightnessOfRow(const Picture &picture, int32_t y, const uint8_t *ofEntry, uint8_t *levels)
{
    const uint8_t *row = picture.pixels.get() + size_t(y) * size_t(RowStride(picture.bitsPerPixel, picture.width));
    for (int32_t x = 0; x < picture.width; ++x) {
        if (picture.bitsPerPixel == 24)     levels[x] = BrightnessOf(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
        else if (picture.bitsPerPixel == 8) levels[x] = ofEntry[row[x]];
        else                                levels[x] = ofEntry[row[x >> 3] >> (7 - (x & 7)) & 1];
    }
}

static void SetBits(const uint8_t *levels, int32_t width, uint8_t *bits)
{
    for (int32_t x = 0; x < width; ++x)
        if (levels[x] >= 128) bits[x >> 3] |= uint8_t(0x80 >> (x & 7));
}

static std::string SizeText(const Picture &picture)
{
    return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

bool TakeMask(Picture &picture, const Picture &mask, std::string &error)
{
    if (mask.width != picture.width || mask.height != picture.height) {
        error = "is " + SizeText(mask) + " pixels, the picture " + SizeText(picture);
        return false;
    }
    uint8_t ofEntry[256];
    for (int i = 0; i < 256; ++i) ofEntry[i] = BrightnessOf(mask.red[i], mask.green[i], mask.blue[i]);
    const int32_t bits = picture.colourType == GREY || picture.colourType == RGB ? 8 : 1;
    AddMask(picture, bits);
    std::vector<uint8_t> levels(size_t(mask.width));
    for (int32_t y = 0; y < mask.height; ++y) {
        uint8_t *row = picture.mask.get() + size_t(y) * size_t(RowStride(bits, mask.width));
        BrightnessOfRow(mask, y, ofEntry, levels.data());
        if (bits == 8) std::copy(levels.begin(), levels.end(), row);
        else           SetBits(levels.data(), mask.width, row);
    }
    return true;
}

// Only the palette of a type is wanted of the smallest picture: the mask plane itself becomes the pixels.
Picture MaskAsPicture(Picture &picture)
{
    Picture mask = NewPicture(picture.maskBitsPerPixel == 8 ? GREY : ONE_BIT, 1, 1);
    mask.width = picture.width;
    mask.height = picture.height;
    mask.pixels = std::move(picture.mask);
    picture.maskBitsPerPixel = 0;
    return mask;
}

//---- Runs

std::string FaultOfType(const Session &session)
{
    if (CommandEnabled(session.host, session.effect->commandOffset)) return "";
    const char *type = TypeName(session.host.context.activeImage->colourType);
    return std::string(session.effect->effect) + " works on " + session.worksOn +
           " pictures; its command is greyed for this " + type + " one";
}

bool StartRun(Session &session, HWND dialog, std::string &error)
{
    const int boxesBefore = session.boxesShown;
    std::string subject;
    Tick(dialog, PREVIEW_CHECK, false);
    if (!SetParameters(session, dialog, false, subject, error)) {
        if (!error.empty()) error = subject + ": " + error;
        return false;
    }
    Press(dialog, APPLY_BUTTON);
    if (SharedRead(session.host.context.activeImage->runStarted)) return true;
    if (session.boxesShown == boxesBefore) error = "the effect did not start";
    return false;
}
