// Inks in JPEG and TIFF files that bring a profile, held against the formulas of the profile's own numbers. A build that
// converts without one says so, and is not tried.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>

namespace
{

typedef std::array<double, 4> Inks;   // 0 no ink, 1 full ink
struct Lab {
    double l, a, b;
};

// What full inks look like upon each other, as nobody prints: without regard to them every colour would come out otherwise.
Lab SeenOf(const Inks &ink)
{
    const auto [cyan, magenta, yellow, black] = ink;
    const double light = 1 - black;   // as dark as can be, so that nothing is made darker
    return {100 * light * (1 - 0.35 * cyan) * (1 - 0.45 * magenta) * (1 - 0.08 * yellow),
            light * (45 * magenta - 25 * cyan), light * (50 * yellow - 30 * cyan - 4 * magenta)};
}

void High16(Bytes &bytes, double value)
{
    const auto whole = unsigned(std::lround(value));
    bytes.push_back(uint8_t(whole >> 8));
    bytes.push_back(uint8_t(whole));
}

void High32(Bytes &bytes, uint32_t value)
{
    High16(bytes, value >> 16);
    High16(bytes, value & 0xFFFF);
}

// A profile that knows the sixteen colours of full inks and what lies between them.
Bytes Profile()
{
    Bytes table;
    AddText(table, "mft2");
    High32(table, 0);
    table.insert(table.end(), {4, 3, 2, 0});
    for (int i = 0; i < 9; ++i) High32(table, i % 4 ? 0 : 0x10000);
    High16(table, 2);
    High16(table, 2);
    for (int i = 0; i < 4; ++i) High32(table, 0x0000FFFF);
    for (unsigned node = 0; node < 16; ++node) {
        const Lab seen =
            SeenOf({double(node >> 3 & 1), double(node >> 2 & 1), double(node >> 1 & 1), double(node & 1)});
        High16(table, seen.l * 652.8);
        High16(table, (seen.a + 128) * 256);
        High16(table, (seen.b + 128) * 256);
    }
    for (int i = 0; i < 3; ++i) High32(table, 0x0000FFFF);

    Bytes profile;
    High32(profile, uint32_t(144 + table.size()));
    High32(profile, 0);
    High32(profile, 0x02400000);
    AddText(profile, "prtrCMYKLab ");
    for (const int date : {2024, 1, 1, 0, 0, 0}) High16(profile, date);
    AddText(profile, "acsp");
    profile.resize(68);
    for (const uint32_t white : {0x0000F6D6, 0x00010000, 0x0000D32D}) High32(profile, white);
    profile.resize(128);
    High32(profile, 1);
    AddText(profile, "A2B0");
    High32(profile, 144);
    High32(profile, uint32_t(table.size()));
    profile.insert(profile.end(), table.begin(), table.end());
    return profile;
}

double Cubed(double f) { return f > 6.0 / 29 ? f * f * f : 3 * 36.0 / 841 * (f - 4.0 / 29); }

uint8_t Level(double linear)
{
    const double value = linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return uint8_t(std::lround(255 * std::clamp(value, 0.0, 1.0)));
}

// In sRGB, red in the highest byte.
uint32_t ShownOf(const Lab &seen)
{
    const double fy = (seen.l + 16) / 116;
    const double x = 0.9642 * Cubed(fy + seen.a / 500), y = Cubed(fy), z = 0.8249 * Cubed(fy - seen.b / 200);
    const double red = 3.1338561 * x - 1.6168667 * y - 0.4906146 * z;
    const double green = -0.9787684 * x + 1.9161415 * y + 0.0334540 * z;
    const double blue = 0.0719453 * x - 0.2289914 * y + 1.4052427 * z;
    return uint32_t(Level(red)) << 16 | uint32_t(Level(green)) << 8 | Level(blue);
}

int Apart(uint32_t one, uint32_t other)
{
    int most = 0;
    for (int shift = 0; shift < 24; shift += 8)
        most = std::max(most, abs(int(one >> shift & 255) - int(other >> shift & 255)));
    return most;
}

uint32_t ShownAt(const Picture &picture, int32_t x)
{
    const uint8_t *pixel = picture.pixels.get() + 3 * x;
    return uint32_t(pixel[2]) << 16 | uint32_t(pixel[1]) << 8 | pixel[0];
}

const std::vector<std::string> converted = {"CMYK is turned into RGB (sRGB) through its colour profile"};

// A file of inks, a byte each, in one row; with more than four samples the rest mean nothing.
Bytes InkTiff(const std::vector<Inks> &row, const Bytes &profile, int samples)
{
    const auto width = uint32_t(row.size());
    Bytes file;
    AddText(file, "II");
    Add16(file, 42);
    Add32(file, 8);
    struct Field {
        uint32_t tag, type, count, value;
    };
    const uint32_t fields = 10 + (samples > 4), pixelsAt = 8 + 2 + 12 * fields + 4;
    const uint32_t profileAt = pixelsAt + width * uint32_t(samples), bitsAt = profileAt + uint32_t(profile.size());
    std::vector<Field> all = {{256, 4, 1, width},
                              {257, 4, 1, 1},
                              {258, 3, uint32_t(samples), bitsAt},
                              {259, 3, 1, 1},
                              {262, 3, 1, 5},
                              {273, 4, 1, pixelsAt},
                              {277, 3, 1, uint32_t(samples)},
                              {278, 4, 1, 1},
                              {279, 4, 1, width * uint32_t(samples)}};
    if (samples > 4) all.push_back({338, 3, 1, 2});
    all.push_back({34675, 7, uint32_t(profile.size()), profileAt});
    Add16(file, fields);
    for (const Field &field : all) {
        Add16(file, field.tag);
        Add16(file, field.type);
        Add32(file, field.count);
        Add32(file, field.value);
    }
    Add32(file, 0);
    for (const Inks &inks : row) {
        for (const double ink : inks) file.push_back(uint8_t(std::lround(255 * ink)));
        file.resize(file.size() + size_t(samples - 4), 200);
    }
    file.insert(file.end(), profile.begin(), profile.end());
    for (int i = 0; i < samples; ++i) Add16(file, 8);
    return file;
}

Bytes WithProfile(const Bytes &jpeg, const Bytes &profile)
{
    Bytes file(jpeg.begin(), jpeg.begin() + 2);
    file.insert(file.end(), {0xFF, 0xE2});
    High16(file, double(2 + 14 + profile.size()));
    AddText(file, "ICC_PROFILE");
    file.insert(file.end(), {0, 1, 1});
    file.insert(file.end(), profile.begin(), profile.end());
    file.insert(file.end(), jpeg.begin() + 2, jpeg.end());
    return file;
}

Bytes MadeElsewhere(const std::string &name)
{
    std::ifstream file(std::string(JPEG_FILES) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool BuildConverts() { return CodecVersions().find("Little CMS") != std::string::npos; }

}   // namespace

TEST(InksFile, TiffGoesThroughItsProfile)
{
    if (!BuildConverts()) GTEST_SKIP() << "this build has no Little CMS";
    std::vector<Inks> row;
    for (unsigned node = 0; node < 16; ++node)
        row.push_back({double(node >> 3 & 1), double(node >> 2 & 1), double(node >> 1 & 1), double(node & 1)});
    for (const int samples : {4, 5}) {
        const ReadResult result = ReadBytes(InkTiff(row, Profile(), samples));
        ASSERT_TRUE(result.done) << result.error;
        EXPECT_EQ(result.notices, converted);
        EXPECT_TRUE(result.picture.extras.colourProfile.empty()) << "which is not that of the result";
        EXPECT_EQ(bool(result.picture.mask), samples == 5);
        for (int32_t x = 0; x < 16; ++x)
            EXPECT_LE(Apart(ShownAt(result.picture, x), ShownOf(SeenOf(row[size_t(x)]))), 3) << x;
    }
}

TEST(InksFile, JpegGoesThroughItsProfile)
{
    if (!BuildConverts()) GTEST_SKIP() << "this build has no Little CMS";
    const Lab none = SeenOf({0, 0, 1, 0}), full = SeenOf({0, 1, 1, 0});
    const double share = 155.0 / 255;
    const Lab between = {none.l + share * (full.l - none.l), none.a + share * (full.a - none.a),
                         none.b + share * (full.b - none.b)};
    for (const char *name : {"cmyk.jpg", "ycck.jpg"}) {   // of one colour: 155 of magenta, all of yellow
        const Bytes plain = MadeElsewhere(name);
        const ReadResult result = ReadBytes(WithProfile(plain, Profile()));
        ASSERT_TRUE(result.done) << result.error;
        EXPECT_EQ(result.notices, converted);
        EXPECT_LE(Apart(ShownAt(result.picture, 9), ShownOf(between)), 4) << name;
        EXPECT_GT(Apart(ShownAt(ReadBytes(plain).picture, 9), ShownOf(between)), 20) << "without a profile";
    }
}

TEST(InksFile, AProfileThatIsNoneIsToldAndDoneWithout)
{
    Bytes damaged = Profile();
    damaged.resize(100);
    const ReadResult tiff = ReadBytes(InkTiff({{0, 0, 0, 0}, {1, 0, 0, 0}}, damaged, 4));
    ASSERT_TRUE(tiff.done) << tiff.error;
    EXPECT_EQ(tiff.notices.size(), 2u);
    EXPECT_EQ(tiff.notices[0], "CMYK is turned into RGB, without regard to a colour profile");
    EXPECT_EQ(ShownAt(tiff.picture, 1), 0x00FFFFu);
    const ReadResult jpeg = ReadBytes(WithProfile(MadeElsewhere("cmyk.jpg"), damaged));
    ASSERT_TRUE(jpeg.done) << jpeg.error;
    EXPECT_EQ(jpeg.notices[0], "CMYK is turned into RGB, without regard to a colour profile");
}
