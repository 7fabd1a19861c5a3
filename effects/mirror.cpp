// Mirror: puts a picture and its mirror image side by side, or one above the other; the picture doubles in width or
// height. It brings a run of its own, whose target is the chosen scope:
//     all          the picture with its mask plane; the floating objects move to the left or up by half of its new
//                  extent as far as that is on record
//     objects      each selected floating object with its mask; it moves by half of its new extent
//     new object   the mirror image of the selected area becomes a floating object beside the area
//     image        nothing: the run records an undo step and shows the picture again
// With a mask plane the recorded size stays the old one though both planes have doubled.

#include "effects/effects.h"
#include "framework/bands.h"
#include "framework/own_run.h"

enum { ABOVE = 1230, BELOW = 1240, TO_THE_RIGHT = 1250, TO_THE_LEFT = 1260 };

struct MirrorParameters {
    int32_t direction = TO_THE_LEFT;   // the id of the checked radio button: where the mirror image goes
};
struct MirrorBlock {
    EffectBlock common;
    MirrorParameters own;
};
BLOCK_SIZE(MirrorBlock, 136);

static constexpr MirrorParameters defaults;

static constexpr ControlBinding controls[] = {
    ClearedRadio(TO_THE_LEFT, FIELD(MirrorBlock, own.direction)),
    ClearedRadio(TO_THE_RIGHT, FIELD(MirrorBlock, own.direction)),
    ClearedRadio(BELOW, FIELD(MirrorBlock, own.direction)),
    ClearedRadio(ABOVE, FIELD(MirrorBlock, own.direction)),
};

//---- Dialog

static void MirrorFreshBlock(EffectBlock *block) { block->header.previewMode = SCOPE_ALL; }

// An outline of one point bounds no area. What a run is changing is not looked at.
static bool MirrorBeforeRun(HWND dialog, EffectBlock *block)
{
    const ImageRecord *image = block->header.image;
    if (image->maskEditing) {
        ShowError(dialog, "This operation cannot be performed on an image while editing its mask", "Mask Error");
        return false;
    }
    if (SharedRead(image->effectThread)) return false;
    if (block->header.previewMode == SCOPE_NEW_OBJECT && image->selection.pointCount < 2) {
        ShowError(dialog,
                  "Cannot mirror the entire image into a new object.  Either mirror the base image or select "
                  "an area to create an object from.",
                  "Mirror Error");
        return false;
    }
    return true;
}

static INT_PTR KPZAPI MirrorDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(mirror, dialog, message, word, extra);
}

//---- One plane

static bool IsSideways(int32_t direction) { return direction == TO_THE_LEFT || direction == TO_THE_RIGHT; }

// FlipPic's word for it.
static int32_t FlipOf(int32_t direction) { return IsSideways(direction) ? 0 : 1; }

static int32_t BitsOfType(int32_t colourType)
{
    return colourType == ONE_BIT ? 1 : colourType == PALETTE || colourType == GREY ? 8 : 24;
}

// A plane that is being doubled: `from` goes once into each half of `to`, flipped between the two.
struct Doubling {
    const uint8_t *from;
    uint8_t *to;
    int32_t width, height;   // of `from`
    int32_t bitsPerPixel;
    bool sideways;
};

enum Half { FIRST_HALF, SECOND_HALF };

static void FillHalf(const Doubling &plane, Half half)
{
    const size_t stride = size_t(RowStride(plane.bitsPerPixel, plane.width));
    if (!plane.sideways) {
        const size_t bytes = stride * plane.height;
        CopyBytes(plane.from, plane.to + (half == SECOND_HALF ? bytes : 0), bytes);
        return;
    }
    const size_t doubleStride = size_t(RowStride(plane.bitsPerPixel, 2 * plane.width));
    ShareSilently(plane.height, 0.15 * double(stride), [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            uint8_t *row = plane.to + y * doubleStride;
            if (half == FIRST_HALF) memset(row + doubleStride - 4, 0, 4);   // the padding
            CopyRun(plane.from + y * stride, 0, row, half == SECOND_HALF ? plane.width : 0, plane.width,
                    plane.bitsPerPixel);
        }
    });
}

// Replaces a plane by one of twice the width or height. Rows stand from the top: "above" is first in memory.
static void Extend(uint8_t **plane, int32_t *width, int32_t *height, int32_t colourType, int32_t direction)
{
    const int32_t w = *width, h = *height, bits = BitsOfType(colourType);
    const bool sideways = IsSideways(direction);
    *width = sideways ? 2 * w : w;
    *height = sideways ? h : 2 * h;

    uint8_t *old = *plane, *extended;
    KPZ_AllocMem(&extended, uint32_t(RowStride(bits, *width)) * uint32_t(*height), Scratch::ALLOCATION_FLAGS);
    const Doubling doubling = {old, extended, w, h, bits, sideways};
    const auto flip = [&] { FlipPic(old, w, h, FlipOf(direction), bits); };
    if (direction == TO_THE_LEFT) flip();
    FillHalf(doubling, direction == ABOVE ? SECOND_HALF : FIRST_HALF);
    flip();
    FillHalf(doubling, direction == ABOVE ? FIRST_HALF : SECOND_HALF);
    KPZ_FreeMem(old);
    *plane = extended;
}

// Moves to the left or up. Places may lie anywhere, so they wrap rather than overflow.
static void MoveBack(FloatingObject *object, int32_t direction, PlaneSize by)
{
    if (IsSideways(direction)) object->x = int32_t(uint32_t(object->x) - uint32_t(by.width / 2));
    else object->y = int32_t(uint32_t(object->y) - uint32_t(by.height / 2));
}

//---- The scopes

static void MirrorAll(ImageRecord *image, int32_t direction)
{
    const PlaneSize size = ChangePicture(image, [=](uint8_t **plane, int32_t *width, int32_t *height, bool isMask) {
        const int32_t maskType = image->maskBitsPerPixel == 8 ? GREY : ONE_BIT;
        Extend(plane, width, height, isMask ? maskType : image->colourType, direction);
    });
    for (int32_t i = 0; i < image->objectList.count; ++i) MoveBack(image->objectList.objects[i], direction, size);
}

static void MirrorObjects(const OwnRun &run, int32_t direction)
{
    ImageRecord *image = run.image;
    const int32_t maskType = MaskBitsOf(image->colourType) == 8 ? GREY : ONE_BIT;
    const auto extend = [=](uint8_t **plane, int32_t *width, int32_t *height, bool isMask) {
        Extend(plane, width, height, isMask ? maskType : image->colourType, direction);
    };
    for (int32_t i = 0; i < run.selectedCount && !AbortRequested(&image->abortRequest); ++i) {
        FloatingObject *object = ChangeObject(image, run.selected[i], extend);
        if (object) MoveBack(object, direction, {object->width, object->height});
    }
}

static uint8_t *FullMask(int32_t width, int32_t height, int32_t bitsPerPixel)
{
    const uint32_t size = uint32_t(RowStride(bitsPerPixel, width)) * uint32_t(height);
    uint8_t *mask;
    KPZ_AllocMem(&mask, size, Scratch::ALLOCATION_FLAGS);
    memset(mask, 255, size);
    return mask;
}

// A mask of bits as one of 0 and 255; the bits are freed.
static uint8_t *WidenMask(uint8_t *bits, int32_t width, int32_t height)
{
    uint8_t *mask = FullMask(width, height, 8);
    for (int y = 0; y < height; ++y) {
        uint8_t *row = mask + size_t(y) * RowStride(8, width);
        UnpackBits(bits + size_t(y) * RowStride(1, width), width, row);
        for (int x = 0; x < width; ++x) row[x] = row[x] ? 255 : 0;
    }
    KPZ_FreeMem(bits);
    return mask;
}

// The cut-out area as an object's planes. A rectangle comes without a mask: all of it is the object.
static ObjectPlanes PlanesOfArea(const CropRequest &area, int32_t maskBits)
{
    const int32_t width = area.right - area.left + 1, height = area.bottom - area.top + 1;
    uint8_t *mask = area.mask;
    if (!mask) mask = FullMask(width, height, maskBits);
    else if (maskBits == 8) mask = WidenMask(mask, width, height);
    return {area.pixels, mask, width, height};
}

static FloatingObject NewHeader(ImageRecord *image, int32_t direction, const ObjectPlanes &planes)
{
    const Selection &selection = image->selection;
    FloatingObject header = {};
    header.mark[0] = 100;
    header.mark[2] = 1;
    header.number = int16_t(image->nextObjectNumber++);
    header.x = direction == TO_THE_LEFT    ? selection.left - planes.width
               : direction == TO_THE_RIGHT ? selection.right + 1
                                           : selection.left;
    header.y = direction == ABOVE   ? selection.top - planes.height
               : direction == BELOW ? selection.bottom + 1
                                    : selection.top;
    return header;
}

static void MirrorIntoNewObject(ImageRecord *image, int32_t direction)
{
    CropRequest area = {};
    if (!Cropping(&image->cropArea, &area)) return;
    UndoUtility(image, 0, 0, 0, 1, nullptr);
    const int32_t maskBits = MaskBitsOf(image->colourType);
    const ObjectPlanes planes = PlanesOfArea(area, maskBits);
    FlipPic(planes.pixels, planes.width, planes.height, FlipOf(direction), image->bitsPerPixel);
    FlipPic(planes.mask, planes.width, planes.height, FlipOf(direction), maskBits);
    FloatingObject *object = BuildObject(image, NewHeader(image, direction, planes), planes);
    if (object) AddObject(image, object);
}

//---- The run

static void KPZAPI MirrorThread(FilterHeader *header)
{
    OwnRun run;
    if (!BeginRun(run, header)) return;
    if (!LockObjects(run)) return GiveUpRun(run);
    ImageRecord *image = run.image;
    ListSelectedObjects(run);

    const int32_t scope = SharedRead(header->previewMode);
    const int32_t direction = reinterpret_cast<const MirrorBlock *>(header->block)->own.direction;
    if (scope == SCOPE_NEW_OBJECT) {
        MirrorIntoNewObject(image, direction);
    } else if (scope == SCOPE_OBJECTS) {
        UndoUtility(image, 0, 0, 1, 0, "Mirror Objects");
        MirrorObjects(run, direction);
    } else {
        UndoUtility(image, 1, 1, 0, 0, "Mirror All");
        if (scope == SCOPE_ALL) MirrorAll(image, direction);
    }
    FinishPicture(run);
    FinishDisplay(run);
    EndRun(run, scope);
}

const EffectDescriptor mirror = {
    .name = "Mirror",
    .commandOffset = MIRROR_COMMAND,
    .blockSize = sizeof(MirrorBlock),
    .defaults = defaults,
    .controls = controls,
    .dialog = MirrorDialog,
    .thread = MirrorThread,
    .freshBlock = MirrorFreshBlock,
    .beforeRun = MirrorBeforeRun,
};
