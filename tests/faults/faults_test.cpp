// velmorant where the system refuses an allocation or a thread. Either it ends with exit 1, one line and no file, or it
// could do without and the picture is the right one.

#include "tests/host/cli/workplace.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sys/wait.h>

struct Counts {
    long allocations = 0, threads = 0;
};

class Faults : public Workplace
{
protected:
    // Runs it with settings for the preloaded library. Not through the C++ library's temporaries: a shell does it.
    int Run(const std::string &settings, const std::string &command)
    {
        const std::string line = "cd '" + folder + "' && " + settings +
                                 " timeout -s KILL 60 env LD_PRELOAD='" REFUSING_LIBRARY "' '" VELMORANT_PROGRAM "' " +
                                 command + " 2> errors > output";
        const int status = system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    Counts CountsOf(const std::string &command)
    {
        EXPECT_EQ(Run("COUNT_TO=counts", command), 0) << BytesOf(In("errors"));
        Counts counts;
        std::ifstream(In("counts")) >> counts.allocations >> counts.threads;
        return counts;
    }
    std::string Names() const
    {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
        std::string text;
        for (const std::string &name : names) text += name + " ";
        return text;
    }
    // `outputs` hold what the undisturbed command has written.
    void ExpectFailureOrResult(const std::string &settings, const std::string &command,
                               const std::vector<std::string> &outputs, const std::vector<std::string> &expected,
                               bool partly = false)
    {
        for (const std::string &output : outputs) std::filesystem::remove(In(output));
        const std::string before = Names();
        const int exitCode = Run(settings, command);
        const std::string errors = BytesOf(In("errors")), where = settings + " " + command + ": " + errors;
        ASSERT_TRUE(exitCode == 0 || exitCode == 1) << exitCode << " " << where;
        for (size_t i = 0; i < outputs.size(); ++i) {
            const bool there = Exists(In(outputs[i]));
            EXPECT_TRUE(there || exitCode == 1) << where;
            EXPECT_TRUE(!there || exitCode == 0 || partly) << where;
            EXPECT_TRUE(!there || BytesOf(In(outputs[i])) == expected[i]) << outputs[i] << " " << where;
        }
        if (exitCode == 1) {
            EXPECT_TRUE(partly || Lines(errors).size() == 1) << where;
            EXPECT_EQ(errors.rfind("velmorant: ", 0), 0u) << where;
        }
        for (const std::string &output : outputs) std::filesystem::remove(In(output));
        EXPECT_EQ(Names(), before) << "left behind: " << where;
    }
    std::vector<std::string> ResultsOf(const std::string &command, const std::vector<std::string> &outputs)
    {
        EXPECT_EQ(Run("", command), 0) << BytesOf(In("errors"));
        std::vector<std::string> results;
        for (const std::string &output : outputs) results.push_back(BytesOf(In(output)));
        return results;
    }
    void RefuseEveryThread(const std::string &command, const std::vector<std::string> &outputs, bool partly)
    {
        const std::vector<std::string> expected = ResultsOf(command, outputs);
        const Counts counts = CountsOf(command);
        EXPECT_GE(counts.threads, 2);
        for (long i = 1; i <= counts.threads && !HasFatalFailure(); ++i) {
            for (const char *all : {"", "REFUSE_ALL=1 "}) {
                ExpectFailureOrResult(all + ("REFUSE_THREAD=" + std::to_string(i)), command, outputs, expected, partly);
            }
        }
    }
};

TEST_F(Faults, EveryThreadOfApplyMayBeRefused)
{
    Save("in.png", Sample(RGB));
    for (const std::string effect : {"noise", "oil-painting", "mirror", "shear --angle 20"})
        RefuseEveryThread("apply " + effect + " in.png out.png --seed 1", {"out.png"}, false);
}

// Large enough for the run to share its rows.
TEST_F(Faults, EveryHelperOfARunMayBeRefused)
{
    Save("in.bmp", Sample(RGB, 700, 500));
    for (const std::string effect : {"oil-painting", "swirl"})
        RefuseEveryThread("apply " + effect + " in.bmp out.bmp --threads 3", {"out.bmp"}, false);
}

TEST_F(Faults, EveryThreadOfABatchMayBeRefused)
{
    for (const char *name : {"a.png", "b.png", "c.png"}) Save(name, Sample(RGB));
    std::filesystem::create_directory(In("made"));
    RefuseEveryThread("batch noise --seed 1 --jobs 2 --output-folder made a.png b.png c.png",
                      {"made/a.png", "made/b.png", "made/c.png"}, true);
}

// A run's planes: what is refused once is asked for again and granted, so all that follow are refused too.
TEST_F(Faults, EveryLargeAllocationOfApplyMayBeRefused)
{
    Save("in.bmp", Sample(RGB, 700, 500));
    for (const std::string effect : {"noise", "oil-painting", "wave", "mirror", "shear --angle 20"}) {
        const std::string command = "apply " + effect + " in.bmp out.bmp --seed 1", large = "REFUSE_SIZE=100000 ";
        const std::vector<std::string> expected = ResultsOf(command, {"out.bmp"});
        EXPECT_EQ(Run(large + "COUNT_TO=counts", command), 0);
        Counts counts;
        std::ifstream(In("counts")) >> counts.allocations;
        EXPECT_GE(counts.allocations, 3);
        for (long i = 1; i <= counts.allocations && !HasFatalFailure(); ++i) {
            for (const char *all : {"", "REFUSE_ALL=1 "}) {
                ExpectFailureOrResult(large + all + "REFUSE_MEMORY=" + std::to_string(i), command, {"out.bmp"},
                                      expected);
            }
        }
    }
}

// Points all over the run, from start to end. VELMORANT_FAULTS asks for more of them.
TEST_F(Faults, AnyAllocationOfApplyMayBeRefused)
{
    Save("in.png", Sample(RGB));
    const char *asked = getenv("VELMORANT_FAULTS");
    const long points = asked ? atol(asked) : 60;
    for (const std::string effect : {"noise", "mirror"}) {
        const std::string command = "apply " + effect + " in.png out.png --seed 1";
        const std::vector<std::string> expected = ResultsOf(command, {"out.png"});
        const long count = CountsOf(command).allocations;
        for (long i = 0; i < points && !HasFatalFailure(); ++i) {
            const long at = 1 + i * count / points;
            ExpectFailureOrResult((i % 2 ? "REFUSE_ALL=1 " : "") + ("REFUSE_MEMORY=" + std::to_string(at)), command,
                                  {"out.png"}, expected);
        }
    }
}

// Before main too, where objects are made that belong to the program.
TEST_F(Faults, AnyAllocationOfTheStartMayBeRefused)
{
    const std::string early = "REFUSE_EARLY=1 ", command = "effects";
    EXPECT_EQ(Run(early + "COUNT_TO=counts", command), 0);
    Counts counts;
    std::ifstream(In("counts")) >> counts.allocations;
    EXPECT_GT(counts.allocations, 100);
    for (long i = 1; i <= 100 && !HasFatalFailure(); ++i) {
        for (const char *all : {"", "REFUSE_ALL=1 "})
            ExpectFailureOrResult(early + all + "REFUSE_MEMORY=" + std::to_string(i), command, {}, {});
    }
}
