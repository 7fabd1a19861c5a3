// GIF and WebP through this build's own libraries, there and back. What other programs make of them is tried with the
// command line.

#include "tests/host/documents/test_files.h"

namespace
{

// Three colours, the third only where the mask lets through.
Picture Frame(int32_t spot)
{
    Picture picture = NewPicture(PALETTE, 9, 5);
    picture.paletteEntries = 4;
    const uint32_t colours[] = {0x102030, 0xFF8000, 0x00C0FF, 0};
    for (int i = 0; i < 4; ++i) {
        picture.red[i] = uint8_t(colours[i] >> 16);
        picture.green[i] = uint8_t(colours[i] >> 8);
        picture.blue[i] = uint8_t(colours[i]);
    }
    AddMask(picture, 1);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 9; ++x) {
            picture.pixels[size_t(12 * y + x)] = uint8_t(x == spot ? 1 : y == 2 ? 2 : 0);
            SetBit(picture.mask.get() + 4 * y, x, y != 4);
        }
    picture.extras.shape.delay = 40 + 10 * spot;
    picture.extras.shape.loops = 3;
    return picture;
}

struct Animation {
    Picture first;
    std::vector<Picture> further;
};

bool ThereAndBack(const Picture &first, const std::vector<Picture> &further, FileFormat format, Animation &read,
                  std::vector<std::string> &notices, std::string &error)
{
    SaveOptions options;
    options.further = &further;
    std::vector<uint8_t> bytes;
    if (!WritePictureBytes("", first, format, options, bytes, notices, error)) return false;
    FileFormat found;
    return ReadPictureBytes(bytes, read.first, found, notices, error, {.further = &read.further}) && found == format;
}

bool IsMissing(const std::string &error) { return error.find("this build has no") == 0; }

}   // namespace

TEST(AnimationFile, GifKeepsIndicesPalettesMasksTimesAndLoops)
{
    std::vector<Picture> further;
    further.push_back(Frame(4));
    further.push_back(Frame(7));
    Animation read;
    std::vector<std::string> notices;
    std::string error;
    const bool done = ThereAndBack(Frame(1), further, FileFormat::GIF, read, notices, error);
    if (IsMissing(error)) GTEST_SKIP() << error;
    ASSERT_TRUE(done) << error;
    EXPECT_TRUE(notices.empty()) << notices[0];
    ASSERT_EQ(read.further.size(), 2u);
    EXPECT_EQ(read.first.extras.shape.loops, 3);
    for (int i = 0; i < 3; ++i) {
        const Picture expected = Frame(1 + 3 * i);
        const Picture &picture = i ? read.further[size_t(i) - 1] : read.first;
        EXPECT_EQ(picture.extras.shape.delay, expected.extras.shape.delay);
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 9; ++x) {
                ASSERT_EQ(BitAt(picture.mask.get() + 4 * y, x), y != 4) << i << ": " << x << "," << y;
                if (y == 4) continue;
                const size_t index = picture.pixels[size_t(12 * y + x)], own = expected.pixels[size_t(12 * y + x)];
                ASSERT_EQ(picture.red[index], expected.red[own]) << i << ": " << x << "," << y;
                ASSERT_EQ(picture.blue[index], expected.blue[own]);
            }
    }
}

TEST(AnimationFile, WebPKeepsColoursAlphaTimesAndLoops)
{
    std::vector<Picture> pictures;
    for (int i = 0; i < 3; ++i) {
        Picture &picture = pictures.emplace_back(NewPicture(RGB, 6, 4));
        AddMask(picture, 8);
        for (size_t at = 0; at < 80; ++at) picture.pixels[at] = uint8_t(at % 20 < 18 ? 3 * at + size_t(40 * i) : 0);
        for (size_t at = 0; at < 32; ++at) picture.mask[at] = uint8_t(at % 8 < 6 ? 255 - 7 * at : 0);
        picture.extras.shape.delay = 100 * (i + 1);
        picture.extras.shape.loops = 2;
    }
    std::vector<Picture> further;
    further.push_back(CopyOf(pictures[1]));
    further.push_back(CopyOf(pictures[2]));
    Animation read;
    std::vector<std::string> notices;
    std::string error;
    const bool done = ThereAndBack(pictures[0], further, FileFormat::WEBP, read, notices, error);
    if (IsMissing(error)) GTEST_SKIP() << error;
    ASSERT_TRUE(done) << error;
    ASSERT_EQ(read.further.size(), 2u);
    EXPECT_EQ(read.first.extras.shape.loops, 2);
    for (int i = 0; i < 3; ++i) {
        const Picture &picture = i ? read.further[size_t(i) - 1] : read.first;
        EXPECT_EQ(picture.extras.shape.delay, 100 * (i + 1));
        EXPECT_TRUE(SamePicture(picture, pictures[size_t(i)])) << i;
    }
}
