// What the system refuses the command line, and requests to end at any time: one line and a code that tells, and what
// stood there before. Through a shell, which closes streams, sets limits and makes pipes.

#include "tests/host/cli/workplace.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

class Failures : public Workplace
{
protected:
    // With $V for the program, in the folder.
    Outcome Shell(const std::string &script)
    {
        return VelmorantAt("/bin/sh", {"-c", "V=$0; cd \"$1\" || exit 99; " + script, VELMORANT_PROGRAM, folder});
    }
    int Names() const { return int(std::distance(fs::directory_iterator(folder), fs::directory_iterator())); }
    // Starts it, waits until `begun`, sends the signal, and returns the exit code.
    int Interrupted(const std::vector<std::string> &arguments, int signal, const std::function<bool()> &begun)
    {
        RunningProcess process = StartOnTerminal(arguments);
        while (!begun()) poll(nullptr, 0, 2);
        Signal(process, signal);
        return WaitForEnd(process);
    }
    bool HasTemporary() const
    {
        for (const auto &entry : fs::directory_iterator(folder))
            if (entry.path().filename().native().starts_with(".velmorant-")) return true;
        return false;
    }
};

//---- Streams

TEST_F(Failures, AComplaintDoesNotLandInAPictureWhereStandardErrorIsClosed)
{
    Save("in.ppm", Sample(RGB));
    Save("mask.pgm", Sample(GREY, 10, 10));
    EXPECT_EQ(Shell("$V apply wave in.ppm out.ppm").exitCode, 0);
    EXPECT_EQ(Shell("$V apply wave in.ppm closed.ppm 2>&-").exitCode, 0);
    EXPECT_EQ(BytesOf(In("closed.ppm")), BytesOf(In("out.ppm")));
    EXPECT_EQ(Shell("$V apply wave in.ppm closed.jpg --verbose 2>&-").exitCode, 2);
    EXPECT_EQ(Shell("$V apply noise in.ppm closed.ppm --seed 1 <&- >&- 2>&-").exitCode, 0);
    EXPECT_EQ(Shell("$V batch noise --output-folder . in.ppm 2>&-").exitCode, 1);
    EXPECT_EQ(BytesOf(In("in.ppm")).substr(0, 2), "P6");
}

TEST_F(Failures, AClosedStreamIsNotTakenForAnEmptyOneOrForOneThatTakesAll)
{
    Save("in.ppm", Sample(RGB));
    EXPECT_TRUE(Refused(Shell("$V apply wave - out.ppm <&-"), 1, "standard input", "cannot be read"));
    EXPECT_TRUE(Refused(Shell("$V apply wave in.ppm - >&-"), 1, "standard output", "cannot be written"));
    EXPECT_TRUE(Refused(Shell("$V effects >&-"), 1, "standard output", "cannot be written"));
}

TEST_F(Failures, EveryTextToAFullDiskFails)
{
    for (const char *command : {"effects", "effects --json", "effects --markdown", "effects noise",
                                "effects noise --json", "effects filters --markdown", "kernels", "kernels --json",
                                "kernels 'Laplace #2'", "kernels 'Laplace #2' --json", "--help", "--version",
                                "apply --help", "apply noise --help", "batch --help", "effects --help"}) {
        EXPECT_TRUE(
            Refused(Shell("$V " + std::string(command) + " > /dev/full"), 1, "standard output", "cannot be written"))
            << command;
    }
}

TEST_F(Failures, PicturesToAFullDiskFail)
{
    Save("in.ppm", Sample(RGB, 300, 200));
    for (const char *ending : {"png", "bmp", "tif", "jpg", "ppm"}) {
        const std::string out = "out." + std::string(ending);
        EXPECT_EQ(Shell("$V apply wave in.ppm " + out).exitCode, 0);
        const std::string before = BytesOf(In(out));
        const int names = Names();
        EXPECT_TRUE(Refused(Shell("ulimit -f 1; $V apply noise in.ppm " + out), 1, out, "cannot be written"));
        EXPECT_EQ(BytesOf(In(out)), before);
        EXPECT_EQ(Names(), names) << "nothing is left beside it";
    }
    EXPECT_TRUE(Refused(Shell("$V apply wave in.ppm - > /dev/full"), 1, "standard output", "cannot be written"));
}

//---- Requests to end

TEST_F(Failures, AReaderThatNeverComesIsNotWaitedForAfterAnInterrupt)
{
    const std::string input = Save("in.ppm", Sample(RGB));
    ASSERT_EQ(mkfifo(In("pipe.ppm").c_str(), 0600), 0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        RunningProcess process = StartOnTerminal({"apply", "noise", input, In("pipe.ppm")});
        EXPECT_TRUE(WaitForText(process, "100 %"));
        Signal(process, signal);
        EXPECT_EQ(WaitForEnd(process), 130) << signal;
    }
}

TEST_F(Failures, AReaderThatStallsIsNotWaitedForAfterAnInterrupt)
{
    const std::string input = Save("in.ppm", Sample(RGB, 500, 400)), pipe = In("pipe.ppm");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    const auto begun = [&] {
        char byte;
        return read(reader, &byte, 1) == 1;
    };
    EXPECT_EQ(Interrupted({"apply", "noise", input, pipe}, SIGINT, begun), 130);
    close(reader);
}

TEST_F(Failures, AWriterThatNeverComesIsNotWaitedForAfterAnInterrupt)
{
    ASSERT_EQ(mkfifo(In("pipe.ppm").c_str(), 0600), 0);
    const auto begun = [] { return poll(nullptr, 0, 200), true; };
    EXPECT_EQ(Interrupted({"apply", "noise", In("pipe.ppm"), In("out.ppm")}, SIGINT, begun), 130);
    EXPECT_EQ(Names(), 1);
}

TEST_F(Failures, AnInterruptDuringALongWriteLeavesTheOldFileAndNoOther)
{
    const std::string input = Save("in.ppm", NewPicture(RGB, 3000, 2000)), output = SaveText("out.png", "older");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const auto begun = [this] { return HasTemporary(); };
        EXPECT_EQ(Interrupted({"apply", "noise", input, output}, signal, begun), 130) << signal;
        EXPECT_EQ(BytesOf(output), "older");
        EXPECT_EQ(Names(), 2);
    }
}

TEST_F(Failures, ABatchThatWritesIntoAPipeCanBeInterrupted)
{
    Save("in.ppm", Sample(RGB));
    fs::create_directory(In("out"));
    ASSERT_EQ(mkfifo(In("out/in.ppm").c_str(), 0600), 0);
    RunningProcess process = StartOnTerminal({"batch", "noise", "--output-folder", In("out"), In("in.ppm")});
    EXPECT_TRUE(WaitForText(process, "100 %"));
    Signal(process, SIGINT);
    EXPECT_EQ(WaitForEnd(process), 130);
}

TEST_F(Failures, AHangUpIsSurvivedWhereItWasIgnored)
{
    Save("in.ppm", Sample(RGB));
    ASSERT_EQ(mkfifo(In("pipe.ppm").c_str(), 0600), 0);
    const Outcome outcome = Shell("trap '' HUP; $V apply wave pipe.ppm out.ppm & sleep 0.3; kill -HUP $!; "
                                  "cat in.ppm > pipe.ppm; wait $!");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_TRUE(Exists(In("out.ppm")));
}

//---- Files that are one

TEST_F(Failures, AMaskIsNotWrittenOverThePictureByAnotherName)
{
    Save("in.png", Sample(RGB));
    Save("mask.png", Sample(GREY));
    const std::string picture = BytesOf(In("in.png")), command = "$V apply noise in.png out.png --mask mask.png";
    fs::create_symlink("out.png", In("link.png"));
    fs::create_symlink("in.png", In("toin.png"));
    fs::create_hard_link(In("in.png"), In("hard.png"));
    for (const std::string &name : {std::string("out.png"), std::string("./out.png"), std::string(".//out.png"),
                                    std::string("link.png"), In("out.png")})
        EXPECT_TRUE(Refused(Shell(command + " --mask-output '" + name + "'"), 1, name, "both the result and its mask"));
    for (const std::string name : {"in.png", "./in.png", "toin.png", "hard.png"})
        EXPECT_TRUE(Refused(Shell(command + " --mask-output " + name), 1, name, "is the picture's file"));
    EXPECT_FALSE(Exists(In("out.png")));
    EXPECT_EQ(BytesOf(In("in.png")), picture);
    EXPECT_EQ(Shell(command + " --mask-output mask.png").exitCode, 0);
}

TEST_F(Failures, AKernelIsNotSavedOverAPictureByAnotherName)
{
    Save("in.png", Sample(RGB));
    const std::string picture = BytesOf(In("in.png"));
    fs::create_symlink("in.png", In("link.flt"));
    fs::create_symlink("out.png", In("later.flt"));
    for (const std::string name : {"./in.png", "link.flt", "./out.png", "later.flt"})
        EXPECT_TRUE(Refused(Shell("$V apply filters in.png out.png --save " + name), 1, name, "is a picture's file"));
    EXPECT_EQ(BytesOf(In("in.png")), picture);
    EXPECT_FALSE(Exists(In("out.png")));
}

//---- --save

TEST_F(Failures, AKernelIsSavedAsPicturesAre)
{
    Save("in.png", Sample(RGB));
    SaveText("kernel.flt", "older");
    fs::create_symlink("kernel.flt", In("link.flt"));
    fs::create_symlink("made.flt", In("dangling.flt"));
    chmod(In("kernel.flt").c_str(), 0600);
    const std::string command = "$V apply filters in.png out.png --kernel 'Laplace #2' --save ";
    EXPECT_TRUE(WentWell(Shell(command + "link.flt && " + command + "dangling.flt")));
    EXPECT_TRUE(fs::is_symlink(In("link.flt")) && fs::is_symlink(In("dangling.flt")));
    EXPECT_EQ(BytesOf(In("kernel.flt")), BytesOf(In("made.flt")));
    EXPECT_NE(BytesOf(In("kernel.flt")), "older");
    EXPECT_EQ(fs::status(In("kernel.flt")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const std::string longest(251, 'n');
    EXPECT_TRUE(WentWell(Shell(command + longest + ".flt")));
    EXPECT_EQ(BytesOf(In(longest + ".flt")), BytesOf(In("made.flt")));
    EXPECT_FALSE(HasTemporary());
}

TEST_F(Failures, AKernelIsNotSavedOverAReadOnlyFileOrOntoAFullDisk)
{
    Save("in.png", Sample(RGB));
    SaveText("kernel.flt", "older");
    const std::string command = "$V apply filters in.png out.png --save ";
#ifndef __SANITIZE_THREAD__   // it writes a file of its own before main
    EXPECT_EQ(Shell("ulimit -f 0; " + command + "kernel.flt").exitCode, 1);
#endif
    EXPECT_EQ(BytesOf(In("kernel.flt")), "older");
    EXPECT_FALSE(Exists(In("out.png")) || HasTemporary());
    if (geteuid() == 0) GTEST_SKIP() << "no mode stops root";
    chmod(In("kernel.flt").c_str(), 0400);
    EXPECT_TRUE(Refused(Shell(command + "kernel.flt"), 1, "kernel.flt", "cannot be written"));
    EXPECT_EQ(BytesOf(In("kernel.flt")), "older");
}

//---- Memory and leftovers

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)   // whose own memory is beyond any limit
// 30,000 x 30,000 grey pixels are 900 MB, and the limit is below that.
TEST_F(Failures, APictureThatIsTooLargeForMemoryIsNamedAndTheBatchGoesOn)
{
    Save("a.png", Sample(RGB));
    Save("b.png", Sample(GREY));
    fs::create_directory(In("out"));
    const Outcome outcome = Shell("printf 'P5 30000 30000 255\\n' > huge.pgm; truncate -s 900000020 huge.pgm; "
                                  "ulimit -v 700000; $V batch noise --seed 1 --jobs 1 --allow-huge --output-folder out "
                                  "a.png huge.pgm b.png");
    EXPECT_EQ(outcome.exitCode, 1);
    ASSERT_EQ(Lines(outcome.errors).size(), 1u) << outcome.errors;
    EXPECT_NE(outcome.errors.find("huge.pgm: "), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.errors.find("memory"), std::string::npos) << outcome.errors;
    EXPECT_TRUE(Exists(In("out/a.png")) && Exists(In("out/b.png")));
    EXPECT_FALSE(Exists(In("out/huge.pgm")));
}
#endif

TEST_F(Failures, WhatAKillLeavesIsGoneAfterTheNextRun)
{
    const std::string input = Save("in.ppm", NewPicture(RGB, 3000, 2000)), output = SaveText("out.png", "older");
    EXPECT_EQ(Interrupted({"apply", "noise", input, output}, SIGKILL, [this] { return HasTemporary(); }), -1);
    EXPECT_TRUE(HasTemporary());
    EXPECT_EQ(BytesOf(output), "older");
    Save("small.ppm", Sample(RGB));
    EXPECT_EQ(Shell("$V apply wave small.ppm other.ppm").exitCode, 0);
    EXPECT_FALSE(HasTemporary());
}
