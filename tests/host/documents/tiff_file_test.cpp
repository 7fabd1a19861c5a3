// TIFF files that the host does not write itself: strips and tiles, samples together and apart, other depths and inks.
// They are put together here, so that every platform's reader is held against the same bytes.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <cstring>
#include <utility>

enum { WHITE_IS_ZERO = 0, BLACK_IS_ZERO = 1, COLOURS = 2, COLOUR_MAP = 3, INKS = 5, LAB = 8 };
enum { UNSIGNED = 1, FLOATING = 3 };
enum { TOGETHER = 1, APART = 2 };
enum { MULTIPLIED = 1, PLAIN = 2 };
enum { NOT_PACKED = 1, FAX4 = 4, LZW = 5 };
enum { SHORTS = 3, LONGS = 4, FRACTIONS = 5 };

// The product has records of these names.
namespace
{

struct TiffField {
    uint32_t tag, type;
    std::vector<uint32_t> numbers;   // of fractions two each
};

struct TiffForm {
    int32_t width = 0, height = 0;
    int bits = 8, samples = 1, photometric = BLACK_IS_ZERO;
    int format = UNSIGNED, planes = TOGETHER, tile = 0;   // a tile's edge, 0 for strips
    int compression = NOT_PACKED;
    int alpha = -1;   // kind of the first extra sample
    std::vector<TiffField> more = {};
    bool highFirst = false;     // numbers of 16 and 32 bits begin with their high byte
    bool differences = false;   // LZW: each byte but a row's first of its sample is stored as a difference
};

}   // namespace

//---- A file, put together

static void AddNumber(Bytes &file, const TiffForm &form, int bytes, uint32_t value)
{
    for (int i = 0; i < bytes; ++i) file.push_back(uint8_t(value >> 8 * (form.highFirst ? bytes - 1 - i : i)));
}

static void AddPicture(Bytes &file, const TiffForm &form, std::vector<TiffField> fields, size_t &linkAt)
{
    std::sort(fields.begin(), fields.end(), [](const auto &a, const auto &b) { return a.tag < b.tag; });
    Bytes link, values;
    AddNumber(link, form, 4, uint32_t(file.size()));
    std::copy(link.begin(), link.end(), file.begin() + ptrdiff_t(linkAt));
    const size_t valuesAt = file.size() + 2 + 12 * fields.size() + 4;
    AddNumber(file, form, 2, uint32_t(fields.size()));
    for (const TiffField &field : fields) {
        Bytes own;
        for (uint32_t number : field.numbers) AddNumber(own, form, field.type == SHORTS ? 2 : 4, number);
        AddNumber(file, form, 2, field.tag);
        AddNumber(file, form, 2, field.type);
        AddNumber(file, form, 4, uint32_t(field.numbers.size() / (field.type == FRACTIONS ? 2 : 1)));
        if (own.size() > 4) AddNumber(file, form, 4, uint32_t(valuesAt + values.size()));
        else file.insert(file.end(), own.begin(), own.end()), file.resize(file.size() + 4 - own.size());
        if (own.size() > 4) values.insert(values.end(), own.begin(), own.end());
    }
    linkAt = file.size();
    AddNumber(file, form, 4, 0);
    file.insert(file.end(), values.begin(), values.end());
}

static std::vector<TiffField> FieldsOf(const TiffForm &form)
{
    const auto number = [](int value) { return std::vector<uint32_t>{uint32_t(value)}; };
    std::vector<TiffField> fields = {
        {256, LONGS, number(form.width)},
        {257, LONGS, number(form.height)},
        {258, SHORTS, std::vector<uint32_t>(size_t(form.samples), uint32_t(form.bits))},
        {259, SHORTS, number(form.compression)},
        {262, SHORTS, number(form.photometric)},
        {277, SHORTS, number(form.samples)},
        {284, SHORTS, number(form.planes)},
        {339, SHORTS, std::vector<uint32_t>(size_t(form.samples), uint32_t(form.format))},
    };
    if (form.alpha >= 0) fields.push_back({338, SHORTS, number(form.alpha)});
    if (form.differences) fields.push_back({317, SHORTS, {2}});
    fields.insert(fields.end(), form.more.begin(), form.more.end());
    return fields;
}

// LZW's codes for single bytes, 9 bits each; the table is cleared before longer codes would be due.
static Bytes SingleCodes(const Bytes &bytes)
{
    enum { CLEAR = 256, END = 257 };
    Bytes packed;
    uint32_t bits = 0;
    int count = 0;
    const auto add = [&](uint32_t code) {
        bits = bits << 9 | code;
        for (count += 9; count >= 8; count -= 8) packed.push_back(uint8_t(bits >> (count - 8)));
    };
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i % 200 == 0) add(CLEAR);
        add(bytes[i]);
    }
    add(END);
    packed.push_back(uint8_t(bits << (8 - count)));
    return packed;
}

// A strip's or tile's rows as they are stored.
static Bytes Stored(const TiffForm &form, Bytes rows, size_t rowBytes)
{
    const size_t step = form.planes == APART ? 1 : size_t(form.samples);
    for (size_t at = rows.size(); form.differences && at-- > 0;) {
        if (at % rowBytes >= step) rows[at] = uint8_t(rows[at] - rows[at - step]);
    }
    return form.compression == LZW ? SingleCodes(rows) : rows;
}

// Tiles of samples one byte long each; what hangs over the picture's edge is 0xEE.
static std::vector<Bytes> Tiles(const TiffForm &form, const Bytes &samples)
{
    const int planes = form.planes == APART ? form.samples : 1, each = form.samples / planes;
    std::vector<Bytes> tiles;
    for (int plane = 0; plane < planes; ++plane) {
        for (int top = 0; top < form.height; top += form.tile) {
            for (int left = 0; left < form.width; left += form.tile) {
                Bytes tile(size_t(form.tile * form.tile * each));
                for (int i = 0; i < form.tile * form.tile * each; ++i) {
                    const int y = top + i / each / form.tile, x = left + i / each % form.tile;
                    const bool inside = y < form.height && x < form.width;
                    const int sample = planes > 1 ? plane : i % each;
                    tile[size_t(i)] = inside ? samples[size_t((y * form.width + x) * form.samples + sample)] : 0xEE;
                }
                tiles.push_back(Stored(form, tile, size_t(form.tile * each)));
            }
        }
    }
    return tiles;
}

// Strips of three rows. Only samples of one byte each can be set apart.
static std::vector<Bytes> Strips(const TiffForm &form, const Bytes &rows)
{
    const int planes = form.planes == APART ? form.samples : 1;
    const size_t rowBytes = rows.size() / size_t(form.height), ownBytes = rowBytes / size_t(planes);
    std::vector<Bytes> strips;
    for (int plane = 0; plane < planes; ++plane) {
        for (int y = 0; y < form.height; ++y) {
            if (y % 3 == 0) strips.emplace_back();
            for (size_t i = 0; i < ownBytes; ++i) {
                strips.back().push_back(rows[rowBytes * size_t(y) + i * size_t(planes) + size_t(plane)]);
            }
        }
    }
    for (Bytes &strip : strips) strip = Stored(form, strip, ownBytes);
    return strips;
}

static void AddPage(Bytes &file, const TiffForm &form, const Bytes &rows, size_t &linkAt)
{
    const auto parts = form.tile                  ? Tiles(form, rows)
                       : form.compression == FAX4 ? std::vector<Bytes>{rows}
                                                  : Strips(form, rows);
    TiffField places = {form.tile ? 324u : 273u, LONGS, {}}, counts = {form.tile ? 325u : 279u, LONGS, {}};
    for (const Bytes &part : parts) {
        places.numbers.push_back(uint32_t(file.size()));
        counts.numbers.push_back(uint32_t(part.size()));
        file.insert(file.end(), part.begin(), part.end());
    }
    file.resize(file.size() + file.size() % 2);
    std::vector<TiffField> fields = FieldsOf(form);
    fields.insert(fields.end(), {places, counts});
    if (form.tile) fields.push_back({322, SHORTS, {uint32_t(form.tile)}});
    fields.push_back({form.tile ? 323u : 278u, SHORTS, {uint32_t(form.tile ? form.tile : 3)}});
    AddPicture(file, form, fields, linkAt);
}

static std::string Damage(const std::string &words) { return "damaged or unknown TIFF data (" + words + ")"; }

static Bytes FileStart(const TiffForm &form)
{
    Bytes file;
    AddText(file, form.highFirst ? "MM" : "II");
    AddNumber(file, form, 2, 42);
    AddNumber(file, form, 4, 0);
    return file;
}

// The file of the given samples: rows as they stand in a file whose samples stand together, or packed bytes.
static Bytes TiffFile(const TiffForm &form, const Bytes &rows, int pages = 1)
{
    Bytes file = FileStart(form);
    size_t linkAt = 4;
    for (int page = 0; page < pages; ++page) AddPage(file, form, rows, linkAt);
    return file;
}

static Bytes RandomSamples(size_t count, uint32_t seed)
{
    std::mt19937 generator(seed);
    Bytes samples(count);
    for (uint8_t &sample : samples) sample = uint8_t(generator());
    return samples;
}

static Picture FromSamples(const TiffForm &form, const Bytes &samples)
{
    Values colours, alpha;
    for (int y = 0; y < form.height; ++y) {
        colours.emplace_back();
        alpha.emplace_back();
        for (int x = 0; x < form.width; ++x) {
            const uint8_t *pixel = samples.data() + (y * form.width + x) * form.samples;
            colours.back().push_back(form.samples < 3 ? pixel[0] : uint32_t(pixel[0] | pixel[1] << 8 | pixel[2] << 16));
            alpha.back().push_back(pixel[form.samples - 1]);
        }
    }
    Picture picture = form.samples < 3 ? Grey(colours) : Rgb(colours);
    return form.samples % 2 == 0 ? WithMask(std::move(picture), alpha) : std::move(picture);
}

TEST(TiffFile, StripsTilesAndSamplesApartAreTheSamePicture)
{
    for (int samples : {1, 2, 3, 4}) {
        for (int planes : {TOGETHER, APART}) {
            for (int tile : {0, 16}) {
                for (PictureSize size : AWKWARD_SIZES) {
                    SCOPED_TRACE(std::to_string(samples) + " samples, planes " + std::to_string(planes) + ", tile " +
                                 std::to_string(tile) + ", " + std::to_string(size.width) + " wide");
                    const TiffForm form = {.width = size.width,
                                           .height = size.height,
                                           .samples = samples,
                                           .photometric = samples < 3 ? BLACK_IS_ZERO : COLOURS,
                                           .planes = planes,
                                           .tile = tile,
                                           .alpha = samples % 2 ? -1 : PLAIN};
                    const Bytes bytes = RandomSamples(size_t(size.width * size.height * samples), 1);
                    const ReadResult result = ReadBytes(TiffFile(form, bytes));
                    ASSERT_TRUE(result.done) << result.error;
                    EXPECT_TRUE(SameBytes(result.picture, FromSamples(form, bytes)));
                    EXPECT_TRUE(result.notices.empty());
                }
            }
        }
    }
}

TEST(TiffFile, DifferencesAreAddedUp)
{
    for (int samples : {1, 2, 3, 4}) {
        for (int planes : {TOGETHER, APART}) {
            const TiffForm form = {.width = 17,
                                   .height = 13,
                                   .samples = samples,
                                   .photometric = samples < 3 ? BLACK_IS_ZERO : COLOURS,
                                   .planes = planes,
                                   .compression = LZW,
                                   .alpha = samples % 2 ? -1 : PLAIN,
                                   .differences = true};
            const Bytes bytes = RandomSamples(size_t(17 * 13 * samples), 2);
            const ReadResult result = ReadBytes(TiffFile(form, bytes));
            ASSERT_TRUE(result.done) << result.error;
            EXPECT_TRUE(SameBytes(result.picture, FromSamples(form, bytes))) << samples << ", " << planes;
        }
    }
}

TEST(TiffFile, HighBytesMayComeFirst)
{
    const TiffForm form = {.width = 3, .height = 1, .bits = 16, .highFirst = true};
    const ReadResult result = ReadBytes(TiffFile(form, {0x00, 0x7F, 0x80, 0x80, 0xFF, 0x00}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{0, 128, 254}}))) << result.error;
}

TEST(TiffFile, OneBitCountsFromBlackOrWhite)
{
    const ReadResult black = ReadBytes(TiffFile({.width = 3, .height = 1, .bits = 1}, {0b10111111}));
    EXPECT_TRUE(SameBytes(black.picture, Bits({"101"})));
    const TiffForm form = {.width = 3, .height = 1, .bits = 1, .photometric = WHITE_IS_ZERO, .compression = FAX4};
    // A black pixel (no white ones before it), one that begins a place left of the end above it, the row's end, twice
    // the mark of the picture's end: 001 00110101 010, 010, 1, 000000000001 000000000001.
    const ReadResult white = ReadBytes(TiffFile(form, {0x26, 0xA9, 0x40, 0x04, 0x00, 0x40}));
    EXPECT_TRUE(SameBytes(white.picture, Bits({"010"}))) << white.error;
    EXPECT_TRUE(white.picture.extras.whiteIsZero);
}

// Each byte's lowest bit first, and an option that the rows make no use of.
TEST(TiffFile, FaxRowsMayHaveTheirBitsTurnedRound)
{
    TiffForm form = {.width = 3, .height = 1, .bits = 1, .photometric = WHITE_IS_ZERO, .compression = FAX4};
    const Bytes rows = {0b00110111, 0b11100000, 0b00000001, 0b00000000, 0b00010000};
    const ReadResult plain = ReadBytes(TiffFile(form, rows));
    ASSERT_TRUE(plain.done) << plain.error;
    Bytes turned = rows;
    for (uint8_t &byte : turned)
        for (int bit = 0, old = std::exchange(byte, uint8_t(0)); bit < 8; ++bit)
            byte |= uint8_t((old >> bit & 1) << (7 - bit));
    form.more = {{266, SHORTS, {2}}, {293, LONGS, {2}}};
    const ReadResult result = ReadBytes(TiffFile(form, turned));
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_TRUE(SamePicture(result.picture, plain.picture));
}

TEST(TiffFile, FewBitsOfGreyAreSpread)
{
    const ReadResult four = ReadBytes(TiffFile({.width = 3, .height = 1, .bits = 4}, {0x1F, 0x30}));
    EXPECT_TRUE(SameBytes(four.picture, Grey({{17, 255, 51}})));
    const TiffForm turned = {.width = 2, .height = 1, .bits = 2, .photometric = WHITE_IS_ZERO};
    EXPECT_TRUE(SameBytes(ReadBytes(TiffFile(turned, {0b00010000})).picture, Grey({{255, 170}})));
}

TEST(TiffFile, FourBitPalettesKeepTheEntriesThatCount)
{
    TiffForm form = {.width = 3, .height = 1, .bits = 4, .photometric = COLOUR_MAP};
    form.more = {{320, SHORTS, std::vector<uint32_t>(48)}};
    form.more[0].numbers[1] = 257;
    form.more[0].numbers[16 + 1] = 514;
    form.more[0].numbers[32 + 1] = 771;
    const ReadResult result = ReadBytes(TiffFile(form, {0x01, 0x30}));
    EXPECT_TRUE(SamePicture(result.picture, Palette({0, 0x030201, 0, 0}, {{0, 1, 3}}))) << result.error;
}

template <typename Value> static Bytes InMemory(std::initializer_list<Value> values)
{
    Bytes bytes(values.size() * sizeof(Value));
    memcpy(bytes.data(), values.begin(), bytes.size());
    return bytes;
}

TEST(TiffFile, OtherSamplesAreBroughtToEightBitsWithANotice)
{
    const TiffForm words = {.width = 3, .height = 1, .bits = 16};
    const ReadResult sixteen = ReadBytes(TiffFile(words, InMemory<uint16_t>({0, 0x8080, 0xFFFF})));
    EXPECT_TRUE(SamePicture(sixteen.picture, Grey({{0, 128, 255}})));
    EXPECT_EQ(sixteen.notices, std::vector<std::string>{"16 bits per sample are brought to 8"});
    const TiffForm floats = {.width = 4, .height = 1, .bits = 32, .format = FLOATING};
    const ReadResult floating = ReadBytes(TiffFile(floats, InMemory<float>({-1, 0.5f, 1, 7})));
    EXPECT_TRUE(SamePicture(floating.picture, Grey({{0, 128, 255, 255}})));
    EXPECT_EQ(floating.notices.size(), 1u);
    const TiffForm twelve = {.width = 2, .height = 1, .bits = 12};
    EXPECT_TRUE(SamePicture(ReadBytes(TiffFile(twelve, {0x00, 0x0F, 0xFF})).picture, Grey({{0, 255}})));
}

TEST(TiffFile, InksBecomeRgbWithANotice)
{
    const TiffForm form = {.width = 3, .height = 1, .samples = 4, .photometric = INKS};
    const ReadResult result = ReadBytes(TiffFile(form, {0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255}));
    EXPECT_TRUE(SamePicture(result.picture, Rgb({{0xFFFFFF, 0xFFFF00, 0}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"CMYK is turned into RGB, without regard to a colour profile"});
}

#ifndef _WIN32   // where it is the system's own codec that knows them or does not
TEST(TiffFile, LabAndSubsampledColoursAreTurnedIntoRgb)
{
    const TiffForm lab = {.width = 2, .height = 3, .samples = 3, .photometric = LAB};
    const ReadResult result = ReadBytes(TiffFile(lab, {255, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_GT(PixelOf(result.picture, 0, 0) & 0xFF, 240u);
    EXPECT_EQ(PixelOf(result.picture, 1, 0), 0u);
    EXPECT_GT(PixelOf(result.picture, 0, 1) & 0xFF, 240u);
    EXPECT_EQ(PixelOf(result.picture, 0, 2), 0u);
    EXPECT_EQ(result.notices.size(), 1u);
}

// Tiles, the last of which hang over the picture's edges; of whole KiB and of others.
TEST(TiffFile, LabInTilesIsTurnedIntoRgb)
{
    const TiffForm strips = {.width = 45, .height = 39, .samples = 3, .photometric = LAB};
    Bytes samples(3 * 45 * 39);
    for (size_t i = 0; i < samples.size(); i += 3) samples[i] = uint8_t(i / 5);   // brightness alone
    const ReadResult wanted = ReadBytes(TiffFile(strips, samples));
    for (const int tile : {16, 32}) {
        TiffForm tiles = strips;
        tiles.tile = tile;
        const ReadResult result = ReadBytes(TiffFile(tiles, samples));
        ASSERT_TRUE(wanted.done && result.done) << wanted.error << result.error;
        EXPECT_TRUE(SamePicture(result.picture, wanted.picture)) << tile;
    }
}

TEST(TiffFile, PartsTooLargeToBeTurnedIntoRgbAreRefused)
{
    TiffForm form = {.width = 6000, .height = 3000, .samples = 3, .photometric = LAB, .compression = LZW};
    form.more = {{278, LONGS, {3000}}};
    const uint32_t packed = 300000;
    Bytes file = FileStart(form);
    size_t linkAt = 4;
    std::vector<TiffField> fields = FieldsOf(form);
    fields.insert(fields.end(), {{273, LONGS, {8}}, {279, LONGS, {packed}}});
    file.resize(8 + packed);
    AddPicture(file, form, fields, linkAt);
    EXPECT_EQ(ReadBytes(file).error, Damage("its parts are larger than can be converted"));
}

TEST(TiffFile, EveryPageIsTurnedIntoRgbByItself)
{
    const TiffForm large = {.width = 40, .height = 40, .samples = 3, .photometric = LAB};
    const TiffForm small = {.width = 2, .height = 1, .samples = 3, .photometric = LAB};
    Bytes file = FileStart(large);
    size_t linkAt = 4;
    AddPage(file, large, Bytes(3 * 40 * 40, 0), linkAt);
    AddPage(file, small, {255, 0, 0, 255, 0, 0}, linkAt);
    Picture first;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    std::vector<Picture> further;
    ASSERT_TRUE(ReadPictureBytes(file, first, format, notices, error, {.further = &further})) << error;
    EXPECT_EQ(PixelOf(first, 0, 0), 0u);
    ASSERT_EQ(further.size(), 1u);
    EXPECT_EQ(further[0].width, 2);
    EXPECT_GT(PixelOf(further[0], 1, 0) & 0xFF, 240u);
}
#endif

TEST(TiffFile, ColoursMultipliedByAlphaAreDividedByIt)
{
    const TiffForm form = {.width = 2, .height = 1, .samples = 4, .photometric = COLOURS, .alpha = MULTIPLIED};
    const ReadResult result = ReadBytes(TiffFile(form, {50, 100, 0, 100, 0, 0, 0, 0}));
    EXPECT_TRUE(SamePicture(result.picture, WithMask(Rgb({{0x00FF80, 0}}), {{100, 0}})));
    EXPECT_EQ(result.notices.size(), 1u);
}

TEST(TiffFile, TheFirstPageIsReadAndTurnedUpright)
{
    TiffForm form = {.width = 1, .height = 2};
    form.more = {{274, SHORTS, {4}}};
    const ReadResult result = ReadBytes(TiffFile(form, {1, 2}, 2));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{2}, {1}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"only the first of the file's pictures is read"});
}

TEST(TiffFile, ResolutionPerCentimetreIsUnderstood)
{
    TiffForm form = {.width = 1, .height = 1};
    form.more = {{296, SHORTS, {3}}, {282, FRACTIONS, {100, 1}}, {283, FRACTIONS, {50, 1}}};
    const ReadResult result = ReadBytes(TiffFile(form, {1}));
    EXPECT_NEAR(result.picture.extras.dotsPerInchX, 254, 0.01);
    EXPECT_NEAR(result.picture.extras.dotsPerInchY, 127, 0.01);
}

//---- Rare and damaged ones

static ReadResult ReadGreys(int bits, int format, const Bytes &stored, int32_t width)
{
    return ReadBytes(TiffFile({.width = width, .height = 1, .bits = bits, .format = format}, stored));
}

TEST(TiffFile, SamplesOfEveryKindBecomeBytes)
{
    enum { SIGNED = 2, UNTYPED = 4 };
    const Bytes halves = InMemory<uint16_t>({0x3C00, 0x3800, 0xBC00, 0x0001, 0x4200});   // 1, 0.5, -1, next to 0, 3
    EXPECT_TRUE(SamePicture(ReadGreys(16, FLOATING, halves, 5).picture, Grey({{255, 128, 0, 0, 255}})));
    EXPECT_TRUE(SamePicture(ReadGreys(64, FLOATING, InMemory<double>({0.5, 2}), 2).picture, Grey({{128, 255}})));
    EXPECT_TRUE(SamePicture(ReadGreys(8, SIGNED, {0x80, 0, 64, 127}, 4).picture, Grey({{0, 0, 128, 255}})));
    EXPECT_TRUE(
        SamePicture(ReadGreys(16, SIGNED, InMemory<int16_t>({-5, 16384, 32767}), 3).picture, Grey({{0, 128, 255}})));
    EXPECT_TRUE(SamePicture(ReadGreys(32, SIGNED, InMemory<int32_t>({-5, 1 << 30, INT32_MAX}), 3).picture,
                            Grey({{0, 128, 255}})));
    EXPECT_TRUE(SamePicture(ReadGreys(32, UNSIGNED, InMemory<uint32_t>({5, 1u << 31, UINT32_MAX}), 3).picture,
                            Grey({{0, 128, 255}})));
    EXPECT_TRUE(SamePicture(ReadGreys(8, UNTYPED, {7, 9}, 2).picture, Grey({{7, 9}})));
    EXPECT_EQ(ReadGreys(8, SIGNED, {1, 2}, 2).notices,
              std::vector<std::string>{"signed samples are brought to 8 bits from 0 up"});
    const struct {
        int bits, format;
    } unknown[] = {{8, FLOATING}, {12, SIGNED}, {24, UNSIGNED}, {8, 9}};
    for (const auto &kind : unknown)
        EXPECT_EQ(ReadGreys(kind.bits, kind.format, Bytes(8), 1).error,
                  std::to_string(kind.bits) + " bits per sample of this kind are not known here");
}

TEST(TiffFile, GreysThatCountFromWhiteAreTurnedOverAndTheirMaskIsNot)
{
    for (int planes : {TOGETHER, APART}) {
        const TiffForm form = {
            .width = 2, .height = 1, .samples = 2, .photometric = WHITE_IS_ZERO, .planes = planes, .alpha = PLAIN};
        EXPECT_TRUE(SamePicture(ReadBytes(TiffFile(form, {10, 200, 20, 100})).picture,
                                WithMask(Grey({{245, 235}}), {{200, 100}})))
            << planes;
    }
    const TiffForm mask = {.width = 2, .height = 1, .photometric = 4};   // a mask is a picture too
    EXPECT_TRUE(SamePicture(ReadBytes(TiffFile(mask, {10, 20})).picture, Grey({{10, 20}})));
}

TEST(TiffFile, PalettesHaveAtMostEightBitsAndAMapOfColours)
{
    const std::string none = "there is no palette of at most 256 colours";
    EXPECT_EQ(ReadBytes(TiffFile({.width = 1, .height = 1, .photometric = COLOUR_MAP}, {0})).error, none);
    TiffForm form = {.width = 1, .height = 1, .bits = 16, .photometric = COLOUR_MAP};
    form.more = {{320, SHORTS, std::vector<uint32_t>(48, 9)}};
    EXPECT_EQ(ReadBytes(TiffFile(form, {0, 0})).error, none);
    form.bits = 8;
    EXPECT_EQ(ReadBytes(TiffFile(form, {0})).error, none) << "a short map";
    form.bits = 4;
    form.samples = 2;
    EXPECT_EQ(ReadBytes(TiffFile(form, {0})).error, "a palette picture with a mask needs 8 bits");
    form.bits = 8;
    form.alpha = MULTIPLIED;   // which no index can be
    form.more[0].numbers.assign(768, 9);
    const ReadResult masked = ReadBytes(TiffFile(form, {3, 100}));
    EXPECT_TRUE(masked.notices.empty());
    ASSERT_TRUE(masked.picture.mask) << masked.error;
    EXPECT_EQ(masked.picture.mask[0], 100);
}

TEST(TiffFile, TilesHaveASize)
{
    const struct {
        uint32_t width, height;
    } sizes[] = {{0, 8}, {8, 0}, {12, 8}, {0x1000000, 8}, {8, 0x10000}};
    for (const auto &size : sizes) {
        TiffForm form = {.width = 2, .height = 1};
        form.more = {{322, LONGS, {size.width}}, {323, LONGS, {size.height}}, {324, LONGS, {8}}};
        EXPECT_EQ(ReadBytes(TiffFile(form, {1, 2})).error, Damage("its tiles have no size")) << size.width;
    }
    TiffForm long_ = {.width = 1, .height = 1, .bits = 32, .samples = 64};
    long_.more = {{322, LONGS, {0xFFFFF8}}, {323, LONGS, {8}}, {324, LONGS, {8}}};
    EXPECT_EQ(ReadBytes(TiffFile(long_, Bytes(256))).error, Damage("its rows are too long"));
}

TEST(TiffFile, WhatAPageLacksIsTold)
{
    TiffForm form = {.width = 2, .height = 2};
    Bytes without = TiffFile(form, {1, 2, 3, 4});
    for (size_t at = 12; at + 1 < without.size(); at += 2)   // the strips' places, under a number that means nothing
        if (without[at] == 0x11 && without[at + 1] == 0x01) without[at] = 0x10;
    EXPECT_EQ(ReadBytes(without).error, Damage("parts of the picture are missing"));
    EXPECT_EQ(ReadBytes(TiffFile({.width = 2, .height = 2, .planes = 3}, Bytes(8))).error,
              Damage("its samples are laid out in a way not known here"));
    form.samples = 2;
    form.more = {{258, SHORTS, {4, 8}}};   // comes behind the file's own, and is passed over
    EXPECT_TRUE(ReadBytes(TiffFile(form, Bytes(8))).done);
    for (const auto &[page, line] : {std::pair(2, "has 1 page, not 2"), std::pair(5, "has 1 page, not 5")}) {
        Picture picture;
        FileFormat format;
        std::vector<std::string> notices;
        std::string error;
        EXPECT_FALSE(ReadPictureBytes(TiffFile({.width = 1, .height = 1}, {1}), picture, format, notices, error,
                                      {.page = page}));
        EXPECT_EQ(error, line);
    }
}

// A page that cannot be read is named, and what stands in the file otherwise is not taken for all of it.
TEST(TiffFile, ADamagedPageIsNamed)
{
    const TiffForm good = {.width = 1, .height = 1};
    TiffForm bad = {.width = 1, .height = 1, .bits = 24};
    Bytes file = FileStart(good);
    size_t linkAt = 4;
    AddPage(file, good, {1}, linkAt);
    AddPage(file, bad, {1, 2, 3}, linkAt);
    Picture first;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    std::vector<Picture> further;
    EXPECT_FALSE(ReadPictureBytes(file, first, format, notices, error, {.further = &further}));
    EXPECT_EQ(error, "page 2: 24 bits per sample of this kind are not known here");
    EXPECT_TRUE(ReadPictureBytes(file, first, format, notices, error, {.page = 1})) << error;
}

TEST(TiffFile, PagesStayAsStoredWhereThatIsAsked)
{
    TiffForm form = {.width = 1, .height = 2, .bits = 16};
    form.more = {{274, SHORTS, {4}}};
    Picture first;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    std::vector<Picture> further;
    const Bytes file = TiffFile(form, InMemory<uint16_t>({0, 0xFFFF}), 2);
    ASSERT_TRUE(ReadPictureBytes(file, first, format, notices, error, {.further = &further, .asStored = true}))
        << error;
    ASSERT_EQ(further.size(), 1u);
    EXPECT_TRUE(SamePicture(further[0], Grey({{0}, {255}})));
    EXPECT_EQ(notices.size(), 1u) << "said once of both";
    ASSERT_TRUE(ReadPictureBytes(file, first, format, notices, error, {.further = &further})) << error;
    EXPECT_TRUE(SamePicture(further[0], Grey({{255}, {0}})));
}

TEST(TiffFile, AResolutionThatIsNoneIsNotKept)
{
    const auto dots = [](uint32_t unit, std::vector<uint32_t> x, std::vector<uint32_t> y) {
        TiffForm form = {.width = 1, .height = 1};
        form.more = {{296, SHORTS, {unit}}, {282, FRACTIONS, std::move(x)}, {283, FRACTIONS, std::move(y)}};
        return ReadBytes(TiffFile(form, {1})).picture.extras.dotsPerInchX;
    };
    EXPECT_EQ(dots(2, {300, 1}, {300, 1}), 300);
    EXPECT_EQ(dots(1, {300, 1}, {300, 1}), 0) << "a ratio";
    EXPECT_EQ(dots(2, {0, 1}, {300, 1}), 0);
    EXPECT_EQ(dots(2, {300, 1}, {300, 0}), 0);
    EXPECT_EQ(dots(2, {4000000000, 1}, {300, 1}), 0);
    EXPECT_EQ(dots(2, {300, 1}, {4000000000, 1}), 0);
    TiffForm form = {.width = 1, .height = 1};
    form.more = {{282, SHORTS, {300}}, {283, SHORTS, {300}}};
    EXPECT_EQ(ReadBytes(TiffFile(form, {1})).picture.extras.dotsPerInchX, 0) << "no fractions";
}

TEST(TiffFile, ARatioThatIsNoneIsNotKept)
{
    const auto ratio = [](std::vector<uint32_t> x, std::vector<uint32_t> y) {
        TiffForm form = {.width = 1, .height = 1};
        form.more = {{296, SHORTS, {1}}, {282, FRACTIONS, std::move(x)}, {283, FRACTIONS, std::move(y)}};
        return ReadBytes(TiffFile(form, {1})).picture.extras.aspectX;
    };
    EXPECT_EQ(ratio({2, 1}, {1, 1}), 2000u);
    EXPECT_EQ(ratio({0, 1}, {1, 1}), 0u);
    EXPECT_EQ(ratio({2, 1}, {0, 1}), 0u);
    EXPECT_EQ(ratio({2000000, 1}, {1, 1}), 0u);
    EXPECT_EQ(ratio({2, 1}, {2000000, 1}), 0u);
}

// Behind the file's end stands a camera's directory of one field, to which the file points by a field of this type.
static ReadResult WithCamera(uint32_t type, const Bytes &field)
{
    TiffForm form = {.width = 1, .height = 1};
    form.more = {{34665, type, {1}}};
    form.more[0].numbers = {uint32_t(TiffFile(form, {1}).size())};
    Bytes file = TiffFile(form, {1});
    file.insert(file.end(), {1, 0});
    file.insert(file.end(), field.begin(), field.end());
    file.insert(file.end(), {0, 0, 0, 0});
    return ReadBytes(file);
}

TEST(TiffFile, ACamerasDirectoryIsFoundByAnyKindOfPlace)
{
    enum { PLACES = 13 };
    const Bytes version = {0x00, 0x90, 7, 0, 4, 0, 0, 0, '0', '2', '3', '2'};
    for (const uint32_t type : {uint32_t(LONGS), uint32_t(PLACES)}) {
        const Bytes exif = WithCamera(type, version).picture.extras.exif;
        EXPECT_NE(std::search(exif.begin(), exif.end(), version.begin() + 8, version.end()), exif.end()) << type;
    }
    // Ten bytes of a camera maker's notes in the file's header.
    EXPECT_EQ(WithCamera(LONGS, {0x7C, 0x92, 7, 0, 10, 0, 0, 0, 4, 0, 0, 0}).notices,
              std::vector<std::string>{"the camera maker's notes are left out: they cannot be moved"});
}

TEST(TiffFile, IptcDataMayBeCountedAsLongs)
{
    TiffForm form = {.width = 1, .height = 1};
    form.more = {{33723, LONGS, {0x0019021C, 0x676F6403, 0}}};
    EXPECT_EQ(ReadBytes(TiffFile(form, {1})).picture.extras.iptc, Bytes({0x1C, 2, 25, 0, 3, 'd', 'o', 'g'}));
    form.more = {{33723, LONGS, {0, 0}}};
    EXPECT_TRUE(ReadBytes(TiffFile(form, {1})).picture.extras.iptc.empty());
}

TEST(TiffFile, WhatOtherDirectoriesHoldIsToldOf)
{
    TiffForm form = {.width = 1, .height = 1}, mask = form;
    form.more = {{330, LONGS, {8}}};
    mask.more = {{254, LONGS, {4}}};
    Bytes file = FileStart(form);
    size_t linkAt = 4;
    AddPage(file, form, {1}, linkAt);
    AddPage(file, mask, {1}, linkAt);
    const ReadResult result = ReadBytes(file);
    EXPECT_TRUE(result.done) << result.error;
    EXPECT_EQ(result.notices,
              (std::vector<std::string>{"smaller copies of the picture are left out: they show it as it was",
                                        "pages that are masks of others are left out"}));
}

TEST(TiffFile, AWideFileHasAWholeHeader)
{
    const Bytes start = {'I', 'I', 43, 0, 8, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0};
    for (size_t length = 8; length <= start.size(); ++length) {
        EXPECT_EQ(ReadBytes(Bytes(start.begin(), start.begin() + ptrdiff_t(length))).error,
                  "the file ends before its picture does");
    }
}

TEST(TiffFile, MorePagesThanAreCountedAreNotLookedAt)
{
    const TiffForm form = {.width = 1, .height = 1};
    Bytes file = FileStart(form);
    size_t linkAt = 4;
    AddPage(file, form, {1}, linkAt);
    // Directories without a field, each a page to be skipped.
    for (int i = 0; i < 10001; ++i) {
        const uint32_t at = uint32_t(file.size());
        for (size_t byte = 0; byte < 4; ++byte) file[linkAt + byte] = uint8_t(at >> 8 * byte);
        file.insert(file.end(), {0, 0, 0, 0, 0, 0});
        linkAt = at + 2;
    }
    EXPECT_TRUE(ReadBytes(file).done);
}

#ifndef _WIN32

TEST(TiffFile, AConversionOfHugeTilesIsRefused)
{
    TiffForm huge = {.width = 2, .height = 3, .samples = 3, .photometric = LAB};
    huge.more = {{322, LONGS, {8192}}, {323, LONGS, {8192}}, {324, LONGS, {8}}, {325, LONGS, {18}}};
    EXPECT_FALSE(ReadBytes(TiffFile(huge, Bytes(18))).done);
}

TEST(TiffFile, PackingsOfAnotherAgeAreRefusedOrConverted)
{
    for (int compression : {6, 34676, 34677}) {
        const TiffForm form = {
            .width = 2, .height = 2, .samples = 3, .photometric = COLOURS, .compression = compression};
        const ReadResult result = ReadBytes(TiffFile(form, Bytes(12)));
        EXPECT_FALSE(result.done) << compression;
        EXPECT_EQ(result.error.find("damaged or unknown TIFF data ("), 0u) << result.error;
    }
}

#endif

//---- Writing

#ifndef _WIN32   // whose own codec packs what it packs

static ReadResult WrittenAs(Picture picture, uint32_t compression, std::vector<std::string> &notices)
{
    picture.extras.shape.compression = compression;
    const std::string name = NameInFolder("packed.tif");
    const WriteResult written = WriteFile(name, picture, 0);
    EXPECT_TRUE(written.done) << written.error;
    notices = written.notices;
    ReadResult result = ReadBytes(FileBytes(name));
    EXPECT_TRUE(result.done) << result.error;
    EmptyFolder();
    return result;
}

TEST(TiffFile, TilesAreWrittenAgainWhereTheyCanBe)
{
    const struct {
        uint32_t width, rows;
        bool kept;
    } cases[] = {{16, 16, true}, {24, 16, false}, {16, 24, false}, {16, 0, false}, {16, 1 << 24, false}};
    for (const auto &one : cases) {
        Picture first = Rgb({{1, 2}, {3, 4}});
        first.extras.shape.tileWidth = one.width;
        first.extras.shape.rowsEach = one.rows;
        std::vector<Picture> further;
        further.push_back(CopyOf(first));
        SaveOptions options;
        options.further = &further;
        Bytes bytes;
        std::vector<std::string> notices;
        std::string error;
        ASSERT_TRUE(WritePictureBytes("", first, FileFormat::TIFF, options, bytes, notices, error)) << error;
        const ReadResult read = ReadBytes(bytes);
        EXPECT_TRUE(SamePicture(read.picture, first));
        EXPECT_EQ(read.picture.extras.shape.tileWidth, one.kept ? one.width : 0);
        const std::vector<std::string> told = {"stored in strips: tiles of that size are not written here"};
        EXPECT_EQ(notices, one.kept ? std::vector<std::string>() : told) << one.width << ", " << one.rows;
    }
}

TEST(TiffFile, StripsArePackedAsTheyWereWhereThatIsForSuchPixels)
{
    enum { RUNS = 32773, DEFLATE = 8, OLD_DEFLATE = 32946, OLD_JPEG = 6, JPEG = 7, OTHER = 50000 };
    const Picture grey = Grey({{1, 2, 3}, {4, 5, 6}}), bits = Bits({"101"}),
                  masked = WithMask(Grey({{1, 2}}), {{3, 4}});
    const struct {
        const Picture &picture;
        uint32_t wanted, done;
        const char *notice;
    } cases[] = {
        {grey, NOT_PACKED, NOT_PACKED, nullptr},
        {grey, RUNS, RUNS, nullptr},
        {grey, DEFLATE, DEFLATE, nullptr},
        {grey, OLD_DEFLATE, DEFLATE, nullptr},
        {bits, FAX4, FAX4, nullptr},
        {grey, FAX4, LZW, "stored with LZW: fax packing is not for such pixels, or not written here"},
        {grey, OTHER, LZW, "stored with LZW: another packing is not for such pixels, or not written here"},
        {grey, OLD_JPEG, LZW, "stored with LZW: JPEG is not for such pixels, or not written here"},
        {masked, JPEG, LZW, "stored with LZW: JPEG is not for such pixels, or not written here"},
        {bits, JPEG, LZW, "stored with LZW: JPEG is not for such pixels, or not written here"},
    };
    for (const auto &one : cases) {
        std::vector<std::string> notices;
        const ReadResult result = WrittenAs(CopyOf(one.picture), one.wanted, notices);
        EXPECT_TRUE(SamePicture(result.picture, one.picture)) << one.wanted;
        const std::vector<std::string> told =
            one.notice ? std::vector<std::string>{one.notice} : std::vector<std::string>();
        EXPECT_EQ(notices, told) << one.wanted;
        EXPECT_EQ(result.picture.extras.shape.compression, one.done) << one.wanted;
    }
}

#endif

TEST(TiffFile, PagesAreNumberedInTheirOwnOrderOfBytes)
{
    for (const bool lowFirst : {true, false}) {
        Picture first = Grey({{1}});
        first.extras.exif = lowFirst ? Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 41, 1, 3, 0, 2, 0, 0, 0, 5, 0, 9, 0}
                                     : Bytes{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 41, 0, 3, 0, 0, 0, 2, 0, 5, 0, 9};
        first.extras.exif.resize(26);
        std::vector<Picture> further;
        further.push_back(CopyOf(first));
        SaveOptions options;
        options.further = &further;
        Bytes bytes;
        std::vector<std::string> notices;
        std::string error;
        ASSERT_TRUE(WritePictureBytes("", first, FileFormat::TIFF, options, bytes, notices, error)) << error;
        for (const uint8_t number : {0, 1}) {
            const Bytes field = {41, 1, 3, 0, 2, 0, 0, 0, number, 0, 2, 0};
            EXPECT_NE(std::search(bytes.begin(), bytes.end(), field.begin(), field.end()), bytes.end());
        }
    }
}

TEST(TiffFile, APackingThatIsNotForSeveralPagesIsToldOnce)
{
    Picture first = Grey({{1}});
    first.extras.shape.compression = FAX4;
    std::vector<Picture> further;
    further.push_back(CopyOf(first));
    SaveOptions options;
    options.further = &further;
    Bytes bytes;
    std::vector<std::string> notices;
    std::string error;
    ASSERT_TRUE(WritePictureBytes("", first, FileFormat::TIFF, options, bytes, notices, error)) << error;
    EXPECT_EQ(notices.size(), 1u);
}

TEST(TiffFile, SmallCopiesAmongThePagesAreNone)
{
    const TiffForm page = {.width = 1, .height = 1};
    TiffForm small = page, deep = {.width = 1, .height = 1, .bits = 16};
    small.more = {{254, LONGS, {1}}};
    Bytes file = FileStart(page);
    size_t linkAt = 4;
    AddPage(file, page, {1}, linkAt);
    AddPage(file, small, {2}, linkAt);
    AddPage(file, deep, {3, 3}, linkAt);
    Picture first;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    std::vector<Picture> further;
    ASSERT_TRUE(ReadPictureBytes(file, first, format, notices, error, {.further = &further})) << error;
    ASSERT_EQ(further.size(), 1u);
    EXPECT_TRUE(SamePicture(further[0], Grey({{3}})));
    const std::string told = "smaller copies of the picture are left out: they show it as it was";
    EXPECT_EQ(notices, (std::vector<std::string>{told, "16 bits per sample are brought to 8"}));
    // One that comes first is none of the pages either, but where there is nothing else.
    file = FileStart(page);
    linkAt = 4;
    AddPage(file, small, {2}, linkAt);
    const ReadResult alone = ReadBytes(file);
    EXPECT_TRUE(SamePicture(alone.picture, Grey({{2}})));
    EXPECT_TRUE(alone.notices.empty());
    AddPage(file, page, {1}, linkAt);
    const ReadResult behind = ReadBytes(file);
    EXPECT_TRUE(SamePicture(behind.picture, Grey({{1}})));
    EXPECT_EQ(behind.notices, std::vector<std::string>{told});
}

// For pictures of 8 bits a table of 256 or three of them.
TEST(TiffFile, ATransferFunctionGoesAlongWhereItIsOneForTheResultsDepth)
{
    const auto read = [](size_t entries, int bits) {
        TiffForm form = {.width = 8, .height = 1, .bits = bits};
        form.more = {{301, SHORTS, std::vector<uint32_t>(entries, 0x4142)}};
        Bytes file = FileStart(form);
        size_t linkAt = 4;
        AddPage(file, form, Bytes(size_t(bits), 0), linkAt);
        return ReadBytes(file);
    };
    const auto holds = [](const Bytes &file) {
        const std::string text(file.begin(), file.end());
        return text.find("BABABABA") != std::string::npos;
    };
    const ReadResult one = read(256, 8), three = read(768, 8), deep = read(65536, 16), bit = read(2, 1);
    EXPECT_TRUE(one.notices.empty());
    for (const char *ending : {"tif", "jpg", "png"}) {
        EXPECT_TRUE(holds(BytesOf(one.picture, ending))) << ending;
        EXPECT_TRUE(holds(BytesOf(three.picture, ending))) << ending;
    }
    EXPECT_EQ(deep.notices, (std::vector<std::string>{"16 bits per sample are brought to 8",
                                                      "fields that are not known here are left out: 301"}));
    const std::vector<std::string> told = {
        "the transfer function is not stored: it is one for samples of another depth"};
    Picture changed = CopyOf(one.picture);
    changed.extras.exif = bit.picture.extras.exif;
    EXPECT_EQ(WriteFile(NameInFolder("other.tif"), changed).notices, told);
    changed.extras.exif = read(257, 8).picture.extras.exif;
    EXPECT_EQ(WriteFile(NameInFolder("longer.tif"), changed).notices, told);
    EXPECT_TRUE(WriteFile(NameInFolder("bit.tif"), bit.picture).notices.empty());
    EmptyFolder();
}

TEST(TiffFile, DeflateHasTwoNumbers)
{
    // A stored block, its length twice, and the sum.
    const Bytes packed = {0x78, 1, 1, 2, 0, 0xFD, 0xFF, 7, 9, 0, 0x19, 0, 0x11};
    for (int number : {8, 32946}) {
        TiffForm form = {.width = 2, .height = 1, .compression = number};
        Bytes file = FileStart(form);
        size_t linkAt = 4;
        AddPage(file, form, packed, linkAt);
        const ReadResult result = ReadBytes(file);
        EXPECT_TRUE(SamePicture(result.picture, Grey({{7, 9}}))) << number << ": " << result.error;
    }
}
