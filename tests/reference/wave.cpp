// The plain version of Wave. It shares no code with effects/.

#include "tests/reference/reference.h"

#include <math.h>

// What holds for all rows of a plane that is shifted sideways.
struct WaveShape {
    int amplitude;    // pixels
    int wavelength;   // pixels
    int squeezed;     // pixels of a shifted row
    int phase;        // degrees
};

static WaveShape ShapeOf(int width, int amplitude, int wavelength, int phase)
{
    WaveShape shape;
    shape.amplitude = amplitude * width / 100 / 2;
    if (shape.amplitude < 1) shape.amplitude = 1;
    if (shape.amplitude > width / 2 - 10) shape.amplitude = width / 2 - 10;
    shape.squeezed = width - 2 * shape.amplitude;
    shape.wavelength = wavelength * width / 100;
    if (shape.wavelength == 0) shape.wavelength = 1;
    shape.phase = phase;
    return shape;
}

static double Displacement(const WaveShape &shape, int y)
{
    const double angle = y * 6.2831854 / shape.wavelength + shape.phase * 3.1415927 * (1.0 / 180);
    return shape.amplitude * (sin(angle) + 1.0);
}

// Which source pixel stands in place i of a squeezed row.
static int SourceOf(const Raster &source, const WaveShape &shape, int i)
{
    return (i * source.width - 1) / (shape.squeezed - 1);
}

static Pixel Blend(Pixel one, int weightOfOne, Pixel other, int weightOfOther)
{
    Pixel blend = {};
    for (size_t c = 0; c < 3; ++c) { blend[c] = (one[c] * weightOfOne + other[c] * weightOfOther + 2048) / 4096 & 255; }
    return blend;
}

static void ShiftSmoothly(const Raster &source, Raster &output, int y, const WaveShape &shape, bool blendEdges,
                          Pixel background)
{
    const double displacement = Displacement(shape, y);
    const int whole = int(displacement);
    const int fraction = int((displacement - whole) * 4096), rest = 4096 - fraction;
    for (int i = 0; i <= shape.squeezed; ++i) {
        const Pixel here = Get(source, i == 0 ? 0 : SourceOf(source, shape, i < shape.squeezed ? i : i - 1), y);
        const Pixel before = Get(source, i <= 1 ? 0 : SourceOf(source, shape, i - 1), y);
        Pixel result;
        if (i == 0) {
            result = blendEdges ? Blend(here, rest, background, fraction) : here;
        } else if (i < shape.squeezed) {
            result = Blend(before, fraction, here, rest);
        } else {
            if (fraction <= 0) continue;
            result = blendEdges ? Blend(here, fraction, background, rest) : here;
        }
        SetInside(output, whole + i, y, result);
    }
}

static void ShiftByWholePixels(const Raster &source, Raster &output, int y, const WaveShape &shape)
{
    const int whole = int(Displacement(shape, y));
    for (int i = 0; i < shape.squeezed; ++i) {
        SetInside(output, whole + i, y, Get(source, SourceOf(source, shape, i), y));
    }
}

static Raster Waved(const Raster &source, const WaveShape &shape, bool smooth, bool blendEdges, Pixel background)
{
    Raster output = MakeRaster(source.width, source.height, source.bits, background);
    for (int y = 0; y < source.height; ++y) {
        if (smooth) ShiftSmoothly(source, output, y, shape, blendEdges, background);
        else ShiftByWholePixels(source, output, y, shape);
    }
    return output;
}

void ReferenceWave(Picture &picture, bool maskInUse, int amplitude, uint32_t background, int wavelength, int phase,
                   bool columns)
{
    const WaveShape shape = ShapeOf(columns ? picture.height : picture.width, amplitude, wavelength, phase);
    const auto wave = [&](const Raster &plane, bool smooth, bool blendEdges, Pixel fill) {
        if (!columns) return Waved(plane, shape, smooth, blendEdges, fill);
        return Transposed(Waved(Transposed(plane), shape, smooth, blendEdges, fill));
    };
    const bool smooth = picture.colourType == GREY || picture.colourType == RGB;
    StorePixels(picture, wave(RasterOfPixels(picture), smooth, !maskInUse, PixelOfColour(picture, background)));
    // Image and mask take the opposite edges: what the flag turns on in one it turns off in the other.
    if (picture.mask) StoreMask(picture, wave(RasterOfMask(picture), picture.maskBitsPerPixel == 8, maskInUse, {}));
}
