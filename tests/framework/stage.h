// A stage for tests of entry points and dialogs: a host with the module loaded and pictures open, a dialog that a
// script works in, what the module asked of the host meanwhile, and runs that stop where a test wants them to.
// Everything is called on the test's own thread, which is the dialogs' thread.

#pragma once

#include "framework/effect.h"
#include "host/acting/acting.h"
#include "interface/effect_table.h"
#include "tests/support/comparison.h"
#include "tests/support/pictures.h"

#include <array>

struct ShownBox {
    HWND owner;
    std::string text, title;
    int32_t style;
};

struct Stage {
    Host host;
    std::vector<ImageRecord *> images;      // in the order they were opened
    std::vector<ShownBox> boxes;            // message boxes, each answered with OK
    std::function<void()> atBox, atMenus;   // run while a box is up, and when the menus have been evaluated again
    std::vector<int32_t> helpPages;

    // Opens so many small RGB pictures, each another; the first is active.
    explicit Stage(int imageCount = 1);
    ~Stage();
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;
};

// A random picture, another one with every call.
Picture AnyPicture(int32_t colourType, int32_t width = 12, int32_t height = 9);
ImageRecord *Open(Stage &stage, Picture picture);
void Close(Stage &stage, ImageRecord *image);

// Opens the dialog of a command, runs the script in it, and leaves it: what still runs is aborted, the dialog closed.
typedef std::function<void(HWND dialog)> Script;
void InDialog(Stage &stage, int commandOffset, const Script &script);
inline void InNoise(Stage &stage, const Script &script) { InDialog(stage, NOISE_COMMAND, script); }
inline void InWave(Stage &stage, const Script &script) { InDialog(stage, WAVE_COMMAND, script); }

//---- Looking into a dialog

enum { AMOUNT = 1290, AMOUNT_EDIT = 1300, VARIATION = 1310, VARIATION_EDIT = 1320 };
struct NoiseBlock {
    EffectBlock common;
    int32_t amount, variation;
};

enum {
    WAVELENGTH = 1030,
    WAVELENGTH_EDIT = 1040,
    PHASE = 1060,
    PHASE_EDIT = 1050,
    AMPLITUDE = 1070,
    AMPLITUDE_EDIT = 1080,
    BACKGROUND = 1130,
    ROWS = 1200,
    COLUMNS = 5530,
};
struct WaveBlock {
    EffectBlock common;
    int32_t amplitude;
    uint32_t background;
    int32_t wavelength, phase, orientation;
};

inline DialogState *StateOf(HWND dialog) { return static_cast<DialogState *>(KPZ_QueryWindowPtrSystem(dialog)); }
// A dialog that has gone has no state.
inline bool IsOpen(HWND dialog) { return StateOf(dialog) != nullptr; }
inline EffectBlock *BlockAt(HWND dialog, int slot) { return StateOf(dialog)->slots[slot]; }
inline EffectBlock *CurrentBlock(HWND dialog) { return BlockAt(dialog, StateOf(dialog)->currentSlot); }
inline NoiseBlock &NoiseAt(HWND dialog, int slot) { return *reinterpret_cast<NoiseBlock *>(BlockAt(dialog, slot)); }
inline NoiseBlock &CurrentNoise(HWND dialog) { return NoiseAt(dialog, StateOf(dialog)->currentSlot); }
inline WaveBlock &CurrentWave(HWND dialog) { return *reinterpret_cast<WaveBlock *>(CurrentBlock(dialog)); }
inline LPARAM HeaderOf(EffectBlock *block) { return reinterpret_cast<LPARAM>(&block->header); }

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
    std::array<intptr_t, 12> arguments;   // pointers as addresses; 0 beyond the last
};
typedef std::vector<Call> Calls;
bool operator==(const Call &left, const Call &right);
void PrintTo(const Call &call, std::ostream *out);

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
void PrintTo(const Message &message, std::ostream *out);

// All calls while `act` runs that came from this thread, in their order. The test's own are among them.
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
// Presses Apply in the dialog of the active image and waits until its run stands still.
void ApplyAndHold(HWND dialog, ImageRecord *image, int report = 0);
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
