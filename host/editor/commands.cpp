// The tables of menus and keys, and what is read from them. What a command does, and when it is possible, is
// run_commands.h's.

#include "host/editor/commands.h"

#include <iterator>
#include <string.h>

//---- Menus

struct MenuRow {
    int command;         // 0: a heading, opens a menu; or a separator, without a label
    const char *label;   // ends with its key, after a tab
};

static constexpr MenuRow menuRows[] = {
    {0, "&File"},
    {OPEN_FILE, "&Open...\tCtrl+O"},
    {RECENT_MENU, "&Recent"},
    {REVERT_FILE, "Re&vert"},
    {CLOSE_FILE, "&Close\tCtrl+W"},
    {0, nullptr},
    {SAVE_FILE, "&Save\tCtrl+S"},
    {SAVE_FILE_AS, "Save &As...\tCtrl+Shift+S"},
    {EXPORT_FILE, "&Export...\tCtrl+Shift+E"},
    {0, nullptr},
    {QUIT_EDITOR, "&Quit\tCtrl+Q"},

    {0, "&Edit"},
    {EDIT_UNDO, "&Undo\tCtrl+Z"},
    {EDIT_REDO, "&Redo\tCtrl+Y"},
    {EDIT_HISTORY, "&History...\tCtrl+H"},
    {0, nullptr},
    {EFFECT_REPEAT, "R&epeat\tCtrl+F"},
    {EFFECT_REPEAT_IN_DIALOG, "Repeat in &Dialog...\tCtrl+Shift+F"},
    {EFFECT_FIND, "&Find an Effect...\tCtrl+K"},
    {0, nullptr},
    {EDIT_COPY, "&Copy\tCtrl+C"},
    {EDIT_PASTE, "&Paste as Object\tCtrl+V"},
    {EDIT_PASTE_PICTURE, "Paste as &New Picture\tCtrl+Shift+V"},
    {0, nullptr},
    {EDIT_SELECT_ALL, "Select &All\tCtrl+A"},
    {EDIT_SELECT_NOTHING, "Select N&othing\tEsc"},

    {0, "&View"},
    {VIEW_ZOOM_IN, "Zoom &In\tCtrl++"},
    {VIEW_ZOOM_OUT, "Zoom &Out\tCtrl+-"},
    {VIEW_ACTUAL, "&Actual Size\tCtrl+1"},
    {VIEW_FIT, "&Fit in Window\tCtrl+0"},
    {0, nullptr},
    {VIEW_PREVIEW, "&Preview on the Picture (hold F8: before)"},
    {VIEW_SPLIT, "&Before and After, Split\tCtrl+B"},
    {0, nullptr},
    {VIEW_TOOLBAR, "&Toolbar"},

    {0, "&Picture"},
    {PICTURE_ONE_BIT, "Convert to &Black and White"},
    {PICTURE_ONE_BIT_DIFFUSED, "Convert to Black and White, &Diffused"},
    {PICTURE_GREY, "Convert to &Grey"},
    {PICTURE_PALETTE, "Convert to &Palette"},
    {PICTURE_RGB, "Convert to &RGB"},
    {0, nullptr},
    {PICTURE_CROP, "&Crop to Selected Area"},
    {PICTURE_RESIZE, "Re&size..."},
    {PICTURE_TURN_RIGHT, "R&otate Right\tCtrl+R"},
    {PICTURE_TURN_LEFT, "Rotate &Left\tCtrl+Shift+R"},
    {PICTURE_TURN_HALF, "Rotate &Half"},
    {PICTURE_FLIP_ACROSS, "&Flip Left and Right"},
    {PICTURE_FLIP_DOWN, "Flip &Top and Bottom"},
    {0, nullptr},
    {PICTURE_ABORT, "&Abort What Runs\tCtrl+Shift+A"},

    {0, "&Object"},
    {OBJECT_FROM_FILE, "From &File...\tCtrl+Shift+O"},
    {0, nullptr},
    {OBJECT_NEXT, "Select &Next\tTab"},
    {OBJECT_PREVIOUS, "Select &Previous\tShift+Tab"},
    {OBJECT_SELECT_ALL, "Select &All\tCtrl+Shift+Tab"},
    {0, nullptr},
    {OBJECT_DELETE, "&Delete\tDel"},
    {OBJECT_MERGE, "&Merge into Picture\tCtrl+E"},

    {0, "&Mask"},
    {MASK_EDIT, "&Edit Mask (Transparency)\tCtrl+M"},
    {0, nullptr},
    {MASK_FILL, "&Fill"},
    {MASK_CLEAR, "&Clear"},
    {MASK_INVERT, "&Invert\tCtrl+I"},
    {MASK_REMOVE, "&Remove"},
    {0, nullptr},
    {PROTECT_PAINT, "&Paint Protection\tCtrl+P"},
    {PROTECT_INVERT, "In&vert Protection"},
    {PROTECT_MASK, "Protect What the Mask Leaves &Out"},
    {PROTECT_NOTHING, "Protect &Nothing"},
    {0, nullptr},
    {MASK_BRUSH_LARGER, "&Larger Brush\t]"},
    {MASK_BRUSH_SMALLER, "&Smaller Brush\t["},
    {0, nullptr},
    {MASK_EXPLAIN, "&What a Mask Is"},

    {0, "Effe&cts"},

    {0, "&Window"},
    {WINDOW_CASCADE, "&Cascade"},
    {WINDOW_TILE_ACROSS, "Tile &Across"},
    {WINDOW_TILE_DOWN, "Tile &Down"},
    {0, nullptr},
    {WINDOW_NEXT, "&Next Picture\tCtrl+PgDn"},
    {WINDOW_PREVIOUS, "&Previous Picture\tCtrl+PgUp"},
    {WINDOW_DIALOG, "Go to &Effect's Dialog\tF6"},

    {0, "&Help"},
    {HELP_EFFECTS, "&Effects\tF1"},
    {0, nullptr},
    {HELP_ABOUT, "&About Velmorant"},
};

static bool IsHeading(const MenuRow &row) { return row.command == 0 && row.label; }

HMENU MakeMenuBar(HMENU effects, HMENU *windows, HMENU *recent)
{
    const HMENU bar = CreateMenu();
    HMENU menu = nullptr;
    for (const MenuRow &row : menuRows) {
        if (IsHeading(row)) {
            menu = strcmp(row.label, "Effe&cts") == 0 ? effects : CreatePopupMenu();
            if (strcmp(row.label, "&Window") == 0) *windows = menu;
            AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(menu), row.label);
        } else if (row.command == RECENT_MENU) {
            *recent = CreatePopupMenu();
            AppendMenuA(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(*recent), row.label);
        } else if (row.label) {
            AppendMenuA(menu, MF_STRING, UINT_PTR(row.command), row.label);
        } else {
            AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
        }
    }
    return bar;
}

const char *LabelOf(int command)
{
    for (const MenuRow &row : menuRows)
        if (row.command == command && row.label) return row.label;
    return "";
}

//---- Keys

enum Modifier : unsigned { PLAIN = 0, CONTROL = 1, SHIFT = 2 };

static constexpr struct {
    WPARAM key;
    unsigned modifiers;
    int command;
} keys[] = {
    {'O', CONTROL, OPEN_FILE},
    {'W', CONTROL, CLOSE_FILE},
    {VK_F4, CONTROL, CLOSE_FILE},
    {'S', CONTROL, SAVE_FILE},
    {'S', CONTROL | SHIFT, SAVE_FILE_AS},
    {'E', CONTROL | SHIFT, EXPORT_FILE},
    {'Q', CONTROL, QUIT_EDITOR},
    {'Z', CONTROL, EDIT_UNDO},
    {'Y', CONTROL, EDIT_REDO},
    {'Z', CONTROL | SHIFT, EDIT_REDO},
    {'H', CONTROL, EDIT_HISTORY},
    {'C', CONTROL, EDIT_COPY},
    {'V', CONTROL, EDIT_PASTE},
    {'V', CONTROL | SHIFT, EDIT_PASTE_PICTURE},
    {'A', CONTROL, EDIT_SELECT_ALL},
    {VK_ESCAPE, PLAIN, EDIT_SELECT_NOTHING},
    {VK_ADD, CONTROL, VIEW_ZOOM_IN},
    {VK_OEM_PLUS, CONTROL, VIEW_ZOOM_IN},
    {VK_OEM_PLUS, CONTROL | SHIFT, VIEW_ZOOM_IN},
    {VK_SUBTRACT, CONTROL, VIEW_ZOOM_OUT},
    {VK_OEM_MINUS, CONTROL, VIEW_ZOOM_OUT},
    {'1', CONTROL, VIEW_ACTUAL},
    {'0', CONTROL, VIEW_FIT},
    {'A', CONTROL | SHIFT, PICTURE_ABORT},
    {'O', CONTROL | SHIFT, OBJECT_FROM_FILE},
    {VK_TAB, PLAIN, OBJECT_NEXT},
    {VK_TAB, SHIFT, OBJECT_PREVIOUS},
    {VK_TAB, CONTROL | SHIFT, OBJECT_SELECT_ALL},
    {VK_DELETE, PLAIN, OBJECT_DELETE},
    {'E', CONTROL, OBJECT_MERGE},
    {'M', CONTROL, MASK_EDIT},
    {'P', CONTROL, PROTECT_PAINT},
    {'B', CONTROL, VIEW_SPLIT},
    {'F', CONTROL, EFFECT_REPEAT},
    {'F', CONTROL | SHIFT, EFFECT_REPEAT_IN_DIALOG},
    {'K', CONTROL, EFFECT_FIND},
    {'R', CONTROL, PICTURE_TURN_RIGHT},
    {'R', CONTROL | SHIFT, PICTURE_TURN_LEFT},
    {'I', CONTROL, MASK_INVERT},
    {VK_OEM_6, PLAIN, MASK_BRUSH_LARGER},
    {VK_OEM_4, PLAIN, MASK_BRUSH_SMALLER},
    {VK_NEXT, CONTROL, WINDOW_NEXT},
    {VK_TAB, CONTROL, WINDOW_NEXT},
    {VK_F6, CONTROL, WINDOW_NEXT},
    {VK_PRIOR, CONTROL, WINDOW_PREVIOUS},
    {VK_F6, CONTROL | SHIFT, WINDOW_PREVIOUS},
    {VK_F6, PLAIN, WINDOW_DIALOG},
    {VK_F1, PLAIN, HELP_EFFECTS},
};

int CommandOfKey(WPARAM key, bool control, bool shift, bool alt)
{
    const unsigned modifiers = (control ? CONTROL : PLAIN) | (shift ? SHIFT : PLAIN);
    for (const auto &row : keys)
        if (!alt && row.key == key && row.modifiers == modifiers) return row.command;
    return 0;
}
