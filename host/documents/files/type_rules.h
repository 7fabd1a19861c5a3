// The rules by which what a file holds becomes a picture and goes back, whatever library reads the file: colour
// types and palettes, depths, masks, and what is told when a format has no place for something.

#pragma once

#include "host/documents/picture.h"

#include <string>
#include <vector>

typedef std::vector<std::string> Notices;

//---- Reading

// Gives a picture its type, its size, planes that are not cleared, and the type's own palette. False, with a line,
// for a size that no picture may have: an edge of 0 or above 1,000,000 pixels, a plane above 2^31 - 1 bytes; for one
// beyond 32,767 pixels an edge or 512 megapixels unless that is allowed; and where there is no memory for it.
bool StartPicture(Picture &picture, int32_t colourType, int64_t width, int64_t height, bool allowHuge,
                  std::string &error);
// Adds an 8-bit mask plane, not cleared. False, with a line, where there is no memory for it.
bool StartMask(Picture &picture, std::string &error);

struct FilePalette {
    int32_t entries = 0;
    uint8_t red[256] = {}, green[256] = {}, blue[256] = {};
};
// Starts a picture from a file of `bits` per pixel with a palette: ONE_BIT when it has 1 bit, black and white (the
// other way round extras.whiteIsZero is set and rows are turned over as they are put), GREY when the palette is the
// whole ramp, else PALETTE. extras.paletteAlpha is set before: a palette that carries alpha stays one.
bool StartPalettePicture(Picture &picture, const FilePalette &palette, int bits, int64_t width, int64_t height,
                         bool allowHuge, std::string &error);
// After the pixels: entries that pixels name without the file having them become black entries, with a notice.
void FinishPalettePicture(Picture &picture, Notices &notices);
// For files that always fill a palette up with black: counts only what pixels name or what has a colour.
void TrimPalette(Picture &picture);

// A row to be filled, its padding cleared.
uint8_t *RowToFill(Picture &picture, int32_t y);
uint8_t *MaskRowToFill(Picture &picture, int32_t y);
const uint8_t *RowAt(const Picture &picture, int32_t y);

// Turns `count` pixels of 1, 2, 4 or 8 bits (most significant first) into a row of a picture's type: ONE_BIT from
// 1 bit, PALETTE as indices, GREY spread to 0..255. With extras.whiteIsZero ONE_BIT and GREY are turned over.
void PutPacked(const Picture &picture, const uint8_t *packed, int bits, int32_t count, uint8_t *row);
// Red and blue change places; `from` and `to` may be the same. 3 or 4 bytes per pixel on the one side.
void SwapRedBlue(const uint8_t *from, uint8_t *to, int32_t count);
void SplitAlpha(const uint8_t *redGreenBlueAlpha, int32_t count, uint8_t *row, uint8_t *mask);
// A 16-bit sample to 8 bits, rounded.
inline uint8_t Narrow16(uint32_t value) { return uint8_t((value * 255u + 32895u) >> 16); }
// Colours that were multiplied by their alpha, divided by it again.
void Unmultiply(uint8_t *row, const uint8_t *mask, int32_t count, int channels);
// Cyan, magenta, yellow, black (0 no ink, 255 full ink) to a 24-bit row.
void PutInks(const uint8_t *inks, int32_t count, int inksPerPixel, uint8_t *row);

//---- Writing

// 1, 8 or 24: PALETTE goes back to 1 bit when it came from there and only entries 0 and 1 are in use.
int BitsForSaving(const Picture &picture);
// Of PALETTE and GREY: the depth of the picture's own file, 1, 2, 4 or 8, or the next that has room for its indices or
// greys.
int FewestBits(const Picture &picture);
// Palette entries to write: those of the picture, and as many as its pixels name.
int32_t EntriesForSaving(const Picture &picture);
// A row in the depth of BitsForSaving, or in another that has room for its indices or greys, for files whose bit 0 is the palette's (or black): the row itself, or `room`.
const uint8_t *PackedRow(const Picture &picture, int32_t y, int bits, std::vector<uint8_t> &room);
// A row of any type as red, green, blue.
void ColourRow(const Picture &picture, int32_t y, uint8_t *redGreenBlue);
// A row of GREY or ONE_BIT as 8-bit greys.
void GreyRow(const Picture &picture, int32_t y, uint8_t *greys);
// A row of the mask as 8 bits.
void AlphaRow(const Picture &picture, int32_t y, uint8_t *alpha);
// Bytes turned over: black and white change places.
void TurnOver(uint8_t *bytes, size_t count);

const char *NameOfType(int32_t colourType);
// What a format has a place for.
enum Kept {
    KEEPS_PROFILE = 1,
    KEEPS_EXIF = 2,
    KEEPS_RESOLUTION = 4,
    KEEPS_PALETTE_ALPHA = 8,
    KEEPS_MASK = 16,
    KEEPS_XMP = 32,
    KEEPS_IPTC = 64,
    KEEPS_COMMENT = 128,
    KEEPS_TEXTS = 256,   // of any name
    KEEPS_COLOUR_CHUNKS = 512,
    KEEPS_BACKGROUND = 1024,
    KEEPS_PLACE = 2048,
    KEEPS_ASPECT = 4096
};
// One line that names all the picture has and the format does not keep.
void TellLeftOut(const Picture &picture, const char *format, unsigned kept, Notices &notices);
