// `velmorant sheet` and --compare: what stands on a sheet, and what is refused.

#include "tests/host/cli/workplace.h"

namespace
{

class Sheet : public Workplace
{
};

}   // namespace

TEST_F(Sheet, ShowsAllEffectsAndAllPresets)
{
    const std::string input = Save("in.png", Sample(RGB));
    EXPECT_TRUE(WentWell(Velmorant({"sheet", input, In("all.png")})));
    const Picture all = Load(In("all.png"));
    EXPECT_EQ(all.width, 1600);
    EXPECT_GT(all.height, 1000);
    EXPECT_TRUE(WentWell(Velmorant({"sheet", "--presets", Save("bits.png", Sample(ONE_BIT)), In("presets.jpg"),
                                    "--width", "1200", "--columns", "6"})));
    EXPECT_EQ(Load(In("presets.jpg")).width, 1200);
}

TEST_F(Sheet, FramesAreWhatApplyMakes)
{
    const std::string input = Save("in.png", Sample(RGB));
    EXPECT_TRUE(WentWell(Velmorant({"sheet", "wave", input, "--frames", In("f-%03d.png"), "--amplitude", "5..50",
                                    "--count", "4", "--phase", "90"})));
    int frame = 0;
    for (const char *amplitude : {"5", "20", "35", "50"}) {
        EXPECT_TRUE(
            WentWell(Velmorant({"apply", "wave", input, In("apart.png"), "--amplitude", amplitude, "--phase", "90"})));
        EXPECT_EQ(BytesOf(In("f-00" + std::to_string(++frame) + ".png")), BytesOf(In("apart.png"))) << amplitude;
    }
    EXPECT_FALSE(Exists(In("f-005.png")));
    EXPECT_TRUE(
        WentWell(Velmorant({"sheet", "noise", input, "--frames", In("n%d.png"), "--amount", "10,90", "--seed", "4"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("apart.png"), "--amount", "90", "--seed", "4"})));
    EXPECT_EQ(BytesOf(In("n2.png")), BytesOf(In("apart.png")));
}

TEST_F(Sheet, FramesGoIntoOneFileThatHoldsSeveral)
{
    const std::string input = Save("in.png", Sample(RGB)), one = In("f.tif"), two = In("g.tif");
    EXPECT_TRUE(WentWell(Velmorant({"sheet", "wave", input, "--frames", one, "--phase", "0..270", "--count", "4"})));
    EXPECT_TRUE(WentWell(Velmorant({"sheet", "solarize", one, "--frames", two, "--threshold", "10..40"})))
        << "the frames of the input take turns";
    for (const char *page : {"1", "2", "3", "4"}) {
        const std::string phase = std::to_string(90 * (atoi(page) - 1)), threshold = std::to_string(10 * atoi(page));
        EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("apart.png"), "--phase", phase, "--then", "solarize",
                                        "--threshold", threshold})));
        EXPECT_TRUE(WentWell(Velmorant({"apply", "shear", two, In("page.png"), "--page", page, "--quiet"})));
        EXPECT_TRUE(SamePicture(Load(In("page.png")), Load(In("apart.png")))) << page;
    }
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", two, In("page.png"), "--page", "5"}), 1, two, "4 pages"));
    const Outcome first = Velmorant({"sheet", "wave", two, In("sheet.png")});
    EXPECT_NE(first.errors.find("the first of 4 pages or frames is shown"), std::string::npos) << first.errors;
    EXPECT_TRUE(WentWell(Velmorant({"sheet", "wave", two, In("third.png"), "--page", "3"})));
    EXPECT_NE(BytesOf(In("third.png")), BytesOf(In("sheet.png")));
    EXPECT_TRUE(
        Refused(Velmorant({"sheet", "wave", input, "--frames", In("f%d.png"), "--phase", "1..5", "--delay", "50"}), 2,
                "--delay", "animation"));
}

TEST_F(Sheet, OneSettingRunsThroughItsValues)
{
    const std::string input = Save("in.png", Sample(GREY));
    const auto height = [&](const std::vector<std::string> &more) {
        std::vector<std::string> words = {"sheet", "wave", input, In("out.png"), "--columns", "2"};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_TRUE(WentWell(Velmorant(words)));
        return Load(In("out.png")).height;
    };
    EXPECT_GT(height({"--amplitude", "5..50"}), height({"--amplitude", "5..50", "--count", "6"}));
    EXPECT_EQ(height({"--amplitude", "1..3"}), height({"--amplitude", "1,2,3"})) << "each value once";
    EXPECT_EQ(height({"--orientation", "all"}), height({"--orientation", "rows,columns"}));
    EXPECT_EQ(height({"--amplitude", "30"}), height({"--orientation", "all"})) << "before and after";
}

TEST_F(Sheet, WhatCannotBeIsRefusedBeforeAnythingRuns)
{
    const std::string input = Save("in.png", Sample(RGB)), output = SaveText("out.png", "older");
    const auto sheet = [](std::vector<std::string> words) {
        words.insert(words.begin(), "sheet");
        return Velmorant(words);
    };
    EXPECT_TRUE(Refused(sheet({"wav", input, output}), 2, "wav", "did you mean wave?"));
    EXPECT_TRUE(
        Refused(sheet({"wave", input, output, "--amplitde", "3"}), 2, "--amplitde", "did you mean --amplitude?"));
    EXPECT_TRUE(Refused(sheet({"wave", input, output, "--amplitude", "5..500"}), 1, "--amplitude", "outside 1..50"));
    EXPECT_TRUE(
        Refused(sheet({"wave", input, output, "--amplitude", "1..5", "--phase", "1..5"}), 2, "--phase", "several"));
    EXPECT_TRUE(Refused(sheet({input}), 2, "OUTPUT", "missing"));
    EXPECT_TRUE(Refused(sheet({"--json", input, output}), 2, "--json", "no such option"));
    EXPECT_TRUE(Refused(sheet({}), 2, "INPUT", "missing"));
    EXPECT_TRUE(Refused(sheet({input, output, "--amplitude", "3"}), 2, "--amplitude", "name it first"));
    EXPECT_TRUE(Refused(sheet({input, output, "--columns", "0"}), 1, "--columns", "1..100"));
    EXPECT_TRUE(Refused(sheet({"wave", input, "--frames", In("f.png"), "--phase", "1..5"}), 2, "--frames", "%03d"));
    EXPECT_TRUE(Refused(sheet({"wave", input, "--frames", In("f%d.png")}), 2, "--frames", "several values"));
    EXPECT_TRUE(Refused(sheet({In("no.png"), output}), 1, In("no.png"), ""));
    EXPECT_TRUE(Refused(sheet({"noise", Save("p.png", Sample(PALETTE)), output}), 1, In("p.png"), "noise works on"));
    EXPECT_EQ(BytesOf(output), "older");
}

TEST_F(Sheet, DoesNotTakeThePlaceOfItsPicture)
{
    const std::string input = Save("f-2.png", Sample(RGB)), bytes = BytesOf(input);
    EXPECT_TRUE(Refused(Velmorant({"sheet", input, input}), 1, input, "is the picture's file"));
    EXPECT_TRUE(Refused(Velmorant({"sheet", "wave", input, "--frames", In("f-%d.png"), "--amplitude", "5..50"}), 1,
                        input, "is the picture's file"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, input, "--compare"}), 1, input, "is the picture's file"));
    EXPECT_EQ(BytesOf(input), bytes);
    EXPECT_TRUE(Refused(Velmorant({"sheet", input, In("out.png"), "--json"}), 2, "--json", "no such option"));
}

TEST_F(Sheet, ComparePutsBeforeAndAfterBesideEachOther)
{
    const std::string input = Save("in.png", Sample(RGB, 600, 400));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("out.png"), "--compare"})));
    const Picture both = Load(In("out.png"));
    EXPECT_EQ(both.width, 2400);
    EXPECT_GT(both.width, 2 * both.height);
}
