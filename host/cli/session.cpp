#include "host/cli/session.h"

#include <filesystem>

//---- The session

static int32_t KPZAPI ShowMessageBox(void *context, HWND, const char *text, const char *, int32_t)
{
    Session &session = *static_cast<Session *>(context);
    ++session.boxesShown;
    Report(session.subject, text);
    return IDOK;
}

// Choices before numbers: a choice may change what a number's range is. The order on the command line says nothing.
static bool SetParameters(const Session &session, HWND dialog, std::string &option, std::string &error)
{
    for (const bool numbers : {false, true}) {
        for (const GivenParameter &given : session.line->parameters) {
            const ControlTemplate *row = FindOption(*session.effect, given.name);
            const bool number = row && (row->kind == SPIN_ARROWS || row->kind == NUMBER_FIELD);
            if (number != numbers) continue;
            option = "--" + given.name;
            if (!SetOption(dialog, *session.effect, given.name, given.value, error)) return false;
        }
    }
    return true;
}

static int CheckEffect(Session &session)
{
    std::string option, error;
    const bool built = ActOnSample(session.host, *session.effect, [&](HWND dialog) {
        SetParameters(session, dialog, option, error);
    });
    if (!built) {
        Report(session.effect->effect, "not an effect that is built here (velmorant effects lists them)");
        return EXIT_USAGE;
    }
    if (error.empty()) return EXIT_DONE;
    Report(option, error);
    return EXIT_FAILED;
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
    std::string option;
    Tick(dialog, PREVIEW_CHECK, false);
    if (!SetParameters(session, dialog, option, error)) {
        error = option + ": " + error;
        return false;
    }
    Press(dialog, APPLY_BUTTON);
    if (SharedRead(session.host.context.activeImage->runStarted)) return true;
    if (session.boxesShown == boxesBefore) error = "the effect did not start";
    return false;
}
