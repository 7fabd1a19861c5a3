// See batch_process.h: how the command line is started, fed with names, read and ended. What its lines look like is told
// in docs/command-line.md.

#include "host/editor/batch_process.h"

#include "host/acting/preset_files.h"
#include "host/documents/library.h"
#include "host/editor/batch_program.h"
#include "host/editor/child_process.h"
#include "host/paths/paths.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

static constexpr DWORD PATIENCE = 5000;   // milliseconds that an abort may take before the process is ended

struct BatchWork {
    HWND window;
    UINT message;
    ChildProcess child;   // its thread's
    std::string recipe;   // the file
    std::mutex guard;     // of all below
    bool running = true;
    BatchNews news;   // not yet taken
};

std::string BatchProgram()
{
    BOOL under64Bits = FALSE;
    return BatchProgramIn(ProgramFolder(), IsWow64Process(GetCurrentProcess(), &under64Bits) && under64Bits);
}

//---- Words for the process

// As programs take their line apart: backslashes before a quote count twice.
static std::string Quoted(const std::string &word)
{
    std::string quoted = "\"";
    size_t slashes = 0;
    for (const char letter : word) {
        slashes = letter == '\\' ? slashes + 1 : 0;
        quoted += letter;
    }
    return quoted + std::string(slashes, '\\') + "\"";
}

// One for each batch that is under way.
static std::string RecipeFile()
{
    static int number;
    const std::string name =
        "velmorant-batch-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number) + ".recipe";
    std::error_code ignored;
    return NameOf(std::filesystem::temp_directory_path(ignored) / PathOf(name));
}

static std::string LineFor(const std::string &program, const std::string &recipe, const BatchOrder &order)
{
    std::string line = Quoted(program) + " batch --recipe " + Quoted(recipe) + " --output-folder " +
                       Quoted(order.folder) + " --files-from - --report - --quiet";
    if (order.leave) line += " --skip-existing";
    return line;
}

//---- The thread that speaks with it

static void Tell(BatchWork &work, const std::function<void(BatchNews &news)> &change)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    change(work.news);
    PostMessageA(work.window, work.message, 0, 0);
}

static void TakeLine(BatchWork &work, const std::string &line)
{
    const auto json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object()) return;
    BatchResult result = {json.value("file", ""), json.value("status", ""), "", {}};
    if (json.contains("error") && json["error"].is_string()) result.error = json["error"];
    if (json.contains("notices") && json["notices"].is_array())
        for (const auto &notice : json["notices"])
            if (notice.is_string()) result.notices.push_back(notice);
    Tell(work, [&](BatchNews &news) { news.results.push_back(result); });
}

static std::string Read(HANDLE pipe, const std::function<void(const std::string &line)> &take)
{
    std::string text;
    char bytes[4096];
    for (DWORD count = 0; ReadFile(pipe, bytes, sizeof bytes, &count, nullptr) && count > 0;) {
        text.append(bytes, count);
        for (size_t end; take && (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
            take(text.substr(0, end));
    }
    return text;
}

static void WriteNames(HANDLE &pipe, const std::vector<std::string> &files)
{
    for (const std::string &file : files) {
        DWORD written = 0;   // a name ends with its zero byte
        if (!WriteFile(pipe, file.c_str(), DWORD(file.size()) + 1, &written, nullptr)) break;
    }
    CloseHandleOf(pipe);
}

static std::atomic<int> underWay;

static void WorkThread(const std::shared_ptr<BatchWork> work, const std::vector<std::string> files)
{
    std::string errors;
    std::thread listener([&] { errors = Read(work->child.errors, nullptr); });
    WriteNames(work->child.input, files);
    Read(work->child.output, [&](const std::string &line) { TakeLine(*work, line); });
    listener.join();
    WaitForSingleObject(work->child.process, INFINITE);
    {
        const std::lock_guard<std::mutex> hold(work->guard);
        work->running = false;
        CloseChild(work->child);
    }
    std::error_code ignored;
    std::filesystem::remove(PathOf(work->recipe), ignored);
    Tell(*work, [&](BatchNews &news) {
        news.ended = true;
        news.errors = errors;
    });
    --underWay;
}

//---- For the window

std::shared_ptr<BatchWork> StartBatch(const BatchOrder &order, HWND window, UINT message, std::string &error)
{
    const std::string program = BatchProgram();
    auto work = std::make_shared<BatchWork>();
    work->window = window;
    work->message = message;
    work->recipe = RecipeFile();
    if (!WriteStepLines(work->recipe, order.steps, error)) return nullptr;
    if (!StartChild(program, LineFor(program, work->recipe, order), work->child, true)) {
        error = "velmorant.exe cannot be started";
        return nullptr;
    }
    ++underWay;
    std::thread(WorkThread, work, order.files).detach();
    return work;
}

BatchNews TakeBatchNews(BatchWork &work)
{
    const std::lock_guard<std::mutex> hold(work.guard);
    return std::exchange(work.news, {});
}

bool BatchUnderWay() { return underWay > 0; }

// As Ctrl+Break in its own console, which nobody sees.
static void Interrupt(HANDLE process)
{
    const DWORD id = GetProcessId(process);
    if (!AttachConsole(id)) return;
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, id);
    FreeConsole();
}

void AbortBatch(const std::shared_ptr<BatchWork> &work)
{
    HANDLE process = nullptr;
    {
        const std::lock_guard<std::mutex> hold(work->guard);
        if (!work->running) return;
        DuplicateHandle(GetCurrentProcess(), work->child.process, GetCurrentProcess(), &process, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
    }
    if (!process) return;
    std::thread([process] {
        Interrupt(process);
        if (WaitForSingleObject(process, PATIENCE) == WAIT_TIMEOUT) TerminateProcess(process, 1);
        CloseHandle(process);
    }).detach();
}
