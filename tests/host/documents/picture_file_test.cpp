// What holds for every format: types and masks survive, extras survive or are named, damage ends in an error line.

#include "tests/host/documents/test_files.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

static const char *const EXACT_ENDINGS[] = {"png", "bmp", "tif"};
static const int32_t TYPES[] = {ONE_BIT, GREY, PALETTE, RGB};

static Picture TestPicture(int32_t type, int32_t width, int32_t height, uint32_t seed)
{
    std::mt19937 generator(seed);
    return RandomPicture(type, width, height, generator);
}

// A palette whose last entry is not black, as only such a one keeps its length in every format.
static Picture PictureWithEntries(int32_t entries, int32_t width, int32_t height, uint32_t seed)
{
    std::mt19937 generator(seed);
    Picture picture = NewPicture(PALETTE, width, height);
    picture.paletteEntries = entries;
    for (int i = 0; i < entries; ++i) {
        picture.red[i] = uint8_t(generator());
        picture.green[i] = uint8_t(generator());
        picture.blue[i] = uint8_t(generator() | 1);
    }
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(8, width)) * y;
        for (int32_t x = 0; x < width; ++x) row[x] = uint8_t(generator() % uint32_t(entries));
    }
    return picture;
}

static Picture TypedPicture(int32_t type, int32_t width, int32_t height, uint32_t seed)
{
    return type == PALETTE ? PictureWithEntries(200, width, height, seed) : TestPicture(type, width, height, seed);
}

static bool Mentions(const std::vector<std::string> &lines, const std::string &words)
{
    for (const std::string &line : lines) {
        if (line.find(words) != std::string::npos) return true;
    }
    return false;
}

//---- Names

TEST(PictureFileNames, EndingsTellTheFormatWhateverTheirCase)
{
    EXPECT_EQ(FormatOfName("holiday.PNG"), FileFormat::PNG);
    EXPECT_EQ(FormatOfName("a.b.bmp"), FileFormat::BMP);
    EXPECT_EQ(FormatOfName("x.Tiff"), FileFormat::TIFF);
    EXPECT_EQ(FormatOfName("x.tif"), FileFormat::TIFF);
    EXPECT_EQ(FormatOfName("x.jpeg"), FileFormat::JPEG);
    EXPECT_EQ(FormatOfName("x.pgm"), FileFormat::PNM);
    EXPECT_EQ(FormatOfName("png"), FileFormat::UNKNOWN);
    EXPECT_EQ(FormatOfName("x.gif"), FileFormat::GIF);
    EXPECT_EQ(FormatOfName("x.tga"), FileFormat::UNKNOWN);
    EXPECT_EQ(FormatOfName(""), FileFormat::UNKNOWN);
    EXPECT_EQ(KnownEndings(), "png, bmp, tif, tiff, jpg, jpeg, gif, webp, pnm, pbm, pgm, ppm, pam");
}

//---- There and back

TEST(PictureFile, EveryTypeSurvivesAtEverySize)
{
    for (const char *ending : EXACT_ENDINGS) {
        for (int32_t type : TYPES) {
            for (PictureSize size : AWKWARD_SIZES) {
                SCOPED_TRACE(std::string(ending) + ", type " + std::to_string(type) + ", width " +
                             std::to_string(size.width));
                const Picture picture = TypedPicture(type, size.width, size.height, 7);
                const ReadResult back = ThereAndBack(picture, ending);
                EXPECT_TRUE(SamePicture(back.picture, picture));
                EXPECT_TRUE(back.notices.empty());
            }
        }
    }
}

TEST(PictureFile, PalettesKeepTheirLength)
{
    for (const char *ending : EXACT_ENDINGS) {
        for (int32_t entries : {1, 2, 3, 16, 17, 200, 255, 256}) {
            SCOPED_TRACE(std::string(ending) + ", " + std::to_string(entries) + " entries");
            const Picture picture = PictureWithEntries(entries, 33, 20, uint32_t(entries));
            EXPECT_TRUE(SamePicture(ThereAndBack(picture, ending).picture, picture));
        }
    }
}

TEST(PictureFile, RowPaddingIsClearedOnTheWayIn)
{
    for (const char *ending : EXACT_ENDINGS) {
        for (int32_t type : TYPES) {
            const Picture picture = TypedPicture(type, 9, 3, 5);
            const ReadResult back = ThereAndBack(picture, ending);
            const int32_t bits = back.picture.bitsPerPixel, stride = RowStride(bits, 9), used = (9 * bits + 7) / 8;
            for (int32_t y = 0; y < 3; ++y) {
                const uint8_t *row = back.picture.pixels.get() + ptrdiff_t(stride) * y;
                for (int32_t i = used; i < stride; ++i) EXPECT_EQ(row[i], 0) << ending << " " << type;
                if (type == ONE_BIT) { EXPECT_EQ(row[used - 1] & 0x7F, 0) << ending; }
            }
        }
    }
}

TEST(PictureFile, MasksSurviveWhereTheFormatHasAlpha)
{
    const struct {
        const char *ending;
        int32_t type;
    } kept[] = {
        {"png", GREY}, {"png", RGB},     {"bmp", RGB},  {"tif", GREY},
        {"tif", RGB},  {"tif", PALETTE}, {"pam", GREY}, {"pam", RGB},
    };
    for (const auto &form : kept) {
        for (PictureSize size : AWKWARD_SIZES) {
            SCOPED_TRACE(std::string(form.ending) + ", type " + std::to_string(form.type));
            std::mt19937 generator(11);
            Picture picture = TypedPicture(form.type, size.width, size.height, 8);
            AddRandomMask(picture, 8, generator);
            const ReadResult back = ThereAndBack(picture, form.ending);
            EXPECT_TRUE(SamePicture(back.picture, picture));
            EXPECT_TRUE(back.notices.empty());
        }
    }
}

TEST(PictureFile, OneBitMasksComeBackAsEightBits)
{
    std::mt19937 generator(3);
    Picture picture = TestPicture(RGB, 17, 5, 9);
    AddRandomMask(picture, 1, generator);
    const ReadResult back = ThereAndBack(picture, "png");
    ASSERT_EQ(back.picture.maskBitsPerPixel, 8);
    for (int32_t y = 0; y < 5; ++y) {
        for (int32_t x = 0; x < 17; ++x) {
            EXPECT_EQ(MaskPixelOf(back.picture, x, y), MaskPixelOf(picture, x, y) ? 255u : 0u);
        }
    }
}

TEST(PictureFile, AMaskWithoutAPlaceIsNamed)
{
    const struct {
        const char *ending;
        int32_t type;
    } lost[] = {
        {"bmp", PALETTE}, {"bmp", GREY}, {"tif", ONE_BIT}, {"jpg", RGB}, {"jpg", GREY}, {"ppm", RGB}, {"pgm", GREY},
    };
    for (const auto &form : lost) {
        Picture picture = TypedPicture(form.type, 9, 5, 8);
        AddMask(picture, 8);
        const std::string name = NameInFolder(std::string("masked.") + form.ending);
        const WriteResult written = WriteFile(name, picture);
        EXPECT_TRUE(written.done) << written.error;
        EXPECT_TRUE(Mentions(written.notices, "mask")) << form.ending << " " << form.type;
        EXPECT_FALSE(ReadFile(name).picture.mask);
        fs::remove(name);
    }
}

TEST(PictureFile, APngMaskBecomesThePalettesOrThePictureAnotherType)
{
    for (const int32_t type : {PALETTE, ONE_BIT}) {
        Picture picture = TypedPicture(type, 9, 5, 8);
        AddMask(picture, 8);
        for (int32_t x = 0; x < 9; ++x) picture.mask[x] = uint8_t(30 * x);
        const std::string name = NameInFolder("masked.png");
        const WriteResult written = WriteFile(name, picture);
        ASSERT_TRUE(written.done) << written.error;
        const Picture read = ReadFile(name).picture;
        ASSERT_EQ(read.colourType, type == PALETTE ? PALETTE : GREY);
        EXPECT_EQ(Mentions(written.notices, "stored as grey"), type == ONE_BIT);
        for (int32_t x = 0; x < 9; ++x) {
            const std::vector<uint8_t> &ofEntry = read.extras.paletteAlpha;
            const size_t index = read.pixels[x];
            const int seen = read.mask ? read.mask[x] : index < ofEntry.size() ? ofEntry[index] : 255;
            EXPECT_EQ(seen, 30 * x) << type;
            if (type == PALETTE) { EXPECT_EQ(read.red[index], picture.red[picture.pixels[x]]); }
        }
        fs::remove(name);
    }
}

//---- One bit with colours, and ramps

static Picture TwoColours(int32_t width, int32_t height)
{
    Picture picture = PictureWithEntries(2, width, height, 4);
    picture.extras.wasOneBit = true;
    return picture;
}

TEST(PictureFile, AOneBitPictureWithColoursIsAPaletteThatGoesBackToOneBit)
{
    for (const char *ending : EXACT_ENDINGS) {
        const Picture picture = TwoColours(33, 20);
        const Bytes bytes = BytesOf(picture, ending);
        const ReadResult back = ReadBytes(bytes);
        EXPECT_TRUE(SamePicture(back.picture, picture)) << ending;
        EXPECT_TRUE(back.picture.extras.wasOneBit) << ending;
        if (std::string(ending) == "png") { EXPECT_EQ(bytes[24], 1) << "bit depth"; }
        if (std::string(ending) == "bmp") { EXPECT_EQ(bytes[28], 1) << "bits per pixel"; }
    }
}

TEST(PictureFile, AThirdColourInUseEndsTheOneBit)
{
    for (const char *ending : EXACT_ENDINGS) {
        Picture picture = TwoColours(33, 20);
        picture.paletteEntries = 3;
        picture.red[2] = 200;
        picture.pixels[5] = 2;
        const ReadResult back = ThereAndBack(picture, ending);
        EXPECT_TRUE(SamePicture(back.picture, picture)) << ending;
        EXPECT_FALSE(back.picture.extras.wasOneBit) << ending;
    }
}

TEST(PictureFile, APaletteThatIsTheWholeRampReadsAsGrey)
{
    for (const char *ending : EXACT_ENDINGS) {
        const Picture grey = TestPicture(GREY, 33, 20, 6);
        Picture picture = CopyOf(grey);
        picture.colourType = PALETTE;
        EXPECT_TRUE(SamePicture(ThereAndBack(picture, ending).picture, grey)) << ending;
    }
}

TEST(PictureFile, PixelsBeyondThePaletteAreWrittenWithBlackEntries)
{
    for (const char *ending : EXACT_ENDINGS) {
        Picture picture = PictureWithEntries(3, 9, 9, 1);
        picture.pixels[2] = 7;
        const ReadResult back = ThereAndBack(picture, ending);
        EXPECT_EQ(back.picture.paletteEntries, 8) << ending;
        EXPECT_EQ(back.picture.pixels[2], 7) << ending;
    }
}

TEST(PictureFile, CountingFromWhiteIsRemembered)
{
    for (const char *ending : {"bmp", "tif"}) {
        Picture picture = TestPicture(ONE_BIT, 33, 20, 2);
        picture.extras.whiteIsZero = true;
        const ReadResult back = ThereAndBack(picture, ending);
        EXPECT_TRUE(SamePicture(back.picture, picture)) << ending;
        EXPECT_TRUE(back.picture.extras.whiteIsZero) << ending;
    }
    Picture grey = TestPicture(GREY, 33, 20, 2);
    grey.extras.whiteIsZero = true;
    const ReadResult back = ThereAndBack(grey, "tif");
    EXPECT_TRUE(SamePicture(back.picture, grey));
    EXPECT_TRUE(back.picture.extras.whiteIsZero);
}

//---- Extras

// A header, a table of one part, and that part; libpng takes none that can be packed into fewer than 92 bytes.
static Bytes SmallProfile()
{
    Bytes profile(400, 0);
    profile[2] = 400 >> 8;
    profile[3] = 400 & 255;
    profile[8] = 4;
    const char *marks[] = {"mntrRGB XYZ ", "acsp"};
    memcpy(profile.data() + 12, marks[0], 12);
    memcpy(profile.data() + 36, marks[1], 4);
    const uint8_t white[12] = {0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
    memcpy(profile.data() + 68, white, 12);
    const uint8_t table[16] = {0, 0, 0, 1, 'c', 'p', 'r', 't', 0, 0, 0, 144, 0, 0, 1, 0};
    memcpy(profile.data() + 128, table, 16);
    memcpy(profile.data() + 144, "text", 4);
    std::mt19937 generator(1);
    for (size_t i = 152; i < profile.size(); ++i) profile[i] = uint8_t(generator());
    return profile;
}

static Picture PictureWithExtras(int32_t type)
{
    Picture picture = TypedPicture(type, 17, 13, 3);
    picture.extras.colourProfile = SmallProfile();
    picture.extras.exif = {'I', 'I', '*', 0, 8, 0, 0, 0, 1, 0, 0x0F, 1, 2, 0, 4, 0, 0, 0, 'M', 'e', '!', 0, 0, 0, 0, 0};
    picture.extras.dotsPerInchX = 300;
    picture.extras.dotsPerInchY = 200;
    return picture;
}

TEST(PictureFileExtras, GoThroughWhereTheFormatHasAPlace)
{
    const struct {
        const char *ending;
        bool profile, exif, resolution;
    } places[] = {
        {"png", true, true, true},  {"jpg", true, true, true},    {"tif", true, true, true},
        {"bmp", true, false, true}, {"ppm", false, false, false},
    };
    for (const auto &place : places) {
        SCOPED_TRACE(place.ending);
        const Picture picture = PictureWithExtras(RGB);
        const std::string name = NameInFolder(std::string("extras.") + place.ending);
        const WriteResult written = WriteFile(name, picture);
        ASSERT_TRUE(written.done) << written.error;
        const ReadResult result = ReadFile(name);
        EXPECT_TRUE(result.notices.empty());
        const PictureExtras &back = result.picture.extras;
        EXPECT_EQ(back.colourProfile, place.profile ? picture.extras.colourProfile : Bytes());
        EXPECT_EQ(back.exif, place.exif ? picture.extras.exif : Bytes());
        EXPECT_NEAR(back.dotsPerInchX, place.resolution ? 300 : 0, 0.02);
        EXPECT_NEAR(back.dotsPerInchY, place.resolution ? 200 : 0, 0.02);
        EXPECT_EQ(Mentions(written.notices, "profile"), !place.profile);
        EXPECT_EQ(Mentions(written.notices, "EXIF"), !place.exif);
        EXPECT_EQ(Mentions(written.notices, "resolution"), !place.resolution);
        fs::remove(name);
    }
}

TEST(PictureFileExtras, ProfilesGoWithPalettesToo)
{
    for (const char *ending : EXACT_ENDINGS) {
        Picture picture = PictureWithExtras(PALETTE);
        const ReadResult back = ThereAndBack(picture, ending);
        EXPECT_EQ(back.picture.extras.colourProfile, picture.extras.colourProfile) << ending;
        EXPECT_TRUE(SamePicture(back.picture, picture)) << ending;
    }
}

TEST(PictureFileExtras, APalettesAlphaStaysWithItInPngAndIsNamedElsewhere)
{
    Picture picture = PictureWithEntries(16, 9, 9, 2);
    picture.extras.paletteAlpha = {0, 128, 7};
    EXPECT_EQ(ThereAndBack(picture, "png").picture.extras.paletteAlpha, picture.extras.paletteAlpha);
    const std::string name = NameInFolder("alpha.bmp");
    EXPECT_TRUE(Mentions(WriteFile(name, picture).notices, "alpha"));
    fs::remove(name);
}

//---- Damage

#ifdef _WIN32   // Wine takes its time to open a file
static const size_t LENGTH_STEP = 5;
static const int CHANGED_FILES = 60;
#else
static const size_t LENGTH_STEP = 1;
static const int CHANGED_FILES = 300;
#endif

static Picture SmallPicture(int32_t type) { return TypedPicture(type, 9, 7, 5); }

TEST(PictureFileDamage, ATruncatedFileIsAnErrorWhereverItEnds)
{
    for (const char *ending : {"png", "bmp", "tif", "jpg", "pnm", "pam"}) {
        for (int32_t type : TYPES) {
            Picture picture = SmallPicture(type);
            if (type == RGB) AddMask(picture, 8);
            const Bytes whole = BytesOf(picture, ending);
            ASSERT_TRUE(ReadBytes(whole).done);
            for (size_t length = 0; length < whole.size(); length += LENGTH_STEP) {
                const ReadResult result = ReadBytes(Bytes(whole.begin(), whole.begin() + ptrdiff_t(length)));
                EXPECT_FALSE(result.done) << ending << ", type " << type << ", " << length << " of " << whole.size();
                EXPECT_FALSE(result.error.empty());
                EXPECT_EQ(result.error.find('\n'), std::string::npos);
                EXPECT_FALSE(result.picture.pixels);
            }
        }
    }
}

TEST(PictureFileDamage, ChangedBytesNeverDoHarm)
{
    for (const char *ending : {"png", "bmp", "tif", "jpg", "pnm", "pam"}) {
        for (int32_t type : TYPES) {
            std::mt19937 generator(uint32_t(type) * 1000 + uint32_t(ending[0]));
            const Bytes whole = BytesOf(SmallPicture(type), ending);
            for (int round = 0; round < CHANGED_FILES; ++round) {
                Bytes bytes = whole;
                const size_t reach = round % 2 ? bytes.size() : std::min<size_t>(bytes.size(), 64);
                for (uint32_t n = generator() % 4 + 1; n > 0; --n) bytes[generator() % reach] = uint8_t(generator());
                const ReadResult result = ReadBytes(bytes);
                EXPECT_NE(result.done, !result.error.empty()) << ending << ", type " << type << ", round " << round;
            }
        }
    }
}

TEST(PictureFileDamage, OtherFilesAreToldApart)
{
    const ReadResult text = ReadBytes({'h', 'e', 'l', 'l', 'o'});
    EXPECT_FALSE(text.done);
    EXPECT_EQ(text.error, "not a picture file that is known here (" + KnownEndings() + ")");
    EXPECT_EQ(ReadBytes({}).error, "the file is empty");
    EXPECT_EQ(ReadFile(NameInFolder("nowhere.png")).error, "cannot be opened: No such file or directory");
    EXPECT_EQ(ReadFile(NameInFolder("")).error, "is a folder");
}

//---- Writing

TEST(PictureFileWriting, ReplacesAFileAndKeepsItsPermissions)
{
    const std::string name = NameInFolder("kept.png");
    PutFile(name, {1, 2, 3});
    fs::permissions(name, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    const auto before = fs::status(name).permissions();
    ASSERT_TRUE(WriteFile(name, SmallPicture(RGB)).done);
    EXPECT_EQ(fs::status(name).permissions(), before);
    EXPECT_TRUE(ReadFile(name).done);
    fs::remove(name);
    EXPECT_TRUE(NamesInFolder().empty());
}

#ifndef _WIN32   // a link needs a privilege there
TEST(PictureFileWriting, FollowsALinkInsteadOfReplacingIt)
{
    const std::string name = NameInFolder("real.bmp"), link = NameInFolder("link.bmp");
    PutFile(name, {1});
    fs::create_symlink(name, link);
    ASSERT_TRUE(WriteFile(link, SmallPicture(GREY)).done);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(ReadFile(name).done);
    fs::remove(link);
    fs::remove(name);
}
#endif

TEST(PictureFileWriting, AFailedWriteLeavesWhatWasThere)
{
    const Bytes old = {1, 2, 3};
    const std::string name = NameInFolder("old.jpg");
    PutFile(name, old);
    const WriteResult refused = WriteFile(name, NewPicture(GREY, 65501, 1));   // begun, then found too wide
    EXPECT_FALSE(refused.done);
    EXPECT_EQ(refused.error, "a JPEG picture has at most 65500 rows and columns");
    EXPECT_EQ(FileBytes(name), old);
    EXPECT_EQ(NamesInFolder(), std::vector<std::string>{"old.jpg"});
    fs::remove(name);
}

TEST(PictureFileWriting, AMissingFolderIsAnError)
{
    for (const char *ending : {"png", "bmp", "tif", "jpg", "ppm"}) {
        const WriteResult result = WriteFile(NameInFolder(std::string("no folder/x.") + ending), SmallPicture(RGB));
        EXPECT_FALSE(result.done);
        EXPECT_EQ(result.error, "cannot be written: No such file or directory");
    }
    std::vector<std::string> notices;
    std::string error;
    EXPECT_FALSE(WritePicture(NameInFolder("x.gif"), SmallPicture(RGB), FileFormat::UNKNOWN, {}, notices, error));
    EXPECT_NE(error.find("no picture format"), std::string::npos);
}

#ifndef _WIN32
TEST(PictureFileWriting, AFullDeviceIsAnErrorForEveryFormat)
{
    for (FileFormat format : {FileFormat::PNG, FileFormat::BMP, FileFormat::TIFF, FileFormat::JPEG, FileFormat::PNM}) {
        for (int32_t edge : {9, 700}) {
            std::vector<std::string> notices;
            std::string error;
            const Picture picture = TestPicture(RGB, edge, edge, 1);
            EXPECT_FALSE(WritePicture("/dev/full", picture, format, {}, notices, error));
            EXPECT_EQ(error, "cannot be written: No space left on device") << int(format);
        }
    }
    EXPECT_TRUE(fs::exists("/dev/full"));
}
#endif

TEST(PictureFileReading, BytesInMemoryAreAsGoodAsAFile)
{
    const Picture picture = TypedPicture(RGB, 300, 400, 11);   // more bytes than are read from a file at once
    for (const char *ending : {"png", "bmp", "tif", "jpg", "ppm"}) {
        SCOPED_TRACE(ending);
        const Bytes bytes = BytesOf(picture, ending);
        const ReadResult file = ReadBytes(bytes);
        ReadResult memory;
        memory.done = ReadPictureBytes(bytes, memory.picture, memory.format, memory.notices, memory.error);
        ASSERT_TRUE(memory.done) << memory.error;
        EXPECT_EQ(memory.format, file.format);
        EXPECT_TRUE(SamePicture(memory.picture, file.picture));
    }
}

TEST(PictureFileReading, TruncatedBytesInMemoryAreAnError)
{
    const Bytes bytes = BytesOf(TypedPicture(RGB, 30, 40, 11), "png");
    for (size_t count : {size_t(0), size_t(1), size_t(100), bytes.size() / 2}) {
        ReadResult memory;
        EXPECT_FALSE(
            ReadPictureBytes({bytes.data(), count}, memory.picture, memory.format, memory.notices, memory.error))
            << count;
        EXPECT_FALSE(memory.error.empty());
    }
}

TEST(PictureFileReading, StandardInputIsAsGoodAsAFile)
{
#ifdef _WIN32
    const char *const fromNothing = "NUL";
#else
    const char *const fromNothing = "/dev/null";
#endif
    for (const char *ending : {"png", "bmp", "tif", "pam", "jpg"}) {
        const std::string name = NameInFolder("input");
        PutFile(name, BytesOf(TestPicture(RGB, 300, 400, 1), ending));
        ASSERT_TRUE(freopen(name.c_str(), "rb", stdin));
        const ReadResult fromInput = ReadFile("-"), fromFile = ReadFile(name);
        ASSERT_TRUE(fromInput.done) << ending << ": " << fromInput.error;
        EXPECT_TRUE(SamePicture(fromInput.picture, fromFile.picture)) << ending;
        ASSERT_TRUE(freopen(fromNothing, "rb", stdin));   // Windows removes no open file
        fs::remove(name);
    }
}
