// The host's dialogs as tables: which controls a dialog has, where they stand, what they are called, and by which
// word the command line knows them. Both back ends of VLMAPI make windows from these tables and the command line
// makes its options from them; ranges and defaults come from the module when a dialog opens, so nothing is told
// twice.

#pragma once

#include "interface/host_interface.h"

enum ControlKind {
    LABEL,       // static text; id -1
    GROUP_BOX,   // a frame with a heading; id -1
    PUSH_BUTTON,
    CHECK_BOX,
    RADIO_BUTTON,   // the group begins at a row with startsGroup and ends before the next such row
    NUMBER_FIELD,   // an edit field for a whole number
    SPIN_ARROWS,    // the arrows of the NUMBER_FIELD in the row before; the pair is one spin box
    TRACKBAR,
    LIST_BOX,
    COLOUR_CONTROL,
    PREVIEW_WINDOW,
};

// One control. Places are in dialog units: a quarter of the font's mean width, an eighth of its height.
struct ControlTemplate {
    ControlKind kind;
    int16_t id;
    int16_t x, y, width, height;
    bool startsGroup;      // with arrow keys a person stays among the controls up to the next group
    const char *label;     // "&" marks the accelerator; empty for none
    const char *option;    // the parameter's name on the command line, kebab case; null: not one. A spin box has it
                           // on its arrows, the 49 fields of Filters' kernel share the one on their first.
    const char *word;      // radio buttons: the option's value that chooses this button; null without option
    const char *meaning;   // one line for a person who asks for help: what the control (radio: the choice) does. What
                           // has an option has a meaning, and so has the frame around radio buttons that share
                           // one; labels, other frames and fields that share an option have none
};

// Controls of Filters that are worked in a way of their own: the first of the kernel's fields, the list of the ready-made
// kernels, the buttons that ask for a filter file, and what a kernel brings with it.
enum {
    FIRST_KERNEL_FIELD = 4020,
    KERNEL_LIST = 960,
    SAVE_KERNEL_BUTTON = 2630,
    LOAD_KERNEL_BUTTON = 2640,
    KERNEL_DIVISOR = 990,
    KERNEL_BIAS = 980,
    SUBTRACT_RADIO = 5140,   // the first of the combine modes
};

// Settings that leave each other without meaning. A dialog takes them all the same; a person is told.
struct Contradiction {
    enum Kind {
        NOT_ABOVE,    // the setting is not above the other
        NOT_CHOSEN,   // the setting is given, but the other is not `word`
        ALL_OFF,      // the setting, the other and the one that `word` names are all off
    } kind;
    const char *setting, *other, *word;   // options; null: none
    const char *outcome;                  // what comes of it
};

struct DialogTemplate {
    int32_t id;
    const char *title;                 // the window's caption
    const char *effect;                // the effect's name on the command line; null for the chooser
    int32_t commandOffset;             // the effect's menu command, counted from the base id; 0 for the chooser
    int32_t helpContext;               // the number its Help button sends to RunHelp; 0 for the chooser
    const char *summary;               // one line: what a person sees happen to a picture
    const char *about;                 // its help page's text: what it does and what for; empty for the chooser
    const char *example;               // options for the command line that show it well; empty for the chooser
    int16_t width, height;             // dialog units
    const ControlTemplate *controls;   // in window order, which is the tab order
    int32_t controlCount;
    bool changesSize;   // a run may enlarge the picture. With a mask plane the image would keep its old size on
                        // record, so what is an alpha channel is run as a picture of its own
    bool draws;         // a run draws random numbers
    const Contradiction *contradictions;
    int32_t contradictionCount;
    const char *reachOption;   // it looks around each pixel, at most `reach` times this setting far; null otherwise
    int32_t reach;
    bool mixes;   // pixels with their neighbours by their places alone, and moves the mask along: see its fringe
};

// A string of a module: the host's own, or an effects module's KPZStrings, whose table ends in {0, null}.
struct ModuleString {
    int32_t id;
    const char *text;
};

// The name under which the host's dialogs and strings are found (HostContext::resourceModule).
#define HOST_RESOURCES "VELMORANT"

// All templates: the effects in the table's order, which is the chooser's, then the chooser. [any]
KPZ_IMPORT int32_t KPZAPI DialogTemplateCount(void);
KPZ_IMPORT const DialogTemplate *KPZAPI DialogTemplateAt(int32_t index);
// By template id; by the effect's name on the command line. Null when there is none. [any]
KPZ_IMPORT const DialogTemplate *KPZAPI FindDialogTemplate(int32_t id);
KPZ_IMPORT const DialogTemplate *KPZAPI FindEffectTemplate(const char *effect);
// The row of a control id, null when the dialog has none. [any]
KPZ_IMPORT const ControlTemplate *KPZAPI FindControl(const DialogTemplate *dialog, int32_t id);
// The host's strings, ended by {0, null}: 5101 and on name the effects in the
// chooser's order; as far as the chooser's record has room, the rest is empty. [any]
KPZ_IMPORT const ModuleString *KPZAPI HostStrings(void);
