// Pictures to test with: random ones that the same seed makes again, and tiny ones told row by row.

#pragma once

#include "host/documents/picture.h"

#include <iosfwd>
#include <random>
#include <string>
#include <vector>

//---- Random pictures

// All bytes at random, row padding too. A palette has 1 to 256 entries, and in one of three pictures some of its
// colours come twice; indices are below the number of entries.
Picture RandomPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator);
// Smooth gradients with a little noise, as photographs have. A palette is a grey ramp with a tint.
Picture NaturalPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator);
// Few different values, so that neighbouring pixels are often alike.
Picture FewValuesPicture(int32_t colourType, int32_t width, int32_t height, std::mt19937 &generator);
// A mask of 8 or 1 bits, row padding at random. In 8 bits a third of the values is 0 and a third is 255.
void AddRandomMask(Picture &picture, int32_t bitsPerPixel, std::mt19937 &generator);

// One picture out of all kinds. Printed when a test fails, it tells how to make the picture again.
struct PictureCase {
    int32_t colourType;
    int32_t width, height;
    int32_t maskBits;   // 0: no mask
    bool maskInUse;     // handed to the worker
    uint32_t seed;      // of the pixels, the palette and the mask
};
std::ostream &operator<<(std::ostream &out, const PictureCase &picture);
Picture RandomPicture(const PictureCase &picture);

struct PictureSize {
    int32_t width, height;
};
constexpr PictureSize AWKWARD_SIZES[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 5}, {17, 13}, {33, 20}, {64, 48}};
// ONE_BIT, GREY, PALETTE, RGB, each without a mask and with one of 8 or 1 bits, in use or not, at every awkward size.
std::vector<PictureCase> AllPictureCases(uint32_t seed);

//---- Pictures in words

// The rows from the top. Row padding is 0.
typedef std::vector<std::vector<uint32_t>> Values;
typedef std::vector<std::string> BitRows;   // "0110"

Picture Grey(const Values &levels);
Picture Rgb(const Values &colours);                                             // 0x00BBGGRR
Picture Palette(const std::vector<uint32_t> &colours, const Values &indices);   // colours 0x00BBGGRR
Picture Bits(const BitRows &bits);
Picture WithMask(Picture picture, const Values &levels);
Picture WithBitMask(Picture picture, const BitRows &bits);

//---- One pixel

// A grey level, an index, a bit, or a colour 0x00BBGGRR.
uint32_t PixelOf(const Picture &picture, int32_t x, int32_t y);
uint32_t MaskPixelOf(const Picture &picture, int32_t x, int32_t y);
