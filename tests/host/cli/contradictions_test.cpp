// Settings that leave each other without meaning: the effect runs, and a notice says what comes of them.

#include "tests/host/cli/workplace.h"

class ContradictionsTest : public Workplace
{
protected:
    // What is told of one step's settings.
    std::string Told(std::vector<std::string> arguments, const std::string &command = "apply")
    {
        arguments.insert(arguments.begin() + 1, {Save("in.png", Sample(RGB)), In("out.png")});
        arguments.insert(arguments.begin(), command);
        arguments.insert(arguments.end(), {"--seed", "1"});
        const Outcome outcome = Velmorant(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_TRUE(Exists(In("out.png")));
        // That such settings may change nothing is told besides.
        std::string told;
        for (const std::string &line : Lines(outcome.errors))
            if (line.find(": nothing has changed") == std::string::npos) told += line + "\n";
        return told;
    }
};

TEST_F(ContradictionsTest, AWidthNotAboveTheLeastIsTold)
{
    const std::string both = "velmorant: --max-width 10 is not above --min-width 40: it counts as two above it\n";
    EXPECT_EQ(Told({"slices", "--min-width", "40", "--max-width", "10"}), both);
    EXPECT_EQ(Told({"slices", "--max-width", "8"}),
              "velmorant: --max-width 8 is not above --min-width 8: it counts as two above it\n")
        << "also with what was not given";
    EXPECT_EQ(Told({"slices", "--min-width", "39"}), "");
    EXPECT_EQ(Told({"slices", "--min-width", "40", "--max-width", "10", "--quiet"}), "");
}

TEST_F(ContradictionsTest, AreToldOncePerStepOfAChain)
{
    const std::string told = Told({"wave", "--then", "slices", "--min-width", "50", "--seed", "2", "--then", "filters",
                                   "--use-red", "off", "--use-green", "off", "--use-blue", "off"});
    EXPECT_EQ(told, "velmorant: --max-width 40 is not above --min-width 50: it counts as two above it\n"
                    "velmorant: --use-red, --use-green and --use-blue are off: no channel of a colour picture is "
                    "filtered\n");
}

TEST_F(ContradictionsTest, IterationsWithoutTheirModeAreTold)
{
    EXPECT_EQ(Told({"filters", "--iterations", "5"}),
              "velmorant: --iterations 5 counts for --pass-mode iterative only: there is one pass\n");
    EXPECT_EQ(Told({"filters", "--iterations", "5", "--pass-mode", "iterative"}), "");
    EXPECT_EQ(Told({"filters", "--iterations", "1"}), "");
    EXPECT_EQ(Told({"filters", "--use-red", "off", "--use-green", "off"}), "");
}

TEST_F(ContradictionsTest, StandBesideWhatIsToldOfObjects)
{
    Save("leaf.png", Sample(RGB, 10, 10));
    EXPECT_EQ(Told({"slices", "--min-width", "50", "--scope", "objects", "--object", In("leaf.png") + "@3,4"}),
              "velmorant: --max-width 40 is not above --min-width 50: it counts as two above it\n");
}
