// Ctrl-C, and the request to end that a system sends: runs are aborted, nothing is written, exit code 130.

#include "tests/host/cli/workplace.h"

#include <csignal>
#include <filesystem>
#include <sys/stat.h>

namespace
{

class Interrupt : public Workplace
{
};

bool IsEmpty(const std::string &folder) { return std::filesystem::is_empty(PathOf(folder)); }

}   // namespace

TEST_F(Interrupt, WhileReadingEndsAtOnce)
{
    std::filesystem::create_directory(PathOf(In("out")));
    RunningProcess process = StartOnTerminal({"apply", "noise", "-", In("out/out.pgm")});
    FeedAndWaitUntilRead(process, "P5 10 10 255\nabc");
    Signal(process, SIGINT);
    EXPECT_EQ(WaitForEnd(process), 130);
    EXPECT_TRUE(IsEmpty(In("out")));
}

// The bar shows that a run has begun; what is left of it takes a few hundred milliseconds at least.
#ifdef NDEBUG
TEST_F(Interrupt, DuringARunAbortsItAndWritesNothing)
{
    const std::string input = Save("in.ppm", NewPicture(RGB, 6000, 4000));
    std::filesystem::create_directory(PathOf(In("out")));
    for (const int signal : {SIGINT, SIGTERM}) {
        RunningProcess process = StartOnTerminal({"apply", "noise", input, In("out/out.ppm")});
        EXPECT_TRUE(WaitForText(process, "noise ["));
        Signal(process, signal);
        EXPECT_EQ(WaitForEnd(process), 130);
        EXPECT_EQ(process.errors.back(), '\r') << "the bar is still there";
        EXPECT_TRUE(IsEmpty(In("out")));
    }
}

TEST_F(Interrupt, DuringALaterStepLeavesTheOutputAsItWas)
{
    const std::string input = Save("in.ppm", NewPicture(RGB, 6000, 4000)), output = SaveText("out.ppm", "older");
    RunningProcess process = StartOnTerminal({"apply", "solarize", input, output, "--then", "noise"});
    EXPECT_TRUE(WaitForText(process, "noise, step 2 of 2 ["));
    Signal(process, SIGINT);
    EXPECT_EQ(WaitForEnd(process), 130);
    EXPECT_EQ(BytesOf(output), "older");
}
#endif

TEST_F(Interrupt, DuringABatchLeavesOnlyWholePictures)
{
    constexpr int COUNT = 1000;
    Save("in.png", NewPicture(RGB, 256, 256));
    std::filesystem::create_directory(PathOf(In("out")));
    std::vector<std::string> command = {"batch", "noise", "--output-folder", In("out")};
    for (int i = 0; i < COUNT; ++i) {
        command.push_back(In("in" + std::to_string(i) + ".png"));
        std::filesystem::create_symlink(In("in.png"), command.back());
    }
    RunningProcess process = StartOnTerminal(command);
    EXPECT_TRUE(WaitForText(process, "noise 1"));   // any number of finished pictures that begins so
    Signal(process, SIGINT);
    EXPECT_EQ(WaitForEnd(process), 130);

    int written = 0;
    for (const auto &file : std::filesystem::directory_iterator(PathOf(In("out")))) {
        if (NameOf(file.path().filename()).starts_with('.')) continue;   // the batch's own record
        EXPECT_EQ(Load(file.path().string()).height, 256);
        ++written;
    }
    EXPECT_GE(written, 1);
    EXPECT_LT(written, COUNT);
}

TEST_F(Interrupt, BatchDoesNotWaitForAPipeThatIsBeingRead)
{
    std::filesystem::create_directory(PathOf(In("out")));
    ASSERT_EQ(mkfifo(In("pipe.png").c_str(), 0600), 0);
    Save("in.png", NewPicture(RGB, 64, 64));
    RunningProcess process =
        StartOnTerminal({"batch", "noise", "--output-folder", In("out"), In("in.png"), In("pipe.png")});
    EXPECT_TRUE(WaitForText(process, "noise 1 of"));
    Signal(process, SIGTERM);
    EXPECT_EQ(WaitForEnd(process), 130);
    EXPECT_TRUE(Exists(In("out/in.png")));
}
