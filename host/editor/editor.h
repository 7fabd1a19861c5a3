// The desktop editor: one main window with a window for each open picture.
//
//     main.cpp             start, message loop, end
//     frame.cpp            the main window: menus, keys, dropped files, the status line
//     picture_window.cpp   a picture's window: drawing, scrolling, the mouse and the keyboard in it
//     file_commands.cpp    opening, saving, closing, quitting
//     edit_commands.cpp    undo, selected area, floating objects, mask, clipboard
//     type_commands.cpp    pictures made into another type, as a run of the editor's own
//     clipboard.cpp        pictures to and from the clipboard
//     commands.cpp         menus and keys
//
// Free of windows, so that they are built and tested anywhere: closing, mask_painting, conversion, help_text; and in
// host/misc, which the preview control shares, view and rendering.
//
// All of it runs on one thread, and every message loop on it may be an effect dialog's: a command may begin while
// another one waits for an answer. A picture that is closing takes no further commands.

#pragma once

#include "host/documents/image_parts.h"
#include "host/documents/picture_file.h"
#include "host/editor/commands.h"
#include "host/misc/view.h"

#include <commdlg.h>
#include <memory>
#include <string>
#include <vector>

enum class Hand { FREE, SELECTS, MOVES_OBJECTS, PAINTS, SCROLLS };   // what the pressed mouse button does

struct Editor;

struct PictureWindow {
    Editor *editor = nullptr;
    ImageRecord *image = nullptr;
    HWND window = nullptr;              // the frame around it, within the main window
    HWND canvas = nullptr;              // the image's own window: it draws the picture
    std::string file;                   // where it is saved; empty when it has no file yet
    std::string name;                   // shown
    std::string title;                  // of its window: the name, and a star when there are changes
    FileFormat format = FileFormat::UNKNOWN;
    uint64_t savedState = 0;            // MiscStateNumber of what is in the file
    bool neverSaved = false;            // pasted: there is no file to have its changes
    Extent extent = {};                 // of the picture, as it was when no run had it
    View view;
    bool fits = true;                   // the zoom follows the window's size
    bool layingOut = false;
    RECT unpainted = {};                // what could not be drawn, since the picture was in other hands
    bool closing = false;

    Hand hand = Hand::FREE;
    POINT pressed = {}, last = {};      // picture pixels: where the button went down, and where it was seen last
    POINT scrollFrom = {};              // window pixels
    bool moved = false;
    uint8_t paint = 255;
    POINT cursor = {};                  // picture pixel that the keyboard is at
    POINT anchor = {};                  // where a selection by the keyboard began
    bool cursorShown = false;
    uint64_t keyMoveState = 0;          // of the step that the arrow keys' moves belong to
};

struct Editor {
    Host host;
    HWND frame = nullptr, client = nullptr, status = nullptr;
    HMENU menuBar = nullptr, windowMenu = nullptr;
    std::vector<std::unique_ptr<PictureWindow>> pictures;   // in the order they were opened
    int32_t brush = 24;          // picture pixels
    int untitled = 0;            // names given out
    bool quitting = false, ended = false;
};

constexpr char EDITOR_NAME[] = "Velmorant";

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

//---- type_commands.cpp

void ConvertPicture(Editor &editor, PictureWindow &picture, int command);

//---- clipboard.cpp

bool ClipboardHasPicture();
void CopyToClipboard(Editor &editor, const PictureWindow &picture);
bool PictureOnClipboard(Picture &contents);
