// The plain version of fetching a pixel from a position between pixels, and of effects that do so for each pixel. It
// shares no code with host/misc.

#include "tests/reference/reference.h"

#include <algorithm>
#include <math.h>

// The mean of four neighbours by their weights in 65536ths, each multiplied by its mask value. Where the mask leaves
// nothing of them, or there is none, the weights alone count.
static int Interpolate(const int64_t (&weights)[4], const int64_t (&masks)[4], const int64_t (&values)[4])
{
    int64_t masked = 0, maskedSum = 0, sum = 0;
    for (int i = 0; i < 4; ++i) {
        masked += weights[i] * masks[i] * values[i];
        maskedSum += weights[i] * masks[i];
        sum += weights[i] * values[i];
    }
    return int(maskedSum > 0 ? (masked + maskedSum / 2) / maskedSum : (sum + 32768) / 65536);
}

static Pixel SampleSmoothly(const Raster &source, const Raster *mask, int64_t x, int64_t y)
{
    const int left = int(x / 256), top = int(y / 256);
    const int right = std::min(left + 1, source.width - 1), bottom = std::min(top + 1, source.height - 1);
    const int columns[4] = {left, right, left, right}, rows[4] = {top, top, bottom, bottom};
    const int64_t toRight = x % 256, toBottom = y % 256;
    const int64_t weights[4] = {(256 - toRight) * (256 - toBottom), toRight * (256 - toBottom),
                                (256 - toRight) * toBottom, toRight * toBottom};
    Pixel sample = {};
    for (size_t c = 0; c < size_t(source.channels); ++c) {
        int64_t masks[4] = {}, values[4];
        for (int i = 0; i < 4; ++i) {
            values[i] = Get(source, columns[i], rows[i])[c];
            if (mask) masks[i] = Get(*mask, columns[i], rows[i])[0];
        }
        sample[c] = Interpolate(weights, masks, values);
    }
    return sample;
}

Pixel SampleAt(const Raster &source, const Raster *weights, bool smooth, double x, double y)
{
    const int64_t fineX = int64_t(floor(x * 256 + 0.5)), fineY = int64_t(floor(y * 256 + 0.5));
    if (smooth) return SampleSmoothly(source, weights, fineX, fineY);
    const int column = int(std::min<int64_t>((fineX + 128) / 256, source.width - 1));
    const int row = int(std::min<int64_t>((fineY + 128) / 256, source.height - 1));
    return Get(source, column, row);
}

void ReferenceRelocate(const RelocateRequest &request)
{
    const Raster source = RasterOfPlane(request.source, request.width, request.height, request.bitsPerPixel);
    Raster mask;
    if (request.maskSource) {
        const int bits = request.maskStride == RowStride(8, request.width) ? 8 : 1;
        mask = RasterOfPlane(request.maskSource, request.width, request.height, bits);
    }
    const bool smooth = request.colourType == GREY || request.colourType == RGB;
    const Pixel pixel =
        SampleAt(source, request.maskSource ? &mask : nullptr, smooth, request.sourceX, request.sourceY);
    if (request.colourType == ONE_BIT) {
        Raster plane = RasterOfPlane(request.destination, request.width, request.height, 1);
        Set(plane, request.x, request.y, pixel);
        StorePlane(request.destination, plane);
    } else {
        for (int c = 0; c < source.channels; ++c) request.destination[c] = uint8_t(pixel[size_t(c)]);
    }
}

// What is not a number counts as 0, too.
static double Limited(double place, int count) { return !(place >= 0) ? 0 : place > count - 1 ? count - 1 : place; }

void FetchEachPixel(Picture &picture, bool maskInUse, const Pixel *fill, const PlaceRoutine &place)
{
    const Raster source = RasterOfPixels(picture);
    Raster output = fill ? MakeRaster(source.width, source.height, source.bits, *fill) : source;
    Raster mask, maskOutput;
    if (picture.mask) {
        mask = RasterOfMask(picture);
        maskOutput = fill ? MakeRaster(mask.width, mask.height, mask.bits, {}) : mask;
    }
    const bool smooth = picture.colourType == GREY || picture.colourType == RGB;
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            double fromX = 0, fromY = 0;
            if (!place(x, y, fromX, fromY)) continue;
            fromX = Limited(fromX, source.width);
            fromY = Limited(fromY, source.height);
            Set(output, x, y, SampleAt(source, picture.mask && maskInUse ? &mask : nullptr, smooth, fromX, fromY));
            if (picture.mask) Set(maskOutput, x, y, SampleAt(mask, nullptr, mask.bits == 8, fromX, fromY));
        }
    }
    StorePixels(picture, output);
    if (picture.mask) StoreMask(picture, maskOutput);
}
