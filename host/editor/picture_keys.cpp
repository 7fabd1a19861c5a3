// The keyboard in a picture's window: a cursor of one pixel that selects and paints as the mouse does, objects moved
// by the arrow keys, scrolling. Keys that stand in the menus are commands (keys.h).

#include "host/editor/picture_keys.h"

#include "host/editor/edit_commands.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_view.h"
#include "host/editor/protect_commands.h"
#include "host/editor/screen.h"
#include "host/editor/status_line.h"

#include <algorithm>

static void MoveCursor(PictureWindow &picture, LONG dx, LONG dy, bool selects)
{
    Editor &editor = *picture.editor;
    if (!picture.cursorShown) {
        const Extent window = SizeOf(picture.canvas);
        picture.cursor = PixelAt(picture.view, picture.extent, window, {window.width / 2, window.height / 2});
        picture.anchor = picture.cursor;
    }
    picture.cursorShown = true;
    picture.cursor.x = std::clamp<LONG>(picture.cursor.x + dx, 0, picture.extent.width - 1);
    picture.cursor.y = std::clamp<LONG>(picture.cursor.y + dy, 0, picture.extent.height - 1);
    ShowPixel(picture.view, picture.extent, SizeOf(picture.canvas), picture.cursor);
    LayOutPicture(picture);
    if (!selects) picture.anchor = picture.cursor;
    else if (CanChange(&picture)) SelectRectangle(picture, picture.anchor, picture.cursor);
    UpdateStatus(editor);
}

// Key after key is one step, as long as nothing else comes between.
static void MoveByKey(PictureWindow &picture, LONG dx, LONG dy)
{
    Editor &editor = *picture.editor;
    MoveSelectedObjects(editor, picture, dx, dy, MiscStateNumber(picture.image) != picture.keyMoveState);
    picture.keyMoveState = MiscStateNumber(picture.image);
    PictureChanged(editor, picture);
}

static void ProtectAtCursor(PictureWindow &picture)
{
    BeginProtectionStroke(picture);
    PaintProtection(picture, picture.cursor, picture.cursor, picture.editor->brush,
                    GetKeyState(VK_SHIFT) < 0 ? 255 : 0);
    PictureChanged(*picture.editor, picture);
}

static void PaintAtCursor(PictureWindow &picture)
{
    if (picture.protecting && picture.cursorShown && CanChange(&picture)) return ProtectAtCursor(picture);
    if (!picture.cursorShown || !CanChange(&picture) || !picture.image->maskEditing) return;
    UndoUtility(picture.image, 0, 1, 0, 0, "Paint Mask");
    PaintMask(picture, picture.cursor, picture.cursor, picture.editor->brush, GetKeyState(VK_SHIFT) < 0 ? 0 : 255);
    PictureChanged(*picture.editor, picture);
}

bool OnKey(PictureWindow &picture, WPARAM key)
{
    const bool control = GetKeyState(VK_CONTROL) < 0, shift = GetKeyState(VK_SHIFT) < 0;
    const LONG step = control ? 10 : 1;
    const LONG dx = key == VK_LEFT ? -step : key == VK_RIGHT ? step : 0;
    const LONG dy = key == VK_UP ? -step : key == VK_DOWN ? step : 0;
    if (dx || dy) {
        if (!shift && CanChange(&picture) && HasSelectedObjects(picture)) MoveByKey(picture, dx, dy);
        else MoveCursor(picture, dx, dy, shift);
        return true;
    }
    switch (key) {
    case VK_PRIOR: OnScrollBar(picture, SB_VERT, SB_PAGEUP); return true;
    case VK_NEXT: OnScrollBar(picture, SB_VERT, SB_PAGEDOWN); return true;
    case VK_HOME: OnScrollBar(picture, control ? SB_VERT : SB_HORZ, SB_TOP); return true;
    case VK_END: OnScrollBar(picture, control ? SB_VERT : SB_HORZ, SB_BOTTOM); return true;
    case VK_SPACE: PaintAtCursor(picture); return true;
    }
    return false;
}
