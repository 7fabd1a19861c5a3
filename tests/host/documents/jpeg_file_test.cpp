// JPEG: how near a picture comes back, and files that the host does not write itself.

#include "tests/host/documents/test_files.h"

#include <cstdlib>
#include <filesystem>

// The largest difference of any sample.
static int Farthest(const Picture &picture, const Picture &other)
{
    int farthest = 0;
    for (int32_t y = 0; y < picture.height; ++y) {
        for (int32_t x = 0; x < picture.width; ++x) {
            const uint32_t left = PixelOf(picture, x, y), right = PixelOf(other, x, y);
            for (int shift = 0; shift < 24; shift += 8) {
                farthest = std::max(farthest, std::abs(int(left >> shift & 0xFF) - int(right >> shift & 0xFF)));
            }
        }
    }
    return farthest;
}

// Slow gradients, which hardly change at a good quality.
static Picture Gradient(int32_t type, int32_t width, int32_t height)
{
    Picture picture = NewPicture(type, width, height);
    const int bytes = picture.bitsPerPixel / 8;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(picture.bitsPerPixel, width)) * y;
        for (int32_t x = 0; x < width; ++x) {
            for (int c = 0; c < bytes; ++c) row[x * bytes + c] = uint8_t(40 + 60 * c + x + y / 2);
        }
    }
    return picture;
}

TEST(JpegFile, GreyAndRgbComeBackNearlyAsTheyWere)
{
    for (int32_t type : {GREY, RGB}) {
        for (PictureSize size : AWKWARD_SIZES) {
            const Picture picture = Gradient(type, size.width, size.height);
            const ReadResult back = ThereAndBack(picture, "jpg");
            ASSERT_EQ(back.picture.colourType, type);
            ASSERT_EQ(back.picture.width, size.width);
            ASSERT_EQ(back.picture.height, size.height);
            EXPECT_LE(Farthest(back.picture, picture), 6) << type << ", " << size.width;
            EXPECT_TRUE(back.notices.empty());
        }
    }
}

#ifndef _WIN32   // where Wine's codec takes the wish for a quality and does not heed it
TEST(JpegFile, QualityMakesFilesLargerAndNearer)
{
    std::mt19937 generator(1);
    const Picture picture = NaturalPicture(RGB, 64, 48, generator);
    const std::string name = NameInFolder("q.jpg");
    size_t sizes[2];
    int farthest[2];
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(WriteFile(name, picture, i ? 100 : 5).done);
        sizes[i] = FileBytes(name).size();
        farthest[i] = Farthest(ReadFile(name).picture, picture);
    }
    EXPECT_LT(sizes[0], sizes[1]);
    EXPECT_GT(farthest[0], farthest[1]);
    EXPECT_LE(farthest[1], 5);
    std::filesystem::remove(name);
}
#endif

TEST(JpegFile, PaletteBecomesRgbAndOneBitBecomesGrey)
{
    const std::string name = NameInFolder("p.jpg");
    const WriteResult palette = WriteFile(name, Palette({0xC03020}, Values(16, std::vector<uint32_t>(16, 0))));
    EXPECT_EQ(palette.notices, std::vector<std::string>{"JPEG has no palette pictures: stored as RGB"});
    EXPECT_LE(Farthest(ReadFile(name).picture, Rgb(Values(16, std::vector<uint32_t>(16, 0xC03020)))), 3);
    const WriteResult bits = WriteFile(name, Bits(BitRows(16, "1111111111111111")));
    EXPECT_EQ(bits.notices, std::vector<std::string>{"JPEG has no 1-bit pictures: stored as grey"});
    EXPECT_LE(Farthest(ReadFile(name).picture, Grey(Values(16, std::vector<uint32_t>(16, 255)))), 1);
    std::filesystem::remove(name);
}

// Files of 20 x 20 pixels of one colour, made with libjpeg at quality 100.
static Bytes MadeElsewhere(const char *name) { return FileBytes(std::string(JPEG_FILES) + "/" + name); }

static Picture OneColour(uint32_t colour, int edge)
{
    return Rgb(Values(size_t(edge), std::vector<uint32_t>(size_t(edge), colour)));
}

TEST(JpegFile, ProgressiveFilesAndFilesStoredAsRgbAreRead)
{
    const ReadResult progressive = ReadBytes(MadeElsewhere("progressive.jpg"));
    ASSERT_TRUE(progressive.done) << progressive.error;
    EXPECT_LE(Farthest(progressive.picture, OneColour(0x3264C8, 20)), 2);
    const ReadResult plain = ReadBytes(MadeElsewhere("stored_as_rgb.jpg"));
    EXPECT_LE(Farthest(plain.picture, OneColour(0x3264C8, 20)), 1);
}

TEST(JpegFile, InksBecomeRgbWithANotice)
{
    for (const char *name : {"cmyk.jpg", "ycck.jpg"}) {   // both are marked, so 255 is no ink
        const ReadResult result = ReadBytes(MadeElsewhere(name));
        ASSERT_TRUE(result.done) << result.error;
        EXPECT_LE(Farthest(result.picture, OneColour(0x0064FF, 20)), 3) << name;
        EXPECT_EQ(result.notices,
                  std::vector<std::string>{"CMYK is turned into RGB, without regard to a colour profile"});
    }
}

TEST(JpegFile, TruncatedProgressiveFilesAreErrorsAtEveryLength)
{
    const Bytes whole = MadeElsewhere("progressive.jpg");
    for (size_t length = 3; length < whole.size(); ++length) {
        const ReadResult result = ReadBytes(Bytes(whole.begin(), whole.begin() + ptrdiff_t(length)));
        EXPECT_FALSE(result.done) << length;
    }
}

TEST(JpegFile, LongExifIsNamed)
{
    Picture picture = Gradient(RGB, 8, 8);
    picture.extras.exif = {'I', 'I',  '*',  0, 8, 0,  0, 0, 1, 0, 0x0E, 1, 2,
                           0,   0x70, 0x11, 1, 0, 26, 0, 0, 0, 0, 0,    0, 0};
    picture.extras.exif.resize(26 + 70000, 'x');   // a description
    const std::string name = NameInFolder("exif.jpg");
    const WriteResult result = WriteFile(name, picture);
    EXPECT_TRUE(result.done);
    EXPECT_EQ(result.notices,
              std::vector<std::string>{"the EXIF data are not stored: they are longer than a JPEG file can hold"});
    std::filesystem::remove(name);
}
