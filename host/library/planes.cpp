// Pictures from the caller's memory and back: a row routine per layout on each side, and nothing between rows is touched.

#include "host/library/picture_handle.h"
#include "maths/processor.h"

#include <algorithm>
#include <string.h>

//---- Layouts

struct LayoutFacts {
    vlm_type type;
    int bits;    // per pixel
    int alpha;   // which byte of a pixel it is; -1 without
};

static const LayoutFacts *FactsOf(vlm_layout layout)
{
    static constexpr LayoutFacts facts[] = {
        {VLM_ONE_BIT, 1, -1}, {VLM_ONE_BIT, 8, -1}, {VLM_PALETTE, 8, -1}, {VLM_PALETTE, 16, 1},
        {VLM_GREY, 8, -1},    {VLM_GREY, 16, 1},    {VLM_RGB, 24, -1},    {VLM_RGB, 24, -1},
        {VLM_RGB, 32, 3},     {VLM_RGB, 32, 3},     {VLM_RGB, 32, -1},    {VLM_RGB, 32, -1},
    };
    const auto index = unsigned(layout);
    return index < std::size(facts) ? &facts[index] : nullptr;
}

static ptrdiff_t TightRow(int bits, int32_t width) { return ptrdiff_t((int64_t(bits) * width + 7) / 8); }

// One plane of the caller's: where its rows are.
struct OuterPlane {
    uint8_t *first;
    ptrdiff_t stride;
    uint8_t *Row(int32_t y) const { return first + ptrdiff_t(y) * stride; }
};

static OuterPlane PixelPlane(const vlm_planes &planes, const LayoutFacts &facts)
{
    return {static_cast<uint8_t *>(planes.pixels), planes.stride ? planes.stride : TightRow(facts.bits, planes.width)};
}

static OuterPlane MaskPlane(const vlm_planes &planes)
{
    return {static_cast<uint8_t *>(planes.mask),
            planes.mask_stride ? planes.mask_stride : TightRow(planes.mask_bits, planes.width)};
}

// Rows may be written over each other where a stride is shorter than a row.
static bool StrideHolds(ptrdiff_t stride, int bits, int32_t width)
{
    return stride == 0 || (stride < 0 ? -stride : stride) >= TightRow(bits, width);
}

static constexpr int32_t LONGEST_EDGE = 1'000'000;
static constexpr int64_t LARGEST_PLANE = INT32_MAX;

// `what` names the two for a caller who has given none.
static vlm_code CheckSize(int32_t width, int32_t height, int bits, const char *what)
{
    if (width < 1 || height < 1) return FailArgument(what);
    if (width <= LONGEST_EDGE && height <= LONGEST_EDGE && int64_t(RowStride(bits, width)) * height <= LARGEST_PLANE) {
        return VLM_OK;
    }
    return Fail(VLM_BAD_ARGUMENT,
                std::to_string(width) + " x " + std::to_string(height) + " pixels are more than a picture can have");
}

// VLM_OK where the record makes sense and `facts` are its layout's.
static vlm_code CheckPlanes(const vlm_planes *planes, const LayoutFacts *&facts)
{
    if (!planes) return FailArgument("planes");
    if (planes->size < sizeof(vlm_planes)) return FailArgument("planes: its size");
    facts = FactsOf(planes->layout);
    if (!facts) return FailArgument("planes: its layout");
    const vlm_code size =
        CheckSize(planes->width, planes->height, std::max(facts->bits, 8), "planes: its width or height");
    if (size != VLM_OK) return size;
    if (!planes->pixels) return FailArgument("planes: its pixels");
    if (planes->flags & ~unsigned(VLM_PLANES_DROP_OPAQUE | VLM_PLANES_MASK_IS_ALPHA))
        return FailArgument("planes: its flags");
    if (!StrideHolds(planes->stride, facts->bits, planes->width)) return FailArgument("planes: its stride");
    if (!planes->mask) return VLM_OK;
    if (planes->mask_bits != 1 && planes->mask_bits != 8) return FailArgument("planes: its mask_bits");
    if (!StrideHolds(planes->mask_stride, planes->mask_bits, planes->width)) {
        return FailArgument("planes: its mask_stride");
    }
    return VLM_OK;
}

//---- Rows inwards

// Colours of one pixel after the other, `turned` with the first and third byte in each other's place; what else a pixel
// of `to` has is 255. One after the other takes longer than the two copies beside a run may, hence whole registers:
#if HAS_SSE2
// Answers how many pixels are done: the rest of the row is shorter than a register.
FOR_SSSE3 static int32_t ShuffleColours(const uint8_t *from, uint8_t *to, int32_t count, int fromStep, int toStep,
                                        bool turned)
{
    const int together = 16 / std::max(fromStep, toStep);
    alignas(16) uint8_t places[16], full[16];
    memset(places, 0x80, sizeof places);   // a byte that comes from nowhere
    memset(full, 0xFF, sizeof full);
    for (int pixel = 0; pixel < together; ++pixel)
        for (int c = 0; c < 3; ++c) {
            places[pixel * toStep + c] = uint8_t(pixel * fromStep + (turned ? 2 - c : c));
            full[pixel * toStep + c] = 0;
        }
    const __m128i table = _mm_load_si128(reinterpret_cast<const __m128i *>(places));
    const __m128i others = _mm_load_si128(reinterpret_cast<const __m128i *>(full));
    int32_t x = 0;
    for (; x + 6 <= count; x += together) {
        auto *target = reinterpret_cast<__m128i *>(to + ptrdiff_t(x) * toStep);
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + ptrdiff_t(x) * fromStep));
        // Pixels of three bytes do not fill the register: what it writes beyond them is the next pixels', which follow.
        _mm_storeu_si128(target, _mm_or_si128(_mm_shuffle_epi8(pixels, table), others));
    }
    return x;
}
#else
static int32_t ShuffleColours(const uint8_t *, uint8_t *, int32_t, int, int, bool) { return 0; }
#endif

static void MoveColours(const uint8_t *from, uint8_t *to, int32_t count, int fromStep, int toStep, bool turned)
{
    int32_t x = FeaturesOfProcessor().ssse3 ? ShuffleColours(from, to, count, fromStep, toStep, turned) : 0;
    from += ptrdiff_t(x) * fromStep;
    to += ptrdiff_t(x) * toStep;
    for (; x < count; ++x, from += fromStep, to += toStep) {
        const uint8_t first = from[0], second = from[1], third = from[2];
        to[0] = turned ? third : first;
        to[1] = second;
        to[2] = turned ? first : third;
        if (toStep == 4) to[3] = 255;
    }
}

static void PackBools(const uint8_t *bools, uint8_t *bits, int32_t count)
{
    memset(bits, 0, size_t(count + 7) / 8);
    for (int32_t x = 0; x < count; ++x) SetBit(bits, x, bools[x] != 0);
}

static void TakeEvery(const uint8_t *from, uint8_t *to, int32_t count, int step)
{
    for (int32_t x = 0; x < count; ++x) to[x] = from[x * step];
}

// Bits beyond the last pixel are no pixels: they are cleared.
static void CopyWholeBits(const uint8_t *from, uint8_t *to, int32_t count)
{
    memcpy(to, from, size_t(count + 7) / 8);
    if (count & 7) to[count >> 3] &= uint8_t(0xFF00 >> (count & 7));
}

static void RowInwards(vlm_layout layout, const uint8_t *from, uint8_t *to, int32_t width)
{
    switch (layout) {
    case VLM_LAYOUT_BITS: return CopyWholeBits(from, to, width);
    case VLM_LAYOUT_BOOLS: return PackBools(from, to, width);
    case VLM_LAYOUT_INDEX:
    case VLM_LAYOUT_GREY: memcpy(to, from, size_t(width)); return;
    case VLM_LAYOUT_INDEX_ALPHA:
    case VLM_LAYOUT_GREY_ALPHA: return TakeEvery(from, to, width, 2);
    case VLM_LAYOUT_BGR: memcpy(to, from, 3 * size_t(width)); return;
    case VLM_LAYOUT_RGB: return MoveColours(from, to, width, 3, 3, true);
    case VLM_LAYOUT_RGBA:
    case VLM_LAYOUT_RGBX: return MoveColours(from, to, width, 4, 3, true);
    case VLM_LAYOUT_BGRA:
    case VLM_LAYOUT_BGRX: return MoveColours(from, to, width, 4, 3, false);
    }
}

static void LevelsToMask(const uint8_t *levels, int step, uint8_t *mask, int maskBits, int32_t width)
{
    if (maskBits == 8) return TakeEvery(levels, mask, width, step);
    memset(mask, 0, size_t(width + 7) / 8);
    for (int32_t x = 0; x < width; ++x) SetBit(mask, x, levels[x * step] > 127);
}

static void SpreadBits(const uint8_t *bits, uint8_t *bytes, int32_t count, uint8_t one)
{
    for (int32_t x = 0; x < count; ++x) bytes[x] = BitAt(bits, x) ? one : 0;
}

static void MaskRowInwards(const uint8_t *from, int fromBits, uint8_t *to, int toBits, int32_t width)
{
    if (fromBits == 8) return LevelsToMask(from, 1, to, toBits, width);
    if (toBits == 1) return CopyWholeBits(from, to, width);
    SpreadBits(from, to, width, 255);
}

//---- Pictures from planes

static uint8_t *RowOf(const PlaneBytes &plane, int32_t bits, int32_t width, int32_t y)
{
    return plane.get() + size_t(y) * size_t(RowStride(bits, width));
}

// Whether all of a row's alpha is 255, in a layout that has alpha.
static bool RowIsOpaque(const uint8_t *row, int32_t width, const LayoutFacts &facts)
{
    uint8_t all = 255;
    if (facts.bits == 32) {   // a pixel at a time
        uint32_t pixels = ~0u, pixel;
        for (int32_t x = 0; x < width; ++x) {
            memcpy(&pixel, row + 4 * ptrdiff_t(x), sizeof pixel);
            pixels &= pixel;
        }
        all = uint8_t(pixels >> 8 * facts.alpha);
    } else {
        const int step = facts.bits / 8;
        for (int32_t x = 0; x < width; ++x) all &= row[x * step + facts.alpha];
    }
    return all == 255;
}

// Answers whether the pixels' alpha is known to say nothing, where the caller wants none of that kind. A row is looked at
// while the processor has it at hand.
static bool TakePixels(Picture &picture, const vlm_planes &planes, const LayoutFacts &facts)
{
    const OuterPlane outer = PixelPlane(planes, facts);
    bool opaque = (planes.flags & VLM_PLANES_DROP_OPAQUE) && facts.alpha >= 0 && !planes.mask;
    for (int32_t y = 0; y < picture.height; ++y) {
        uint8_t *row = RowOf(picture.pixels, picture.bitsPerPixel, picture.width, y);
        opaque = opaque && RowIsOpaque(outer.Row(y), picture.width, facts);
        RowInwards(planes.layout, outer.Row(y), row, picture.width);
    }
    return opaque;
}

static void TakeMasks(Picture &picture, const vlm_planes &planes, const LayoutFacts &facts)
{
    if (facts.alpha < 0 && !planes.mask) return;
    AddMask(picture, MaskBitsOf(picture.colourType));
    const OuterPlane pixels = PixelPlane(planes, facts), masks = MaskPlane(planes);
    for (int32_t y = 0; y < picture.height; ++y) {
        uint8_t *row = RowOf(picture.mask, picture.maskBitsPerPixel, picture.width, y);
        if (planes.mask) {
            MaskRowInwards(masks.Row(y), planes.mask_bits, row, picture.maskBitsPerPixel, picture.width);
        } else {
            LevelsToMask(pixels.Row(y) + facts.alpha, facts.bits / 8, row, picture.maskBitsPerPixel, picture.width);
        }
    }
}

static bool MaskIsFull(const Picture &picture)
{
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = RowOf(picture.mask, picture.maskBitsPerPixel, picture.width, y);
        for (int32_t x = 0; x < picture.width; ++x)
            if (picture.maskBitsPerPixel == 8 ? row[x] != 255 : !BitAt(row, x)) return false;
    }
    return true;
}

static void TakeColours(Picture &picture, const uint8_t *palette, int entries)
{
    picture.paletteEntries = entries;
    for (int i = 0; i < 256; ++i) {
        picture.red[i] = i < entries ? palette[3 * i] : 0;
        picture.green[i] = i < entries ? palette[3 * i + 1] : 0;
        picture.blue[i] = i < entries ? palette[3 * i + 2] : 0;
    }
}

// An index beyond the entries would name a colour that is not there.
static bool IndicesFit(const Picture &picture)
{
    if (picture.colourType != PALETTE) return true;
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = RowOf(picture.pixels, 8, picture.width, y);
        if (*std::max_element(row, row + picture.width) >= picture.paletteEntries) return false;
    }
    return true;
}

static vlm_code NoSuchIndex() { return Fail(VLM_BAD_ARGUMENT, "a pixel names a palette entry that is not there"); }

vlm_code vlm_picture_from_planes(const vlm_planes *planes, vlm_picture **picture)
{
    return Guarded([&] {
        if (picture) *picture = nullptr;
        const LayoutFacts *facts = nullptr;
        const vlm_code code = CheckPlanes(planes, facts);
        if (code != VLM_OK || !facts) return code;
        if (!picture) return FailArgument("picture");
        const bool coloured = planes->palette && planes->palette_entries >= 1 && planes->palette_entries <= 256;
        if (facts->type == VLM_PALETTE && !coloured) return FailArgument("planes: its palette");

        auto made = std::make_unique<vlm_picture>();
        made->picture = NewPicture(ColourTypeOf(facts->type), planes->width, planes->height);
        if (facts->type == VLM_PALETTE) TakeColours(made->picture, planes->palette, planes->palette_entries);
        const bool opaque = TakePixels(made->picture, *planes, *facts);
        if (!IndicesFit(made->picture)) return NoSuchIndex();
        if (!opaque) TakeMasks(made->picture, *planes, *facts);
        made->maskIsApart = planes->mask && !(planes->flags & VLM_PLANES_MASK_IS_ALPHA);
        if ((planes->flags & VLM_PLANES_DROP_OPAQUE) && made->picture.mask && MaskIsFull(made->picture)) {
            made->picture.mask.reset();
            made->picture.maskBitsPerPixel = 0;
        }
        *picture = made.release();
        return VLM_OK;
    });
}

vlm_code vlm_picture_set_palette(vlm_picture *picture, const uint8_t *palette, int entries)
{
    return Guarded([&] {
        if (!HoldsPicture(picture) || !palette || entries < 1 || entries > 256) return FailArgument("palette");
        if (picture->picture.colourType != PALETTE)
            return Fail(VLM_UNFIT_PICTURE, "only a palette picture has colours of its own");
        const int32_t before = picture->picture.paletteEntries;
        picture->picture.paletteEntries = entries;
        const bool fits = IndicesFit(picture->picture);
        picture->picture.paletteEntries = before;
        if (!fits) return NoSuchIndex();
        TakeColours(picture->picture, palette, entries);
        picture->picture.extras.paletteAlpha.clear();
        return VLM_OK;
    });
}

//---- Rows outwards

// A row of any type as blue, green, red.
static const uint8_t *ColoursOfRow(const Picture &picture, int32_t y, std::vector<uint8_t> &room)
{
    const uint8_t *row = RowOf(picture.pixels, picture.bitsPerPixel, picture.width, y);
    if (picture.colourType == RGB) return row;
    room.resize(3 * size_t(picture.width));
    for (int32_t x = 0; x < picture.width; ++x) {
        const int entry = picture.bitsPerPixel == 8 ? row[x] : int(BitAt(row, x));
        room[3 * size_t(x)] = picture.blue[entry];
        room[3 * size_t(x) + 1] = picture.green[entry];
        room[3 * size_t(x) + 2] = picture.red[entry];
    }
    return room.data();
}

static void PutEvery(const uint8_t *from, uint8_t *to, int32_t count, int step)
{
    for (int32_t x = 0; x < count; ++x) to[x * step] = from[x];
}

static void ColoursOutwards(vlm_layout layout, const uint8_t *from, uint8_t *to, int32_t width)
{
    const int step = layout == VLM_LAYOUT_RGB || layout == VLM_LAYOUT_BGR ? 3 : 4;
    const bool redFirst = layout == VLM_LAYOUT_RGB || layout == VLM_LAYOUT_RGBA || layout == VLM_LAYOUT_RGBX;
    if (layout == VLM_LAYOUT_BGR) memcpy(to, from, 3 * size_t(width));
    else MoveColours(from, to, width, 3, step, redFirst);
}

static void RowOutwards(vlm_layout layout, const Picture &picture, int32_t y, uint8_t *to, std::vector<uint8_t> &room)
{
    const uint8_t *row = RowOf(picture.pixels, picture.bitsPerPixel, picture.width, y);
    switch (layout) {
    case VLM_LAYOUT_BITS: return CopyWholeBits(row, to, picture.width);
    case VLM_LAYOUT_BOOLS: return SpreadBits(row, to, picture.width, 1);
    case VLM_LAYOUT_INDEX:
    case VLM_LAYOUT_GREY: memcpy(to, row, size_t(picture.width)); return;
    case VLM_LAYOUT_INDEX_ALPHA:
    case VLM_LAYOUT_GREY_ALPHA: return PutEvery(row, to, picture.width, 2);
    default: return ColoursOutwards(layout, ColoursOfRow(picture, y, room), to, picture.width);
    }
}

static const uint8_t *LevelsOfMaskRow(const Picture &picture, int32_t y, std::vector<uint8_t> &room)
{
    if (picture.mask && picture.maskBitsPerPixel == 8) return RowOf(picture.mask, 8, picture.width, y);
    room.assign(size_t(picture.width), 255);
    if (picture.mask) SpreadBits(RowOf(picture.mask, 1, picture.width, y), room.data(), picture.width, 255);
    return room.data();
}

static bool Takes(const LayoutFacts &facts, const Picture &picture)
{
    return facts.type == VLM_RGB || facts.type == DoorType(picture.colourType);
}

vlm_code vlm_picture_to_planes(const vlm_picture *picture, const vlm_planes *planes)
{
    return Guarded([&] {
        const LayoutFacts *facts = nullptr;
        if (!HoldsPicture(picture)) return FailArgument("picture");
        if (const vlm_code code = CheckPlanes(planes, facts)) return code;
        const Picture &from = picture->picture;
        if (planes->width != from.width || planes->height != from.height)
            return FailArgument("planes: its size in pixels");
        if (!Takes(*facts, from)) return FailArgument("planes: its layout, for a picture of this type,");

        const OuterPlane pixels = PixelPlane(*planes, *facts), masks = MaskPlane(*planes);
        std::vector<uint8_t> room, maskRoom;
        for (int32_t y = 0; y < from.height; ++y) {
            RowOutwards(planes->layout, from, y, pixels.Row(y), room);
            const bool written = facts->alpha < 0 || (facts->bits == 32 && !from.mask);   // the alpha
            if (written && !planes->mask) continue;
            const uint8_t *levels = LevelsOfMaskRow(from, y, maskRoom);
            if (!written) PutEvery(levels, pixels.Row(y) + facts->alpha, from.width, facts->bits / 8);
            if (planes->mask) LevelsToMask(levels, 1, masks.Row(y), planes->mask_bits, from.width);
        }
        return VLM_OK;
    });
}

static vlm_layout OwnLayout(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return VLM_LAYOUT_BITS;
    case PALETTE: return VLM_LAYOUT_INDEX;
    case GREY: return VLM_LAYOUT_GREY;
    default: return VLM_LAYOUT_BGR;
    }
}

vlm_code vlm_picture_view(vlm_picture *picture, vlm_planes *planes)
{
    return Guarded([&] {
        if (!HoldsPicture(picture)) return FailArgument("picture");
        if (!planes || planes->size < sizeof(vlm_planes)) return FailArgument("planes");
        const Picture &own = picture->picture;
        *planes = {planes->size,
                   own.width,
                   own.height,
                   OwnLayout(own.colourType),
                   own.pixels.get(),
                   RowStride(own.bitsPerPixel, own.width),
                   own.mask.get(),
                   own.mask ? RowStride(own.maskBitsPerPixel, own.width) : 0,
                   own.mask ? own.maskBitsPerPixel : 0,
                   vlm_picture_palette_entries(picture),
                   vlm_picture_palette(picture),
                   0};
        return VLM_OK;
    });
}

//---- New ones

vlm_code vlm_picture_new(vlm_type type, int32_t width, int32_t height, vlm_picture **picture)
{
    return Guarded([&] {
        if (picture) *picture = nullptr;
        if (!picture || !ColourTypeOf(type)) return FailArgument("type or picture");
        const vlm_code size = CheckSize(width, height, type == VLM_RGB ? 24 : 8, "width or height");
        if (size != VLM_OK) return size;
        auto made = std::make_unique<vlm_picture>();
        made->picture = NewPicture(ColourTypeOf(type), width, height);
        if (type == VLM_PALETTE) made->picture.paletteEntries = 1;
        *picture = made.release();
        return VLM_OK;
    });
}
