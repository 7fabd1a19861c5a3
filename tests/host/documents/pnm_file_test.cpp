// PNM and PAM files, made by hand.

#include "tests/host/documents/test_files.h"

#include <filesystem>

static Bytes Text(const std::string &text, const Bytes &after = {})
{
    Bytes bytes;
    AddText(bytes, text);
    bytes.insert(bytes.end(), after.begin(), after.end());
    return bytes;
}

TEST(PnmFile, PbmCountsFromWhite)
{
    const ReadResult plain = ReadBytes(Text("P1\n# a comment\n3 2\n1 0 1\n011\n"));
    EXPECT_TRUE(SameBytes(plain.picture, Bits({"010", "100"}))) << plain.error;
    EXPECT_TRUE(plain.picture.extras.whiteIsZero);
    const ReadResult raw = ReadBytes(Text("P4 3 2\n", {0b10111111, 0b01100000}));
    EXPECT_TRUE(SameBytes(raw.picture, Bits({"010", "100"}))) << raw.error;
}

TEST(PnmFile, PgmIsSpreadFromItsLargestValue)
{
    EXPECT_TRUE(SamePicture(ReadBytes(Text("P2\n3 1\n15\n0 7 15\n")).picture, Grey({{0, 119, 255}})));
    EXPECT_TRUE(SamePicture(ReadBytes(Text("P5\n3 1\n3\n", {0, 1, 3})).picture, Grey({{0, 85, 255}})));
    EXPECT_TRUE(SamePicture(ReadBytes(Text("P5 2 1 255\n", {9, 200})).picture, Grey({{9, 200}})));
}

TEST(PnmFile, WordsAreBroughtToEightBitsWithANotice)
{
    const ReadResult result = ReadBytes(Text("P5 3 1 65535\n", {0, 0, 0x80, 0x80, 0xFF, 0xFF}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{0, 128, 255}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"16 bits per sample are brought to 8"});
}

TEST(PnmFile, PpmIsRedGreenBlue)
{
    const Picture wanted = Rgb({{0x030201}, {0x060504}});
    EXPECT_TRUE(SameBytes(ReadBytes(Text("P3 1 2 255 1 2 3 4 5 6\n")).picture, wanted));
    EXPECT_TRUE(SameBytes(ReadBytes(Text("P6#c\n1#d\n2\n255\n", {1, 2, 3, 4, 5, 6})).picture, wanted));
}

TEST(PnmFile, PamHasAlphaAndBytesForBits)
{
    const std::string start = "P7\nWIDTH 2\nHEIGHT 1\n# text\n";
    const std::string greyAlpha = "DEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n";
    const ReadResult grey = ReadBytes(Text(start + greyAlpha, {1, 2, 3, 4}));
    EXPECT_TRUE(SamePicture(grey.picture, WithMask(Grey({{1, 3}}), {{2, 4}}))) << grey.error;
    const ReadResult bits = ReadBytes(Text(start + "DEPTH 1\nMAXVAL 1\nTUPLTYPE BLACKANDWHITE\nENDHDR\n", {0, 1}));
    EXPECT_TRUE(SameBytes(bits.picture, Bits({"01"}))) << bits.error;
}

TEST(PnmFile, ColumnsAndRowsMustBeThere)
{
    EXPECT_EQ(ReadBytes(Text("P6 2 12 255\n", Bytes(9 * 6 + 3))).error, "12 rows promised, 9 found");
    EXPECT_EQ(ReadBytes(Text("P2 2 3 255\n1 2 3 4 5")).error, "3 rows promised, 2 found");
    EXPECT_EQ(ReadBytes(Text("P5 0 3 255\n")).error, "there is no picture of 0 x 3 pixels");
    EXPECT_EQ(ReadBytes(Text("P2 1000001 1 255\n")).error, "1000001 x 1 pixels are more than can be opened");
    EXPECT_EQ(ReadBytes(Text("P3 900000 900000 255\n")).error, "the file is too short for the picture it promises");
    EXPECT_EQ(ReadBytes(Text("P5 3 3 70000\n")).error, "the largest value is 70000, not 1 to 65535");
    EXPECT_EQ(ReadBytes(Text("P5 3 99999999999 255\n")).error, "the header lacks a width, a height or a largest value");
    EXPECT_EQ(ReadBytes(Text("P5 3 x 255\n")).error, "the header lacks a width, a height or a largest value");
    EXPECT_EQ(ReadBytes(Text("P7\nWIDTH 3\nHEIGHT 1\nDEPTH 9\nMAXVAL 255\nENDHDR\n")).error,
              "9 channels are not known here (1 to 4 are)");
}

// Longer than what is read at once.
TEST(PnmFile, RowsMayBeLong)
{
    Bytes samples(3 * 30000 * 2);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = uint8_t(i * 7 + i / 256);
    const Bytes file = Text("P6 30000 2 255\n", samples);
    const ReadResult result = ReadBytes(file);
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_EQ(BytesOf(result.picture, "ppm"), Text("P6\n30000 2\n255\n", samples));
    EXPECT_EQ(ReadBytes(Bytes(file.begin(), file.end() - 1)).error, "2 rows promised, 1 found");
#ifdef __linux__
    EXPECT_EQ(ReadPiped(Bytes(file.begin(), file.begin() + 60000)).error, "2 rows promised, 0 found");
#endif
}

TEST(PnmFile, HeadersMayBeOdd)
{
    EXPECT_TRUE(ReadBytes(Text("P5 # an end of a line\r1 1 255\n", {7})).done);
    const std::string bits = "P7\nWIDTH 2\nHEIGHT 1\nTUPLTYPE BLACKANDWHITE\n";
    EXPECT_EQ(ReadBytes(Text(bits + "DEPTH 1\nMAXVAL 1\nENDHDR\n", {1, 0})).picture.colourType, ONE_BIT);
    EXPECT_EQ(ReadBytes(Text(bits + "DEPTH 1\nMAXVAL 255\nENDHDR\n", {1, 0})).picture.colourType, GREY);
    EXPECT_TRUE(ReadBytes(Text(bits + "DEPTH 2\nMAXVAL 1\nENDHDR\n", {1, 0, 0, 1})).picture.mask);
    EXPECT_EQ(ReadBytes(Text("P7\nWIDTH\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nENDHDR\n", {1})).error,
              "the header lacks a width, a height or a largest value");
    EXPECT_FALSE(ReadBytes(Text("P5 1 2000000000 255\n", {7})).done);
#ifdef __linux__
    EXPECT_EQ(ReadPiped(Text(bits + "DEPTH 1\nMAXVAL 1\nENDHDR\n", {1})).error, "1 row promised, 0 found");
#endif
}

TEST(PnmFile, AnotherKindThanItsEndingSaysIsToldOf)
{
    const auto told = [](const Picture &picture, const char *name) {
        const std::vector<std::string> notices = WriteFile(NameInFolder(name), picture).notices;
        EmptyFolder();
        return notices;
    };
    const auto holds = [](const std::string &kind) {
        return std::vector<std::string>{"the file holds " + kind +
                                        " data, as its picture asks for, whatever its ending says"};
    };
    EXPECT_EQ(told(Rgb({{1, 2}}), "a.pgm"), holds("PPM"));
    EXPECT_EQ(told(Grey({{1, 2}}), "a.ppm"), holds("PGM"));
    EXPECT_EQ(told(Bits(BitRows(2, "10")), "a.pgm"), holds("PBM"));
}

TEST(PnmFile, OnlyTheFirstOfSeveralIsRead)
{
    const ReadResult result = ReadBytes(Text("P5 1 1 255\n", {7, 'P', '5'}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{7}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"only the first of the file's pictures is read"});
}

TEST(PnmFile, TypesSurviveAndPalettesBecomeRgb)
{
    std::mt19937 generator(1);
    for (const char *ending : {"pnm", "pam"}) {
        for (int32_t type : {ONE_BIT, GREY, RGB}) {
            for (PictureSize size : AWKWARD_SIZES) {
                const Picture picture = RandomPicture(type, size.width, size.height, generator);
                EXPECT_TRUE(SamePicture(ThereAndBack(picture, ending).picture, picture)) << ending << " " << type;
            }
        }
        const Picture palette = Palette({0x010203, 0x040506}, {{1, 0, 1}});
        EXPECT_TRUE(SamePicture(ThereAndBack(palette, ending).picture, Rgb({{0x040506, 0x010203, 0x040506}})));
        const std::string name = NameInFolder(std::string("p.") + ending);
        EXPECT_EQ(WriteFile(name, palette).notices,
                  std::vector<std::string>{"PNM has no palette pictures: stored as RGB"});
        std::filesystem::remove(name);
    }
}

TEST(PnmFile, ANameForAnotherKindIsToldOf)
{
    const std::string name = NameInFolder("p.ppm");
    EXPECT_EQ(WriteFile(name, Grey({{1}})).notices,
              std::vector<std::string>{"the file holds PGM data, as its picture asks for, whatever its ending says"});
    std::filesystem::remove(name);
}
