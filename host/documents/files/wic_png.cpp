// Packing and unpacking of PNG's pixels through the Windows Imaging Component, interlaced ones too. It is shown samples
// rather than colours wherever the two have the same bytes (a palette's indices as greys), so that depths and palettes
// stay what they are.

#include "host/documents/files/wic.h"

#include <cstring>

static const uint8_t FILTER_UP = 3;   // of the component's filters, one that has the same bytes for pixels of any size
static const size_t PART_BYTES = 64 * 1024;

//---- Unpacking

static WicPixels PixelsOf(const PngHeader &header)
{
    const bool wide = header.bits == 16;
    if (header.colours & PNG_HAS_ALPHA) return wide ? WicPixels::RGBA64 : WicPixels::BGRA32;
    if (header.colours == PNG_RGB) return wide ? WicPixels::RGB48 : WicPixels::BGR24;
    switch (header.bits) {
    case 1: return WicPixels::PACKED1;
    case 2: return WicPixels::PACKED2;
    case 4: return WicPixels::PACKED4;
    case 8: return WicPixels::PACKED8;
    default: return WicPixels::GREY16;
    }
}

// A file of header and pixels only. False when the pixels are not complete.
static bool BareFile(PngFile &file, Bytes &bare)
{
    PngHeader shown = file.header;
    if (shown.colours == PNG_PALETTE) shown.colours = PNG_GREY;
    bare.assign(PNG_SIGNATURE, PNG_SIGNATURE + sizeof PNG_SIGNATURE);
    AddChunk(bare, "IHDR", PngHeaderBytes(shown));
    Bytes part(PART_BYTES);
    while (const size_t count = TakePngData(file, part.data(), part.size()))
        AddChunk(bare, "IDAT", {part.data(), count});
    AddChunk(bare, "IEND", {});
    return file.state == PngFile::SOUND;
}

// Grey with alpha comes as colours that have their level in all three.
static void DropTwoOfFour(const uint8_t *from, uint32_t count, size_t bytes, uint8_t *to)
{
    for (uint32_t x = 0; x < count; ++x, from += 4 * bytes, to += 2 * bytes) {
        memcpy(to, from, bytes);
        memcpy(to + bytes, from + 3 * bytes, bytes);
    }
}

bool UnpackPng(PngFile &file, const TakesPngRow &takesRow, std::string &problem)
{
    Bytes bare, greys;
    if (!BareFile(file, bare)) return false;
    const PngHeader &header = file.header;
    const WicPicture picture = {WicContainer::PNG, PixelsOf(header), header.width, header.height};
    const size_t sampleBytes = header.bits == 16 ? 2 : 1;
    if (header.colours == PNG_GREY_ALPHA) greys.resize(size_t(header.width) * 2 * sampleBytes);
    const auto takes = [&](uint32_t y, const uint8_t *row) {
        if (!greys.empty()) DropTwoOfFour(row, header.width, sampleBytes, greys.data());
        takesRow(y, 0, 1, greys.empty() ? row : greys.data());
    };
    return WicUnpack(picture, bare, takes, problem);
}

//---- Packing

// The component's file holds the pixels in chunks that fit any file.
static bool PutPixels(const Bytes &packed, const PutsBytes &puts, std::string &problem)
{
    bool any = false;
    size_t at = sizeof PNG_SIGNATURE;
    while (packed.size() - at >= 12) {
        const uint8_t *chunk = packed.data() + at;
        const size_t bytes = size_t(High32(chunk)) + 12;
        if (bytes > packed.size() - at) break;
        const bool pixels = memcmp(chunk + 4, "IDAT", 4) == 0;
        if (pixels && !puts(chunk, bytes)) {
            problem = CANNOT_BE_WRITTEN;
            return false;
        }
        any = any || pixels;
        at += bytes;
    }
    if (!any) problem = "no pixels came";
    return any;
}

const bool PACKS_PNG_INTERLACED = false;
const bool PACKS_PNG_AS_TOLD = false;

bool PackPng(const PngHeader &header, int, const FillsRow &fillsRow, const PutsBytes &puts, std::string &problem)
{
    WicPicture picture = {WicContainer::PNG, PixelsOf(header), header.width, header.height};
    std::vector<WicOption> options;
    if (header.colours == PNG_GREY_ALPHA) {
        // Greys and mask in turn, as a grey picture of twice the width.
        picture.pixels = WicPixels::PACKED8;
        picture.width *= 2;
        options.push_back({L"FilterOption", false, 0, FILTER_UP});
    }
    Bytes packed;
    return WicPack(picture, options, fillsRow, packed, problem) && PutPixels(packed, puts, problem);
}
