// Both ends of the process that makes the thumbnails: how the editor starts it, speaks with it on a thread of its own and
// ends it, and what it does itself. How thumbnails are made is thumbnails.h's.

#include "host/editor/thumbnail_process.h"

#include "host/documents/library.h"
#include "host/editor/child_process.h"

#include <mutex>
#include <thread>
#include <utility>

struct ThumbnailWork {
    Picture picture;
    Extent room;
    HWND window;
    UINT message;
    std::mutex guard;   // of all below
    bool ended = false;
    HANDLE process = nullptr;          // while it runs
    std::vector<MadeThumbnail> made;   // not yet taken
};

//---- Bytes

static WriteBytes WriterTo(HANDLE pipe)
{
    return [pipe](const void *bytes, size_t count) {
        DWORD written = 0;
        return WriteFile(pipe, bytes, DWORD(count), &written, nullptr) && written == count;
    };
}

static ReadBytes ReaderOf(HANDLE pipe)
{
    return [pipe](void *bytes, size_t count) {
        auto *next = static_cast<uint8_t *>(bytes);
        for (DWORD read = 0; count > 0; next += read, count -= read)
            if (!ReadFile(pipe, next, DWORD(count), &read, nullptr) || read == 0) return false;
        return true;
    };
}

//---- The thread that speaks with it

// False when it is not wanted any more.
static bool KeepProcess(ThumbnailWork &work, HANDLE process)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    if (work.ended) TerminateProcess(process, 0);
    else work.process = process;
    return !work.ended;
}

static bool HandOver(ThumbnailWork &work, MadeThumbnail &&made)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    if (work.ended) return false;
    work.made.push_back(std::move(made));
    PostMessageA(work.window, work.message, 0, 0);
    return true;
}

static void Speak(ThumbnailWork &work, const ChildProcess &child)
{
    if (!SendPicture(WriterTo(child.input), 0, work.picture)) return;
    const ReadBytes read = ReaderOf(child.output);
    int32_t effect;
    Picture result;
    while (ReceivePicture(read, effect, result))
        if (!HandOver(work, {effect, ThumbnailOf(result, work.room)})) return;
}

static void WorkThread(const std::shared_ptr<ThumbnailWork> work)
{
    ChildProcess child;
    const std::string file = ProgramFile();
    const std::string line = "\"" + file + "\" " + THUMBNAILS_SWITCH;
    if (StartChild(file, line, child) && KeepProcess(*work, child.process)) Speak(*work, child);
    const std::lock_guard<std::mutex> hold(work->guard);
    work->process = nullptr;
    CloseChild(child);
}

//---- For the window

std::shared_ptr<ThumbnailWork> StartThumbnails(Picture picture, Extent room, HWND window, UINT message)
{
    auto work = std::make_shared<ThumbnailWork>();
    work->picture = std::move(picture);
    work->room = room;
    work->window = window;
    work->message = message;
    std::thread(WorkThread, work).detach();
    return work;
}

std::vector<MadeThumbnail> TakeThumbnails(ThumbnailWork &work)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    return std::exchange(work.made, {});
}

void EndThumbnails(ThumbnailWork &work)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    work.ended = true;
    if (work.process) TerminateProcess(work.process, 0);
}

//---- The process itself

int MakeThumbnails()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);   // nobody sees a box of its
    Host host;
    std::string error;
    int32_t number;
    Picture picture;
    const ReadBytes read = ReaderOf(GetStdHandle(STD_INPUT_HANDLE));
    const WriteBytes write = WriterTo(GetStdHandle(STD_OUTPUT_HANDLE));
    if (!StartHost(host, "", error)) return 1;
    const bool received = ReceivePicture(read, number, picture);
    if (received) {
        RunAllEffects(host, picture,
                      [&write](int32_t effect, const Picture &result) { return SendPicture(write, effect, result); });
    }
    EndHost(host);
    return received ? 0 : 1;
}
