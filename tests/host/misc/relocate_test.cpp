// Relocate beside its plain version: positions, mixtures, masks and edges in every type.

#include "host/misc/misc.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"

#include <cmath>

// A picture to fetch from, and the pixel that a request sets. The source is read from a copy that ends where the plane
// ends, so that a byte read beyond it is one that the address sanitizer sees.
struct Fetch {
    Picture source, target;
    std::vector<uint8_t> pixels, mask;

    explicit Fetch(Picture picture)
        : source(std::move(picture)), target(CopyOf(source)), pixels(PlaneOf(source.pixels.get(), source.bitsPerPixel))
    {
        if (source.mask) mask = PlaneOf(source.mask.get(), source.maskBitsPerPixel);
    }

    std::vector<uint8_t> PlaneOf(const uint8_t *bytes, int32_t bits) const
    {
        return {bytes, bytes + size_t(RowStride(bits, source.width)) * size_t(source.height)};
    }
};

static RelocateRequest RequestFor(const Fetch &fetch, uint8_t *plane, int x, int y, double sourceX, double sourceY)
{
    const Picture &picture = fetch.source;
    RelocateRequest request = {};
    request.source = fetch.pixels.data();
    request.maskSource = fetch.mask.empty() ? nullptr : fetch.mask.data();
    request.width = request.secondWidth = picture.width;
    request.height = picture.height;
    request.bitsPerPixel = picture.bitsPerPixel;
    request.stride = RowStride(picture.bitsPerPixel, picture.width);
    request.colourType = picture.colourType;
    request.maskStride = RowStride(picture.maskBitsPerPixel, picture.width);
    request.sourceX = sourceX;
    request.sourceY = sourceY;
    request.x = x;
    request.y = y;
    request.destination = plane;
    if (picture.colourType != ONE_BIT)
        request.destination += size_t(y) * size_t(request.stride) + size_t(x) * size_t(picture.bitsPerPixel / 8);
    return request;
}

// The pixel that comes out at (0, 0); nothing else may change.
static uint32_t Fetched(Fetch &fetch, double x, double y)
{
    const RelocateRequest request = RequestFor(fetch, fetch.target.pixels.get(), 0, 0, x, y);
    Relocate(&request);
    return PixelOf(fetch.target, 0, 0);
}

static void ExpectReference(Fetch &fetch, int x, int y, double sourceX, double sourceY)
{
    Picture expected = CopyOf(fetch.target);
    const RelocateRequest request = RequestFor(fetch, fetch.target.pixels.get(), x, y, sourceX, sourceY);
    RelocateRequest plain = RequestFor(fetch, expected.pixels.get(), x, y, sourceX, sourceY);
    Relocate(&request);
    ReferenceRelocate(plain);
    ASSERT_TRUE(SameBytes(fetch.target, expected)) << "(" << x << ", " << y << ") from " << sourceX << ", " << sourceY;
}

//---- Told cases

TEST(Relocate, TakesAPixelAsItStandsWhereAPositionIsOne)
{
    Fetch fetch(Rgb({{0x010203, 0x102030}, {0xFF80FE, 0x7F0100}}));
    EXPECT_EQ(Fetched(fetch, 0, 0), 0x010203u);
    EXPECT_EQ(Fetched(fetch, 1, 0), 0x102030u);
    EXPECT_EQ(Fetched(fetch, 0, 1), 0xFF80FEu);
    EXPECT_EQ(Fetched(fetch, 1, 1), 0x7F0100u);
}

TEST(Relocate, MixesNeighboursByTheirShares)
{
    Fetch row(Grey({{0, 100}})), square(Grey({{0, 100}, {200, 40}}));
    EXPECT_EQ(Fetched(row, 0.25, 0), 25u);
    EXPECT_EQ(Fetched(row, 0.75, 0), 75u);
    EXPECT_EQ(Fetched(square, 0.5, 0.5), 85u);
    EXPECT_EQ(Fetched(square, 0, 0.25), 50u);
    Fetch colours(Rgb({{0x00FF00, 0xFF0000}}));
    EXPECT_EQ(Fetched(colours, 0.5, 0), 0x808000u);   // halves are rounded up
}

TEST(Relocate, RoundsPositionsTo256thsFirst)
{
    Fetch fetch(Grey({{0, 255, 0}}));
    EXPECT_EQ(Fetched(fetch, 1 - 1e-12, 0), 255u);
    EXPECT_EQ(Fetched(fetch, 1 + 1e-12, 0), 255u);
    EXPECT_EQ(Fetched(fetch, std::nextafter(1.0 / 512, 0.0) - 1e-9, 0), 0u);
    EXPECT_EQ(Fetched(fetch, 1.0 / 512, 0), 1u);
}

TEST(Relocate, TakesTheNearestIndexOrBit)
{
    Fetch indices(Palette({0, 1, 2}, {{2, 1}, {0, 2}})), bits(Bits({"01", "10"}));
    EXPECT_EQ(Fetched(indices, 0.49, 0.49), 2u);
    EXPECT_EQ(Fetched(indices, 0.5, 0.49), 1u);
    EXPECT_EQ(Fetched(indices, 0.49, 0.5), 0u);
    EXPECT_EQ(Fetched(indices, 1, 1), 2u);
    EXPECT_EQ(Fetched(bits, 0.49, 0), 0u);
    EXPECT_EQ(Fetched(bits, 0.5, 0), 1u);
    EXPECT_EQ(Fetched(bits, 0.5, 1), 0u);
}

TEST(Relocate, LeavesWhatTheMaskHidesOutOfTheMixture)
{
    Fetch fetch(WithMask(Grey({{10, 250, 0, 0, 60}}), {{255, 0, 0, 100, 200}}));
    EXPECT_EQ(Fetched(fetch, 0.75, 0), 10u);
    EXPECT_EQ(Fetched(fetch, 1.5, 0), 125u);   // nothing to be seen: as without a mask
    EXPECT_EQ(Fetched(fetch, 3.5, 0), 40u);    // (0 * 100 + 60 * 200) / 300
    Fetch bits(WithBitMask(Grey({{10, 250, 0, 0, 60}}), {"10011"}));
    EXPECT_EQ(Fetched(bits, 0.75, 0), 10u);
    EXPECT_EQ(Fetched(bits, 3.5, 0), 30u);
}

TEST(Relocate, TakesAMaskOfUpToFourColumnsForOneOf8Bits)
{
    Fetch fetch(WithBitMask(Grey({{10, 250}}), {"10"}));   // read as bytes 128 and 0
    EXPECT_EQ(Fetched(fetch, 0.5, 0), 10u);
}

TEST(Relocate, DoesNotLookAtTheMaskOfIndicesAndBits)
{
    Fetch fetch(WithMask(Palette({0, 1, 2}, {{2, 1}}), {{0, 255}}));
    EXPECT_EQ(Fetched(fetch, 0.2, 0), 2u);
}

//---- Against the plain version

// Positions on pixels, halfway, at both ends, a hair beside a 256th or a half of one, and anywhere.
static std::vector<double> PositionsAlong(int32_t count, std::mt19937 &generator)
{
    const double last = count - 1;
    std::vector<double> positions = {0, last, last / 2, last / 3};
    std::uniform_real_distribution<double> anywhere(0, last);
    for (int i = 0; i < 12; ++i) {
        const double place = anywhere(generator);
        const double fine = std::floor(place * 256) / 256, half = fine + 1.0 / 512;
        for (double exact : {place, std::floor(place), std::floor(place) + 0.5, fine, half}) {
            for (double hair : {-1e-9, -1e-13, 0.0, 1e-13, 1e-9}) {
                if (exact + hair >= 0 && exact + hair <= last) positions.push_back(exact + hair);
            }
            positions.push_back(std::min(std::nextafter(exact, 1e9), last));
            positions.push_back(std::min(std::nextafter(exact, 0.0), last));
        }
    }
    return positions;
}

TEST(Relocate, EqualsThePlainVersionOnEveryKindOfPicture)
{
    for (const PictureCase &kind : AllPictureCases(900)) {
        if (kind.maskInUse) continue;   // the request says it: a mask source or none
        SCOPED_TRACE(testing::Message() << kind);
        std::mt19937 generator(kind.seed);
        Fetch fetch(RandomPicture(kind));
        const std::vector<double> across = PositionsAlong(kind.width, generator);
        const std::vector<double> down = PositionsAlong(kind.height, generator);
        for (size_t i = 0; i < 3 * across.size(); ++i) {
            const double x = across[generator() % across.size()], y = down[generator() % down.size()];
            ExpectReference(fetch, int(generator() % uint32_t(kind.width)), int(generator() % uint32_t(kind.height)), x,
                            y);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Relocate, EqualsThePlainVersionAtEvery256thOfAPixel)
{
    std::mt19937 generator(901);
    for (int32_t type : {GREY, RGB}) {
        for (int32_t maskBits : {0, 1, 8}) {
            Fetch fetch(RandomPicture({type, 6, 3, maskBits, false, 902}));
            for (int x = 0; x <= 5 * 256; x += 3) {
                ExpectReference(fetch, 3, 1, x / 256.0, double(generator() % 513) / 256);
                if (HasFatalFailure()) return;
            }
        }
    }
}
