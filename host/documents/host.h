// The development host: an application with a window, a menu and a loaded effects module. The images that are open in it
// are documents.h's.

#pragma once

#include "host/documents/effects_module.h"
#include "host/misc/misc.h"

#include <functional>
#include <string>

struct Host {
    HostContext context = {};
    EffectsModule module;
    HMENU menu = nullptr;
    int32_t base = 0;                                  // the module's base command id
    std::function<void(HWND dialog)> onDialogOpened;   // run on the dialogs' thread once a dialog stands ready
    std::function<void(HWND dialog)> onChooserOpened;
    std::function<void(ImageRecord *, int tenths)> onProgress;
    std::function<void(ImageRecord *, int32_t width, int32_t height)> onSized;   // the image's window should fit this
    std::function<void(int32_t helpContext)> onHelp;
};

// Loads VLMEFF from the program's own folder (or the file named by the second argument), makes window and menu and
// lets the module append its commands. False with one line when the module cannot be loaded or lacks an entry point.
// A process has one host at a time, and its record stays where it is until EndHost.
bool StartHost(Host &host, const std::string &moduleFile, std::string &error);
// Aborts and waits for what runs, closes all images, calls KPZExitProcessor, unloads.
void EndHost(Host &host);

// Runs a command of the module, counted from the base id, and returns its result. When its dialog is open already,
// that is brought forward instead, and the result is 0.
INT_PTR RunCommand(Host &host, int32_t offset);
// Whether the module's command is in the menu and enabled.
bool CommandEnabled(const Host &host, int32_t offset);
// Sends a message about an image to all open dialogs. [ui]
void TellDialogs(Host &host, UINT message, const ImageRecord *image);
