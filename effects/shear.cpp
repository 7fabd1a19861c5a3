// Shear: slants the picture by an angle; the picture grows, and what is uncovered takes the fill colour. Rows move
// sideways or columns up and down, by their distance from the first times t = tan(angle). The host's ShearFunction
// moves the pixels; what the run works on is the chosen scope:
//     image        the picture with its mask plane, the floating objects' places, and the objects themselves
//     all          the picture with its mask plane and the objects' places; the objects stay upright
//     objects      the selected floating objects, slanted as one group about its top or left edge
//     new object   nothing: the run records an undo step and shows the picture again
// With a mask plane the recorded size stays the old one though both planes have grown.
//
// The preview is a sketch: an upright box's outline slanted by the angle, at most by 45 degrees.

#include "effects/effects.h"
#include "framework/own_run.h"

#include <math.h>

enum { VERTICAL = 890, HORIZONTAL = 900, ANGLE_EDIT = 910, FILL_COLOUR = 1130, ANGLE = 6140 };

struct ShearParameters {
    uint32_t fillColour = 0;          // 0x00BBGGRR
    int32_t angle = 0;                // degrees, -75..75
    int32_t direction = HORIZONTAL;   // the id of the checked radio button: how the slanted lines move
};
struct ShearBlock {
    EffectBlock common;
    ShearParameters own;
};
BLOCK_SIZE(ShearBlock, 144);

static constexpr ShearParameters defaults;

static constexpr ControlBinding controls[] = {
    Spin(ANGLE, ANGLE_EDIT, FIELD(ShearBlock, own.angle), -75, 75),
    ClearedRadio(HORIZONTAL, FIELD(ShearBlock, own.direction)),
    ClearedRadio(VERTICAL, FIELD(ShearBlock, own.direction)),
    ConfiguredColour(FILL_COLOUR, FIELD(ShearBlock, own.fillColour)),
};

// The tangent of an angle in degrees. Run and sketch bring a pi each, and neither has all its digits.
static double Tangent(int32_t angle, double pi) { return tan(double(angle * pi * (1.0L / 180))); }

//---- The sketch

// What the preview control shows. It is small enough to be the control's pointer itself: twice the angle, and one
// more when rows slide.
struct Sketch {
    int32_t angle;
    bool horizontal;
};

static void RememberSketch(HWND preview, Sketch sketch)
{
    KPZ_SetWindowPtrSystem(preview, reinterpret_cast<void *>(intptr_t(sketch.angle) * 2 + sketch.horizontal));
}

static Sketch SketchOf(HWND preview)
{
    const auto remembered = reinterpret_cast<intptr_t>(KPZ_QueryWindowPtrSystem(preview));
    return {int32_t(remembered >> 1), (remembered & 1) != 0};
}

static POINT At(double x, double y) { return {LONG(x), LONG(y)}; }

// A closed outline of five points that touches the box and never leaves it.
static void FillOutline(Sketch sketch, const RECT &box, POINT *points)
{
    const int32_t angle = sketch.angle < -45 ? -45 : sketch.angle > 45 ? 45 : sketch.angle;
    const double slope = Tangent(angle, 3.1459);
    const LONG left = box.left, top = box.top, right = box.right, bottom = box.bottom;
    const double aside = (bottom - top) * slope, down = (right - left) * slope;
    if (sketch.horizontal && angle > 0) {
        points[0] = {left, top};
        points[1] = At(left + aside, bottom);
        points[2] = {right, bottom};
        points[3] = At(right - aside, top);
    } else if (sketch.horizontal) {
        points[0] = At(left - aside, top);
        points[1] = {left, bottom};
        points[2] = At(right + aside, bottom);
        points[3] = {right, top};
    } else if (angle > 0) {
        points[0] = At(left, top + down);
        points[1] = {left, bottom};
        points[2] = At(right, bottom - down);
        points[3] = {right, top};
    } else {
        points[0] = {left, top};
        points[1] = At(left, bottom + down);
        points[2] = {right, bottom};
        points[3] = At(right, top - down);
    }
    points[4] = points[0];
}

static void DrawSketch(HWND preview)
{
    constexpr UINT SHRINK = 0x2000;
    constexpr LONG MARGIN = 3;
    RECT part, box;
    const DrawSpace space = KPZ_BeginPaint(preview, nullptr, &part);
    KPZ_GetWindowRect(preview, &box);
    KPZ_SetDrawSpaceToRGB(space);
    DrawEdge(static_cast<HDC>(space), &box, EDGE_SUNKEN, SHRINK | BF_RECT);
    KPZ_FillRect(space, &box, 0xFFFFFF);
    POINT points[5];
    FillOutline(SketchOf(preview), {box.left + MARGIN, box.top + MARGIN, box.right - MARGIN, box.bottom - MARGIN},
                points);
    KPZ_SetCurrentPosition(space, points);
    KPZ_PolyLine(space, 5, points);
    KPZ_EndPaint(space);
}

static LRESULT OnShowSketch(HWND preview, const ShearBlock *block)
{
    RememberSketch(preview, {block->own.angle, block->own.direction == HORIZONTAL});
    KPZ_InvalidateRect(preview, nullptr, FALSE);
    return 0;
}

static LRESULT KPZAPI SketchProcedure(HWND preview, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case SHOW_PREVIEW: return OnShowSketch(preview, reinterpret_cast<const ShearBlock *>(extra));
    case WM_PAINT: return DrawSketch(preview), 0;
    default: return KPZ_DefWindowProc(preview, message, word, extra);
    }
}

//---- Dialog

static void ShearInitialise(HWND dialog, DialogState *)
{
    KPZ_SubclassWindow(KPZ_WindowFromID(dialog, PREVIEW_CONTROL), SketchProcedure);
}

static void ShowSketch(HWND dialog, EffectBlock *block)
{
    KPZ_SendDlgItemMsg(dialog, PREVIEW_CONTROL, SHOW_PREVIEW, 0, reinterpret_cast<LPARAM>(block));
}

// The sketch follows angle and direction, also with the preview switched off; colour and scope do not show in it.
static bool ShearCommand(HWND dialog, DialogState *state, int id, int notification, LPARAM extra)
{
    EffectBlock *block = CurrentBlock(state);
    if (TakeScope(state, id)) return true;
    const Taken taken = TakeControl(controls, dialog, block, id, notification, extra);
    if (taken == Taken::CHANGE && id != FILL_COLOUR) ShowSketch(dialog, block);
    return taken != Taken::NOTHING;
}

static INT_PTR KPZAPI ShearDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(shear, dialog, message, word, extra);
}

//---- The run

struct Slant {
    int32_t angle;   // degrees
    bool horizontal;
    double tangent;
};

// The fill colour as ShearFunction takes it: a level, an index, a bit, or the colour itself.
static int32_t FillOf(const ImageRecord *image, uint32_t colour)
{
    if (image->colourType == GREY) return Brightness(colour) & 0xFF;
    if (image->colourType == PALETTE)
        return FindClosestColor(colour, image->red, image->green, image->blue, image->paletteEntries);
    if (image->bitsPerPixel == 1) return Brightness(colour) >= 129;
    return int32_t(colour);
}

static void ShearPicture(ImageRecord *image, const Slant &slant, int32_t fill)
{
    ChangePicture(image, [&](uint8_t **plane, int32_t *width, int32_t *height, bool isMask) {
        if (isMask) ResetProgress(image->window, image->progress);
        ShearFunction(plane, width, height, isMask ? image->maskBitsPerPixel : image->bitsPerPixel,
                      isMask ? int32_t(GREY) : image->colourType, slant.angle, isMask ? 0 : fill, 1, image->window,
                      image->progress, slant.horizontal, &image->abortRequest);
    });
}

static FloatingObject *ShearObject(ImageRecord *image, int32_t index, const Slant &slant)
{
    return ChangeObject(image, index, [&](uint8_t **plane, int32_t *width, int32_t *height, bool isMask) {
        ShearFunction(plane, width, height, isMask ? MaskBitsOf(image->colourType) : image->bitsPerPixel,
                      isMask ? int32_t(GREY) : image->colourType, slant.angle, 0, isMask, image->window,
                      image->progress, slant.horizontal, nullptr);
    });
}

// A place, cut to whole pixels. Objects may lie anywhere, so it is held to 32 bits.
static int32_t Moved(double place, double distance, double tangent)
{
    return int32_t(fmin(fmax(place + distance * tangent, INT32_MIN), INT32_MAX));
}

// Moves an object by the slant of its corner's row or column when the slant begins at (left, top).
static void MoveObject(FloatingObject *object, const Slant &slant, int32_t left, int32_t top)
{
    if (slant.horizontal) object->x = Moved(object->x, double(object->y) - top, slant.tangent);
    else object->y = Moved(object->y, double(object->x) - left, slant.tangent);
}

static void ShearObjects(const OwnRun &run, const Slant &slant)
{
    constexpr int32_t FARTHEST = 20000;
    ImageRecord *image = run.image;
    FloatingObject **objects = image->objectList.objects;
    int32_t left = FARTHEST, top = FARTHEST;
    for (int32_t i = 0; i < run.selectedCount; ++i) {
        const FloatingObject *object = objects[run.selected[i]];
        if (object->x < left) left = object->x;
        if (object->y < top) top = object->y;
    }
    for (int32_t i = 0; i < run.selectedCount && !AbortRequested(&image->abortRequest); ++i) {
        FloatingObject *object = ShearObject(image, run.selected[i], slant);
        if (object) MoveObject(object, slant, left, top);
    }
}

static void ShearAll(ImageRecord *image, const Slant &slant, int32_t fill, bool withObjects)
{
    const ObjectList &list = image->objectList;
    ShearPicture(image, slant, fill);
    for (int32_t i = 0; i < list.count; ++i) MoveObject(list.objects[i], slant, 0, 0);
    for (int32_t i = 0; withObjects && i < list.count && !AbortRequested(&image->abortRequest); ++i)
        ShearObject(image, i, slant);
}

// The parameters are read where they stand: the dialog's controls are greyed while the image runs. Without the object
// lock the run goes on.
static void KPZAPI ShearThread(FilterHeader *header)
{
    OwnRun run;
    if (!BeginRun(run, header)) return;
    LockObjects(run);
    ImageRecord *image = run.image;
    InitiateProgress(image->progress);
    ListSelectedObjects(run);

    const int32_t scope = SharedRead(header->previewMode);
    const ShearBlock block = BlockOf<ShearBlock>(shear, header->block);
    const ShearParameters &own = block.own;
    const Slant slant = {own.angle, own.direction == HORIZONTAL, Tangent(own.angle, 3.1415927)};
    const int32_t fill = FillOf(image, own.fillColour);
    if (scope == SCOPE_OBJECTS) {
        UndoUtility(image, 0, 0, 1, 0, "Shear Object");
        ShearObjects(run, slant);
    } else {
        UndoUtility(image, 1, 1, 0, 0, "Shear All");
        if (scope == SCOPE_IMAGE || scope == SCOPE_ALL) ShearAll(image, slant, fill, scope == SCOPE_IMAGE);
    }
    FinishPicture(run);
    FinishDisplay(run);
    FinishProgress(image->progress);
    EndRun(run, scope);
}

const EffectDescriptor shear = {
    .name = "Shear",
    .openTitle = "Shear",
    .commandOffset = SHEAR_COMMAND,
    .blockSize = sizeof(ShearBlock),
    .defaults = defaults,
    .controls = controls,
    .dialog = ShearDialog,
    .thread = ShearThread,
    .initialise = ShearInitialise,
    .command = ShearCommand,
    .showPreview = ShowSketch,
};
