#include "host/editor/batch_program.h"

#include "host/paths/paths.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

// A folder as it is installed: the editor's own, and `command` within it.
struct BatchProgram : testing::Test {
    const std::filesystem::path folder = PathOf(testing::TempDir()) / PathOf("editor Ł " + std::to_string(getpid()));

    BatchProgram() { std::filesystem::create_directories(folder / "command"); }
    ~BatchProgram() override { std::filesystem::remove_all(folder); }

    std::filesystem::path Put(const std::filesystem::path &program) const
    {
        const std::string name = NameOf(folder / program);
        if (FILE *file = OpenByName(name, "wb")) fclose(file);
        return folder / program;
    }
    std::filesystem::path Chosen(bool of64Bits) const { return PathOf(BatchProgramIn(NameOf(folder), of64Bits)); }
};

TEST_F(BatchProgram, IsNoneWhereThereIsNone)
{
    EXPECT_TRUE(Chosen(true).empty());
    EXPECT_TRUE(Chosen(false).empty());
}

TEST_F(BatchProgram, IsTheOneBesideTheEditor)
{
    const std::filesystem::path own = Put("velmorant.exe");
    EXPECT_EQ(Chosen(true), own);
    EXPECT_EQ(Chosen(false), own);
}

TEST_F(BatchProgram, IsTheOneOf64BitsWhereThatCanBeStarted)
{
    const std::filesystem::path own = Put("velmorant.exe"), large = Put("command/velmorant.exe");
    EXPECT_EQ(Chosen(true), large);
    EXPECT_EQ(Chosen(false), own);
}

TEST_F(BatchProgram, IsNotOneThatCannotBeStarted)
{
    Put("command/velmorant.exe");
    EXPECT_TRUE(Chosen(false).empty());
}
