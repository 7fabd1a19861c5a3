// What the checks of a host share: the host's driver, what the host has told the module so far, dialogs that play a
// script step by step, and runs that are looked into. A check is a routine in one of the *_checks.cpp; what it finds goes
// to child.h. All is for the dialogs' thread where nothing else is said.

#pragma once

#include "host/check/child.h"
#include "interface/host_driver.h"
#include "interface/host_interface.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

//---- What the host has told

// A message that one of the dialogs was sent, and how things stood then.
struct Told {
    HWND dialog;
    UINT message;
    WPARAM word;
    LPARAM extra;
    bool linked;           // of those with an image: it is on the host's list
    ImageRecord *active;   // HostContext::activeImage
    int newImages;         // how often KPZNewImageProcessor had been called
    int setUps;            // and KPZSetupMenus
};

struct Watch {
    const HostDriver *driver = nullptr;
    std::thread::id dialogThread;
    HostContext *host = nullptr;   // as the first command brought it
    HMENU menu = nullptr;
    int32_t base = 0;
    int initialized = 0, setUps = 0, newImages = 0, exits = 0;   // how often each was called
    ImageRecord *setUpFor = nullptr;                             // by the last KPZSetupMenus
    std::function<INT_PTR()> command;                            // what the command &Watch does
    std::vector<Told> told;                                      // cleared by whoever begins to look
};
extern Watch watch;

// Found unless this is the dialogs' thread.
void ExpectDialogThread(const char *what);
bool IsLinked(const ImageRecord *image);
// Those of one message and dialog; any dialog where it is null.
std::vector<Told> ToldOf(UINT message, HWND dialog = nullptr);

//---- Dialogs

// The dialog of Noise: its controls are what every host shows first.
enum { NOISE_TEMPLATE = 4240, UNKNOWN_TEMPLATE = 4999, SPIN = 1290, OTHER_SPIN = 1310, NO_CONTROL = 9999 };
// Messages of the module's own, in the range that is a program's.
enum { NEXT_STEP = 0x8200, ECHO, LEFT_ALONE, NOTED };

struct Play;
// A step of a dialog's script, made in answer to a message of its own. It may dismiss the dialog.
typedef std::function<void(Play &play)> Step;
struct Play {
    std::vector<Step> steps;
    size_t next = 0;
    HWND dialog = nullptr;
    bool waiting = false;   // the next step waits for GoOn
    bool opened = false;    // it got WM_INITDIALOG
    bool left = false;      // it got WM_DESTROY
};
// Opens a dialog and plays its steps, then dismisses it with `result` if it is still there. Returns what
// KPZ_RunDialogBox returned.
INT_PTR PlayInDialog(Play &play);
constexpr INT_PTR PLAYED = 7;
// The next step comes when this is called; from another message.
void GoOn(Play &play);
// Makes this step again after the messages that have come meanwhile.
void Again(Play &play);

// Opens a picture, chooses the command &Watch, plays, and closes the picture if it is still there. False when the host
// does not offer the command or its dialog, which is found.
bool InCommand(const std::vector<Step> &steps);
// The image that InCommand has opened.
ImageRecord *OwnImage();

//---- Runs

struct Run {
    ImageRecord *image = nullptr;
    EffectBlock *block = nullptr;   // in a page of its own
    ThreadHandle thread = nullptr;
    std::vector<uint8_t> before;               // the picture's bytes
    std::function<void(EffectBlock &)> work;   // what the worker does [run]
    std::atomic<int> started{0}, worked{0};    // how often the thread's routine and the worker were called
    std::atomic<bool> end{false};              // what the worker may wait for; set when a check gives up
    int finished = 0;                          // how often RUN_FINISHED came
};
// A block as an effect makes it, filled by InitializeFilter.
EffectBlock *MakeBlock(HWND dialog, ImageRecord *image);
// Apply. `play` waits, and goes on when RUN_FINISHED has come, unless `wait` is false.
void StartRun(Play &play, Run &run, bool wait, bool setPriority = true);
// Handles RUN_FINISHED.
void OnRunFinished(Play &play, HWND dialog, WPARAM word);

std::vector<uint8_t> BytesOf(const ImageRecord &image);
// How the view differs from the image; empty when it does not.
std::string DifferenceOf(const ImageView &view, ImageRecord &image);
// Whether another thread gets the lock now.
bool OtherGets(SemaphoreHandle lock);
// Looks until something holds, for `milliseconds` at most; whether it came to hold. [any]
bool ComesToHold(int milliseconds, const std::function<bool()> &holds);

// For findings.
std::string Number(intptr_t number);

//---- The checks

struct HostCheck {
    int level;   // of a finding: those that others build on come first
    const char *name;
    void (*run)();
};
// In the order in which they are made. Each ends with a null name.
extern const HostCheck basicChecks[], dialogChecks[], imageChecks[], runChecks[], serviceChecks[];
