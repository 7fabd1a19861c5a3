// TIFF, through libtiff: 1-bit, grey, palette and RGB with strips or tiles, samples together or apart; the first
// sample beyond the colours is the mask. Other depths and inks are brought to 8-bit grey or RGB here, and what is
// rarer still (YCbCr, Lab, logarithmic) by the library. Files are written with LZW.
//
// A TIFF file cannot be read front to back, so standard input is taken into memory first.

#include "host/documents/files/tiff_samples.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>

static const tmsize_t LARGEST_PART = 1 << 30;   // of what the library asks for at once

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

struct TiffFile {
    Source *source = nullptr;           // reading, from a file that can be sought in
    std::vector<uint8_t> memory = {};   // reading, from one that cannot
    Sink *sink = nullptr;               // writing
    uint64_t position = 0, size = 0;
    bool ended = false;   // something was looked for behind the file's end
    std::string problem = {};
    TIFF *tiff = nullptr;
    ~TiffFile()
    {
        if (tiff) TIFFClose(tiff);
    }
};

static tmsize_t TiffRead(thandle_t handle, void *bytes, tmsize_t count)
{
    auto *file = static_cast<TiffFile *>(handle);
    if (count <= 0) return 0;
    file->ended = file->ended || file->position > file->size || uint64_t(count) > file->size - file->position;
    if (file->position >= file->size) return 0;
    size_t part = size_t(std::min<uint64_t>(uint64_t(count), file->size - file->position));
    if (file->source) part = fread(bytes, 1, part, file->source->file);
    else if (!file->sink) memcpy(bytes, file->memory.data() + file->position, part);
    else part = 0;
    file->position += part;
    return tmsize_t(part);
}

static tmsize_t TiffWrite(thandle_t handle, void *bytes, tmsize_t count)
{
    auto *file = static_cast<TiffFile *>(handle);
    if (!file->sink || count < 0 || !Put(*file->sink, bytes, size_t(count))) return -1;
    file->position += uint64_t(count);
    file->size = std::max(file->size, file->position);
    return count;
}

static toff_t TiffSeek(thandle_t handle, toff_t offset, int from)
{
    auto *file = static_cast<TiffFile *>(handle);
    const uint64_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? file->position : file->size;
    file->position = start + offset;
    if (file->position > uint64_t(INT64_MAX)) return toff_t(-1);
    if (file->source && fseek(file->source->file, long(file->position), SEEK_SET) != 0) return toff_t(-1);
    if (file->sink && !SeekSink(*file->sink, file->position)) return toff_t(-1);
    return file->position;
}

static int TiffClose(thandle_t) { return 0; }

static toff_t TiffSize(thandle_t handle) { return static_cast<TiffFile *>(handle)->size; }

static bool OpenTiff(TiffFile &file, const char *mode)
{
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    if (!options) return false;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, LARGEST_PART);
    TIFFOpenOptionsSetErrorHandlerExtR(options, KeepProblem, &file.problem);
    TIFFOpenOptionsSetWarningHandlerExtR(options, DropWarning, nullptr);
    file.tiff = TIFFClientOpenExt("picture", mode, &file, TiffRead, TiffWrite, TiffSeek, TiffClose, TiffSize, nullptr,
                                  nullptr, options);
    TIFFOpenOptionsFree(options);
    return file.tiff != nullptr;
}

//---- Reading: what the file holds

struct TiffReader {
    Reading &reading;
    TiffShape shape = {reading};
    TiffFile file = {};
    TIFF *tiff = nullptr;
    std::vector<uint8_t> raw = {};   // a row or tile of the file
};

static bool FailTiff(TiffReader &reader)
{
    const std::string &problem = reader.file.problem;
    return Fail(reader.reading.error, "damaged or unknown TIFF data" + (problem.empty() ? "" : " (" + problem + ")"));
}

static bool FailRow(TiffReader &reader, uint32_t y)
{
    FailShort(reader.reading.error, reader.shape.height, y);
    if (!reader.file.problem.empty()) reader.reading.error += " (" + reader.file.problem + ")";
    return false;
}

static bool OpenForReading(TiffReader &reader)
{
    Source &source = reader.reading.source;
    if (source.file && source.size >= 0) {
        reader.file.source = &source;
        reader.file.size = uint64_t(source.size);
        if (fseek(source.file, 0, SEEK_SET) != 0) return FailTiff(reader);
    } else {
        const uint8_t *part = nullptr;
        while (const size_t count = TakeBuffer(source, part)) {
            reader.file.memory.insert(reader.file.memory.end(), part, part + count);
        }
        reader.file.size = reader.file.memory.size();
    }
    if (!OpenTiff(reader.file, "rm")) return FailTiff(reader);
    reader.tiff = reader.file.tiff;
    return true;
}

// JPEG brings its own way from YCbCr to RGB.
static int CountColours(TiffReader &reader)
{
    const TiffShape &shape = reader.shape;
    if (shape.photometric != PHOTOMETRIC_YCBCR) return CountTiffColours(shape);
    if (shape.compression != COMPRESSION_JPEG || SamplesApart(shape) || shape.samples != 3) return 0;
    return TIFFSetField(reader.tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) ? 3 : 0;
}

static bool TakeFields(TiffReader &reader)
{
    TIFF *tiff = reader.tiff;
    TiffShape &shape = reader.shape;
    if (!TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &shape.width) ||
        !TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &shape.height)) {
        return Fail(reader.reading.error, "the file lacks a width or a height");
    }
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &shape.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &shape.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &shape.format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &shape.planes);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &shape.compression);
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &shape.photometric)) {
        shape.photometric = shape.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    shape.colours = CountColours(reader);
    if (KnowsSamples(shape)) return true;
    return Fail(reader.reading.error, std::to_string(shape.bits) + " bits per sample of this kind are not known here");
}

static bool TakePalette(TiffReader &reader, FilePalette &palette)
{
    uint16_t *maps[3] = {};
    const bool found =
        reader.shape.bits <= 8 && TIFFGetField(reader.tiff, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]);
    return PaletteOfMaps(reader.shape, found ? maps : nullptr, palette);
}

static bool StartReading(TiffReader &reader)
{
    TiffShape &shape = reader.shape;
    FilePalette palette;
    if (IsPalette(shape) && !TakePalette(reader, palette)) return false;
    uint16_t count = 0, *kinds = nullptr;
    const bool known = TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) && count > 0;
    return StartTiffPicture(shape, palette, known && kinds[0] == EXTRASAMPLE_ASSOCALPHA);
}

//---- Reading: strips, tiles, and what the library converts

static int SamplesToRead(const TiffReader &reader)
{
    return SamplesApart(reader.shape) ? std::min<int>(reader.shape.samples, reader.shape.colours + 1) : 1;
}

static bool ReadStrips(TiffReader &reader)
{
    const uint64_t bytes = TIFFScanlineSize64(reader.tiff), needed = TiffRowBytes(reader.shape, reader.shape.width);
    if (bytes < needed || bytes > uint64_t(LARGEST_PART)) return FailTiff(reader);
    reader.raw.resize(size_t(bytes));
    for (int sample = 0; sample < SamplesToRead(reader); ++sample) {
        for (uint32_t y = 0; y < reader.shape.height; ++y) {
            if (TIFFReadScanline(reader.tiff, reader.raw.data(), y, uint16_t(sample)) != 1) return FailRow(reader, y);
            PutTiffPart(reader.shape, y, 0, int32_t(reader.shape.width), reader.raw.data(), sample);
        }
    }
    return true;
}

static bool ReadTile(TiffReader &reader, uint32_t left, uint32_t top, uint32_t tileWidth, uint32_t tileHeight,
                     int sample)
{
    if (TIFFReadTile(reader.tiff, reader.raw.data(), left, top, 0, uint16_t(sample)) < 0) return FailRow(reader, top);
    const size_t rowBytes = size_t(TIFFTileRowSize64(reader.tiff));
    const int32_t count = int32_t(std::min(tileWidth, reader.shape.width - left));
    for (uint32_t i = 0; i < std::min(tileHeight, reader.shape.height - top); ++i) {
        PutTiffPart(reader.shape, top + i, left, count, reader.raw.data() + rowBytes * i, sample);
    }
    return true;
}

static bool ReadTiles(TiffReader &reader)
{
    uint32_t tileWidth = 0, tileHeight = 0;
    TIFFGetField(reader.tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(reader.tiff, TIFFTAG_TILELENGTH, &tileHeight);
    const uint64_t rowBytes = TIFFTileRowSize64(reader.tiff), bytes = TIFFTileSize64(reader.tiff);
    if (tileWidth == 0 || tileHeight == 0 || tileWidth % 8 || rowBytes < TiffRowBytes(reader.shape, tileWidth) ||
        bytes > uint64_t(LARGEST_PART) || bytes / tileHeight < rowBytes) {
        return FailTiff(reader);
    }
    reader.raw.resize(size_t(bytes));
    for (int sample = 0; sample < SamplesToRead(reader); ++sample) {
        for (uint64_t top = 0; top < reader.shape.height; top += tileHeight) {
            for (uint64_t left = 0; left < reader.shape.width; left += tileWidth) {
                if (!ReadTile(reader, uint32_t(left), uint32_t(top), tileWidth, tileHeight, sample)) return false;
            }
        }
    }
    return true;
}

// A part of a 24-bit row. Its first part clears the padding.
static uint8_t *PlaceAt(Picture &picture, uint32_t y, uint32_t x)
{
    uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(24, picture.width)) * ptrdiff_t(y);
    return x == 0 ? RowToFill(picture, int32_t(y)) : row + 3 * size_t(x);
}

// The library's own pixels, bottom row first.
static void PutConverted(TiffReader &reader, const std::vector<uint32_t> &pixels, uint32_t top, uint32_t left,
                         uint32_t partWidth, uint32_t partHeight)
{
    const uint32_t rows = std::min(partHeight, reader.shape.height - top);
    const uint32_t count = std::min(partWidth, reader.shape.width - left);
    const bool strips = !TIFFIsTiled(reader.tiff);
    for (uint32_t i = 0; i < rows; ++i) {
        const uint32_t *from = pixels.data() + size_t(strips ? rows - 1 - i : partHeight - 1 - i) * partWidth;
        uint8_t *row = PlaceAt(reader.reading.picture, top + i, left);
        for (uint32_t x = 0; x < count; ++x) {
            row[3 * x] = uint8_t(TIFFGetB(from[x]));
            row[3 * x + 1] = uint8_t(TIFFGetG(from[x]));
            row[3 * x + 2] = uint8_t(TIFFGetR(from[x]));
        }
    }
}

static bool ReadConvertedParts(TiffReader &reader, uint32_t partWidth, uint32_t partHeight)
{
    const bool tiled = TIFFIsTiled(reader.tiff);
    if (partWidth == 0 || partHeight == 0 || uint64_t(partWidth) * partHeight > uint64_t(LARGEST_PART) / 4) {
        return FailTiff(reader);
    }
    std::vector<uint32_t> pixels(size_t(partWidth) * partHeight);
    for (uint64_t top = 0; top < reader.shape.height; top += partHeight) {
        for (uint64_t left = 0; left < reader.shape.width; left += partWidth) {
            const int done = tiled ? TIFFReadRGBATileExt(reader.tiff, uint32_t(left), uint32_t(top), pixels.data(), 1)
                                   : TIFFReadRGBAStripExt(reader.tiff, uint32_t(top), pixels.data(), 1);
            if (!done) return FailRow(reader, uint32_t(top));
            PutConverted(reader, pixels, uint32_t(top), uint32_t(left), partWidth, partHeight);
        }
    }
    return true;
}

static bool ReadConverted(TiffReader &reader)
{
    char words[1024] = {};
    if (!TIFFRGBAImageOK(reader.tiff, words)) {
        reader.file.problem = words;
        return FailTiff(reader);
    }
    const TiffShape &shape = reader.shape;
    if (!StartPicture(reader.reading.picture, RGB, shape.width, shape.height, reader.reading.error)) return false;
    reader.reading.notices.push_back("the file's colours are turned into 8-bit RGB");
    TIFFSetField(reader.tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    uint32_t partWidth = reader.shape.width, partHeight = reader.shape.height;
    if (TIFFIsTiled(reader.tiff)) {
        TIFFGetField(reader.tiff, TIFFTAG_TILEWIDTH, &partWidth);
        TIFFGetField(reader.tiff, TIFFTAG_TILELENGTH, &partHeight);
    } else {
        TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_ROWSPERSTRIP, &partHeight);
        partHeight = std::min(partHeight, reader.shape.height);
    }
    return ReadConvertedParts(reader, partWidth, partHeight);
}

//---- Reading: the whole

static void TakeResolution(TiffReader &reader)
{
    float x = 0, y = 0;
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    TIFFGetField(reader.tiff, TIFFTAG_XRESOLUTION, &x);
    TIFFGetField(reader.tiff, TIFFTAG_YRESOLUTION, &y);
    if (unit == RESUNIT_NONE || !(x > 0 && y > 0 && x < 1e9 && y < 1e9)) return;
    const double perInch = unit == RESUNIT_CENTIMETER ? 2.54 : 1.0;
    reader.reading.picture.extras.dotsPerInchX = double(x) * perInch;
    reader.reading.picture.extras.dotsPerInchY = double(y) * perInch;
}

static void TakeExtras(TiffReader &reader)
{
    Notices &notices = reader.reading.notices;
    TakeResolution(reader);
    uint32_t count = 0;
    void *profile = nullptr;
    if (TIFFGetField(reader.tiff, TIFFTAG_ICCPROFILE, &count, &profile) && count > 0) {
        if (reader.shape.colours == 4 || reader.shape.colours == 0) {
            notices.push_back("the colour profile is left out: it is not one for RGB");
        } else {
            const auto *bytes = static_cast<const uint8_t *>(profile);
            reader.reading.picture.extras.colourProfile.assign(bytes, bytes + count);
        }
    }
    toff_t exif = 0;
    if (TIFFGetField(reader.tiff, TIFFTAG_EXIFIFD, &exif)) notices.push_back("the EXIF data are left out");
    if (!TIFFLastDirectory(reader.tiff)) notices.push_back("only the first of the file's pictures is read");
}

static void TellOrientation(TiffReader &reader)
{
    uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_ORIENTATION, &orientation);
    if (orientation == ORIENTATION_TOPLEFT) return;
    reader.reading.notices.push_back("the picture stays as stored: its orientation mark (" +
                                     std::to_string(orientation) + ") is left out");
}

static bool ReadPixels(TiffReader &reader)
{
    if (reader.shape.colours == 0) return ReadConverted(reader);
    if (!StartReading(reader)) return false;
    if (!(TIFFIsTiled(reader.tiff) ? ReadTiles(reader) : ReadStrips(reader))) return false;
    FinishTiffPicture(reader.shape);
    return true;
}

bool ReadTiff(Reading &reading)
{
    TiffReader reader = {reading};
    if (!OpenForReading(reader) || !TakeFields(reader)) return false;
    TellOrientation(reader);
    if (!ReadPixels(reader)) return false;
    TakeExtras(reader);
    // The library makes do without what a file is too short for, even a palette.
    return !reader.file.ended || Fail(reading.error, "the file ends before its picture does");
}

//---- Writing

static void SetExtras(TIFF *tiff, const PictureExtras &extras)
{
    if (!extras.colourProfile.empty()) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, uint32_t(extras.colourProfile.size()), extras.colourProfile.data());
    }
    if (!(extras.dotsPerInchX > 0 && extras.dotsPerInchY > 0)) return;
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, extras.dotsPerInchX);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, extras.dotsPerInchY);
}

static void SetFields(TIFF *tiff, const Picture &picture, const TiffRows &rows)
{
    const uint16_t alpha[1] = {EXTRASAMPLE_UNASSALPHA};
    const int samples = rows.colours + rows.withAlpha;
    const int64_t rowBytes = (int64_t(picture.width) * samples * rows.bits + 7) / 8;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(picture.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(picture.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, rows.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, TiffPhotometricFor(picture));
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    if (rows.bits == 8 && picture.colourType != PALETTE) TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, uint32_t(std::max<int64_t>(1, 256 * 1024 / rowBytes)));
    if (rows.withAlpha) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
    uint16_t maps[3][256];
    FillColourMaps(picture, rows.bits, maps);
    if (picture.colourType == PALETTE) TIFFSetField(tiff, TIFFTAG_COLORMAP, maps[0], maps[1], maps[2]);
    SetExtras(tiff, picture.extras);
}

static bool PutRows(TIFF *tiff, const Picture &picture, const TiffRows &rows)
{
    std::vector<uint8_t> row(size_t(picture.width) * 4), alpha(size_t(picture.width));
    for (int32_t y = 0; y < picture.height; ++y) {
        FillTiffRow(picture, y, rows, row.data(), alpha);
        if (TIFFWriteScanline(tiff, row.data(), uint32_t(y), 0) != 1) return false;
    }
    return TIFFFlush(tiff) == 1;
}

bool WriteTiff(Writing &writing)
{
    const Picture &picture = writing.picture;
    const TiffRows rows = TiffRowsFor(picture);
    TellLeftOut(picture, "TIFF", KEEPS_PROFILE | KEEPS_RESOLUTION | (rows.withAlpha ? KEEPS_MASK : 0), writing.notices);
    TiffFile file;
    file.sink = &writing.sink;
    bool done = OpenTiff(file, "wm");
    if (done) {
        SetFields(file.tiff, picture, rows);
        done = PutRows(file.tiff, picture, rows);
    }
    return done || Fail(writing.error, "cannot be written as TIFF (" + file.problem + ")");
}
