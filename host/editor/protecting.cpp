// See protecting.h. No picture is asked for here, and none is locked.

#include "host/editor/protecting.h"

#include <algorithm>
#include <cstring>

Protection NewProtection(int32_t width, int32_t height)
{
    return {width, height, std::vector<uint8_t>(size_t(RowStride(8, width)) * size_t(height), 255), false};
}

MaskPlane PlaneOf(Protection &protection) { return {protection.bytes.data(), 8, protection.width, protection.height}; }

static const uint8_t *RowOf(const Protection &protection, int32_t y)
{
    return protection.bytes.data() + size_t(RowStride(8, protection.width)) * size_t(y);
}

void LookForProtected(Protection &protection)
{
    protection.any = false;
    for (int32_t y = 0; y < protection.height && !protection.any; ++y) {
        const uint8_t *row = RowOf(protection, y);
        protection.any = std::any_of(row, row + protection.width, [](uint8_t free) { return free != 255; });
    }
}

Protection ProtectionFromMask(const MaskPlane &mask)
{
    Protection made = NewProtection(mask.width, mask.height);
    for (int32_t y = 0; y < mask.height; ++y) {
        const uint8_t *from = mask.bytes + size_t(RowStride(mask.bitsPerPixel, mask.width)) * size_t(y);
        uint8_t *to = made.bytes.data() + size_t(RowStride(8, mask.width)) * size_t(y);
        for (int32_t x = 0; x < mask.width; ++x) to[x] = mask.bitsPerPixel == 8 ? from[x] : BitAt(from, x) ? 255 : 0;
    }
    LookForProtected(made);
    return made;
}

static uint8_t Mixed(int before, int after, int free)
{
    return uint8_t((after * free + before * (255 - free) + 127) / 255);
}

// Behind the pixels that are as free as the one at `x`.
static int32_t EndOfRun(const uint8_t *row, int32_t x, int32_t width)
{
    uint64_t alike, eight;
    memset(&alike, row[x], sizeof alike);
    int32_t end = x + 1;
    for (; end + int32_t(sizeof eight) <= width; end += int32_t(sizeof eight)) {
        memcpy(&eight, row + end, sizeof eight);
        if (eight != alike) break;
    }
    while (end < width && row[end] == row[x]) ++end;
    return end;
}

// Most of a picture is either free or protected entirely, in long runs.
static void BringBackRow(const ChangedPlanes &planes, const uint8_t *before, uint8_t *after, const uint8_t *row,
                         int32_t width)
{
    const int bytes = planes.bitsPerPixel / 8;
    for (int32_t x = 0, end; x < width; x = end) {
        end = EndOfRun(row, x, width);
        const int free = planes.mixes && bytes > 0 ? row[x] : row[x] < 128 ? 0 : 255;
        if (free == 255) continue;
        if (bytes == 0) {
            for (int32_t bit = x; bit < end; ++bit) SetBit(after, bit, BitAt(before, bit));
        } else if (free == 0) {
            memcpy(after + bytes * x, before + bytes * x, size_t(bytes) * size_t(end - x));
        } else {
            for (int32_t c = bytes * x; c < bytes * end; ++c) after[c] = Mixed(before[c], after[c], free);
        }
    }
}

void BringBack(const ChangedPlanes &planes, const Protection &protection)
{
    const auto stride = size_t(RowStride(planes.bitsPerPixel, protection.width));
    for (int32_t y = 0; y < protection.height; ++y)
        BringBackRow(planes, planes.before + stride * size_t(y), planes.after + stride * size_t(y),
                     RowOf(protection, y), protection.width);
}

void BringBackSeen(const uint32_t *before, uint32_t *after, const uint32_t *free, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const int share = int(free[i] & 255);
        if (share == 255) continue;
        uint32_t word = 0;
        for (int shift = 0; shift < 24; shift += 8)
            word |= uint32_t(Mixed(int(before[i] >> shift & 255), int(after[i] >> shift & 255), share)) << shift;
        after[i] = word;
    }
}
