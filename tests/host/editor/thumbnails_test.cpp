// Thumbnails without a window: reduced copies, all effects on one, and pictures sent between processes. When the
// chooser asks for them is editor_test.cpp's.

#include "host/editor/thumbnails.h"

#include "host/acting/acting.h"
#include "interface/effect_table.h"
#include "tests/host/misc/images.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

//---- Pictures

static size_t BytesOf(const Picture &picture)
{
    return size_t(RowStride(picture.bitsPerPixel, picture.width)) * size_t(picture.height);
}

static bool Alike(const Picture &one, const Picture &other)
{
    return one.colourType == other.colourType && one.width == other.width && one.height == other.height &&
           one.paletteEntries == other.paletteEntries && memcmp(one.red, other.red, 256) == 0 &&
           memcmp(one.green, other.green, 256) == 0 && memcmp(one.blue, other.blue, 256) == 0 &&
           memcmp(one.pixels.get(), other.pixels.get(), BytesOf(one)) == 0;
}

// Soft tones with some grain; padding stays 0.
static Picture Sample(int32_t type, int32_t width, int32_t height)
{
    std::mt19937 random(7);
    Picture picture = NewPicture(type, width, height);
    if (type == PALETTE) {
        picture.paletteEntries = 200;
        for (int i = 0; i < 200; ++i)
            picture.red[i] = picture.green[199 - i] = picture.blue[(i + 60) % 200] = uint8_t(i);
    }
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + size_t(RowStride(picture.bitsPerPixel, width)) * size_t(y);
        for (int32_t x = 0; x < width; ++x) {
            const auto level = uint8_t((x * 120 / width + y * 60 / height + int32_t(random() % 20)) % 200);
            if (type == ONE_BIT) row[x >> 3] |= uint8_t((level > 90) << (7 - x % 8));
            else if (type != RGB) row[x] = level;
            else
                for (int c = 0; c < 3; ++c) row[3 * x + c] = uint8_t(c == 2 ? 255 - level : level / (c + 1));
        }
    }
    return picture;
}

//---- The reduced copy

TEST(ReducedCopy, FitsAndIsNeverEnlarged)
{
    const auto sizeOf = [](int32_t width, int32_t height) {
        const Picture whole = Sample(GREY, width, height), reduced = Reduced(RecordOf(whole), {360, 360});
        return std::to_string(reduced.width) + " x " + std::to_string(reduced.height);
    };
    EXPECT_EQ(sizeOf(700, 300), "360 x 154");
    EXPECT_EQ(sizeOf(300, 720), "150 x 360");
    EXPECT_EQ(sizeOf(9, 1), "9 x 1");
    EXPECT_EQ(sizeOf(1, 1), "1 x 1");
    EXPECT_EQ(sizeOf(5000, 3), "360 x 1");
}

TEST(ReducedCopy, OfAPictureThatFitsIsThePicture)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const Picture whole = Sample(type, 61, 47);
        EXPECT_TRUE(Alike(Reduced(RecordOf(whole), {61, 47}), whole)) << "type " << type;
    }
}

TEST(ReducedCopy, AveragesGreyAndColours)
{
    Picture grey = NewPicture(GREY, 4, 2);
    const uint8_t rows[] = {10, 20, 100, 101, 30, 41, 102, 103};
    std::copy(std::begin(rows), std::end(rows), grey.pixels.get());
    const Picture reduced = Reduced(RecordOf(grey), {2, 2});
    ASSERT_EQ(reduced.width, 2);
    ASSERT_EQ(reduced.height, 1);
    EXPECT_EQ(reduced.pixels[0], 25);    // 25.25
    EXPECT_EQ(reduced.pixels[1], 102);   // 101.5

    Picture colours = NewPicture(RGB, 2, 1);
    const uint8_t bytes[] = {0, 10, 255, 1, 30, 0};
    std::copy(std::begin(bytes), std::end(bytes), colours.pixels.get());
    const Picture one = Reduced(RecordOf(colours), {1, 1});
    EXPECT_EQ(one.pixels[0], 1);
    EXPECT_EQ(one.pixels[1], 20);
    EXPECT_EQ(one.pixels[2], 128);
}

TEST(ReducedCopy, TakesWholePixelsOfPalettesAndBits)
{
    const Picture entries = Sample(PALETTE, 300, 210), fewer = Reduced(RecordOf(entries), {100, 70});
    EXPECT_EQ(fewer.paletteEntries, 200);
    for (int32_t y = 0; y < 70; ++y)
        for (int32_t x = 0; x < 100; ++x)
            ASSERT_EQ(fewer.pixels[size_t(y * 100 + x)], entries.pixels[size_t((3 * y + 1) * 300 + 3 * x + 1)]);

    Picture bits = NewPicture(ONE_BIT, 30, 3);
    const uint8_t middle[] = {0x4B, 0xFF, 0x00, 0x40};   // pixels 1, 4, 7 ... 28: 1 1 1 1 1 0 0 0 1 0
    std::copy(std::begin(middle), std::end(middle), bits.pixels.get() + 4);
    const Picture tenth = Reduced(RecordOf(bits), {10, 1});
    EXPECT_EQ(tenth.pixels[0], 0xF8);
    EXPECT_EQ(tenth.pixels[1], 0x80);
}

//---- The effects

struct Results {
    std::map<int32_t, Picture> of;   // by the effect's place in the chooser
    std::string error;
};

// Starts a host with the effects in it for each picture.
static Results ResultsOf(const Picture &picture)
{
    Results results;
    Host host;
    if (!StartHost(host, "", results.error)) return results;
    RunAllEffects(host, picture, [&](int32_t effect, const Picture &result) {
        EXPECT_EQ(results.of.count(effect), 0u);
        results.of[effect] = CopyOf(result);
        return true;
    });
    EXPECT_EQ(host.context.firstImage, nullptr);
    EndHost(host);
    return results;
}

static int32_t PlaceOf(const std::string &effect)
{
    int32_t place = 0;
    while (effect != DialogTemplateAt(place)->effect) ++place;
    return place;
}

static std::string NamesOfMissing(const Results &results)
{
    std::string names;
    for (int32_t i = 0; i < EFFECT_COUNT; ++i)
        if (!results.of.count(i)) names += std::string(names.empty() ? "" : " ") + DialogTemplateAt(i)->effect;
    return names;
}

TEST(AllEffects, ComeOutOnColoursInTheirOrder)
{
    Host host;
    std::string error;
    ASSERT_TRUE(StartHost(host, "", error)) << error;
    std::vector<int32_t> order, expected;
    const Picture picture = Sample(RGB, 60, 40);
    RunAllEffects(host, picture, [&](int32_t effect, const Picture &) {
        order.push_back(effect);
        return true;
    });
    EndHost(host);
    for (int32_t i = 0; i < EFFECT_COUNT; ++i) expected.push_back(i);
    EXPECT_EQ(order, expected);
}

TEST(AllEffects, ButThoseThatRefuseTheType)
{
    for (const int32_t type : {GREY, PALETTE, ONE_BIT}) {
        std::string refusing;
        for (const EffectEntry &effect : effectTable)
            if (!IsOffered(effect.rule, type, false))
                refusing += (refusing.empty() ? "" : " ") + std::string(effect.word);
        EXPECT_EQ(NamesOfMissing(ResultsOf(Sample(type, 60, 40))), refusing) << type;
    }
}

TEST(AllEffects, KeepTheTypeAndTheSizeButForThoseThatChangeIt)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const auto &[effect, result] : ResultsOf(Sample(type, 60, 40)).of) {
            const bool larger = result.width > 60 || result.height > 40;
            EXPECT_EQ(result.colourType, type) << DialogTemplateAt(effect)->effect;
            EXPECT_EQ(larger, DialogTemplateAt(effect)->changesSize) << DialogTemplateAt(effect)->effect;
        }
    }
}

TEST(AllEffects, WorkOnTheSmallestPicturesAndOnLongOnes)
{
    for (const Extent extent : {Extent{1, 1}, Extent{9, 1}, Extent{1, 9}, Extent{700, 300}})
        EXPECT_EQ(NamesOfMissing(ResultsOf(Sample(RGB, extent.width, extent.height))), "")
            << extent.width << " x " << extent.height;
}

TEST(AllEffects, LeaveThePictureAsItIsAndComeOutTheSameAgain)
{
    const Picture before = Sample(RGB, 120, 90), picture = CopyOf(before);
    const Results one = ResultsOf(picture), other = ResultsOf(picture);
    EXPECT_TRUE(Alike(picture, before));
    for (int32_t i = 0; i < EFFECT_COUNT; ++i)
        EXPECT_TRUE(Alike(one.of.at(i), other.of.at(i))) << DialogTemplateAt(i)->effect;
    for (int32_t i = 0; i < EFFECT_COUNT; ++i) EXPECT_FALSE(Alike(one.of.at(i), before)) << DialogTemplateAt(i)->effect;
}

TEST(AllEffects, EndWhenNoMoreIsWanted)
{
    Host host;
    std::string error;
    ASSERT_TRUE(StartHost(host, "", error)) << error;
    int32_t taken = 0;
    RunAllEffects(host, Sample(GREY, 20, 20), [&](int32_t, const Picture &) { return ++taken < 3; });
    EXPECT_EQ(taken, 3);
    EXPECT_EQ(host.context.firstImage, nullptr);
    EndHost(host);
}

// An effect worked by hand.
static Picture ByHand(const Picture &picture, const char *effect, const std::function<void(HWND dialog)> &setUp)
{
    Host host;
    std::string error;
    EXPECT_TRUE(StartHost(host, "", error)) << error;
    ImageRecord *image = OpenImage(host, CopyOf(picture));
    ActInDialog(host, FindEffectTemplate(effect)->commandOffset, [&](HWND dialog) {
        setUp(dialog);
        Press(dialog, APPLY_BUTTON);
        WaitForRun(image);
        Press(dialog, CLOSE_BUTTON);
    });
    Picture result = TakePicture(image);
    EndHost(host);
    return result;
}

TEST(AllEffects, UseTheOptionsOfTheirExamples)
{
    const Picture picture = Sample(RGB, 90, 70);
    const Results results = ResultsOf(picture);
    ASSERT_STREQ(FindEffectTemplate("blocks")->example, "--block-width 12 --block-height 8");
    const Picture blocks = ByHand(picture, "blocks", [](HWND dialog) {
        Type(dialog, 1180, "12");
        Type(dialog, 1190, "8");
    });
    EXPECT_TRUE(Alike(results.of.at(PlaceOf("blocks")), blocks));

    ASSERT_STREQ(FindEffectTemplate("filters")->example, "--kernel 'Contour North West'");
    const Picture contour = ByHand(picture, "filters", [](HWND dialog) {
        char name[256] = "";
        for (int32_t entry = 0; std::string(name) != "Contour North West" && entry < 56; ++entry) {
            KPZ_SendDlgItemMsg(dialog, 960, LB_GETTEXT, WPARAM(entry), reinterpret_cast<LPARAM>(name));
            if (std::string(name) == "Contour North West") DoubleClick(dialog, 960, entry);
        }
    });
    EXPECT_TRUE(Alike(results.of.at(PlaceOf("filters")), contour));
}

//---- Between processes

TEST(ASentPicture, ArrivesAsItWas)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        std::vector<uint8_t> bytes;
        const WriteBytes write = [&](const void *from, size_t count) {
            const auto *first = static_cast<const uint8_t *>(from);
            bytes.insert(bytes.end(), first, first + count);
            return true;
        };
        size_t place = 0;
        const ReadBytes read = [&](void *to, size_t count) {
            if (bytes.size() - place < count) return false;
            memcpy(to, bytes.data() + place, count);
            place += count;
            return true;
        };
        const Picture one = Sample(type, 13, 7), two = Sample(type, 1, 1);
        EXPECT_TRUE(SendPicture(write, 4, one) && SendPicture(write, 19, two));
        for (const auto &[number, sent] : {std::pair(4, &one), std::pair(19, &two)}) {
            int32_t received = -1;
            Picture picture;
            ASSERT_TRUE(ReceivePicture(read, received, picture));
            EXPECT_EQ(received, number);
            EXPECT_TRUE(Alike(picture, *sent)) << "type " << type;
        }
        int32_t none = -1;
        Picture nothing;
        EXPECT_FALSE(ReceivePicture(read, none, nothing)) << "there are no more";
    }
}

//---- On the screen

TEST(AThumbnail, ShowsThePicturesColours)
{
    Picture entries = NewPicture(PALETTE, 2, 1);
    entries.paletteEntries = 2;
    entries.red[0] = 200;
    entries.blue[1] = 100;
    entries.pixels[1] = 1;
    EXPECT_EQ(ThumbnailOf(entries, {10, 10}).words, (std::vector<uint32_t>{0xC80000, 0x000064}));
    EXPECT_EQ(ThumbnailOf(entries, {1, 1}).words, (std::vector<uint32_t>{0x640032})) << "averaged as colours";
}

TEST(AThumbnail, DimmedIsAQuarterOfItself)
{
    EXPECT_EQ(Dimmed({{2, 1}, {0x000000, 0xFF8000}}, 0xFFFFFF).words, (std::vector<uint32_t>{0xBFBFBF, 0xFFDFBF}));
}
