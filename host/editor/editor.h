// The desktop editor: one main window with a window for each open picture.
//
//     main.cpp             start, message loop, end
//     frame.cpp            the main window: menus, keys, dropped files, the status line
//     picture_window.cpp   a picture's window: drawing, scrolling, the mouse and the keyboard in it
//     file_commands.cpp    opening, saving, closing, quitting
//     edit_commands.cpp    undo, selected area, floating objects, mask, clipboard
//     type_commands.cpp    pictures made into another type, as a run of the editor's own
//     clipboard.cpp        pictures to and from the clipboard
//     memory_end.cpp       what can be saved when memory has run out
//     commands.cpp         menus and keys
//     chooser.cpp          the effects' chooser, with thumbnails
//     thumbnail_process.cpp   the process that makes them: this program once more, without a window
//     help_window.cpp      the pages of the effects
//
// Free of windows, so that they are built and tested anywhere: closing, mask_painting, conversion, help_text, rescue,
// thumbnails, true_size; and in host/misc, which the preview control shares, view and rendering.
//
// All of it runs on one thread, and every message loop on it may be an effect dialog's: a command may begin while
// another one waits for an answer. A picture that is closing takes no further commands.

#pragma once

#include "host/documents/image_parts.h"
#include "host/documents/picture_file.h"
#include "host/editor/commands.h"
#include "host/editor/true_size.h"
#include "host/misc/preview/view.h"

#include <commdlg.h>
#include <memory>
#include <string>
#include <vector>

enum class Hand { FREE, SELECTS, MOVES_OBJECTS, PAINTS, SCROLLS };   // what the pressed mouse button does

struct Editor;

struct PictureWindow {
    Editor *editor = nullptr;
    ImageRecord *image = nullptr;
    HWND window = nullptr;   // the frame around it, within the main window
    HWND canvas = nullptr;   // the image's own window: it draws the picture
    std::string file;        // where it is saved; empty when it has no file yet
    std::string name;        // shown
    std::string title;       // of its window: the name, and a star when there are changes
    FileFormat format = FileFormat::UNKNOWN;
    uint64_t savedState = 0;    // MiscStateNumber of what is in the file
    bool neverSaved = false;    // pasted: there is no file to have its changes
    Extent extent = {};         // of the picture, as it was when no run had it
    HWND enlarger = nullptr;    // the dialog whose run enlarges picture and mask, and
    TrueSize sizeToCome = {};   // the size that it leaves off the record
    View view;
    bool fits = true;   // the zoom follows the window's size
    bool layingOut = false;
    RECT unpainted = {};   // what could not be drawn, since the picture was in other hands
    bool closing = false;

    Hand hand = Hand::FREE;
    POINT pressed = {}, last = {};   // picture pixels: where the button went down, and where it was seen last
    POINT scrollFrom = {};           // window pixels
    bool moved = false;
    uint8_t paint = 255;
    POINT cursor = {};   // picture pixel that the keyboard is at
    POINT anchor = {};   // where a selection by the keyboard began
    bool cursorShown = false;
    uint64_t keyMoveState = 0;   // of the step that the arrow keys' moves belong to
};

struct Editor {
    Host host;
    HWND frame = nullptr, client = nullptr, status = nullptr;
    HMENU menuBar = nullptr, windowMenu = nullptr;
    std::vector<std::unique_ptr<PictureWindow>> pictures;   // in the order they were opened
    int32_t brush = 24;                                     // picture pixels
    int untitled = 0;                                       // names given out
    bool quitting = false, ended = false;
};

constexpr char EDITOR_NAME[] = "Velmorant";

// To the main window: another thread has run out of memory; and, posted then, what ends the program.
enum { MEMORY_HAS_RUN_OUT = WM_APP + 1, END_FOR_MEMORY };

//---- Pictures

PictureWindow *ActivePicture(const Editor &editor);
PictureWindow *PictureOfImage(const Editor &editor, const ImageRecord *image);
bool IsRunning(const PictureWindow &picture);
bool IsModified(const PictureWindow &picture);
// Neither running nor closing: its picture may be changed.
bool CanChange(const PictureWindow *picture);

//---- picture_window.cpp

void RegisterPictureWindows();
// Opens a window for a picture and makes it the active one. Null when there can be no more, after a message.
PictureWindow *ShowPicture(Editor &editor, Picture &&contents, const std::string &file, FileFormat format);
// Takes a closed picture's window away.
void RemovePictureWindow(Editor &editor, PictureWindow *picture);
void ActivatePicture(Editor &editor, PictureWindow *picture);
void ZoomPicture(Editor &editor, PictureWindow &picture, double scale);
void FitPicture(Editor &editor, PictureWindow &picture);
// The picture's size, title or state has changed.
void PictureChanged(Editor &editor, PictureWindow &picture);
void RedrawPicture(const PictureWindow &picture);
// Lets a routine look at what a picture shows, as it was before when it runs. Never waits: false when a run or a
// preview has it in its hands just now.
bool LookAtImage(const PictureWindow &picture, LookRoutine look, void *context);

//---- frame.cpp

bool MakeFrame(Editor &editor);
// To be called before EndHost, when no picture is open any more.
void EndFrame(Editor &editor);
void UpdateStatus(Editor &editor);
void UpdateTitles(Editor &editor);
// Runs a command, unless it is greyed.
void RunEditorCommand(Editor &editor, int command);
bool CommandPossible(const Editor &editor, int command);
int32_t ShowMessage(const Editor &editor, const std::string &text, UINT style);
// The system's file dialog; false when cancelled.
bool AskForFile(const Editor &editor, BOOL save, OPENFILENAMEA &question);
UINT DotsPerInch(HWND window);
// What the system's fonts and measures are for.
int ScreenDotsPerInch();
// One of the system's fonts as large as a window wants it.
HFONT FontFor(HWND window, LOGFONTA font);

//---- file_commands.cpp

// Without its folder.
std::string NameOfFile(const std::string &file);
void OpenFile(Editor &editor, const std::string &file);
void OpenByDialog(Editor &editor);
// Both false when nothing was saved.
bool SavePicture(Editor &editor, PictureWindow &picture);
bool SavePictureAs(Editor &editor, PictureWindow &picture);
// False when the person wants to keep the picture.
bool ClosePicture(Editor &editor, PictureWindow &picture);
bool CloseAll(Editor &editor);
// Asks for a picture file to read; empty when cancelled.
std::string AskForPicture(const Editor &editor, const char *title);
bool ReadFile(const Editor &editor, const std::string &file, Picture &contents, FileFormat &format);
// The module's own file dialogs (MiscAnswerFileNames).
BOOL KPZAPI AnswerFileName(void *editor, BOOL save, const char *title, const char *types, char *name);

//---- edit_commands.cpp

void UndoOrRedo(Editor &editor, PictureWindow &picture, bool redo);
// After a run that has left another size on record than the picture has.
void PutSizeOnRecord(Editor &editor, PictureWindow &picture, TrueSize size);
void PasteObject(Editor &editor, PictureWindow &picture, const Picture &contents);
void SelectNextObject(PictureWindow &picture, int step);
void SelectAllObjects(PictureWindow &picture);
void DeleteObjects(Editor &editor, PictureWindow &picture);
void MergeObjects(Editor &editor, PictureWindow &picture);
// By (dx, dy) pixels; `step` records an undo step first.
void MoveSelectedObjects(Editor &editor, PictureWindow &picture, int32_t dx, int32_t dy, bool step);
void ToggleMaskEditing(Editor &editor, PictureWindow &picture);
void RemoveMask(Editor &editor, PictureWindow &picture);
void ChangeWholeMask(Editor &editor, PictureWindow &picture, int command);
void PaintMask(PictureWindow &picture, POINT from, POINT to, int32_t diameter, uint8_t value);
// The topmost object that covers a pixel, -1 for none.
int32_t ObjectUnder(const PictureWindow &picture, POINT pixel);
bool HasSelectedObjects(const PictureWindow &picture);
void SelectRectangle(PictureWindow &picture, POINT one, POINT other);

//---- memory_end.cpp

// To be called when the main window stands.
void PrepareForMemoryEnd(Editor &editor);
// Asks whether the changed pictures shall be saved as copies, does so, and ends the program. Returns when that is under
// way already: several threads may run out at once.
void EndForMemory(Editor &editor);

//---- help_window.cpp

// Opens the help window, or brings it forward, with an effect's page; null: with the one that it shows, or the first.
void ShowHelp(const Editor &editor, const DialogTemplate *effect);
void CloseHelp();
bool IsHelp(HWND window);
// To be asked about every message, since any loop may be at work. True when it was a key of the help window's.
bool TakeHelpMessage(HWND window, UINT message, WPARAM word, LPARAM extra);

//---- type_commands.cpp

void ConvertPicture(Editor &editor, PictureWindow &picture, int command);

//---- chooser.cpp

// Makes room for thumbnails in the chooser's dialog, before it is shown.
void FurnishChooser(Editor &editor, HWND dialog);
// Begins to make them, when it stands ready.
void BeginChooser();
// The active picture has changed, or another one has become active: the chooser, if it is open, follows.
void RefreshChooser();

//---- clipboard.cpp

bool ClipboardHasPicture();
void CopyToClipboard(Editor &editor, const PictureWindow &picture);
bool PictureOnClipboard(Picture &contents);
