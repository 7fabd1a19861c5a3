// A plane as the plain versions see it: a grid of pixels that are read and written one by one, every depth alike.

#pragma once

#include "host/documents/picture.h"

#include <array>
#include <vector>

// A level, an index or a bit comes first and alone; a 24-bit pixel is blue, green, red.
typedef std::array<int, 3> Pixel;

struct Raster {
    int width = 0, height = 0;
    int channels = 1;            // 3 for 24 bits, else 1
    int bits = 8;                // per pixel: 1, 8 or 24
    std::vector<Pixel> pixels;   // row by row from the top
};

Raster MakeRaster(int width, int height, int bits, Pixel fill);
// Rows of the plane are padded to 32 bits, as a picture's are.
Raster RasterOfPlane(const uint8_t *bytes, int width, int height, int bits);
void StorePlane(uint8_t *bytes, const Raster &raster);
Raster RasterOfPixels(const Picture &picture);
Raster RasterOfMask(const Picture &picture);
// Row padding of the picture stays as it is.
void StorePixels(Picture &picture, const Raster &raster);
void StoreMask(Picture &picture, const Raster &raster);

bool Inside(const Raster &raster, int x, int y);
Pixel Get(const Raster &raster, int x, int y);
void Set(Raster &raster, int x, int y, Pixel pixel);
// Does nothing outside the raster.
void SetInside(Raster &raster, int x, int y, Pixel pixel);

// Rows become columns: pixel (x, y) moves to (y, x).
Raster Transposed(const Raster &raster);

//---- Colours

int BrightnessOf(int red, int green, int blue);
int BrightnessOf(uint32_t colour);   // 0x00BBGGRR
// What a colour becomes in a picture: its three bytes, the nearest palette entry, its brightness, or a bit.
Pixel PixelOfColour(const Picture &picture, uint32_t colour);
// The same, but a grey picture, too, takes the nearest entry of its palette.
Pixel PixelOfFill(const Picture &picture, uint32_t colour);
int NearestPaletteEntry(const Picture &picture, int red, int green, int blue);
