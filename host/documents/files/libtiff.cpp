// Packing and unpacking of TIFF's strips through libtiff, and the conversion of colours that are not plain ones.
//
// To unpack, the library is shown a file that is not there: a header and a directory of our own with only what the
// strips need, and behind them the real file. So it neither reads what else a file may say nor copies its strips.

#include "host/documents/files/codecs.h"

#include <fcntl.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

static const tmsize_t LARGEST_PART = 64 * 1024 * 1024;   // of what the library asks for at once
static const uint64_t LARGEST_BAND = 48 * 1024 * 1024;   // bytes of rows that are converted at once

// The library's words for its first error; warnings are dropped.
static int KeepProblem(TIFF *, void *text, const char *, const char *format, va_list arguments)
{
    char line[300];
    vsnprintf(line, sizeof line, format, arguments);
    std::string &problem = *static_cast<std::string *>(text);
    if (problem.empty()) problem = line;
    return 1;
}

static int DropWarning(TIFF *, void *, const char *, const char *, va_list) { return 1; }

// What the library takes for a file: `head`, then the source; or what is put.
struct ShownFile {
    Bytes head = {};
    Source *source = nullptr;
    const PutsBytes *puts = nullptr;
    uint64_t position = 0, size = 0;
    bool failed = false;   // putting
    std::string problem = {};
    TIFF *tiff = nullptr;
    ~ShownFile()
    {
        if (!tiff) return;
        TIFFSetMode(tiff, O_RDONLY);   // else a strip that a codec got no memory for would be ended by that codec
        TIFFCleanup(tiff);             // without writing a directory
    }
};

static tmsize_t ShownRead(thandle_t handle, void *bytes, tmsize_t count)
{
    auto *file = static_cast<ShownFile *>(handle);
    size_t done = 0;
    if (file->position < file->head.size()) {
        done = size_t(std::min<uint64_t>(uint64_t(count), file->head.size() - file->position));
        memcpy(bytes, file->head.data() + file->position, done);
    }
    if (done < size_t(count)) {
        done += TakeAt(*file->source, file->position + done - file->head.size(), static_cast<uint8_t *>(bytes) + done,
                       size_t(count) - done);
    }
    file->position += done;
    return tmsize_t(done);
}

// Strips follow each other: nothing that stands already is written again.
static tmsize_t ShownWrite(thandle_t handle, void *bytes, tmsize_t count)
{
    auto *file = static_cast<ShownFile *>(handle);
    const uint64_t dropped =
        std::min<uint64_t>(uint64_t(count), file->head.size() - std::min<uint64_t>(file->head.size(), file->position));
    file->failed =
        file->failed || !(*file->puts)(static_cast<uint8_t *>(bytes) + dropped, size_t(uint64_t(count) - dropped));
    if (file->failed) return -1;
    file->position += uint64_t(count);
    file->size = std::max(file->size, file->position);
    return count;
}

static toff_t ShownSeek(thandle_t handle, toff_t offset, int from)
{
    auto *file = static_cast<ShownFile *>(handle);
    const uint64_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? file->position : file->size;
    file->position = start + offset;
    return file->position > uint64_t(INT64_MAX) ? toff_t(-1) : file->position;
}

static int ShownClose(thandle_t) { return 0; }

static toff_t ShownSize(thandle_t handle) { return static_cast<ShownFile *>(handle)->size; }

static bool Open(ShownFile &file, const char *mode)
{
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    if (!options) return false;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, LARGEST_PART);
    TIFFOpenOptionsSetErrorHandlerExtR(options, KeepProblem, &file.problem);
    TIFFOpenOptionsSetWarningHandlerExtR(options, DropWarning, nullptr);
    file.tiff = TIFFClientOpenExt("picture", mode, &file, ShownRead, ShownWrite, ShownSeek, ShownClose, ShownSize,
                                  nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    return file.tiff != nullptr;
}

static bool Failed(const ShownFile &file, std::string &problem)
{
    problem = file.problem;
    return false;
}

//---- Unpacking

bool UnpacksTiff(const TiffPacking &packing, const TiffShape &shape)
{
    switch (packing.compression) {
    case COMPRESSION_OJPEG:
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24: return false;   // colours of their own, or places all over the file
    case COMPRESSION_JPEG: return shape.bits == 8;
    default: return TIFFIsCODECConfigured(uint16_t(packing.compression));
    }
}

// The directory of the file that is shown. Strips are at their places in the real file, moved on by `headBytes`.
static std::vector<TiffEntry> ShownEntries(const TiffPacking &packing, const TiffShape &shape, const TiffParts &parts,
                                           uint64_t headBytes)
{
    const bool apart = SamplesApart(shape);
    const uint64_t samples = apart ? 1 : shape.samples;
    TiffEntry places = {TIFF_STRIPS, TIFF_WIDE}, counts = {TIFF_STRIP_BYTES, TIFF_WIDE};
    for (const TiffParts::Part &part : parts.parts) {
        places.numbers.push_back(part.at + headBytes);
        counts.numbers.push_back(part.count);
    }
    std::vector<TiffEntry> entries = {places,
                                      counts,
                                      {TIFF_WIDTH, TIFF_LONGS, {parts.width}},
                                      {TIFF_HEIGHT, TIFF_LONGS, {parts.rows}},
                                      {TIFF_STRIP_ROWS, TIFF_LONGS, {parts.rowsEach}},
                                      {TIFF_BITS, TIFF_SHORTS, std::vector<uint64_t>(samples, shape.bits)},
                                      {TIFF_SAMPLES, TIFF_SHORTS, {samples}},
                                      {TIFF_SAMPLE_FORMAT, TIFF_SHORTS, std::vector<uint64_t>(samples, shape.format)},
                                      {TIFF_COMPRESSION, TIFF_SHORTS, {packing.compression}},
                                      {TIFF_FILL_ORDER, TIFF_SHORTS, {packing.fillOrder == 2 ? 2u : 1u}},
                                      {TIFF_PHOTOMETRIC, TIFF_SHORTS, {TIFF_BLACK_IS_ZERO}}};
    if (samples > 1) { entries.push_back({TIFF_EXTRA_SAMPLES, TIFF_SHORTS, std::vector<uint64_t>(samples - 1, 0)}); }
    if (packing.predictor != TIFF_NO_PREDICTION) entries.push_back({TIFF_PREDICTOR, TIFF_SHORTS, {packing.predictor}});
    if (packing.fax3) entries.push_back({TIFF_FAX3_OPTIONS, TIFF_LONGS, {packing.fax3}});
    if (packing.fax4) entries.push_back({TIFF_FAX4_OPTIONS, TIFF_LONGS, {packing.fax4}});
    if (!packing.jpegTables.empty()) {
        entries.push_back({TIFF_JPEG_TABLES, TIFF_PLAIN_BYTES, {}, packing.jpegTables});
    }
    return entries;
}

static void ShowStrips(TiffFile &file, const TiffPacking &packing, const TiffShape &shape, const TiffParts &parts,
                       ShownFile &shown)
{
    const TiffForm form = {file.lowFirst, true};
    const Bytes header = TiffHeader(form, TiffHeader(form, 0).size());
    uint64_t headBytes = 0;   // the head's length does not depend on the numbers in it
    for (int round = 0; round < 2; ++round) {
        shown.head = header;
        AddDirectory(shown.head, form, 0, ShownEntries(packing, shape, parts, headBytes));
        headBytes = shown.head.size();
    }
    shown.source = &file.reading.source;
    shown.size = headBytes + uint64_t(file.reading.source.size);
}

bool UnpackTiff(TiffFile &file, const TiffPacking &packing, const TiffShape &shape, const TiffParts &parts,
                const TakesRow &takesRow, std::string &problem)
{
    ShownFile shown;
    ShowStrips(file, packing, shape, parts, shown);
    if (!Open(shown, "rm")) return Failed(shown, problem);
    const uint64_t bytes = TIFFScanlineSize64(shown.tiff);
    if (bytes < TiffRowBytes(shape, parts.width) || bytes > uint64_t(LARGEST_PART)) return Failed(shown, problem);
    Bytes row(static_cast<size_t>(bytes));
    for (uint32_t y = 0; y < parts.rows; ++y) {
        if (TIFFReadScanline(shown.tiff, row.data(), y, 0) != 1) return Failed(shown, problem);
        takesRow(y, row.data());
    }
    return true;
}

//---- Conversion

// The library's own pixels of a strip or a tile, bottom row first.
static void TakeConverted(const std::vector<uint32_t> &pixels, uint32_t width, uint32_t rows, uint32_t left,
                          uint32_t whole, Bytes &band)
{
    const uint32_t count = std::min(width, whole - left);
    for (uint32_t i = 0; i < rows; ++i) {
        const uint32_t *from = pixels.data() + size_t(rows - 1 - i) * width;
        uint8_t *to = band.data() + (size_t(i) * whole + left) * 3;
        for (uint32_t x = 0; x < count; ++x, to += 3) {
            to[0] = uint8_t(TIFFGetB(from[x]));
            to[1] = uint8_t(TIFFGetG(from[x]));
            to[2] = uint8_t(TIFFGetR(from[x]));
        }
    }
}

// In place of the library's own words, which begin alike.
static const char REFUSAL[] = "Sorry";
static std::string NotConverted(const TiffShape &shape)
{
    return "colours of the kind " + std::to_string(shape.photometric) + " with " + std::to_string(shape.samples) +
           " samples of " + std::to_string(shape.bits) + " bits" +
           (SamplesApart(shape) ? ", stored apart, are not known here" : " are not known here");
}

bool ConvertTiff(TiffFile &file, uint64_t directory, const TiffShape &shape, const TakesRow &takesRow,
                 std::string &problem)
{
    Bytes room;   // which the library reads into, so that it goes after that
    ShownFile shown;
    char words[1024] = {};
    shown.source = &file.reading.source;
    shown.size = uint64_t(file.reading.source.size);
    if (!Open(shown, "rm")) return Failed(shown, problem);
    if (directory != file.first && !TIFFSetSubDirectory(shown.tiff, directory)) return Failed(shown, problem);
    if (!TIFFRGBAImageOK(shown.tiff, words)) {
        problem = NotConverted(shape);
        return false;
    }
    // Where fields come twice the library may have understood another size, and it is what it writes by.
    uint32_t itsWidth = 0, itsHeight = 0;
    TIFFGetField(shown.tiff, TIFFTAG_IMAGEWIDTH, &itsWidth);
    TIFFGetField(shown.tiff, TIFFTAG_IMAGELENGTH, &itsHeight);
    if (itsWidth != shape.width || itsHeight != shape.height) {
        problem = "its size is told in two ways";
        return false;
    }
    TIFFSetField(shown.tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const bool tiled = TIFFIsTiled(shown.tiff);
    uint32_t width = shape.width, rows = shape.height;
    if (tiled) TIFFGetField(shown.tiff, TIFFTAG_TILEWIDTH, &width);
    if (tiled) TIFFGetField(shown.tiff, TIFFTAG_TILELENGTH, &rows);
    else TIFFGetFieldDefaulted(shown.tiff, TIFFTAG_ROWSPERSTRIP, &rows);
    rows = tiled ? rows : std::min(rows, shape.height);
    if (!width || !rows || (uint64_t(width) * 4 + uint64_t(shape.width) * 3) * rows > LARGEST_BAND) {
        problem = "its parts are larger than can be converted";
        return false;
    }
    // A tile that is not packed must fill the library's buffer, which it makes larger than some tiles are itself.
    if (tiled && shape.compression == TIFF_NOT_PACKED) {
        room.resize(size_t(std::clamp<tmsize_t>(TIFFTileSize(shown.tiff), 0, LARGEST_PART)));
        if (!TIFFReadBufferSetup(shown.tiff, room.data(), tmsize_t(room.size()))) return Failed(shown, problem);
    }
    std::vector<uint32_t> pixels(size_t(width) * rows);
    Bytes band(size_t(shape.width) * 3 * rows);
    for (uint64_t top = 0; top < shape.height; top += rows) {
        const uint32_t count = uint32_t(std::min<uint64_t>(rows, shape.height - top));
        for (uint64_t left = 0; left < shape.width; left += width) {
            const int done = tiled ? TIFFReadRGBATileExt(shown.tiff, uint32_t(left), uint32_t(top), pixels.data(), 1)
                                   : TIFFReadRGBAStripExt(shown.tiff, uint32_t(top), pixels.data(), 1);
            if (!done && shown.problem.starts_with(REFUSAL)) shown.problem = NotConverted(shape);
            if (!done) return Failed(shown, problem);
            TakeConverted(pixels, width, tiled ? rows : count, uint32_t(left), shape.width, band);
        }
        for (uint32_t i = 0; i < count; ++i) takesRow(uint32_t(top) + i, band.data() + size_t(shape.width) * 3 * i);
    }
    return true;
}

//---- Packing

// False where the library had no memory for one of them: without a predictor, say, it would pack other samples than the
// file tells.
static bool SetFields(TIFF *tiff, const TiffRows &rows, uint32_t width, uint32_t height, const TiffStrips &strips)
{
    bool done = true;
    const auto set = [tiff, &done](uint32_t tag, auto... values) { done &= TIFFSetField(tiff, tag, values...) == 1; };
    set(TIFFTAG_IMAGEWIDTH, width);
    set(TIFFTAG_IMAGELENGTH, height);
    set(TIFFTAG_BITSPERSAMPLE, rows.bits);
    set(TIFFTAG_SAMPLESPERPIXEL, rows.colours + rows.withAlpha);
    set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_COMPRESSION, strips.compression);
    if (strips.compression == 3 && strips.faxOptions) set(TIFFTAG_GROUP3OPTIONS, strips.faxOptions);
    if (strips.predictor != TIFF_NO_PREDICTION) set(TIFFTAG_PREDICTOR, int(strips.predictor));
    set(TIFFTAG_ROWSPERSTRIP, strips.rowsEach);
    return done;
}

bool PacksTiffRowsAsTold(uint32_t) { return true; }

bool PackTiff(const TiffRows &rows, uint32_t width, uint32_t height, const FillsRow &fillsRow, const PutsBytes &puts,
              TiffStrips &strips, std::string &problem)
{
    const uint64_t rowBytes = (uint64_t(width) * uint32_t(rows.colours + rows.withAlpha) * uint32_t(rows.bits) + 7) / 8;
    if (!TIFFIsCODECConfigured(uint16_t(strips.compression))) strips.compression = TIFF_LZW;
    if (!strips.rowsEach) strips.rowsEach = uint32_t(std::max<uint64_t>(1, 256 * 1024 / rowBytes));
    Bytes row(size_t(width) * 4);
    ShownFile shown;
    shown.head.resize(TiffHeader({}, 0).size());   // the library's own header, which is dropped
    shown.puts = &puts;
    bool done = Open(shown, "wlm") && SetFields(shown.tiff, rows, width, height, strips);
    for (uint32_t y = 0; done && y < height; ++y) {
        fillsRow(y, row.data());
        done = TIFFWriteScanline(shown.tiff, row.data(), y, 0) == 1;
    }
    done = done && TIFFFlushData(shown.tiff) == 1;
    const uint32_t count = done ? TIFFNumberOfStrips(shown.tiff) : 0;
    for (uint32_t i = 0; i < count; ++i) strips.counts.push_back(TIFFGetStrileByteCount(shown.tiff, i));
    if (shown.failed) problem = CANNOT_BE_WRITTEN;
    return done || shown.failed ? done : Failed(shown, problem);
}
