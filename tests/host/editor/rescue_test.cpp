#include "host/editor/rescue.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

struct RescueTest : testing::Test {
    fs::path folder = fs::path(testing::TempDir()) / ("velmorant rescue " + std::to_string(getpid()));
    void SetUp() override
    {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }
    std::string In(const std::string &name) const { return (folder / name).string(); }
};

TEST_F(RescueTest, CopiesStandBesideTheirFilesUnderNewNames)
{
    EXPECT_EQ(RescueFile(In("lake.tif"), "lake.tif", ""), In("lake rescued.tif"));
    std::ofstream(In("lake rescued.tif")) << "taken";
    EXPECT_EQ(RescueFile(In("lake.tif"), "lake.tif", ""), In("lake rescued 2.tif"));
}

TEST_F(RescueTest, AFormatThatLosesSomethingBecomesPng)
{
    EXPECT_EQ(RescueFile(In("lake.jpg"), "lake.jpg", ""), In("lake rescued.png"));
    EXPECT_EQ(RescueFile(In("scan.pgm"), "scan.pgm", ""), In("scan rescued.png"));
}

TEST_F(RescueTest, APictureWithoutAFileGoesToTheFolder)
{
    EXPECT_EQ(RescueFile("", "Untitled 1", folder.string()), In("Untitled 1 rescued.png"));
}
