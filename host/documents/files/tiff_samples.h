// What the samples of a TIFF file mean, whatever library unpacks them: 1-bit, grey, palette, RGB and inks of any usual
// depth become rows of a picture, the first sample beyond the colours its mask. And back, for writing.

#pragma once

#include "host/documents/files/formats.h"
#include "host/documents/files/inks.h"

// The file's own numbers.
enum {
    TIFF_WHITE_IS_ZERO = 0,
    TIFF_BLACK_IS_ZERO = 1,
    TIFF_RGB = 2,
    TIFF_PALETTE = 3,
    TIFF_MASK = 4,
    TIFF_INKS = 5,
    TIFF_YCBCR = 6
};
enum { SAMPLES_UNSIGNED = 1, SAMPLES_SIGNED = 2, SAMPLES_FLOAT = 3, SAMPLES_UNTYPED = 4 };
enum { SAMPLES_TOGETHER = 1, SAMPLES_APART = 2 };
enum {
    TIFF_NOT_PACKED = 1,
    TIFF_FAX2 = 2,
    TIFF_FAX4 = 4,
    TIFF_LZW = 5,
    TIFF_OLD_JPEG = 6,
    TIFF_JPEG = 7,
    TIFF_DEFLATE = 8,
    TIFF_OLD_DEFLATE = 32946,
    TIFF_RUNS = 32773
};
enum { TIFF_NO_PREDICTION = 1, TIFF_FROM_THE_LEFT = 2, TIFF_FROM_THE_LEFT_FLOAT = 3 };
enum { TIFF_MULTIPLIED_ALPHA = 1, TIFF_PLAIN_ALPHA = 2 };

//---- Reading

struct TiffShape {
    Reading &reading;
    uint32_t width = 0, height = 0;
    uint16_t bits = 1, samples = 1, photometric = 0, compression = 0;
    uint16_t format = SAMPLES_UNSIGNED, planes = SAMPLES_TOGETHER;
    int colours = 0;                   // samples that are colours: 1, 3, or 4 for inks; 0 for what is not known here
    bool multiplied = false;           // the colours have been multiplied by the alpha
    std::vector<uint8_t> bytes = {};   // samples as bytes
    Bytes profile = {};                // that tells what inks are; to be set before the picture is started
    InkConversion inks = {};           // through it, where it can be had
};

inline bool IsPalette(const TiffShape &shape) { return shape.photometric == TIFF_PALETTE; }
inline bool SamplesApart(const TiffShape &shape) { return shape.planes == SAMPLES_APART && shape.samples > 1; }
// Samples that are colours, of those kinds that need no conversion of their own.
int CountTiffColours(const TiffShape &shape);
bool KnowsSamples(const TiffShape &shape);
// Bytes of a row of so many pixels; of one sample where samples stand apart.
uint64_t TiffRowBytes(const TiffShape &shape, uint64_t pixels);
// From the three colour maps; null where the file has none. False, with a line, when that makes no palette.
bool PaletteOfMaps(const TiffShape &shape, const uint16_t *const *maps, FilePalette &palette);
// Starts the picture and its mask, and tells what is changed on the way in.
bool StartTiffPicture(TiffShape &shape, const FilePalette &palette, bool alphaMultiplied);
// A part of row y that begins at column x, as it stands in the file: samples of 16 bits and more in this machine's
// order of bytes. Where samples stand apart, `sample` tells which one these are.
void PutTiffPart(TiffShape &shape, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw, int sample);
// After the last part.
void FinishTiffPicture(TiffShape &shape);

//---- Writing

// The shape of a file's rows: bits per sample, colours, and whether the mask follows them.
struct TiffRows {
    int bits = 8, colours = 1;
    bool withAlpha = false;
};

TiffRows TiffRowsFor(const Picture &picture);
int TiffPhotometricFor(const Picture &picture);
// The palette as three maps of 1 << bits colours each.
void FillColourMaps(const Picture &picture, int bits, uint16_t (&maps)[3][256]);
// `row` has room for four bytes per pixel, `alpha` for one.
void FillTiffRow(const Picture &picture, int32_t y, const TiffRows &rows, uint8_t *row, std::vector<uint8_t> &alpha);
