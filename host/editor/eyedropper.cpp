// See eyedropper.h. The dialog is worked as a person works it: its colour control hears of a choice.

#include "host/editor/eyedropper.h"

#include "host/acting/acting.h"
#include "host/editor/effect_dialogs.h"
#include "host/editor/picture_drawing.h"

struct ColourQuery {
    POINT at;
    bool found;
    uint32_t colour;   // 0x00BBGGRR
};

static void KPZAPI TakeColour(void *context, const ImageRecord *image)
{
    ColourQuery &query = *static_cast<ColourQuery *>(context);
    const LONG x = query.at.x, y = query.at.y;
    if (x < 0 || y < 0 || x >= image->width || y >= image->height) return;
    const uint8_t *row = image->pixels + size_t(RowStride(image->bitsPerPixel, image->width)) * size_t(y);
    query.found = true;
    if (image->bitsPerPixel == 24) {
        query.colour = row[3 * x + 2] | uint32_t(row[3 * x + 1]) << 8 | uint32_t(row[3 * x]) << 16;
        return;
    }
    const int entry = image->bitsPerPixel == 8 ? row[x] : BitAt(row, x);
    query.colour = image->red[entry] | uint32_t(image->green[entry]) << 8 | uint32_t(image->blue[entry]) << 16;
}

static int32_t ColourSettingOf(HWND dialog)
{
    const DialogTemplate &table = *FindDialogTemplate(HostDialogTemplate(dialog));
    const int focus = GetDlgCtrlID(GetFocus());
    int32_t first = 0;
    for (int32_t i = 0; i < table.controlCount; ++i) {
        const ControlTemplate &row = table.controls[i];
        if (row.kind != COLOUR_CONTROL || !IsWindowEnabled(GetDlgItem(dialog, row.id))) continue;
        if (row.id == focus) return row.id;
        if (!first) first = row.id;
    }
    return first;
}

void PickColourUnder(PictureWindow &picture)
{
    const HWND dialog = DialogInFront(*picture.editor);
    ColourQuery query = {picture.pressed, false, 0};
    const int32_t id = dialog ? ColourSettingOf(dialog) : 0;
    if (id && LookAtImage(picture, TakeColour, &query) && query.found) PickColour(dialog, id, query.colour);
}
