// What the tests of Fisheye and Cone Head share: the ray from the centre to a pixel, and what holds for every effect
// that changes the inside of the inscribed ellipse alone.

#pragma once

#include "tests/effects/relocating.h"

//---- Rays

// From the picture's centre to a pixel, step by step as the effects are written.
struct Ray {
    double centreX, centreY;
    double distance, angle;
    double edge;   // the ellipse's radius in this direction
};

inline Ray RayTo(const Picture &picture, int x, int y)
{
    const double centreX = picture.width * 0.5, centreY = picture.height * 0.5;
    const double a = (picture.width - 1) * (picture.width - 1) / 4, b = (picture.height - 1) * (picture.height - 1) / 4;
    const double dx = x - centreX, dy = y - centreY;
    const double distance = sqrt(dy * dy + dx * dx), angle = dx == 0 && dy == 0 ? 0 : atan2(dy, dx);
    const double cosine = cos(angle), sine = sin(angle);
    return {centreX, centreY, distance, angle, sqrt(a * b / (cosine * (cosine * b) + sine * (sine * a)))};
}

inline void PlaceOn(const Ray &ray, double radius, double &x, double &y)
{
    x = cos(ray.angle) * radius + ray.centreX;
    y = sin(ray.angle) * radius + ray.centreY;
}

//---- What holds for both

template <typename Parameters> void ExpectIdentity(const EffectDescriptor &effect, const Parameters &own)
{
    for (const PictureCase &kind : AllPictureCases(40)) {
        Picture picture = RandomPicture(kind);
        RunWorker(effect, picture, own, {.maskInUse = kind.maskInUse});
        ASSERT_TRUE(SameBytes(picture, RandomPicture(kind))) << kind;
    }
}

// Without the pixels on the ellipse itself, which may be fetched from where they are.
template <typename Parameters> void ExpectOutsideStays(const EffectDescriptor &effect, const Parameters &own)
{
    for (int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const PictureCase kind = {type, 47, 30, type == GREY ? 8 : 1, true, 41};
        Picture picture = RandomPicture(kind), before = RandomPicture(kind);
        RunWorker(effect, picture, own, {.maskInUse = true});
        for (int y = 0; y < kind.height; ++y) {
            for (int x = 0; x < kind.width; ++x) {
                const Ray ray = RayTo(before, x, y);
                if (ray.distance < ray.edge) continue;
                ASSERT_EQ(PixelOf(picture, x, y), PixelOf(before, x, y)) << kind << " (" << x << ", " << y << ")";
                ASSERT_EQ(MaskPixelOf(picture, x, y), MaskPixelOf(before, x, y)) << kind;
            }
        }
        EXPECT_TRUE(SamePadding(picture, before)) << kind;
    }
}

template <typename Parameters> void ExpectCentreOfEvenSizesStays(const EffectDescriptor &effect, const Parameters &own)
{
    Picture even = EvenGrey(8, 6, 0), odd = EvenGrey(9, 7, 0);
    const WorkerRun ofEven = RunWorker(effect, even, own, {.recordsRelocations = true});
    const WorkerRun ofOdd = RunWorker(effect, odd, own, {.recordsRelocations = true});
    EXPECT_FALSE(WasFetched(ofEven, 4, 3));
    EXPECT_TRUE(WasFetched(ofEven, 4, 2));
    EXPECT_TRUE(WasFetched(ofOdd, 4, 3));
}

// A half axis is 0 there, or its square is less than a whole one.
template <typename Parameters> void ExpectThinPicturesStay(const EffectDescriptor &effect, const Parameters &own)
{
    for (const PictureSize &size : {PictureSize{1, 9}, PictureSize{9, 1}, PictureSize{2, 9}, PictureSize{9, 2},
                                    PictureSize{1, 1}, PictureSize{2, 2}}) {
        Picture picture = EvenGrey(size.width, size.height, 0);
        const WorkerRun run = RunWorker(effect, picture, own, {.recordsRelocations = true});
        EXPECT_TRUE(run.relocations.empty()) << size.width << " by " << size.height;
        EXPECT_EQ(run.progress, ProgressOfRows(size.height));
    }
}
