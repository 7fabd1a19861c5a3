// Blocks as a worker: cases worked out by hand, one for each thing its head comment says, and the plain version on
// every kind of picture. Its dialog is tried in tests/framework.

#include "tests/effects/plain_version.h"

struct BlocksParameters {
    int32_t width, height;
};

//---- Told cases

TEST(Blocks, TakeTheValueOfTheirTopLeftPixel)
{
    Picture picture = Grey({{1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}, {11, 12, 13, 14, 15}});
    RunWorker(blocks, picture, BlocksParameters{2, 2});
    EXPECT_EQ(picture, Grey({{1, 1, 3, 3, 5}, {1, 1, 3, 3, 5}, {11, 11, 13, 13, 15}}));
}

TEST(Blocks, OfOnePixelOrLessChangeNothing)
{
    Picture picture = RandomPicture({RGB, 17, 13, 8, false, 1});
    const Picture before = CopyOf(picture);
    for (const BlocksParameters &own : {BlocksParameters{1, 1}, {0, 0}, {-5, 1}}) {
        RunWorker(blocks, picture, own);
        EXPECT_TRUE(SameBytes(picture, before));
    }
}

TEST(Blocks, LargerThanThePictureMakeItOneColour)
{
    Picture picture = Rgb({{0x112233, 1}, {2, 3}});
    RunWorker(blocks, picture, BlocksParameters{500, 500});
    EXPECT_EQ(picture, Rgb({{0x112233, 0x112233}, {0x112233, 0x112233}}));
}

TEST(Blocks, KeepBitsAndIndices)
{
    Picture bits = Bits({"0110101110", "1111111111"});
    RunWorker(blocks, bits, BlocksParameters{3, 2});
    EXPECT_EQ(bits, Bits({"0000001110", "0000001110"}));
    Picture palette = Palette({1, 2, 3}, {{2, 0, 1}});
    RunWorker(blocks, palette, BlocksParameters{2, 1});
    EXPECT_EQ(palette, Palette({1, 2, 3}, {{2, 2, 1}}));
}

//---- Against the plain version

TEST(Blocks, EqualThePlainVersionOnEveryKindOfPicture)
{
    const std::vector<BlocksParameters> many = {{10, 10}, {1, 7}, {7, 1}, {3, 2}, {16, 5}, {500, 500}};
    ExpectPlainVersion<BlocksParameters>(blocks, many, 3300, [](Picture &picture, const BlocksParameters &own) {
        ReferenceBlocks(picture, own.width, own.height);
    });
}

//---- Progress and abort

TEST(Blocks, ReportOncePerRowOfBlocks)
{
    Picture picture = EvenGrey(4, 21, 50), row = EvenGrey(4, 1, 50);
    EXPECT_EQ(RunWorker(blocks, picture, BlocksParameters{10, 8}).progress, (std::vector<int32_t>{0, 4, 8}));
    EXPECT_EQ(RunWorker(blocks, row, BlocksParameters{10, 8}).progress, (std::vector<int32_t>{10}));
}

TEST(Blocks, AbortKeepsTheRowsOfBlocksDone)
{
    Picture picture = Grey({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
    RunWorker(blocks, picture, BlocksParameters{2, 2}, {.abortAfter = 1});
    EXPECT_EQ(picture, Grey({{1, 1}, {1, 1}, {5, 6}, {7, 8}}));
    ExpectAbortsAnywhere(blocks, BlocksParameters{4, 3}, 7);
}
