// Fisheye as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/ellipse.h"

struct FisheyeParameters {
    int32_t lensPower = 20;
};

// Step by step as the effect is written.
static Formula FormulaOf(const FisheyeParameters &own)
{
    return [own](const Picture &picture, int x, int y, double &sourceX, double &sourceY) {
        const double k = own.lensPower * 0.1;
        const Ray ray = RayTo(picture, x, y);
        if (ray.distance == 0 || !(ray.distance < ray.edge)) return false;
        const double power = pow(ray.edge, k - 1);
        const double radius = own.lensPower == 20 ? ray.distance / power * ray.distance : pow(ray.distance, k) / power;
        PlaceOn(ray, radius, sourceX, sourceY);
        return true;
    };
}

static const std::vector<FisheyeParameters> many = {{20}, {1}, {5}, {9}, {10}, {11}, {19}, {21}, {35}, {100}};

static WorkerRun RunRecorded(Picture &picture, int power)
{
    return RunWorker(fisheye, picture, FisheyeParameters{power}, {.recordsRelocations = true});
}

//---- Told cases

// 41 pixels across and down: the centre lies at 20.5, the half axes are 20. At dx = dy = 9.5 a pixel's r is 13.435.
TEST(Fisheye, APixelIsFetchedFromItsRayAtItsRadiusSquaredByTheEdges)
{
    Picture picture = EvenGrey(41, 41, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 20), 30, 30);
    const double radius = 9.5 * sqrt(2.0) * 9.5 * sqrt(2.0) / 20;
    EXPECT_NEAR(x, 20.5 + radius / sqrt(2.0), 1e-9);
    EXPECT_NEAR(y, 20.5 + radius / sqrt(2.0), 1e-9);
}

TEST(Fisheye, TheEllipseIsAsWideAndHighAsThePictureLessOne)
{
    // 101 by 41: half axes 50 and 20. Along a row half a pixel above the centre, 25.5 to the right.
    Picture picture = EvenGrey(101, 41, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 20), 76, 20);
    const double e = sqrt(25.5 * 25.5 / 2500 + 0.25 / 400);
    EXPECT_NEAR(x, 50.5 + 25.5 * e, 1e-9);
    EXPECT_NEAR(y, 20.5 - 0.5 * e, 1e-9);
}

TEST(Fisheye, ASmallPowerFetchesTheMiddleFromNearTheEdge)
{
    Picture picture = EvenGrey(201, 201, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 1), 101, 100);
    EXPECT_NEAR(hypot(x - 100.5, y - 100.5), pow(sqrt(0.5), 0.1) * pow(100, 0.9), 1e-9);
    EXPECT_GT(x, 140);
}

TEST(Fisheye, PowerTenKeepsEveryPicture) { ExpectIdentity(fisheye, FisheyeParameters{10}); }

TEST(Fisheye, WhatLiesOutsideTheEllipseStays)
{
    for (const FisheyeParameters &own : many) ExpectOutsideStays(fisheye, own);
}

TEST(Fisheye, TheCentreOfEvenSizesStays) { ExpectCentreOfEvenSizesStays(fisheye, FisheyeParameters{}); }

TEST(Fisheye, APictureTooThinForAnEllipseStays) { ExpectThinPicturesStay(fisheye, FisheyeParameters{}); }

// 46342 squared is more than 32 bits hold and comes out negative.
TEST(Fisheye, TheSquareOfAVeryWidePictureWrapsAround)
{
    Picture picture = EvenGrey(46343, 5, 0);
    const WorkerRun run = RunRecorded(picture, 20);
    const double a = -536846583, b = 4;   // (46342 * 46342 - 2^32) / 4, towards zero
    std::vector<std::array<int, 2>> due, fetched;
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 46343; ++x) {
            const double dx = x - 23171.5, dy = y - 2.5, square = dx * dx / a + dy * dy / b;
            if (square > 0 && square < 1) due.push_back({x, y});
        }
    }
    for (const RelocateCall &call : run.relocations) fetched.push_back({call.x, call.y});
    EXPECT_EQ(fetched, due);
    EXPECT_GT(due.size(), 0u);
}

//---- Against the written formula and the plain version

TEST(Fisheye, FetchesEveryPixelFromWhereTheFormulaSays)
{
    ExpectRelocations<FisheyeParameters>(fisheye, many, 3130, FormulaOf);
}

TEST(Fisheye, FetchesEveryPixelOfLargerPicturesFromWhereTheFormulaSays)
{
    for (const FisheyeParameters &own : many) ExpectRelocationsOfLargePictures(fisheye, own, FormulaOf(own));
}

TEST(Fisheye, IsCloseToThePlainVersionOnEveryKindOfPicture)
{
    ExpectCloseToPlainVersion<FisheyeParameters>(fisheye, many, 3135,
                                                 [](Picture &picture, bool maskInUse, const FisheyeParameters &own) {
                                                     ReferenceFisheye(picture, maskInUse, own.lensPower);
                                                 });
}

//---- Abort

TEST(Fisheye, AbortKeepsTheRowsDone)
{
    ExpectRowsUpToTheAbort(fisheye, FisheyeParameters{20});
    ExpectRowsUpToTheAbort(fisheye, FisheyeParameters{7});
}
