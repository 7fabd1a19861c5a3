// What the editor remembers, in a folder of the test's own.

#include "host/editor/remembered.h"

#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

struct RememberedTest : testing::Test {
    std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / ("velmorant remembered " + std::to_string(getpid()));
    std::string outer;

    static void Set(const std::string &folder)
    {
#ifdef _WIN32
        _wputenv_s(L"APPDATA", WideOf(folder).c_str());
#else
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
#endif
    }
    void SetUp() override
    {
        const char *before = getenv(
#ifdef _WIN32
            "APPDATA"
#else
            "XDG_CONFIG_HOME"
#endif
        );
        outer = before ? before : "";
        Set(NameOf(folder));
    }
    void TearDown() override
    {
        Set(outer);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

TEST_F(RememberedTest, WhatIsRememberedComesBackAndEmptyIsForgotten)
{
    EXPECT_EQ(Remembered("folder"), "");
    Remember("folder", "C:\\a=b ü");
    Remember("window", "1");
    EXPECT_EQ(Remembered("folder"), "C:\\a=b ü");
    Remember("folder", "");
    EXPECT_EQ(Remembered("folder"), "");
    EXPECT_EQ(Remembered("window"), "1");
}

TEST_F(RememberedTest, TheNewestFileStandsFirstAndTenAreKept)
{
    for (int i = 0; i < 12; ++i) RememberFile("file" + std::to_string(i));
    RememberFile("file5");
    const std::vector<std::string> files = RecentFiles();
    ASSERT_EQ(files.size(), MOST_RECENT);
    EXPECT_EQ(files[0], "file5");
    EXPECT_EQ(files[1], "file11");
    ForgetFile("file11");
    EXPECT_EQ(RecentFiles()[1], "file10");
    EXPECT_EQ(RecentFiles().size(), MOST_RECENT - 1);
}

TEST_F(RememberedTest, AFolderThatCannotBeMadeDisturbsNobody)
{
    Set("/dev/null/nowhere");
    Remember("folder", "there");
    RememberFile("file");
    EXPECT_TRUE(RecentFiles().empty());
}
