// See menus.h. Which commands there are is commands.h's to know, which are possible run_commands.h's.

#include "host/editor/menus.h"

#include "host/editor/commands.h"
#include "host/editor/dark_menus.h"
#include "host/editor/remembered.h"
#include "host/editor/repeating.h"
#include "host/editor/run_commands.h"

static void GreyMenu(const Editor &editor, HMENU menu)
{
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        const UINT command = GetMenuItemID(menu, i);
        if (command < OPEN_FILE || command >= FIRST_WINDOW) continue;
        EnableMenuItem(menu, command, CommandPossible(editor, int(command)) ? MF_ENABLED : MF_GRAYED);
    }
}

// "Undo Wave", with the key behind it.
static void NameStep(HMENU menu, int command, const char *step)
{
    std::string label = LabelOf(command);
    if (step && step[0]) label.insert(label.find('\t'), std::string(" ") + step);
    ModifyMenuA(menu, UINT(command), MF_BYCOMMAND | MF_STRING, UINT_PTR(command), label.c_str());
}

static bool Holds(HMENU menu, int command) { return GetMenuState(menu, UINT(command), MF_BYCOMMAND) != UINT(-1); }

static void FillRecent(HMENU menu)
{
    while (GetMenuItemCount(menu) > 0) DeleteMenu(menu, 0, MF_BYPOSITION);
    const std::vector<std::string> files = RecentFiles();
    for (size_t i = 0; i < files.size(); ++i) {
        std::string label = "&" + std::to_string((i + 1) % 10) + "  ";
        for (const char letter : files[i]) label += letter == '&' ? "&&" : std::string(1, letter);
        AppendMenuA(menu, MF_STRING, FIRST_RECENT + i, label.c_str());
    }
    if (files.empty()) AppendMenuA(menu, MF_STRING | MF_GRAYED, FIRST_RECENT, "(none yet)");
}

static void FillMenu(Editor &editor, HMENU menu)
{
    if (menu == editor.recentMenu) return FillRecent(menu);
    if (menu == editor.host.menu) return ChooseMenus(&editor.host.context);
    const PictureWindow *picture = ActivePicture(editor);
    const bool still = CanChange(picture);
    if (Holds(menu, EDIT_UNDO)) {
        NameStep(menu, EDIT_UNDO, still ? MiscUndoLabel(picture->image) : nullptr);
        NameStep(menu, EFFECT_REPEAT, TitleToRepeat());
        NameStep(menu, EDIT_REDO, still ? MiscRedoLabel(picture->image) : nullptr);
    }
    if (Holds(menu, MASK_EDIT)) {
        const bool edited = picture && picture->image->maskEditing;
        CheckMenuItem(menu, MASK_EDIT, edited ? MF_CHECKED : MF_UNCHECKED);
    }
    if (Holds(menu, PROTECT_PAINT)) {
        const bool painted = picture && picture->protecting;
        CheckMenuItem(menu, PROTECT_PAINT, painted ? MF_CHECKED : MF_UNCHECKED);
    }
    if (Holds(menu, VIEW_PREVIEW)) {
        CheckMenuItem(menu, VIEW_PREVIEW, editor.previewsOnPicture ? MF_CHECKED : MF_UNCHECKED);
        CheckMenuItem(menu, VIEW_TOOLBAR, IsWindowVisible(editor.toolbar) ? MF_CHECKED : MF_UNCHECKED);
        CheckMenuItem(menu, VIEW_SPLIT, picture && picture->split > 0 ? MF_CHECKED : MF_UNCHECKED);
    }
    GreyMenu(editor, menu);
}

void OnMenuOpens(Editor &editor, HMENU menu)
{
    FillMenu(editor, menu);
    DressMenu(menu);
}
