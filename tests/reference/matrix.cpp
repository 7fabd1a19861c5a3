// The plain version of Filters: every sum by itself, pixel by pixel. It shares no code with matrix/.

#include "tests/reference/reference.h"

#include <algorithm>
#include <stdlib.h>

enum { DIFFER = 940, ITERATIVE = 950, SUBTRACT = 5140, ADD = 5150 };

// The low 32 bits, as a signed number.
static int64_t Wrapped(int64_t value) { return int32_t(uint32_t(uint64_t(value))); }

int ReferenceKernelSize(const MatrixSettings &settings)
{
    int reach = 0;   // of the farthest element from the centre, in rows or columns
    for (int row = 0; row < 7; ++row) {
        for (int column = 0; column < 7; ++column) {
            if (settings.kernel[size_t(7 * row + column)] == 0) continue;
            reach = std::max({reach, abs(row - 3), abs(column - 3)});
        }
    }
    return 2 * reach + 1;
}

static int Stored(int value, int64_t sum, const MatrixSettings &settings)
{
    const int64_t filtered = Wrapped(Wrapped(sum / settings.divisor) + settings.bias);
    const int64_t result = settings.combineMode == SUBTRACT ? Wrapped(value - filtered)
                           : settings.combineMode == ADD    ? Wrapped(value + filtered)
                                                            : filtered;
    return int(std::clamp<int64_t>(result, 0, 255));
}

// The value is stored anew after every row of the kernel, with the sum so far.
static int Convolved(const Raster &source, int x, int y, size_t channel, int size, const MatrixSettings &settings)
{
    const int half = size / 2;
    int value = Get(source, x, y)[channel];
    int64_t sum = 0;
    for (int row = -half; row <= half; ++row) {
        for (int column = -half; column <= half; ++column) {
            const int fromX = std::clamp(x + column, 0, source.width - 1);
            const int fromY = std::clamp(y + row, 0, source.height - 1);
            const int64_t element = settings.kernel[size_t(7 * (row + 3) + column + 3)];
            sum = Wrapped(sum + element * Get(source, fromX, fromY)[channel]);
        }
        value = Stored(value, sum, settings);
    }
    return value;
}

static Raster Convolved(const Raster &source, const MatrixSettings &settings)
{
    const int size = ReferenceKernelSize(settings);
    if (source.width < size || source.height < size) return source;
    const bool use[3] = {settings.useBlue != 0, settings.useGreen != 0, settings.useRed != 0};
    Raster output = source;
    for (int y = 0; y < source.height; ++y) {
        for (int x = 0; x < source.width; ++x) {
            Pixel pixel = Get(source, x, y);
            for (size_t c = 0; c < size_t(source.channels); ++c) {
                if (source.channels == 1 || use[c]) pixel[c] = Convolved(source, x, y, c, size, settings);
            }
            Set(output, x, y, pixel);
        }
    }
    return output;
}

// one + other - less, byte by byte.
static Raster Combined(const Raster &one, const Raster &other, const Raster &less)
{
    Raster output = one;
    for (size_t i = 0; i < one.pixels.size(); ++i) {
        for (size_t c = 0; c < size_t(one.channels); ++c) {
            output.pixels[i][c] = std::clamp(one.pixels[i][c] + other.pixels[i][c] - less.pixels[i][c], 0, 255);
        }
    }
    return output;
}

static MatrixSettings WithDivisor(MatrixSettings settings)
{
    if (settings.divisor == 0) settings.divisor = 1;
    return settings;
}

void ReferenceConvolve(Picture &picture, const MatrixSettings &settings)
{
    StorePixels(picture, Convolved(RasterOfPixels(picture), WithDivisor(settings)));
}

void ReferenceMatrix(Picture &picture, const MatrixSettings &given)
{
    if (picture.bitsPerPixel == 1) return;
    const MatrixSettings settings = WithDivisor(given);
    const Raster source = RasterOfPixels(picture);
    Raster output = source;
    if (settings.passMode == ITERATIVE) {
        for (int i = 0; i < settings.iterations; ++i) output = Combined(output, source, Convolved(output, settings));
    } else if (settings.passMode == DIFFER) {
        const Raster nothing = MakeRaster(source.width, source.height, source.bits, {});
        output = Combined(source, nothing, Convolved(source, settings));
    } else {
        output = Convolved(source, settings);
    }
    StorePixels(picture, output);
}
