// PNG files that the host does not write itself: other depths, interlaced, with a transparent colour. They are put
// together here, so that every platform's reader is held against the same bytes.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

enum { GREY_SAMPLES = 0, RGB_SAMPLES = 2, INDICES = 3, GREY_AND_ALPHA = 4, RGB_AND_ALPHA = 6 };

struct PngForm {
    int32_t width = 0, height = 0;
    int bits = 8, colours = GREY_SAMPLES;
    bool interlaced = false;
    int paletteEntries = 0;   // entry i is (10 i, 5 i, i)
    Bytes key = {};           // the colour that counts as transparent, 16 bits each
    bool animated = false;
};

static int Channels(const PngForm &form)
{
    switch (form.colours) {
    case RGB_SAMPLES: return 3;
    case GREY_AND_ALPHA: return 2;
    case RGB_AND_ALPHA: return 4;
    default: return 1;
    }
}

//---- A file, put together

static void AddHigh32(Bytes &bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(uint8_t(value >> shift));
}

static void AddChunk(Bytes &file, const std::string &type, const Bytes &bytes)
{
    Bytes chunk(type.begin(), type.end());
    chunk.insert(chunk.end(), bytes.begin(), bytes.end());
    uint32_t sum = 0xFFFFFFFF;
    for (uint8_t byte : chunk) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
    }
    AddHigh32(file, uint32_t(bytes.size()));
    file.insert(file.end(), chunk.begin(), chunk.end());
    AddHigh32(file, ~sum);
}

// A zlib stream whose blocks are stored as they are.
static Bytes Stored(const Bytes &bytes)
{
    Bytes stream = {0x78, 0x01};
    uint32_t low = 1, high = 0;
    for (size_t at = 0; at < bytes.size(); at += 5000) {
        const size_t count = std::min<size_t>(5000, bytes.size() - at);
        stream.push_back(at + count == bytes.size());
        Add16(stream, uint32_t(count));
        Add16(stream, ~uint32_t(count));
        stream.insert(stream.end(), bytes.begin() + ptrdiff_t(at), bytes.begin() + ptrdiff_t(at + count));
    }
    for (uint8_t byte : bytes) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    AddHigh32(stream, high << 16 | low);
    return stream;
}

// The pixels x, x + step, ... of a row, packed anew.
static Bytes EveryStep(const PngForm &form, const Bytes &row, int x, int step)
{
    const int bits = form.bits * Channels(form);
    Bytes picked;
    int filled = 0;   // bits of the last byte
    for (; x < form.width; x += step) {
        for (int bit = x * bits; bit < (x + 1) * bits; ++bit) {
            if (filled % 8 == 0) picked.push_back(0);
            picked.back() |= uint8_t((row[size_t(bit / 8)] >> (7 - bit % 8) & 1) << (7 - filled++ % 8));
        }
    }
    return picked;
}

// Rows with their filter byte (none), in the order in which they stand in the file.
static Bytes Scanlines(const PngForm &form, const std::vector<Bytes> &rows)
{
    static const struct {
        int x, y, stepX, stepY;
    } passes[] = {
        {0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2},
    };
    Bytes lines;
    const auto add = [&](int y, int x, int step) {
        const Bytes row = EveryStep(form, rows[size_t(y)], x, step);
        lines.push_back(0);
        lines.insert(lines.end(), row.begin(), row.end());
    };
    for (int y = 0; !form.interlaced && y < form.height; ++y) add(y, 0, 1);
    for (const auto &pass : passes) {
        for (int y = pass.y; form.interlaced && pass.x < form.width && y < form.height; y += pass.stepY) {
            add(y, pass.x, pass.stepX);
        }
    }
    return lines;
}

// A file of the given rows.
static Bytes PngFile(const PngForm &form, const std::vector<Bytes> &rows)
{
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header, palette;
    AddHigh32(header, uint32_t(form.width));
    AddHigh32(header, uint32_t(form.height));
    header.insert(header.end(), {uint8_t(form.bits), uint8_t(form.colours), 0, 0, form.interlaced});
    AddChunk(file, "IHDR", header);
    if (form.animated) AddChunk(file, "acTL", {0, 0, 0, 1, 0, 0, 0, 0});
    for (int i = 0; i < form.paletteEntries; ++i) {
        palette.insert(palette.end(), {uint8_t(10 * i), uint8_t(5 * i), uint8_t(i)});
    }
    if (!palette.empty()) AddChunk(file, "PLTE", palette);
    if (!form.key.empty()) AddChunk(file, "tRNS", form.key);
    AddChunk(file, "IDAT", Stored(Scanlines(form, rows)));
    AddChunk(file, "IEND", {});
    return file;
}

static std::vector<Bytes> RandomRows(int32_t height, size_t bytes, uint32_t seed)
{
    std::mt19937 generator(seed);
    std::vector<Bytes> rows{size_t(height), Bytes(bytes)};
    for (Bytes &row : rows) {
        for (uint8_t &byte : row) byte = uint8_t(generator());
    }
    return rows;
}

TEST(PngFile, InterlacedFilesAreThePictureOfPlainOnes)
{
    const struct {
        int bits, colours, channels;
    } kinds[] = {
        {1, GREY_SAMPLES, 1}, {2, GREY_SAMPLES, 1},   {8, GREY_SAMPLES, 1},   {4, INDICES, 1},
        {8, RGB_SAMPLES, 3},  {16, RGB_AND_ALPHA, 4}, {8, GREY_AND_ALPHA, 2},
    };
    for (const auto &kind : kinds) {
        for (PictureSize size : AWKWARD_SIZES) {
            SCOPED_TRACE(std::to_string(kind.colours) + ", " + std::to_string(kind.bits) + " bits, width " +
                         std::to_string(size.width));
            PngForm form = {.width = size.width, .height = size.height, .bits = kind.bits, .colours = kind.colours};
            if (kind.colours == INDICES) form.paletteEntries = 16;
            const auto rows = RandomRows(size.height, size_t(size.width * kind.bits * kind.channels + 7) / 8, 3);
            const ReadResult plain = ReadBytes(PngFile(form, rows));
            form.interlaced = true;
            const ReadResult interlaced = ReadBytes(PngFile(form, rows));
            ASSERT_TRUE(plain.done && interlaced.done) << plain.error << interlaced.error;
            EXPECT_TRUE(SameBytes(interlaced.picture, plain.picture));
        }
    }
}

TEST(PngFile, FewBitsOfGreyAreSpreadExactly)
{
    const ReadResult two = ReadBytes(PngFile({.width = 4, .height = 1, .bits = 2}, {{0b00011011}}));
    EXPECT_TRUE(SameBytes(two.picture, Grey({{0, 85, 170, 255}})));
    EXPECT_TRUE(two.notices.empty());
    const ReadResult four = ReadBytes(PngFile({.width = 2, .height = 1, .bits = 4}, {{0x2F}}));
    EXPECT_TRUE(SamePicture(four.picture, Grey({{34, 255}})));
}

TEST(PngFile, FewBitsOfPaletteKeepTheirEntries)
{
    const PngForm form = {.width = 3, .height = 1, .bits = 2, .colours = INDICES, .paletteEntries = 3};
    const ReadResult result = ReadBytes(PngFile(form, {{0b10010000}}));
    EXPECT_TRUE(SamePicture(result.picture, Palette({0, 0x01050A, 0x020A14}, {{2, 1, 0}}))) << result.error;
}

TEST(PngFile, SixteenBitsAreRoundedWithANotice)
{
    const PngForm form = {.width = 3, .height = 1, .bits = 16};
    const ReadResult result = ReadBytes(PngFile(form, {{0, 0x80, 0x00, 0x81, 0xFF, 0xFF}}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{0, 1, 255}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"16 bits per sample are brought to 8"});
}

TEST(PngFile, AColourThatCountsAsTransparentBecomesTheMask)
{
    const ReadResult grey = ReadBytes(PngFile({.width = 4, .height = 1, .bits = 2, .key = {0, 2}}, {{0b00011011}}));
    EXPECT_TRUE(SamePicture(grey.picture, WithMask(Grey({{0, 85, 170, 255}}), {{255, 255, 0, 255}})));
    const PngForm form = {.width = 2, .height = 1, .colours = RGB_SAMPLES, .key = {0, 1, 0, 2, 0, 3}};
    const ReadResult colour = ReadBytes(PngFile(form, {{1, 2, 3, 1, 2, 4}}));
    EXPECT_TRUE(SamePicture(colour.picture, WithMask(Rgb({{0x030201, 0x040201}}), {{0, 255}})));
}

static Bytes Chunk(const std::string &type, const std::vector<uint32_t> &numbers)
{
    Bytes chunk(type.begin(), type.end());
    for (const uint32_t number : numbers) AddHigh32(chunk, number);
    return chunk;
}

TEST(PngFile, WhatColoursMeanStaysInPngAndIsToldElsewhere)
{
    const Bytes gamma = Chunk("gAMA", {100000}), usual = Chunk("gAMA", {45455});
    const Bytes primaries = Chunk("cHRM", {31270, 32900, 68000, 32000, 26500, 69000, 15000, 6000});
    const Bytes usualPrimaries = Chunk("cHRM", {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000});
    Bytes mark = Chunk("sRGB", {}), codes = Chunk("cICP", {}), usualCodes = codes, otherCodes = codes;
    mark.push_back(0);
    codes.insert(codes.end(), {9, 16, 0, 1});
    usualCodes.insert(usualCodes.end(), {1, 13, 0, 1});
    otherCodes.insert(otherCodes.end(), {1, 16, 0, 1});
    const struct {
        std::vector<Bytes> chunks;
        bool told;
    } cases[] = {
        {{gamma}, true},
        {{usual}, false},
        {{usual, primaries}, true},
        {{usual, usualPrimaries}, false},
        {{usual, usualPrimaries, mark}, false},
        {{gamma, mark}, false},
        {{codes}, true},
        {{mark, codes}, true},
        {{gamma, usualCodes}, false},
        {{Chunk("gAMA", {10000})}, true},
        {{otherCodes}, true},
        {{usual, Chunk("mDCV", {1, 2, 3, 4, 5, 6})}, true},
    };
    for (const auto &one : cases) {
        Picture picture = Rgb({{0x102030, 0xFF8000, 0x00C0FF}, {0x7F7F7F, 0, 0xFFFFFF}});
        picture.extras.colourChunks = one.chunks;
        const ReadResult png = ThereAndBack(picture, "png");
        EXPECT_TRUE(png.notices.empty());
        std::vector<Bytes> kept = png.picture.extras.colourChunks, given = one.chunks;
        std::sort(kept.begin(), kept.end());
        std::sort(given.begin(), given.end());
        EXPECT_EQ(kept, given);
        for (const char *ending : {"jpg", "tif", "bmp"}) {
            const std::string name = NameInFolder(std::string("colours.") + ending);
            const WriteResult other = WriteFile(name, picture);
            ASSERT_TRUE(other.done) << other.error;
            std::filesystem::remove(name);
            const bool told =
                !other.notices.empty() && other.notices[0].find("the meaning of its colours") != std::string::npos;
            EXPECT_EQ(told, one.told) << ending << ", case " << &one - cases;
        }
    }
    // A profile says it all, and both may not stand in one file.
    Picture both = Rgb({{0x102030, 0xFF8000, 0x00C0FF}, {0x7F7F7F, 0, 0xFFFFFF}});
    both.extras.colourChunks = {mark, usual};
    Bytes &profile = both.extras.colourProfile = Bytes(200);
    const std::string space = "RGB ", mark36 = "acsp";
    std::copy(space.begin(), space.end(), profile.begin() + 16);
    std::copy(mark36.begin(), mark36.end(), profile.begin() + 36);
    profile[3] = 200;
    const std::vector<Bytes> left = ThereAndBack(both, "png").picture.extras.colourChunks;
    EXPECT_EQ(left, std::vector<Bytes>{usual});
}

TEST(PngFile, AnAnimationIsItsFirstPicture)
{
    const ReadResult result = ReadBytes(PngFile({.width = 1, .height = 1, .animated = true}, {{9}}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{9}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"only the first picture of the animation is read"});
}

TEST(PngFile, EveryChunkThatIsWrittenHasItsChecksum)
{
    const Bytes file = BytesOf(Palette({0xFF0000, 0x00FF00}, {{0, 1}}), "png");
    size_t at = 8;
    while (at + 12 <= file.size()) {
        const size_t count = size_t(file[at] << 24 | file[at + 1] << 16 | file[at + 2] << 8 | file[at + 3]);
        ASSERT_LE(at + 12 + count, file.size());
        Bytes again;
        AddChunk(again, std::string(file.begin() + ptrdiff_t(at + 4), file.begin() + ptrdiff_t(at + 8)),
                 Bytes(file.begin() + ptrdiff_t(at + 8), file.begin() + ptrdiff_t(at + 8 + count)));
        EXPECT_TRUE(std::equal(again.begin(), again.end(), file.begin() + ptrdiff_t(at))) << at;
        at += 12 + count;
    }
    EXPECT_EQ(at, file.size());
}

TEST(PngFile, MissingRowsAreCounted)
{
    const Bytes whole = PngFile({.width = 500, .height = 40}, RandomRows(40, 500, 1));
    const ReadResult result = ReadBytes(Bytes(whole.begin(), whole.begin() + 10400));
#ifdef _WIN32   // where the system's own codec unpacks all rows or none
    EXPECT_EQ(result.error, "the file ends before its picture does");
#else
    int promised = 0, found = 0;
    ASSERT_EQ(sscanf(result.error.c_str(), "%d rows promised, %d found", &promised, &found), 2) << result.error;
    EXPECT_EQ(promised, 40);
    EXPECT_GE(found, 10);   // the last few are lost with the block that they began in
    EXPECT_LE(found, 20);
#endif
}

TEST(PngFile, APictureThatItsFileCannotHoldIsRefusedAtOnce)
{
    const Bytes small = PngFile({.width = 1, .height = 1}, {{9}});
    Bytes file(small.begin(), small.begin() + 8);
    AddChunk(file, "IHDR", {0, 0, 0x75, 0x30, 0, 0, 0x75, 0x30, 8, 0, 0, 0, 0});   // 30000 x 30000
    file.insert(file.end(), small.begin() + 8 + 25, small.end());
    EXPECT_EQ(ReadBytes(file).error, "the file is too short for the picture it promises");
}

//---- What stands beside the pixels

// A picture of one grey pixel with a chunk before its pixels.
static ReadResult ReadWith(const std::string &type, const Bytes &bytes, int colours = GREY_SAMPLES)
{
    Bytes file = PngFile({.width = 1, .height = 1, .colours = colours}, {Bytes(4, 9)}), chunk;
    AddChunk(chunk, type, bytes);
    file.insert(file.begin() + 8 + 25, chunk.begin(), chunk.end());
    ReadResult result = ReadBytes(file);
    EXPECT_TRUE(result.done) << result.error;
    return result;
}

static Bytes Joined(const std::string &start, const Bytes &rest)
{
    Bytes bytes(start.begin(), start.end());
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

// With one part of 8 bytes behind the table of parts.
static Bytes Profile(const std::string &space)
{
    Bytes profile(132 + 12 + 8);
    profile[3] = uint8_t(profile.size());
    std::copy(space.begin(), space.end(), profile.begin() + 16);
    std::copy_n("acsp", 4, profile.begin() + 36);
    profile[131] = 1;
    profile[132 + 7] = 144;
    profile[132 + 11] = 8;
    return profile;
}

TEST(PngFile, ADamagedProfileIsLeftOutWithANotice)
{
    const std::string zero(1, 0), two(2, 0);
    const Bytes good = Profile("GRAY");
    EXPECT_EQ(ReadWith("iCCP", Joined("p" + two, Stored(good))).picture.extras.colourProfile, good);
    EXPECT_EQ(ReadWith("iCCP", Joined("p" + two, Stored(Profile("RGB "))), RGB_SAMPLES).picture.extras.colourProfile,
              Profile("RGB "));
    std::vector<Bytes> damaged = {Joined(two, Stored(good)),
                                  Joined(std::string(80, 'p') + two, Stored(good)),
                                  Joined("p", {}),
                                  Joined("p" + zero, {}),
                                  Joined("p" + zero + "x", Stored(good)),
                                  Joined("p" + two, Bytes(30, 0xEE)),
                                  Joined("p" + two, Stored(Bytes(100))),
                                  Joined("p" + two, Stored(Profile("RGB ")))};
    // The length, the mark, the number of parts, a part's place and length.
    for (size_t at : {0, 36, 128, 132 + 4, 132 + 8}) {
        Bytes other = good;
        other[at] ^= 0x40;
        damaged.push_back(Joined("p" + two, Stored(other)));
    }
    for (size_t i = 0; i < damaged.size(); ++i) {
        const ReadResult result = ReadWith("iCCP", damaged[i]);
        EXPECT_TRUE(result.picture.extras.colourProfile.empty()) << i;
        EXPECT_EQ(result.notices, std::vector<std::string>{"the colour profile is damaged and left out"}) << i;
    }
}

TEST(PngFile, TextsOfAllKindsAreKept)
{
    const std::string zero(1, 0);
    const auto textOf = [](const ReadResult &result) {
        return result.picture.extras.texts.empty() ? "" : result.picture.extras.texts[0].text;
    };
    const Bytes words = Joined("seen", {});
    EXPECT_EQ(textOf(ReadWith("tEXt", Joined("Title" + zero, words))), "seen");
    EXPECT_EQ(textOf(ReadWith("zTXt", Joined("Title" + zero + zero, Stored(words)))), "seen");
    EXPECT_EQ(textOf(ReadWith("iTXt", Joined("Title" + zero + zero + zero + "de" + zero + "Titel" + zero, words))),
              "seen");
    EXPECT_EQ(textOf(ReadWith("iTXt", Joined("Title" + zero + "\1" + zero + zero + zero, Stored(words)))), "seen");
}

TEST(PngFile, DamagedTextsAreLeftOutWithANotice)
{
    const std::string zero(1, 0);
    const struct {
        const char *type;
        Bytes bytes;
    } texts[] = {{"tEXt", Joined("no end", {})},
                 {"tEXt", Joined(zero + "no name", {})},
                 {"tEXt", Joined(std::string(80, 'n') + zero + "a long name", {})},
                 {"tEXt", Joined("Title" + zero, Bytes(9 << 20, 'x'))},   // more than is kept
                 {"zTXt", Joined("Title" + zero, {})},
                 {"zTXt", Joined("Title" + zero + "\1", Stored({'x'}))},   // a way of packing that there is not
                 {"zTXt", Joined("Title" + zero + zero, Bytes(20, 0xEE))},
                 {"iTXt", Joined("Title" + zero + zero, {})},
                 {"iTXt", Joined("Title" + zero + "\1\1" + zero + zero, {})},
                 {"iTXt", Joined("Title" + zero + zero + zero + "de", {})},
                 {"iTXt", Joined("Title" + zero + zero + zero + "de" + zero + "Titel", {})},
                 {"tEXt", Joined("Raw profile type unheard" + zero + "\nunheard\n  1\n61", {})}};
    for (size_t i = 0; i < std::size(texts); ++i) {
        const ReadResult result = ReadWith(texts[i].type, texts[i].bytes);
        EXPECT_TRUE(result.picture.extras.texts.empty()) << i;
        ASSERT_EQ(result.notices.size(), 1u) << i;
        EXPECT_EQ(result.notices[0].find("texts that are damaged or not known here are left out"), 0u) << i;
        const std::string named = i == 0                      ? "left out"
                                  : i + 1 == std::size(texts) ? "Raw profile type unheard"
                                                              : ": Title";
        if (i == 0 || i > 2) { EXPECT_TRUE(result.notices[0].ends_with(named)) << result.notices[0]; }
    }
}

// As ImageMagick and its kin keep what had no chunk of its own.
static PictureExtras RawProfile(const std::string &kind, const std::string &digits, size_t count)
{
    const std::string text = "\n" + kind + "\n" + std::to_string(count) + "\n" + digits;
    return ReadWith("tEXt", Joined("Raw profile type " + kind + std::string(1, 0) + text, {})).picture.extras;
}

TEST(PngFile, WhatOthersPutIntoTextsIsKeptByItsOwnName)
{
    EXPECT_EQ(RawProfile("xmp", "3C52\n44463e", 5).xmp, Joined("<RDF>", {}));
    for (const char *kind : {"exif", "APP1"}) {
        EXPECT_EQ(RawProfile(kind,
                             "457869660000"
                             "4949",
                             8)
                      .exif,
                  Joined("II", {}));
        EXPECT_TRUE(RawProfile(kind, "4949", 2).exif.empty()) << "without its mark";
    }
    EXPECT_EQ(RawProfile("iptc", "1C0205", 3).iptc, Bytes({0x1C, 2, 5}));
    EXPECT_EQ(RawProfile("iptc",
                         "3842494D0404000000000003"
                         "1C0205"
                         "00",
                         16)
                  .iptc,
              Bytes({0x1C, 2, 5}));
    EXPECT_TRUE(RawProfile("xmp", "3C52", 5).xmp.empty()) << "fewer digits than it says";
    for (const char *text : {"", "\n", "\nxmp"}) {
        const std::string name = "Raw profile type xmp" + std::string(1, 0);
        EXPECT_TRUE(ReadWith("tEXt", Joined(name + text, {})).picture.extras.xmp.empty());
    }
}

TEST(PngFile, SmallChunksOfAnotherLengthSayNothing)
{
    EXPECT_FALSE(ReadWith("tRNS", {0, 9, 0}).picture.mask);
    EXPECT_TRUE(ReadWith("tRNS", {0, 9}).picture.mask);
    EXPECT_TRUE(ReadWith("gAMA", {0, 0, 1}).picture.extras.colourChunks.empty());
    EXPECT_EQ(ReadWith("gAMA", {0, 0, 1, 0}).picture.extras.colourChunks.size(), 1u);
    EXPECT_EQ(ReadWith("pHYs", {0, 0, 4, 0, 0, 0, 4, 0}).picture.extras.dotsPerInchX, 0);
    EXPECT_EQ(ReadWith("pHYs", {0, 0, 4, 0, 0, 0, 4, 0, 0}).picture.extras.dotsPerInchX, 0) << "a ratio";
    EXPECT_GT(ReadWith("pHYs", {0, 0, 4, 0, 0, 0, 4, 0, 1}).picture.extras.dotsPerInchX, 0);
}

TEST(PngFile, ChunksThatDoNotFitTheirPictureSayNothing)
{
    const auto with = [](const PngForm &form, const std::string &type, const Bytes &bytes, int times = 1) {
        Bytes file = PngFile(form, {Bytes(4, 0)}), chunk;
        for (int i = 0; i < times; ++i) AddChunk(chunk, type, bytes);
        const std::string data = "IDAT";
        const auto at = std::search(file.begin(), file.end(), data.begin(), data.end()) - 4;
        file.insert(at, chunk.begin(), chunk.end());
        const ReadResult result = ReadBytes(file);
        EXPECT_TRUE(result.done) << result.error;
        return result.notices;
    };
    const PngForm colours = {.width = 1, .height = 1, .colours = RGB_AND_ALPHA};
    const PngForm palette = {.width = 1, .height = 1, .colours = INDICES, .paletteEntries = 2};
    EXPECT_TRUE(with(colours, "tRNS", {0, 1, 0, 1, 0, 1}).empty());
    EXPECT_TRUE(with(colours, "bKGD", {0, 1}).empty());
    EXPECT_TRUE(with(palette, "sBIT", {8, 8, 8}).empty()) << "what a palette has anyway";
    const std::string told = "parts of the file that do not hold for other pixels or are not known here are left out: ";
    EXPECT_EQ(with(palette, "sBIT", {5, 6, 5}), std::vector<std::string>{told + "sBIT"});
    EXPECT_EQ(with(palette, "vpAg", {1}, 2), std::vector<std::string>{told + "vpAg"});
}

TEST(PngFile, ABackgroundBeyondThePaletteIsNotWritten)
{
    Picture picture = NewPicture(PALETTE, 1, 1);
    picture.paletteEntries = 2;
    for (const uint8_t index : {1, 2}) {
        picture.extras.background = {index};
        const std::string name = NameInFolder("background.png");
        EXPECT_EQ(WriteFile(name, picture).notices.empty(), index == 1);
        EXPECT_EQ(ReadFile(name).picture.extras.background.empty(), index != 1);
        EmptyFolder();
    }
}

TEST(PngFile, LongIptcDataAreWrittenInSeveralLines)
{
    Picture picture = Rgb({{1}});
    picture.extras.iptc = {0x1C, 2, 120, 0, 100};
    picture.extras.iptc.resize(105, 'w');
    EXPECT_EQ(ThereAndBack(picture, "png").picture.extras.iptc, picture.extras.iptc);
    // Long enough for a resource, and none.
    std::string digits = "1C02780014";
    for (int i = 0; i < 20; ++i) digits += "77";
    EXPECT_EQ(RawProfile("iptc", digits, 25).iptc.size(), 25u);
}

TEST(PngFile, AColourOfSixteenBitsCountsAsTransparentAtItsFullDepth)
{
    const PngForm form = {.width = 2, .height = 1, .bits = 16, .colours = RGB_SAMPLES, .key = {1, 2, 3, 4, 5, 6}};
    const ReadResult result = ReadBytes(PngFile(form, {{1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 7}}));
    ASSERT_TRUE(result.picture.mask) << result.error;
    EXPECT_EQ(result.picture.mask[0], 0);
    EXPECT_EQ(result.picture.mask[1], 255) << "the same in 8 bits, but another colour";
}

TEST(PngFile, ItsDepthGrowsWithItsPalette)
{
    const auto bitsFor = [](int32_t entries) {
        Picture picture = NewPicture(PALETTE, 1, 1);
        picture.paletteEntries = entries;
        picture.extras.shape.bits = 2;
        return int(BytesOf(picture, "png")[24]);
    };
    EXPECT_EQ(bitsFor(4), 2);
    EXPECT_EQ(bitsFor(5), 4);
    EXPECT_EQ(bitsFor(17), 8);
}

TEST(PngFile, TheFirstOfSeveralIsKept)
{
    const std::string zero(1, 0), name = "Raw profile type ";
    Bytes chunks, file = PngFile({.width = 1, .height = 1}, {Bytes(1, 9)});
    for (const char *digits : {"61", "62"}) {
        AddChunk(chunks, "tEXt", Joined(name + "xmp" + zero + "\nxmp\n1\n" + digits, {}));
        AddChunk(chunks, "tEXt", Joined(name + "iptc" + zero + "\niptc\n1\n" + digits, {}));
        AddChunk(chunks, "tEXt", Joined(name + "exif" + zero + "\nexif\n8\n457869660000:g49" + digits, {}));
    }
    file.insert(file.begin() + 8 + 25, chunks.begin(), chunks.end());
    const PictureExtras extras = ReadBytes(file).picture.extras;
    EXPECT_EQ(extras.xmp, Bytes({'a'}));
    EXPECT_EQ(extras.iptc, Bytes({'a'}));
    EXPECT_EQ(extras.exif, Bytes({'I', 'a'}));
    EXPECT_EQ(RawProfile("iptc",
                         "3842494D0405000000000003"
                         "1C0205"
                         "00",
                         16)
                  .iptc.size(),
              0u)
        << "another resource";
}

// A header with other bytes behind its size.
static std::string ErrorOfHeader(const Bytes &rest, const Bytes &palette = {})
{
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header = {0, 0, 0, 1, 0, 0, 0, 1};
    header.insert(header.end(), rest.begin(), rest.end());
    AddChunk(file, "IHDR", header);
    if (!palette.empty()) AddChunk(file, "PLTE", palette);
    AddChunk(file, "IDAT", Stored({0, 9, 9, 9, 9}));
    AddChunk(file, "IEND", {});
    return ReadBytes(file).error;
}

TEST(PngFile, HeadersAndPalettesThatAreNoneAreRefused)
{
    EXPECT_EQ(ErrorOfHeader({8, 0, 0, 0, 0}), "");
    for (const Bytes &rest : std::vector<Bytes>{{8, 0, 1, 0, 0},
                                                {8, 0, 0, 1, 0},
                                                {8, 0, 0, 0, 2},
                                                {8, 1, 0, 0, 0},
                                                {8, 7, 0, 0, 0},
                                                {3, 0, 0, 0, 0},
                                                {16, 3, 0, 0, 0},
                                                {4, 2, 0, 0, 0}})
        EXPECT_EQ(ErrorOfHeader(rest), "damaged PNG data (its kind of samples is not known)");
    for (size_t length : {1, 4, 771})
        EXPECT_EQ(ErrorOfHeader({8, 3, 0, 0, 0}, Bytes(length)), "damaged PNG data (its palette is not one)") << length;
}
