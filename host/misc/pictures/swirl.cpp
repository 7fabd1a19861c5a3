// Twisting a picture about its centre. A pixel at distance d from the centre, within the radius R of the largest circle
// that fits, takes its value from the position turned by
//     amount degrees * (1 - d / R)^2
// and everything else stays. The mask plane is turned along.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/pictures/shared_rows.h"
#include "host/misc/pictures/swirl_positions.h"

#include <vector>

// A plane that is twisted in place, fetched pixel by pixel from a copy of how it stood.
struct TwistedPlane {
    uint8_t *pixels;   // null: there is no such plane
    uint8_t *copy;
    RelocateRequest request;
};

static TwistedPlane PlaneToTwist(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel,
                                 int32_t colourType)
{
    TwistedPlane plane = {};
    if (!pixels) return plane;
    const uint32_t stride = RowStride(bitsPerPixel, width);
    plane.pixels = pixels;
    plane.copy = AllocateBytes(stride * uint32_t(height));
    CopyTogether(plane.copy, pixels, size_t(stride) * size_t(height));
    plane.request.source = plane.copy;
    plane.request.width = plane.request.secondWidth = width;
    plane.request.height = height;
    plane.request.bitsPerPixel = bitsPerPixel;
    plane.request.stride = int32_t(stride);
    plane.request.colourType = colourType;
    return plane;
}

// One-bit pixels are told by x and y, others by their address.
static void TwistRow(const TwistedPlane &plane, int32_t y, const SwirlRow &row)
{
    RelocateRequest request = plane.request;
    const int32_t bytesPerPixel = request.bitsPerPixel / 8;
    request.y = y;
    request.destination = plane.pixels;
    if (request.colourType != ONE_BIT)
        request.destination += size_t(y) * size_t(request.stride) + size_t(row.first) * size_t(bytesPerPixel);
    for (int32_t x = row.first; x < row.end; ++x) {
        request.x = x;
        request.sourceX = row.sourceX[size_t(x)];
        request.sourceY = row.sourceY[size_t(x)];
        Relocate(&request);
        request.destination += bytesPerPixel;
    }
}

void KPZAPI SwirlFunction(uint8_t *pixels, uint8_t *mask, int32_t width, int32_t height, int32_t bitsPerPixel,
                          int32_t maskBitsPerPixel, int32_t colourType, int32_t amount, int32_t maskInUse,
                          HWND progressWindow, ProgressRecord *progress, int32_t *abortFlag)
{
    LogCall("SwirlFunction", nullptr, pixels, mask, width, height, bitsPerPixel, maskBitsPerPixel);
    TwistedPlane picture = PlaneToTwist(pixels, width, height, bitsPerPixel, colourType);
    const int32_t maskType = maskBitsPerPixel == 8 ? GREY : ONE_BIT;
    TwistedPlane maskPlane = PlaneToTwist(mask, width, height, maskBitsPerPixel, maskType);
    picture.request.maskStride = maskPlane.request.stride;
    if (maskInUse) picture.request.maskSource = maskPlane.copy;

    constexpr double COST_OF_PIXEL = 8;
    const SharedLines rows = {height, COST_OF_PIXEL * width};
    std::vector<SwirlRow> rowOf(size_t(ThreadsFor(rows)), SwirlRow(width, height, amount));
    const auto report = [&](int y) {
        if (SharedRead(*abortFlag)) return false;
        IncrementProgress(progressWindow, progress, height > 1 ? int32_t(int64_t(y) * 10 / (height - 1)) : 10);
        return true;
    };
    ShareRows(int(rowOf.size()), rows, report, [&](const Band &band) {
        SwirlRow &row = rowOf[size_t(band.thread)];
        for (int y = band.first; band.GoesOn(y); ++y) {
            FindSwirlPositions(row, y);
            TwistRow(picture, y, row);
            if (mask) TwistRow(maskPlane, y, row);
        }
    });
    KPZ_FreeMem(picture.copy);
    KPZ_FreeMem(maskPlane.copy);
}
