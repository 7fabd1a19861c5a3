#include "host/editor/picture_changes.h"

#include "host/editor/chooser.h"
#include "host/editor/picture_view.h"
#include "host/editor/screen.h"
#include "host/editor/status_line.h"

#include <algorithm>

void UpdateTitles(Editor &editor)
{
    for (const auto &picture : editor.pictures) {
        const std::string title = picture->name + (IsModified(*picture) ? " *" : "");
        if (title == picture->title) continue;
        picture->title = title;
        SetWindowTextA(picture->window, title.c_str());
    }
}

void ActivatePicture(Editor &editor, PictureWindow *picture)
{
    const auto window = reinterpret_cast<WPARAM>(picture->window);
    if (IsIconic(picture->window)) SendMessageA(editor.client, WM_MDIRESTORE, window, 0);
    SendMessageA(editor.client, WM_MDIACTIVATE, window, 0);
}

// The size of the window around a picture of this size on the screen, within the room there is.
Extent WindowAround(const Editor &editor, Extent shown)
{
    const Extent room = SizeOf(editor.client);
    RECT area = {0, 0, shown.width, shown.height};
    AdjustWindowRectEx(&area, WS_OVERLAPPEDWINDOW, FALSE, WS_EX_MDICHILD);
    return {std::min<int32_t>(area.right - area.left, room.width),
            std::min<int32_t>(area.bottom - area.top, room.height)};
}

// A window that is not as large as it can be follows its picture's size.
static void FollowSize(Editor &editor, PictureWindow &picture)
{
    if (IsZoomed(picture.window) || IsIconic(picture.window)) return;
    const Extent size = WindowAround(editor, ShownExtent(picture.view, picture.extent));
    SetWindowPos(picture.window, nullptr, 0, 0, size.width, size.height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void PictureChanged(Editor &editor, PictureWindow &picture)
{
    if (!CanChange(&picture)) return UpdateStatus(editor);
    const ImageRecord &image = *picture.image;
    if (picture.extent.width != image.width || picture.extent.height != image.height) {
        picture.extent = {image.width, image.height};
        FollowSize(editor, picture);
        LayOutPicture(picture);
    }
    RedrawPicture(picture);
    UpdateTitles(editor);
    UpdateStatus(editor);
    RefreshChooser();
}
