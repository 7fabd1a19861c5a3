// Planes as arrays of whole pixels, for the plain versions: taken out of pictures and put back, with colours brought to
// a picture's type. Speed does not count here.

#include "tests/reference/raster.h"

#include <assert.h>

Raster MakeRaster(int width, int height, int bits, Pixel fill)
{
    Raster raster;
    raster.width = width;
    raster.height = height;
    raster.bits = bits;
    raster.channels = bits == 24 ? 3 : 1;
    raster.pixels.assign(size_t(width) * size_t(height), fill);
    return raster;
}

bool Inside(const Raster &raster, int x, int y) { return x >= 0 && x < raster.width && y >= 0 && y < raster.height; }

Pixel Get(const Raster &raster, int x, int y)
{
    assert(Inside(raster, x, y));
    return raster.pixels[size_t(y) * size_t(raster.width) + size_t(x)];
}

void Set(Raster &raster, int x, int y, Pixel pixel)
{
    assert(Inside(raster, x, y));
    raster.pixels[size_t(y) * size_t(raster.width) + size_t(x)] = pixel;
}

void SetInside(Raster &raster, int x, int y, Pixel pixel)
{
    if (Inside(raster, x, y)) Set(raster, x, y, pixel);
}

Raster Transposed(const Raster &raster)
{
    Raster turned = MakeRaster(raster.height, raster.width, raster.bits, {});
    for (int y = 0; y < raster.height; ++y) {
        for (int x = 0; x < raster.width; ++x) Set(turned, y, x, Get(raster, x, y));
    }
    return turned;
}

//---- To and from a picture's bytes

Raster RasterOfPlane(const uint8_t *bytes, int width, int height, int bits)
{
    Raster raster = MakeRaster(width, height, bits, {});
    for (int y = 0; y < height; ++y) {
        const uint8_t *row = bytes + size_t(y) * size_t(RowStride(bits, width));
        for (int x = 0; x < width; ++x) {
            Pixel pixel = {};
            if (bits == 1) pixel[0] = (row[x / 8] & (128 >> x % 8)) != 0;
            else
                for (int c = 0; c < raster.channels; ++c) pixel[size_t(c)] = row[x * raster.channels + c];
            Set(raster, x, y, pixel);
        }
    }
    return raster;
}

void StorePlane(uint8_t *bytes, const Raster &raster)
{
    for (int y = 0; y < raster.height; ++y) {
        uint8_t *row = bytes + size_t(y) * size_t(RowStride(raster.bits, raster.width));
        for (int x = 0; x < raster.width; ++x) {
            const Pixel pixel = Get(raster, x, y);
            if (raster.bits == 1 && pixel[0] != 0) row[x / 8] = uint8_t(row[x / 8] | (128 >> x % 8));
            else if (raster.bits == 1) row[x / 8] = uint8_t(row[x / 8] & ~(128 >> x % 8));
            else
                for (int c = 0; c < raster.channels; ++c) row[x * raster.channels + c] = uint8_t(pixel[size_t(c)]);
        }
    }
}

Raster RasterOfPixels(const Picture &picture)
{
    return RasterOfPlane(picture.pixels.get(), picture.width, picture.height, picture.bitsPerPixel);
}

Raster RasterOfMask(const Picture &picture)
{
    return RasterOfPlane(picture.mask.get(), picture.width, picture.height, picture.maskBitsPerPixel);
}

void StorePixels(Picture &picture, const Raster &raster) { StorePlane(picture.pixels.get(), raster); }
void StoreMask(Picture &picture, const Raster &raster) { StorePlane(picture.mask.get(), raster); }

//---- Colours

int BrightnessOf(int red, int green, int blue) { return (11 * red + 16 * green + 5 * blue) / 32; }

int BrightnessOf(uint32_t colour)
{
    return BrightnessOf(int(colour & 255), int(colour >> 8 & 255), int(colour >> 16 & 255));
}

int NearestPaletteEntry(const Picture &picture, int red, int green, int blue)
{
    int nearest = 0, least = 1 << 30;
    for (int i = 0; i < picture.paletteEntries; ++i) {
        const int byRed = picture.red[i] - red, byGreen = picture.green[i] - green, byBlue = picture.blue[i] - blue;
        const int distance = byRed * byRed + byGreen * byGreen + byBlue * byBlue;
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

Pixel PixelOfColour(const Picture &picture, uint32_t colour)
{
    const int red = int(colour & 255), green = int(colour >> 8 & 255), blue = int(colour >> 16 & 255);
    if (picture.colourType == PALETTE) return {NearestPaletteEntry(picture, red, green, blue), 0, 0};
    if (picture.bitsPerPixel == 8) return {BrightnessOf(colour), 0, 0};
    if (picture.bitsPerPixel == 1) return {BrightnessOf(colour) > 128, 0, 0};
    return {blue, green, red};
}

Pixel PixelOfFill(const Picture &picture, uint32_t colour)
{
    if (picture.bitsPerPixel != 8) return PixelOfColour(picture, colour);
    return {NearestPaletteEntry(picture, int(colour & 255), int(colour >> 8 & 255), int(colour >> 16 & 255)), 0, 0};
}
