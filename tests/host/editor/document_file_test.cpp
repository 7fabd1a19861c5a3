// What a person has put on a picture goes into a file and comes back to the bit; what other formats leave out is what is
// told.

#include "host/editor/document_file.h"

#include "host/documents/documents.h"
#include "host/paths/paths.h"
#include "tests/support/furnished.h"
#include "tests/support/pictures.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

static const int32_t types[] = {ONE_BIT, PALETTE, GREY, RGB};

// What stands behind the rows' ends is nobody's, and random in a random picture.
static void ClearEnds(uint8_t *plane, int32_t bits, int32_t width, int32_t height)
{
    const auto stride = int32_t(RowStride(bits, width));
    for (int32_t y = 0; plane && y < height; ++y, plane += stride)
        for (int32_t bit = bits * width; bit < 8 * stride; ++bit) SetBit(plane, bit, false);
}

static ImageRecord *OpenClearly(Host &host, int32_t type, uint32_t seed)
{
    ImageRecord *image = OpenFurnished(host, type, seed);
    ClearEnds(image->pixels, image->bitsPerPixel, image->width, image->height);
    ClearEnds(image->base.pixels, image->bitsPerPixel, image->width, image->height);
    ClearEnds(image->mask, image->maskBitsPerPixel, image->width, image->height);
    return image;
}

struct DocumentFileTest : testing::Test {
    Host host;
    fs::path folder = fs::path(testing::TempDir()) / ("velmorant documents " + std::to_string(getpid()));
    std::vector<std::string> notices;
    std::string error;

    void SetUp() override
    {
        fs::create_directories(folder);
        ASSERT_TRUE(StartHost(host, "", error)) << error;
    }
    void TearDown() override
    {
        EndHost(host);
        fs::remove_all(folder);
    }
    std::string In(const std::string &name) const { return NameOf(folder / name); }
    // Null when it cannot be read.
    ImageRecord *Open(const std::string &file, bool *unchanged = nullptr)
    {
        Picture picture;
        FileFormat format;
        Document document;
        bool fits = false;
        if (!ReadDocument(file, picture, format, document, notices, error)) return nullptr;
        ImageRecord *image =
            OpenImage(host, std::move(picture), [&](ImageRecord *opened) { fits = Furnish(opened, document); });
        if (unchanged) *unchanged = fits;
        return image;
    }
};

TEST_F(DocumentFileTest, AllThatIsOnAPictureComesBackToTheBit)
{
    for (const int32_t type : types) {
        ImageRecord *image = OpenClearly(host, type, 4);
        ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
        bool unchanged = false;
        const ImageRecord *again = Open(In("lake.tif"), &unchanged);
        ASSERT_NE(again, nullptr) << error;
        EXPECT_TRUE(unchanged);
        EXPECT_TRUE(StateOf(again) == StateOf(image)) << "type " << type;
        EXPECT_TRUE(notices.empty()) << notices[0];
    }
}

TEST_F(DocumentFileTest, AMaskASelectionAndATypeNeedNoObjects)
{
    for (const int32_t type : types) {
        ImageRecord *image = OpenClearly(host, type, 6);
        while (image->objectList.count > 0) RemoveObject(image, 0);
        ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
        const ImageRecord *again = Open(In("lake.tif"));
        ASSERT_NE(again, nullptr) << error;
        EXPECT_TRUE(StateOf(again) == StateOf(image)) << "type " << type;
    }
}

TEST_F(DocumentFileTest, APaletteOfGreysStaysAPalette)
{
    Picture picture = NewPicture(PALETTE, 20, 10);
    const Picture ramp = NewPicture(GREY, 1, 1);
    CopyPalette(picture, ramp);
    picture.extras.paletteAlpha = {0, 17, 255};
    for (int i = 0; i < 200; ++i) picture.pixels[size_t(i)] = uint8_t(i);
    ImageRecord *image = OpenImage(host, std::move(picture));
    ASSERT_TRUE(NeedsDocument(*image));
    ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
    const ImageRecord *again = Open(In("lake.tif"));
    ASSERT_NE(again, nullptr) << error;
    EXPECT_TRUE(StateOf(again) == StateOf(image));
    EXPECT_EQ(PictureOf(again).extras.paletteAlpha, (std::vector<uint8_t>{0, 17, 255}));
}

TEST_F(DocumentFileTest, OtherProgramsSeeThePictureWithItsObjects)
{
    ImageRecord *image = OpenClearly(host, RGB, 2);
    ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
    Picture seen;
    FileFormat format;
    ASSERT_TRUE(ReadPicture(In("lake.tif"), seen, format, notices, error)) << error;
    const Picture expected = PictureOf(image);
    EXPECT_EQ(std::string(seen.pixels.get(), seen.pixels.get() + 37 * 3),
              std::string(expected.pixels.get(), expected.pixels.get() + 37 * 3));
    EXPECT_FALSE(notices.empty()) << "and who reads it is told that there is more";
}

// Another program has painted over the first page and left the others: what it shows counts.
TEST_F(DocumentFileTest, AFirstPageThatHasBeenChangedIsShown)
{
    ImageRecord *image = OpenClearly(host, GREY, 2);
    ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
    Picture picture;
    FileFormat format;
    Document document;
    ASSERT_TRUE(ReadDocument(In("lake.tif"), picture, format, document, notices, error)) << error;
    document.seen.pixels[5] ^= 255;
    const uint8_t changed = document.seen.pixels[5];
    bool unchanged = true;
    const ImageRecord *again =
        OpenImage(host, std::move(picture), [&](ImageRecord *opened) { unchanged = Furnish(opened, document); });
    EXPECT_FALSE(unchanged);
    EXPECT_EQ(again->objectList.count, 0);
    EXPECT_EQ(again->pixels[5], changed);
}

// Each byte of the file turned over, one after the other: a picture or a line, and nothing worse.
TEST_F(DocumentFileTest, DamageAnywhereIsSurvived)
{
    ImageRecord *image = OpenClearly(host, PALETTE, 8);
    ASSERT_TRUE(WriteDocument(In("lake.tif"), image, notices, error)) << error;
    std::string bytes;
    {
        std::ifstream file(folder / "lake.tif", std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
    }
    const size_t step = 1 + bytes.size() / 300;
    for (size_t i = 0; i < bytes.size(); i += step) {
        std::string damaged = bytes;
        damaged[i] = char(damaged[i] ^ 0x15);
        std::ofstream(folder / "damaged.tif", std::ios::binary) << damaged;
        if (ImageRecord *opened = Open(In("damaged.tif"))) CloseImage(host, opened);
    }
}

TEST_F(DocumentFileTest, WhatOtherFormatsLeaveOutIsTold)
{
    static const struct {
        const char *name;
        FileFormat format;
    } files[] = {{"a.png", FileFormat::PNG}, {"a.bmp", FileFormat::BMP}, {"a.jpg", FileFormat::JPEG},
                 {"a.ppm", FileFormat::PNM}, {"a.pam", FileFormat::PNM}, {"a.tif", FileFormat::TIFF}};
    for (const auto &file : files) {
        for (const int32_t type : types) {
            for (const bool masked : {false, true}) {
                ImageRecord *image = OpenClearly(host, type, 8);
                while (image->objectList.count > 0) RemoveObject(image, 0);
                SelectNothing(image);
                image->nextObjectNumber = 1;
                if (!masked) SetMask(image, nullptr, 0);
                const std::vector<std::string> told = LeftOut(*image, file.format, file.name);
                bool written = false;
                if (file.format == FileFormat::TIFF) {
                    written = WriteDocument(In(file.name), image, notices, error);
                } else {
                    LendPicture(image, image, [&](const Picture &lent) {
                        written = WritePicture(In(file.name), lent, file.format, {}, notices, error);
                    });
                }
                ASSERT_TRUE(written) << error;
                const ImageRecord *again = Open(In(file.name));
                ASSERT_NE(again, nullptr) << error;
                const bool kept = file.format == FileFormat::JPEG
                                      ? again->colourType == type && !image->mask   // near, as everyone knows
                                      : StateOf(again) == StateOf(image);
                EXPECT_EQ(told.empty(), kept) << file.name << " type " << type << (masked ? " with a mask" : "");
            }
        }
    }
}

TEST_F(DocumentFileTest, ObjectsAreLeftOutOfAllOthers)
{
    const ImageRecord *image = OpenClearly(host, RGB, 8);
    EXPECT_EQ(LeftOut(*image, FileFormat::PNG, "a.png"), std::vector<std::string>{"floating objects"});
    EXPECT_EQ(LeftOut(*image, FileFormat::JPEG, "a.jpg"), (std::vector<std::string>{"floating objects", "the mask"}));
    EXPECT_TRUE(LeftOut(*image, FileFormat::TIFF, "a.tif").empty());
}
