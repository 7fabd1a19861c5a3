// BMP files as other programs write them, made by hand.

#include "tests/host/documents/test_files.h"

struct BmpForm {
    uint32_t headerBytes = 40;
    int32_t width = 0, height = 0;
    uint32_t bits = 24, compression = 0, coloursUsed = 0;
    Bytes afterHeader = {};   // masks and palette, or the longer headers' fields
    uint32_t gap = 0;         // bytes before the pixels that nobody asked for
};

static Bytes BmpFile(const BmpForm &form, const Bytes &pixels)
{
    Bytes bytes = {'B', 'M'};
    Add32(bytes, 0);
    Add32(bytes, 0);
    const uint32_t known = std::min(form.headerBytes, 40u);
    Add32(bytes, uint32_t(14 + known + form.afterHeader.size() + form.gap));
    Add32(bytes, form.headerBytes);
    if (form.headerBytes == 12) {
        for (uint32_t value : {uint32_t(form.width), uint32_t(form.height), 1u, form.bits}) Add16(bytes, value);
    } else {
        Add32(bytes, uint32_t(form.width));
        Add32(bytes, uint32_t(form.height));
        Add16(bytes, 1);
        Add16(bytes, form.bits);
        for (uint32_t value : {form.compression, 0u, 2835u, 2835u, form.coloursUsed, 0u}) Add32(bytes, value);
        bytes.resize(14 + known);
    }
    bytes.insert(bytes.end(), form.afterHeader.begin(), form.afterHeader.end());
    bytes.resize(bytes.size() + form.gap, 0xEE);
    bytes.insert(bytes.end(), pixels.begin(), pixels.end());
    return bytes;
}

static Bytes Masks(std::initializer_list<uint32_t> masks)
{
    Bytes bytes;
    for (uint32_t mask : masks) Add32(bytes, mask);
    return bytes;
}

// Entry i is blue i, green 2i, red 3i.
static Bytes PaletteBytes(int entries, bool fourBytes = true)
{
    Bytes bytes;
    for (int i = 0; i < entries; ++i) {
        for (int c = 1; c <= 3; ++c) bytes.push_back(uint8_t(c * i));
        if (fourBytes) bytes.push_back(0);
    }
    return bytes;
}

static std::vector<uint32_t> PaletteColours(int entries)
{
    std::vector<uint32_t> colours;
    for (uint32_t i = 0; i < uint32_t(entries); ++i) colours.push_back((3 * i & 0xFF) | (2 * i & 0xFF) << 8 | i << 16);
    return colours;
}

TEST(BmpFile, RowsStandBottomUpUnlessTheHeightIsNegative)
{
    const Bytes pixels = {1, 2, 3, 4, 5, 6, 0xAA, 0xAA, 7, 8, 9, 10, 11, 12, 0xAA, 0xAA};   // padding is not kept
    const Picture upward = Rgb({{0x070809, 0x0A0B0C}, {0x010203, 0x040506}});
    const Picture downward = Rgb({{0x010203, 0x040506}, {0x070809, 0x0A0B0C}});
    EXPECT_TRUE(SameBytes(ReadBytes(BmpFile({.width = 2, .height = 2}, pixels)).picture, upward));
    EXPECT_TRUE(SameBytes(ReadBytes(BmpFile({.width = 2, .height = -2}, pixels)).picture, downward));
}

TEST(BmpFile, OldHeadersOfTwelveBytesHaveThreeBytePalettes)
{
    const BmpForm form = {
        .headerBytes = 12, .width = 2, .height = 1, .bits = 4, .afterHeader = PaletteBytes(16, false)};
    const ReadResult result = ReadBytes(BmpFile(form, {0x5F, 0, 0, 0}));
    EXPECT_TRUE(SamePicture(result.picture, Palette(PaletteColours(16), {{5, 15}}))) << result.error;
}

TEST(BmpFile, HeadersOfSixtyFourBytesAreRead)
{
    Bytes rest(24, 0x77);
    const Bytes palette = PaletteBytes(256);
    rest.insert(rest.end(), palette.begin(), palette.end());
    const BmpForm form = {.headerBytes = 64, .width = 3, .height = 1, .bits = 8, .afterHeader = rest};
    const ReadResult result = ReadBytes(BmpFile(form, {9, 200, 255, 0}));
    EXPECT_TRUE(SamePicture(result.picture, Palette(PaletteColours(256), {{9, 200, 255}}))) << result.error;
}

TEST(BmpFile, ResolutionIsCountedPerMetre)
{
    EXPECT_NEAR(ReadBytes(BmpFile({.width = 1, .height = 1}, {1, 2, 3, 0})).picture.extras.dotsPerInchX, 72.009, 1e-6);
}

TEST(BmpFile, AGapBeforeThePixelsIsPassedOver)
{
    const BmpForm form = {.width = 1, .height = 1, .gap = 5};
    EXPECT_TRUE(SamePicture(ReadBytes(BmpFile(form, {1, 2, 3, 0})).picture, Rgb({{0x010203}})));
}

TEST(BmpFile, OneBitFilesAreBlackAndWhiteOrAPalette)
{
    const Bytes black = {0, 0, 0, 0}, white = {255, 255, 255, 0}, pink = {200, 100, 255, 0};
    const auto file = [](const Bytes &first, const Bytes &second) {
        BmpForm form = {.width = 3, .height = 1, .bits = 1, .afterHeader = first};
        form.afterHeader.insert(form.afterHeader.end(), second.begin(), second.end());
        return BmpFile(form, {0b10100000, 0, 0, 0});
    };
    const ReadResult straight = ReadBytes(file(black, white)), turned = ReadBytes(file(white, black));
    EXPECT_TRUE(SameBytes(straight.picture, Bits({"101"})));
    EXPECT_FALSE(straight.picture.extras.whiteIsZero);
    EXPECT_TRUE(SameBytes(turned.picture, Bits({"010"})));
    EXPECT_TRUE(turned.picture.extras.whiteIsZero);
    const ReadResult coloured = ReadBytes(file(black, pink));
    EXPECT_TRUE(SamePicture(coloured.picture, Palette({0, 0xC864FF}, {{1, 0, 1}})));
    EXPECT_TRUE(coloured.picture.extras.wasOneBit);
}

TEST(BmpFile, SixteenBitsAreFiveEachUnlessMasksSayOtherwise)
{
    const ReadResult plain = ReadBytes(BmpFile({.width = 2, .height = 1, .bits = 16}, {0x1F, 0, 0x00, 0x7C}));
    EXPECT_TRUE(SamePicture(plain.picture, Rgb({{0xFF0000, 0x0000FF}})));
    const BmpForm form = {
        .width = 2, .height = 1, .bits = 16, .compression = 3, .afterHeader = Masks({0xF800, 0x07E0, 0x001F})};
    const ReadResult masked = ReadBytes(BmpFile(form, {0xE0, 0x07, 0x10, 0x84}));
    EXPECT_TRUE(SamePicture(masked.picture, Rgb({{0x00FF00, 0x848284}})));
}

TEST(BmpFile, ThirtyTwoBitsHaveAlphaOnlyWithAMaskForIt)
{
    const Bytes pixel = {1, 2, 3, 4};
    const ReadResult plain = ReadBytes(BmpFile({.width = 1, .height = 1, .bits = 32}, pixel));
    EXPECT_TRUE(SamePicture(plain.picture, Rgb({{0x010203}})));
    const Bytes masks = Masks({0xFF0000, 0xFF00, 0xFF, 0xFF000000});
    const BmpForm form = {
        .headerBytes = 56, .width = 1, .height = 1, .bits = 32, .compression = 3, .afterHeader = masks};
    EXPECT_TRUE(SamePicture(ReadBytes(BmpFile(form, pixel)).picture, WithMask(Rgb({{0x010203}}), {{4}})));
    const BmpForm alphaFields = {.width = 1, .height = 1, .bits = 32, .compression = 6, .afterHeader = masks};
    EXPECT_TRUE(SamePicture(ReadBytes(BmpFile(alphaFields, pixel)).picture, WithMask(Rgb({{0x010203}}), {{4}})));
}

TEST(BmpFile, TenBitsPerColourAreBroughtToEight)
{
    const BmpForm form = {
        .width = 1, .height = 1, .bits = 32, .compression = 3, .afterHeader = Masks({0x3FF00000, 0xFFC00, 0x3FF})};
    Bytes pixel;
    Add32(pixel, 1023u << 20 | 512u << 10 | 4u);
    const ReadResult result = ReadBytes(BmpFile(form, pixel));
    EXPECT_TRUE(SamePicture(result.picture, Rgb({{0x0180FF}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"more than 8 bits per sample are brought to 8"});
}

static BmpForm RunForm(uint32_t compression, int32_t width, int32_t height)
{
    const int entries = compression == 1 ? 256 : 16;
    return {.width = width,
            .height = height,
            .bits = compression == 1 ? 8u : 4u,
            .compression = compression,
            .afterHeader = PaletteBytes(entries)};
}

TEST(BmpFile, RunsOfBytesFillRowsFromTheBottom)
{
    const Bytes runs = {3, 7, 1, 9, 0, 0,          // 7 7 7 9
                        0, 3, 1, 2, 3, 0, 0, 0,    // 1 2 3, padded; the last pixel left out
                        0, 2, 1, 1, 2, 5, 0, 1};   // one right, one up: from the row after next
    const ReadResult result = ReadBytes(BmpFile(RunForm(1, 4, 4), runs));
    const Values wanted = {{0, 5, 5, 0}, {0, 0, 0, 0}, {1, 2, 3, 0}, {7, 7, 7, 9}};
    EXPECT_TRUE(SameBytes(result.picture, Palette(PaletteColours(256), wanted))) << result.error;
}

TEST(BmpFile, RunsOfHalvesTakeTurns)
{
    const Bytes runs = {5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0, 0, 1};
    const ReadResult result = ReadBytes(BmpFile(RunForm(2, 5, 2), runs));
    const Values wanted = {{3, 4, 5, 6, 7}, {1, 2, 1, 2, 1}};
    EXPECT_TRUE(SamePicture(result.picture, Palette(PaletteColours(16), wanted))) << result.error;
}

TEST(BmpFile, RunsMustEndAndStayInside)
{
    EXPECT_EQ(ReadBytes(BmpFile(RunForm(1, 4, 3), {4, 7, 0, 0, 4, 7})).error, "3 rows promised, 1 found");
    EXPECT_EQ(ReadBytes(BmpFile(RunForm(1, 1, 1), {1, 7, 0, 0, 1, 7, 0, 1})).error,
              "the compressed rows are more than 1");
    EXPECT_TRUE(ReadBytes(BmpFile(RunForm(1, 2, 1), {9, 7, 0, 0, 0, 1})).done);   // rounded up beyond the row's end
    EXPECT_TRUE(ReadBytes(BmpFile(RunForm(1, 2, 2), {0, 1})).done);
}

#ifdef __linux__

TEST(BmpFile, APipeThatEndsBeforeThePictureIsNoPicture)
{
    const Bytes masks = Masks({0xFF0000, 0xFF00, 0xFF, 0xFF000000});
    ExpectPipesToBreakOff(BmpFile({.width = 2, .height = 3}, Bytes(24, 9)));
    ExpectPipesToBreakOff(BmpFile({.width = 9, .height = 3, .bits = 4, .afterHeader = PaletteBytes(16)}, Bytes(24, 9)));
    ExpectPipesToBreakOff(
        BmpFile({.width = 2, .height = 2, .bits = 32, .compression = 6, .afterHeader = masks}, Bytes(16, 9)));
    const Bytes runs = {3, 7, 1, 9, 0, 0, 0, 3, 1, 2, 3, 0, 0, 0, 0, 2, 1, 1, 2, 5, 0, 4, 1, 2, 3, 4, 0, 1};
    ExpectPipesToBreakOff(BmpFile(RunForm(1, 4, 4), runs));
}

#endif

TEST(BmpFile, RunsDoNotLeaveThePictureUpwards)
{
    EXPECT_EQ(ReadBytes(BmpFile(RunForm(1, 4, 2), {1, 7, 0, 2, 0, 9, 0, 1})).error,
              "the compressed rows are more than 2");
    EXPECT_EQ(ReadBytes(BmpFile(RunForm(2, 4, -2), {0, 1})).error,
              "4 bits per pixel with compression 2 are not known here");
    EXPECT_EQ(ReadBytes(BmpFile(RunForm(1, 4, -2), {0, 1})).error,
              "8 bits per pixel with compression 1 are not known here");
}

TEST(BmpFile, AProfileElsewhereIsLeftOutWithANotice)
{
    Picture picture = Rgb({{1, 2}});
    picture.extras.colourProfile.assign(40, 7);
    const Bytes whole = BytesOf(picture, "bmp");
    EXPECT_EQ(ReadBytes(whole).picture.extras.colourProfile, Bytes(40, 7));
    enum { SPACE = 14 + 56, PLACE = 14 + 112, LENGTH = 14 + 116 };
    const auto changed = [&whole](size_t at, uint32_t value) {
        Bytes file = whole;
        for (size_t i = 0; i < 4; ++i) file[at + i] = uint8_t(value >> 8 * i);
        return ReadBytes(file);
    };
    const std::vector<std::string> notice = {"the colour profile is left out: it is not stored behind the pixels"};
    EXPECT_EQ(changed(SPACE, 0x4C494E4B).notices, notice) << "a link to another file";
    EXPECT_EQ(changed(PLACE, 100).notices, notice);
    EXPECT_EQ(changed(LENGTH, 17 << 20).notices, notice);
    EXPECT_TRUE(changed(SPACE, 0x73524742).picture.extras.colourProfile.empty()) << "usual colours";
    EXPECT_EQ(changed(LENGTH, 41).error, "the colour profile is not complete");
    EXPECT_EQ(changed(PLACE, 1000).error, "the colour profile is not complete");
}

TEST(BmpFile, NonsenseIsRefusedWithAReason)
{
    const auto errorOf = [](const BmpForm &form) { return ReadBytes(BmpFile(form, Bytes(64))).error; };
    EXPECT_EQ(errorOf({.width = 0, .height = 1}), "there is no picture of 0 x 1 pixels");
    EXPECT_EQ(errorOf({.width = -5, .height = 1}), "there is no picture of -5 x 1 pixels");
    EXPECT_EQ(errorOf({.width = 4, .height = 100}), "100 rows promised, 5 found");
    EXPECT_EQ(errorOf({.width = 1, .height = INT32_MIN}), "2147483648 rows promised, 16 found");
    EXPECT_EQ(errorOf({.width = 1, .height = 1, .bits = 7}), "7 bits per pixel with compression 0 are not known here");
    EXPECT_EQ(errorOf({.width = 1, .height = 1, .compression = 5}),
              "24 bits per pixel with compression 5 are not known here");
    EXPECT_EQ(errorOf({.headerBytes = 13, .width = 1, .height = 1}), "a BMP header of 13 bytes is not known here");
    EXPECT_EQ(errorOf({.width = 1, .height = 1, .bits = 8}), "there is no palette");
    const BmpForm gap = {
        .width = 1, .height = 1, .bits = 16, .compression = 3, .afterHeader = Masks({0xF0F0, 0xF00, 0xF})};
    EXPECT_EQ(errorOf(gap), "a colour mask has a gap");
    Bytes inside = BmpFile({.width = 1, .height = 1}, {1, 2, 3, 0});
    inside[10] = 20;
    EXPECT_EQ(ReadBytes(inside).error, "the pixels are said to begin inside the header");
    const BmpForm huge = {.width = 2000000, .height = 1, .bits = 8, .compression = 1, .afterHeader = PaletteBytes(256)};
    EXPECT_EQ(errorOf(huge), "2000000 x 1 pixels are more than can be opened");
}

TEST(BmpFile, IndicesBeyondThePaletteAreNamed)
{
    const BmpForm form = {.width = 2, .height = 1, .bits = 8, .coloursUsed = 2, .afterHeader = PaletteBytes(2)};
    const ReadResult result = ReadBytes(BmpFile(form, {1, 4, 0, 0}));
    EXPECT_EQ(result.picture.paletteEntries, 5);
    EXPECT_EQ(result.notices,
              std::vector<std::string>{"pixels name colour 4 of a palette of 2: the missing colours are black"});
}
