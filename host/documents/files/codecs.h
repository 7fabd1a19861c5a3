// What packs and unpacks pixels: libpng, libjpeg and libtiff (libpng.cpp, libjpeg.cpp, libtiff.cpp), on Windows the
// system's Imaging Component (wic_png.cpp, wic_jpeg.cpp, wic_tiff.cpp). Everything else in a file (sizes, palettes,
// masks, resolution, metadata) is read and written by png.cpp, jpeg.cpp and tiff.cpp, the same on both systems; a
// codec is shown as little of a file as it needs.
//
// A routine returns false with a few words in `problem`, without the format's name. What it is handed to call may not
// throw: the libraries call it from C.

#pragma once

#include "host/documents/files/jpeg_segments.h"
#include "host/documents/files/png_chunks.h"
#include "host/documents/files/tiff_fields.h"
#include "host/documents/files/tiff_samples.h"

#include <functional>

typedef std::function<void(uint32_t y, const uint8_t *row)> TakesRow;
typedef std::function<void(uint32_t y, uint8_t *row)> FillsRow;
// False once that has failed.
typedef std::function<bool(const uint8_t *bytes, size_t count)> PutsBytes;

//---- PNG. Samples as they stand in the file, but that 8-bit colours have blue first and 16-bit samples the low byte.
// A palette's indices are shown as greys.

// The pixels first, first + step, ... of a row. Those of an interlaced file may come in several parts.
typedef std::function<void(uint32_t y, uint32_t first, uint32_t step, const uint8_t *samples)> TakesPngRow;
// Takes the packed pixels from the file, which says in `state` when they are not complete.
bool UnpackPng(PngFile &file, const TakesPngRow &takesRow, std::string &problem);
extern const bool PACKS_PNG_INTERLACED;   // whether PackPng can
extern const bool PACKS_PNG_AS_TOLD;      // whether PackPng heeds the compression
constexpr int USUAL_COMPRESSION = 2;      // a third of zlib's own usual time for a seventh more bytes
// Puts whole chunks of packed pixels, of at most 8 bits per sample. Compression is zlib's level, 1..9.
bool PackPng(const PngHeader &header, int compression, const FillsRow &fillsRow, const PutsBytes &puts,
             std::string &problem);

//---- JPEG. Grey, blue-green-red, or inks (0 no ink, 255 full ink).

// Takes the file's bytes through TakeJpegData, whose words come first when it fails. `damaged` when parts had to be
// made up.
bool UnpackJpeg(JpegFile &file, const TakesRow &takesRow, bool &damaged, std::string &problem);

struct JpegForm {
    uint32_t width = 0, height = 0;
    int channels = 0;                                             // 1 or 3
    int quality = 90;                                             // 1..100, where there are no tables
    const std::vector<std::vector<uint16_t>> *tables = nullptr;   // as in FileShape
    uint8_t tableOf[3] = {};                                      // for each channel
    int across = 1, down = 1;                                     // samples of brightness per sample of colour
    bool progressive = false;
    uint32_t restartInterval = 0;
};
// Whether PackJpeg heeds what is below the quality; one that does not takes the quality, and the nearest of both.
extern const bool PACKS_JPEG_AS_TOLD;
// Puts a file without its start mark and without application segments.
bool PackJpeg(const JpegForm &form, const FillsRow &fillsRow, const PutsBytes &puts, std::string &problem);

//---- TIFF. Samples as they are, 16 bits and more in this machine's order of bytes, differences added up.

// How the samples of a file are packed.
struct TiffPacking {
    uint32_t compression = TIFF_NOT_PACKED, predictor = TIFF_NO_PREDICTION, fillOrder = 1;
    uint32_t fax3 = 0, fax4 = 0;
    Bytes jpegTables = {};
};
// Strips below each other, whole tiles among them.
struct TiffParts {
    uint32_t width = 0, rows = 0;   // pixels; of all strips together
    uint32_t rowsEach = 0;          // of a strip; the last may have fewer
    struct Part {
        uint64_t at, count;   // in the file
    };
    std::vector<Part> parts = {};
};
// Whether UnpackTiff knows this way of packing for such samples. What it does not know is left to ConvertTiff.
bool UnpacksTiff(const TiffPacking &packing, const TiffShape &shape);
// Where samples stand apart, rows are of one of them.
bool UnpackTiff(TiffFile &file, const TiffPacking &packing, const TiffShape &shape, const TiffParts &parts,
                const TakesRow &takesRow, std::string &problem);
// The picture whose directory is at a place, as 24-bit rows, whatever its colours are.
bool ConvertTiff(TiffFile &file, uint64_t directory, const TiffShape &shape, const TakesRow &takesRow,
                 std::string &problem);

// How strips are to be packed; then how they were, and how many bytes each has, in the order in which they were put.
struct TiffStrips {
    uint32_t compression = TIFF_LZW, predictor = TIFF_NO_PREDICTION, faxOptions = 0;
    uint32_t rowsEach = 0;   // 0: as many as are usual
    std::vector<uint64_t> counts = {};
};
// Whether PackTiff can make strips of as many rows as it is told when they are packed so.
bool PacksTiffRowsAsTold(uint32_t compression);
// Puts strips, one after the other, packed as wanted where the codec can, else with LZW or not at all. Packs no JPEG.
bool PackTiff(const TiffRows &rows, uint32_t width, uint32_t height, const FillsRow &fillsRow, const PutsBytes &puts,
              TiffStrips &strips, std::string &problem);
