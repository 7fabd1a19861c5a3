// The development host: an application with a window, a menu, a loaded effects module and open images. It keeps the
// host's side of the protocol: who is told what, in which order, when images open, close and change places.

#pragma once

#include "host/documents/picture.h"
#include "host/misc/misc.h"

#include <functional>

struct EffectsModule {
    void *library = nullptr;
    InitializeEntry initialize = nullptr;
    SetupMenusEntry setupMenus = nullptr;
    CommandProcessorEntry commandProcessor = nullptr;
    NewImageProcessorEntry newImageProcessor = nullptr;
    ExitProcessorEntry exitProcessor = nullptr;
};

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

// Puts a picture at the end of the image list: an image window, locks, progress; tells the dialogs (IMAGE_OPENED)
// and the menus. It does not become active unless it is the first. Null when 500 are open. `furnish` is called before
// anyone is told: it may give the image objects and a selected area (image_parts.h).
ImageRecord *OpenImage(Host &host, Picture picture, const std::function<void(ImageRecord *)> &furnish = nullptr);
// Makes an image the active one and tells the dialogs and the menus.
void ActivateImage(Host &host, ImageRecord *image);
// Aborts and waits for a run of this image, takes it off the list, tells the dialogs (IMAGE_CLOSED, then
// ACTIVE_IMAGE_CHANGED), frees it. The next image (else the one before) becomes active.
void CloseImage(Host &host, ImageRecord *image);
// The host that an image is open in, and the size that its window was last told to have.
Host &HostOf(const ImageRecord *image);
struct WindowSize {
    int32_t width = 0, height = 0;
};
WindowSize WindowSizeOf(const ImageRecord *image);
// The image as a picture, its objects pasted into it, while it does not run: lent for as long as `use` takes, which throws nothing; a copy, or
// the planes themselves, after which the image may only be closed. What is lent are the planes of the image's own record,
// or of one that a LookRoutine was given for it.
void LendPicture(const ImageRecord *image, const ImageRecord *planes, const std::function<void(const Picture &)> &use);
Picture PictureOf(const ImageRecord *image);
Picture TakePicture(ImageRecord *image);
// Puts another picture in the place of the image's own; its objects are gone, its selected area and what its file said
// of it stay. The caller holds the image's locks. [any]
void ReplacePicture(ImageRecord *image, Picture picture);
// Runs a command of the module, counted from the base id, and returns its result. When its dialog is open already,
// that is brought forward instead, and the result is 0.
INT_PTR RunCommand(Host &host, int32_t offset);
// Whether the module's command is in the menu and enabled.
bool CommandEnabled(const Host &host, int32_t offset);
