// The words for pixels, held against text and division: strides, bits, runs of bits, copies of runs, brightness.

#include "maths/pixels.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

// A row's bits as text, found by division rather than by shifts.
static std::string Bits(const std::vector<uint8_t> &row)
{
    std::string text;
    for (const uint8_t byte : row)
        for (int weight = 128; weight > 0; weight /= 2) text += byte / weight % 2 ? '1' : '0';
    return text;
}

static std::vector<uint8_t> RandomRow(size_t bytes, std::mt19937 &generator)
{
    std::vector<uint8_t> row(bytes);
    for (uint8_t &byte : row) byte = uint8_t(generator());
    return row;
}

TEST(ARowsStride, IsPaddedTo32Bits)
{
    EXPECT_EQ(RowStride(1, 1), 4);
    EXPECT_EQ(RowStride(1, 32), 4);
    EXPECT_EQ(RowStride(1, 33), 8);
    EXPECT_EQ(RowStride(8, 5), 8);
    EXPECT_EQ(RowStride(24, 4), 12);
    EXPECT_EQ(RowStride(0, 77), 0) << "there is no plane";
}

TEST(ARowsStride, HasMoreBitsThanAnInt) { EXPECT_EQ(RowStride(24, 700'000'000), 2'100'000'000); }

TEST(OneBitPixels, StandMostSignificantFirst)
{
    const uint8_t row[2] = {0b10000001, 0b01000000};
    EXPECT_TRUE(BitAt(row, 0) && BitAt(row, 7) && BitAt(row, 9));
    EXPECT_FALSE(BitAt(row, 1) || BitAt(row, 8) || BitAt(row, 15));
}

TEST(SettingABit, LeavesItsNeighbours)
{
    uint8_t row[2] = {0, 0xFF};
    SetBit(row, 3, true);
    SetBit(row, 12, false);
    EXPECT_EQ(row[0], 0b00010000);
    EXPECT_EQ(row[1], 0b11110111);
}

TEST(BitsAsBytes, GoThereAndBack)
{
    std::mt19937 generator(5);
    for (int count = 0; count <= 40; ++count) {
        const std::vector<uint8_t> row = RandomRow(8, generator);
        std::vector<uint8_t> bytes(41, 77), back(8, 0xA5);
        UnpackBits(row.data(), count, bytes.data());
        for (int x = 0; x < count; ++x) EXPECT_EQ(bytes[size_t(x)], Bits(row)[size_t(x)] - '0') << count;
        EXPECT_EQ(bytes[size_t(count)], 77) << "nothing is written behind the run";
        const std::string before = Bits(back);
        PackBits(bytes.data(), count, back.data());
        EXPECT_EQ(Bits(back), Bits(row).substr(0, size_t(count)) + before.substr(size_t(count))) << count;
    }
}

TEST(ARun, IsCopiedToAnyPlaceAndNothingElse)
{
    std::mt19937 generator(9);
    for (int trial = 0; trial < 4000; ++trial) {
        const int bits = trial % 3 == 0 ? 24 : trial % 3 == 1 ? 8 : 1;
        const int count = int(generator() % 41), fromX = int(generator() % 20), toX = int(generator() % 20);
        const std::vector<uint8_t> from = RandomRow(size_t(RowStride(bits, 62)), generator);
        std::vector<uint8_t> to = RandomRow(from.size(), generator);
        std::string expected = Bits(to);
        expected.replace(size_t(toX * bits), size_t(count * bits), Bits(from), size_t(fromX * bits),
                         size_t(count * bits));
        CopyRun(from.data(), fromX, to.data(), toX, count, bits);
        ASSERT_EQ(Bits(to), expected) << bits << " bits, " << count << " from " << fromX << " to " << toX;
    }
}

TEST(ARun, OfNoPixelsIsNotCopied)
{
    uint8_t to[4] = {1, 2, 3, 4};
    const uint8_t from[4] = {};
    for (const int bits : {1, 8, 24}) CopyRun(from, 0, to, 0, -1, bits);
    EXPECT_EQ(to[0], 1);
}

TEST(Brightness, WeighsRedGreenAndBlue)
{
    const uint8_t blueGreenRed[3] = {10, 20, 30};
    const int expected = (11 * 30 + 16 * 20 + 5 * 10) / 32;
    EXPECT_EQ(Brightness(30, 20, 10), expected);
    EXPECT_EQ(Brightness(blueGreenRed), expected);
    EXPECT_EQ(Brightness(uint32_t(0x0A141E)), expected) << "0x00BBGGRR";
    EXPECT_EQ(Brightness(255, 255, 255), 255);
}
