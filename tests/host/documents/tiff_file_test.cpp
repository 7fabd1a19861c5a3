// TIFF files that the host does not write itself, made by the library's own routines.

#include "tests/host/documents/test_files.h"

#include <tiffio.h>

#include <cstring>
#include <filesystem>
#include <functional>

struct TiffForm {
    int32_t width = 0, height = 0;
    int bits = 8, samples = 1, photometric = PHOTOMETRIC_MINISBLACK;
    int format = SAMPLEFORMAT_UINT, planes = PLANARCONFIG_CONTIG, tile = 0;   // a tile's edge, 0 for strips
    int compression = COMPRESSION_NONE;
    int alpha = -1;                // kind of the first extra sample
    std::function<void(TIFF *)> more = {};
};

static void SetForm(TIFF *tiff, const TiffForm &form)
{
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, form.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, form.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, form.format);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.planes);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
    if (form.tile) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, form.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, form.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 3);
    }
    const uint16_t extra[1] = {uint16_t(form.alpha)};
    if (form.alpha >= 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, extra);
    if (form.more) form.more(tiff);
}

// The file of samples one byte long each: width x height x samples, whatever way they are laid out in it.
static void PutTiles(TIFF *tiff, const TiffForm &form, const Bytes &samples)
{
    const int planes = form.planes == PLANARCONFIG_SEPARATE ? form.samples : 1, each = form.samples / planes;
    Bytes tile(size_t(form.tile * form.tile * each));
    for (int plane = 0; plane < planes; ++plane) {
        for (int top = 0; top < form.height; top += form.tile) {
            for (int left = 0; left < form.width; left += form.tile) {
                for (int i = 0; i < form.tile * form.tile * each; ++i) {
                    const int y = top + i / each / form.tile, x = left + i / each % form.tile;
                    const bool inside = y < form.height && x < form.width;
                    const int sample = planes > 1 ? plane : i % each;
                    tile[size_t(i)] = inside ? samples[size_t((y * form.width + x) * form.samples + sample)] : 0xEE;
                }
                TIFFWriteTile(tiff, tile.data(), uint32_t(left), uint32_t(top), 0, uint16_t(plane));
            }
        }
    }
}

static void PutStrips(TIFF *tiff, const TiffForm &form, Bytes rows)
{
    const bool apart = form.planes == PLANARCONFIG_SEPARATE;
    const size_t rowBytes = rows.size() / size_t(form.height);
    for (int sample = 0; sample < (apart ? form.samples : 1); ++sample) {
        for (int y = 0; y < form.height; ++y) {
            Bytes row(rows.begin() + ptrdiff_t(rowBytes) * y, rows.begin() + ptrdiff_t(rowBytes) * (y + 1));
            for (size_t x = 0; apart && x < size_t(form.width); ++x) {
                row[x] = row[x * size_t(form.samples) + size_t(sample)];
            }
            TIFFWriteScanline(tiff, row.data(), uint32_t(y), uint16_t(sample));
        }
    }
}

static Bytes TiffFile(const TiffForm &form, const Bytes &rows, int pages = 1)
{
    const std::string name = NameInFolder("made.tif");
    TIFF *tiff = TIFFOpen(name.c_str(), "w");
    for (int page = 0; page < pages; ++page) {
        SetForm(tiff, form);
        if (form.tile) PutTiles(tiff, form, rows);
        else           PutStrips(tiff, form, rows);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    const Bytes bytes = FileBytes(name);
    std::filesystem::remove(name);
    return bytes;
}

static Bytes RandomSamples(size_t count, uint32_t seed)
{
    std::mt19937 generator(seed);
    Bytes samples(count);
    for (uint8_t &sample : samples) sample = uint8_t(generator());
    return samples;
}

static Picture FromSamples(const TiffForm &form, const Bytes &samples)
{
    Values colours, alpha;
    for (int y = 0; y < form.height; ++y) {
        colours.emplace_back();
        alpha.emplace_back();
        for (int x = 0; x < form.width; ++x) {
            const uint8_t *pixel = samples.data() + (y * form.width + x) * form.samples;
            colours.back().push_back(form.samples < 3 ? pixel[0] : uint32_t(pixel[0] | pixel[1] << 8 | pixel[2] << 16));
            alpha.back().push_back(pixel[form.samples - 1]);
        }
    }
    Picture picture = form.samples < 3 ? Grey(colours) : Rgb(colours);
    return form.samples % 2 == 0 ? WithMask(std::move(picture), alpha) : std::move(picture);
}

TEST(TiffFile, StripsTilesAndSamplesApartAreTheSamePicture)
{
    for (int samples : {1, 2, 3, 4}) {
        for (int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
            for (int tile : {0, 16}) {
                for (PictureSize size : AWKWARD_SIZES) {
                    SCOPED_TRACE(std::to_string(samples) + " samples, planes " + std::to_string(planes) + ", tile " +
                                 std::to_string(tile) + ", " + std::to_string(size.width) + " wide");
                    const TiffForm form = {.width = size.width, .height = size.height, .samples = samples,
                                           .photometric = samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB,
                                           .planes = planes, .tile = tile,
                                           .alpha = samples % 2 ? -1 : EXTRASAMPLE_UNASSALPHA};
                    const Bytes bytes = RandomSamples(size_t(size.width * size.height * samples), 1);
                    const ReadResult result = ReadBytes(TiffFile(form, bytes));
                    ASSERT_TRUE(result.done) << result.error;
                    EXPECT_TRUE(SameBytes(result.picture, FromSamples(form, bytes)));
                    EXPECT_TRUE(result.notices.empty());
                }
            }
        }
    }
}

TEST(TiffFile, OneBitCountsFromBlackOrWhite)
{
    const ReadResult black = ReadBytes(TiffFile({.width = 3, .height = 1, .bits = 1}, {0b10111111}));
    EXPECT_TRUE(SameBytes(black.picture, Bits({"101"})));
    const TiffForm form = {.width = 3, .height = 1, .bits = 1, .photometric = PHOTOMETRIC_MINISWHITE,
                           .compression = COMPRESSION_CCITTFAX4};
    const ReadResult white = ReadBytes(TiffFile(form, {0b10111111}));
    EXPECT_TRUE(SameBytes(white.picture, Bits({"010"}))) << white.error;
    EXPECT_TRUE(white.picture.extras.whiteIsZero);
}

TEST(TiffFile, FewBitsOfGreyAreSpread)
{
    const ReadResult four = ReadBytes(TiffFile({.width = 3, .height = 1, .bits = 4}, {0x1F, 0x30}));
    EXPECT_TRUE(SameBytes(four.picture, Grey({{17, 255, 51}})));
    const TiffForm turned = {.width = 2, .height = 1, .bits = 2, .photometric = PHOTOMETRIC_MINISWHITE};
    EXPECT_TRUE(SameBytes(ReadBytes(TiffFile(turned, {0b00010000})).picture, Grey({{255, 170}})));
}

TEST(TiffFile, FourBitPalettesKeepTheEntriesThatCount)
{
    TiffForm form = {.width = 3, .height = 1, .bits = 4, .photometric = PHOTOMETRIC_PALETTE};
    form.more = [](TIFF *tiff) {
        uint16_t red[16] = {0, 257}, green[16] = {0, 514}, blue[16] = {0, 771};
        TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
    };
    const ReadResult result = ReadBytes(TiffFile(form, {0x01, 0x30}));
    EXPECT_TRUE(SamePicture(result.picture, Palette({0, 0x030201, 0, 0}, {{0, 1, 3}}))) << result.error;
}

template <typename Value> static Bytes InMemory(std::initializer_list<Value> values)
{
    Bytes bytes(values.size() * sizeof(Value));
    memcpy(bytes.data(), values.begin(), bytes.size());
    return bytes;
}

TEST(TiffFile, OtherSamplesAreBroughtToEightBitsWithANotice)
{
    const TiffForm words = {.width = 3, .height = 1, .bits = 16};
    const ReadResult sixteen = ReadBytes(TiffFile(words, InMemory<uint16_t>({0, 0x8080, 0xFFFF})));
    EXPECT_TRUE(SamePicture(sixteen.picture, Grey({{0, 128, 255}})));
    EXPECT_EQ(sixteen.notices, std::vector<std::string>{"16 bits per sample are brought to 8"});
    const TiffForm floats = {.width = 4, .height = 1, .bits = 32, .format = SAMPLEFORMAT_IEEEFP};
    const ReadResult floating = ReadBytes(TiffFile(floats, InMemory<float>({-1, 0.5f, 1, 7})));
    EXPECT_TRUE(SamePicture(floating.picture, Grey({{0, 128, 255, 255}})));
    EXPECT_EQ(floating.notices.size(), 1u);
    const TiffForm twelve = {.width = 2, .height = 1, .bits = 12};
    EXPECT_TRUE(SamePicture(ReadBytes(TiffFile(twelve, {0x00, 0x0F, 0xFF})).picture, Grey({{0, 255}})));
}

TEST(TiffFile, InksBecomeRgbWithANotice)
{
    const TiffForm form = {.width = 3, .height = 1, .samples = 4, .photometric = PHOTOMETRIC_SEPARATED};
    const ReadResult result = ReadBytes(TiffFile(form, {0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255}));
    EXPECT_TRUE(SamePicture(result.picture, Rgb({{0xFFFFFF, 0xFFFF00, 0}})));
    EXPECT_EQ(result.notices, std::vector<std::string>{"CMYK is turned into RGB, without regard to a colour profile"});
}

TEST(TiffFile, LabAndSubsampledColoursAreTurnedIntoRgb)
{
    const TiffForm lab = {.width = 2, .height = 3, .samples = 3, .photometric = PHOTOMETRIC_CIELAB};
    const ReadResult result = ReadBytes(TiffFile(lab, {255, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_GT(PixelOf(result.picture, 0, 0) & 0xFF, 240u);
    EXPECT_EQ(PixelOf(result.picture, 1, 0), 0u);
    EXPECT_GT(PixelOf(result.picture, 0, 1) & 0xFF, 240u);
    EXPECT_EQ(PixelOf(result.picture, 0, 2), 0u);
    EXPECT_EQ(result.notices.size(), 1u);
}

TEST(TiffFile, ColoursMultipliedByAlphaAreDividedByIt)
{
    const TiffForm form = {.width = 2, .height = 1, .samples = 4, .photometric = PHOTOMETRIC_RGB,
                           .alpha = EXTRASAMPLE_ASSOCALPHA};
    const ReadResult result = ReadBytes(TiffFile(form, {50, 100, 0, 100, 0, 0, 0, 0}));
    EXPECT_TRUE(SamePicture(result.picture, WithMask(Rgb({{0x00FF80, 0}}), {{100, 0}})));
    EXPECT_EQ(result.notices.size(), 1u);
}

TEST(TiffFile, TheFirstPageIsReadAndOrientationLeft)
{
    TiffForm form = {.width = 1, .height = 2};
    form.more = [](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_BOTLEFT); };
    const ReadResult result = ReadBytes(TiffFile(form, {1, 2}, 2));
    EXPECT_TRUE(SamePicture(result.picture, Grey({{1}, {2}})));
    EXPECT_EQ(result.notices, (std::vector<std::string>{
                                  "the picture stays as stored: its orientation mark (4) is left out",
                                  "only the first of the file's pictures is read"}));
}

TEST(TiffFile, ResolutionPerCentimetreIsUnderstood)
{
    TiffForm form = {.width = 1, .height = 1};
    form.more = [](TIFF *tiff) {
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 100.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 50.0);
    };
    const ReadResult result = ReadBytes(TiffFile(form, {1}));
    EXPECT_NEAR(result.picture.extras.dotsPerInchX, 254, 0.01);
    EXPECT_NEAR(result.picture.extras.dotsPerInchY, 127, 0.01);
}
