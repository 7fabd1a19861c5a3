// TIFF, through libtiff: 1-bit, grey, palette and RGB with strips or tiles, samples together or apart; the first
// sample beyond the colours is the mask. Other depths and inks are brought to 8-bit grey or RGB here, and what is
// rarer still (YCbCr, Lab, logarithmic) by the library. Files are written with LZW.
//
// A TIFF file cannot be read front to back, so standard input is taken into memory first.

#include "host/documents/files/formats.h"

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
    Source *source = nullptr;              // reading, from a file that can be sought in
    std::vector<uint8_t> memory = {};      // reading, from one that cannot
    Sink *sink = nullptr;                  // writing
    uint64_t position = 0, size = 0;
    bool ended = false;                    // something was looked for behind the file's end
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
    TiffFile file = {};
    TIFF *tiff = nullptr;
    uint32_t width = 0, height = 0;
    uint16_t bits = 1, samples = 1, photometric = 0, format = SAMPLEFORMAT_UINT, planes = PLANARCONFIG_CONTIG;
    uint16_t compression = 0;
    int colours = 0;               // samples that are colours: 1, 3, or 4 for inks; 0 leaves the file to the library
    bool multiplied = false;       // the colours have been multiplied by the alpha
    std::vector<uint8_t> raw = {}, bytes = {};   // a row or tile of the file, samples as bytes
};

static bool FailTiff(TiffReader &reader)
{
    const std::string &problem = reader.file.problem;
    return Fail(reader.reading.error, "damaged or unknown TIFF data" + (problem.empty() ? "" : " (" + problem + ")"));
}

static bool FailRow(TiffReader &reader, uint32_t y)
{
    FailShort(reader.reading.error, reader.height, y);
    if (!reader.file.problem.empty()) reader.reading.error += " (" + reader.file.problem + ")";
    return false;
}

static bool OpenForReading(TiffReader &reader)
{
    Source &source = reader.reading.source;
    if (source.size >= 0) {
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

static int CountColours(TiffReader &reader)
{
    const bool apart = reader.planes == PLANARCONFIG_SEPARATE && reader.samples > 1;
    switch (reader.photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
    case PHOTOMETRIC_PALETTE: return 1;
    case PHOTOMETRIC_RGB: return reader.samples >= 3 ? 3 : 0;
    case PHOTOMETRIC_SEPARATED: return reader.samples >= 4 && !apart ? 4 : 0;
    case PHOTOMETRIC_YCBCR:   // JPEG brings its own way to RGB
        if (reader.compression != COMPRESSION_JPEG || apart || reader.samples != 3) return 0;
        return TIFFSetField(reader.tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) ? 3 : 0;
    default: return 0;
    }
}

static bool KnowsSamples(const TiffReader &reader)
{
    const int bits = reader.bits;
    switch (reader.format) {
    case SAMPLEFORMAT_IEEEFP: return bits == 16 || bits == 32 || bits == 64;
    case SAMPLEFORMAT_INT: return bits == 8 || bits == 16 || bits == 32;
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID: return (bits >= 1 && bits <= 16) || bits == 32;
    default: return false;
    }
}

static bool TakeFields(TiffReader &reader)
{
    TIFF *tiff = reader.tiff;
    if (!TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &reader.width) ||
        !TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &reader.height)) {
        return Fail(reader.reading.error, "the file lacks a width or a height");
    }
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &reader.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &reader.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &reader.format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &reader.planes);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &reader.compression);
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &reader.photometric)) {
        reader.photometric = reader.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    reader.colours = CountColours(reader);
    if (KnowsSamples(reader)) return true;
    return Fail(reader.reading.error, std::to_string(reader.bits) + " bits per sample of this kind are not known here");
}

static bool IsPalette(const TiffReader &reader) { return reader.photometric == PHOTOMETRIC_PALETTE; }

// Files from careless writers have 8-bit values in the 16-bit colour map.
static bool TakePalette(TiffReader &reader, FilePalette &palette)
{
    uint16_t *maps[3] = {};
    if (reader.bits > 8 || !TIFFGetField(reader.tiff, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2])) {
        return Fail(reader.reading.error, "there is no palette of at most 256 colours");
    }
    palette.entries = 1 << reader.bits;
    int largest = 0;
    for (const uint16_t *map : maps) largest = std::max<int>(largest, *std::max_element(map, map + palette.entries));
    uint8_t *tables[3] = {palette.red, palette.green, palette.blue};
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < palette.entries; ++i) tables[c][i] = uint8_t(largest > 255 ? maps[c][i] >> 8 : maps[c][i]);
    }
    return true;
}

static bool StartTiffMask(TiffReader &reader)
{
    if (reader.samples <= reader.colours) return true;
    uint16_t count = 0, *kinds = nullptr;
    if (TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) && count > 0) {
        reader.multiplied = kinds[0] == EXTRASAMPLE_ASSOCALPHA && !IsPalette(reader);
    }
    if (reader.samples > reader.colours + 1) {
        reader.reading.notices.push_back("of several channels beyond the colours only the first is kept, as mask");
    }
    return StartMask(reader.reading.picture, reader.reading.error);
}

static void TellChanges(const TiffReader &reader)
{
    Notices &notices = reader.reading.notices;
    if (reader.format == SAMPLEFORMAT_IEEEFP) notices.push_back("floating-point samples 0..1 are brought to 8 bits");
    else if (reader.format == SAMPLEFORMAT_INT) notices.push_back("signed samples are brought to 8 bits from 0 up");
    else if (reader.bits > 8) notices.push_back(std::to_string(reader.bits) + " bits per sample are brought to 8");
    if (reader.colours == 4) notices.push_back("CMYK is turned into RGB, without regard to a colour profile");
    if (reader.multiplied) notices.push_back("colours that were multiplied by their alpha are divided by it");
}

static bool StartTiffPicture(TiffReader &reader)
{
    Picture &picture = reader.reading.picture;
    std::string &error = reader.reading.error;
    bool started;
    if (IsPalette(reader)) {
        FilePalette palette;
        if (!TakePalette(reader, palette)) return false;
        if (reader.samples > 1 && reader.bits != 8) return Fail(error, "a palette picture with a mask needs 8 bits");
        started = StartPalettePicture(picture, palette, reader.bits, reader.width, reader.height, error);
    } else {
        const bool oneBit = reader.colours == 1 && reader.bits == 1 && reader.samples == 1;
        picture.extras.whiteIsZero = reader.photometric == PHOTOMETRIC_MINISWHITE;
        const int32_t type = oneBit ? ONE_BIT : reader.colours == 1 ? GREY : RGB;
        started = StartPicture(picture, type, reader.width, reader.height, error);
    }
    if (!started || !StartTiffMask(reader)) return false;
    TellChanges(reader);
    return true;
}

//---- Reading: samples

static double HalfFloat(uint16_t value)
{
    const int exponent = value >> 10 & 31, fraction = value & 1023;
    const double size = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    return value & 0x8000 ? -size : size;
}

static uint8_t FromFloat(double value) { return value >= 1 ? 255 : value > 0 ? uint8_t(value * 255 + 0.5) : 0; }

template <typename Value> static Value At(const uint8_t *raw, size_t index)
{
    Value value;
    memcpy(&value, raw + index * sizeof value, sizeof value);
    return value;
}

static uint8_t FloatAt(const uint8_t *raw, int bits, size_t index)
{
    if (bits == 16) return FromFloat(HalfFloat(At<uint16_t>(raw, index)));
    return FromFloat(bits == 32 ? double(At<float>(raw, index)) : At<double>(raw, index));
}

// A sample of fewer bits than 16, most significant bit first.
static uint8_t BitsAt(const uint8_t *raw, int bits, size_t index)
{
    uint32_t value = 0;
    for (size_t bit = index * size_t(bits), end = bit + size_t(bits); bit < end; ++bit) {
        value = value << 1 | (raw[bit / 8] >> (7 - bit % 8) & 1u);
    }
    const uint32_t largest = (1u << bits) - 1;
    return uint8_t((value * 255 + largest / 2) / largest);
}

static void ToBytes(const TiffReader &reader, const uint8_t *raw, size_t count, uint8_t *bytes)
{
    const int bits = reader.bits;
    const bool isSigned = reader.format == SAMPLEFORMAT_INT;
    for (size_t i = 0; i < count; ++i) {
        if (reader.format == SAMPLEFORMAT_IEEEFP) bytes[i] = FloatAt(raw, bits, i);
        else if (bits == 8 && isSigned) bytes[i] = uint8_t(std::max(0, At<int8_t>(raw, i) * 255 / 127));
        else if (bits == 8) bytes[i] = raw[i];
        else if (bits == 16 && isSigned) bytes[i] = Narrow16(uint32_t(std::max<int>(0, At<int16_t>(raw, i))) * 2);
        else if (bits == 16) bytes[i] = Narrow16(At<uint16_t>(raw, i));
        else if (bits == 32 && isSigned) bytes[i] = uint8_t(std::max(0, At<int32_t>(raw, i)) >> 23);
        else if (bits == 32) bytes[i] = uint8_t(At<uint32_t>(raw, i) >> 24);
        else bytes[i] = BitsAt(raw, bits, i);
    }
}

static const uint8_t *SamplesOf(TiffReader &reader, const uint8_t *raw, size_t count)
{
    if (reader.bits == 8 && reader.format != SAMPLEFORMAT_INT) return raw;
    reader.bytes.resize(count);
    ToBytes(reader, raw, count, reader.bytes.data());
    return reader.bytes.data();
}

// A part of a row that starts at x. Its first part and first sample clear the padding.
static uint8_t *PlaceAt(Picture &picture, uint32_t y, uint32_t x, bool first)
{
    uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * ptrdiff_t(y);
    if (x == 0 && first) row = RowToFill(picture, int32_t(y));
    return row + size_t(x) * size_t(picture.bitsPerPixel) / 8;
}

static uint8_t *MaskPlaceAt(Picture &picture, uint32_t y, uint32_t x)
{
    uint8_t *row = picture.mask.get() + ptrdiff_t(RowStride(8, picture.width)) * ptrdiff_t(y);
    if (x == 0) row = MaskRowToFill(picture, int32_t(y));
    return row + x;
}

static bool IsPacked(const TiffReader &reader)
{
    return reader.colours == 1 && reader.samples == 1 && reader.format != SAMPLEFORMAT_INT &&
           reader.format != SAMPLEFORMAT_IEEEFP && (reader.bits <= 2 || reader.bits == 4 || reader.bits == 8);
}

// Whole pixels, `each` samples long.
static void PutTogether(TiffReader &reader, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw)
{
    Picture &picture = reader.reading.picture;
    uint8_t *row = PlaceAt(picture, y, x, true);
    if (IsPacked(reader)) {
        PutPacked(picture, raw, reader.bits, count, row);
        return;
    }
    const size_t each = reader.samples, colours = size_t(reader.colours);
    const uint8_t *samples = SamplesOf(reader, raw, size_t(count) * each);
    if (colours == 4) PutInks(samples, count, int(each), row);
    else if (colours == 3 && each == 3) SwapRedBlue(samples, row, count);
    else {
        for (size_t i = 0; i < size_t(count); ++i) {
            for (size_t c = 0; c < colours; ++c) row[i * colours + colours - 1 - c] = samples[i * each + c];
        }
    }
    if (colours == 1 && picture.extras.whiteIsZero) TurnOver(row, size_t(count));
    if (!picture.mask) return;
    uint8_t *mask = MaskPlaceAt(picture, y, x);
    for (size_t i = 0; i < size_t(count); ++i) mask[i] = samples[i * each + colours];
}

// One sample of each pixel, where samples are stored apart.
static void PutApart(TiffReader &reader, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw, int sample)
{
    Picture &picture = reader.reading.picture;
    const uint8_t *samples = SamplesOf(reader, raw, size_t(count));
    const int colours = reader.colours;
    if (sample == colours) {
        memcpy(MaskPlaceAt(picture, y, x), samples, size_t(count));
        return;
    }
    uint8_t *row = PlaceAt(picture, y, x, sample == 0);
    for (int32_t i = 0; i < count; ++i) row[i * colours + colours - 1 - sample] = samples[i];
    if (colours == 1 && picture.extras.whiteIsZero) TurnOver(row, size_t(count));
}

//---- Reading: strips, tiles, and what the library converts

static bool SamplesApart(const TiffReader &reader)
{
    return reader.planes == PLANARCONFIG_SEPARATE && reader.samples > 1;
}

static int SamplesToRead(const TiffReader &reader)
{
    return SamplesApart(reader) ? std::min<int>(reader.samples, reader.colours + 1) : 1;
}

static uint64_t BytesFor(const TiffReader &reader, uint64_t pixels)
{
    return (pixels * (SamplesApart(reader) ? 1u : reader.samples) * reader.bits + 7) / 8;
}

static void PutPart(TiffReader &reader, uint32_t y, uint32_t x, int32_t count, const uint8_t *raw, int sample)
{
    if (SamplesApart(reader)) PutApart(reader, y, x, count, raw, sample);
    else                      PutTogether(reader, y, x, count, raw);
}

static bool ReadStrips(TiffReader &reader)
{
    const uint64_t bytes = TIFFScanlineSize64(reader.tiff);
    if (bytes < BytesFor(reader, reader.width) || bytes > uint64_t(LARGEST_PART)) return FailTiff(reader);
    reader.raw.resize(size_t(bytes));
    for (int sample = 0; sample < SamplesToRead(reader); ++sample) {
        for (uint32_t y = 0; y < reader.height; ++y) {
            if (TIFFReadScanline(reader.tiff, reader.raw.data(), y, uint16_t(sample)) != 1) return FailRow(reader, y);
            PutPart(reader, y, 0, int32_t(reader.width), reader.raw.data(), sample);
        }
    }
    return true;
}

static bool ReadTile(TiffReader &reader, uint32_t left, uint32_t top, uint32_t tileWidth, uint32_t tileHeight,
                     int sample)
{
    if (TIFFReadTile(reader.tiff, reader.raw.data(), left, top, 0, uint16_t(sample)) < 0) return FailRow(reader, top);
    const size_t rowBytes = size_t(TIFFTileRowSize64(reader.tiff));
    const int32_t count = int32_t(std::min(tileWidth, reader.width - left));
    for (uint32_t i = 0; i < std::min(tileHeight, reader.height - top); ++i) {
        PutPart(reader, top + i, left, count, reader.raw.data() + rowBytes * i, sample);
    }
    return true;
}

static bool ReadTiles(TiffReader &reader)
{
    uint32_t tileWidth = 0, tileHeight = 0;
    TIFFGetField(reader.tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(reader.tiff, TIFFTAG_TILELENGTH, &tileHeight);
    const uint64_t rowBytes = TIFFTileRowSize64(reader.tiff), bytes = TIFFTileSize64(reader.tiff);
    if (tileWidth == 0 || tileHeight == 0 || tileWidth % 8 || rowBytes < BytesFor(reader, tileWidth) ||
        bytes > uint64_t(LARGEST_PART) || bytes / tileHeight < rowBytes) {
        return FailTiff(reader);
    }
    reader.raw.resize(size_t(bytes));
    for (int sample = 0; sample < SamplesToRead(reader); ++sample) {
        for (uint64_t top = 0; top < reader.height; top += tileHeight) {
            for (uint64_t left = 0; left < reader.width; left += tileWidth) {
                if (!ReadTile(reader, uint32_t(left), uint32_t(top), tileWidth, tileHeight, sample)) return false;
            }
        }
    }
    return true;
}

// The library's own pixels, bottom row first.
static void PutConverted(TiffReader &reader, const std::vector<uint32_t> &pixels, uint32_t top, uint32_t left,
                         uint32_t partWidth, uint32_t partHeight)
{
    const uint32_t rows = std::min(partHeight, reader.height - top), count = std::min(partWidth, reader.width - left);
    const bool strips = !TIFFIsTiled(reader.tiff);
    for (uint32_t i = 0; i < rows; ++i) {
        const uint32_t *from = pixels.data() + size_t(strips ? rows - 1 - i : partHeight - 1 - i) * partWidth;
        uint8_t *row = PlaceAt(reader.reading.picture, top + i, left, true);
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
    for (uint64_t top = 0; top < reader.height; top += partHeight) {
        for (uint64_t left = 0; left < reader.width; left += partWidth) {
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
    if (!StartPicture(reader.reading.picture, RGB, reader.width, reader.height, reader.reading.error)) return false;
    reader.reading.notices.push_back("the file's colours are turned into 8-bit RGB");
    TIFFSetField(reader.tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    uint32_t partWidth = reader.width, partHeight = reader.height;
    if (TIFFIsTiled(reader.tiff)) {
        TIFFGetField(reader.tiff, TIFFTAG_TILEWIDTH, &partWidth);
        TIFFGetField(reader.tiff, TIFFTAG_TILELENGTH, &partHeight);
    } else {
        TIFFGetFieldDefaulted(reader.tiff, TIFFTAG_ROWSPERSTRIP, &partHeight);
        partHeight = std::min(partHeight, reader.height);
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
        if (reader.colours == 4 || reader.colours == 0) {
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
    if (reader.colours == 0) return ReadConverted(reader);
    if (!StartTiffPicture(reader)) return false;
    if (!(TIFFIsTiled(reader.tiff) ? ReadTiles(reader) : ReadStrips(reader))) return false;
    Picture &picture = reader.reading.picture;
    for (int32_t y = 0; reader.multiplied && y < picture.height; ++y) {
        uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, picture.width)) * y;
        const uint8_t *mask = picture.mask.get() + ptrdiff_t(RowStride(8, picture.width)) * y;
        Unmultiply(row, mask, picture.width, picture.bitsPerPixel / 8);
    }
    if (reader.bits > 1) TrimPalette(picture);
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

static int PhotometricFor(const Picture &picture)
{
    if (picture.colourType == RGB) return PHOTOMETRIC_RGB;
    if (picture.colourType == PALETTE) return PHOTOMETRIC_PALETTE;
    return picture.extras.whiteIsZero ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

static void SetColourMap(TIFF *tiff, const Picture &picture, int bits)
{
    uint16_t maps[3][256] = {};
    for (int i = 0; i < 1 << bits; ++i) {
        maps[0][i] = uint16_t(picture.red[i] * 257);
        maps[1][i] = uint16_t(picture.green[i] * 257);
        maps[2][i] = uint16_t(picture.blue[i] * 257);
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, maps[0], maps[1], maps[2]);
}

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

// The shape of a file's rows: bits per sample, colours, and whether the mask follows them.
struct TiffRows {
    int bits = 8, colours = 1;
    bool withAlpha = false;
};

static void SetFields(TIFF *tiff, const Picture &picture, const TiffRows &rows)
{
    const uint16_t alpha[1] = {EXTRASAMPLE_UNASSALPHA};
    const int samples = rows.colours + rows.withAlpha;
    const int64_t rowBytes = (int64_t(picture.width) * samples * rows.bits + 7) / 8;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(picture.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(picture.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, rows.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PhotometricFor(picture));
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    if (rows.bits == 8 && picture.colourType != PALETTE) TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, uint32_t(std::max<int64_t>(1, 256 * 1024 / rowBytes)));
    if (rows.withAlpha) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
    if (picture.colourType == PALETTE) SetColourMap(tiff, picture, rows.bits);
    SetExtras(tiff, picture.extras);
}

static void FillRow(const Picture &picture, int32_t y, const TiffRows &rows, std::vector<uint8_t> &row)
{
    const size_t width = size_t(picture.width);
    if (picture.colourType == RGB) {
        ColourRow(picture, y, row.data());
    } else {
        std::vector<uint8_t> room;
        const uint8_t *from = PackedRow(picture, y, rows.bits, room);
        const size_t bytes = (width * size_t(rows.bits) + 7) / 8;
        memcpy(row.data(), from, bytes);
        if (picture.colourType != PALETTE && picture.extras.whiteIsZero) TurnOver(row.data(), bytes);
    }
}

static void JoinAlpha(const Picture &picture, int32_t y, size_t colours, std::vector<uint8_t> &row,
                      std::vector<uint8_t> &alpha)
{
    AlphaRow(picture, y, alpha.data());
    const size_t each = colours + 1;
    for (size_t x = size_t(picture.width); x-- > 0;) {
        row[x * each + colours] = alpha[x];
        for (size_t c = colours; c-- > 0;) row[x * each + c] = row[x * colours + c];
    }
}

static bool PutRows(TIFF *tiff, const Picture &picture, const TiffRows &rows)
{
    std::vector<uint8_t> row(size_t(picture.width) * 4), alpha(size_t(picture.width));
    for (int32_t y = 0; y < picture.height; ++y) {
        FillRow(picture, y, rows, row);
        if (rows.withAlpha) JoinAlpha(picture, y, size_t(rows.colours), row, alpha);
        if (TIFFWriteScanline(tiff, row.data(), uint32_t(y), 0) != 1) return false;
    }
    return TIFFFlush(tiff) == 1;
}

bool WriteTiff(Writing &writing)
{
    const Picture &picture = writing.picture;
    TiffRows rows;
    rows.bits = picture.colourType == RGB ? 8 : BitsForSaving(picture);
    rows.colours = picture.colourType == RGB ? 3 : 1;
    rows.withAlpha = picture.mask && rows.bits == 8;
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
