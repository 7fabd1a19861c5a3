// LoadFile and SaveFile: bytes there and back, nothing lost when writing fails, and cancelling.

#include "host/misc/misc.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

static constexpr char TYPES[] = "Filter files (*.flt)\0*.crv\0All files (*.*)\0*.*\0";

// Answers with a name, and notes what was asked.
struct Answer {
    std::string name;
    BOOL cancel = FALSE;
    int asked = 0;
    BOOL save = FALSE;
    std::string title, suggestion;
    const char *types = nullptr;
};

static BOOL KPZAPI GiveName(void *context, BOOL save, const char *title, const char *types, char *name)
{
    Answer &answer = *static_cast<Answer *>(context);
    ++answer.asked;
    answer.save = save;
    answer.title = title;
    answer.types = types;
    answer.suggestion = name;
    if (answer.cancel) return FALSE;
    strcpy(name, answer.name.c_str());
    return TRUE;
}

struct FilesTest : testing::Test {
    std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / ("misc_files_" + test);
    Answer answer;

    FilesTest()
    {
        std::filesystem::create_directories(folder);
        answer.name = (folder / "kernel.flt").string();
        MiscAnswerFileNames(GiveName, &answer);
    }
    ~FilesTest() override
    {
        MiscAnswerFileNames(nullptr, nullptr);
        std::filesystem::remove_all(folder);
    }
    std::string Contents() const
    {
        std::ifstream file(answer.name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    int Files() const { return int(std::distance(std::filesystem::directory_iterator(folder), {})); }
    int32_t Save(const std::string &text)
    {
        return SaveFile(text.data(), int32_t(text.size()), 0, "Filter Save", TYPES, 0, nullptr);
    }
    // The contents, or "nothing".
    std::string Load()
    {
        char name[256] = "suggested.flt";
        char *text = LoadFile(name, "Filter Load", TYPES, 0, nullptr, 0);
        const std::string loaded = text ? text : "nothing";
        if (text) { EXPECT_EQ(answer.name, name); }
        KPZ_FreeMem(text);
        return loaded;
    }
};

TEST_F(FilesTest, SavedBytesAreWrittenAsTheyAre)
{
    const std::string text("line\n\r 1 -2\0 end", 16);
    EXPECT_NE(Save(text), 0);
    EXPECT_EQ(Contents(), text);
    EXPECT_EQ(answer.save, TRUE);
    EXPECT_EQ(answer.title, "Filter Save");
    EXPECT_EQ(answer.types, TYPES);
    EXPECT_EQ(Files(), 1) << "nothing is left beside it";
}

TEST_F(FilesTest, SavingReplacesWhatStoodThere)
{
    Save("a longer text");
    EXPECT_NE(Save("short"), 0);
    EXPECT_EQ(Contents(), "short");
}

TEST_F(FilesTest, LoadedTextEndsInAZeroByteAndTheNameComesBack)
{
    Save("contents");
    EXPECT_EQ(Load(), "contents");
    EXPECT_EQ(answer.save, FALSE);
    EXPECT_EQ(answer.title, "Filter Load");
    EXPECT_EQ(answer.suggestion, "suggested.flt");
}

TEST_F(FilesTest, AnEmptyFileIsAnEmptyText)
{
    Save("");
    EXPECT_EQ(Load(), "");
}

TEST_F(FilesTest, CancellingLoadsAndSavesNothing)
{
    answer.cancel = TRUE;
    EXPECT_EQ(Save("text"), 0);
    EXPECT_EQ(Load(), "nothing");
    EXPECT_EQ(answer.asked, 2);
    EXPECT_EQ(Files(), 0);
}

TEST_F(FilesTest, WhatCannotBeReadOrWrittenAnswersNothing)
{
    EXPECT_EQ(Load(), "nothing") << "no such file";
    answer.name = folder.string();
    EXPECT_EQ(Load(), "nothing") << "a folder";
    answer.name = (folder / "missing" / "kernel.flt").string();
    EXPECT_EQ(Save("text"), 0);
    answer.name = "";
    EXPECT_EQ(Save("text"), 0);
}

TEST_F(FilesTest, AFolderIsNotReplaced)
{
    std::filesystem::create_directory(answer.name);
    EXPECT_EQ(Save("new"), 0);
    EXPECT_TRUE(std::filesystem::is_directory(answer.name));
    EXPECT_EQ(Files(), 1);
}

TEST_F(FilesTest, NobodyToAskIsLikeCancelling)
{
    MiscAnswerFileNames(nullptr, nullptr);
    EXPECT_EQ(Save("text"), 0);
    EXPECT_EQ(Load(), "nothing");
}
