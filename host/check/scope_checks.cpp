// Level 5: what a host may rely on: that a run changes what is in its scope and nothing else, and that one undo step brings
// all of it back.

#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"
#include "host/documents/image_parts.h"

#include <algorithm>
#include <cstring>

static constexpr struct {
    int32_t mode;
    int radio;
    const char *name;
} SCOPES[] = {
    {SCOPE_IMAGE, SCOPE_IMAGE_RADIO, "the image"},
    {SCOPE_ALL, SCOPE_ALL_RADIO, "the image and its objects"},
    {SCOPE_OBJECTS, SCOPE_OBJECTS_RADIO, "the selected objects"},
    {SCOPE_NEW_OBJECT, SCOPE_NEW_OBJECT_RADIO, "a new object"},
};

// What of an image may change with a scope, as bytes.
struct Parts {
    std::vector<std::string> objects;
    std::string beneath;   // the picture without its objects
    int32_t width, height;
    std::vector<uint8_t> selected;
};

static std::string BytesOfPlane(const uint8_t *plane, int32_t bits, int32_t width, int32_t height)
{
    const size_t size = size_t(RowStride(bits, width)) * size_t(height);
    return plane ? std::string(reinterpret_cast<const char *>(plane), size) : "";
}

static Parts PartsOf(const ImageRecord *image)
{
    Parts parts;
    const uint8_t *beneath = image->base.pixels ? image->base.pixels : image->pixels;
    parts.width = image->width;
    parts.height = image->height;
    parts.beneath = BytesOfPlane(beneath, image->bitsPerPixel, image->width, image->height);
    for (int32_t i = 0; i < image->objectList.count; ++i) {
        const FloatingObject &object = *image->objectList.objects[i];
        const size_t size = size_t(RowStride(image->bitsPerPixel, object.width) +
                                   RowStride(MaskBitsOf(image->colourType), object.width)) *
                            size_t(object.height);
        const int32_t numbers[] = {object.width, object.height, object.number};
        parts.objects.push_back(std::string(reinterpret_cast<const char *>(numbers), sizeof numbers) +
                                std::string(reinterpret_cast<const char *>(object.pixels), size));
        parts.selected.push_back(object.selected);
    }
    return parts;
}

// Whether the pixels of the selected area's outside are the same.
static bool OutsideKept(const ImageRecord *image, const Parts &before, const Parts &after)
{
    const auto stride = size_t(RowStride(image->bitsPerPixel, image->width));
    const Selection &area = image->selection;
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x) {
            if (x >= area.left && x <= area.right && y >= area.top && y <= area.bottom) continue;
            const size_t row = size_t(y) * stride;
            const size_t bit = size_t(x) * size_t(image->bitsPerPixel),
                         count = std::max<size_t>(1, size_t(image->bitsPerPixel) / 8);
            if (image->bitsPerPixel == 1) {
                if ((before.beneath[row + bit / 8] ^ after.beneath[row + bit / 8]) & 0x80 >> bit % 8) return false;
            } else if (memcmp(&before.beneath[row + bit / 8], &after.beneath[row + bit / 8], count) != 0) return false;
        }
    return true;
}

static void ExpectScope(const ImageRecord *image, int32_t mode, bool withArea, const Parts &before, const Parts &after)
{
    const size_t count = before.objects.size();
    const bool sameSize = before.width == after.width && before.height == after.height;
    if (mode == SCOPE_OBJECTS || mode == SCOPE_NEW_OBJECT)
        Expect(sameSize && before.beneath == after.beneath, Rule::OTHERS_LEFT_ALONE,
               "the picture beneath the objects has changed");
    else if (withArea && sameSize)
        Expect(OutsideKept(image, before, after), Rule::OTHERS_LEFT_ALONE,
               "pixels outside the selected area have changed");
    const size_t more = after.objects.size() > count ? after.objects.size() - count : 0;
    Expect(after.objects.size() >= count && more <= (mode == SCOPE_NEW_OBJECT ? 1u : 0u), Rule::OTHERS_LEFT_ALONE,
           "there were " + Number(intptr_t(count)) + " objects and are " + Number(intptr_t(after.objects.size())));
    for (size_t i = 0; i < std::min(count, after.objects.size()); ++i) {
        const bool inScope = mode == SCOPE_ALL || (mode == SCOPE_OBJECTS && before.selected[i]);
        if (!inScope)
            Expect(before.objects[i] == after.objects[i], Rule::OTHERS_LEFT_ALONE,
                   "object " + Number(intptr_t(i)) + " has changed");
        Expect(before.selected[i] == after.selected[i], Rule::OTHERS_LEFT_ALONE,
               "object " + Number(intptr_t(i)) + " is selected otherwise than before");
    }
}

// Pixels can be put together anew from base and objects: nothing else may be shown.
static void ExpectPutTogether(const ImageRecord *image)
{
    if (!image->base.pixels) return;
    Expect(image->base.width == image->width && image->base.height == image->height, Rule::OTHERS_LEFT_ALONE,
           "base and picture have different sizes");
}

static void CheckScope(const CheckedModule &module, const CheckedEffect &effect, int32_t type, bool withArea,
                       size_t scope)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(module.request.seed);
    ImageRecord *image = OpenFurnishedImage(stage.host, type, withArea, generator);
    stage.images.push_back(image);
    const std::string what = std::string(SCOPES[scope].name) + " on " + TypeName(type) + " with three objects" +
                             (withArea ? " and a selected area" : "");
    Doing("opened the dialog of " + effect.word + " on " + TypeName(type));
    InDialogOf(effect, stage, [&](OpenDialog &open) {
        if (!GetDlgItem(open.dialog, SCOPES[scope].radio)) return;
        const int32_t opening = open.HeaderOf(image) ? open.HeaderOf(image)->previewMode : SCOPE_OBJECTS;
        Expect(!open.HeaderOf(image) || opening == SCOPE_OBJECTS || effect.offset == MIRROR_COMMAND,
               Rule::AFTER_INITIALIZE, "with objects selected the preview mode is " + Number(opening));
        Press(open.dialog, SCOPES[scope].radio);
        FilterHeader *header = open.HeaderOf(image);
        Expect(!header || header->previewMode == SCOPES[scope].mode, Rule::SCOPE_SET,
               std::string("the button of ") + SCOPES[scope].name + " made the preview mode " +
                   Number(header ? header->previewMode : -1));
        const std::string before = StateOfImage(image);
        const Parts parts = PartsOf(image);
        HostFixSeed(TRUE, module.request.seed);
        Doing("pressed Apply in the dialog of " + effect.word + " for " + what);
        const bool runs = CountOf(CallsDuring([&] { ApplyAndWait(open.dialog); }), "KPZ_CreateThread") != 0;
        HostFixSeed(FALSE, 0);
        const std::string after = StateOfImage(image);
        LookAtGuards();
        if (!runs) {
            Expect(after == before && MiscUndoCount(image) == 0, Rule::UNDONE,
                   "nothing ran, and the image has changed");
            return;
        }
        const bool changesSize = open.table && open.table->changesSize;   // the area goes along
        ExpectScope(image, SCOPES[scope].mode, withArea && !changesSize, parts, PartsOf(image));
        ExpectPutTogether(image);
        Expect(MiscUndoCount(image) <= 1 && (MiscUndoCount(image) == 1 || after == before), Rule::UNDONE,
               Number(MiscUndoCount(image)) + " undo steps were recorded");
        if (MiscUndoCount(image) == 0) return;
        const char *label = MiscUndoLabel(image);
        if (header && header->title[0])
            Expect(label && strcmp(label, header->title) == 0, Rule::UNDO_LABEL,
                   std::string("it is '") + (label ? label : "") + "'");
        Doing("took back the run of " + effect.word + " for " + what);
        MiscUndo(image);
        Expect(StateOfImage(image) == before, Rule::UNDONE, "undo has not brought back what was there before");
        Doing("made the run of " + effect.word + " again for " + what);
        MiscRedo(image);
        Expect(StateOfImage(image) == after, Rule::UNDONE, "redo has not brought again what the run had made");
        MiscUndo(image);

        // Aborted at its first report, as far as it makes any.
        AbortNextRun(image, 0);
        Doing("pressed Apply in the dialog of " + effect.word + " for " + what +
              " and aborted the run at its first report");
        ApplyAndWait(open.dialog);
        if (MiscLastRunAborted(image)) {
            Expect(StateOfImage(image) == before, Rule::ABORT_RESTORES, "the image is another one than before the run");
            Expect(MiscUndoCount(image) == 0, Rule::ABORT_RESTORES, "there is an undo step");
        }
    });
}

static void CheckScopes(const CheckedModule &module, const CheckedEffect &effect)
{
    const uint64_t mark = BlockMark();
    for (const int32_t type : ALL_TYPES)
        for (const bool withArea : {false, true})
            for (size_t scope = 0; scope < std::size(SCOPES); ++scope)
                CheckScope(module, effect, type, withArea, scope);
    Expect(BlocksMadeSince(mark) == 0, Rule::RETURNED,
           "when all images and dialogs had gone there were still " + BlocksSince(mark));
}

void PlanScopeChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects)
        plan.push_back({5, "5/" + effect.word + "/scopes", effect.word, [&] { CheckScopes(module, effect); }});
}
