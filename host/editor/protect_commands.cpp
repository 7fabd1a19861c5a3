// See protect_commands.h. The pixels are protecting.h's; what holds for a picture is looked up by protection.h.

#include "host/editor/protect_commands.h"

#include "host/editor/commands.h"
#include "host/editor/history.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_view.h"
#include "host/editor/protection.h"

static constexpr uint32_t LOCK_WAIT = 5000;   // milliseconds; a preview holds an idle image's lock only for a copy
static constexpr size_t MOST_KEPT = 24;       // more than there are undo steps

// Of the state that a new undo step has just made.
static Protection &OwnProtection(PictureWindow &picture, const char *label)
{
    const Protection *before = ProtectionOf(picture);
    auto own =
        std::make_shared<Protection>(before ? *before : NewProtection(picture.extent.width, picture.extent.height));
    UndoUtility(picture.image, 0, 0, 0, 0, label);
    NoteSteps(picture);
    if (picture.protections.size() >= MOST_KEPT) picture.protections.erase(picture.protections.begin());
    Protection &made = *own;
    picture.protections[MiscStateNumber(picture.image)] = std::move(own);
    return made;
}

//---- Painting

void ToggleProtecting(Editor &editor, PictureWindow &picture)
{
    if (picture.image->maskEditing) EditMask(picture.image, false);
    picture.protecting = !picture.protecting;
    PictureChanged(editor, picture);
}

void ChangeProtection(Editor &editor, PictureWindow &picture, int command)
{
    const ImageRecord &image = *picture.image;
    Protection &own = OwnProtection(picture, "Protect");
    const MaskPlane plane = PlaneOf(own);
    if (command == PROTECT_NOTHING) FillMask(plane, 255);
    if (command == PROTECT_INVERT) InvertMask(plane);
    if (command == PROTECT_MASK && image.mask)
        own = ProtectionFromMask({image.mask, image.maskBitsPerPixel, image.width, image.height});
    LookForProtected(own);
    PictureChanged(editor, picture);
}

void BeginProtectionStroke(PictureWindow &picture) { OwnProtection(picture, "Protect"); }

void PaintProtection(PictureWindow &picture, POINT from, POINT to, int32_t diameter, uint8_t value)
{
    const auto found = picture.protections.find(MiscStateNumber(picture.image));
    if (found == picture.protections.end()) return;
    Protection &own = *found->second;
    PaintStroke(PlaneOf(own), from, to, diameter, value);
    if (value == 255) LookForProtected(own);
    else own.any = true;
    RedrawPicture(picture);
}

//---- Runs

struct ProtectedRun {
    ImageRecord *image;
    const Protection *protection;
    bool done = false;
};

// The picture itself, which lies beneath floating objects where there are any.
static void KPZAPI BringBackFrom(void *context, const ImageRecord *before)
{
    ProtectedRun &run = *static_cast<ProtectedRun *>(context);
    ImageRecord &after = *run.image;
    const Protection &protection = *run.protection;
    const auto fits = [&](const ImageRecord &image) {
        return image.width == protection.width && image.height == protection.height && image.pixels;
    };
    if (!fits(*before) || !fits(after) || before->colourType != after.colourType) return;
    const bool mixes = after.colourType == GREY || after.colourType == RGB;
    BringBack({before->base.pixels ? before->base.pixels : before->pixels,
               after.base.pixels ? after.base.pixels : after.pixels, after.bitsPerPixel, mixes},
              protection);
    const uint8_t *maskBefore = before->base.pixels ? before->base.mask : before->mask;
    uint8_t *maskAfter = after.base.pixels ? after.base.mask : after.mask;
    if (maskBefore && maskAfter && before->maskBitsPerPixel == after.maskBitsPerPixel)
        BringBack({maskBefore, maskAfter, after.maskBitsPerPixel, true}, protection);
    run.done = true;
}

void ProtectResult(Editor &editor, PictureWindow &picture)
{
    ImageRecord *image = picture.image;
    NoteSteps(picture);
    ProtectedRun run = {image, ProtectionOf(picture)};
    if (!run.protection || !run.protection->any || !KPZ_GetMutexSem(image->imageLock, LOCK_WAIT)) return;
    const bool objects = KPZ_GetMutexSem(image->objectLock, LOCK_WAIT);
    MiscLookAtLastStep(image, BringBackFrom, &run);
    if (run.done && objects && image->base.pixels) MiscShowObjects(image);
    if (objects) KPZ_ReleaseMutexSem(image->objectLock);
    KPZ_ReleaseMutexSem(image->imageLock);
    if (run.done) MiscTellFloaters(editor.host.context.floaters, REFRESH_PREVIEW, 0, 0);
}
