// The Windows Imaging Component, as far as it is used here: it packs and unpacks pixels, for wic_png.cpp, wic_jpeg.cpp
// and wic_tiff.cpp. It is asked for nothing else that stands in a file: it leaves out some of it, fills up palettes,
// answers 96 dots per inch where a file says nothing, and turns what it has no pixel format for (grey with a mask) into
// something else.

#pragma once

#include "host/documents/files/codecs.h"

enum class WicContainer { PNG, TIFF, JPEG };

// How a row's pixels lie in memory. PACKED kinds are samples of that many bits, most significant first, whatever they
// mean; 16-bit samples have their low byte first.
enum class WicPixels { PACKED1, PACKED2, PACKED4, PACKED8, GREY16, BGR24, BGRA32, RGB48, RGBA64, CMYK32 };
int BitsOf(WicPixels pixels);

struct WicPicture {
    WicContainer container;
    WicPixels pixels;
    uint32_t width = 0, height = 0;
};
// Unpacks the first picture of a file, row by row from the top. A picture of another size than promised is an error,
// and so is one whose pixels cannot be had in the given kind. `problem` is a few words without the format's name.
bool WicUnpack(const WicPicture &picture, const Bytes &file, const TakesRow &takesRow, std::string &problem);

struct WicOption {
    const wchar_t *name;
    bool isNumber;   // a fraction; else a choice
    float number;
    uint8_t choice;
};
// Packs a picture into a file. Options that the component does not know are left out.
bool WicPack(const WicPicture &picture, const std::vector<WicOption> &options, const FillsRow &fillsRow, Bytes &file,
             std::string &problem);
