#include "host/cli/session.h"

#include "host/acting/kernels.h"

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
    return SetOptionOrKernel(dialog, *session.effect, given.name, given.value, error);
}

static bool IsColour(const Session &session, const std::string &parameter)
{
    const ControlTemplate *row = FindOption(*session.effect, parameter);
    return row && row->kind == COLOUR_CONTROL;
}

// Whose fault it was when it went wrong: `subject` is the option, or its file. A trial leaves no file behind.
static bool SetParameters(Session &session, HWND dialog, bool trial, RunOf what, std::string &subject,
                          std::string &error)
{
    for (const Turn turn : {KERNEL_TURN, CHOICE_TURN, NUMBER_TURN, SAVE_TURN}) {
        for (const GivenParameter &given : session.line->parameters) {
            if (TurnOf(session, given.name) != turn) continue;
            if (what == RunOf::MASK && IsColour(session, given.name)) continue;   // the dialog's own is black
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
        taken = SetParameters(session, dialog, true, RunOf::PICTURE, subject, error);
    });
    if (!built) {
        Report(session.effect->effect, "not an effect that is built here (velmorant effects lists them)");
        return EXIT_USAGE;
    }
    if (!error.empty()) Report(subject, error);
    return taken ? EXIT_DONE : EXIT_FAILED;
}

static std::string SizeText(const Picture &picture)
{
    return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

static bool LoadObjects(Session &session)
{
    for (const NamedObject &named : session.line->objects) {
        PictureFile file;
        file.name = named.file;
        bool good = Read(file);
        if (good && (file.picture.width > MOST_OBJECT_EDGE || file.picture.height > MOST_OBJECT_EDGE)) {
            file.error = "is " + SizeText(file.picture) + " pixels; an object has at most " +
                         std::to_string(MOST_OBJECT_EDGE) + " a side";
            good = false;
        }
        if (!good) Report(InputName(file.name), file.error);
        if (!good) return false;
        if (!session.line->quiet) ReportAll(InputName(file.name), file.notices);
        session.objects.push_back({std::move(file.picture), named.x, named.y});
    }
    return true;
}

static bool WorksOnObjects(const CommandLine &line)
{
    for (const GivenParameter &given : line.parameters) {
        const bool scope = given.name == SCOPE_OPTION;
        if (scope && (given.value == "objects" || given.value == std::to_string(SCOPE_OBJECTS_RADIO))) return true;
    }
    return false;
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

    int exitCode = CheckEffect(session);
    if (exitCode == EXIT_DONE && !LoadObjects(session)) exitCode = EXIT_FAILED;
    if (exitCode != EXIT_DONE) {
        CloseSession(session);
        return exitCode;
    }
    session.worksOn = TypesThatWork(session.host, *session.effect);
    if (WorksOnObjects(line) && session.objects.empty() && !line.quiet) {
        Report("--scope", "there are no floating objects to work on; --object brings them");
    }
    return EXIT_DONE;
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

bool ObjectsSpareInput(const CommandLine &line, int readers)
{
    for (const NamedObject &object : line.objects) readers += object.file == "-";
    if (readers > 1) Report("--object", "standard input can only be read once");
    return readers <= 1;
}

bool SaveSpares(const CommandLine &line, std::vector<std::string> files)
{
    for (const NamedObject &object : line.objects) files.push_back(object.file);
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

static void BrightnessOfRow(const Picture &picture, int32_t y, const uint8_t *ofEntry, uint8_t *levels)
{
    const uint8_t *row = picture.pixels.get() + size_t(y) * size_t(RowStride(picture.bitsPerPixel, picture.width));
    for (int32_t x = 0; x < picture.width; ++x) {
        if (picture.bitsPerPixel == 24) levels[x] = uint8_t(GreyOf(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
        else if (picture.bitsPerPixel == 8) levels[x] = ofEntry[row[x]];
        else levels[x] = ofEntry[row[x >> 3] >> (7 - (x & 7)) & 1];
    }
}

static void SetBits(const uint8_t *levels, int32_t width, uint8_t *bits)
{
    for (int32_t x = 0; x < width; ++x)
        if (levels[x] >= 128) bits[x >> 3] |= uint8_t(0x80 >> (x & 7));
}

bool TakeMask(Picture &picture, const Picture &mask, std::string &error)
{
    if (mask.width != picture.width || mask.height != picture.height) {
        error = "is " + SizeText(mask) + " pixels, the picture " + SizeText(picture);
        return false;
    }
    uint8_t ofEntry[256];
    for (int i = 0; i < 256; ++i) ofEntry[i] = uint8_t(GreyOf(mask.red[i], mask.green[i], mask.blue[i]));
    const int32_t bits = MaskBitsOf(picture.colourType);
    AddMask(picture, bits);
    std::vector<uint8_t> levels(size_t(mask.width));
    for (int32_t y = 0; y < mask.height; ++y) {
        uint8_t *row = picture.mask.get() + size_t(y) * size_t(RowStride(bits, mask.width));
        BrightnessOfRow(mask, y, ofEntry, levels.data());
        if (bits == 8) std::copy(levels.begin(), levels.end(), row);
        else SetBits(levels.data(), mask.width, row);
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

Picture TakeMaskApart(const Session &session, Picture &picture)
{
    return session.effect->changesSize && picture.mask ? MaskAsPicture(picture) : Picture();
}

// What has kept its size has not changed: no row or column has moved.
bool MaskFollows(const Picture &mask, const Picture &result)
{
    return mask.pixels && (mask.width != result.width || mask.height != result.height);
}

void JoinMask(Picture &picture, Picture mask)
{
    picture.maskBitsPerPixel = mask.bitsPerPixel;
    picture.mask = std::move(mask.pixels);
}

//---- Objects and the selected area

std::string FaultOfArea(const CommandLine &line, const Picture &picture)
{
    if (!line.area) return "";
    const NamedArea &area = *line.area;
    const bool besideX = area.left >= picture.width || area.left + area.width <= 0;
    const bool besideY = area.top >= picture.height || area.top + area.height <= 0;
    return besideX || besideY ? "the area lies outside its " + SizeText(picture) + " pixels" : "";
}

static void Furnish(const Session &session, ImageRecord *image)
{
    std::string ignored;   // too large an object has been refused already
    for (const LoadedObject &object : session.objects) AddObject(image, object.picture, object.x, object.y, ignored);
    if (!session.line->area) return;
    const NamedArea &area = *session.line->area;
    SelectArea(image, area.left, area.top, area.left + area.width - 1, area.top + area.height - 1);
}

ImageRecord *OpenInput(Session &session, Picture picture)
{
    return OpenImage(session.host, std::move(picture), [&session](ImageRecord *image) { Furnish(session, image); });
}

//---- Runs

std::string FaultOfType(const Session &session)
{
    if (CommandEnabled(session.host, session.effect->commandOffset)) return "";
    const char *type = TypeName(session.host.context.activeImage->colourType);
    return std::string(session.effect->effect) + " works on " + session.worksOn +
           " pictures; its command is greyed for this " + type + " one";
}

bool StartRun(Session &session, HWND dialog, RunOf what, std::string &error)
{
    const int boxesBefore = session.boxesShown;
    std::string subject;
    Tick(dialog, PREVIEW_CHECK, false);
    if (!SetParameters(session, dialog, false, what, subject, error)) {
        if (!error.empty()) error = subject + ": " + error;
        return false;
    }
    Press(dialog, APPLY_BUTTON);
    if (SharedRead(session.host.context.activeImage->runStarted)) return true;
    if (session.boxesShown == boxesBefore) error = "the effect did not start";
    return false;
}
