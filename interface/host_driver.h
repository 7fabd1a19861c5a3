// How `velmorant check --host` works a host: the writer of a host fills a HostDriver with routines that do what a person
// does with it, and links them, with host/check/watching/driver_main.cpp and the host's own VLMAPI and VLMMISC, to a
// program named check_driver beside the two. That program loads a module made for watching, which does the rest.
//
// A routine that is null is one that the host has not; what needs it is not looked at. Where nothing else is said they are
// called on the thread that runs the dialogs, which is the one that `main` is on; many of them from within a dialog.

#pragma once

#include "interface/exports.h"

struct ModuleRoutines {
    InitializeEntry initialize;
    SetupMenusEntry setupMenus;
    CommandProcessorEntry commandProcessor;
    NewImageProcessorEntry newImageProcessor;
    ExitProcessorEntry exitProcessor;
};

struct HostDriver {
    // Starts the host with this module, as docs/writing-a-host.md has it: its record, its menu, the first calls. No image
    // is open. Zero: it does not start.
    int32_t(KPZAPI *start)(const ModuleRoutines *module);
    // Ends the host, which has no image open any more; nothing else is called after it.
    void(KPZAPI *end)(void);
    // Opens a picture of any pixels, made in memory, as a person opens one; it is active afterwards. Null: the host has no
    // pictures of this ColourType.
    ImageRecord *(KPZAPI *openImage)(int32_t width, int32_t height, int32_t colourType);
    // Closes an image as a person does, a running one too; it has gone when this returns.
    void(KPZAPI *closeImage)(ImageRecord *image);
    // Chooses a command of the module's menu by its label. Zero: there is none of this label, or it is greyed. Otherwise
    // the command has been handed on and *result is what the module returned.
    int32_t(KPZAPI *chooseCommand)(const char *label, INT_PTR *result);

    //---- These may be null

    // Makes another of the open images active.
    void(KPZAPI *activateImage)(ImageRecord *image);
    // Types a number into the field of a spin box, which is named by its arrows' id, as a person does.
    void(KPZAPI *typeNumber)(HWND dialog, int32_t id, int32_t number);
    // Clicks a button, as a person does: a greyed one does nothing.
    void(KPZAPI *press)(HWND dialog, int32_t id);
    // How many steps of an image can be undone. [any]
    int32_t(KPZAPI *undoSteps)(ImageRecord *image);
    // Undoes the last.
    void(KPZAPI *undo)(ImageRecord *image);
};

// The writer's own: the table.
extern "C" const HostDriver *KPZAPI TheHostDriver(void);

// The sixth routine of the module made for watching, WatchHost. The texts, UTF-8, are what the program was started with.
// Returns the program's exit code.
typedef int32_t(KPZAPI *WatchHostEntry)(const HostDriver *driver, const char *report, const char *only,
                                        const char *after);
// A line of the report, before the reason, of a program that could not load that module.
constexpr char UNLOADED_LINE[] = "unloaded ";
