// See greying.h. Only controls that all effects' dialogs share are touched.

#include "host/editor/greying.h"

#include "host/editor/effect_dialogs.h"

#include <cstring>

static bool pending;

void GreyDialogsSoon(const Editor &editor)
{
    if (pending || !editor.frame) return;
    pending = PostMessageA(editor.frame, GREY_DIALOGS, 0, 0);
}

static void Enable(HWND dialog, int32_t id, bool possible)
{
    const HWND control = GetDlgItem(dialog, id);
    if (control && (IsWindowEnabled(control) != FALSE) != possible) EnableWindow(control, possible);
}

// A scope's radio button: its label and its state are the module's, but that the picture has nothing for it is seen here.
static void GreyScopes(HWND dialog, const ImageRecord &image)
{
    const bool objects = image.objectList.count > 0, selected = CountSelectedObjects(&image.objectList) > 0;
    const DialogTemplate *effect = FindDialogTemplate(HostDialogTemplate(dialog));
    const bool family = effect && !effect->changesSize;   // Mirror's and Shear's buttons mean something else
    Enable(dialog, SCOPE_ALL_RADIO, objects || !family);
    Enable(dialog, SCOPE_OBJECTS_RADIO, selected);
    const bool shears = effect && strcmp(effect->effect, "shear") == 0;
    Enable(dialog, SCOPE_NEW_OBJECT_RADIO, image.selection.pointCount > 0 || shears);
}

void GreyDialogs(const Editor &editor)
{
    pending = false;
    const PictureWindow *picture = ActivePicture(editor);
    const bool still = CanChange(picture);
    size_t place = 0;
    while (place < editor.pictures.size() && editor.pictures[place].get() != picture) ++place;
    const FloaterList *floaters = editor.host.context.floaters;
    for (int32_t i = 0; i < MiscFloaterCount(floaters); ++i) {
        const HWND dialog = MiscFloaterAt(floaters, i);
        Enable(dialog, HOST_COMMAND_FIRST, still && MiscUndoCount(picture->image) > 0);
        Enable(dialog, HOST_COMMAND_FIRST + 1, still && MiscRedoCount(picture->image) > 0);
        Enable(dialog, HOST_COMMAND_FIRST + 2, picture && place > 0);
        Enable(dialog, HOST_COMMAND_LAST, picture && place + 1 < editor.pictures.size());
        if (still && IsWindowEnabled(GetDlgItem(dialog, APPLY_BUTTON))) GreyScopes(dialog, *picture->image);
    }
}
