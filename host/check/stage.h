// A stage: a host with a module loaded and pictures open, a dialog that a script works in, what the module asked of the
// host meanwhile, and runs that stop where the script wants them to. The checks and the tests of dialogs play on it; it
// expects nothing itself. Everything is called on the one thread that is the dialogs' thread.

#pragma once

#include "host/acting/acting.h"
#include "interface/effect_table.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

struct ShownBox {
    HWND owner;
    std::string text, title;
    int32_t style;
};

struct ModuleStage {
    Host host;
    std::vector<ImageRecord *> images;      // in the order they were opened
    std::vector<ShownBox> boxes;            // message boxes, each answered with OK
    std::function<void()> atBox, atMenus;   // run while a box is up, and when the menus have been evaluated again
    std::vector<int32_t> helpPages;

    // With VLMEFF, or the named module; throws std::runtime_error with one line when it cannot be loaded.
    explicit ModuleStage(const std::string &moduleFile);
    ~ModuleStage();
    ModuleStage(const ModuleStage &) = delete;
    ModuleStage &operator=(const ModuleStage &) = delete;
};

ImageRecord *Open(ModuleStage &stage, Picture picture);
void Close(ModuleStage &stage, ImageRecord *image);

// Opens the dialog of a command, runs the script in it, and leaves it: what still runs is aborted, the dialog closed.
typedef std::function<void(HWND dialog)> Script;
struct DialogOutcome {
    bool opened = false, closed = true;   // one that did not close by its button is dismissed
};
DialogOutcome WorkInDialog(ModuleStage &stage, int commandOffset, const Script &script);

//---- Looking into a dialog

// A dialog that has gone has no pointer of its module's.
inline bool IsOpen(HWND dialog) { return KPZ_QueryWindowPtrSystem(dialog) != nullptr; }
inline bool IsEnabled(HWND dialog, int id) { return KPZ_IsWindowEnabled(GetDlgItem(dialog, id)); }
// The dialog's children, in window order.
std::vector<HWND> ChildrenOf(HWND dialog);

//---- Sending

inline LRESULT Send(HWND window, UINT message, WPARAM word = 0, LPARAM extra = 0)
{
    return KPZ_SendMsgAndWait(window, message, word, extra);
}
template <typename Record> LRESULT Send(HWND window, UINT message, WPARAM word, Record *extra)
{
    return KPZ_SendMsgAndWait(window, message, word, reinterpret_cast<LPARAM>(extra));
}
// A command as a control gives it, also one that is greyed.
inline LRESULT Command(HWND dialog, int id, int notification = 0, LPARAM extra = 0)
{
    return Send(dialog, WM_COMMAND, MAKEWPARAM(id, notification), extra);
}
// Handles all messages that were posted so far.
void HandlePosted();

//---- What the module asked of the host

struct Call {
    std::string name;
    std::array<intptr_t, 12> arguments = {};   // pointers as addresses; 0 beyond the last
    std::string text = {};                     // its first text argument
    bool onRunThread = false;
};
typedef std::vector<Call> Calls;
bool operator==(const Call &left, const Call &right);   // by name and arguments

// A routine's one address, as calls show it. A Windows program that takes the address of a DLL's routine gets a jump of
// its own that leads there.
intptr_t AddressOf(intptr_t routine);
template <typename Routine> intptr_t AddressOf(Routine *routine)
{
    return AddressOf(reinterpret_cast<intptr_t>(routine));
}

template <typename... Arguments> Call Called(const char *name, Arguments... arguments)
{
    return {name, {(intptr_t)arguments...}};
}

struct Message {
    UINT message;
    WPARAM word;
    LPARAM extra;
};
typedef std::vector<Message> Messages;
bool operator==(const Message &left, const Message &right);

// All calls while `act` runs, in their order. The script's own are among them.
Calls AllCallsDuring(const std::function<void()> &act);
// Those that came from this thread.
Calls CallsDuring(const std::function<void()> &act);
// Those of the named functions.
Calls Only(const Calls &calls, const std::vector<std::string> &names);
int CountOf(const Calls &calls, const std::string &name);
// Their names; neighbours of one name once.
std::vector<std::string> NamesOf(const Calls &calls);
// What a dialog did through the host while it handled a message: calls that only ask are left out.
Calls CallsAfter(HWND dialog, UINT message, WPARAM word, LPARAM extra, LRESULT &result);
// What a dialog sent to one of its controls.
Messages MessagesTo(int32_t controlId, const Calls &calls);
inline Messages MessagesTo(int32_t controlId, const std::function<void()> &act)
{
    return MessagesTo(controlId, CallsDuring(act));
}

//---- Runs

// The image's next run stops at its worker's progress report number `report`, counted from 0, until it is let go.
void HoldNextRun(ImageRecord *image, int report = 0);
// Presses Apply in the dialog of the active image and waits until its run stands still; false when it does not within a
// minute.
bool HoldRunOfApply(HWND dialog, ImageRecord *image, int report = 0);
void LetGo(ImageRecord *image);
// The image's next run finds its abort request set right after progress report number `report`.
void AbortNextRun(ImageRecord *image, int report);
// How many progress reports the image's run has made since the last of the above.
int ReportsOf(ImageRecord *image);

// Presses Apply and waits for all runs to end.
void ApplyAndWait(HWND dialog);
// Handles messages until no run is under way.
inline void WaitForRuns() { HostWaitForThreads(); }

inline bool IsRunning(const ImageRecord *image) { return SharedRead(image->effectThread) != nullptr; }
