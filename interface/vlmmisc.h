// VLMMISC: what the host gives the module of an editor's own services: setting up and running an effect, progress,
// undo, palettes, floating windows, help, the chooser, geometry and files. [ui], [run], [any] as in vlmapi.h.

#pragma once

#include "interface/vlmapi.h"

//---- Setting up and running

// Fills the host's part of a block for an image: the view, and the header's host field and preview mode (objects
// when some are selected, else the image), with an empty title and no worker. It reads header->image and
// header->block, which the caller has set, and leaves the block's size and the parameters alone. [ui]
KPZ_IMPORT void KPZAPI InitializeFilter(FilterHeader *header, ImageRecord *image);
// The standard run thread. Takes the image lock and then the object lock (5000 ms each; without the image lock it
// clears the effect thread and reports the end), clears the abort request, records undo, fills the view and calls
// the worker once per picture and object in scope (mask planes are the worker's), restores the image after an abort, and then in this order: display copy,
// palette, locks released, effect thread cleared, image window redrawn, RUN_FINISHED sent to the owner. [run]
KPZ_IMPORT void KPZAPI FilterThread(FilterHeader *header);

//---- Progress

// The start and the end of an image's progress. A null record reports nothing. [run]
KPZ_IMPORT void KPZAPI InitiateProgress(ProgressRecord *progress);
KPZ_IMPORT void KPZAPI FinishProgress(ProgressRecord *progress);
// The share done, in tenths (0..10). Never waits. [run]
KPZ_IMPORT void KPZAPI IncrementProgress(HWND window, ProgressRecord *progress, int32_t tenths);
// Back to 0, before a second pass over the same image. [run]
KPZ_IMPORT void KPZAPI ResetProgress(HWND window, ProgressRecord *progress);

//---- Undo and display

// Records an undo step with the given label (null: none). The four flags say what the step is about: the picture,
// its mask, the selected objects, a new object. [run]
KPZ_IMPORT void KPZAPI UndoUtility(ImageRecord *image, int32_t picture, int32_t mask, int32_t objects,
                                   int32_t newObject, const char *label);
// Puts an image back to the undo step that this run has recorded, which is dropped, after an abort. [run]
KPZ_IMPORT void KPZAPI ThreadAbortedUtility(ImageRecord *image);
// Makes the 8-bit copy of a 24-bit picture anew (freed and allocated by the host) for an 8-bit display. The last
// argument is 0. [run]
KPZ_IMPORT void KPZAPI Update8BitVersion(const uint8_t *pixels, uint8_t **displayCopy, int32_t width, int32_t height,
                                         const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t zero);
// The palette entry with the least dR² + dG² + dB² to the colour; of equals the lowest. It looks at `entries`
// entries, at least 1 and at most 256. [any]
KPZ_IMPORT int32_t KPZAPI FindClosestColor(uint32_t colour, const uint8_t *red, const uint8_t *green,
                                           const uint8_t *blue, int32_t entries);

//---- Floating windows, menus, help

// Puts a dialog on the host's list of floating windows, and takes it off. Those on the list hear of images opened,
// closed and activated. [ui]
KPZ_IMPORT void KPZAPI AddToFloaters(HWND dialog, FloaterList *floaters);
KPZ_IMPORT void KPZAPI RemoveFromFloaters(HWND dialog, FloaterList *floaters);
// Moves a dialog to the middle of the screen. [ui]
KPZ_IMPORT void KPZAPI CenterWindow(HWND dialog);
// Has the host evaluate its menus again, which calls the module's KPZSetupMenus. [ui]
KPZ_IMPORT void KPZAPI ChooseMenus(HostContext *host);
// Opens the help page of an effect. [ui]
KPZ_IMPORT void KPZAPI RunHelp(int32_t context);
// The dialog procedure of the effect chooser; its creation parameter is a ChooserRecord. The dialog's result is
// CHOOSER_CANCELLED or the chosen effect, counted from 0 in the record's order. [ui]
KPZ_IMPORT INT_PTR KPZAPI HelperDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra);

//---- Files

// Asks for a file and returns its contents with a zero byte after them, to be freed with KPZ_FreeMem; null when the
// person cancels or the file cannot be read. `name` has 256 bytes: in, a suggestion; out, the chosen name. `types`
// are pairs of C strings, a label and a pattern, that end in an empty one. The two numbers are 0. [ui]
KPZ_IMPORT char *KPZAPI LoadFile(char *name, const char *title, const char *types, int32_t zero, HWND owner,
                                 int32_t alsoZero);
// Asks for a name and writes `length` bytes of text. Non-zero when written. The two numbers are 0. [ui]
KPZ_IMPORT int32_t KPZAPI SaveFile(const char *text, int32_t length, int32_t zero, const char *title, const char *types,
                                   int32_t alsoZero, HWND owner);

//---- Geometry and objects

// Sets one destination pixel from a fractional source position. Grey and RGB pixels are interpolated between four
// neighbours, weighed by the mask source when there is one; palette and one-bit pixels take the nearest. The position
// is rounded to 256ths first, so that one a hair beside a pixel is that pixel. The mask source has 8 bits per pixel
// when its stride is that of 8 bits, else 1. [run]
KPZ_IMPORT void KPZAPI Relocate(const RelocateRequest *request);
// Twists a picture, and its mask plane when there is one, about its centre, in place. Reports progress and heeds
// the abort flag itself, once per row. [run]
KPZ_IMPORT void KPZAPI SwirlFunction(uint8_t *pixels, uint8_t *mask, int32_t width, int32_t height,
                                     int32_t bitsPerPixel, int32_t maskBitsPerPixel, int32_t colourType, int32_t amount,
                                     int32_t maskInUse, HWND progressWindow, ProgressRecord *progress,
                                     int32_t *abortFlag);
// Slants a picture by an angle of -75..75 degrees: *pixels is replaced by a new plane (the old one is freed), *width
// or *height grows. Grey and RGB planes of 8 and 24 bits are blended, others move by whole pixels. What is uncovered
// takes `fill` (0x00BBGGRR, a byte or a bit by the depth). `edgesToFill` 1 blends the border with the fill, 0 with the
// border's own pixels. A null abort flag is never set; after an abort the rows not yet reached are fill. [run]
KPZ_IMPORT void KPZAPI ShearFunction(uint8_t **pixels, int32_t *width, int32_t *height, int32_t bitsPerPixel,
                                     int32_t colourType, int32_t angle, int32_t fill, int32_t edgesToFill,
                                     HWND progressWindow, ProgressRecord *progress, int32_t horizontal,
                                     int32_t *abortFlag);
// Flips a picture in place: 0 left-right, 1 top-bottom. Row padding is left alone. [run]
KPZ_IMPORT void KPZAPI FlipPic(uint8_t *pixels, int32_t width, int32_t height, int32_t direction, int32_t bitsPerPixel);
// Cuts out the selected area, as far as it lies in the picture; beneath floating objects, of the base picture. Zero
// when there is nothing to cut. A free outline holds the pixels whose middle lies inside it or on it. [run]
KPZ_IMPORT int32_t KPZAPI Cropping(const CropArea *area, CropRequest *request);
// How many objects are selected. [any]
KPZ_IMPORT int32_t KPZAPI CountSelectedObjects(const ObjectList *objects);
// Makes the outline of the selected objects anew; the caller holds the object lock. [run]
KPZ_IMPORT void KPZAPI CreateOutlineOfObjects(const ObjectList *objects, ObjectOutline *outline,
                                              SemaphoreHandle objectLock);
// Pastes an object into an image's pixels through its mask, as far as it lies in the picture: through 8 bits
// value + (pixel - value) * mask / 255, rounded, through 1 bit where it is set. The last argument is 0. [run]
KPZ_IMPORT void KPZAPI FastPasteInto(ImageRecord *image, const FloatingObject *object, int32_t zero);
// Has an image window fit itself to a picture's size, from the image's two placement values; does not wait. [run]
KPZ_IMPORT void KPZAPI SizeWindow(HWND imageWindow, int32_t placementX, int32_t placementY, int32_t width,
                                  int32_t height);
