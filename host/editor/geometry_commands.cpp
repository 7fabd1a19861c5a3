// See geometry_commands.h. What becomes of the pixels is geometry.h's; here it is asked for and started.

#include "host/editor/geometry_commands.h"

#include "host/editor/commands.h"
#include "host/editor/forms.h"
#include "host/editor/geometry.h"
#include "host/editor/picture_runs.h"

#include <algorithm>

static constexpr int32_t LONGEST = 32767;
static constexpr int64_t MOST_PIXELS = 200 * 1000 * 1000;   // what a program of 32 bits can hold a few times

// To the selected area's bounds; what is selected then is all, so nothing is.
static void Crop(Editor &editor, PictureWindow &picture)
{
    const Selection &area = picture.image->selection;
    const int32_t left = std::max(area.left, 0), top = std::max(area.top, 0);
    const int32_t right = std::min(area.right, picture.image->width - 1);
    const int32_t bottom = std::min(area.bottom, picture.image->height - 1);
    if (left > right || top > bottom) return;
    StartPictureRun(editor, picture, "Crop", Places::CHANGE, [=](const Picture &from, const GoOn &goOn) {
        return Cropped(from, left, top, right - left + 1, bottom - top + 1, goOn);
    });
}

enum { WIDTH = 1, HEIGHT, KEEPS_SHAPE, FILTER };

static Form SizeForm(const PictureWindow &picture)
{
    return {
        "Resize",
        {{FormKind::NUMBER, WIDTH, "&Width, pixels:", picture.extent.width, 1, LONGEST},
         {FormKind::NUMBER, HEIGHT, "&Height, pixels:", picture.extent.height, 1, LONGEST},
         {FormKind::CHECK, KEEPS_SHAPE, "&Keep the picture's shape", 1},
         {FormKind::CHOICE, FILTER, "&New pixels are:", 2, 0, 0, {"the nearest", "linear means", "cubic, sharper"}}}};
}

// The edge that was changed last leads.
static void FollowShape(HWND window, Form &form, Extent extent, int &width, int &height)
{
    FormRow &wide = form.rows[0], &high = form.rows[1];
    if (form.rows[2].value && wide.value != width) {
        high.value = std::clamp(int(int64_t(wide.value) * extent.height / extent.width), 1, int(LONGEST));
        SetRowText(window, HEIGHT, std::to_string(high.value));
    } else if (form.rows[2].value && high.value != height) {
        wide.value = std::clamp(int(int64_t(high.value) * extent.width / extent.height), 1, int(LONGEST));
        SetRowText(window, WIDTH, std::to_string(wide.value));
    }
    width = wide.value;
    height = high.value;
}

static void Resize(Editor &editor, PictureWindow &picture)
{
    const Extent extent = picture.extent;
    int lastWidth = extent.width, lastHeight = extent.height;
    Form form = SizeForm(picture);
    form.changed = [&](HWND window, Form &now) { FollowShape(window, now, extent, lastWidth, lastHeight); };
    if (!ShowForm(editor, form) || !CanChange(&picture)) return;
    const int32_t width = form.rows[0].value, height = form.rows[1].value;
    if (int64_t(width) * height > MOST_PIXELS || (width == extent.width && height == extent.height)) return;
    const auto filter = Filter(form.rows[3].value);
    StartPictureRun(editor, picture, "Resize", Places::CHANGE,
                    [=](const Picture &from, const GoOn &goOn) { return Resized(from, width, height, filter, goOn); });
}

static void TurnPicture(Editor &editor, PictureWindow &picture, Turn turn, const char *label)
{
    StartPictureRun(editor, picture, label, Places::CHANGE,
                    [=](const Picture &from, const GoOn &goOn) { return Turned(from, turn, goOn); });
}

void ChangeGeometry(Editor &editor, PictureWindow &picture, int command)
{
    switch (command) {
    case PICTURE_CROP: Crop(editor, picture); break;
    case PICTURE_RESIZE: Resize(editor, picture); break;
    case PICTURE_TURN_RIGHT: TurnPicture(editor, picture, Turn::RIGHT, "Rotate Right"); break;
    case PICTURE_TURN_LEFT: TurnPicture(editor, picture, Turn::LEFT, "Rotate Left"); break;
    case PICTURE_TURN_HALF: TurnPicture(editor, picture, Turn::HALF, "Rotate Half"); break;
    case PICTURE_FLIP_ACROSS: TurnPicture(editor, picture, Turn::ACROSS, "Flip Across"); break;
    case PICTURE_FLIP_DOWN: TurnPicture(editor, picture, Turn::DOWN, "Flip Down"); break;
    }
}
