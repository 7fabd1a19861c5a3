// Pictures opened from files and saved into them, with what has to be said of it. Asking for a file's name is
// file_questions.h's, closing close_commands.h's.

#include "host/editor/file_commands.h"

#include "host/editor/file_questions.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_window.h"
#include "host/editor/questions.h"
#include "host/paths/paths.h"

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
    const std::filesystem::path path = std::filesystem::absolute(PathOf(file), failure);
    ShowPicture(editor, std::move(contents), failure ? file : NameOf(path), format);
    UpdateTitles(editor);
}

void OpenByDialog(Editor &editor)
{
    for (const std::string &file : AskForPictures(editor)) OpenFile(editor, file);
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
    picture.name = WithoutFolder(file);
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
    const std::string name = AskWhereToSave(editor, picture.file.empty() ? picture.name : picture.file);
    if (name.empty() || !MayBeWritten(editor, picture)) return false;
    const FileFormat told = FormatOfName(name);
    if (told == FileFormat::UNKNOWN) {
        Complain(editor, name, "its ending is none of " + KnownEndings());
        return false;
    }
    return WriteTo(editor, picture, name, told);
}
