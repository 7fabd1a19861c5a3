// Changes that a person makes to a picture by hand, each with its undo step, and what follows for the window and the
// dialogs' previews. Which of them is possible is run_commands.h's to know; the mask's pixels are mask_painting.h's.

#include "host/editor/edit_commands.h"

#include "host/editor/commands.h"
#include "host/editor/mask_painting.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_view.h"
#include "host/editor/questions.h"
#include "host/editor/screen.h"

#include <algorithm>

static constexpr uint32_t LOCK_WAIT = 5000;   // milliseconds; a preview holds an idle image's lock only for a copy

static void TellDialogs(Editor &editor, UINT message) { MiscTellFloaters(editor.host.context.floaters, message, 0, 0); }

static void RefreshPreviews(Editor &editor, const PictureWindow &picture)
{
    if (ActivePicture(editor) == &picture) TellDialogs(editor, REFRESH_PREVIEW);
}

//---- Undo

void GoThroughSteps(Editor &editor, PictureWindow &picture, int steps)
{
    ImageRecord *image = picture.image;
    int left = steps;
    while (left < 0 && MiscUndo(image)) ++left;
    while (left > 0 && MiscRedo(image)) --left;
    if (left == steps) return;
    if (image->maskEditing && !image->mask) EditMask(image, false);
    RefreshPreviews(editor, picture);
    ChooseMenus(&editor.host.context);
    PictureChanged(editor, picture);
}

//---- The selected area

void SelectRectangle(PictureWindow &picture, POINT one, POINT other)
{
    const LONG right = picture.extent.width - 1, bottom = picture.extent.height - 1;
    const auto place = [](LONG at, LONG most) { return int32_t(std::clamp<LONG>(at, 0, most)); };
    SelectArea(picture.image, place(std::min(one.x, other.x), right), place(std::min(one.y, other.y), bottom),
               place(std::max(one.x, other.x), right), place(std::max(one.y, other.y), bottom));
}

//---- Floating objects

bool HasSelectedObjects(const PictureWindow &picture) { return CountSelectedObjects(&picture.image->objectList) > 0; }

// Where its mask leaves everything out an object cannot be taken hold of.
static bool Covers(const ImageRecord &image, const FloatingObject &object, POINT pixel)
{
    const LONG x = pixel.x - object.x, y = pixel.y - object.y;
    if (x < 0 || y < 0 || x >= object.width || y >= object.height) return false;
    const int32_t bits = MaskBitsOf(image.colourType);
    const uint8_t *masks = object.pixels + size_t(RowStride(image.bitsPerPixel, object.width)) * size_t(object.height);
    const uint8_t *row = masks + size_t(RowStride(bits, object.width)) * size_t(y);
    return bits == 8 ? row[x] != 0 : BitAt(row, x);
}

int32_t ObjectUnder(const PictureWindow &picture, POINT pixel)
{
    const ObjectList &list = picture.image->objectList;
    int32_t i = list.count;
    while (i-- > 0 && !Covers(*picture.image, *list.objects[i], pixel)) {}
    return i;
}

// Into the middle of what is seen.
void PasteObject(Editor &editor, PictureWindow &picture, const Picture &contents)
{
    if (contents.width > MOST_OBJECT_EDGE || contents.height > MOST_OBJECT_EDGE) {
        ShowMessage(editor, "The picture is too large to become an object.", MB_ICONERROR);
        return;
    }
    const Extent window = SizeOf(picture.canvas);
    const POINT middle = PixelAt(picture.view, picture.extent, window, {window.width / 2, window.height / 2});
    std::string error;
    UndoUtility(picture.image, 0, 0, 0, 1, "Paste Object");
    for (int32_t i = 0; i < picture.image->objectList.count; ++i) SelectObject(picture.image, i, false);
    AddObject(picture.image, contents, middle.x - contents.width / 2, middle.y - contents.height / 2, error);
    PictureChanged(editor, picture);
}

void SelectNextObject(PictureWindow &picture, int step)
{
    const ObjectList &list = picture.image->objectList;
    int32_t selected = step > 0 ? -1 : list.count;
    for (int32_t i = 0; i < list.count; ++i)
        if (list.objects[i]->selected) selected = i;
    const int32_t next = (selected + step + list.count) % list.count;
    for (int32_t i = 0; i < list.count; ++i)
        if ((list.objects[i]->selected != 0) != (i == next)) SelectObject(picture.image, i, i == next);
}

void SelectAllObjects(PictureWindow &picture)
{
    for (int32_t i = 0; i < picture.image->objectList.count; ++i) SelectObject(picture.image, i, true);
}

void DeleteObjects(Editor &editor, PictureWindow &picture)
{
    UndoUtility(picture.image, 0, 0, 1, 0, "Delete Objects");
    for (int32_t i = picture.image->objectList.count; i-- > 0;)
        if (picture.image->objectList.objects[i]->selected) RemoveObject(picture.image, i);
    PictureChanged(editor, picture);
}

// What the picture shows is the picture from here on.
void MergeObjects(Editor &editor, PictureWindow &picture)
{
    ImageRecord *image = picture.image;
    UndoUtility(image, 1, 0, 1, 0, "Merge Objects");
    if (!KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) return;
    ReplacePicture(image, PictureOf(image));
    KPZ_ReleaseMutexSem(image->imageLock);
    RefreshPreviews(editor, picture);
    PictureChanged(editor, picture);
}

void MoveSelectedObjects(Editor &, PictureWindow &picture, int32_t dx, int32_t dy, bool step)
{
    ImageRecord *image = picture.image;
    if (step) UndoUtility(image, 0, 0, 1, 0, "Move Objects");
    for (int32_t i = 0; i < image->objectList.count; ++i) {
        const FloatingObject &object = *image->objectList.objects[i];
        if (object.selected) MoveObject(image, i, object.x + dx, object.y + dy);
    }
}

//---- Pictures that have grown

void PutSizeOnRecord(Editor &editor, PictureWindow &picture, TrueSize size)
{
    ImageRecord *image = picture.image;
    if (!KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) return;
    PutOnRecord(image, size);
    KPZ_ReleaseMutexSem(image->imageLock);
    RefreshPreviews(editor, picture);
}

//---- The mask

static MaskPlane MaskOf(const ImageRecord &image)
{
    return {image.mask, image.maskBitsPerPixel, image.width, image.height};
}

// A picture without a mask gets one that leaves nothing out.
static void GiveMask(ImageRecord *image)
{
    Picture holder;
    holder.width = image->width;
    holder.height = image->height;
    AddMask(holder, MaskBitsOf(image->colourType));
    FillMask({holder.mask.get(), holder.maskBitsPerPixel, holder.width, holder.height}, 255);
    SetMask(image, std::move(holder.mask), holder.maskBitsPerPixel);
}

void ToggleMaskEditing(Editor &editor, PictureWindow &picture)
{
    ImageRecord *image = picture.image;
    if (!image->maskEditing && !image->mask) {
        UndoUtility(image, 0, 1, 0, 0, "New Mask");
        GiveMask(image);
    }
    picture.protecting = false;
    EditMask(image, !image->maskEditing);
    PictureChanged(editor, picture);
}

void RemoveMask(Editor &editor, PictureWindow &picture)
{
    if (picture.image->maskEditing) EditMask(picture.image, false);
    UndoUtility(picture.image, 0, 1, 0, 0, "Remove Mask");
    SetMask(picture.image, nullptr, 0);
    PictureChanged(editor, picture);
}

// A preview may be copying the plane.
template <typename Change> static void ChangeMask(ImageRecord *image, Change change)
{
    if (!image->mask || !KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) return;
    change(MaskOf(*image));
    KPZ_ReleaseMutexSem(image->imageLock);
}

void ChangeWholeMask(Editor &editor, PictureWindow &picture, int command)
{
    UndoUtility(picture.image, 0, 1, 0, 0, command == MASK_INVERT ? "Invert Mask" : "Fill Mask");
    ChangeMask(picture.image, [=](const MaskPlane &mask) {
        if (command == MASK_INVERT) InvertMask(mask);
        else FillMask(mask, command == MASK_FILL ? 255 : 0);
    });
    RefreshPreviews(editor, picture);
    PictureChanged(editor, picture);
}

void PaintMask(PictureWindow &picture, POINT from, POINT to, int32_t diameter, uint8_t value)
{
    ChangeMask(picture.image, [=](const MaskPlane &mask) { PaintStroke(mask, from, to, diameter, value); });
    RedrawPicture(picture);
}
