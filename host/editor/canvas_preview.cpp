// See canvas_preview.h. What is drawn, and how, is picture_drawing.h's.

#include "host/editor/canvas_preview.h"

#include "host/editor/effect_dialogs.h"
#include "host/editor/picture_view.h"
#include "host/editor/remembered.h"
#include "host/editor/screen.h"

#include <algorithm>

static HWND paused;   // a dialog whose run has just made the picture what it shows

// After its run the preview would show the effect applied twice, which nobody has asked for yet.
void PausePreview(Editor &editor, HWND dialog)
{
    paused = dialog;
    if (PictureWindow *picture = ActivePicture(editor)) RedrawPicture(*picture);
}

HWND PreviewFor(const PictureWindow &picture)
{
    const Editor &editor = *picture.editor;
    if (!editor.previewsOnPicture || editor.showsBefore || ActivePicture(editor) != &picture) return nullptr;
    if (!CanChange(&picture) || picture.image->maskEditing || picture.protecting) return nullptr;
    const HWND dialog = DialogInFront(editor);
    if (!dialog || dialog == paused || !IsDlgButtonChecked(dialog, PREVIEW_CHECK)) return nullptr;
    return GetDlgItem(dialog, PREVIEW_CONTROL);
}

void OnPreviewMessage(Editor &editor, HWND window, UINT message)
{
    const bool control = GetDlgCtrlID(window) == PREVIEW_CONTROL && HostDialogTemplate(GetParent(window));
    if (control && message == PREVIEW_CHANGED && GetParent(window) == paused) paused = nullptr;
    const bool shown = control && (message == WM_NULL || message == PREVIEW_CHANGED);
    const bool dialog = message == WM_ACTIVATE || message == WM_DESTROY || message == WM_SHOWWINDOW;
    if (!shown && !(dialog && HostDialogTemplate(window))) return;
    PictureWindow *picture = ActivePicture(editor);
    if (picture && editor.previewsOnPicture) RedrawPicture(*picture);
}

void TogglePreviewOnPicture(Editor &editor)
{
    editor.previewsOnPicture = !editor.previewsOnPicture;
    Remember("preview", editor.previewsOnPicture ? "on" : "off");
    if (PictureWindow *picture = ActivePicture(editor)) RedrawPicture(*picture);
}

void ShowBefore(Editor &editor, bool before)
{
    if (editor.showsBefore == before) return;
    editor.showsBefore = before;
    if (PictureWindow *picture = ActivePicture(editor)) RedrawPicture(*picture);
}

//---- The line

static constexpr double MIDDLE = 0.5;

void ToggleSplit(Editor &, PictureWindow &picture)
{
    picture.split = picture.split > 0 ? 0 : MIDDLE;
    RedrawPicture(picture);
}

int SplitColumn(const PictureWindow &picture)
{
    return picture.split > 0 ? int(picture.split * SizeOf(picture.canvas).width) : 0;
}

bool IsAtSplit(const PictureWindow &picture, POINT position)
{
    const int reach = MulDiv(4, int(DotsPerInch(picture.canvas)), 96);
    return picture.split > 0 && PreviewFor(picture) && std::abs(int(position.x) - SplitColumn(picture)) <= reach;
}

void MoveSplit(PictureWindow &picture, int column)
{
    const int width = std::max(SizeOf(picture.canvas).width, 1);
    picture.split = std::clamp(double(column) / width, 0.01, 0.99);
    RedrawPicture(picture);
}
