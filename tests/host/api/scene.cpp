// A dialog that writes down what its procedure is told, for tests that hold both back ends to the same messages. What
// differs between systems by nature, focus and drawing, is left out.

#include "tests/host/api/scene.h"

enum { NOTIFY = 0x004E, SCRIPT = WM_USER + 200, DRAINED = WM_USER + 201 };

// Focus that comes and goes: a field's and a list's notifications.
static bool IsAboutFocus(int notification)
{
    return notification == 0x0100 || notification == 0x0200 || notification == 4 || notification == 5;
}

// A real trackbar lets its dialog help with drawing.
static bool IsAboutDrawing([[maybe_unused]] LPARAM notice)
{
#ifdef _WIN32
    return reinterpret_cast<const NMHDR *>(notice)->code == UINT(NM_CUSTOMDRAW);
#else
    return false;
#endif
}

void PrintTo(const Told &told, std::ostream *out)
{
    *out << std::hex << "{0x" << told.message << ", 0x" << told.word << ", 0x" << told.extra << "}" << std::dec;
}

Told Notified(int32_t id, int notification, HWND control)
{
    return {WM_COMMAND, MAKEWPARAM(id, notification), reinterpret_cast<LPARAM>(control)};
}

// A real dialog hears of much more: focus, fonts, colours.
static bool IsOfInterest(UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_COMMAND) return !IsAboutFocus(HIWORD(word));
    if (message == NOTIFY) return !IsAboutDrawing(extra);
    return message == WM_DESTROY || message == WM_HSCROLL || message == WM_VSCROLL ||
           (message >= TEST_MESSAGE && message < TEST_MESSAGE + 100);
}

//---- Dialogs

struct Opening {
    Scene scene;
    const Script &script;
};

static void RunScript(Opening &opening)
{
    opening.scene.told.clear();
    opening.scene.threads.clear();
    opening.script(opening.scene);
    KPZ_DismissDialog(opening.scene.dialog, 1);
}

static INT_PTR KPZAPI SceneProcedure(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_INITDIALOG) {
        KPZ_SetWindowPtrSystem(dialog, reinterpret_cast<void *>(extra));
        auto *opening = reinterpret_cast<Opening *>(extra);
        opening->scene.dialog = dialog;
        opening->scene.parameter = extra;
        KPZ_SendMsgNoWait(dialog, SCRIPT, 0, 0);
        return 1;
    }
    auto *opening = static_cast<Opening *>(KPZ_QueryWindowPtrSystem(dialog));
    if (opening && message == SCRIPT) return RunScript(*opening), 1;
    if (!opening || !IsOfInterest(message, word, extra)) return KPZ_DefDlgProc(dialog, message, word, extra);
    const Told told = {message, word, extra};
    opening->scene.told.push_back(told);
    opening->scene.threads.push_back(std::this_thread::get_id());
    return opening->scene.answer ? opening->scene.answer(told) : KPZ_DefDlgProc(dialog, message, word, extra);
}

INT_PTR InDialog(int32_t templateId, const Script &script)
{
    Opening opening = {{}, script};
    return KPZ_RunDialogBox(KPZ_GetDesktopWindow(), SceneProcedure, HostModule(), templateId, &opening);
}

//---- Messages

static BOOL KPZAPI AskDone(void *context) { return (*static_cast<const std::function<bool()> *>(context))(); }

void RunUntil(const std::function<bool()> &done)
{
    HostRunMessages(AskDone, const_cast<std::function<bool()> *>(&done));
}

static LRESULT KPZAPI ListenerProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *listener = static_cast<Listener *>(HostWindowData(window));
    const bool taken = listener && (message == WM_DESTROY || message == 0 || message > WM_USER);
    return taken ? listener->answer({message, word, extra}) : KPZ_DefWindowProc(window, message, word, extra);
}

Listener::Listener(std::function<LRESULT(const Told &)> routine) : answer(std::move(routine))
{
    window = HostCreateWindow("listener", ListenerProcedure, this);
}

Listener::~Listener() { HostDestroyWindow(window); }

void HandlePosted()
{
    bool drained = false;
    Listener last([&](const Told &told) { return drained = drained || told.message == DRAINED; });
    KPZ_SendMsgNoWait(last.window, DRAINED, 0, 0);
    RunUntil([&] { return drained; });
}
