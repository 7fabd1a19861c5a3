// What a host itself asks of VLMMISC beyond the functions that the module calls: the list of floating windows, the
// progress of a run, undo, and who answers for menus, help, files and the chooser. Portable: one source for every
// back end. [ui], [run], [any] as in interface/vlmapi.h.

#pragma once

#include "host/api/host_api.h"

// Messages that VLMMISC posts to the host's windows.
enum {
    FLOATER_ADDED = 0x8301,      // to the host window: a dialog was put on the floater list; long = the dialog
    FLOATER_REMOVED = 0x8302,    // to the host window; long = the dialog
    PROGRESS_CHANGED = 0x8303,   // to the window handed to IncrementProgress or ResetProgress; word = tenths, 0..10
    IMAGE_SIZED = 0x8305,        // to an image's window, by SizeWindow: fit the window; word = width, long = height
    CHOOSER_OPENED = 0x8304,     // to the host window: the effect chooser stands ready; long = the dialog
};

//---- Floating windows

// A list whose FLOATER_ADDED goes to `hostWindow`. [ui]
KPZ_IMPORT FloaterList *KPZAPI MiscCreateFloaters(HWND hostWindow);
KPZ_IMPORT void KPZAPI MiscDestroyFloaters(FloaterList *floaters);
KPZ_IMPORT int32_t KPZAPI MiscFloaterCount(const FloaterList *floaters);
KPZ_IMPORT HWND KPZAPI MiscFloaterAt(const FloaterList *floaters, int32_t index);
// Sends a message to every dialog on the list, in the order they were added; a dialog that goes meanwhile is passed
// over. [ui]
KPZ_IMPORT void KPZAPI MiscTellFloaters(FloaterList *floaters, UINT message, WPARAM word, LPARAM extra);

//---- Progress

KPZ_IMPORT ProgressRecord *KPZAPI MiscCreateProgress(void);
KPZ_IMPORT void KPZAPI MiscDestroyProgress(ProgressRecord *progress);
// Tenths done of the pass under way, 0..10; -1 when nothing runs. [any]
KPZ_IMPORT int32_t KPZAPI MiscProgress(const ProgressRecord *progress);
// Called after every IncrementProgress with its window, on the thread that reports; a run goes on when it returns. Null
// takes it away. To be set while nothing runs. [ui]
typedef void(KPZAPI *ProgressRoutine)(void *context, HWND window);
KPZ_IMPORT void KPZAPI MiscObserveProgress(ProgressRoutine routine, void *context);

//---- Undo

// One step brings back planes, size, palettes, base picture, mask, objects and their places, selection and outline,
// whatever its flags. Undo and redo take the image's locks and answer 0 when there is no step or the image runs. A step
// that is recorded ends what could be done again; a run's that is aborted, or dropped, leaves it as it was. [ui]
KPZ_IMPORT BOOL KPZAPI MiscUndo(ImageRecord *image);
KPZ_IMPORT BOOL KPZAPI MiscRedo(ImageRecord *image);
KPZ_IMPORT int32_t KPZAPI MiscUndoCount(const ImageRecord *image);
KPZ_IMPORT int32_t KPZAPI MiscRedoCount(const ImageRecord *image);
// The label of the step that undo would take back, and redo bring again; empty when it has none, null without a
// step. [ui]
KPZ_IMPORT const char *KPZAPI MiscUndoLabel(const ImageRecord *image);
KPZ_IMPORT const char *KPZAPI MiscRedoLabel(const ImageRecord *image);
// The steps that an image keeps, the oldest first: those that undo would take back, then those that redo would bring
// again. Fills `step` with the one at a place, counted from 0; 0 when there is none. [ui]
struct HistoryStep {
    char label[80];           // cut where it is longer
    uint64_t before, after;   // MiscStateNumber on its two sides
};
KPZ_IMPORT BOOL KPZAPI MiscStepAt(const ImageRecord *image, int32_t place, HistoryStep *step);
// Names what the image holds: a recorded step makes it a new number, undo and redo bring the number along with the
// picture, and so does an abort. 0 before the first step. [any]
KPZ_IMPORT uint64_t KPZAPI MiscStateNumber(const ImageRecord *image);
// While an image runs its planes are its run's. This lets a routine look at the picture that the run began with, which
// stays where it is until the routine returns. Answers 0 when no run is under way or it has recorded no step yet. [ui]
typedef void(KPZAPI *LookRoutine)(void *context, const ImageRecord *before);
KPZ_IMPORT BOOL KPZAPI MiscLookBeforeRun(const ImageRecord *image, LookRoutine look, void *context);
// Lets a routine look at the picture that undo would bring back, where it is. The caller holds the image's locks, and no
// run is under way. Answers 0 without a step. [ui]
KPZ_IMPORT BOOL KPZAPI MiscLookAtLastStep(const ImageRecord *image, LookRoutine look, void *context);
// Frees an image's planes, objects, selection and outline and leaves its record without a picture. [ui]
KPZ_IMPORT void KPZAPI MiscFreePicture(ImageRecord *image);
// How many steps an image keeps; older ones are dropped, but one that a run's step is too many for stays until the run has
// made something. 20 at first. With 0 there is nothing to go back to: a run costs no copy of its picture, and one that is
// aborted or left leaves its image without a picture, of no size. [ui]
KPZ_IMPORT void KPZAPI MiscKeepUndoSteps(int32_t steps);
// Frees an image's steps and forgets its seeds; to be called before its record goes. [ui]
KPZ_IMPORT void KPZAPI MiscForgetUndo(ImageRecord *image);
// Whether the image's last run ended by abort. Cleared when a run starts. [any]
KPZ_IMPORT BOOL KPZAPI MiscLastRunAborted(const ImageRecord *image);

// Drops the step of the image's last run when the run has left the picture as it was: then neither an undo step nor a new
// number comes of it. Non-zero when it did. To be called when the run's dialog has been told of the end. [ui]
KPZ_IMPORT BOOL KPZAPI MiscDropUnchangedRun(ImageRecord *image);

//---- Seeds

// Every image has a current seed, which KPZ_srand takes in its runs and in their previews where none is fixed
// (HostFixSeed), so that a run makes what its preview showed. It is drawn afresh when the image opens and after each
// finished run; an aborted run leaves it. Undo brings back the seed that the undone run began with, and redo the one
// that was current after it.
//
// The seed in force: the fixed one, else the image's. [any]
KPZ_IMPORT uint32_t KPZAPI MiscSeed(const ImageRecord *image);
// Sets the image's seed, a person's or a fresh one (HostFreshSeed). It does not redraw a preview. To be called while
// the image does not run. [any]
KPZ_IMPORT void KPZAPI MiscSetSeed(const ImageRecord *image, uint32_t seed);
// Whether the run that made the picture what it is has drawn random numbers, and with which seed. 0 before the first
// run and after one that drew none. [any]
KPZ_IMPORT BOOL KPZAPI MiscUsedSeed(const ImageRecord *image, uint32_t *seed);

//---- Floating objects

// An image with objects keeps the picture beneath them as its base; what it shows is the base with the objects pasted
// onto it, bottom to top. The caller holds the image's locks. [any]
//
// A header at (0, 0) with room behind it for pixels and mask, which the caller fills; it takes the image's next number.
// Edges are 1..MOST_OBJECT_EDGE.
constexpr int32_t MOST_OBJECT_EDGE = INT16_MAX;
KPZ_IMPORT FloatingObject *KPZAPI MiscNewObject(ImageRecord *image, int32_t width, int32_t height);
// Puts an object on top of the others; it is the image's from now on.
KPZ_IMPORT void KPZAPI MiscAddObject(ImageRecord *image, FloatingObject *object);
// Frees an object. With the last one the base becomes the picture again.
KPZ_IMPORT void KPZAPI MiscRemoveObject(ImageRecord *image, int32_t index);
// Brings picture, outline and display copy in line with objects that were added, moved, selected or removed.
KPZ_IMPORT void KPZAPI MiscShowObjects(ImageRecord *image);

//---- Slanting

// By how many pixels ShearFunction widens a picture of `rows` rows, or makes one of `rows` columns higher. [any]
KPZ_IMPORT int32_t KPZAPI MiscShearGrowth(int32_t rows, int32_t angle);

// Whether tiny pictures are shared among threads too, a few rows at a time: for tests. Off at first; to be set while
// nothing runs. [any]
KPZ_IMPORT void KPZAPI MiscShareAll(BOOL all);

//---- Who answers

// Called by ChooseMenus. [ui]
typedef void(KPZAPI *MenuRoutine)(void *context, HostContext *host);
KPZ_IMPORT void KPZAPI MiscAnswerMenus(MenuRoutine routine, void *context);
// Called by RunHelp. [ui]
typedef void(KPZAPI *HelpRoutine)(void *context, int32_t helpContext);
KPZ_IMPORT void KPZAPI MiscAnswerHelp(HelpRoutine routine, void *context);
// Called by LoadFile (save 0) and SaveFile (save 1) to ask for a name of at most 255 bytes; 0 cancels. [ui]
typedef BOOL(KPZAPI *FileNameRoutine)(void *context, BOOL save, const char *title, const char *types, char *name);
KPZ_IMPORT void KPZAPI MiscAnswerFileNames(FileNameRoutine routine, void *context);
// Texts instead of files: from here on LoadFile answers with a copy of `loaded` (null: nothing), and SaveFile hands what
// it was given to `saved`; nobody is asked for names. Both null ends it. What is named here is the caller's to keep. [ui]
typedef void(KPZAPI *SavedTextRoutine)(void *context, const char *text, int32_t length);
KPZ_IMPORT void KPZAPI MiscStandInForFiles(const char *loaded, SavedTextRoutine saved, void *context);

//---- Preview

// The picture that a preview control shows now: the block's scope with the effect worked on it, at full size, or
// unchanged where the preview is off or there is no worker; while it is at work, perhaps as far as that has come.
// Copied into KPZ_AllocMem memory that becomes the caller's. Answers 0 while nothing has been shown yet. [ui]
struct PreviewPicture {
    int32_t width, height, bitsPerPixel, colourType;
    uint8_t *pixels;
    uint8_t *mask;
    int32_t maskBitsPerPixel;
};
KPZ_IMPORT BOOL KPZAPI MiscShownPreview(HWND preview, PreviewPicture *picture);
// Lets a routine look at that picture where it is: nothing of it changes until the routine returns. Answers 0 while
// nothing has been shown yet, or the control has another image's. [ui]
KPZ_IMPORT BOOL KPZAPI MiscLookAtPreview(HWND preview, const ImageRecord *image, LookRoutine look, void *context);
// Non-zero while a preview control is still at work. [ui]
KPZ_IMPORT BOOL KPZAPI MiscPreviewAtWork(HWND preview);
// Ends preview work on an image, so that its record may go. Waits at most for a copy of its planes. [ui]
KPZ_IMPORT void KPZAPI MiscEndPreviews(ImageRecord *image);
