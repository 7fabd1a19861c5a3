// What a person puts on an open image: floating objects in the image's type, the selected area, the mask. Nothing here
// runs an effect or takes a lock; that is the caller's.

#include "host/documents/image_parts.h"

#include "host/documents/files/type_rules.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <unordered_map>

static constexpr uint32_t LOCK_WAIT = 5000;   // milliseconds; a preview holds an idle image's lock only for a copy

// Holds an image's locks while it is changed, and shows the change when they have been given back.
struct Change {
    ImageRecord *image;
    bool imageLocked, objectsLocked;
    explicit Change(ImageRecord *of)
        : image(of), imageLocked(KPZ_GetMutexSem(of->imageLock, LOCK_WAIT)),
          objectsLocked(KPZ_GetMutexSem(of->objectLock, LOCK_WAIT))
    {
        assert(!SharedRead(of->effectThread) && "a run has the picture to itself");
    }
    Change(const Change &) = delete;
    Change &operator=(const Change &) = delete;
    ~Change()
    {
        if (objectsLocked) KPZ_ReleaseMutexSem(image->objectLock);
        if (imageLocked) KPZ_ReleaseMutexSem(image->imageLock);
        KPZ_InvalidateRect(KPZ_GetClientHwnd(image->window, 0), nullptr, FALSE);
        HostContext &host = HostOf(image).context;
        if (host.activeImage == image) MiscTellFloaters(host.floaters, REFRESH_PREVIEW, 0, 0);
    }
};

//---- A picture in the image's type

// Finds palette entries; pictures repeat their colours.
struct EntryFinder {
    const ImageRecord &image;
    std::unordered_map<uint32_t, uint8_t> found = {};
    uint8_t operator()(const uint8_t *colour)
    {
        const uint32_t value = colour[0] | uint32_t(colour[1]) << 8 | uint32_t(colour[2]) << 16;
        const auto [entry, fresh] = found.try_emplace(value, uint8_t(0));
        if (fresh) {
            entry->second = uint8_t(FindClosestColor(value, image.red, image.green, image.blue, image.paletteEntries));
        }
        return entry->second;
    }
};

// Colours are red, green, blue.
static void PutColours(const uint8_t *colours, int32_t count, int32_t colourType, EntryFinder &entryOf, uint8_t *row)
{
    if (colourType == RGB) return SwapRedBlue(colours, row, count);
    for (int32_t x = 0; x < count; ++x, colours += 3) {
        if (colourType == GREY) row[x] = uint8_t(GreyOf(colours));
        else if (colourType == PALETTE) row[x] = entryOf(colours);
        else if (GreyOf(colours) > 128) SetBit(row, x, true);
    }
}

static void AlphaOfRow(const Picture &picture, int32_t y, uint8_t *alpha)
{
    const std::vector<uint8_t> &ofEntry = picture.extras.paletteAlpha;
    if (picture.mask) return AlphaRow(picture, y, alpha);
    const uint8_t *row = RowAt(picture, y);
    for (int32_t x = 0; x < picture.width; ++x)
        alpha[x] = picture.colourType == PALETTE && row[x] < ofEntry.size() ? ofEntry[row[x]] : 255;
}

static void PutAlpha(const uint8_t *alpha, int32_t count, int32_t bits, uint8_t *row)
{
    if (bits == 8) {
        memcpy(row, alpha, size_t(count));
        return;
    }
    for (int32_t x = 0; x < count; ++x)
        if (alpha[x] >= 128) SetBit(row, x, true);
}

static void FillObject(FloatingObject &object, const ImageRecord &image, const Picture &picture)
{
    const int32_t maskBits = MaskBitsOf(image.colourType);
    const auto stride = size_t(RowStride(image.bitsPerPixel, picture.width));
    const auto maskStride = size_t(RowStride(maskBits, picture.width));
    uint8_t *masks = object.pixels + stride * size_t(picture.height);
    memset(object.pixels, 0, (stride + maskStride) * size_t(picture.height));
    std::vector<uint8_t> colours(3 * size_t(picture.width)), alpha(size_t(picture.width));
    EntryFinder entryOf = {image};
    for (int32_t y = 0; y < picture.height; ++y) {
        ColourRow(picture, y, colours.data());
        PutColours(colours.data(), picture.width, image.colourType, entryOf, object.pixels + stride * size_t(y));
        AlphaOfRow(picture, y, alpha.data());
        PutAlpha(alpha.data(), picture.width, maskBits, masks + maskStride * size_t(y));
    }
}

//---- Floating objects

bool AddObject(ImageRecord *image, const Picture &picture, int32_t x, int32_t y, std::string &error)
{
    if (picture.width > MOST_OBJECT_EDGE || picture.height > MOST_OBJECT_EDGE) {
        error = "is too large for a floating object, whose edges have at most " + std::to_string(MOST_OBJECT_EDGE) +
                " pixels";
        return false;
    }
    const Change change(image);
    FloatingObject *object = MiscNewObject(image, picture.width, picture.height);
    object->selected = 1;
    object->x = x;
    object->y = y;
    FillObject(*object, *image, picture);
    MiscAddObject(image, object);
    MiscShowObjects(image);
    return true;
}

static FloatingObject &ObjectAt(ImageRecord *image, int32_t index)
{
    assert(index >= 0 && index < image->objectList.count && "the image has that object");
    return *image->objectList.objects[index];
}

void SelectObject(ImageRecord *image, int32_t index, bool selected)
{
    const Change change(image);
    ObjectAt(image, index).selected = selected;
    MiscShowObjects(image);
}

void MoveObject(ImageRecord *image, int32_t index, int32_t x, int32_t y)
{
    const Change change(image);
    ObjectAt(image, index).x = x;
    ObjectAt(image, index).y = y;
    MiscShowObjects(image);
}

void RemoveObject(ImageRecord *image, int32_t index)
{
    const Change change(image);
    MiscRemoveObject(image, index);
    MiscShowObjects(image);
}

//---- The selected area

static void Select(ImageRecord *image, const std::vector<POINT> &points)
{
    const Change change(image);
    Selection &selection = image->selection;
    KPZ_FreeMem(selection.points);
    selection = {};
    if (points.empty()) return;
    KPZ_AllocMem(&selection.points, uint32_t(points.size() * sizeof(POINT)), 0x301);
    std::copy(points.begin(), points.end(), selection.points);
    selection.pointCount = int32_t(points.size());
    const auto byX = [](const POINT &one, const POINT &other) { return one.x < other.x; };
    const auto byY = [](const POINT &one, const POINT &other) { return one.y < other.y; };
    const auto [left, right] = std::minmax_element(points.begin(), points.end(), byX);
    const auto [top, bottom] = std::minmax_element(points.begin(), points.end(), byY);
    selection.left = left->x;
    selection.top = top->y;
    selection.right = right->x;
    selection.bottom = bottom->y;
}

void SelectArea(ImageRecord *image, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    assert(left <= right && top <= bottom && "an area has at least one pixel");
    Select(image, {{left, top}, {right, top}, {right, bottom}, {left, bottom}});
}

void SelectOutline(ImageRecord *image, const std::vector<POINT> &points)
{
    assert(!points.empty() && "an outline has at least one point");
    Select(image, points);
}

void SelectNothing(ImageRecord *image) { Select(image, {}); }

//---- The mask

void SetMask(ImageRecord *image, PlaneBytes mask, int32_t bitsPerPixel)
{
    const Change change(image);
    if (image->secondMask != image->mask) KPZ_FreeMem(image->secondMask);
    KPZ_FreeMem(image->mask);
    image->maskBitsPerPixel = mask ? bitsPerPixel : 0;
    image->mask = image->secondMask = mask.release();
}

void EditMask(ImageRecord *image, bool on)
{
    {
        const Change change(image);
        image->maskEditing = on;
    }
    ChooseMenus(&HostOf(image).context);
}
