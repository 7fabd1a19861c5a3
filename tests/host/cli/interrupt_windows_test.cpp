// Ctrl-C in a console of Windows: runs are aborted, only whole pictures are left, exit code 130.

#include "tests/host/cli/workplace.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace
{

class Interrupt : public Workplace
{
};

}   // namespace

TEST_F(Interrupt, WhileReadingEndsAtOnce)
{
    std::filesystem::create_directory(PathOf(In("out")));
    RunningProcess process = StartInConsole({"apply", "noise", "-", In("out/out.pgm")});
    FeedUntilRead(process, "P5 5000 5000 255\n");
    PressControlC();
    EXPECT_EQ(WaitForEnd(process), 130);
    EXPECT_TRUE(std::filesystem::is_empty(PathOf(In("out"))));
}

TEST_F(Interrupt, DuringABatchLeavesOnlyWholePictures)
{
    constexpr int COUNT = 200;
    std::filesystem::create_directory(PathOf(In("out")));
    std::vector<std::string> command = {"batch", "noise", "--output-folder", In("out")};
    for (int i = 0; i < COUNT; ++i) command.push_back(Save(std::to_string(i) + ".bmp", NewPicture(RGB, 256, 256)));
    RunningProcess process = StartInConsole(command);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::filesystem::is_empty(PathOf(In("out"))) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    PressControlC();
    EXPECT_EQ(WaitForEnd(process), 130);

    int written = 0;
    for (const auto &file : std::filesystem::directory_iterator(PathOf(In("out")))) {
        if (NameOf(file.path().filename()).starts_with('.')) continue;   // the batch's own record
        EXPECT_EQ(Load(file.path().string()).height, 256);
        ++written;
    }
    EXPECT_LT(written, COUNT);
}
