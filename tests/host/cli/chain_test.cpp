// Several effects in one command: the same pixels as one by one, what belongs to a step, and what is refused.

#include "tests/host/cli/workplace.h"

#include <filesystem>

namespace
{

typedef std::vector<std::string> Words;

class Chain : public Workplace
{
protected:
    // Steps in one go, and one by one through files that lose nothing. Files stand with the first step.
    void ExpectSamePixels(const std::string &input, const std::vector<Words> &steps)
    {
        Words together = {"apply"};
        std::string from = input;
        for (size_t i = 0; i < steps.size(); ++i) {
            const std::string to = In("step" + std::to_string(i) + ".png");
            Words alone = {"apply", steps[i][0], from, to, "--quiet"};
            alone.insert(alone.end(), steps[i].begin() + 1, steps[i].end());
            ASSERT_TRUE(WentWell(Velmorant(alone)));
            from = to;
            if (i > 0) together.push_back("--then");
            together.insert(together.end(), steps[i].begin(), steps[i].end());
            if (i == 0) together.insert(together.end(), {input, In("out.png")});
        }
        together.push_back("--quiet");
        ASSERT_TRUE(WentWell(Velmorant(together)));
        EXPECT_TRUE(SamePicture(Load(In("out.png")), Load(from)));
        EXPECT_NE(BytesOf(In("out.png")), BytesOf(In("step0.png"))) << "later steps change something";
    }
};

}   // namespace

TEST_F(Chain, HasThePixelsOfItsStepsOneByOne)
{
    const std::vector<Words> steps = {{"wave", "--amplitude", "20"},
                                      {"noise", "--amount", "5", "--seed", "7"},
                                      {"filters", "--kernel", "Gaussian 3 by 3"}};
    ExpectSamePixels(Save("grey.png", Sample(GREY)), steps);
    ExpectSamePixels(Save("rgb.bmp", Sample(RGB)), steps);
    std::mt19937 generator(3);
    Picture masked = Sample(RGB);
    AddRandomMask(masked, 8, generator);
    ExpectSamePixels(Save("masked.png", masked), steps);
    ExpectSamePixels(Save("palette.png", Sample(PALETTE)),
                     {{"wave"}, {"mirror"}, {"wave", "--orientation", "columns"}});
    ExpectSamePixels(Save("bits.png", Sample(ONE_BIT)), {{"mirror"}, {"wave"}});
    ExpectSamePixels(Save("size.png", Sample(RGB)), {{"shear", "--angle", "20"}, {"noise", "--seed", "1"}});
}

TEST_F(Chain, AreaAndScopeAndSeedAreTheirStepsOwn)
{
    const std::string input = Save("in.png", Sample(RGB));
    ExpectSamePixels(input, {{"solarize", "--area", "5,7,20x11"},
                             {"noise", "--seed", "8"},
                             {"noise", "--seed", "7", "--area", "0,0,30x30", "--scope", "new-object"}});
}

TEST_F(Chain, FirstStepsSeedIsThatOfStepsWithoutOne)
{
    const std::string input = Save("in.png", Sample(RGB));
    EXPECT_TRUE(WentWell(Velmorant(
        {"apply", "noise", input, In("a.png"), "--seed", "7", "--then", "noise", "--then", "noise", "--seed", "8"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("b.png"), "--seed", "7", "--then", "noise", "--seed",
                                    "7", "--then", "noise", "--seed", "8"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("c.png"), "--seed", "7", "--then", "noise", "--seed",
                                    "9", "--then", "noise", "--seed", "8"})));
    EXPECT_TRUE(SamePicture(Load(In("a.png")), Load(In("b.png"))));
    EXPECT_NE(BytesOf(In("a.png")), BytesOf(In("c.png")));
}

TEST_F(Chain, ObjectsBelongToTheStepTheyStandIn)
{
    const std::string input = Save("in.png", Sample(RGB)), object = Save("object.png", Sample(GREY, 12, 9));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("out.png"), "--then", "solarize", "--object",
                                    object + "@30,20", "--scope", "image"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("between.png")})));
    EXPECT_TRUE(WentWell(Velmorant(
        {"apply", "solarize", In("between.png"), In("apart.png"), "--object", object + "@30,20", "--scope", "image"})));
    EXPECT_TRUE(SamePicture(Load(In("out.png")), Load(In("apart.png"))));
}

TEST_F(Chain, FilesAndWhatIsForTheWholeMayStandWithAnyStep)
{
    const std::string input = Save("in.png", Sample(GREY)), mask = Save("mask.png", Sample(GREY));
    const std::vector<Words> orders = {
        {"apply", "wave", input, In("0.png"), "--mask", mask, "--then", "noise", "--seed", "3"},
        {"apply", "wave", "--then", "noise", "--seed", "3", "--mask", mask, "--quiet", input, In("1.png")},
        {"apply", "wave", input, "--then", "noise", In("2.png"), "--seed", "3", "--mask", mask},
    };
    for (const Words &order : orders) EXPECT_TRUE(WentWell(Velmorant(order)));
    EXPECT_EQ(BytesOf(In("0.png")), BytesOf(In("1.png")));
    EXPECT_EQ(BytesOf(In("0.png")), BytesOf(In("2.png")));
}

TEST_F(Chain, BatchTakesEveryPictureThroughAllSteps)
{
    Words command = {"batch", "noise",  "--seed", "9",      "--output-folder", In("out"), "--then",
                     "noise", "--seed", "5",      "--then", "noise",           "--jobs",  "2"};
    std::filesystem::create_directory(PathOf(In("out")));
    for (int i = 0; i < 3; ++i) command.push_back(Save("in" + std::to_string(i) + ".png", Sample(RGB, 40 + i, 30)));
    EXPECT_TRUE(WentWell(Velmorant(command)));
    for (int i = 0; i < 3; ++i) {
        const std::string name = "in" + std::to_string(i) + ".png";
        EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", In(name), In("apart.png"), "--seed", std::to_string(9 + i),
                                        "--then", "noise", "--seed", std::to_string(5 + i), "--then", "noise"})));
        EXPECT_EQ(BytesOf(In("out/" + name)), BytesOf(In("apart.png"))) << name;
    }
}

TEST_F(Chain, MistakesInALaterStepAreRefusedAsInTheFirst)
{
    const std::string input = Save("in.png", Sample(GREY)), output = SaveText("out.png", "older");
    const auto then = [&](const Words &more) {
        Words words = {"apply", "wave", input, output, "--then"};
        words.insert(words.end(), more.begin(), more.end());
        return Velmorant(words);
    };
    EXPECT_TRUE(Refused(then({"nois"}), 2, "nois", "did you mean noise?"));
    EXPECT_TRUE(Refused(then({"noise", "--amout", "3"}), 2, "--amout", "did you mean --amount?"));
    EXPECT_TRUE(Refused(then({"noise", "--amplitude", "3"}), 2, "--amplitude", "velmorant apply noise --help"));
    EXPECT_TRUE(Refused(then({"noise", "--amount"}), 2, "--amount", "needs a value"));
    EXPECT_TRUE(Refused(then({}), 2, "--then", "effect is missing"));
    EXPECT_TRUE(Refused(then({"noise", "third"}), 2, "third", "too many"));
    EXPECT_TRUE(Refused(then({"filters", "--kernel", "Laplace 3 by 3", "--load", "x"}), 2, "--load", "one of them"));
    EXPECT_TRUE(Refused(then({"mirror", "--mask", input}), 2, "--mask", "mirror takes no mask"));
    EXPECT_TRUE(Refused(then({"noise", "--amount", "300"}), 1, "step 2 (noise)", "--amount: 300 is outside 1..100"));
    EXPECT_TRUE(Refused(then({"noise", "--seed", "x"}), 1, "--seed", "x"));
    EXPECT_TRUE(Refused(then({"noise", "--area", "x"}), 1, "step 2 (noise): --area", "x"));
    EXPECT_TRUE(Refused(then({"filters", "--save", input}), 1, input, "--save would write over it"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, "--then", "noise"}), 2, "OUTPUT", "missing"));
    EXPECT_TRUE(
        Refused(Velmorant({"batch", "wave", "--output-folder", folder, "--then", "noise"}), 2, "INPUT", "missing"));
    EXPECT_TRUE(Refused(Velmorant({"effects", "--then", "noise"}), 2, "--then", "no such option"));
    EXPECT_EQ(BytesOf(output), "older");
}

TEST_F(Chain, TypeThatALaterStepDoesNotWorkOnLeavesTheOutputAlone)
{
    const std::string input = Save("in.png", Sample(PALETTE)), output = SaveText("out.png", "older");
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, output, "--then", "noise"}), 1, input,
                        "noise works on RGB and grey pictures"));
    EXPECT_EQ(BytesOf(output), "older");
}

TEST_F(Chain, HelpTellsOfIt)
{
    EXPECT_NE(Velmorant({"apply", "wave", "--help"}).output.find("--then EFFECT"), std::string::npos);
    const Outcome later = Velmorant({"apply", "wave", "--then", "noise", "--help"});
    EXPECT_EQ(later.exitCode, 0);
    EXPECT_NE(later.output.find("--variation"), std::string::npos) << later.output;
}
