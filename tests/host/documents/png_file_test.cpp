// PNG files that the host does not write itself: other depths, interlaced, with a transparent colour.

#include "tests/host/documents/test_files.h"

#include <cstdio>
#include <png.h>

struct PngForm {
    int32_t width = 0, height = 0;
    int bits = 8, colours = PNG_COLOR_TYPE_GRAY;
    bool interlaced = false;
    int paletteEntries = 0;        // entry i is (10 i, 5 i, i)
    const png_color_16 *key = nullptr;
    bool animated = false;
};

static void AppendBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto *file = static_cast<Bytes *>(png_get_io_ptr(png));
    file->insert(file->end(), bytes, bytes + count);
}

static void Flush(png_structp) {}

static void PutPalette(png_structp png, png_infop info, int entries)
{
    png_color palette[256];
    for (int i = 0; i < entries; ++i) palette[i] = {uint8_t(10 * i), uint8_t(5 * i), uint8_t(i)};
    png_set_PLTE(png, info, palette, entries);
}

// A file of the given rows, as they stand in it.
static Bytes PngFile(const PngForm &form, std::vector<Bytes> rows)
{
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, AppendBytes, Flush);
    png_set_IHDR(png, info, uint32_t(form.width), uint32_t(form.height), form.bits, form.colours,
                 form.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (form.paletteEntries) PutPalette(png, info, form.paletteEntries);
    if (form.key) png_set_tRNS(png, info, nullptr, 0, form.key);
    png_write_info(png, info);
    const uint8_t frames[8] = {0, 0, 0, 1};
    if (form.animated) png_write_chunk(png, reinterpret_cast<const uint8_t *>("acTL"), frames, 8);
    std::vector<uint8_t *> pointers;
    for (Bytes &row : rows) pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

static std::vector<Bytes> RandomRows(int32_t height, size_t bytes, uint32_t seed)
{
    std::mt19937 generator(seed);
    std::vector<Bytes> rows{size_t(height), Bytes(bytes)};
    for (Bytes &row : rows) {
        for (uint8_t &byte : row) byte = uint8_t(generator());
    }
    return rows;
}

TEST(PngFile, InterlacedFilesAreThePictureOfPlainOnes)
{
    const struct { int bits, colours, channels; } kinds[] = {
        {1, PNG_COLOR_TYPE_GRAY, 1}, {2, PNG_COLOR_TYPE_GRAY, 1}, {8, PNG_COLOR_TYPE_GRAY, 1},
        {4, PNG_COLOR_TYPE_PALETTE, 1}, {8, PNG_COLOR_TYPE_RGB, 3}, {16, PNG_COLOR_TYPE_RGB_ALPHA, 4},
        {8, PNG_COLOR_TYPE_GRAY_ALPHA, 2},
    };
    for (const auto &kind : kinds) {
        for (PictureSize size : AWKWARD_SIZES) {
            SCOPED_TRACE(std::to_string(kind.colours) + ", " + std::to_string(kind.bits) + " bits, width " +
                         std::to_string(size.width));
            PngForm form = {.width = size.width, .height = size.height, .bits = kind.bits, .colours = kind.colours};
            if (kind.colours == PNG_COLOR_TYPE_PALETTE) form.paletteEntries = 16;
            const auto rows = RandomRows(size.height, size_t(size.width * kind.bits * kind.channels + 7) / 8, 3);
            const ReadResult plain = ReadBytes(PngFile(form, rows));
            form.interlaced = true;
            const ReadResult interlaced = ReadBytes(PngFile(form, rows));
            ASSERT_TRUE(plain.done && interlaced.done) << plain.error << interlaced.error;
            EXPECT_TRUE(SameBytes(interlaced.picture, plain.picture));
        }
    }
}

TEST(PngFile, FewBitsOfGreyAreSpreadExactly)
{
    const ReadResult two = ReadBytes(PngFile({.width = 4, .height = 1, .bits = 2}, {{0b00011011}}));
    EXPECT_TRUE(SameBytes(two.picture, Grey({{0, 85, 170, 255}})));
    EXPECT_TRUE(two.notices.empty());
    const ReadResult four = ReadBytes(PngFile({.width = 2, .height = 1, .bits = 4}, {{0x2F}}));
    EXPECT_TRUE(SamePicture(four.picture, Grey({{34, 255}})));
}

TEST(PngFile, FewBitsOfPaletteKeepTheirEntries)
{
    const PngForm form = {.width = 3, .height = 1, .bits = 2, .colours = PNG_COLOR_TYPE_PALETTE, .paletteEntries = 3};
    const ReadResult result = ReadBytes(PngFile(form, {{0b10010000}}));
    EXPECT_TRUE(SamePicture(result.picture, Palette({0, 0x01050A, 0x020A14}, {{2, 1, 0}}))) << result.error;
}

TEST(PngFile, SixteenBitsAreRoundedWithANotice)
{
    const PngForm form = {.width = 3, .height = 1, .bits = 16};
    const ReadResult result = ReadBytes(PngFile(form, {{0, 0x80, 0x00, 0x81, 0xFF, 0xFF}}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{0, 1, 255}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"16 bits per sample are brought to 8"});
}

TEST(PngFile, AColourThatCountsAsTransparentBecomesTheMask)
{
    png_color_16 key = {};
    key.gray = 2;
    const ReadResult grey = ReadBytes(PngFile({.width = 4, .height = 1, .bits = 2, .key = &key}, {{0b00011011}}));
    EXPECT_TRUE(SamePicture(grey.picture, WithMask(Grey({{0, 85, 170, 255}}), {{255, 255, 0, 255}})));
    key = {0, 1, 2, 3, 0};
    const PngForm form = {.width = 2, .height = 1, .colours = PNG_COLOR_TYPE_RGB, .key = &key};
    const ReadResult colour = ReadBytes(PngFile(form, {{1, 2, 3, 1, 2, 4}}));
    EXPECT_TRUE(SamePicture(colour.picture, WithMask(Rgb({{0x030201, 0x040201}}), {{0, 255}})));
}

TEST(PngFile, AnAnimationIsItsFirstPicture)
{
    const ReadResult result = ReadBytes(PngFile({.width = 1, .height = 1, .animated = true}, {{9}}));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{9}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"only the first picture of the animation is read"});
}

TEST(PngFile, MissingRowsAreCounted)
{
    const Bytes whole = PngFile({.width = 500, .height = 40}, RandomRows(40, 500, 1));
    const ReadResult result = ReadBytes(Bytes(whole.begin(), whole.begin() + 10400));
    int promised = 0, found = 0;
    ASSERT_EQ(sscanf(result.error.c_str(), "%d rows promised, %d found", &promised, &found), 2) << result.error;
    EXPECT_EQ(promised, 40);
    EXPECT_GE(found, 10);   // the last few are lost with the block that they began in
    EXPECT_LE(found, 20);
}

TEST(PngFile, APictureThatItsFileCannotHoldIsRefusedAtOnce)
{
    Bytes file = PngFile({.width = 1, .height = 1}, {{9}});
    const uint8_t header[17] = {'I', 'H', 'D', 'R', 0, 0, 0x75, 0x30, 0, 0, 0x75, 0x30, 8};   // 30000 x 30000
    std::copy(header, header + 17, file.begin() + 12);
    uint32_t sum = 0xFFFFFFFF;   // the chunk's checksum
    for (uint8_t byte : header) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
    }
    for (int i = 0; i < 4; ++i) file[size_t(29 + i)] = uint8_t(~sum >> (24 - 8 * i));
    EXPECT_EQ(ReadBytes(file).error, "the file is too short for the picture it promises");
}
