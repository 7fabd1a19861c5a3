// What a person can tell the editor to do: the menus and keys in one table.

#pragma once

#include "interface/effect_table.h"

// Command ids. The effects module has those from 1000 on; the list of windows begins at FIRST_WINDOW.
enum Command {
    OPEN_FILE = 2000,
    REVERT_FILE,
    CLOSE_FILE,
    SAVE_FILE,
    SAVE_FILE_AS,
    EXPORT_FILE,
    QUIT_EDITOR,
    EDIT_UNDO,
    EDIT_REDO,
    EDIT_HISTORY,
    EDIT_COPY,
    EDIT_PASTE,
    EDIT_PASTE_PICTURE,
    EDIT_SELECT_ALL,
    EDIT_SELECT_NOTHING,
    VIEW_ZOOM_IN,
    VIEW_ZOOM_OUT,
    VIEW_ACTUAL,
    VIEW_FIT,
    VIEW_PREVIEW,
    VIEW_SPLIT,
    VIEW_TOOLBAR,
    PICTURE_ONE_BIT,
    PICTURE_ONE_BIT_DIFFUSED,
    PICTURE_GREY,
    PICTURE_PALETTE,
    PICTURE_RGB,
    PICTURE_CROP,
    PICTURE_RESIZE,
    PICTURE_TURN_RIGHT,
    PICTURE_TURN_LEFT,
    PICTURE_TURN_HALF,
    PICTURE_FLIP_ACROSS,
    PICTURE_FLIP_DOWN,
    PICTURE_ABORT,
    OBJECT_FROM_FILE,
    OBJECT_NEXT,
    OBJECT_PREVIOUS,
    OBJECT_SELECT_ALL,
    OBJECT_DELETE,
    OBJECT_MERGE,
    MASK_EDIT,
    MASK_FILL,
    MASK_CLEAR,
    MASK_INVERT,
    MASK_REMOVE,
    MASK_EXPLAIN,
    PROTECT_PAINT,
    PROTECT_INVERT,
    PROTECT_NOTHING,
    PROTECT_MASK,
    MASK_BRUSH_LARGER,
    MASK_BRUSH_SMALLER,
    WINDOW_CASCADE,
    WINDOW_TILE_ACROSS,
    WINDOW_TILE_DOWN,
    WINDOW_NEXT,
    WINDOW_PREVIOUS,
    WINDOW_DIALOG,
    EFFECT_REPEAT,
    EFFECT_REPEAT_IN_DIALOG,
    EFFECT_FIND,
    HELP_EFFECTS,
    HELP_ABOUT,
    RECENT_MENU = 2980,   // no command: the menu of recent files
    FIRST_RECENT = 2990,
    FIRST_WINDOW = 31000,
};

// The menu bar. `effects` becomes its menu of effects and must be taken off before the bar is destroyed. The window
// list goes into `windows`, the
// recent files into `recent`.
HMENU MakeMenuBar(HMENU effects, HMENU *windows, HMENU *recent);
// The command of a key with the modifiers that are down; 0 for none.
int CommandOfKey(WPARAM key, bool control, bool shift, bool alt);
// A menu text with the keys that a command has: "Save\tCtrl+S".
const char *LabelOf(int command);
