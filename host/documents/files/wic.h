// The Windows Imaging Component, as far as it is used here: it packs and unpacks pixels. What stands around them in a
// file (sizes, palettes, masks, resolution, profiles) is read and written by wic_png.cpp, wic_tiff.cpp and
// wic_jpeg.cpp themselves: the component leaves out some of it, fills up palettes, answers 96 dots per inch where a
// file says nothing, and turns what it has no pixel format for (grey with a mask) into something else.

#pragma once

#include "host/documents/files/formats.h"

#include <functional>

enum class WicContainer { PNG, TIFF, JPEG };

// How a row's pixels lie in memory. PACKED kinds are samples of that many bits, most significant first, whatever they
// mean; 16-bit samples have their low byte first.
enum class WicPixels { PACKED1, PACKED2, PACKED4, PACKED8, GREY16, BGR24, BGRA32, RGB48, RGBA64, CMYK32 };
int BitsOf(WicPixels pixels);

typedef std::vector<uint8_t> FileBytes;

// All of a source. False, with a line, when it cannot be read.
bool TakeAll(Reading &reading, FileBytes &bytes);
bool PutAll(Writing &writing, const FileBytes &bytes);

struct WicPicture {
    WicContainer container;
    WicPixels pixels;
    uint32_t width = 0, height = 0;
};
typedef std::function<void(uint32_t y, const uint8_t *row)> TakesRow;
// Unpacks the first picture of a file, row by row from the top. A picture of another size than promised is an error,
// and so is one whose pixels cannot be had in the given kind. `problem` is a few words without the format's name.
bool WicUnpack(const WicPicture &picture, const FileBytes &file, const TakesRow &takesRow, std::string &problem);

typedef std::function<void(uint32_t y, uint8_t *row)> FillsRow;
struct WicOption {
    const wchar_t *name;
    bool isNumber;   // a fraction; else a choice
    float number;
    uint8_t choice;
};
// Packs a picture into a file. Options that the component does not know are left out.
bool WicPack(const WicPicture &picture, const std::vector<WicOption> &options, const FillsRow &fillsRow,
             FileBytes &file, std::string &problem);
// The colour profile of a file that the component can read; empty when there is none.
FileBytes WicProfile(WicContainer container, const FileBytes &file);

// Numbers in files.
inline uint32_t High16(const uint8_t *bytes) { return uint32_t(bytes[0] << 8 | bytes[1]); }
inline uint32_t High32(const uint8_t *bytes) { return High16(bytes) << 16 | High16(bytes + 2); }
void AddHigh16(FileBytes &bytes, uint32_t value);
void AddHigh32(FileBytes &bytes, uint32_t value);
inline void AddBytes(FileBytes &bytes, const void *from, size_t count)
{
    const auto *first = static_cast<const uint8_t *>(from);
    bytes.insert(bytes.end(), first, first + count);
}
