// The mouse in a picture's window: one button, which selects an area, moves floating objects, paints the mask or drags
// the picture, by where and with what it is pressed. What these do to the picture is edit_commands.h's; the wheel is
// picture_view.h's.

#include "host/editor/picture_mouse.h"

#include "host/editor/canvas_preview.h"
#include "host/editor/edit_commands.h"
#include "host/editor/eyedropper.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_view.h"
#include "host/editor/protect_commands.h"
#include "host/editor/screen.h"
#include "host/editor/status_line.h"

#include <windowsx.h>

static POINT PixelUnder(const PictureWindow &picture, LPARAM extra)
{
    const POINT position = {GET_X_LPARAM(extra), GET_Y_LPARAM(extra)};
    return PixelAt(picture.view, picture.extent, SizeOf(picture.canvas), position);
}

static void BeginScrolling(PictureWindow &picture, LPARAM extra)
{
    picture.hand = Hand::SCROLLS;
    picture.scrollFrom = {GET_X_LPARAM(extra) + picture.view.left, GET_Y_LPARAM(extra) + picture.view.top};
}

static void BeginPainting(PictureWindow &picture, uint8_t value)
{
    Editor &editor = *picture.editor;
    picture.hand = Hand::PAINTS;
    picture.paint = value;
    if (picture.protecting) {
        BeginProtectionStroke(picture);
        return PaintProtection(picture, picture.pressed, picture.pressed, editor.brush, value);
    }
    UndoUtility(picture.image, 0, 1, 0, 0, "Paint Mask");
    PaintMask(picture, picture.pressed, picture.pressed, editor.brush, value);
}

static void PressObject(PictureWindow &picture, int32_t index, bool addsToSelection)
{
    ObjectList &list = picture.image->objectList;
    picture.hand = Hand::MOVES_OBJECTS;
    if (addsToSelection) return SelectObject(picture.image, index, !list.objects[index]->selected);
    if (list.objects[index]->selected) return;
    for (int32_t i = 0; i < list.count; ++i)
        if ((list.objects[i]->selected != 0) != (i == index)) SelectObject(picture.image, i, i == index);
}

void OnPress(PictureWindow &picture, WPARAM keys, LPARAM extra, bool right)
{
    Editor &editor = *picture.editor;
    if (ActivePicture(editor) != &picture) ActivatePicture(editor, &picture);
    SetFocus(picture.canvas);
    if (picture.hand != Hand::FREE) return;
    picture.cursorShown = false;
    picture.pressed = picture.last = PixelUnder(picture, extra);
    picture.moved = false;
    if (keys & MK_MBUTTON || GetKeyState(VK_SPACE) < 0) {
        BeginScrolling(picture, extra);
    } else if (!right && IsAtSplit(picture, {GET_X_LPARAM(extra), GET_Y_LPARAM(extra)})) {
        picture.hand = Hand::SPLITS;
    } else if (!right && GetKeyState(VK_MENU) < 0) {
        PickColourUnder(picture);
    } else if (CanChange(&picture)) {
        const int32_t object = ObjectUnder(picture, picture.pressed);
        if (picture.protecting) BeginPainting(picture, right ? 255 : 0);
        else if (picture.image->maskEditing) BeginPainting(picture, right ? 0 : 255);
        else if (right) return;
        else if (object >= 0) PressObject(picture, object, keys & MK_CONTROL);
        else picture.hand = Hand::SELECTS;
    }
    if (picture.hand != Hand::FREE) SetCapture(picture.canvas);
}

static void Drag(PictureWindow &picture, POINT pixel)
{
    Editor &editor = *picture.editor;
    const LONG dx = pixel.x - picture.last.x, dy = pixel.y - picture.last.y;
    if ((!dx && !dy) || !CanChange(&picture)) return;
    switch (picture.hand) {
    case Hand::SELECTS: SelectRectangle(picture, picture.pressed, pixel); break;
    case Hand::MOVES_OBJECTS: MoveSelectedObjects(editor, picture, dx, dy, !picture.moved); break;
    case Hand::PAINTS:
        if (picture.protecting) PaintProtection(picture, picture.last, pixel, editor.brush, picture.paint);
        else PaintMask(picture, picture.last, pixel, editor.brush, picture.paint);
        break;
    default: break;
    }
    picture.last = pixel;
    picture.moved = true;
    UpdateStatus(editor);
}

static void NotePointer(PictureWindow &picture, POINT pixel)
{
    Editor &editor = *picture.editor;
    if (editor.pointer.x == pixel.x && editor.pointer.y == pixel.y) return;
    editor.pointer = pixel;
    TRACKMOUSEEVENT leave = {sizeof leave, TME_LEAVE, picture.canvas, 0};
    TrackMouseEvent(&leave);
    ShowPointer(editor);
}

void OnLeave(PictureWindow &picture) { NotePointer(picture, {-1, -1}); }

void OnMove(PictureWindow &picture, LPARAM extra)
{
    if (ActivePicture(*picture.editor) == &picture) NotePointer(picture, PixelUnder(picture, extra));
    if (picture.hand == Hand::FREE) return;
    if (picture.hand == Hand::SPLITS) return MoveSplit(picture, GET_X_LPARAM(extra));
    if (picture.hand != Hand::SCROLLS) return Drag(picture, PixelUnder(picture, extra));
    ScrollTo(picture, picture.scrollFrom.x - GET_X_LPARAM(extra), picture.scrollFrom.y - GET_Y_LPARAM(extra));
}

static void DeselectAll(PictureWindow &picture)
{
    const ObjectList &list = picture.image->objectList;
    for (int32_t i = 0; i < list.count; ++i)
        if (list.objects[i]->selected) SelectObject(picture.image, i, false);
    SelectNothing(picture.image);
}

// A click that selects nothing lets go what was selected.
void OnRelease(PictureWindow &picture)
{
    const Hand hand = picture.hand;
    picture.hand = Hand::FREE;
    ReleaseCapture();
    if (hand == Hand::SELECTS && !picture.moved && CanChange(&picture)) DeselectAll(picture);
    if (hand != Hand::FREE) PictureChanged(*picture.editor, picture);
}
