// `velmorant batch`: many pictures in one go.

#include "tests/host/cli/workplace.h"
#include "tests/reference/reference.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace
{

class Batch : public Workplace
{
protected:
    void SetUp() override
    {
        Workplace::SetUp();
        std::filesystem::create_directory(PathOf(In("out")));
    }

    std::vector<std::string> Command(const std::string &effect, const std::vector<std::string> &inputs) const
    {
        std::vector<std::string> command = {"batch", effect, "--output-folder", In("out"), "--seed", "1"};
        command.insert(command.end(), inputs.begin(), inputs.end());
        return command;
    }
    std::vector<std::string> SavePictures(int count)
    {
        std::vector<std::string> files;
        for (int i = 0; i < count; ++i) {
            files.push_back(Save("in" + std::to_string(i) + ".png", Sample(i % 2 ? RGB : GREY, 40 + i, 30)));
        }
        return files;
    }
    int OutputCount() const
    {
        const auto files = std::filesystem::directory_iterator(PathOf(In("out")));
        return int(std::count_if(begin(files), end(files), [](const auto &file) {
            return !NameOf(file.path().filename()).starts_with('.');   // as the batch's own record
        }));
    }
};

std::vector<std::string> With(std::vector<std::string> arguments, const std::vector<std::string> &more)
{
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

}   // namespace

TEST_F(Batch, EveryPictureComesOutUnderItsName)
{
    const std::vector<std::string> inputs = SavePictures(9);
    EXPECT_TRUE(WentWell(Velmorant(With(Command("wave", inputs), {"--amplitude", "20"}))));
    EXPECT_EQ(OutputCount(), 9);
    for (int i = 0; i < 9; ++i) {
        Picture expected = Sample(i % 2 ? RGB : GREY, 40 + i, 30);
        ReferenceWave(expected, false, 20, 0, 20, 0, false);
        EXPECT_TRUE(SamePicture(Load(In("out/in" + std::to_string(i) + ".png")), expected)) << i;
    }
}

TEST_F(Batch, SeedGivesTheSamePicturesWhateverTheNumberOfJobs)
{
    const std::vector<std::string> inputs = SavePictures(6);
    for (const bool same : {false, true}) {
        for (const std::string jobs : {"1", "2", "5", "250"}) {
            std::vector<std::string> command = With(Command("noise", inputs), {"--seed", "11", "--jobs", jobs});
            if (same) command.push_back("--same-seed");
            EXPECT_TRUE(WentWell(Velmorant(command)));
            for (int i = 0; i < 6; ++i) {
                Picture expected = Sample(i % 2 ? RGB : GREY, 40 + i, 30);
                srand(same ? 11 : 11 + unsigned(i));
                ReferenceNoise(expected, 15, 10);
                EXPECT_TRUE(SamePicture(Load(In("out/in" + std::to_string(i) + ".png")), expected))
                    << i << " of " << jobs;
            }
        }
    }
}

TEST_F(Batch, BadFileIsReportedAndTheRestFinish)
{
    std::vector<std::string> inputs = SavePictures(5);
    for (const size_t place : {0, 2, 5}) {
        std::vector<std::string> mixed = inputs;
        mixed.insert(mixed.begin() + ptrdiff_t(place), SaveText("bad.png", "no picture"));
        EXPECT_TRUE(Refused(Velmorant(With(Command("noise", mixed), {"--jobs", "1"})), 1, In("bad.png"), ""));
        EXPECT_EQ(OutputCount(), 5);
        std::filesystem::remove_all(PathOf(In("out")));
        std::filesystem::create_directory(PathOf(In("out")));
    }
}

TEST_F(Batch, PictureThatTheCommandIsGreyedForIsReportedAndTheRestFinish)
{
    const std::string palette = Save("palette.png", Sample(PALETTE));
    for (const std::string jobs : {"1", "3"}) {
        std::vector<std::string> inputs = SavePictures(3);
        inputs.insert(inputs.begin(), palette);
        EXPECT_TRUE(Refused(Velmorant(With(Command("noise", inputs), {"--jobs", jobs})), 1, palette, "greyed"));
        std::rotate(inputs.begin(), inputs.begin() + 1, inputs.end());
        EXPECT_TRUE(Refused(Velmorant(With(Command("noise", inputs), {"--jobs", jobs})), 1, palette, "greyed"));
        EXPECT_EQ(OutputCount(), 3);
    }
}

TEST_F(Batch, WithoutAnyGoodFileEachIsReported)
{
    const Outcome outcome = Velmorant(Command("noise", {In("one.png"), In("two.png"), SaveText("three.png", "")}));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(Lines(outcome.errors).size(), 3u) << outcome.errors;
    EXPECT_EQ(OutputCount(), 0);
}

TEST_F(Batch, TypesAndFormatsMayBeMixed)
{
    const std::vector<std::string> inputs = {Save("a.png", Sample(PALETTE)), Save("b.bmp", Sample(ONE_BIT)),
                                             Save("c.ppm", Sample(RGB)), Save("d.tif", Sample(GREY))};
    EXPECT_TRUE(WentWell(Velmorant(Command("wave", inputs))));
    EXPECT_EQ(Load(In("out/a.png")).colourType, PALETTE);
    EXPECT_EQ(Load(In("out/b.bmp")).colourType, ONE_BIT);
    EXPECT_EQ(Load(In("out/c.ppm")).colourType, RGB);
    EXPECT_EQ(Load(In("out/d.tif")).colourType, GREY);
}

TEST_F(Batch, NameWithoutAnEndingKeepsTheInputsFormat)
{
    EXPECT_TRUE(WentWell(Velmorant(Command("noise", {SaveText("plain", "P5 2 2 255\nabcd")}))));
    EXPECT_EQ(BytesOf(In("out/plain")).substr(0, 2), "P5");
}

TEST_F(Batch, OutputThatCannotBeWrittenIsReportedAndTheRestFinish)
{
    const std::vector<std::string> inputs = SavePictures(3);
    std::filesystem::create_directories(PathOf(In("out/in1.png/in-the-way")));
    EXPECT_TRUE(
        Refused(Velmorant(Command("noise", inputs)), 1, inputs[1], NameOf(std::filesystem::path("out") / "in1.png")));
    EXPECT_TRUE(Exists(In("out/in0.png")));
    EXPECT_TRUE(Exists(In("out/in2.png")));
}

TEST_F(Batch, HugePicturesAreReportedUnlessTheyAreAllowed)
{
    const std::string huge = SaveText("huge.pgm", "P5 40000 1 255\n" + std::string(40000, 'a'));
    const std::vector<std::string> command = Command("mirror", {huge, Save("b.png", Sample(GREY))});
    const Outcome refused = Velmorant(command);
    EXPECT_TRUE(Refused(refused, 1, huge, "40000 x 1 pixels: beyond 32767 an edge or 512 megapixels"));
    EXPECT_EQ(OutputCount(), 1);
    EXPECT_TRUE(WentWell(Velmorant(With(command, {"--allow-huge"}))));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "mirror", huge, In("out/a.pgm"), "--allow-huge"})));
    EXPECT_EQ(OutputCount(), 3);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Batch, APictureTooLargeForMemoryIsReportedAndTheRestFinish)
{
    const std::string large = SaveText("large.ppm", "P6 20000 20000 255\n");
    std::filesystem::resize_file(large, 19 + 3ull * 20000 * 20000);   // with a hole, so that it takes no room
    rlimit usual;
    getrlimit(RLIMIT_AS, &usual);
    const rlimit less = {1000u << 20, usual.rlim_max};
    setrlimit(RLIMIT_AS, &less);
    const Outcome outcome =
        Velmorant(Command("mirror", {Save("a.png", Sample(GREY)), large, Save("b.png", Sample(RGB))}));
    setrlimit(RLIMIT_AS, &usual);
    EXPECT_TRUE(Refused(outcome, 1, large, "there is not enough memory for its 20000 x 20000 pixels"));
    EXPECT_EQ(OutputCount(), 2);
}
#endif

TEST_F(Batch, WhatCannotGoWellIsRefusedBeforeAnythingIsDone)
{
    const std::vector<std::string> inputs = SavePictures(2);
    std::filesystem::create_directory(PathOf(In("other")));
    std::filesystem::copy(PathOf(inputs[0]), PathOf(In("other/in0.png")));
    EXPECT_TRUE(Refused(Velmorant(Command("noise", {inputs[0], inputs[1], In("other/in0.png")})), 1,
                        In("other/in0.png"), "another input"));
    EXPECT_TRUE(
        Refused(Velmorant({"batch", "noise", "--output-folder", folder, inputs[0]}), 1, inputs[0], "written over"));
    EXPECT_TRUE(Refused(Velmorant({"batch", "noise", "--output-folder", SaveText("file", ""), inputs[0]}), 1,
                        In("file"), "is not a folder"));
    EXPECT_TRUE(Refused(Velmorant(Command("noise", {"-"})), 1, "-", "standard input"));
    EXPECT_TRUE(Refused(Velmorant(With(Command("noise", inputs), {"--amount", "0"})), 1, "--amount", "1..100"));
    EXPECT_TRUE(Refused(Velmorant(With(Command("noise", inputs), {"--jobs", "0"})), 1, "--jobs", "1..250"));
    EXPECT_TRUE(Refused(Velmorant({"batch", "noise", inputs[0]}), 2, "--output-folder", "missing"));
    EXPECT_TRUE(Refused(Velmorant(Command("noise", {})), 2, "INPUT", "missing"));
    EXPECT_TRUE(Refused(Velmorant(Command("sparkle", inputs)), 2, "sparkle", "effect"));
    EXPECT_EQ(OutputCount(), 0);
}
