// What is protected comes back, for every type of picture.

#include "host/editor/protecting.h"

#include <gtest/gtest.h>

static Protection Shares(const std::vector<uint8_t> &shares)
{
    Protection made = NewProtection(int32_t(shares.size()), 1);
    std::copy(shares.begin(), shares.end(), made.bytes.begin());
    return made;
}

TEST(Protecting, BytesAreMixedByTheirShares)
{
    const uint8_t before[] = {100, 100, 100, 100};
    uint8_t after[] = {200, 200, 200, 200};
    BringBack({before, after, 8, true}, Shares({255, 0, 204, 127}));
    EXPECT_EQ(after[0], 200);
    EXPECT_EQ(after[1], 100);
    EXPECT_EQ(after[2], 180);
    EXPECT_EQ(after[3], 150);
}

TEST(Protecting, RunsOfAnyLengthEndWhereTheyEnd)
{
    for (int length = 1; length < 40; ++length) {
        for (const uint8_t between : {0, 90, 255}) {
            std::vector<uint8_t> shares(80, between == 255 ? 0 : 255);
            std::fill_n(shares.begin() + length / 2, length, between);
            const std::vector<uint8_t> before(240, 30);
            std::vector<uint8_t> after(240, 230);
            BringBack({before.data(), after.data(), 24, true}, Shares(shares));
            for (size_t c = 0; c < after.size(); ++c) {
                const int share = shares[c / 3];
                ASSERT_EQ(after[c], share == 255 ? 230 : share == 0 ? 30 : 101) << length << ", byte " << c;
            }
        }
    }
}

TEST(Protecting, EntriesOfAPaletteAreTheOneOrTheOther)
{
    const uint8_t before[] = {1, 1, 1, 1};
    uint8_t after[] = {7, 7, 7, 7};
    BringBack({before, after, 8, false}, Shares({255, 128, 127, 0}));
    EXPECT_EQ(after[0], 7);
    EXPECT_EQ(after[1], 7);
    EXPECT_EQ(after[2], 1);
    EXPECT_EQ(after[3], 1);
}

TEST(Protecting, ColoursAndBitsHaveRowsOfTheirOwn)
{
    Protection lower = NewProtection(3, 2);
    for (int x = 0; x < 3; ++x) lower.bytes[size_t(RowStride(8, 3)) + size_t(x)] = 0;
    std::vector<uint8_t> before(size_t(2 * RowStride(24, 3)), 10), after(before.size(), 90);
    BringBack({before.data(), after.data(), 24, true}, lower);
    EXPECT_EQ(after[8], 90);
    EXPECT_EQ(after[size_t(RowStride(24, 3))], 10);
    EXPECT_EQ(after[size_t(RowStride(24, 3)) + 8], 10);

    std::vector<uint8_t> bits(size_t(2 * RowStride(1, 3)), 0), set(bits.size(), 255);
    BringBack({bits.data(), set.data(), 1, true}, lower);
    EXPECT_TRUE(BitAt(set.data(), 2));
    EXPECT_FALSE(BitAt(set.data() + RowStride(1, 3), 2));
    EXPECT_TRUE(BitAt(set.data() + RowStride(1, 3), 3)) << "what pads a row stays";
}

TEST(Protecting, WhatAMaskLeavesOutIsProtected)
{
    uint8_t grey[] = {0, 255, 55, 0};
    Protection made = ProtectionFromMask({grey, 8, 3, 1});
    EXPECT_EQ(made.bytes[0], 0);
    EXPECT_EQ(made.bytes[1], 255);
    EXPECT_EQ(made.bytes[2], 55);
    uint8_t bits[] = {0x40, 0, 0, 0};
    made = ProtectionFromMask({bits, 1, 3, 1});
    EXPECT_EQ(made.bytes[0], 0);
    EXPECT_EQ(made.bytes[1], 255);
    EXPECT_TRUE(made.any);
    made = NewProtection(3, 2);
    LookForProtected(made);
    EXPECT_FALSE(made.any);
}

TEST(Protecting, TheScreensWordsAreMixedAsPixelsAre)
{
    const uint32_t before[] = {0x102030, 0x102030, 0x000000}, free[] = {0xFFFFFF, 0, 0x7F7F7F};
    uint32_t after[] = {0xA0B0C0, 0xA0B0C0, 0xFFFFFF};
    BringBackSeen(before, after, free, 3);
    EXPECT_EQ(after[0], 0xA0B0C0u);
    EXPECT_EQ(after[1], 0x102030u);
    EXPECT_EQ(after[2], 0x7F7F7Fu);
}
