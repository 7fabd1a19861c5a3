// PNG, through libpng, which hands over rows as they are in the file: all changes of depth and order happen here.
// Interlaced files are put together here too, so that one with an alpha channel needs no room beside the planes.
//
// libpng reports errors by a jump back to Guarded. What is jumped over keeps plain locals only; all that owns memory
// lives in the records PngReader and PngWriter, outside.

#include "host/documents/files/formats.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstring>

template <typename State> static bool Guarded(State &state, void (*step)(State &))
{
    if (setjmp(state.jump)) return false;
    step(state);
    return true;
}

//---- Reading

struct PngReader {
    Reading &reading;
    png_structp png = nullptr;
    png_infop info = nullptr;
    jmp_buf jump = {};
    bool ended = false;                      // the file came to its end too soon
    bool animated = false, warned = false;   // warned: of something about the colour profile
    std::string problem = {};                // libpng's words for an error
    png_uint_32 width = 0, height = 0;
    int bits = 0, colours = 0, interlace = 0;
    png_color_16 key = {};   // the colour that counts as transparent
    bool hasKey = false;
    int32_t rowsDone = 0;
    std::vector<uint8_t> raw = {}, narrow = {};   // a row of the file, its samples as bytes
    std::vector<uint8_t> row = {}, mask = {};     // a row of an interlacing pass
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] static void ReaderError(png_structp png, const char *text)
{
    auto *reader = static_cast<PngReader *>(png_get_error_ptr(png));
    reader->problem.assign(text);
    longjmp(reader->jump, 1);
}

static void ReaderWarning(png_structp png, const char *text)
{
    auto *reader = static_cast<PngReader *>(png_get_error_ptr(png));
    if (strncmp(text, "iCCP", 4) == 0) reader->warned = true;
}

static void ReaderBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto *reader = static_cast<PngReader *>(png_get_io_ptr(png));
    if (Take(reader->reading.source, bytes, count)) return;
    reader->ended = true;
    png_error(png, "the file ends too soon");
}

// Chunks that libpng has no use for pass by here.
static int ReaderChunk(png_structp png, png_unknown_chunkp chunk)
{
    auto *reader = static_cast<PngReader *>(png_get_user_chunk_ptr(png));
    if (memcmp(chunk->name, "acTL", 4) == 0) reader->animated = true;
    return 0;
}

static void ReadInfo(PngReader &reader)
{
    png_set_user_limits(reader.png, 1000000, 1000000);
    png_set_chunk_malloc_max(reader.png, 64 * 1024 * 1024);
    png_set_option(reader.png, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON);
    png_set_read_fn(reader.png, &reader, ReaderBytes);
    png_set_read_user_chunk_fn(reader.png, &reader, ReaderChunk);
    png_read_info(reader.png, reader.info);
    png_get_IHDR(reader.png, reader.info, &reader.width, &reader.height, &reader.bits, &reader.colours,
                 &reader.interlace, nullptr, nullptr);
}

static void TakePalette(PngReader &reader, FilePalette &palette)
{
    png_colorp colours = nullptr;
    int count = 0;
    png_get_PLTE(reader.png, reader.info, &colours, &count);
    palette.entries = std::min(count, 256);
    for (int i = 0; i < palette.entries; ++i) {
        palette.red[i] = colours[i].red;
        palette.green[i] = colours[i].green;
        palette.blue[i] = colours[i].blue;
    }
}

static void TakeTransparency(PngReader &reader)
{
    png_bytep alpha = nullptr;
    png_color_16p key = nullptr;
    int count = 0;
    if (!png_get_tRNS(reader.png, reader.info, &alpha, &count, &key)) return;
    if (reader.colours == PNG_COLOR_TYPE_PALETTE) {
        reader.reading.picture.extras.paletteAlpha.assign(alpha, alpha + count);
    } else if (key) {
        reader.hasKey = true;
        reader.key = *key;
    }
}

static bool StartPngPicture(PngReader &reader)
{
    Picture &picture = reader.reading.picture;
    std::string &error = reader.reading.error;
    TakeTransparency(reader);
    bool started;
    if (reader.colours == PNG_COLOR_TYPE_PALETTE) {
        FilePalette palette;
        TakePalette(reader, palette);
        started = StartPalettePicture(picture, palette, reader.bits, reader.width, reader.height, error);
    } else {
        const bool grey = !(reader.colours & PNG_COLOR_MASK_COLOR), oneBit = grey && reader.bits == 1;
        started = StartPicture(picture, oneBit ? ONE_BIT : grey ? GREY : RGB, reader.width, reader.height, error);
    }
    if (!started) return false;
    if (reader.bits == 16) reader.reading.notices.push_back("16 bits per sample are brought to 8");
    const bool masked = reader.hasKey || reader.colours & PNG_COLOR_MASK_ALPHA;
    return !masked || StartMask(picture, error);
}

static void TakeExtras(PngReader &reader)
{
    PictureExtras &extras = reader.reading.picture.extras;
    png_charp name = nullptr;
    png_bytep bytes = nullptr;
    png_uint_32 count = 0, perUnitX = 0, perUnitY = 0;
    int method = 0, unit = 0;
    if (png_get_iCCP(reader.png, reader.info, &name, &method, &bytes, &count)) {
        extras.colourProfile.assign(bytes, bytes + count);
    } else if (reader.warned) {
        reader.reading.notices.push_back("the colour profile is damaged and left out");
    }
    if (png_get_eXIf_1(reader.png, reader.info, &count, &bytes)) extras.exif.assign(bytes, bytes + count);
    if (png_get_pHYs(reader.png, reader.info, &perUnitX, &perUnitY, &unit) && unit == PNG_RESOLUTION_METER) {
        extras.dotsPerInchX = perUnitX * 0.0254;
        extras.dotsPerInchY = perUnitY * 0.0254;
    }
    if (reader.animated) reader.reading.notices.push_back("only the first picture of the animation is read");
}

//---- Rows

static uint32_t SampleAt(const uint8_t *raw, int bits, int64_t index)
{
    if (bits == 16) return uint32_t(raw[2 * index] << 8 | raw[2 * index + 1]);
    const int64_t bit = index * bits;
    return uint32_t(raw[bit >> 3] >> (8 - bits - (bit & 7)) & ((1 << bits) - 1));
}

// The colour that counts as transparent is compared at the file's own depth.
static void PutKeyMask(const PngReader &reader, const uint8_t *raw, int32_t count, uint8_t *mask)
{
    const bool grey = !(reader.colours & PNG_COLOR_MASK_COLOR);
    const png_color_16 &key = reader.key;
    const uint32_t parts[3] = {grey ? key.gray : key.red, key.green, key.blue};
    const int samples = grey ? 1 : 3;
    for (int32_t x = 0; x < count; ++x) {
        bool equal = true;
        for (int c = 0; c < samples; ++c) {
            equal = equal && SampleAt(raw, reader.bits, int64_t(x) * samples + c) == parts[c];
        }
        mask[x] = equal ? 0 : 255;
    }
}

static void PutPngRow(PngReader &reader, int32_t count, uint8_t *row, uint8_t *mask)
{
    const uint8_t *samples = reader.raw.data();
    if (reader.hasKey) PutKeyMask(reader, samples, count, mask);
    if (reader.bits == 16) {
        NarrowSamples(samples, reader.narrow.data(), size_t(count) * png_get_channels(reader.png, reader.info));
        samples = reader.narrow.data();
    }
    switch (reader.colours) {
    case PNG_COLOR_TYPE_RGB: SwapRedBlue(samples, row, count); break;
    case PNG_COLOR_TYPE_RGB_ALPHA: SplitAlpha(samples, count, row, mask); break;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        for (int32_t x = 0; x < count; ++x) {
            row[x] = samples[2 * x];
            mask[x] = samples[2 * x + 1];
        }
        break;
    default: PutPacked(reader.reading.picture, samples, std::min(reader.bits, 8), count, row);
    }
}

static void ReadRows(PngReader &reader)
{
    Picture &picture = reader.reading.picture;
    for (int32_t y = 0; y < picture.height; ++y) {
        png_read_row(reader.png, reader.raw.data(), nullptr);
        PutPngRow(reader, picture.width, RowToFill(picture, y), picture.mask ? MaskRowToFill(picture, y) : nullptr);
        ++reader.rowsDone;
    }
}

// Spreads a row of an interlacing pass over the columns first, first + step, ...
static void ScatterPixels(int bits, const uint8_t *from, int32_t count, int32_t first, int32_t step, uint8_t *row)
{
    const int32_t bytes = bits / 8;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t x = first + i * step;
        if (bits == 1) SetBit(row, x, BitAt(from, i));
        else memcpy(row + ptrdiff_t(x) * bytes, from + ptrdiff_t(i) * bytes, size_t(bytes));
    }
}

static void ReadPass(PngReader &reader, int pass)
{
    Picture &picture = reader.reading.picture;
    const int32_t columns = int32_t(PNG_PASS_COLS(reader.width, pass));
    const int32_t rows = int32_t(PNG_PASS_ROWS(reader.height, pass));
    const int32_t first = int32_t(PNG_PASS_START_COL(pass)), shift = PNG_PASS_COL_SHIFT(pass), step = 1 << shift;
    const int32_t stride = RowStride(picture.bitsPerPixel, picture.width), maskStride = RowStride(8, picture.width);
    for (int32_t i = 0; columns > 0 && i < rows; ++i) {
        png_read_row(reader.png, reader.raw.data(), nullptr);
        PutPngRow(reader, columns, reader.row.data(), reader.mask.data());
        const int32_t y = int32_t(PNG_ROW_FROM_PASS_ROW(i, pass));
        ScatterPixels(picture.bitsPerPixel, reader.row.data(), columns, first, step,
                      picture.pixels.get() + ptrdiff_t(stride) * y);
        if (!picture.mask) continue;
        ScatterPixels(8, reader.mask.data(), columns, first, step, picture.mask.get() + ptrdiff_t(maskStride) * y);
    }
}

static void ReadPasses(PngReader &reader)
{
    Picture &picture = reader.reading.picture;
    for (int32_t y = 0; y < picture.height; ++y) {   // single bits are added to what is there
        memset(RowToFill(picture, y), 0, size_t(RowStride(picture.bitsPerPixel, picture.width)));
        if (picture.mask) MaskRowToFill(picture, y);
    }
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) ReadPass(reader, pass);
}

static void ReadPixels(PngReader &reader)
{
    png_read_update_info(reader.png, reader.info);
    if (reader.interlace == PNG_INTERLACE_NONE) ReadRows(reader);
    else ReadPasses(reader);
    reader.rowsDone = reader.reading.picture.height;
    png_read_end(reader.png, reader.info);
}

static bool FailPng(PngReader &reader, bool inPixels)
{
    const int32_t height = reader.reading.picture.height;
    const bool missing = reader.ended || reader.problem == "Not enough image data";
    if (missing && inPixels && reader.interlace == PNG_INTERLACE_NONE && reader.rowsDone < height) {
        return FailShort(reader.reading.error, height, reader.rowsDone);
    }
    if (missing) return Fail(reader.reading.error, "the file ends before its picture does");
    return Fail(reader.reading.error, "damaged PNG data (" + reader.problem + ")");
}

// A packed picture cannot be larger than its file lets it grow: at most 1032 bytes from each.
static bool PlausibleSize(const PngReader &reader)
{
    const Source &source = reader.reading.source;
    const uint64_t samples = reader.colours & PNG_COLOR_MASK_COLOR && reader.colours != PNG_COLOR_TYPE_PALETTE ? 3 : 1;
    const uint64_t bits = uint64_t(reader.width) * samples * uint64_t(reader.bits);
    return source.size < 0 || bits / 8 * reader.height / 1032 <= uint64_t(source.size);
}

bool ReadPng(Reading &reading)
{
    PngReader reader = {reading};
    reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader, ReaderError, ReaderWarning);
    reader.info = reader.png ? png_create_info_struct(reader.png) : nullptr;
    if (!reader.info) return Fail(reading.error, "PNG files cannot be read: libpng does not start");
    if (!Guarded(reader, ReadInfo)) return FailPng(reader, false);
    if (!PlausibleSize(reader)) return Fail(reading.error, "the file is too short for the picture it promises");
    if (!StartPngPicture(reader)) return false;
    const size_t rowBytes = png_get_rowbytes(reader.png, reader.info), width = size_t(reading.picture.width);
    reader.raw.resize(rowBytes);
    reader.narrow.resize(reader.bits == 16 ? rowBytes / 2 : 0);
    if (reader.interlace != PNG_INTERLACE_NONE) {
        reader.row.resize(size_t(RowStride(reading.picture.bitsPerPixel, reading.picture.width)));
        reader.mask.resize(width);
    }
    if (!Guarded(reader, ReadPixels)) return FailPng(reader, true);
    TakeExtras(reader);
    FinishPalettePicture(reading.picture, reading.notices);
    return true;
}

//---- Writing

struct PngWriter {
    Writing &writing;
    png_structp png = nullptr;
    png_infop info = nullptr;
    jmp_buf jump = {};
    std::string problem = {};
    int bits = 0;
    bool withAlpha = false;
    std::vector<uint8_t> row = {}, alpha = {}, packed = {};
    std::vector<png_color> palette = {};
    ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

[[noreturn]] static void WriterError(png_structp png, const char *text)
{
    auto *writer = static_cast<PngWriter *>(png_get_error_ptr(png));
    writer->problem.assign(text);
    longjmp(writer->jump, 1);
}

static void WriterWarning(png_structp, const char *) {}

static void WriterBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto *writer = static_cast<PngWriter *>(png_get_io_ptr(png));
    if (!Put(writer->writing.sink, bytes, count)) png_error(png, "the file cannot be written");
}

static void WriterFlush(png_structp) {}

static int ColoursFor(const PngWriter &writer)
{
    const int type = writer.writing.picture.colourType;
    if (type == PALETTE) return PNG_COLOR_TYPE_PALETTE;
    const int alpha = writer.withAlpha ? PNG_COLOR_MASK_ALPHA : 0;
    return (type == RGB ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY) | alpha;
}

static void SetPalette(PngWriter &writer)
{
    const std::vector<uint8_t> &alpha = writer.writing.picture.extras.paletteAlpha;
    png_set_PLTE(writer.png, writer.info, writer.palette.data(), int(writer.palette.size()));
    const int count = int(std::min(alpha.size(), writer.palette.size()));
    if (count > 0) png_set_tRNS(writer.png, writer.info, alpha.data(), count, nullptr);
}

static void SetExtras(PngWriter &writer)
{
    const PictureExtras &extras = writer.writing.picture.extras;
    if (!extras.colourProfile.empty()) {
        png_set_iCCP(writer.png, writer.info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, extras.colourProfile.data(),
                     png_uint_32(extras.colourProfile.size()));
    }
    if (!extras.exif.empty()) {
        png_set_eXIf_1(writer.png, writer.info, png_uint_32(extras.exif.size()),
                       const_cast<uint8_t *>(extras.exif.data()));
    }
    const double x = std::round(extras.dotsPerInchX / 0.0254), y = std::round(extras.dotsPerInchY / 0.0254);
    if (x > 0 && y > 0 && x < 1e9 && y < 1e9) {
        png_set_pHYs(writer.png, writer.info, png_uint_32(x), png_uint_32(y), PNG_RESOLUTION_METER);
    }
}

static void WriteInfo(PngWriter &writer)
{
    const Picture &picture = writer.writing.picture;
    png_set_benign_errors(writer.png, 1);
    png_set_user_limits(writer.png, 1000000, 1000000);
    png_set_write_fn(writer.png, &writer, WriterBytes, WriterFlush);
    png_set_compression_level(writer.png, 2);   // a third of the usual level's time for a seventh more bytes
    png_set_IHDR(writer.png, writer.info, png_uint_32(picture.width), png_uint_32(picture.height),
                 writer.bits == 1 ? 1 : 8, ColoursFor(writer), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (picture.colourType == PALETTE) SetPalette(writer);
    SetExtras(writer);
    png_write_info(writer.png, writer.info);
}

static void JoinAlpha(PngWriter &writer, int32_t y, size_t colours)
{
    const Picture &picture = writer.writing.picture;
    const size_t each = colours + 1;
    AlphaRow(picture, y, writer.alpha.data());
    for (size_t x = size_t(picture.width); x-- > 0;) {
        writer.row[x * each + colours] = writer.alpha[x];
        for (size_t c = colours; c-- > 0;) writer.row[x * each + c] = writer.row[x * colours + c];
    }
}

static void WriteRows(PngWriter &writer)
{
    const Picture &picture = writer.writing.picture;
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = writer.row.data();
        if (picture.colourType == RGB) ColourRow(picture, y, writer.row.data());
        else if (writer.withAlpha) GreyRow(picture, y, writer.row.data());
        else row = PackedRow(picture, y, writer.bits, writer.packed);
        if (writer.withAlpha) JoinAlpha(writer, y, picture.colourType == RGB ? 3 : 1);
        png_write_row(writer.png, row);
    }
    png_write_end(writer.png, nullptr);   // all the info went before the pixels: given again, EXIF would come twice
}

static void PreparePalette(PngWriter &writer)
{
    const Picture &picture = writer.writing.picture;
    const int32_t entries = std::min(EntriesForSaving(picture), writer.bits == 1 ? 2 : 256);
    for (int32_t i = 0; i < entries; ++i) {
        writer.palette.push_back({picture.red[i], picture.green[i], picture.blue[i]});
    }
}

bool WritePng(Writing &writing)
{
    const Picture &picture = writing.picture;
    PngWriter writer = {writing};
    writer.bits = BitsForSaving(picture);
    writer.withAlpha = picture.mask && (picture.colourType == RGB || picture.colourType == GREY);
    if (picture.colourType == PALETTE) PreparePalette(writer);
    writer.row.resize(size_t(picture.width) * 4);
    writer.alpha.resize(size_t(picture.width));
    TellLeftOut(picture, "PNG", ~0u & ~(writer.withAlpha ? 0u : unsigned(KEEPS_MASK)), writing.notices);
    writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &writer, WriterError, WriterWarning);
    writer.info = writer.png ? png_create_info_struct(writer.png) : nullptr;
    if (!writer.info) return Fail(writing.error, "PNG files cannot be written: libpng does not start");
    const bool done = Guarded(writer, WriteInfo) && Guarded(writer, WriteRows);
    if (done && !picture.extras.colourProfile.empty() && !png_get_valid(writer.png, writer.info, PNG_INFO_iCCP)) {
        writing.notices.push_back("the colour profile is not stored: it does not fit the picture");
    }
    return done || Fail(writing.error, "cannot be written as PNG (" + writer.problem + ")");
}
