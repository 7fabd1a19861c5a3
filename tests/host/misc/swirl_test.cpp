// SwirlFunction and the rotations it is made of, beside the written formulas and the plain version.

#include "host/misc/pictures/swirl_positions.h"
#include "maths/rotation.h"
#include "tests/host/misc/stage.h"
#include "tests/reference/reference.h"
#include "tests/support/comparison.h"

#include <algorithm>
#include <numbers>

//---- Positions

static double Limited(double position, int count) { return std::clamp(position, 0.0, count - 1.0); }

static void ExpectFormula(int width, int height, int amount)
{
    SwirlRow row(width, height, amount);
    const double centreX = width * 0.5, centreY = height * 0.5, radius = std::min(centreX, centreY);
    for (int y = 0; y < height; ++y) {
        FindSwirlPositions(row, y);
        for (int x = 0; x < width; ++x) {
            const double dx = x - centreX, dy = y - centreY, distance = sqrt(dx * dx + dy * dy);
            ASSERT_EQ(distance < radius, x >= row.first && x < row.end) << "(" << x << ", " << y << ")";
            if (distance >= radius) continue;
            const double inwards = 1 - distance / radius;
            const double turn = amount * std::numbers::pi / 180 * (inwards * inwards);
            const double sourceX = Limited(centreX + dx * cos(turn) - dy * sin(turn), width);
            const double sourceY = Limited(centreY + dx * sin(turn) + dy * cos(turn), height);
            ASSERT_NEAR(row.sourceX[size_t(x)], sourceX, 1e-9) << "(" << x << ", " << y << ")";
            ASSERT_NEAR(row.sourceY[size_t(x)], sourceY, 1e-9) << "(" << x << ", " << y << ")";
        }
    }
}

TEST(SwirlPositions, AreTheWrittenFormulas)
{
    for (const PictureSize &size : AWKWARD_SIZES) {
        for (int amount : {45, -45, 1, 90, 361, 8000, -8000}) {
            SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << " by " << amount);
            ExpectFormula(size.width, size.height, amount);
        }
    }
    ExpectFormula(1999, 1500, 45);
    ExpectFormula(1000, 1400, -8000);
}

TEST(ARotation, IsCosineAndSineOfItsAngle)
{
    for (int i = -200000; i <= 200000; ++i) {
        const double angle = i * 0.00137 * (1 + abs(i) % 5 * 97);
        const Rotation rotation = RotationBy(angle);
        ASSERT_NEAR(rotation.cosine, cos(angle), 1e-15) << angle;
        ASSERT_NEAR(rotation.sine, sin(angle), 1e-15) << angle;
    }
    for (double angle : {262143.9, 262144.0, 1e7, -3e9}) {
        EXPECT_NEAR(RotationBy(angle).cosine, cos(angle), 1e-15) << angle;
        EXPECT_NEAR(RotationBy(angle).sine, sin(angle), 1e-15) << angle;
    }
    EXPECT_EQ(RotationBy(0).cosine, 1);
    EXPECT_EQ(RotationBy(0).sine, 0);
}

TEST(ManyRotations, AreEachAsAlone)
{
    std::vector<double> angles;
    for (int i = 0; i < 203; ++i) angles.push_back((i - 100) * (i % 7 == 0 ? 1e5 : 0.731));
    std::vector<double> cosines(203), sines(203);
    RotateEach(angles.data(), 203, cosines.data(), sines.data());
    for (size_t i = 0; i < 203; ++i) {
        EXPECT_EQ(cosines[i], RotationBy(angles[i]).cosine) << angles[i];
        EXPECT_EQ(sines[i], RotationBy(angles[i]).sine) << angles[i];
    }
}

//---- Pictures

static void Swirl(Picture &picture, bool maskInUse, int32_t amount, int32_t *abortFlag = nullptr)
{
    int32_t noAbort = 0;
    SwirlFunction(picture.pixels.get(), picture.mask.get(), picture.width, picture.height, picture.bitsPerPixel,
                  picture.maskBitsPerPixel, picture.colourType, amount, maskInUse, nullptr, nullptr,
                  abortFlag ? abortFlag : &noAbort);
}

TEST(SwirlFunction, EqualsThePlainVersionOnEveryKindOfPicture)
{
    Closeness closeness;
    for (const PictureCase &kind : AllPictureCases(950)) {
        if (kind.maskBits == 1 && kind.maskInUse && kind.width < 5) continue;   // its mask would count as 8-bit
        for (int amount : {45, -300, 8000}) {
            const std::string name = (testing::Message() << kind << " by " << amount).GetString();
            Picture picture = RandomPicture(kind), expected = RandomPicture(kind);
            const int32_t blocks = HostAllocatedBlocks();
            Swirl(picture, kind.maskInUse, amount);
            EXPECT_EQ(HostAllocatedBlocks(), blocks);
            ReferenceSwirl(expected, kind.maskInUse, amount);
            AddDifferences(closeness, picture, expected, name);
            ASSERT_TRUE(SamePadding(picture, expected)) << name;
        }
    }
    EXPECT_TRUE(CloseEnough(closeness));
}

TEST(SwirlFunction, ByNothingChangesNoByte)
{
    const PictureCase kind = {RGB, 33, 20, 8, false, 4};
    Picture picture = RandomPicture(kind);
    Swirl(picture, false, 0);
    EXPECT_TRUE(SameBytes(picture, RandomPicture(kind)));
}

TEST(SwirlFunction, LeavesEverythingOutsideTheCircle)
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const PictureCase kind = {type, 61, 40, 8, true, 5};
        Picture picture = RandomPicture(kind), before = RandomPicture(kind);
        Swirl(picture, true, 500);
        int changed = 0;
        for (int y = 0; y < kind.height; ++y) {
            for (int x = 0; x < kind.width; ++x) {
                const double dx = x - 30.5, dy = y - 20;
                const bool same = PixelOf(picture, x, y) == PixelOf(before, x, y) &&
                                  MaskPixelOf(picture, x, y) == MaskPixelOf(before, x, y);
                ASSERT_TRUE(same || dx * dx + dy * dy < 400) << "(" << x << ", " << y << ")";
                changed += !same;
            }
        }
        EXPECT_GT(changed, 500);
    }
}

//---- Progress and abort

static std::vector<intptr_t> TenthsReported(int32_t height)
{
    Picture picture = NewPicture(GREY, 7, height);
    HostStartLog();
    Swirl(picture, false, 45);
    HostStopLog();
    std::vector<intptr_t> tenths;
    LoggedCall call;
    for (int32_t i = 0; HostLogEntry(i, &call); ++i) {
        if (std::string(call.call) == "IncrementProgress") tenths.push_back(call.arguments[2]);
    }
    return tenths;
}

TEST(SwirlFunction, ReportsOncePerRow)
{
    EXPECT_EQ(TenthsReported(1), (std::vector<intptr_t>{10}));
    EXPECT_EQ(TenthsReported(2), (std::vector<intptr_t>{0, 10}));
    EXPECT_EQ(TenthsReported(12), (std::vector<intptr_t>{0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

// The flag lies in the picture itself, in its middle columns, and so is set by the very row that writes there.
TEST(SwirlFunction, StopsBeforeTheRowAfterTheOneThatSetTheAbortFlag)
{
    for (int row : {2, 8, 15, 29}) {
        Picture picture = NewPicture(GREY, 32, 32), whole = NewPicture(GREY, 32, 32);
        for (Picture *each : {&picture, &whole}) {
            memset(each->pixels.get(), 9, 32 * 32);
            memset(each->pixels.get() + row * 32 + 12, 0, 4);
        }
        Swirl(whole, false, 300);
        ASSERT_NE(PixelOf(whole, 12, row) + PixelOf(whole, 13, row) + PixelOf(whole, 14, row), 0u);
        Picture before = CopyOf(picture);
        Swirl(picture, false, 300, reinterpret_cast<int32_t *>(picture.pixels.get() + row * 32 + 12));
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x)
                ASSERT_EQ(PixelOf(picture, x, y), PixelOf(y <= row ? whole : before, x, y))
                    << "(" << x << ", " << y << ") where row " << row << " sets the flag";
        }
    }
}

TEST(SwirlFunction, WithTheAbortFlagSetChangesNothing)
{
    const PictureCase kind = {PALETTE, 20, 20, 1, false, 6};
    Picture picture = RandomPicture(kind);
    int32_t abortFlag = 1;
    Swirl(picture, false, 45, &abortFlag);
    EXPECT_TRUE(SameBytes(picture, RandomPicture(kind)));
}
