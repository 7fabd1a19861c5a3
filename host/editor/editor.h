// The desktop editor: one main window with a window for each open picture. Here are its records and what is asked of
// them; what is done is in the other files, of which each includes only those below it in this list.
//
//     main                   start, message loop, end
//     frame                  the main window
//     toolbar                the bar of tools under the menu
//     host_events            what host and effects tell the editor
//     menus, keys            an open menu, a key pressed
//     run_commands           which commands are possible, and what each one starts
//     close_commands         closing and quitting, and what is asked before
//     file_commands          opening and saving
//     picture_window         a picture's window: how it comes and goes, and which message goes where
//     tabs                   the row of tabs above pictures that fill the window
//     picture_mouse, picture_keys   the mouse and the keyboard in it
//     geometry_commands, type_commands   a picture cut, resized, turned, made into another type; by picture_runs
//     repeating, find_effect  the last effect again, an effect by a word
//     history_window, batch_window   a picture's steps on the screen; the same steps on other pictures
//     greying                what cannot be done, in the effects' dialogs
//     protect_commands       parts of a picture that effects leave alone: painting them, bringing them back
//     edit_commands          undo, selected area, floating objects, mask
//     picture_changes        what follows when a picture has changed or becomes the active one
//     chooser                the effects' chooser, with thumbnails
//     picture_drawing        drawing a picture's window
//     canvas_preview         before and after on the picture itself
//     picture_view           zoom and scrolling
//     status_line            the line beneath
//     file_questions, questions, forms     what a person is asked
//     memory_end             what can be saved when memory has run out
//     clipboard, help_window, remembered   each by itself
//     strip                  what stands beneath an effect's dialog: picture, presets, seed, notes
//     dialog_size            effects' dialogs made larger, for a larger preview
//     result_pane            what Mirror and Shear make, which have no preview of their own
//     protection             which parts these are
//     history                what has been done to a picture, step by step
//     last_settings          the values that effects were applied with
//     effect_dialogs         the effects' dialogs as they stand on the screen
//     batch_process          the command line at work for the editor
//     thumbnail_process      the process that makes thumbnails: this program once more, without a window
//     child_process          programs that are started
//     own_dialogs, dialog_writer   dialogs of the editor's own
//     commands               names, menus and keys of the commands
//     colours                the system's, or dark ones
//     dark_controls          buttons, arrows and frames in dark colours
//     dark_menus             menus in dark colours
//     screen                 windows' sizes, dots per inch, fonts
//     editor                 the records
//
// Free of windows, so that they are built and tested anywhere: beside, closing, conversion, dialog_settings,
// document_file, effect_search, enlarged, geometry, help_text, mask_painting, protecting, refusals, remembered, rescue, taken_steps,
// thumbnails, true_size; and in host/misc, which the preview control shares, view and rendering.
//
// All of it runs on one thread, and every message loop on it may be an effect dialog's: a command may begin while
// another one waits for an answer. A picture that is closing takes no further commands.

#pragma once

#include "host/acting/example.h"
#include "host/documents/image_parts.h"
#include "host/documents/picture_file.h"
#include "host/editor/protecting.h"
#include "host/editor/taken_steps.h"
#include "host/editor/true_size.h"
#include "host/misc/preview/view.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

enum class Hand { FREE, SELECTS, MOVES_OBJECTS, PAINTS, SCROLLS, SPLITS };   // what the pressed mouse button does

struct Editor;

struct PictureWindow {
    Editor *editor = nullptr;
    ImageRecord *image = nullptr;
    HWND window = nullptr;   // the frame around it, within the main window
    HWND canvas = nullptr;   // the image's own window: it draws the picture
    HWND tab = nullptr;      // null until it has one (tabs.h)
    std::string file;        // where it is saved; empty when it has no file yet
    std::string name;        // shown
    std::string title;       // of its window: the name, and a star when there are changes
    FileFormat format = FileFormat::UNKNOWN;
    int quality = 0;             // JPEG, as SaveOptions has it
    bool oneOfSeveral = false;   // its file has further pages, which are not open
    uint64_t savedState = 0;     // MiscStateNumber of what is in the file
    bool neverSaved = false;     // pasted: there is no file to have its changes
    Extent extent = {};          // of the picture, as it was when no run had it
    HWND enlarger = nullptr;     // the dialog whose run enlarges picture and mask, and
    TrueSize sizeToCome = {};    // the size that it leaves off the record
    std::map<std::string, std::vector<GivenOption>> lastSettings;   // that effects were applied with, by their names
    std::vector<TakenStep> steps;                                   // all that have been noted (history.h)
    std::optional<TakenStep> begun;                                 // what the run under way does
    std::map<uint64_t, std::shared_ptr<Protection>> protections;   // by the state that each was made for (protection.h)
    bool protecting = false;                                       // the mouse paints protection
    View view;
    bool fits = true;   // the zoom follows the window's size
    double split = 0;   // where before and after meet, of the window's width; 0: no such line
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
    HWND frame = nullptr, client = nullptr, status = nullptr, toolbar = nullptr, tabs = nullptr;
    HMENU menuBar = nullptr, windowMenu = nullptr, recentMenu = nullptr;
    std::vector<std::unique_ptr<PictureWindow>> pictures;   // in the order they were opened
    int32_t brush = 24;                                     // picture pixels
    bool previewsOnPicture = true, showsBefore = false;     // see canvas_preview.h
    POINT pointer = {-1, -1};                               // picture pixel under the mouse; negative for none
    int untitled = 0;                                       // names given out
    bool quitting = false, ended = false;
};

constexpr char EDITOR_NAME[] = "Velmorant";

PictureWindow *ActivePicture(const Editor &editor);
PictureWindow *PictureOfImage(const Editor &editor, const ImageRecord *image);
bool IsRunning(const PictureWindow &picture);
bool IsModified(const PictureWindow &picture);
// Neither running nor closing: its picture may be changed.
bool CanChange(const PictureWindow *picture);
