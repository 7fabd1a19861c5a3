#include "host/editor/mask_painting.h"

#include "host/documents/picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static uint8_t *RowOfMask(const MaskPlane &mask, int32_t y)
{
    return mask.bytes + size_t(RowStride(mask.bitsPerPixel, mask.width)) * size_t(y);
}

void FillMask(const MaskPlane &mask, uint8_t value)
{
    const int byte = mask.bitsPerPixel == 8 ? value : value >= 128 ? 255 : 0;
    memset(mask.bytes, byte, size_t(RowStride(mask.bitsPerPixel, mask.width)) * size_t(mask.height));
}

void InvertMask(const MaskPlane &mask)
{
    const size_t size = size_t(RowStride(mask.bitsPerPixel, mask.width)) * size_t(mask.height);
    for (size_t i = 0; i < size; ++i) mask.bytes[i] = uint8_t(~mask.bytes[i]);
}

static void SetPixel(const MaskPlane &mask, uint8_t *row, int32_t x, uint8_t value)
{
    if (mask.bitsPerPixel == 8) row[x] = value;
    else SetBit(row, x, value >= 128);
}

// Squared distance of a pixel from the line between two others.
static double DistanceFrom(POINT from, POINT to, int32_t x, int32_t y)
{
    const double dx = to.x - from.x, dy = to.y - from.y, length = dx * dx + dy * dy;
    const double along = length > 0 ? std::clamp(((x - from.x) * dx + (y - from.y) * dy) / length, 0.0, 1.0) : 0;
    const double offX = x - from.x - along * dx, offY = y - from.y - along * dy;
    return offX * offX + offY * offY;
}

void PaintStroke(const MaskPlane &mask, POINT from, POINT to, int32_t diameter, uint8_t value)
{
    const int32_t reach = diameter / 2 + 1;
    const double limit = diameter * diameter / 4.0;
    const auto left = std::max<int32_t>(0, std::min(from.x, to.x) - reach);
    const auto right = std::min<int32_t>(mask.width - 1, std::max(from.x, to.x) + reach);
    const auto top = std::max<int32_t>(0, std::min(from.y, to.y) - reach);
    const auto bottom = std::min<int32_t>(mask.height - 1, std::max(from.y, to.y) + reach);
    for (int32_t y = top; y <= bottom; ++y) {
        uint8_t *row = RowOfMask(mask, y);
        for (int32_t x = left; x <= right; ++x) {
            if (DistanceFrom(from, to, x, y) <= limit) SetPixel(mask, row, x, value);
        }
    }
}
