// GIF and WebP through this build's own libraries, there and back. What other programs make of them is tried with the
// command line.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <cstring>

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

//---- Parts of an animation, and odd ones

static ReadResult ReadPage(const Bytes &bytes, int page, std::vector<Picture> *further = nullptr)
{
    ReadResult result;
    result.done = ReadPictureBytes(bytes, result.picture, result.format, result.notices, result.error,
                                   {.page = page, .further = further});
    return result;
}

// Empty where this build cannot write the format.
static Bytes BytesOfFrames(const Picture &first, const std::vector<Picture> &further, FileFormat format)
{
    SaveOptions options;
    options.further = &further;
    Bytes bytes;
    std::vector<std::string> notices;
    std::string error;
    const bool done = WritePictureBytes("", first, format, options, bytes, notices, error);
    EXPECT_TRUE(done || IsMissing(error)) << error;
    return bytes;
}

static Picture Plain(int32_t colourType, uint8_t value)
{
    Picture picture = NewPicture(colourType, 4, 3);
    memset(picture.pixels.get(), value, size_t(RowStride(picture.bitsPerPixel, 4)) * 3);
    if (colourType == PALETTE) picture.paletteEntries = 2, picture.red[1] = 200;
    return picture;
}

TEST(AnimationFile, OneFrameIsReadWhereOneIsAskedFor)
{
    for (const FileFormat format : {FileFormat::GIF, FileFormat::WEBP}) {
        const int32_t type = format == FileFormat::GIF ? PALETTE : RGB;
        std::vector<Picture> further;
        further.push_back(Plain(type, 1));
        const Bytes two = BytesOfFrames(Plain(type, 0), further, format);
        const Bytes one = BytesOfFrames(Plain(type, 0), {}, format);
        if (two.empty()) continue;
        EXPECT_EQ(ReadPage(two, 3).error, "has 2 frames, not 3");
        EXPECT_EQ(ReadPage(one, 2).error, "has 1 frame, not 2");
        const ReadResult second = ReadPage(two, 2);
        ASSERT_TRUE(second.done) << second.error;
        EXPECT_TRUE(second.notices.empty());
        EXPECT_NE(PixelOf(second.picture, 0, 0), PixelOf(ReadPage(two, 1).picture, 0, 0));
        EXPECT_EQ(ReadPage(two, 0).notices,
                  std::vector<std::string>{"only the first picture of the animation is read"});
        EXPECT_FALSE(ReadPage(Bytes(two.begin(), two.end() - 30), 2).done);
    }
    for (const char *ending : {"png", "bmp"})
        EXPECT_EQ(ReadPage(BytesOf(Plain(RGB, 1), ending), 2).error, "has no page 2");
}

TEST(AnimationFile, AnAnimationKeepsWhatItsFramesLost)
{
    std::vector<Picture> further;
    further.push_back(Plain(RGB, 9));
    Picture first = Plain(RGB, 1);
    first.extras.shape.lossy = true;
    const Bytes bytes = BytesOfFrames(first, further, FileFormat::WEBP);
    if (bytes.empty()) GTEST_SKIP();
    std::vector<Picture> read;
    const ReadResult result = ReadPage(bytes, 0, &read);
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_TRUE(result.picture.extras.shape.lossy);
    ASSERT_EQ(read.size(), 1u);
    EXPECT_TRUE(read[0].extras.shape.lossy);
}

TEST(AnimationFile, SizesThatAFormatCannotHoldAreRefused)
{
    const auto errorOf = [](int32_t width, int32_t height, FileFormat format) {
        Bytes bytes;
        std::vector<std::string> notices;
        std::string error;
        EXPECT_FALSE(WritePictureBytes("", NewPicture(GREY, width, height), format, {}, bytes, notices, error));
        return error;
    };
    const std::string jpeg = "a JPEG picture has at most 65500 rows and columns";
    EXPECT_EQ(errorOf(65501, 1, FileFormat::JPEG), jpeg);
    EXPECT_EQ(errorOf(1, 65501, FileFormat::JPEG), jpeg);
    if (BytesOfFrames(Plain(PALETTE, 0), {}, FileFormat::GIF).empty()) GTEST_SKIP();
    const std::string gif = "a GIF picture has at most 65535 rows and columns";
    EXPECT_EQ(errorOf(65536, 1, FileFormat::GIF), gif);
    EXPECT_EQ(errorOf(1, 65536, FileFormat::GIF), gif);
    const std::string webp = "a WebP picture has at most 16383 rows and columns";
    EXPECT_EQ(errorOf(16384, 1, FileFormat::WEBP), webp);
    EXPECT_EQ(errorOf(1, 16384, FileFormat::WEBP), webp);
    std::vector<Picture> further;
    further.push_back(NewPicture(RGB, 4, 2));
    Bytes bytes;
    std::vector<std::string> notices;
    std::string error;
    SaveOptions options;
    options.further = &further;
    EXPECT_FALSE(WritePictureBytes("", Plain(RGB, 1), FileFormat::WEBP, options, bytes, notices, error));
    EXPECT_EQ(error, "its pages have several sizes, and a WebP animation has one");
}

// A GIF file of frames that are each one index all over, with a palette of four greys.
struct StoredFrame {
    int left, top, width, height, disposal;
    uint8_t index;
};

static Bytes GifOf(int width, int height, const std::vector<StoredFrame> &frames)
{
    Bytes file;
    AddText(file, "GIF89a");
    Add16(file, uint32_t(width));
    Add16(file, uint32_t(height));
    file.insert(file.end(), {0x81, 0, 0, 0, 0, 0, 80, 80, 80, 160, 160, 160, 240, 240, 240});
    for (const StoredFrame &frame : frames) {
        file.insert(file.end(), {0x21, 0xF9, 4, uint8_t(frame.disposal << 2), 5, 0, 0, 0, 0x2C});
        for (int number : {frame.left, frame.top, frame.width, frame.height}) Add16(file, uint32_t(number));
        file.insert(file.end(), {0, 2});
        // Codes of 3 bits: a clear before each pixel, so that they stay so short; then the end.
        Bytes packed;
        uint32_t bits = 0;
        int count = 0;
        const auto add = [&](uint32_t code) {
            bits |= code << count;
            for (count += 3; count >= 8; count -= 8, bits >>= 8) packed.push_back(uint8_t(bits));
        };
        for (int i = 0; i < frame.width * frame.height; ++i) add(4), add(frame.index);
        add(5);
        packed.push_back(uint8_t(bits));
        file.push_back(uint8_t(packed.size()));
        file.insert(file.end(), packed.begin(), packed.end());
        file.push_back(0);
    }
    file.push_back(0x3B);
    return file;
}

TEST(AnimationFile, FramesLeaveWhatTheyAreToldTo)
{
    enum { STAYS = 1, CLEARED = 2, AS_BEFORE = 3 };
    for (int disposal : {STAYS, CLEARED, AS_BEFORE}) {
        const Bytes file = GifOf(3, 1, {{0, 0, 3, 1, STAYS, 1}, {1, 0, 1, 1, disposal, 2}, {2, 0, 1, 1, STAYS, 3}});
        std::vector<Picture> further;
        const ReadResult result = ReadPage(file, 0, &further);
        if (IsMissing(result.error)) GTEST_SKIP();
        ASSERT_TRUE(result.done) << result.error;
        ASSERT_EQ(further.size(), 2u);
        const Picture &last = further[1];
        const auto grey = [&last](int32_t x) { return int(last.red[PixelOf(last, x, 0)]); };
        EXPECT_EQ(grey(0), 80);
        EXPECT_EQ(grey(2), 240);
        EXPECT_EQ(last.mask != nullptr, disposal == CLEARED);
        if (last.mask) {
            EXPECT_FALSE(BitAt(last.mask.get(), 1));
            continue;
        }
        EXPECT_EQ(grey(1), disposal == STAYS ? 160 : 80);
    }
    // The first one as well: what is brought back then is an empty screen.
    const ReadResult first = ReadPage(GifOf(2, 1, {{0, 0, 2, 1, AS_BEFORE, 1}, {1, 0, 1, 1, STAYS, 2}}), 2);
    ASSERT_TRUE(first.done) << first.error;
    EXPECT_FALSE(BitAt(first.picture.mask.get(), 0));
    EXPECT_TRUE(BitAt(first.picture.mask.get(), 1));
    EXPECT_EQ(ReadPage(GifOf(32768, 1, {{0, 0, 1, 1, STAYS, 1}}), 0).error,
              "32768 x 1 pixels: beyond 32767 an edge or 512 megapixels a picture is opened only with --allow-huge");
}

// Frames with palettes of their own may show more colours together than an index can tell.
TEST(AnimationFile, AScreenOfManyColoursIsRgb)
{
    const auto frame = [](int part) {
        Picture picture = NewPicture(PALETTE, 200, 2);
        picture.paletteEntries = 200;
        for (int i = 0; i < 200; ++i) picture.red[i] = uint8_t(i), picture.blue[i] = uint8_t(part * 60);
        AddMask(picture, 1);
        for (int32_t x = 0; x < 200; ++x)
            for (int32_t y = 0; y < 2; ++y) {
                picture.pixels[size_t(RowStride(8, 200)) * size_t(y) + size_t(x)] = uint8_t(x);
                SetBit(picture.mask.get() + RowStride(1, 200) * y, x, y == part || (part == 0 && x < 190));
            }
        return picture;
    };
    std::vector<Picture> further;
    further.push_back(frame(1));
    Bytes file = BytesOfFrames(frame(0), further, FileFormat::GIF);
    if (file.empty()) GTEST_SKIP();
    // Nothing is cleared between them.
    for (size_t at = 0; at + 4 < file.size(); ++at)
        if (file[at] == 0x21 && file[at + 1] == 0xF9) file[at + 3] = uint8_t((file[at + 3] & ~0x1C) | 1 << 2);
    std::vector<Picture> read;
    const ReadResult result = ReadPage(file, 0, &read);
    ASSERT_TRUE(result.done) << result.error;
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].colourType, RGB);
    EXPECT_EQ(PixelOf(read[0], 7, 0), 0x000007u);
    EXPECT_EQ(PixelOf(read[0], 7, 1), 0x3C0007u);
}

TEST(AnimationFile, WhereAllIndicesAreShownTransparencyTakesOneColour)
{
    Picture picture = NewPicture(PALETTE, 257, 1);
    picture.paletteEntries = 256;
    for (int i = 0; i < 256; ++i) picture.red[i] = uint8_t(i), picture.green[i] = uint8_t(255 - i);
    AddMask(picture, 1);
    for (int32_t x = 0; x < 257; ++x) {
        picture.pixels[size_t(x)] = uint8_t(x % 256);
        SetBit(picture.mask.get(), x, x < 256);
    }
    const Bytes file = BytesOfFrames(picture, {}, FileFormat::GIF);
    if (file.empty()) GTEST_SKIP();
    const ReadResult result = ReadPage(file, 0);
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_TRUE(BitAt(result.picture.mask.get(), 255));
    EXPECT_FALSE(BitAt(result.picture.mask.get(), 256));
}

TEST(AnimationFile, AMarkBeforeExifDataIsNoPartOfThem)
{
    Picture picture = Plain(RGB, 1);
    picture.extras.exif = {'I', 'I', '*', 0, 8, 0, 0, 0, 1, 0, 0x0E, 1, 2, 0, 2, 0, 0, 0, 'a', 0, 0, 0, 0, 0, 0, 0};
    Bytes file = BytesOfFrames(picture, {}, FileFormat::WEBP);
    if (file.empty()) GTEST_SKIP();
    const Bytes exif = ReadBytes(file).picture.extras.exif;
    EXPECT_FALSE(exif.empty());
    const std::string name = "EXIF";
    const auto chunk = std::search(file.begin(), file.end(), name.begin(), name.end());
    ASSERT_NE(chunk, file.end());
    chunk[4] = uint8_t(chunk[4] + 6);
    const std::string mark("Exif\0\0", 6);
    file.insert(chunk + 8, mark.begin(), mark.end());
    file[4] = uint8_t(file[4] + 6);
    EXPECT_EQ(ReadBytes(file).picture.extras.exif, exif);
}

TEST(AnimationFile, UnknownPartsOfAWebPFileAreNamedOnce)
{
    Picture picture = Plain(RGB, 1);
    picture.extras.xmp = {'<', 'r', 'd', 'f', ':', 'R', 'D', 'F', '/', '>'};   // so that it is a file of parts
    Bytes file = BytesOfFrames(picture, {}, FileFormat::WEBP);
    if (file.empty()) GTEST_SKIP();
    for (const char *name : {"note", "note", "\1xyz", "more", "\x7Fxyz"}) {
        AddText(file, name);
        Add32(file, 3);
        AddText(file, "abc");
        file.push_back(0);
        file[4] = uint8_t(file[4] + 12);
    }
    const ReadResult result = ReadBytes(file);
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_EQ(result.notices,
              std::vector<std::string>{"parts of the file that are not known here are left out: note, ?, more"});
}

TEST(AnimationFile, AProgramsOwnPartsOfAGifFileAreNamedOnce)
{
    Bytes file = GifOf(1, 1, {{0, 0, 1, 1, 0, 1}}), parts;
    for (const char *name : {"MAKEROFGIF1", "MAKEROFGIF1", "\1AKEROFGIF1",
                             "\x7F"
                             "AKEROFGIF1",
                             "ANIMEXTS1.0"}) {
        parts.insert(parts.end(), {0x21, 0xFF, 11});
        AddText(parts, name);
        parts.insert(parts.end(), {3, 1, 7, 0, 0});
    }
    file.insert(file.begin() + 25, parts.begin(), parts.end());
    const ReadResult result = ReadPage(file, 0);
    if (IsMissing(result.error)) GTEST_SKIP() << result.error;
    ASSERT_TRUE(result.done) << result.error;
    ASSERT_EQ(result.notices.size(), 1u);
    EXPECT_NE(result.notices[0].find("MAKEROFGIF1, a program's own"), std::string::npos) << result.notices[0];
    EXPECT_EQ(result.picture.extras.shape.loops, 7);
}

TEST(AnimationFile, AGifsPixelsMayBeLong)
{
    const auto written = [](uint32_t x, uint32_t y) {
        Picture picture = Plain(PALETTE, 0);
        picture.extras.aspectX = x;
        picture.extras.aspectY = y;
        const Bytes file = BytesOfFrames(picture, {}, FileFormat::GIF);
        return file.size() > 12 ? int(file[12]) : -1;
    };
    if (written(1, 1) < 0) GTEST_SKIP();
    EXPECT_EQ(written(1, 1), 0);
    EXPECT_EQ(written(1, 2), 113);
    EXPECT_EQ(written(1001, 1000), 0) << "nearly square";
    EXPECT_EQ(written(0, 1), 0) << "no ratio";
    EXPECT_EQ(written(1, 5), 0) << "too long";
    EXPECT_EQ(written(5, 1), 0);
}

TEST(AnimationFile, AStillGifMayHaveATime)
{
    Picture picture = Plain(PALETTE, 0);
    picture.extras.shape.delay = 500;
    const Bytes file = BytesOfFrames(picture, {}, FileFormat::GIF);
    if (file.empty()) GTEST_SKIP();
    EXPECT_EQ(ReadBytes(file).picture.extras.shape.delay, 500);
}
