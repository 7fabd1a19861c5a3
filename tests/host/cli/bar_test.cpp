// The bar on a terminal, while runs are under way.

#include "tests/host/cli/workplace.h"

#include <filesystem>

namespace
{

class Bar : public Workplace
{
};

}   // namespace

TEST_F(Bar, IsShownAndErased)
{
    const std::string input = Save("in.png", Sample(RGB));
    RunningProcess process = StartOnTerminal({"apply", "noise", input, In("out.png"), "--seed", "1"});
    EXPECT_EQ(WaitForEnd(process), 0);
    EXPECT_NE(process.errors.find("noise ["), std::string::npos) << process.errors;
    EXPECT_EQ(process.errors.back(), '\r') << "the bar is still there";

    process = StartOnTerminal({"apply", "noise", input, In("out.png"), "--quiet"});
    EXPECT_EQ(WaitForEnd(process), 0);
    EXPECT_EQ(process.errors, "");
}

TEST_F(Bar, IsOneForAllPicturesOfABatch)
{
    std::vector<std::string> command = {"batch", "noise", "--seed", "1", "--output-folder", In("out")};
    std::filesystem::create_directory(PathOf(In("out")));
    for (int i = 0; i < 4; ++i) command.push_back(Save("in" + std::to_string(i) + ".png", Sample(RGB)));
    RunningProcess process = StartOnTerminal(command);
    EXPECT_EQ(WaitForEnd(process), 0);
    EXPECT_NE(process.errors.find("noise 0 of 4 ["), std::string::npos) << process.errors;
    EXPECT_EQ(process.errors.find('\n'), std::string::npos) << process.errors;
}

TEST_F(Bar, IsOneForAllStepsAndTellsTheStep)
{
    RunningProcess process = StartOnTerminal({"apply", "wave", Save("in.png", Sample(RGB)), In("out.png"), "--then",
                                              "noise", "--seed", "1", "--then", "solarize"});
    EXPECT_EQ(WaitForEnd(process), 0);
    // A step that has ended before the program looks again is not shown.
    const auto shown = [&](const char *bar) { return process.errors.find(bar) != std::string::npos; };
    EXPECT_TRUE(shown("wave, step 1 of 3 [") || shown("noise, step 2 of 3 [") || shown("solarize, step 3 of 3 ["))
        << process.errors;
    EXPECT_FALSE(shown("wave [") || shown("noise [") || shown("solarize [")) << process.errors;
    EXPECT_EQ(process.errors.find('\n'), std::string::npos) << process.errors;
    EXPECT_EQ(process.errors.back(), '\r') << "the bar is still there";
}
