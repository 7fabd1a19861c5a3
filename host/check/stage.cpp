// Opens effects' dialogs on images of a host without windows and holds their runs at a chosen report, so that a script
// may act meanwhile. What is right and wrong of what the module does then is others' business.

#include "host/check/stage.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

//---- Runs

// What the next run of an image does at one of its progress reports.
struct Plan {
    ImageRecord *image;
    int at;
    bool abort;
    int reports;
    bool held;
};

static std::mutex guard;
static std::condition_variable changed;
static std::map<HWND, Plan> plans;   // by image window

static void SetPlan(ImageRecord *image, int report, bool abort)
{
    const std::lock_guard<std::mutex> hold(guard);
    plans[image->window] = {image, report, abort, 0, false};
}

void HoldNextRun(ImageRecord *image, int report) { SetPlan(image, report, false); }
void AbortNextRun(ImageRecord *image, int report) { SetPlan(image, report, true); }

void LetGo(ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(guard);
    plans[image->window].at = -1;
    changed.notify_all();
}

int ReportsOf(ImageRecord *image)
{
    const std::lock_guard<std::mutex> hold(guard);
    return plans[image->window].reports;
}

static void LetAllGo()
{
    const std::lock_guard<std::mutex> hold(guard);
    for (auto &plan : plans) plan.second.at = -1;
    changed.notify_all();
}

// Against the system clock: the wait for a steady one is a call that the thread sanitizer does not know.
static bool WaitUntilHeld(ImageRecord *image)
{
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(60);
    std::unique_lock<std::mutex> hold(guard);
    return changed.wait_until(hold, deadline, [image] { return plans[image->window].held; });
}

// A worker's reports come here, on the run's thread.
static void KPZAPI FollowPlan(void *, HWND window)
{
    std::unique_lock<std::mutex> hold(guard);
    const auto found = plans.find(window);
    if (found == plans.end() || found->second.reports++ != found->second.at) return;
    Plan &plan = found->second;
    if (plan.abort) {
        SharedWrite(plan.image->abortRequest, 1);
        return;
    }
    plan.held = true;
    changed.notify_all();
    changed.wait(hold, [&plan] { return plan.at < 0; });
    plan.held = false;
}

bool HoldRunOfApply(HWND dialog, ImageRecord *image, int report)
{
    HoldNextRun(image, report);
    Press(dialog, APPLY_BUTTON);
    return WaitUntilHeld(image);
}

void ApplyAndWait(HWND dialog)
{
    Press(dialog, APPLY_BUTTON);
    WaitForRuns();
}

//---- The stage

static int32_t KPZAPI ShowBox(void *context, HWND owner, const char *text, const char *title, int32_t style)
{
    auto *stage = static_cast<ModuleStage *>(context);
    stage->boxes.push_back({owner, text, title, style});
    if (stage->atBox) stage->atBox();
    return IDOK;
}

static void KPZAPI EvaluateMenus(void *context, HostContext *host)
{
    auto *stage = static_cast<ModuleStage *>(context);
    stage->host.module.setupMenus(stage->host.menu, stage->host.base, host->activeImage);
    if (stage->atMenus) stage->atMenus();
}

ModuleStage::ModuleStage(const std::string &moduleFile)
{
    std::string error;
    if (!StartHost(host, moduleFile, error)) throw std::runtime_error(error);
    HostAnswerMessageBoxes(ShowBox, this);
    MiscAnswerMenus(EvaluateMenus, this);
    MiscObserveProgress(FollowPlan, nullptr);
    host.onHelp = [this](int32_t page) { helpPages.push_back(page); };
}

ModuleStage::~ModuleStage()
{
    LetAllGo();
    atBox = atMenus = nullptr;
    EndHost(host);
    HostAnswerMessageBoxes(nullptr, nullptr);
    MiscObserveProgress(nullptr, nullptr);
    const std::lock_guard<std::mutex> hold(guard);
    plans.clear();
}

ImageRecord *Open(ModuleStage &stage, Picture picture)
{
    ImageRecord *image = OpenImage(stage.host, std::move(picture));
    if (image) stage.images.push_back(image);
    return image;
}

void Close(ModuleStage &stage, ImageRecord *image)
{
    std::erase(stage.images, image);
    CloseImage(stage.host, image);
}

static void Leave(ModuleStage &stage, HWND dialog, DialogOutcome &outcome)
{
    LetAllGo();
    for (ImageRecord *image : stage.images) SharedWrite(image->abortRequest, 1);
    WaitForRuns();
    if (!IsOpen(dialog)) return;
    KPZ_EnableDlgItem(dialog, CLOSE_BUTTON, TRUE);
    Command(dialog, CLOSE_BUTTON);
    if (!IsOpen(dialog)) return;
    outcome.closed = false;
    KPZ_DismissDialog(dialog, 1);
}

DialogOutcome WorkInDialog(ModuleStage &stage, int commandOffset, const Script &script)
{
    DialogOutcome outcome;
    outcome.opened = ActInDialog(stage.host, commandOffset, [&](HWND dialog) {
        script(dialog);
        Leave(stage, dialog, outcome);
    });
    return outcome;
}

//---- Windows

std::vector<HWND> ChildrenOf(HWND dialog)
{
    std::vector<HWND> children;
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        children.push_back(child);
    return children;
}

static LRESULT KPZAPI NoteHandled(HWND window, UINT message, WPARAM, LPARAM)
{
    if (message == WM_USER) *static_cast<bool *>(HostWindowData(window)) = true;
    return 0;
}

// Messages are handled in order, so one at the end of the queue tells that all before it have been.
void HandlePosted()
{
    bool handled = false;
    const HWND last = HostCreateWindow("last", NoteHandled, &handled);
    KPZ_SendMsgNoWait(last, WM_USER, 0, 0);
    WaitUntil([&handled] { return handled; });
    HostDestroyWindow(last);
}

//---- The log

bool operator==(const Call &left, const Call &right)
{
    return left.name == right.name && left.arguments == right.arguments;
}

bool operator==(const Message &left, const Message &right)
{
    return left.message == right.message && left.word == right.word && left.extra == right.extra;
}

intptr_t AddressOf(intptr_t routine)
{
#ifdef _WIN32
    const auto *code = reinterpret_cast<const uint8_t *>(routine);
    if (code && code[0] == 0xFF && code[1] == 0x25) {   // jmp [target]
        int32_t place;   // where the target's address lies; on 64 bits from the next instruction on
        std::memcpy(&place, code + 2, sizeof place);
        const intptr_t from = sizeof routine == 8 ? routine + 6 : 0;
        return *reinterpret_cast<const intptr_t *>(from + place);
    }
#endif
    return routine;
}

Calls AllCallsDuring(const std::function<void()> &act)
{
    HostStartLog();
    act();
    HostStopLog();
    Calls calls;
    LoggedCall entry;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i) {
        Call call{entry.call, {}, entry.text, entry.onRunThread != 0};
        std::copy(std::begin(entry.arguments), std::end(entry.arguments), call.arguments.begin());
        if (call.name == "KPZ_CreateThread") call.arguments[0] = AddressOf(call.arguments[0]);
        if (call.name == "KPZ_RunDialogBox") call.arguments[1] = AddressOf(call.arguments[1]);
        calls.push_back(std::move(call));
    }
    return calls;
}

Calls CallsDuring(const std::function<void()> &act)
{
    Calls calls = AllCallsDuring(act);
    std::erase_if(calls, [](const Call &call) { return call.onRunThread; });
    return calls;
}

Calls Only(const Calls &calls, const std::vector<std::string> &names)
{
    Calls found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found), [&names](const Call &call) {
        return std::find(names.begin(), names.end(), call.name) != names.end();
    });
    return found;
}

int CountOf(const Calls &calls, const std::string &name) { return int(Only(calls, {name}).size()); }

std::vector<std::string> NamesOf(const Calls &calls)
{
    std::vector<std::string> names;
    for (const Call &call : calls) names.push_back(call.name);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

Calls CallsAfter(HWND dialog, UINT message, WPARAM word, LPARAM extra, LRESULT &result)
{
    Calls calls = CallsDuring([&] { result = Send(dialog, message, word, extra); });
    calls.erase(calls.begin());   // the message itself
    std::erase_if(calls, [](const Call &call) {
        return call.name == "KPZ_QueryWindowPtrSystem" || call.name == "KPZ_IsWindowEnabled";
    });
    return calls;
}

Messages MessagesTo(int32_t controlId, const Calls &calls)
{
    Messages messages;
    for (const Call &call : Only(calls, {"KPZ_SendDlgItemMsg"})) {
        if (call.arguments[1] != controlId) continue;
        messages.push_back({UINT(call.arguments[2]), WPARAM(call.arguments[3]), LPARAM(call.arguments[4])});
    }
    return messages;
}
