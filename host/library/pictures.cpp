// Pictures through the door: copies, what they are, masks, what their files said besides pixels.

#include "host/library/masks.h"
#include "host/library/picture_handle.h"

#include <algorithm>

#include <string.h>

vlm_code vlm_picture_copy(const vlm_picture *picture, vlm_picture **copy)
{
    return Guarded([&] {
        if (copy) *copy = nullptr;
        if (!HoldsPicture(picture) || !copy) return FailArgument("picture or copy");
        auto made = std::make_unique<vlm_picture>();
        made->picture = CopyOf(picture->picture);
        made->format = picture->format;
        made->file = picture->file;
        made->maskIsApart = picture->maskIsApart;
        for (const Picture &page : picture->further) made->further.push_back(CopyOf(page));
        *copy = made.release();
        return VLM_OK;
    });
}

void vlm_picture_free(vlm_picture *picture) { delete picture; }

//---- What it is

vlm_type vlm_picture_type(const vlm_picture *picture)
{
    return HoldsPicture(picture) ? DoorType(picture->picture.colourType) : VLM_ONE_BIT;
}

int32_t vlm_picture_width(const vlm_picture *picture) { return HoldsPicture(picture) ? picture->picture.width : 0; }
int32_t vlm_picture_height(const vlm_picture *picture) { return HoldsPicture(picture) ? picture->picture.height : 0; }

int vlm_picture_mask_bits(const vlm_picture *picture)
{
    return HoldsPicture(picture) && picture->picture.mask ? picture->picture.maskBitsPerPixel : 0;
}

int vlm_picture_palette_entries(const vlm_picture *picture)
{
    return HoldsPicture(picture) ? picture->picture.paletteEntries : 0;
}

const uint8_t *vlm_picture_palette(const vlm_picture *picture)
{
    const int entries = vlm_picture_palette_entries(picture);
    if (entries == 0) return nullptr;
    const vlm_code code = Guarded([&] {
        const Picture &own = picture->picture;
        picture->palette.resize(3 * 256);
        for (size_t i = 0; i < 256; ++i) {
            picture->palette[3 * i] = own.red[i];
            picture->palette[3 * i + 1] = own.green[i];
            picture->palette[3 * i + 2] = own.blue[i];
        }
        return VLM_OK;
    });
    return code == VLM_OK ? picture->palette.data() : nullptr;
}

//---- Pages

int vlm_picture_pages(const vlm_picture *picture)
{
    return HoldsPicture(picture) ? 1 + int(picture->further.size()) : 0;
}

vlm_code vlm_picture_page(const vlm_picture *picture, int page, vlm_picture **copy)
{
    return Guarded([&] {
        if (copy) *copy = nullptr;
        if (!copy || page < 0 || page >= vlm_picture_pages(picture)) return FailArgument("picture, page or copy");
        auto made = std::make_unique<vlm_picture>();
        made->picture = CopyOf(page == 0 ? picture->picture : picture->further[size_t(page) - 1]);
        made->format = picture->format;
        made->file = picture->file;
        made->maskIsApart = picture->maskIsApart;
        *copy = made.release();
        return VLM_OK;
    });
}

vlm_code vlm_picture_set_page(vlm_picture *picture, int page, const vlm_picture *from)
{
    return Guarded([&] {
        const bool there = page >= 0 && page < vlm_picture_pages(picture);
        if (!there || !HoldsPicture(from)) return FailArgument("picture, page or from");
        Picture copy = CopyOf(from->picture);
        (page == 0 ? picture->picture : picture->further[size_t(page) - 1]) = std::move(copy);
        picture->maskIsApart = picture->maskIsApart || from->maskIsApart;
        return VLM_OK;
    });
}

int vlm_picture_file_pages(const vlm_picture *picture)
{
    return HoldsPicture(picture) ? std::max(picture->picture.extras.shape.pages, 1) : 0;
}

vlm_code vlm_picture_add_page(vlm_picture *picture, const vlm_picture *page)
{
    return Guarded([&] {
        if (!HoldsPicture(picture) || !HoldsPicture(page)) return FailArgument("picture or page");
        std::vector<Picture> more;
        more.push_back(CopyOf(page->picture));
        for (const Picture &further : page->further) more.push_back(CopyOf(further));
        picture->further.reserve(picture->further.size() + more.size());
        for (Picture &further : more) picture->further.push_back(std::move(further));
        return VLM_OK;
    });
}

vlm_code vlm_picture_set_animation(vlm_picture *picture, int delay, int loops)
{
    return Guarded([&] {
        if (!HoldsPicture(picture)) return FailArgument("picture");
        if (delay < 0 || delay > 655'350 || loops < 0 || loops > 65'535) return FailArgument("delay or loops");
        picture->picture.extras.shape.loops = loops;
        picture->picture.extras.shape.delay = delay;
        for (Picture &frame : picture->further) frame.extras.shape.delay = delay;
        return VLM_OK;
    });
}

int vlm_picture_file_bits(const vlm_picture *picture)
{
    if (!HoldsPicture(picture)) return 0;
    return picture->picture.extras.shape.bits ? picture->picture.extras.shape.bits : 8;
}

int vlm_picture_is_lossy(const vlm_picture *picture)
{
    const auto lossy = [](const Picture &page) { return page.extras.shape.lossy; };
    return HoldsPicture(picture) &&
           (lossy(picture->picture) || std::any_of(picture->further.begin(), picture->further.end(), lossy));
}

//---- Sums

static void AddToSum(uint64_t &sum, uint64_t word)
{
    sum = (sum ^ word) * 1099511628211u;
    sum ^= sum >> 29;
}

// Rows without what fills them up to 32 bits.
static void AddPlane(uint64_t &sum, const uint8_t *bytes, int32_t bits, int32_t width, int32_t height)
{
    const size_t stride = size_t(RowStride(bits, width)), count = (size_t(bits) * size_t(width) + 7) / 8;
    for (int32_t y = 0; y < height; ++y, bytes += stride) {
        size_t x = 0;
        for (uint64_t word; x + sizeof word <= count; x += sizeof word) {
            memcpy(&word, bytes + x, sizeof word);
            AddToSum(sum, word);
        }
        for (; x < count; ++x) AddToSum(sum, bytes[x]);
    }
}

static void AddPage(uint64_t &sum, const Picture &page)
{
    AddToSum(sum, uint64_t(page.width) << 32 ^ uint64_t(page.height));
    AddPlane(sum, page.pixels.get(), page.bitsPerPixel, page.width, page.height);
    if (page.mask) AddPlane(sum, page.mask.get(), page.maskBitsPerPixel, page.width, page.height);
}

uint64_t vlm_picture_sum(const vlm_picture *picture)
{
    if (!HoldsPicture(picture)) return 0;
    uint64_t sum = 1469598103934665603u;
    AddPage(sum, picture->picture);
    for (const Picture &page : picture->further) AddPage(sum, page);
    return sum;
}

//---- Masks

vlm_code vlm_picture_set_mask(vlm_picture *picture, const vlm_picture *mask)
{
    return Guarded([&] {
        if (!HoldsPicture(picture)) return FailArgument("picture");
        if (!mask) {
            picture->maskIsApart = false;
            const auto drop = [](Picture &page) {
                page.mask.reset();
                page.maskBitsPerPixel = 0;
            };
            drop(picture->picture);
            std::for_each(picture->further.begin(), picture->further.end(), drop);
            return VLM_OK;
        }
        if (!HoldsPicture(mask)) return FailArgument("mask");
        std::string error;
        const auto fits = [mask](const Picture &page) {
            return page.width == mask->picture.width && page.height == mask->picture.height;
        };
        const auto misfit = std::find_if_not(picture->further.begin(), picture->further.end(), fits);
        if (misfit != picture->further.end()) {   // before any page is touched
            TakeMask(*misfit, mask->picture, error);
            return Fail(VLM_BAD_VALUE, error);
        }
        bool taken = TakeMask(picture->picture, mask->picture, error);
        for (Picture &page : picture->further) taken = taken && TakeMask(page, mask->picture, error);
        picture->maskIsApart = picture->maskIsApart || taken;
        return taken ? VLM_OK : Fail(VLM_BAD_VALUE, error);
    });
}

vlm_code vlm_picture_get_mask(const vlm_picture *picture, vlm_picture **mask)
{
    return Guarded([&] {
        if (mask) *mask = nullptr;
        if (!HoldsPicture(picture) || !mask) return FailArgument("picture or mask");
        if (!picture->picture.mask) return Fail(VLM_UNFIT_PICTURE, "has no mask");
        auto made = std::make_unique<vlm_picture>();
        const Picture &own = picture->picture;
        made->picture = NewPicture(own.maskBitsPerPixel == 8 ? GREY : ONE_BIT, own.width, own.height);
        const size_t bytes = size_t(RowStride(own.maskBitsPerPixel, own.width)) * size_t(own.height);
        std::copy(own.mask.get(), own.mask.get() + bytes, made->picture.pixels.get());
        *mask = made.release();
        return VLM_OK;
    });
}

//---- Metadata

static std::vector<uint8_t> *MetadataOf(vlm_picture *picture, vlm_metadata kind)
{
    if (!HoldsPicture(picture)) return nullptr;
    switch (kind) {
    case VLM_COLOUR_PROFILE: return &picture->picture.extras.colourProfile;
    case VLM_EXIF: return &picture->picture.extras.exif;
    }
    return nullptr;
}

const uint8_t *vlm_picture_metadata(const vlm_picture *picture, vlm_metadata kind, size_t *bytes)
{
    if (bytes) *bytes = 0;
    const std::vector<uint8_t> *data = MetadataOf(const_cast<vlm_picture *>(picture), kind);
    if (!data || !bytes || data->empty()) return nullptr;
    *bytes = data->size();
    return data->data();
}

vlm_code vlm_picture_set_metadata(vlm_picture *picture, vlm_metadata kind, const uint8_t *data, size_t bytes)
{
    return Guarded([&] {
        std::vector<uint8_t> *own = MetadataOf(picture, kind);
        if (!own || (!data && bytes)) return FailArgument("picture, kind or data");
        own->assign(data, data + bytes);
        return VLM_OK;
    });
}

void vlm_picture_resolution(const vlm_picture *picture, double *x, double *y)
{
    const bool holds = HoldsPicture(picture);
    if (x) *x = holds ? picture->picture.extras.dotsPerInchX : 0;
    if (y) *y = holds ? picture->picture.extras.dotsPerInchY : 0;
}

vlm_code vlm_picture_set_resolution(vlm_picture *picture, double x, double y)
{
    return Guarded([&] {
        const bool sensible = x >= 0 && y >= 0 && x <= 1e6 && y <= 1e6;
        if (!HoldsPicture(picture) || !sensible) return FailArgument("picture, x or y");
        picture->picture.extras.dotsPerInchX = x;
        picture->picture.extras.dotsPerInchY = y;
        return VLM_OK;
    });
}

vlm_code vlm_picture_take_metadata(vlm_picture *picture, const vlm_picture *from)
{
    return Guarded([&] {
        if (!HoldsPicture(picture) || !HoldsPicture(from)) return FailArgument("picture or from");
        picture->picture.extras = from->picture.extras;
        return VLM_OK;
    });
}
