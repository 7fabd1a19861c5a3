// Pictures opened from files and saved into them, with what has to be said of it. Asking for a file's name is
// file_questions.h's, closing close_commands.h's.

#include "host/editor/file_commands.h"

#include "host/editor/document_file.h"
#include "host/editor/file_questions.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_window.h"
#include "host/editor/questions.h"
#include "host/editor/remembered.h"
#include "host/paths/paths.h"

#include <algorithm>

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
    ShowMessage(editor, WithoutFolder(file) + ": " + error, MB_ICONERROR);
}

static void TellNotices(const Editor &editor, const std::string &file, const std::vector<std::string> &notices)
{
    std::string text = WithoutFolder(file) + ":";
    for (const std::string &notice : notices) text += "\n" + notice;
    if (!notices.empty()) ShowMessage(editor, text, MB_ICONINFORMATION);
}

//---- Opening

static bool ReadWith(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format,
                     Document *document, std::vector<std::string> &notices)
{
    std::string error;
    bool done;
    {
        const WaitCursor wait;
        done = document ? ReadDocument(file, contents, format, *document, notices, error)
                        : ReadPicture(file, contents, format, notices, error);
    }
    if (!done) Complain(editor, file, error);
    else TellNotices(editor, file, notices);
    return done;
}

bool ReadFile(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format)
{
    std::vector<std::string> notices;
    return ReadWith(editor, file, contents, format, nullptr, notices);
}

void OpenFile(Editor &editor, const std::string &file)
{
    Picture contents;
    FileFormat format;
    Document document;
    std::vector<std::string> notices;
    if (!ReadWith(editor, file, contents, format, &document, notices)) return;
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::absolute(PathOf(file), failure);
    PictureWindow *picture = ShowPicture(editor, std::move(contents), failure ? file : NameOf(path), format, &document);
    if (picture) {
        RememberFile(picture->file);
        picture->oneOfSeveral = std::any_of(notices.begin(), notices.end(), [](const std::string &notice) {
            return notice == ONLY_THE_FIRST || notice == ONLY_THE_FIRST_FRAME;
        });
    }
    UpdateTitles(editor);
}

void OpenRecent(Editor &editor, size_t number)
{
    const std::vector<std::string> files = RecentFiles();
    if (number >= files.size()) return;
    std::error_code ignored;
    if (!std::filesystem::exists(PathOf(files[number]), ignored)) ForgetFile(files[number]);
    OpenFile(editor, files[number]);   // which says what is wrong
}

void RevertPicture(Editor &editor, PictureWindow &picture)
{
    ImageRecord *image = picture.image;
    int undone = 0;
    while (!picture.neverSaved && MiscStateNumber(image) != picture.savedState && MiscUndo(image)) ++undone;
    if (!IsModified(picture)) {
        if (image->maskEditing && !image->mask) EditMask(image, false);
        MiscTellFloaters(editor.host.context.floaters, ACTIVE_IMAGE_CHANGED, 0, 0);
        ChooseMenus(&editor.host.context);
        return PictureChanged(editor, picture);
    }
    while (undone-- > 0) MiscRedo(image);
    const std::string text = picture.name +
                             " cannot be undone as far as its file.\n\nOpen the file anew, and lose what "
                             "has been done since?";
    if (ShowMessage(editor, text, MB_OKCANCEL | MB_ICONQUESTION) != IDOK || !CanChange(&picture)) return;
    const std::string file = picture.file;
    picture.closing = true;
    CloseImage(editor.host, image);
    RemovePictureWindow(editor, &picture);
    OpenFile(editor, file);
}

void OpenByDialog(Editor &editor)
{
    for (const std::string &file : AskForPictures(editor, "Open")) OpenFile(editor, file);
}

//---- Saving

static bool Write(const PictureWindow &picture, const std::string &file, FileFormat format, int quality,
                  std::vector<std::string> &notices, std::string &error)
{
    const WaitCursor wait;
    if (format == FileFormat::TIFF && NeedsDocument(*picture.image)) {
        return WriteDocument(file, picture.image, notices, error);
    }
    SaveOptions options;
    options.quality = quality;
    bool done = false;
    LendPicture(picture.image, picture.image,
                [&](const Picture &contents) { done = WritePicture(file, contents, format, options, notices, error); });
    return done;
}

// "floating objects, the mask and the palette"
static std::string Joined(const std::vector<std::string> &parts)
{
    std::string text;
    for (size_t i = 0; i < parts.size(); ++i) text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return text;
}

static void TellLeftOut(const Editor &editor, const std::string &file, const std::vector<std::string> &parts,
                        const std::vector<std::string> &notices)
{
    std::string text =
        WithoutFolder(file) + " is written without " + Joined(parts) +
        ".\n\nThe open picture has all of it and still counts as changed: a TIFF file (*.tif) keeps all.";
    for (const std::string &notice : notices) text += "\n" + notice;
    ShowMessage(editor, text, MB_ICONINFORMATION);
}

// What leaves something out is an export: the picture that is open remains what is to be saved.
static Saved WriteTo(Editor &editor, PictureWindow &picture, const std::string &file, FileFormat format, int quality,
                     bool exports)
{
    std::vector<std::string> notices;
    std::string error;
    const std::vector<std::string> leftOut = LeftOut(*picture.image, format, file);
    if (!Write(picture, file, format, quality, notices, error)) {
        Complain(editor, file, error);
        return Saved::NOTHING;
    }
    if (!exports && leftOut.empty()) {
        RememberFile(file);
        picture.file = file;
        picture.name = WithoutFolder(file);
        picture.format = format;
        picture.quality = quality;
        picture.savedState = MiscStateNumber(picture.image);
        picture.neverSaved = false;
        picture.oneOfSeveral = false;
        picture.keyMoveState = 0;   // what is moved from now on is not in the file
        UpdateTitles(editor);
    }
    if (leftOut.empty()) TellNotices(editor, file, notices);
    else TellLeftOut(editor, file, leftOut, notices);
    return leftOut.empty() ? Saved::ALL : Saved::PART;
}

static bool MayBeWritten(const Editor &editor, const PictureWindow &picture)
{
    if (CanChange(&picture)) return true;
    ShowMessage(editor, "An effect is at work on " + picture.name + ": it can be saved when that has ended.",
                MB_ICONERROR);
    return false;
}

// Over a file of which only one page is open the others would be lost.
Saved SavePicture(Editor &editor, PictureWindow &picture)
{
    if (picture.file.empty() || picture.oneOfSeveral) return SavePictureAs(editor, picture);
    if (!MayBeWritten(editor, picture)) return Saved::NOTHING;
    return WriteTo(editor, picture, picture.file, picture.format, picture.quality, false);
}

// The picture's own name, with the ending of the format that keeps all where its own does not.
static std::string SuggestedName(const PictureWindow &picture)
{
    const std::string name = picture.file.empty() ? picture.name : picture.file;
    const FileFormat format = FormatOfName(name);
    if (format != FileFormat::UNKNOWN && LeftOut(*picture.image, format, name).empty()) return name;
    std::filesystem::path path = PathOf(name);
    if (format != FileFormat::UNKNOWN) path.replace_extension();
    return NameOf(path) + (LeftOut(*picture.image, FileFormat::PNG, "").empty() ? ".png" : ".tif");
}

static Saved AskAndWrite(Editor &editor, PictureWindow &picture, const char *title, bool exports)
{
    if (!MayBeWritten(editor, picture)) return Saved::NOTHING;
    FileFormat format;
    const std::string name = AskWhereToSave(editor, title, SuggestedName(picture), format);
    if (name.empty() || !MayBeWritten(editor, picture)) return Saved::NOTHING;
    int quality = picture.quality;
    if (format == FileFormat::JPEG && !AskForQuality(editor, picture, quality)) return Saved::NOTHING;
    if (!MayBeWritten(editor, picture)) return Saved::NOTHING;
    return WriteTo(editor, picture, name, format, quality, exports);
}

Saved SavePictureAs(Editor &editor, PictureWindow &picture) { return AskAndWrite(editor, picture, "Save As", false); }

void ExportPicture(Editor &editor, PictureWindow &picture) { AskAndWrite(editor, picture, "Export", true); }
