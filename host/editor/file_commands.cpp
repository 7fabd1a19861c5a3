#include "host/editor/editor.h"

#include "host/editor/closing.h"

#include <algorithm>
#include <filesystem>

static constexpr size_t NAME_BYTES = 1024;

std::string NameOfFile(const std::string &file) { return std::filesystem::path(file).filename().string(); }

// A wait long enough to be noticed.
struct WaitCursor {
    HCURSOR before = SetCursor(LoadCursor(nullptr, IDC_WAIT));
    WaitCursor() = default;
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;
    ~WaitCursor() { SetCursor(before); }
};

static void Complain(const Editor &editor, const std::string &file, const std::string &error)
{
    ShowMessage(editor, NameOfFile(file) + ": " + error, MB_ICONERROR);
}

static void TellNotices(const Editor &editor, const std::string &file, const std::vector<std::string> &notices)
{
    std::string text = NameOfFile(file) + ":";
    for (const std::string &notice : notices) text += "\n" + notice;
    if (!notices.empty()) ShowMessage(editor, text, MB_ICONINFORMATION);
}

//---- Names

// "*.png;*.bmp"
static std::string Patterns()
{
    std::string patterns, endings = KnownEndings() + ", ";
    for (size_t start = 0, end; (end = endings.find(", ", start)) != std::string::npos; start = end + 2) {
        patterns += (patterns.empty() ? "*." : ";*.") + endings.substr(start, end - start);
    }
    return patterns;
}

// Pairs of a label and patterns, each ended by a zero byte, and one more at the end.
static std::string Filter()
{
    const std::string patterns = Patterns();
    return "Pictures (" + patterns + ")" + '\0' + patterns + '\0' + "All files" + '\0' + "*.*" + '\0';
}

static OPENFILENAMEA Question(const Editor &editor, const char *title, const char *filter, char *name, size_t size)
{
    OPENFILENAMEA question = {};
    question.lStructSize = sizeof question;
    question.hwndOwner = editor.frame;
    question.lpstrFilter = filter;
    question.lpstrFile = name;
    question.nMaxFile = DWORD(size);
    question.lpstrTitle = title;
    question.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return question;
}

std::string AskForPicture(const Editor &editor, const char *title)
{
    char name[NAME_BYTES] = "";
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, title, filter.c_str(), name, sizeof name);
    question.Flags |= OFN_FILEMUSTEXIST;
    return AskForFile(editor, FALSE, question) ? name : "";
}

// The dialog that asks has been pressed, so it is the active one.
static HWND AskingWindow(const Editor &editor)
{
    const HWND active = GetActiveWindow();
    return HostDialogTemplate(active) ? active : editor.frame;
}

BOOL KPZAPI AnswerFileName(void *context, BOOL save, const char *title, const char *types, char *name)
{
    const Editor &editor = *static_cast<Editor *>(context);
    OPENFILENAMEA question = Question(editor, title, types, name, 256);
    question.Flags |= save ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
    question.hwndOwner = AskingWindow(editor);
    return AskForFile(editor, save, question);
}

//---- Opening

bool ReadFile(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format)
{
    std::vector<std::string> notices;
    std::string error;
    bool done;
    {
        const WaitCursor wait;
        done = ReadPicture(file, contents, format, notices, error);
    }
    if (!done) Complain(editor, file, error);
    else TellNotices(editor, file, notices);
    return done;
}

void OpenFile(Editor &editor, const std::string &file)
{
    Picture contents;
    FileFormat format;
    if (!ReadFile(editor, file, contents, format)) return;
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::absolute(file, failure);
    ShowPicture(editor, std::move(contents), failure ? file : path.string(), format);
    UpdateTitles(editor);
}

// Several files come as their folder and then their names, each ended by a zero byte.
void OpenByDialog(Editor &editor)
{
    std::vector<char> names(32768);
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, "Open", filter.c_str(), names.data(), names.size());
    question.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    if (!AskForFile(editor, FALSE, question)) return;
    const std::string first = names.data();
    const char *name = names.data() + first.size() + 1;
    if (!*name) return OpenFile(editor, first);
    for (; *name; name += strlen(name) + 1) OpenFile(editor, (std::filesystem::path(first) / name).string());
}

//---- Saving

static bool WriteTo(Editor &editor, PictureWindow &picture, const std::string &file, FileFormat format)
{
    std::vector<std::string> notices;
    std::string error;
    bool done = false;
    {
        const WaitCursor wait;
        LendPicture(picture.image, picture.image,
                    [&](const Picture &contents) { done = WritePicture(file, contents, format, {}, notices, error); });
    }
    if (!done) {
        Complain(editor, file, error);
        return false;
    }
    picture.file = file;
    picture.name = NameOfFile(file);
    picture.format = format;
    picture.savedState = MiscStateNumber(picture.image);
    picture.neverSaved = false;
    picture.keyMoveState = 0;   // what is moved from now on is not in the file
    if (picture.image->objectList.count > 0) notices.push_back("in the file its floating objects are merged");
    UpdateTitles(editor);
    TellNotices(editor, file, notices);
    return true;
}

static bool MayBeWritten(const Editor &editor, const PictureWindow &picture)
{
    if (CanChange(&picture)) return true;
    ShowMessage(editor, "An effect is at work on " + picture.name + ": it can be saved when that has ended.",
                MB_ICONERROR);
    return false;
}

bool SavePicture(Editor &editor, PictureWindow &picture)
{
    if (picture.file.empty()) return SavePictureAs(editor, picture);
    return MayBeWritten(editor, picture) && WriteTo(editor, picture, picture.file, picture.format);
}

bool SavePictureAs(Editor &editor, PictureWindow &picture)
{
    if (!MayBeWritten(editor, picture)) return false;
    char name[NAME_BYTES] = "";
    snprintf(name, sizeof name, "%s", picture.file.empty() ? picture.name.c_str() : picture.file.c_str());
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, "Save As", filter.c_str(), name, sizeof name);
    question.Flags |= OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST;
    question.lpstrDefExt = "png";
    if (!AskForFile(editor, TRUE, question) || !MayBeWritten(editor, picture)) return false;
    const FileFormat told = FormatOfName(name);
    if (told == FileFormat::UNKNOWN) {
        Complain(editor, name, "its ending is none of " + KnownEndings());
        return false;
    }
    return WriteTo(editor, picture, name, told);
}

//---- Closing

static BOOL KPZAPI RunEnded(void *context)
{
    ImageRecord *image = static_cast<PictureWindow *>(context)->image;
    if (!HostRunUnderWay(image)) return TRUE;
    SharedWrite(image->abortRequest, 1);
    return FALSE;
}

// Messages are handled meanwhile, and none of them may do anything with this picture.
static void AbortAndWait(PictureWindow &picture)
{
    picture.closing = true;
    HostRunMessages(RunEnded, &picture);
    picture.closing = false;
}

static void KPZAPI LookAway(void *, const ImageRecord *) {}

// What runs calls its step by its own name.
static std::string NameOfRun(const ImageRecord *image)
{
    const bool recorded = MiscLookBeforeRun(image, LookAway, nullptr);
    const char *label = recorded ? MiscUndoLabel(image) : nullptr;
    return label ? label : "";
}

// False: the picture stays.
static bool AskAboutRun(Editor &editor, PictureWindow &picture)
{
    if (QuestionOnClosing(IsRunning(picture), false) == Question::NONE) return true;
    const std::string text = TextOf(Question::ABORT, picture.name, NameOfRun(picture.image));
    if (ShowMessage(editor, text, MB_OKCANCEL | MB_ICONQUESTION) != IDOK) return false;
    AbortAndWait(picture);
    return true;
}

static bool AskAboutChanges(Editor &editor, PictureWindow &picture)
{
    if (QuestionOnClosing(IsRunning(picture), IsModified(picture)) != Question::SAVE) return !IsRunning(picture);
    const int answer = ShowMessage(editor, TextOf(Question::SAVE, picture.name, ""), MB_YESNOCANCEL | MB_ICONQUESTION);
    return answer == IDNO || (answer == IDYES && SavePicture(editor, picture));
}

static void Close(Editor &editor, PictureWindow &picture)
{
    picture.closing = true;
    CloseImage(editor.host, picture.image);
    RemovePictureWindow(editor, &picture);
}

bool ClosePicture(Editor &editor, PictureWindow &picture)
{
    if (picture.closing || !AskAboutRun(editor, picture) || !AskAboutChanges(editor, picture)) return false;
    Close(editor, picture);
    return true;
}

static int CountRunning(const Editor &editor)
{
    return int(std::count_if(editor.pictures.begin(), editor.pictures.end(),
                             [](const auto &picture) { return IsRunning(*picture); }));
}

static bool AskAboutRuns(Editor &editor)
{
    const int running = CountRunning(editor);
    if (running == 0) return true;
    if (ShowMessage(editor, TextOnQuitting(running), MB_OKCANCEL | MB_ICONQUESTION) != IDOK) return false;
    for (const auto &picture : editor.pictures) AbortAndWait(*picture);
    return true;
}

// All are asked about before the first goes, so that a Cancel leaves everything open.
bool CloseAll(Editor &editor)
{
    if (!AskAboutRuns(editor)) return false;
    for (size_t i = 0; i < editor.pictures.size(); ++i) {
        PictureWindow &picture = *editor.pictures[i];
        if (picture.closing) return false;   // it is being asked about
        if (IsModified(picture)) ActivatePicture(editor, &picture);
        if (!AskAboutChanges(editor, picture)) return false;
    }
    while (!editor.pictures.empty()) Close(editor, *editor.pictures.back());
    return true;
}
