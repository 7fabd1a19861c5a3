// What a run reaches: the whole image, the selected area, objects, a new object; for pixels, masks and what is left
// alone.

#include "tests/host/misc/stage.h"

#include <gtest/gtest.h>

static bool BitOf(const std::string &plane, uint32_t stride, int x, int y)
{
    return uint8_t(plane[y * stride + uint32_t(x >> 3)]) >> (7 - x % 8) & 1;
}

// The bits or bytes of a pixel as one number.
static int PixelOf(const std::string &plane, const ImageRecord &image, int x, int y)
{
    const uint32_t stride = StrideFor(image.bitsPerPixel, image.width);
    if (image.bitsPerPixel == 1) return BitOf(plane, stride, x, y);
    const int bytes = image.bitsPerPixel / 8;
    int value = 0;
    for (int c = 0; c < bytes; ++c) value = value << 8 | uint8_t(plane[y * stride + uint32_t(x * bytes + c)]);
    return value;
}

static void KPZAPI InvertRows(EffectBlock *block)
{
    const ImageView view = block->view;
    const uint32_t stride = StrideFor(view.bitsPerPixel, view.width);
    for (uint32_t i = 0; i < stride * uint32_t(view.height); ++i) view.pixels[i] ^= 0xFF;
    if (!view.mask) return;
    const uint32_t maskStride = StrideFor(view.maskBitsPerPixel, view.width);
    for (uint32_t i = 0; i < maskStride * uint32_t(view.height); ++i) view.mask[i] ^= 0xFF;
}

static void KPZAPI InvertPixels(EffectBlock *block)
{
    block->view.mask = nullptr;
    InvertRows(block);
}

TEST(Scope, WholeImageIsWorkedOnInPlaceWithItsMask)
{
    Stage stage(RGB, 5, 3, 8);
    const uint8_t *pixels = stage.image.pixels, *mask = stage.image.mask;
    const std::string before = PixelsOf(stage.image);
    RunWorker(stage, AddAmount, SCOPE_IMAGE, 3);
    EXPECT_EQ(stage.image.pixels, pixels);
    EXPECT_EQ(stage.image.mask, mask);
    EXPECT_EQ(uint8_t(PixelsOf(stage.image)[7]), uint8_t(before[7] + 3));
    EXPECT_EQ(stage.image.mask[2], 101 + 2 + 3);
}

TEST(Scope, SelectedRectangleAloneChanges)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const int32_t mode : {SCOPE_IMAGE, SCOPE_ALL}) {
            Stage stage(type, 37, 6);
            Select(stage, 5, 1, 30, 4);
            const std::string before = PixelsOf(stage.image);
            RunWorker(stage, InvertRows, mode);
            const std::string after = PixelsOf(stage.image);
            const int most = type == ONE_BIT ? 1 : type == RGB ? 0xFFFFFF : 0xFF;
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 37; ++x) {
                    const bool inside = x >= 5 && x <= 30 && y >= 1 && y <= 4;
                    const int old = PixelOf(before, stage.image, x, y);
                    ASSERT_EQ(PixelOf(after, stage.image, x, y), inside ? most - old : old)
                        << "type " << type << " mode " << mode << " at " << x << ", " << y;
                }
            }
        }
    }
}

static ImageView seen;

static void KPZAPI LookAtView(EffectBlock *block) { seen = block->view; }

TEST(Scope, SelectedRectangleIsAPictureOfItsSizeToTheWorker)
{
    Stage stage(GREY, 20, 10, 8);
    Select(stage, 4, 2, 10, 5);
    RunWorker(stage, LookAtView);
    EXPECT_EQ(seen.width, 7);
    EXPECT_EQ(seen.height, 4);
    EXPECT_NE(seen.pixels, stage.image.pixels);
    EXPECT_NE(seen.mask, stage.image.mask);
    EXPECT_EQ(seen.maskInUse, 0);
    EXPECT_EQ(seen.abortFlag, &stage.image.abortRequest);
    EXPECT_EQ(stage.block.common.view.pixels, stage.image.pixels);   // and afterwards the block sees the image again
    EXPECT_EQ(stage.block.common.view.width, 20);
}

TEST(Scope, SelectionIsCutToThePicture)
{
    Stage stage(GREY, 20, 10);
    Select(stage, -5, -5, 3, 100);
    RunWorker(stage, LookAtView);
    EXPECT_EQ(seen.width, 4);
    EXPECT_EQ(seen.height, 10);
    seen = {};
    Select(stage, 30, 0, 40, 5);
    RunWorker(stage, LookAtView);
    EXPECT_EQ(seen.width, 0) << "nothing of the area lies in the picture";
}

TEST(Scope, SelectionOfAllIsWorkedOnInPlace)
{
    Stage stage(GREY, 20, 10);
    Select(stage, 0, 0, 19, 9);
    RunWorker(stage, LookAtView);
    EXPECT_EQ(seen.pixels, stage.image.pixels);
}

TEST(Scope, SelectedRectangleOfTheMaskAloneChanges)
{
    for (const int32_t bits : {1, 8}) {
        Stage stage(PALETTE, 21, 3, bits);
        Select(stage, 3, 1, 12, 1);
        const std::string before(reinterpret_cast<char *>(stage.image.mask), StrideFor(bits, 21) * 3);
        RunWorker(stage, InvertRows);
        const std::string after(reinterpret_cast<char *>(stage.image.mask), StrideFor(bits, 21) * 3);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 21; ++x) {
                const bool inside = x >= 3 && x <= 12 && y == 1;
                const uint32_t stride = StrideFor(bits, 21), at = uint32_t(y) * stride + uint32_t(x * bits / 8);
                const bool changed = bits == 8 ? uint8_t(after[at]) == uint8_t(~before[at])
                                               : BitOf(after, stride, x, y) != BitOf(before, stride, x, y);
                const bool same = bits == 8 ? after[at] == before[at] : !changed;
                ASSERT_TRUE(inside ? changed : same) << x << ", " << y;
            }
        }
    }
}

//---- Floating objects

TEST(Scope, ObjectsWithoutASelectedOneChangeNothing)
{
    Stage stage(GREY, 8, 8);
    AddObject(stage, 1, 1, 3, 3, 10, 255, false);
    const std::string before = BytesOf(stage.image);
    RunWorker(stage, InvertRows, SCOPE_OBJECTS);
    EXPECT_EQ(BytesOf(stage.image), before);
}

TEST(Scope, SelectedObjectsAreWorkedOnWithTheirOwnMasks)
{
    Stage stage(RGB, 8, 8, 8);
    const FloatingObject *left = AddObject(stage, 0, 0, 3, 2, 10, 255, false);
    const FloatingObject *right = AddObject(stage, 4, 0, 5, 2, 20, 200, true);
    RunWorker(stage, LookAtView, SCOPE_OBJECTS);
    EXPECT_EQ(seen.width, 5);
    EXPECT_EQ(seen.height, 2);
    EXPECT_EQ(seen.pixels, right->pixels);
    EXPECT_EQ(seen.mask, right->pixels + StrideFor(24, 5) * 2);
    EXPECT_EQ(seen.maskInUse, 1);
    EXPECT_EQ(seen.maskBitsPerPixel, 8);
    const std::string before = PixelsOf(stage.image);
    RunWorker(stage, AddAmount, SCOPE_OBJECTS, 1);
    EXPECT_EQ(left->pixels[0], 10);
    EXPECT_EQ(right->pixels[0], 21);
    EXPECT_EQ(right->pixels[StrideFor(24, 5) * 2], 201);
    EXPECT_EQ(PixelsOf(stage.image), before);
}

TEST(Scope, PaletteObjectsHaveOneBitMasks)
{
    Stage stage(PALETTE, 8, 8);
    AddObject(stage, 4, 0, 5, 2, 20, 0xFF, true);
    RunWorker(stage, LookAtView, SCOPE_OBJECTS);
    EXPECT_EQ(seen.maskBitsPerPixel, 1);
}

TEST(Scope, AllWithoutObjectsIsTheImage)
{
    Stage image(GREY, 8, 8, 8), all(GREY, 8, 8, 8);
    RunWorker(image, AddAmount, SCOPE_IMAGE, 5);
    RunWorker(all, AddAmount, SCOPE_ALL, 5);
    EXPECT_EQ(BytesOf(image.image), BytesOf(all.image));
}

TEST(Scope, AllIsTheBaseBeneathAndEveryObjectPutTogether)
{
    Stage stage(GREY, 8, 4);
    KeepBase(stage);
    AddObject(stage, 6, 3, 4, 4, 100, 253, false);   // 255 after the run
    AddObject(stage, -1, -1, 2, 2, 50, 127, false);
    const int under = stage.image.pixels[0] + 2;
    RunWorker(stage, AddAmount, SCOPE_ALL, 2);
    EXPECT_EQ(stage.image.base.pixels[0], under);
    EXPECT_EQ(stage.image.pixels[1], stage.image.base.pixels[1]);
    EXPECT_EQ(stage.image.pixels[3 * 8 + 6], 102);
    EXPECT_EQ(stage.image.pixels[3 * 8 + 7], 102);
    const int cover = 127 + 2;   // the objects' masks are worked on too
    EXPECT_EQ(stage.image.pixels[0], (52 * cover + under * (255 - cover) + 127) / 255);
    EXPECT_EQ(MiscUndoCount(&stage.image), 1);
}

TEST(Scope, OneBitObjectsCoverWhereTheirMaskIsSet)
{
    Stage stage(ONE_BIT, 16, 1);
    stage.image.pixels[0] = stage.image.pixels[1] = 0;
    KeepBase(stage);
    FloatingObject *object = AddObject(stage, 3, 0, 8, 1, 0xFF, 0, true);
    object->pixels[StrideFor(1, 8)] = 0b10100001;
    RunWorker(stage, LookAtView, SCOPE_OBJECTS);
    EXPECT_EQ(stage.image.pixels[0], 0b00010100);
    EXPECT_EQ(stage.image.pixels[1], 0b00100000);
}

//---- A new object

// Adds to pixels alone, so that the mask goes on telling what is covered.
static void KPZAPI AddToPixels(EffectBlock *block)
{
    block->view.mask = nullptr;
    AddAmount(block);
}

TEST(Scope, SelectedAreaBecomesAnObjectInItsPlaceAndThatIsWorkedOn)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const int32_t maskBits = type == GREY || type == RGB ? 8 : 1;
        Stage stage(type, 37, 6, maskBits);
        ImageRecord &image = stage.image;
        Select(stage, 5, 1, 30, 4);
        const std::string before = PixelsOf(image), mask(reinterpret_cast<char *>(image.mask), 6);
        RunWorker(stage, InvertPixels, SCOPE_NEW_OBJECT);
        ASSERT_EQ(image.objectList.count, 1) << "type " << type;
        const FloatingObject &object = *image.objectList.objects[0];
        EXPECT_EQ(object.mark[0], 100);
        EXPECT_EQ(object.mark[1], 0);
        EXPECT_EQ(object.mark[2], 1);
        EXPECT_EQ(object.selected, 0);
        EXPECT_EQ(object.number, 1);
        EXPECT_EQ(image.nextObjectNumber, 2);
        EXPECT_EQ(object.x, 5);
        EXPECT_EQ(object.y, 1);
        EXPECT_EQ(object.width, 26);
        EXPECT_EQ(object.height, 4);
        EXPECT_EQ(object.pixels, reinterpret_cast<const uint8_t *>(&object + 1));
        const std::string beneath(reinterpret_cast<char *>(image.base.pixels), before.size());
        EXPECT_EQ(beneath, before) << "the picture beneath stays";
        EXPECT_EQ(std::string(reinterpret_cast<char *>(image.mask), 6), mask) << "and so does its mask";
        const int most = type == ONE_BIT ? 1 : type == RGB ? 0xFFFFFF : 0xFF;
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 37; ++x) {
                const bool inside = x >= 5 && x <= 30 && y >= 1 && y <= 4;
                const int old = PixelOf(before, image, x, y);
                ASSERT_EQ(PixelOf(PixelsOf(image), image, x, y), inside ? most - old : old)
                    << "type " << type << " at " << x << ", " << y;
            }
        }
        EXPECT_EQ(MiscUndoCount(&image), 1);
        MiscUndo(&image);
        EXPECT_EQ(image.objectList.count, 0);
        EXPECT_EQ(image.base.pixels, nullptr);
        EXPECT_EQ(PixelsOf(image), before);
        EXPECT_EQ(image.nextObjectNumber, 1);
    }
}

TEST(Scope, NewObjectIsSeenWithItsOwnMaskInUse)
{
    Stage stage(RGB, 20, 10, 8);
    Select(stage, 4, 2, 10, 5);
    RunWorker(stage, LookAtView, SCOPE_NEW_OBJECT);
    const FloatingObject &object = *stage.image.objectList.objects[0];
    EXPECT_EQ(seen.width, 7);
    EXPECT_EQ(seen.height, 4);
    EXPECT_EQ(seen.pixels, object.pixels);
    EXPECT_EQ(seen.mask, object.pixels + StrideFor(24, 7) * 4);
    EXPECT_EQ(seen.maskInUse, 1);
    EXPECT_EQ(seen.maskBitsPerPixel, 8);
    EXPECT_EQ(seen.mask[0], 255);
    EXPECT_EQ(seen.mask[6], 255);
    EXPECT_EQ(seen.mask[7], 0) << "padding";
}

TEST(Scope, FreeOutlineIsTheNewObjectsMask)
{
    for (const int32_t type : {GREY, PALETTE}) {
        Stage stage(type, 8, 8);
        Select(stage, 1, 1, 4, 4);
        stage.image.selection.points[3] = {1, 1};   // three corners of the rectangle
        const std::string before = PixelsOf(stage.image);
        RunWorker(stage, AddToPixels, SCOPE_NEW_OBJECT, 100);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x) {
                const bool inside = y >= 1 && x <= 4 && x >= y && y <= 4;
                const int old = PixelOf(before, stage.image, x, y);
                EXPECT_EQ(PixelOf(PixelsOf(stage.image), stage.image, x, y), uint8_t(inside ? old + 100 : old))
                    << "type " << type << " at " << x << ", " << y;
            }
        }
    }
}

TEST(Scope, WithoutASelectedAreaTheWholePictureBecomesAnObject)
{
    Stage stage(RGB, 8, 6, 8);
    const std::string before = PixelsOf(stage.image);
    RunWorker(stage, AddToPixels, SCOPE_NEW_OBJECT, 9);
    ASSERT_EQ(stage.image.objectList.count, 1);
    EXPECT_EQ(stage.image.objectList.objects[0]->width, 8);
    EXPECT_EQ(stage.image.objectList.objects[0]->height, 6);
    EXPECT_EQ(uint8_t(PixelsOf(stage.image)[5]), uint8_t(before[5] + 9));
    EXPECT_EQ(stage.image.mask[0], 101);
}

TEST(Scope, AreaOutsideThePictureBecomesNoObject)
{
    Stage stage(GREY, 8, 8);
    Select(stage, 30, 0, 40, 5);
    const std::string before = BytesOf(stage.image);
    RunWorker(stage, AddAmount, SCOPE_NEW_OBJECT, 9);
    EXPECT_EQ(BytesOf(stage.image), before);
}

TEST(Scope, NewObjectsAreCutFromBeneathTheOthersAndStandOnTop)
{
    Stage stage(GREY, 8, 8);
    KeepBase(stage);
    AddObject(stage, 0, 0, 4, 4, 200, 255, true);
    Select(stage, 2, 2, 5, 5);
    const int under = stage.image.base.pixels[2 * 8 + 2];
    RunWorker(stage, AddToPixels, SCOPE_NEW_OBJECT, 1);
    ASSERT_EQ(stage.image.objectList.count, 2);
    EXPECT_EQ(stage.image.objectList.objects[1]->number, 2);
    EXPECT_EQ(stage.image.pixels[0], 200);
    EXPECT_EQ(stage.image.pixels[2 * 8 + 2], under + 1);
}

TEST(Scope, ListOfObjectsGrowsBeforeItsLastEntryIsTaken)
{
    Stage stage(GREY, 2, 2);
    for (int i = 0; i < 1023; ++i) AddObject(stage, 0, 0, 1, 1, 0, 0, false);
    RunWorker(stage, LookAtView, SCOPE_NEW_OBJECT);
    EXPECT_EQ(stage.image.objectList.count, 1024);
    EXPECT_EQ(stage.image.objectList.capacity, 2048);
}
