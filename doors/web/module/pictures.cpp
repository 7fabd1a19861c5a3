// What JavaScript calls of both modules: pictures that come and go as planes without gaps between rows (door.js says
// which), by numbers where velmorant.h has records, so that no offset of a record is known there.

#include "doors/web/module/exported.h"

#include <string.h>
#include <vector>

static vlm_planes PlanesOf(int type, int width, int height, uint8_t *pixels, uint8_t *mask, int maskBits)
{
    static constexpr vlm_layout LAYOUTS[] = {VLM_LAYOUT_BITS, VLM_LAYOUT_INDEX, VLM_LAYOUT_GREY, VLM_LAYOUT_RGB};
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = width;
    planes.height = height;
    planes.layout = LAYOUTS[type];
    planes.pixels = pixels;
    planes.mask = mask;
    planes.mask_bits = mask ? maskBits : 0;
    return planes;
}

// An effect may have left indices beyond the palette's end, which a picture that is made from planes may not have: they
// are put in afterwards.
static bool PutIndices(vlm_picture *picture, const uint8_t *pixels)
{
    vlm_planes own = {};
    own.size = sizeof own;
    if (vlm_picture_view(picture, &own) != VLM_OK) return false;
    for (int y = 0; y < own.height; ++y) {
        const uint8_t *row = pixels + size_t(y) * size_t(own.width);
        memcpy(static_cast<uint8_t *>(own.pixels) + y * own.stride, row, size_t(own.width));
    }
    return true;
}

// 0 when it fails. `mask` may be 0, and `palette` for all but palette pictures.
EXPORTED vlm_picture *web_picture(int type, int width, int height, uint8_t *pixels, uint8_t *mask, int maskBits,
                                  const uint8_t *palette, int entries)
{
    vlm_planes planes = PlanesOf(type, width, height, pixels, mask, maskBits);
    planes.palette = palette;
    planes.palette_entries = entries;
    planes.flags = VLM_PLANES_MASK_IS_ALPHA;
    std::vector<uint8_t> blank;
    if (type == VLM_PALETTE) {
        blank.resize(size_t(width) * size_t(height));
        planes.pixels = blank.data();
    }
    vlm_picture *picture = nullptr;
    if (vlm_picture_from_planes(&planes, &picture) != VLM_OK) return nullptr;
    if (type == VLM_PALETTE && !PutIndices(picture, pixels)) {
        vlm_picture_free(picture);
        return nullptr;
    }
    return picture;
}

// A page or frame, from 0, as a picture of its own, or 0.
EXPORTED vlm_picture *web_page(const vlm_picture *picture, int page)
{
    vlm_picture *copy = nullptr;
    vlm_picture_page(picture, page, &copy);
    return copy;
}

// Fills planes of the picture's own type and mask.
EXPORTED int web_planes(const vlm_picture *picture, uint8_t *pixels, uint8_t *mask)
{
    const vlm_planes planes = PlanesOf(vlm_picture_type(picture), vlm_picture_width(picture),
                                       vlm_picture_height(picture), pixels, mask, vlm_picture_mask_bits(picture));
    return vlm_picture_to_planes(picture, &planes);
}
