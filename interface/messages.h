// The numbers that the host and the module share: private messages, notifications, colour types, preview modes,
// and the controls that every effect dialog has. Each stands here and nowhere else.

#pragma once

// Messages. Word and long are the message's two parameters.
enum {
    FORWARDED_COMMAND = 786,       // dialog to host window, posted: word and long of the command button's WM_COMMAND
    REFRESH_PREVIEW = 1026,        // host to every open dialog: show the preview again; both parameters 0
    SHOW_PREVIEW = 1027,           // dialog to preview control: redraw; long = FilterHeader (Shear: its EffectBlock)
    COLOUR_SETTING = 1029,         // dialog to colour control: word = key (below), long = value
    ACTIVE_IMAGE_CHANGED = 1032,   // host to every open dialog; both parameters 0
    IMAGE_OPENED = 1034,           // host to every open dialog; long = the new ImageRecord
    IMAGE_CLOSED = 1055,           // host to every open dialog; long = the ImageRecord, already off the host's list
    PREVIEW_CHANGED = 1056,        // dialog to preview control: the parameters changed; both parameters 0
    RUN_FINISHED = 33024,          // run thread to its dialog, sent and waited for; word = the image's window
};

// Keys of COLOUR_SETTING: the shown colour, and two settings of the host's picker that some dialogs write once.
enum { COLOUR_SHOWN = 2, COLOUR_SETTING_4 = 4, COLOUR_SETTING_5 = 5 };

// Notifications, in the high half of WM_COMMAND's word. The two of the colour control carry in long a pointer to
// the 32-bit colour. SPIN_CHANGED is the module's own: it stands in for a spin box's WM_VSCROLL.
enum { COLOUR_CHANGING = 10, COLOUR_CHANGED = 11, SPIN_CHANGED = 0xFD2E };

// ImageRecord::colourType and ImageView::colourType.
enum ColourType { ONE_BIT = 3, GREY = 4, PALETTE = 5, RGB = 6 };

// FilterHeader::previewMode: what part of the picture the effect works on.
enum { SCOPE_OBJECTS = 0, SCOPE_IMAGE = 1, SCOPE_NEW_OBJECT = 2, SCOPE_ALL = 3 };

// Controls that all effects' dialogs share.
enum {
    CLOSE_BUTTON = 1,
    HELP_BUTTON = 20,
    HOST_COMMAND_FIRST = 37,
    HOST_COMMAND_LAST = 40,   // Undo, Redo, previous and next picture
    PREVIEW_ZOOM_OUT = 700,
    PREVIEW_ZOOM_IN = 740,
    PREVIEW_ZOOM_FIT = 750,
    PREVIEW_CHECK = 2610,
    APPLY_BUTTON = 2620,
    PREVIEW_CONTROL = 2660,
    UNUSED_COMMAND = 6770,
    ABORT_BUTTON = 6900,
    PRIORITY_TRACKBAR = 6930,
    SCOPE_IMAGE_RADIO = 6940,
    SCOPE_ALL_RADIO = 6950,
    SCOPE_OBJECTS_RADIO = 6960,
    SCOPE_NEW_OBJECT_RADIO = 2170,
};

// Thread priorities, as the trackbar shows them.
enum { LOWEST_PRIORITY = 0, NORMAL_PRIORITY = 2, HIGHEST_PRIORITY = 4 };

// What the effect chooser returns when nothing was chosen; else it returns the chosen effect, counted from 0.
enum { CHOOSER_TEMPLATE = 9100, CHOOSER_CANCELLED = 500 };
