// Cone Head as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/ellipse.h"

struct ConeHeadParameters {
    int32_t conePower = 20;
};

// Step by step as the effect is written.
static Formula FormulaOf(const ConeHeadParameters &own)
{
    return [own](const Picture &picture, int x, int y, double &sourceX, double &sourceY) {
        const double k = own.conePower * 0.1;
        const Ray ray = RayTo(picture, x, y);
        const double power = pow(ray.edge, k - 1);
        if (!(ray.distance > 0 && ray.distance < ray.edge)) return false;
        const double radius = own.conePower == 20 ? sqrt(ray.distance * ray.edge) : pow(ray.distance * power, 1 / k);
        PlaceOn(ray, radius, sourceX, sourceY);
        return true;
    };
}

static const std::vector<ConeHeadParameters> many = {{20}, {1}, {5}, {9}, {10}, {11}, {19}, {21}, {35}, {100}};

static WorkerRun RunRecorded(Picture &picture, int power)
{
    return RunWorker(coneHead, picture, ConeHeadParameters{power}, {.recordsRelocations = true});
}

//---- Told cases

// 41 pixels across and down: the centre lies at 20.5, the half axes are 20. At dx = dy = 9.5 a pixel's r is 13.435.
TEST(ConeHead, APixelIsFetchedFromItsRayAtTheMeanOfItsRadiusAndTheEdges)
{
    Picture picture = EvenGrey(41, 41, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 20), 30, 30);
    const double radius = sqrt(9.5 * sqrt(2.0) * 20);
    EXPECT_NEAR(x, 20.5 + radius / sqrt(2.0), 1e-9);
    EXPECT_NEAR(y, 20.5 + radius / sqrt(2.0), 1e-9);
}

TEST(ConeHead, APixelHalfwayToTheEdgeComesFromSevenTenthsOfTheWay)
{
    // 100 by 41: the half axis upwards is 20, the root of the truncated square 400; straight up from the centre.
    Picture picture = EvenGrey(100, 41, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 20), 50, 10);   // 10.5 of 20 up
    EXPECT_NEAR(x, 50, 1e-9);
    EXPECT_NEAR(y, 20.5 - sqrt(10.5 * 20), 1e-9);
}

TEST(ConeHead, ASmallPowerBulges)
{
    Picture picture = EvenGrey(201, 201, 0);
    const auto [x, y] = PositionOf(RunRecorded(picture, 5), 150, 100);
    const double r = hypot(49.5, 0.5);
    EXPECT_NEAR(hypot(x - 100.5, y - 100.5), r * r / 100, 1e-9);   // (r / 100^0.5)^2
}

TEST(ConeHead, PowerTenKeepsEveryPicture) { ExpectIdentity(coneHead, ConeHeadParameters{10}); }

TEST(ConeHead, WhatLiesOutsideTheEllipseStays)
{
    for (const ConeHeadParameters &own : many) ExpectOutsideStays(coneHead, own);
}

TEST(ConeHead, TheCentreOfEvenSizesStays) { ExpectCentreOfEvenSizesStays(coneHead, ConeHeadParameters{}); }

TEST(ConeHead, APictureTooThinForAnEllipseStays) { ExpectThinPicturesStay(coneHead, ConeHeadParameters{}); }

TEST(ConeHead, UndoesWhatFisheyeDid)
{
    std::mt19937 generator(4);
    Picture picture = NaturalPicture(GREY, 200, 160, generator);
    const Picture before = CopyOf(picture);
    RunWorker(fisheye, picture, ConeHeadParameters{15});
    RunWorker(coneHead, picture, ConeHeadParameters{15});
    double sum = 0;
    int count = 0;
    for (int y = 40; y < 120; ++y) {
        for (int x = 50; x < 150; ++x, ++count)
            sum += fabs(double(PixelOf(picture, x, y)) - double(PixelOf(before, x, y)));
    }
    EXPECT_LT(sum / count, 4);
}

//---- Against the written formula and the plain version

TEST(ConeHead, FetchesEveryPixelFromWhereTheFormulaSays)
{
    ExpectRelocations<ConeHeadParameters>(coneHead, many, 3120, FormulaOf);
}

TEST(ConeHead, FetchesEveryPixelOfLargerPicturesFromWhereTheFormulaSays)
{
    for (const ConeHeadParameters &own : many) ExpectRelocationsOfLargePictures(coneHead, own, FormulaOf(own));
}

TEST(ConeHead, IsCloseToThePlainVersionOnEveryKindOfPicture)
{
    ExpectCloseToPlainVersion<ConeHeadParameters>(coneHead, many, 3125,
                                                  [](Picture &picture, bool maskInUse, const ConeHeadParameters &own) {
                                                      ReferenceConeHead(picture, maskInUse, own.conePower);
                                                  });
}

//---- Abort

TEST(ConeHead, AbortKeepsTheRowsDone)
{
    ExpectRowsUpToTheAbort(coneHead, ConeHeadParameters{20});
    ExpectRowsUpToTheAbort(coneHead, ConeHeadParameters{7});
}
