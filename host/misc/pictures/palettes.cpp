// Colours and palettes: the nearest palette entry, and the 8-bit copy of a 24-bit picture for an 8-bit display. The
// copy's indices name entries of the tables handed in. A 24-bit picture's own tables are all zero; they stand for
// the display's colour cube of six levels a channel: index = 36 * red + 6 * green + blue, level = (value + 25) / 51.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"

#include <algorithm>
#include <vector>

static int32_t NearestEntry(int32_t r, int32_t g, int32_t b, const uint8_t *red, const uint8_t *green,
                            const uint8_t *blue, int32_t entries)
{
    int32_t nearest = 0, least = INT32_MAX;
    for (int32_t i = 0; i < entries; ++i) {
        const int32_t dr = red[i] - r, dg = green[i] - g, db = blue[i] - b;
        const int32_t distance = dr * dr + dg * dg + db * db;
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

int32_t KPZAPI FindClosestColor(uint32_t colour, const uint8_t *red, const uint8_t *green, const uint8_t *blue,
                                int32_t entries)
{
    LogCall("FindClosestColor", nullptr, colour, red, green, blue, entries);
    return NearestEntry(colour & 255, colour >> 8 & 255, colour >> 16 & 255, red, green, blue,
                        std::clamp(entries, 1, 256));
}

//---- The display copy

// Pictures repeat their colours; what was found for one is kept where its bytes hash to.
struct Found {
    uint32_t colour;
    uint8_t index;
};
static constexpr uint32_t FOUND_SLOTS = 4096, NO_COLOUR = UINT32_MAX;

struct Tables {
    const uint8_t *red, *green, *blue;
};

static bool IsCube(const Tables &tables)
{
    for (const uint8_t *table : {tables.red, tables.green, tables.blue}) {
        if (std::any_of(table, table + 256, [](uint8_t value) { return value != 0; })) return false;
    }
    return true;
}

static void MapToCube(uint8_t *to, const uint8_t *from, int32_t width)
{
    for (int32_t x = 0; x < width; ++x, from += 3) {
        to[x] = uint8_t(36 * ((from[2] + 25) / 51) + 6 * ((from[1] + 25) / 51) + (from[0] + 25) / 51);
    }
}

static void MapToTables(uint8_t *to, const uint8_t *from, int32_t width, const Tables &tables,
                        std::vector<Found> &found)
{
    for (int32_t x = 0; x < width; ++x, from += 3) {
        const uint32_t colour = from[0] | uint32_t(from[1]) << 8 | uint32_t(from[2]) << 16;
        Found &slot = found[colour * 2654435761u >> 20];
        if (slot.colour != colour) {
            slot.colour = colour;
            slot.index = uint8_t(NearestEntry(from[2], from[1], from[0], tables.red, tables.green, tables.blue, 256));
        }
        to[x] = slot.index;
    }
}

void KPZAPI Update8BitVersion(const uint8_t *pixels, uint8_t **displayCopy, int32_t width, int32_t height,
                              const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t zero)
{
    LogCall("Update8BitVersion", nullptr, pixels, displayCopy, width, height, red, green);
    (void)zero;
    const uint32_t fromStride = RowStride(24, width), stride = RowStride(8, width);
    KPZ_FreeMem(*displayCopy);
    *displayCopy = nullptr;   // there may be no memory for another
    const int32_t firstBlock = HostBlocksOfWork();
    *displayCopy = AllocateBytes(uint64_t(stride) * uint64_t(height));
    HostKeepBlocks(firstBlock);   // no step brings it back
    const Tables tables = {red, green, blue};
    const bool cube = IsCube(tables);
    std::vector<Found> found(cube ? 0 : FOUND_SLOTS, Found{NO_COLOUR, 0});
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *to = *displayCopy + size_t(y) * stride;
        const uint8_t *from = pixels + size_t(y) * fromStride;
        std::fill(to + width, to + stride, uint8_t(0));
        if (cube) MapToCube(to, from, width);
        else MapToTables(to, from, width, tables, found);
    }
}
