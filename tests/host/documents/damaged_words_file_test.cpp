// Metadata and animations that are damaged anywhere: read and written again without a fault, whatever comes of them.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <random>

// EXIF data of every directory, with a small picture and a maker's note.
static Bytes ExifBlock()
{
    Bytes block = {'M', 'M', 0, 42, 0, 0, 0, 8};
    const auto add = [&](std::initializer_list<int> bytes) {
        for (int byte : bytes) block.push_back(uint8_t(byte));
    };
    add({0, 4, 1, 0x0F, 0, 2, 0, 0, 0, 6, 0, 0, 0, 120, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0});
    add({0x87, 0x69, 0, 4, 0, 0, 0, 1, 0, 0, 0, 62, 0x88, 0x25, 0, 4, 0, 0, 0, 1, 0, 0, 0, 92, 0, 0, 0, 130});
    add({0, 2, 0x92, 0x7C, 0, 7, 0, 0, 0, 8, 0, 0, 0, 110, 0xA0, 2, 0, 3, 0, 0, 0, 1, 0, 80, 0, 0, 0, 0, 0, 0});
    add({0, 1, 0, 1, 0, 2, 0, 0, 0, 2, 'N', 0, 0, 0, 0, 0, 0, 0});
    add({'n', 'o', 't', 'e', 'n', 'o', 't', 'e', 0, 0, 'A', 'c', 'm', 'e', '!', 0, 0, 0, 0, 0});
    add({0, 2, 2, 1, 0, 4, 0, 0, 0, 1, 0, 0, 0, 160, 2, 2, 0, 4, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 0, 0xFF, 0xD8});
    return block;
}

static void Damage(Bytes &bytes, std::mt19937 &generator)
{
    for (int i = 0; i < 3 && !bytes.empty(); ++i) bytes[generator() % bytes.size()] = uint8_t(generator());
    if (generator() % 4 == 0) bytes.resize(generator() % (bytes.size() + 1));
}

static Picture Worded(std::mt19937 &generator)
{
    static const std::string xmp = "<x:xmpmeta><rdf:RDF><rdf:Description tiff:Orientation='6' xmp:ModifyDate=\"1\">"
                                   "<xmp:Thumbnails><a/></xmp:Thumbnails><exif:PixelXDimension>3</exif:PixelXDimension>"
                                   "</rdf:Description></rdf:RDF></x:xmpmeta>";
    Picture picture = NaturalPicture(RGB, 8, 6, generator);
    picture.extras.exif = ExifBlock();
    picture.extras.xmp.assign(xmp.begin(), xmp.end());
    picture.extras.iptc = {0x1C, 2, 25, 0, 3, 'd', 'o', 'g'};
    picture.extras.texts = {{"Comment", "hello"}, {"Author", "Jane"}};
    return picture;
}

TEST(DamagedWords, AreWrittenInEveryFormatWithoutAFault)
{
    std::mt19937 generator(7);
    for (int round = 0; round < 400; ++round) {
        Picture picture = Worded(generator);
        Damage(picture.extras.exif, generator);
        Damage(picture.extras.xmp, generator);
        const char *const endings[] = {"png", "jpg", "tif"};
        const std::string name = NameInFolder(std::string("words.") + endings[round % 3]);
        const WriteResult written = WriteFile(name, picture);
        EXPECT_TRUE(written.done) << round << ": " << written.error;
        const ReadResult back = ReadFile(name);
        EXPECT_TRUE(back.done) << round << ": " << back.error;
    }
    EmptyFolder();
}

TEST(DamagedWords, FilesWithThemAreReadOrRefused)
{
    std::mt19937 generator(8);
    for (const char *ending : {"jpg", "tif", "gif", "webp"}) {
        const std::string name = NameInFolder(std::string("whole.") + ending);
        const WriteResult written = WriteFile(name, Worded(generator));
        if (!written.done) {   // a build without the format says so
            EXPECT_NE(written.error.find("this build has no"), std::string::npos) << written.error;
            continue;
        }
        const Bytes whole = FileBytes(name);
        int read = 0;
        for (int round = 0; round < 300; ++round) {
            Bytes bytes = whole;
            Damage(bytes, generator);
            const ReadResult result = ReadBytes(bytes);
            read += result.done;
            EXPECT_TRUE(result.done || !result.error.empty()) << ending << ", " << round;
        }
        EXPECT_GT(read, 0) << ending;
    }
    EmptyFolder();
}

// GIF ends words with a zero byte.
TEST(DamagedWords, ZeroBytesInThemLeaveAGifFileWhole)
{
    std::mt19937 generator(9);
    Picture picture = Worded(generator);
    picture.extras.xmp[10] = 0;
    picture.extras.texts = {{"Comment", std::string("\0hel\0lo", 7)}};
    const std::string name = NameInFolder("zeros.gif");
    const WriteResult written = WriteFile(name, picture);
    if (!written.done && written.error.find("this build has no") != std::string::npos) GTEST_SKIP();
    ASSERT_TRUE(written.done) << written.error;
    const auto &told = written.notices;
    EXPECT_NE(
        std::find(told.begin(), told.end(), "the XMP data are left out: they are written in a way not known here"),
        told.end());
    const ReadResult back = ReadFile(name);
    ASSERT_TRUE(back.done) << back.error;
    ASSERT_EQ(back.picture.extras.texts.size(), 1u);
    EXPECT_EQ(back.picture.extras.texts[0].text, "hello");
    EmptyFolder();
}

TEST(DamagedWords, APacketMayBeginWithAProperty)
{
    Picture picture = NewPicture(RGB, 3, 2);
    const std::string packet = "xmp:ModifyDate='then' RDF";
    picture.extras.xmp.assign(packet.begin(), packet.end());
    const ReadResult back = ThereAndBack(picture, "png");
    EXPECT_EQ(std::string(back.picture.extras.xmp.begin(), back.picture.extras.xmp.end()), packet);
}

TEST(DamagedWords, PagesOfSeveralSizesAreNoWebPAnimation)
{
    std::vector<Picture> further;
    further.push_back(NewPicture(RGB, 5, 4));
    SaveOptions options;
    options.further = &further;
    Bytes bytes;
    std::vector<std::string> notices;
    std::string error;
    EXPECT_FALSE(WritePictureBytes("", NewPicture(RGB, 8, 6), FileFormat::WEBP, options, bytes, notices, error));
    if (error.find("this build has no") != std::string::npos) GTEST_SKIP();
    EXPECT_EQ(error, "its pages have several sizes, and a WebP animation has one");
}
