// Pictures closed, one or all, and what a person is asked before that; the words are closing.h's. What runs is aborted
// and waited for, which handles messages: a picture that is closing takes no further commands meanwhile.

#include "host/editor/close_commands.h"

#include "host/editor/closing.h"
#include "host/editor/file_commands.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_window.h"
#include "host/editor/questions.h"

#include <algorithm>

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
    if (answer != IDYES) return answer == IDNO;
    const Saved saved = SavePicture(editor, picture);
    if (saved != Saved::PART) return saved == Saved::ALL;
    return ShowMessage(editor, TextOf(Question::LOSE, picture.name, ""), MB_YESNO | MB_ICONQUESTION) == IDYES;
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
