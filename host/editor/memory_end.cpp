// When memory has run out, and no old undo step is left to give up for it, the program has to end. Before that the
// changed pictures can be saved, as copies: a file of a person's is not written over in such a moment.

#include "host/editor/memory_end.h"

#include "host/editor/questions.h"
#include "host/editor/rescue.h"
#include "host/paths/paths.h"

#include <atomic>
#include <new>

static constexpr size_t RESERVE_BYTES = 32 << 20;   // for the message boxes and the files' codecs
static void *reserve;

static constexpr UINT PATIENCE = 10000;   // milliseconds until the main window's thread has to hear of it
static std::atomic<bool> ending{false};

static std::vector<PictureWindow *> ChangedPictures(const Editor &editor)
{
    std::vector<PictureWindow *> changed;
    for (const auto &picture : editor.pictures)
        if (IsModified(*picture)) changed.push_back(picture.get());
    return changed;
}

struct Rescue {
    const PictureWindow &picture;
    std::string file, error;
    bool saved;
};

// A picture that runs is saved as it was before its run. Nothing is copied: there is no room.
static void KPZAPI SaveCopy(void *context, const ImageRecord *planes)
{
    Rescue &rescue = *static_cast<Rescue *>(context);
    std::vector<std::string> notices;
    LendPicture(rescue.picture.image, planes, [&](const Picture &picture) {
        try {
            rescue.saved = WritePicture(rescue.file, picture, FormatOfName(rescue.file), {}, notices, rescue.error);
        } catch (const std::bad_alloc &) {
            rescue.error = "there is not enough memory";
        }
    });
}

static void Save(Rescue &rescue)
{
    ImageRecord *image = rescue.picture.image;
    if (!MiscLookBeforeRun(image, SaveCopy, &rescue)) SaveCopy(&rescue, image);
}

static std::string RescuePicture(const PictureWindow &picture)
{
    std::error_code ignored;
    const std::string folder = NameOf(std::filesystem::temp_directory_path(ignored));
    Rescue rescue = {picture, RescueFile(picture.file, picture.name, folder), "", false};
    Save(rescue);
    if (!rescue.saved && !picture.file.empty()) {   // its own folder may be closed to us
        rescue.file = RescueFile("", picture.name, folder);
        Save(rescue);
    }
    return rescue.saved ? "saved as " + rescue.file : "could not be saved: " + rescue.error;
}

static std::string NamesOf(const std::vector<PictureWindow *> &pictures)
{
    std::string names;
    for (const PictureWindow *picture : pictures) names += "\n" + picture->name;
    return names;
}

static void RescuePictures(Editor &editor)
{
    VirtualFree(reserve, 0, MEM_RELEASE);
    const std::vector<PictureWindow *> changed = ChangedPictures(editor);
    if (changed.empty()) {
        ShowMessage(editor, "Memory has run out, and the editor has to end.\n\nNo changes are lost.", MB_ICONERROR);
        return;
    }
    const char question[] = "Memory has run out, and the editor has to end.\n\n"
                            "Save copies of the changed pictures first?\n";
    if (ShowMessage(editor, question + NamesOf(changed), MB_YESNO | MB_ICONERROR) != IDYES) return;
    std::string told;
    for (const PictureWindow *picture : changed) told += picture->name + " " + RescuePicture(*picture) + "\n";
    ShowMessage(editor, told, MB_ICONINFORMATION);
}

void EndForMemory(Editor &editor)
{
    if (ending.exchange(true)) return;
    RescuePictures(editor);
    ExitProcess(1);
}

// The pictures and the questions about them are the main window's thread's. Another thread asks it and waits for the
// program's end, but not for ever: it may be that thread that is waited for. Returning ends the program, as it must
// when the main window's thread runs out again while it saves.
static void KPZAPI OnMemoryEnd(void *context)
{
    Editor &editor = *static_cast<Editor *>(context);
    if (GetWindowThreadProcessId(editor.frame, nullptr) == GetCurrentThreadId()) return EndForMemory(editor);
    DWORD_PTR heard = 0;
    const LRESULT sent = SendMessageTimeoutA(editor.frame, MEMORY_HAS_RUN_OUT, 0, 0, SMTO_NORMAL, PATIENCE, &heard);
    if (sent || ending) Sleep(INFINITE);
}

void PrepareForMemoryEnd(Editor &editor)
{
    reserve = VirtualAlloc(nullptr, RESERVE_BYTES, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    HostBeforeMemoryEnd(OnMemoryEnd, &editor);
}
