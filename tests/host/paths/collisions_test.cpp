// Names that are one file.

#include "host/paths/collisions.h"
#include "host/paths/paths.h"

#include <gtest/gtest.h>
#include <random>

typedef std::pair<size_t, size_t> Places;

struct NamesOfOneFileTest : testing::Test {
    std::string folder = NameOf(std::filesystem::temp_directory_path() /
                                PathOf("velmorant ünï collisions " + std::to_string(std::random_device()())));

    NamesOfOneFileTest() { std::filesystem::create_directories(PathOf(folder)); }
    ~NamesOfOneFileTest() override
    {
        EXPECT_TRUE(std::filesystem::is_empty(PathOf(folder))) << "nothing is left there";
        std::filesystem::remove_all(PathOf(folder));
    }
};

TEST_F(NamesOfOneFileTest, AreEqualOnes)
{
    EXPECT_EQ(NamesOfOneFile(folder, {}), Places(0, 0));
    EXPECT_EQ(NamesOfOneFile(folder, {"a", "b", "ü", "日.png", "本.png"}), Places(0, 0));
    EXPECT_EQ(NamesOfOneFile(folder, {"a", "b", "c", "b"}), Places(1, 3));
}

TEST_F(NamesOfOneFileTest, AreThoseThatTheFileSystemDoesNotTellApart)
{
    const std::vector<std::string> names = {"b.png", "x.bmp", "Ł.bmp", "X.bmp"}, others = {"ü.bmp", "Ü.bmp"};
    std::error_code ignored;
    std::filesystem::create_directory(PathOf(folder + "/probe"), ignored);
    const bool tellsApart = !std::filesystem::exists(PathOf(folder + "/PROBE"));
    std::filesystem::remove(PathOf(folder + "/probe"));
    EXPECT_EQ(NamesOfOneFile(folder, names), tellsApart ? Places(0, 0) : Places(1, 3));
    EXPECT_EQ(NamesOfOneFile(folder, others), tellsApart ? Places(0, 0) : Places(0, 1));
}

TEST_F(NamesOfOneFileTest, AreEqualOnesWhereNothingCanBeTried)
{
    EXPECT_EQ(NamesOfOneFile(folder + "/none", {"x", "X"}), Places(0, 0));
    EXPECT_EQ(NamesOfOneFile(folder + "/none", {"x", "x"}), Places(0, 1));
}
