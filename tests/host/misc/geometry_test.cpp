// ShearFunction and FlipPic beside their plain versions, Cropping, and what is pasted.

#include "tests/host/misc/stage.h"
#include "tests/reference/reference.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

struct Size {
    int width, height;
};
static constexpr Size sizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 5}, {17, 13}, {33, 20}, {64, 7}, {100, 41}};

static uint8_t *RandomPlane(int width, int height, int bits, std::mt19937 &generator)
{
    const size_t size = StrideFor(bits, width) * size_t(height);
    uint8_t *plane = NewBytes(size, 0);
    for (size_t i = 0; i < size; ++i) plane[i] = uint8_t(generator());
    return plane;
}

static std::string Text(const uint8_t *plane, int width, int height, int bits)
{
    return std::string(reinterpret_cast<const char *>(plane), StrideFor(bits, width) * size_t(height));
}

//---- Shear

static void ExpectSheared(int type, int bits, Size size, int angle, bool edgesToFill, bool horizontal, uint32_t seed)
{
    std::mt19937 generator(seed);
    uint8_t *plane = RandomPlane(size.width, size.height, bits, generator);
    const uint32_t fill = bits == 24 ? generator() & 0xFFFFFF : generator() & (bits == 1 ? 1 : 255);
    const Raster source = RasterOfPlane(plane, size.width, size.height, bits);
    const Raster expected = ReferenceShear(source, type, angle, fill, edgesToFill, horizontal);
    int32_t width = size.width, height = size.height, abort = 0;
    ShearFunction(&plane, &width, &height, bits, type, angle, int32_t(fill), edgesToFill, nullptr, nullptr, horizontal,
                  &abort);
    const bool same = width == expected.width && height == expected.height &&
                      RasterOfPlane(plane, width, height, bits).pixels == expected.pixels;
    EXPECT_TRUE(same) << "type " << type << ", " << bits << " bits, " << size.width << " x " << size.height
                      << ", angle " << angle << ", edges " << edgesToFill << ", horizontal " << horizontal << ", seed "
                      << seed;
    KPZ_FreeMem(plane);
}

TEST(ShearFunction, IsThePlainVersionForEveryTypeAngleAndSize)
{
    struct {
        int type, bits;
    } const kinds[] = {{RGB, 24}, {GREY, 8}, {PALETTE, 8}, {ONE_BIT, 1}, {GREY, 1}};
    uint32_t seed = 1;
    for (const auto &kind : kinds) {
        for (const Size size : sizes) {
            for (const int angle : {-75, -45, -30, -7, -1, 0, 1, 20, 45, 60, 75}) {
                for (const int flags : {0, 1, 2, 3})
                    ExpectSheared(kind.type, kind.bits, size, angle, flags & 1, flags & 2, seed++);
            }
        }
    }
}

TEST(ShearFunction, IsThePlainVersionAtEveryAngle)
{
    for (int angle = -75; angle <= 75; ++angle) {
        ExpectSheared(RGB, 24, {23, 19}, angle, true, true, uint32_t(angle + 100));
        ExpectSheared(GREY, 8, {19, 23}, angle, false, false, uint32_t(angle + 300));
    }
}

// A tall narrow picture: the moves of far rows depend on the last digits of the slope.
TEST(ShearFunction, IsThePlainVersionFarFromTheEdge)
{
    for (const int angle : {-75, -33, 3, 30, 60, 71}) ExpectSheared(GREY, 8, {3, 3000}, angle, true, true, 5);
}

TEST(ShearFunction, GrowsToTheRightByTheMoveOfTheFarthestRow)
{
    uint8_t *plane = NewBytes(4 * 5, 50);
    int32_t width = 4, height = 5;
    ShearFunction(&plane, &width, &height, 8, PALETTE, 45, 9, 1, nullptr, nullptr, 1, nullptr);
    EXPECT_EQ(width, 8);
    EXPECT_EQ(height, 5);
    EXPECT_EQ(plane[0], 50);
    EXPECT_EQ(plane[8], 9);
    EXPECT_EQ(plane[9], 54);
    KPZ_FreeMem(plane);
}

TEST(ShearFunction, AbortLeavesTheRowsNotYetReachedAsFill)
{
    for (const int horizontal : {0, 1}) {
        for (const int bits : {8, 24}) {
            uint8_t *plane = NewBytes(StrideFor(bits, 8) * 6, 1);
            int32_t width = 8, height = 6, abort = 1;
            ShearFunction(&plane, &width, &height, bits, bits == 8 ? GREY : RGB, 30, 0x070707, 1, nullptr, nullptr,
                          horizontal, &abort);
            const Raster sheared = RasterOfPlane(plane, width, height, bits);
            for (const Pixel &pixel : sheared.pixels) EXPECT_EQ(pixel[0], 7);
            KPZ_FreeMem(plane);
        }
    }
}

TEST(ShearFunction, ReportsEveryTenth)
{
    Stage stage(GREY, 4, 101);
    ShearFunction(&stage.image.pixels, &stage.image.width, &stage.image.height, 8, GREY, 10, 0, 1, stage.image.window,
                  stage.image.progress, 1, nullptr);
    WaitUntil([&stage] { return stage.progress.size() >= 11; });
    EXPECT_EQ(stage.progress, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(ShearFunction, LeavesNoMemoryBehindAndClearsThePadding)
{
    const int32_t blocks = HostAllocatedBlocks();
    uint8_t *plane = NewBytes(4 * 2, 1);
    int32_t width = 3, height = 2;
    ShearFunction(&plane, &width, &height, 8, GREY, 20, 255, 1, nullptr, nullptr, 1, nullptr);
    EXPECT_EQ(HostAllocatedBlocks(), blocks + 1);
    EXPECT_EQ(width, 4);
    width = 3, height = 2;
    ShearFunction(&plane, &width, &height, 8, GREY, 0, 255, 1, nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(plane[3], 0);
    EXPECT_EQ(plane[7], 0);
    KPZ_FreeMem(plane);
}

//---- Flip

TEST(FlipPic, IsThePlainVersionAndKeepsThePadding)
{
    std::mt19937 generator(3);
    for (const int bits : {1, 8, 24}) {
        for (const Size size : sizes) {
            for (const int direction : {0, 1}) {
                uint8_t *plane = RandomPlane(size.width, size.height, bits, generator);
                const std::string before = Text(plane, size.width, size.height, bits);
                const Raster source = RasterOfPlane(plane, size.width, size.height, bits);
                FlipPic(plane, size.width, size.height, direction, bits);
                std::string expected = before;
                StorePlane(reinterpret_cast<uint8_t *>(expected.data()), ReferenceFlip(source, direction));
                EXPECT_EQ(Text(plane, size.width, size.height, bits), expected)
                    << bits << " bits, " << size.width << "x" << size.height << ", direction " << direction;
                KPZ_FreeMem(plane);
            }
        }
    }
}

//---- Crop

static void SelectPoints(Stage &stage, const std::vector<POINT> &points)
{
    auto *copy = reinterpret_cast<POINT *>(NewBytes(points.size() * sizeof(POINT), 0));
    Selection &selection = stage.image.selection;
    KPZ_FreeMem(selection.points);
    const auto x = int32_t(points[0].x), y = int32_t(points[0].y);
    selection = {int32_t(points.size()), x, y, x, y, copy};
    for (size_t i = 0; i < points.size(); ++i) {
        copy[i] = points[i];
        selection.left = std::min(selection.left, int32_t(points[i].x));
        selection.right = std::max(selection.right, int32_t(points[i].x));
        selection.top = std::min(selection.top, int32_t(points[i].y));
        selection.bottom = std::max(selection.bottom, int32_t(points[i].y));
    }
}

// Rows of '0' and '1'.
static std::vector<std::string> MaskRows(const CropRequest &cut)
{
    std::vector<std::string> rows;
    const int width = cut.right - cut.left + 1, height = cut.bottom - cut.top + 1;
    const Raster mask = RasterOfPlane(cut.mask, width, height, 1);
    for (int y = 0; y < height; ++y) {
        rows.emplace_back();
        for (int x = 0; x < width; ++x) rows.back() += char('0' + Get(mask, x, y)[0]);
    }
    return rows;
}

static void Free(CropRequest &cut)
{
    KPZ_FreeMem(cut.pixels);
    KPZ_FreeMem(cut.mask);
}

typedef std::vector<std::string> Rows;

static Rows OutlineOf(const std::vector<POINT> &points)
{
    Stage stage(GREY, 12, 12);
    SelectPoints(stage, points);
    CropRequest cut;
    EXPECT_TRUE(Cropping(&stage.image.cropArea, &cut));
    const Rows rows = cut.mask ? MaskRows(cut) : Rows{"no mask"};
    Free(cut);
    return rows;
}

TEST(Cropping, NothingSelectedIsNothingCut)
{
    Stage stage(GREY, 8, 8);
    CropRequest cut;
    EXPECT_FALSE(Cropping(&stage.image.cropArea, &cut));
    EXPECT_EQ(cut.pixels, nullptr);
    EXPECT_EQ(cut.mask, nullptr);
    Select(stage, 8, 0, 9, 3);
    EXPECT_FALSE(Cropping(&stage.image.cropArea, &cut)) << "outside the picture";
}

TEST(Cropping, ARectangleIsCutWithoutAMaskAsFarAsItLiesInThePicture)
{
    for (const int type : {ONE_BIT, GREY, PALETTE, RGB}) {
        Stage stage(type, 37, 6);
        Select(stage, 30, -2, 90, 3);
        CropRequest cut;
        EXPECT_TRUE(Cropping(&stage.image.cropArea, &cut));
        EXPECT_EQ(cut.left, 30);
        EXPECT_EQ(cut.top, 0);
        EXPECT_EQ(cut.right, 36);
        EXPECT_EQ(cut.bottom, 3);
        EXPECT_EQ(cut.mask, nullptr);
        const int bits = stage.image.bitsPerPixel;
        const Raster picture = RasterOfPlane(stage.image.pixels, 37, 6, bits);
        const Raster area = RasterOfPlane(cut.pixels, 7, 4, bits);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 7; ++x) EXPECT_EQ(Get(area, x, y), Get(picture, 30 + x, y));
        Free(cut);
    }
}

TEST(Cropping, BeneathObjectsTheBasePictureIsCut)
{
    Stage stage(GREY, 8, 8);
    KeepBase(stage);
    stage.image.base.pixels[0] = 222;
    Select(stage, 0, 0, 1, 1);
    CropRequest cut;
    EXPECT_TRUE(Cropping(&stage.image.cropArea, &cut));
    EXPECT_EQ(cut.pixels[0], 222);
    Free(cut);
}

TEST(Cropping, AFreeOutlineHoldsThePixelsInsideAndOnIt)
{
    EXPECT_EQ(OutlineOf({{2, 1}, {6, 5}, {2, 5}}), (Rows{"10000", "11000", "11100", "11110", "11111"}));
    EXPECT_EQ(OutlineOf({{3, 0}, {6, 3}, {3, 6}, {0, 3}}),
              (Rows{"0001000", "0011100", "0111110", "1111111", "0111110", "0011100", "0001000"}));
    EXPECT_EQ(OutlineOf({{0, 0}, {4, 2}}), (Rows{"10000", "00100", "00001"})) << "a line: the middles that it meets";
    EXPECT_EQ(OutlineOf({{5, 5}}), (Rows{"1"}));
    EXPECT_EQ(OutlineOf({{1, 1}, {4, 1}, {4, 3}, {1, 3}}), (Rows{"no mask"})) << "a rectangle";
    EXPECT_EQ(OutlineOf({{4, 3}, {4, 1}, {1, 1}, {1, 3}}), (Rows{"no mask"})) << "from another corner";
    EXPECT_EQ(OutlineOf({{1, 1}, {4, 1}, {1, 3}, {4, 3}}), (Rows{"1111", "0000", "1111"})) << "crossing itself";
}

TEST(Cropping, AnOutlineThatRunsIntoItselfHasHolesWhereItCoversTwice)
{
    EXPECT_EQ(OutlineOf({{0, 0}, {8, 0}, {8, 8}, {0, 8}, {0, 0}, {2, 2}, {6, 2}, {6, 6}, {2, 6}, {2, 2}}),
              (Rows{"111111111", "111111111", "111111111", "111000111", "111000111", "111000111", "111111111",
                    "111111111", "111111111"}));
}

TEST(Cropping, AnOutlineBeyondThePictureIsCutOff)
{
    EXPECT_EQ(OutlineOf({{8, 8}, {20, 8}, {20, 20}, {8, 14}}), (Rows{"1111", "1111", "1111", "1111"}));
}

//---- Paste

// The formula, a byte at a time.
static int Covered(int value, int pixel, int cover) { return (pixel * cover + value * (255 - cover) + 127) / 255; }

TEST(FastPasteInto, BlendsThroughEveryMaskValue)
{
    for (const int type : {GREY, RGB}) {
        Stage stage(type, 256, 256);
        const int bytes = type == RGB ? 3 : 1;
        const std::string before = PixelsOf(stage.image);
        FloatingObject *object = AddObject(stage, 0, 0, 256, 256, 0, 0, false);
        uint8_t *mask = object->pixels + StrideFor(8 * bytes, 256) * 256;
        for (int i = 0; i < 256 * 256 * bytes; ++i) object->pixels[i] = uint8_t(i * 31 + i / 256);
        for (int i = 0; i < 256 * 256; ++i) mask[i] = uint8_t(i / 256);
        FastPasteInto(&stage.image, object, 0);
        const std::string after = PixelsOf(stage.image);
        for (size_t i = 0; i < size_t(256 * 256 * bytes); ++i) {
            const int cover = mask[i / size_t(bytes)];
            ASSERT_EQ(uint8_t(after[i]), Covered(uint8_t(before[i]), object->pixels[i], cover)) << "byte " << i;
        }
    }
}

TEST(FastPasteInto, TakesWhatLiesInThePicture)
{
    for (const int type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const bool smooth = type == GREY || type == RGB;
        for (const int x : {-50, -3, 0, 5, 11, 19, 20, 300}) {
            for (const int y : {-9, -1, 2, 7, 100}) {
                Stage stage(type, 20, 8);
                const int bits = stage.image.bitsPerPixel;
                Raster expected = RasterOfPlane(stage.image.pixels, 20, 8, bits);
                FloatingObject *object = AddObject(stage, x, y, 9, 4, 0xA5, 0, false);
                uint8_t *mask = object->pixels + StrideFor(bits, 9) * 4;
                for (uint32_t i = 0; i < StrideFor(smooth ? 8 : 1, 9) * 4; ++i) mask[i] = uint8_t(i * 77);
                const Raster pixels = RasterOfPlane(object->pixels, 9, 4, bits);
                const Raster cover = RasterOfPlane(mask, 9, 4, smooth ? 8 : 1);
                for (int j = 0; j < 4; ++j) {
                    for (int i = 0; i < 9; ++i) {
                        if (!Inside(expected, x + i, y + j)) continue;
                        Pixel value = Get(expected, x + i, y + j);
                        const int share = Get(cover, i, j)[0];
                        const Pixel pixel = Get(pixels, i, j);
                        for (size_t c = 0; smooth && c < 3; ++c) value[c] = Covered(value[c], pixel[c], share);
                        if (!smooth && share) value = pixel;
                        Set(expected, x + i, y + j, value);
                    }
                }
                FastPasteInto(&stage.image, object, 0);
                EXPECT_EQ(RasterOfPlane(stage.image.pixels, 20, 8, bits).pixels, expected.pixels)
                    << "type " << type << " at " << x << ", " << y;
            }
        }
    }
}

//---- Selected objects and the window

TEST(Objects, OutlineHasTheCornersOfEachSelectedOne)
{
    Stage stage(GREY, 20, 20);
    ImageRecord &image = stage.image;
    EXPECT_EQ(CountSelectedObjects(&image.objectList), 0);
    AddObject(stage, 1, 2, 3, 4, 0, 255, true);
    AddObject(stage, 9, 9, 2, 2, 0, 255, false);
    AddObject(stage, -5, 6, 1, 1, 0, 255, true);
    EXPECT_EQ(CountSelectedObjects(&image.objectList), 2);
    CreateOutlineOfObjects(&image.objectList, &image.objectOutline, image.objectLock);
    ASSERT_EQ(image.objectOutline.pointCount, 8);
    const int expected[8][2] = {{1, 2}, {3, 2}, {3, 5}, {1, 5}, {-5, 6}, {-5, 6}, {-5, 6}, {-5, 6}};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(image.objectOutline.points[i].x, expected[i][0]);
        EXPECT_EQ(image.objectOutline.points[i].y, expected[i][1]);
    }
    image.objectList.objects[0]->selected = image.objectList.objects[2]->selected = 0;
    CreateOutlineOfObjects(&image.objectList, &image.objectOutline, image.objectLock);
    EXPECT_EQ(image.objectOutline.pointCount, 0);
    EXPECT_EQ(image.objectOutline.points, nullptr);
}

struct ToldSize {
    intptr_t width = 0, height = 0;
};

static LRESULT KPZAPI NoteSize(HWND handle, UINT message, WPARAM word, LPARAM extra)
{
    if (message == IMAGE_SIZED) *static_cast<ToldSize *>(HostWindowData(handle)) = {intptr_t(word), extra};
    return 0;
}

TEST(SizeWindow, TellsTheImagesWindow)
{
    ToldSize told;
    const HWND window = HostCreateWindow("image", NoteSize, &told);
    SizeWindow(window, 10, 20, 70000, 80000);
    WaitUntil([&told] { return told.width != 0; });
    EXPECT_EQ(told.width, 70000);
    EXPECT_EQ(told.height, 80000);
    HostDestroyWindow(window);
}
