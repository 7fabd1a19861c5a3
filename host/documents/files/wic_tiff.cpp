// TIFF on Windows. The file's fields are read and written here, and tiff_samples.cpp knows what samples mean; the
// Windows Imaging Component packs and unpacks strips and tiles. It is shown them as grey pictures as wide as a row has
// bytes, since it has no pixel format for much of what files hold: grey or a palette with a mask, 2 and 12 bits,
// samples apart, colours that count from white. Only what needs a conversion of its own (YCbCr, Lab) is left to it.

#include "host/documents/files/tiff_samples.h"
#include "host/documents/files/wic.h"

#include <algorithm>
#include <cmath>
#include <cstring>

enum {
    WIDTH = 256,
    HEIGHT = 257,
    BITS = 258,
    COMPRESSION = 259,
    PHOTOMETRIC = 262,
    FILL_ORDER = 266,
    STRIPS = 273,
    ORIENTATION = 274,
    SAMPLES = 277,
    STRIP_ROWS = 278,
    STRIP_BYTES = 279,
    X_RESOLUTION = 282,
    Y_RESOLUTION = 283,
    LAYOUT = 284,
    FAX3_OPTIONS = 292,
    FAX4_OPTIONS = 293,
    RESOLUTION_UNIT = 296,
    PREDICTOR = 317,
    COLOUR_MAP = 320,
    TILE_WIDTH = 322,
    TILE_HEIGHT = 323,
    TILES = 324,
    TILE_BYTES = 325,
    EXTRA_SAMPLES = 338,
    SAMPLE_FORMAT = 339,
    EXIF_FIELDS = 34665,
    PROFILE = 34675,
};
enum { BYTE_NUMBERS = 1, SHORT_NUMBERS = 3, LONG_NUMBERS = 4, FRACTIONS = 5, PLAIN_BYTES = 7 };
enum { NOT_PACKED = 1, FAX2 = 2, FAX4 = 4, LZW = 5, JPEG_PACKED = 7, DEFLATE = 8, OLD_DEFLATE = 32946, RUNS = 32773 };
enum { NO_PREDICTION = 1, FROM_THE_LEFT = 2 };
enum { INCHES = 2, CENTIMETRES = 3 };
static const uint8_t WIC_NOT_PACKED = 1, WIC_LZW = 3;   // of the component's TiffCompressionMethod
static const size_t HEADER_BYTES = 8;

//---- Fields, read

// The fields of a file's first picture.
struct TiffFields {
    const FileBytes &file;
    bool lowFirst = true;
    size_t at = 0, count = 0;   // of the first field's 12 bytes; how many
    bool more = false;          // further pictures follow
};

static uint32_t Number16(const TiffFields &fields, const uint8_t *bytes)
{
    return fields.lowFirst ? uint32_t(bytes[0] | bytes[1] << 8) : High16(bytes);
}

static uint32_t Number32(const TiffFields &fields, const uint8_t *bytes)
{
    return fields.lowFirst ? Number16(fields, bytes) | Number16(fields, bytes + 2) << 16 : High32(bytes);
}

static bool EndsTooSoon(std::string &error) { return Fail(error, "the file ends before its picture does"); }

static size_t BytesOfType(uint32_t type)
{
    static const uint8_t bytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < sizeof bytes ? bytes[type] : 0;
}

// Where a field's values are; null when the file has not got all of them.
static const uint8_t *ValuesOf(const TiffFields &fields, const uint8_t *field)
{
    const uint64_t bytes = uint64_t(Number32(fields, field + 4)) * BytesOfType(Number16(fields, field + 2));
    if (bytes <= 4) return field + 8;
    const uint64_t place = Number32(fields, field + 8);
    return place + bytes <= fields.file.size() ? fields.file.data() + place : nullptr;
}

static bool FindFields(TiffFields &fields, std::string &error)
{
    const FileBytes &file = fields.file;
    if (file.size() < HEADER_BYTES) return EndsTooSoon(error);
    fields.lowFirst = file[0] == 'I';
    if (Number16(fields, file.data() + 2) != 42) return Fail(error, "TIFF files of 64 bits are not known here");
    const uint64_t start = Number32(fields, file.data() + 4);
    if (start + 2 > file.size()) return EndsTooSoon(error);
    fields.at = size_t(start) + 2;
    fields.count = Number16(fields, file.data() + start);
    const uint64_t end = fields.at + 12 * uint64_t(fields.count);
    if (end + 4 > file.size()) return EndsTooSoon(error);
    fields.more = Number32(fields, file.data() + end) != 0;
    for (size_t i = 0; i < fields.count; ++i) {
        if (!ValuesOf(fields, file.data() + fields.at + 12 * i)) return EndsTooSoon(error);
    }
    return true;
}

static const uint8_t *FieldOf(const TiffFields &fields, uint32_t tag)
{
    for (size_t i = 0; i < fields.count; ++i) {
        const uint8_t *field = fields.file.data() + fields.at + 12 * i;
        if (Number16(fields, field) == tag) return field;
    }
    return nullptr;
}

static std::vector<uint32_t> Numbers(const TiffFields &fields, uint32_t tag)
{
    std::vector<uint32_t> numbers;
    const uint8_t *field = FieldOf(fields, tag);
    if (!field) return numbers;
    const uint32_t type = Number16(fields, field + 2), count = Number32(fields, field + 4);
    if (type != BYTE_NUMBERS && type != SHORT_NUMBERS && type != LONG_NUMBERS) return numbers;
    const uint8_t *values = ValuesOf(fields, field);
    for (uint32_t i = 0; i < count; ++i, values += BytesOfType(type)) {
        numbers.push_back(type == BYTE_NUMBERS    ? *values
                          : type == SHORT_NUMBERS ? Number16(fields, values)
                                                  : Number32(fields, values));
    }
    return numbers;
}

static uint32_t Number(const TiffFields &fields, uint32_t tag, uint32_t otherwise)
{
    const std::vector<uint32_t> numbers = Numbers(fields, tag);
    return numbers.empty() ? otherwise : numbers[0];
}

static double Fraction(const TiffFields &fields, uint32_t tag)
{
    const uint8_t *field = FieldOf(fields, tag);
    if (!field || Number16(fields, field + 2) != FRACTIONS || Number32(fields, field + 4) < 1) return 0;
    const uint8_t *values = ValuesOf(fields, field);
    const uint32_t below = Number32(fields, values + 4);
    return below ? double(Number32(fields, values)) / below : 0;
}

static FileBytes BytesOf(const TiffFields &fields, uint32_t tag)
{
    const uint8_t *field = FieldOf(fields, tag);
    if (!field) return {};
    const uint8_t *values = ValuesOf(fields, field);
    return FileBytes(values, values + Number32(fields, field + 4) * BytesOfType(Number16(fields, field + 2)));
}

//---- Fields, written

struct Field {
    uint16_t tag, type;
    std::vector<uint32_t> numbers;   // of fractions two each
    FileBytes bytes = {};            // of PLAIN_BYTES
};

static void AddLow16(FileBytes &file, uint32_t value)
{
    file.push_back(uint8_t(value));
    file.push_back(uint8_t(value >> 8));
}

static void AddLow32(FileBytes &file, uint32_t value)
{
    AddLow16(file, value & 0xFFFF);
    AddLow16(file, value >> 16);
}

static FileBytes ValueBytes(const Field &field)
{
    FileBytes bytes = field.bytes;
    for (uint32_t number : field.numbers) {
        if (field.type == SHORT_NUMBERS) AddLow16(bytes, number);
        else AddLow32(bytes, number);
    }
    return bytes;
}

static uint32_t CountOf(const Field &field)
{
    if (field.type == PLAIN_BYTES) return uint32_t(field.bytes.size());
    return uint32_t(field.type == FRACTIONS ? field.numbers.size() / 2 : field.numbers.size());
}

// Adds the fields of a picture, in the order of their numbers, behind its strips; and leads the header to them.
static void AddFields(FileBytes &file, std::vector<Field> fields)
{
    std::sort(fields.begin(), fields.end(), [](const Field &a, const Field &b) { return a.tag < b.tag; });
    if (file.size() % 2) file.push_back(0);
    FileBytes start;
    AddLow32(start, uint32_t(file.size()));
    std::copy(start.begin(), start.end(), file.begin() + 4);
    uint32_t valuesAt = uint32_t(file.size() + 2 + 12 * fields.size() + 4);
    FileBytes values;
    AddLow16(file, uint32_t(fields.size()));
    for (const Field &field : fields) {
        FileBytes own = ValueBytes(field);
        AddLow16(file, field.tag);
        AddLow16(file, field.type);
        AddLow32(file, CountOf(field));
        own.resize(std::max<size_t>(4, own.size() + own.size() % 2));
        if (own.size() == 4) {
            AddBytes(file, own.data(), 4);
        } else {
            AddLow32(file, valuesAt + uint32_t(values.size()));
            AddBytes(values, own.data(), own.size());
        }
    }
    AddLow32(file, 0);
    AddBytes(file, values.data(), values.size());
}

// A file's packed strips, or one tile, and how they were packed.
struct Packed {
    struct Strip {
        const uint8_t *bytes;
        uint32_t count;
    };
    std::vector<Strip> strips;
    uint32_t rowsEach = 0;
    uint32_t compression = NOT_PACKED, fillOrder = 1, fax3 = 0, fax4 = 0;
};

// Starts a file with strips; `fields` are those that tell of them.
static FileBytes StartFile(const Packed &packed, std::vector<Field> &fields)
{
    FileBytes file = {'I', 'I', 42, 0, 0, 0, 0, 0};
    Field places = {STRIPS, LONG_NUMBERS, {}}, counts = {STRIP_BYTES, LONG_NUMBERS, {}};
    for (const Packed::Strip &strip : packed.strips) {
        places.numbers.push_back(uint32_t(file.size()));
        counts.numbers.push_back(strip.count);
        AddBytes(file, strip.bytes, strip.count);
    }
    fields = {places,
              counts,
              {STRIP_ROWS, LONG_NUMBERS, {packed.rowsEach}},
              {COMPRESSION, SHORT_NUMBERS, {packed.compression}},
              {FILL_ORDER, SHORT_NUMBERS, {packed.fillOrder}}};
    return file;
}

//---- Reading

struct TiffReader {
    Reading &reading;
    FileBytes bytes = {};
    TiffFields fields = {bytes};
    TiffShape shape = {reading};
    Packed packed = {};   // without strips
    uint32_t predictor = NO_PREDICTION;
    FileBytes row = {};
};

static bool FailTiff(TiffReader &reader, const std::string &words)
{
    return Fail(reader.reading.error, "damaged or unknown TIFF data (" + words + ")");
}

static bool TakeShape(TiffReader &reader)
{
    const TiffFields &fields = reader.fields;
    TiffShape &shape = reader.shape;
    const std::vector<uint32_t> bits = Numbers(fields, BITS);
    shape.width = Number(fields, WIDTH, 0);
    shape.height = Number(fields, HEIGHT, 0);
    if (!shape.width || !shape.height) return Fail(reader.reading.error, "the file lacks a width or a height");
    shape.bits = uint16_t(bits.empty() ? 1 : bits[0]);
    shape.samples = uint16_t(Number(fields, SAMPLES, 1));
    shape.format = uint16_t(Number(fields, SAMPLE_FORMAT, SAMPLES_UNSIGNED));
    shape.planes = uint16_t(Number(fields, LAYOUT, SAMPLES_TOGETHER));
    shape.compression = uint16_t(Number(fields, COMPRESSION, NOT_PACKED));
    shape.photometric = uint16_t(Number(fields, PHOTOMETRIC, shape.samples >= 3 ? TIFF_RGB : TIFF_BLACK_IS_ZERO));
    shape.colours = CountTiffColours(shape);
    if (std::any_of(bits.begin(), bits.end(), [&](uint32_t other) { return other != bits[0]; })) {
        return FailTiff(reader, "its samples have different depths");
    }
    if (shape.samples < 1 || (shape.planes != SAMPLES_TOGETHER && shape.planes != SAMPLES_APART)) {
        return FailTiff(reader, "its samples are laid out in a way not known here");
    }
    if (KnowsSamples(shape)) return true;
    return Fail(reader.reading.error, std::to_string(shape.bits) + " bits per sample of this kind are not known here");
}

static void TakePacking(TiffReader &reader)
{
    const TiffFields &fields = reader.fields;
    reader.packed.compression = reader.shape.compression;
    reader.packed.fillOrder = Number(fields, FILL_ORDER, 1);
    reader.packed.fax3 = Number(fields, FAX3_OPTIONS, 0);
    reader.packed.fax4 = Number(fields, FAX4_OPTIONS, 0);
    const uint32_t compression = reader.packed.compression;   // the others know no differences, whatever a file says
    const bool predicts = compression == LZW || compression == DEFLATE || compression == OLD_DEFLATE;
    if (predicts) reader.predictor = Number(fields, PREDICTOR, NO_PREDICTION);
}

// How many bytes one packed byte can make; 0 for a way of packing that only goes with a conversion.
static uint64_t LargestGrowth(uint32_t compression)
{
    switch (compression) {
    case NOT_PACKED: return 1;
    case RUNS: return 64;
    case LZW: return 2600;
    case DEFLATE:
    case OLD_DEFLATE: return 1032;
    default: return compression >= FAX2 && compression <= FAX4 ? 200000 : 0;
    }
}

static bool IsFax(const TiffReader &reader)
{
    return reader.packed.compression >= FAX2 && reader.packed.compression <= FAX4;
}

// Whether the component need only unpack, so that all of the samples' meaning is seen to here.
static bool UnpackingIsEnough(const TiffReader &reader)
{
    const int bits = reader.shape.bits;
    if (reader.shape.colours == 0 || LargestGrowth(reader.packed.compression) == 0) return false;
    if (IsFax(reader) && (bits != 1 || reader.shape.samples != 1)) return false;
    return reader.predictor == NO_PREDICTION ||
           (reader.predictor == FROM_THE_LEFT && (bits == 8 || bits == 16 || bits == 32));
}

//---- Reading: strips and tiles

// Samples as they were before each but a row's first was stored as the difference from its neighbour.
template <typename Sample> static void AddUp(uint8_t *row, size_t bytes, size_t step)
{
    for (size_t i = step; i < bytes / sizeof(Sample); ++i) {
        Sample sample, left;
        memcpy(&sample, row + i * sizeof sample, sizeof sample);
        memcpy(&left, row + (i - step) * sizeof left, sizeof left);
        sample = Sample(sample + left);
        memcpy(row + i * sizeof sample, &sample, sizeof sample);
    }
}

static void TurnSamples(uint8_t *row, size_t bytes, size_t each)
{
    for (size_t i = 0; i + each <= bytes; i += each) std::reverse(row + i, row + i + each);
}

// Puts an unpacked row at its place.
static void PutRow(TiffReader &reader, uint32_t y, uint32_t x, int32_t count, const uint8_t *from, size_t bytes,
                   int sample)
{
    const int bits = reader.shape.bits;
    const bool turned = !reader.fields.lowFirst && (bits == 16 || bits == 32 || bits == 64);
    if (turned || reader.predictor == FROM_THE_LEFT) {
        reader.row.assign(from, from + bytes);
        from = reader.row.data();
        if (turned) TurnSamples(reader.row.data(), bytes, size_t(bits) / 8);
        const size_t step = SamplesApart(reader.shape) ? 1 : reader.shape.samples;
        if (reader.predictor != FROM_THE_LEFT) {
        } else if (bits == 8) AddUp<uint8_t>(reader.row.data(), bytes, step);
        else if (bits == 16) AddUp<uint16_t>(reader.row.data(), bytes, step);
        else AddUp<uint32_t>(reader.row.data(), bytes, step);
    }
    PutTiffPart(reader.shape, y, x, count, from, sample);
}

// Has the component unpack strips, or a tile as one strip: a grey picture of bytes, or of bits where the way of packing
// goes by them.
static bool Unpack(TiffReader &reader, const Packed &packed, uint32_t pixels, uint32_t rows, const TakesRow &takesRow)
{
    const bool fax = IsFax(reader);
    const uint64_t bytes = TiffRowBytes(reader.shape, pixels);
    if (bytes > 0x7FFFFFFF) return FailTiff(reader, "its rows are too long");
    const uint32_t width = fax ? pixels : uint32_t(bytes);
    std::vector<Field> fields;
    FileBytes file = StartFile(packed, fields);
    fields.insert(fields.end(), {{WIDTH, LONG_NUMBERS, {width}},
                                 {HEIGHT, LONG_NUMBERS, {rows}},
                                 {BITS, SHORT_NUMBERS, {fax ? 1u : 8u}},
                                 {SAMPLES, SHORT_NUMBERS, {1}},
                                 {PHOTOMETRIC, SHORT_NUMBERS, {TIFF_BLACK_IS_ZERO}}});
    if (packed.fax3) fields.push_back({FAX3_OPTIONS, LONG_NUMBERS, {packed.fax3}});
    if (packed.fax4) fields.push_back({FAX4_OPTIONS, LONG_NUMBERS, {packed.fax4}});
    AddFields(file, fields);
    std::string problem;
    const WicPicture unpacked = {WicContainer::TIFF, fax ? WicPixels::PACKED1 : WicPixels::PACKED8, width, rows};
    return WicUnpack(unpacked, file, takesRow, problem) || FailTiff(reader, problem);
}

static uint32_t Parts(uint64_t whole, uint64_t part) { return uint32_t((whole + part - 1) / part); }

// Strips or tiles `first` to `first + count - 1`.
static bool FindStrips(TiffReader &reader, uint32_t placesTag, uint32_t countsTag, uint64_t first, uint64_t count,
                       Packed &packed)
{
    const std::vector<uint32_t> places = Numbers(reader.fields, placesTag), counts = Numbers(reader.fields, countsTag);
    if (places.size() < first + count || counts.size() < first + count) {
        return FailTiff(reader, "parts of the picture are missing");
    }
    for (size_t i = size_t(first); i < first + count; ++i) {
        if (uint64_t(places[i]) + counts[i] > reader.bytes.size()) return EndsTooSoon(reader.reading.error);
        packed.strips.push_back({reader.bytes.data() + places[i], counts[i]});
    }
    return true;
}

static int SamplesToRead(const TiffReader &reader)
{
    return SamplesApart(reader.shape) ? std::min<int>(reader.shape.samples, reader.shape.colours + 1) : 1;
}

static bool ReadStrips(TiffReader &reader, int sample)
{
    const TiffShape &shape = reader.shape;
    Packed packed = reader.packed;
    packed.rowsEach = std::clamp<uint32_t>(Number(reader.fields, STRIP_ROWS, shape.height), 1, shape.height);
    const uint32_t strips = Parts(shape.height, packed.rowsEach);
    if (!FindStrips(reader, STRIPS, STRIP_BYTES, uint64_t(strips) * uint64_t(sample), strips, packed)) return false;
    const size_t bytes = size_t(TiffRowBytes(shape, shape.width));
    return Unpack(reader, packed, shape.width, shape.height, [&](uint32_t y, const uint8_t *row) {
        PutRow(reader, y, 0, int32_t(shape.width), row, bytes, sample);
    });
}

static bool ReadTiles(TiffReader &reader, int sample)
{
    const TiffShape &shape = reader.shape;
    const uint32_t tileWidth = Number(reader.fields, TILE_WIDTH, 0), tileHeight = Number(reader.fields, TILE_HEIGHT, 0);
    if (!tileWidth || !tileHeight || tileWidth % 8 || tileWidth > 0xFFFFFF || tileHeight > 0xFFFFFF) {
        return FailTiff(reader, "its tiles have no size");
    }
    const uint32_t across = Parts(shape.width, tileWidth), down = Parts(shape.height, tileHeight);
    const size_t bytes = size_t(TiffRowBytes(shape, tileWidth));
    for (uint64_t i = 0; i < uint64_t(across) * down; ++i) {
        const uint32_t left = uint32_t(i % across) * tileWidth, top = uint32_t(i / across) * tileHeight;
        const int32_t count = int32_t(std::min(tileWidth, shape.width - left));
        Packed packed = reader.packed;
        packed.rowsEach = tileHeight;
        const uint64_t tile = i + uint64_t(across) * down * uint64_t(sample);
        if (!FindStrips(reader, TILES, TILE_BYTES, tile, 1, packed)) return false;
        const auto takesRow = [&](uint32_t y, const uint8_t *row) {
            if (top + y < shape.height) PutRow(reader, top + y, left, count, row, bytes, sample);
        };
        if (!Unpack(reader, packed, tileWidth, tileHeight, takesRow)) return false;
    }
    return true;
}

static bool TakePalette(TiffReader &reader, FilePalette &palette)
{
    const std::vector<uint32_t> numbers = Numbers(reader.fields, COLOUR_MAP);
    const size_t entries = reader.shape.bits <= 8 ? size_t(1) << reader.shape.bits : 0;
    const std::vector<uint16_t> colours(numbers.begin(), numbers.end());
    const uint16_t *const maps[3] = {colours.data(), colours.data() + entries, colours.data() + 2 * entries};
    return PaletteOfMaps(reader.shape, entries && colours.size() >= 3 * entries ? maps : nullptr, palette);
}

// Packed data cannot make a picture of any size.
static bool PlausibleSize(const TiffReader &reader)
{
    const uint64_t growth = LargestGrowth(reader.packed.compression);
    const uint64_t bytes = TiffRowBytes(reader.shape, reader.shape.width) * reader.shape.height;
    return bytes / growth <= reader.bytes.size();
}

static bool ReadUnpacked(TiffReader &reader)
{
    FilePalette palette;
    if (!PlausibleSize(reader)) return EndsTooSoon(reader.reading.error);
    if (IsPalette(reader.shape) && !TakePalette(reader, palette)) return false;
    const bool multiplied = Number(reader.fields, EXTRA_SAMPLES, 0) == TIFF_MULTIPLIED_ALPHA;
    if (!StartTiffPicture(reader.shape, palette, multiplied)) return false;
    const bool tiled = FieldOf(reader.fields, TILES);
    for (int sample = 0; sample < SamplesToRead(reader); ++sample) {
        if (!(tiled ? ReadTiles(reader, sample) : ReadStrips(reader, sample))) return false;
    }
    FinishTiffPicture(reader.shape);
    return true;
}

// All of it left to the component.
static bool ReadConverted(TiffReader &reader)
{
    Reading &reading = reader.reading;
    const TiffShape &shape = reader.shape;
    const uint64_t pixels = uint64_t(shape.width) * shape.height;
    if (pixels / 1032 > reader.bytes.size()) return EndsTooSoon(reading.error);
    if (!StartPicture(reading.picture, RGB, shape.width, shape.height, reading.error)) return false;
    const bool plain = shape.compression == JPEG_PACKED && shape.samples == 3;
    if (!plain) reading.notices.push_back("the file's colours are turned into 8-bit RGB");
    std::string problem;
    const WicPicture unpacked = {WicContainer::TIFF, WicPixels::BGR24, shape.width, shape.height};
    const auto takesRow = [&](uint32_t y, const uint8_t *row) {
        memcpy(RowToFill(reading.picture, int32_t(y)), row, size_t(shape.width) * 3);
    };
    return WicUnpack(unpacked, reader.bytes, takesRow, problem) || FailTiff(reader, problem);
}

//---- Reading: the whole

static void TakeResolution(TiffReader &reader)
{
    const double x = Fraction(reader.fields, X_RESOLUTION), y = Fraction(reader.fields, Y_RESOLUTION);
    const uint32_t unit = Number(reader.fields, RESOLUTION_UNIT, INCHES);
    if ((unit != INCHES && unit != CENTIMETRES) || !(x > 0 && y > 0 && x < 1e9 && y < 1e9)) return;
    const double perInch = unit == CENTIMETRES ? 2.54 : 1.0;
    reader.reading.picture.extras.dotsPerInchX = x * perInch;
    reader.reading.picture.extras.dotsPerInchY = y * perInch;
}

static void TakeExtras(TiffReader &reader)
{
    Notices &notices = reader.reading.notices;
    TakeResolution(reader);
    const FileBytes profile = BytesOf(reader.fields, PROFILE);
    if (reader.shape.colours == 1 || reader.shape.colours == 3) reader.reading.picture.extras.colourProfile = profile;
    else if (!profile.empty()) notices.push_back("the colour profile is left out: it is not one for RGB");
    if (FieldOf(reader.fields, EXIF_FIELDS)) notices.push_back("the EXIF data are left out");
    if (reader.fields.more) notices.push_back("only the first of the file's pictures is read");
}

static void TellOrientation(TiffReader &reader)
{
    const uint32_t orientation = Number(reader.fields, ORIENTATION, 1);
    if (orientation == 1) return;
    reader.reading.notices.push_back("the picture stays as stored: its orientation mark (" +
                                     std::to_string(orientation) + ") is left out");
}

bool ReadTiff(Reading &reading)
{
    TiffReader reader = {reading};
    if (!TakeAll(reading, reader.bytes) || !FindFields(reader.fields, reading.error)) return false;
    if (!TakeShape(reader)) return false;
    TakePacking(reader);
    TellOrientation(reader);
    if (!(UnpackingIsEnough(reader) ? ReadUnpacked(reader) : ReadConverted(reader))) return false;
    TakeExtras(reader);
    return true;
}

//---- Writing

static uint32_t SamplesOf(const TiffRows &rows) { return uint32_t(rows.colours + rows.withAlpha); }

static bool PackRows(const Picture &picture, const TiffRows &rows, uint8_t method, FileBytes &packed,
                     std::string &problem)
{
    const size_t rowBytes = (size_t(picture.width) * SamplesOf(rows) * size_t(rows.bits) + 7) / 8;
    std::vector<uint8_t> row(size_t(picture.width) * 4), alpha(size_t(picture.width));
    const WicPicture form = {WicContainer::TIFF, WicPixels::PACKED8, uint32_t(rowBytes), uint32_t(picture.height)};
    const auto fillsRow = [&](uint32_t y, uint8_t *to) {
        FillTiffRow(picture, int32_t(y), rows, row.data(), alpha);
        memcpy(to, row.data(), rowBytes);
    };
    return WicPack(form, {{L"TiffCompressionMethod", false, 0, method}}, fillsRow, packed, problem);
}

// The strips of the component's file. False when they cannot stand for other samples than its own.
static bool TakePacked(const TiffFields &fields, const TiffRows &rows, Packed &packed, uint32_t &predictor)
{
    const std::vector<uint32_t> places = Numbers(fields, STRIPS), counts = Numbers(fields, STRIP_BYTES);
    packed.compression = Number(fields, COMPRESSION, NOT_PACKED);
    packed.rowsEach = Number(fields, STRIP_ROWS, ~0u);
    packed.fillOrder = Number(fields, FILL_ORDER, 1);
    predictor = Number(fields, PREDICTOR, NO_PREDICTION);
    if (predictor != NO_PREDICTION && SamplesOf(rows) * uint32_t(rows.bits) != 8) return false;
    if (places.empty() || places.size() != counts.size()) return false;
    for (size_t i = 0; i < places.size(); ++i) {
        if (uint64_t(places[i]) + counts[i] > fields.file.size()) return false;
        packed.strips.push_back({fields.file.data() + places[i], counts[i]});
    }
    return true;
}

static void AddResolution(const PictureExtras &extras, std::vector<Field> &fields)
{
    const double x = std::round(extras.dotsPerInchX * 1000), y = std::round(extras.dotsPerInchY * 1000);
    if (!(x > 0 && y > 0 && x < 4e9 && y < 4e9)) return;
    fields.push_back({X_RESOLUTION, FRACTIONS, {uint32_t(x), 1000}});
    fields.push_back({Y_RESOLUTION, FRACTIONS, {uint32_t(y), 1000}});
    fields.push_back({RESOLUTION_UNIT, SHORT_NUMBERS, {INCHES}});
}

static void AddPalette(const Picture &picture, int bits, std::vector<Field> &fields)
{
    uint16_t maps[3][256];
    FillColourMaps(picture, bits, maps);
    Field field = {COLOUR_MAP, SHORT_NUMBERS, {}};
    for (const auto &map : maps) field.numbers.insert(field.numbers.end(), map, map + (1 << bits));
    fields.push_back(field);
}

static FileBytes Reframe(const Packed &packed, uint32_t predictor, const Picture &picture, const TiffRows &rows)
{
    std::vector<Field> fields;
    FileBytes file = StartFile(packed, fields);
    const std::vector<uint32_t> depths(SamplesOf(rows), uint32_t(rows.bits));
    fields.insert(fields.end(), {{WIDTH, LONG_NUMBERS, {uint32_t(picture.width)}},
                                 {HEIGHT, LONG_NUMBERS, {uint32_t(picture.height)}},
                                 {BITS, SHORT_NUMBERS, depths},
                                 {PHOTOMETRIC, SHORT_NUMBERS, {uint32_t(TiffPhotometricFor(picture))}},
                                 {ORIENTATION, SHORT_NUMBERS, {1}},
                                 {SAMPLES, SHORT_NUMBERS, {SamplesOf(rows)}},
                                 {LAYOUT, SHORT_NUMBERS, {SAMPLES_TOGETHER}}});
    if (predictor != NO_PREDICTION) fields.push_back({PREDICTOR, SHORT_NUMBERS, {predictor}});
    if (rows.withAlpha) fields.push_back({EXTRA_SAMPLES, SHORT_NUMBERS, {TIFF_PLAIN_ALPHA}});
    if (picture.colourType == PALETTE) AddPalette(picture, rows.bits, fields);
    AddResolution(picture.extras, fields);
    const FileBytes &profile = picture.extras.colourProfile;
    if (!profile.empty()) fields.push_back({PROFILE, PLAIN_BYTES, {}, profile});
    AddFields(file, fields);
    return file;
}

bool WriteTiff(Writing &writing)
{
    const Picture &picture = writing.picture;
    const TiffRows rows = TiffRowsFor(picture);
    TellLeftOut(picture, "TIFF", KEEPS_PROFILE | KEEPS_RESOLUTION | (rows.withAlpha ? KEEPS_MASK : 0), writing.notices);
    std::string problem = "no pixels came";
    for (uint8_t method : {WIC_LZW, WIC_NOT_PACKED}) {
        FileBytes bytes;
        Packed packed;
        uint32_t predictor = NO_PREDICTION;
        if (!PackRows(picture, rows, method, bytes, problem)) break;
        TiffFields fields = {bytes};
        if (!FindFields(fields, problem) || !TakePacked(fields, rows, packed, predictor)) continue;
        return PutAll(writing, Reframe(packed, predictor, picture, rows));
    }
    return Fail(writing.error, "cannot be written as TIFF (" + problem + ")");
}
