#include "host/editor/editor.h"

PictureWindow *PictureOfImage(const Editor &editor, const ImageRecord *image)
{
    for (const auto &picture : editor.pictures)
        if (picture->image == image) return picture.get();
    return nullptr;
}

PictureWindow *ActivePicture(const Editor &editor) { return PictureOfImage(editor, editor.host.context.activeImage); }

bool IsRunning(const PictureWindow &picture) { return HostRunUnderWay(picture.image); }

bool IsModified(const PictureWindow &picture)
{
    return picture.neverSaved || MiscStateNumber(picture.image) != picture.savedState;
}

bool CanChange(const PictureWindow *picture) { return picture && !picture->closing && !IsRunning(*picture); }
