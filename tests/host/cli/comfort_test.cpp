// Help by its name, completion, the manual, timing, and what is told of a run that changes nothing.

#include "tests/host/cli/workplace.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace
{

class Comfort : public Workplace
{
};

std::vector<std::string> Completed(std::vector<std::string> words)
{
    words.insert(words.begin(), {"complete", "--"});
    const Outcome outcome = Velmorant(words);
    EXPECT_EQ(outcome.errors, "");
    return Lines(outcome.output);
}

bool Holds(const std::vector<std::string> &words, const std::string &word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

}   // namespace

TEST_F(Comfort, HelpMayBeAskedForByName)
{
    EXPECT_EQ(Velmorant({"help"}).output, Velmorant({"--help"}).output);
    EXPECT_EQ(Velmorant({"help", "apply", "wave"}).output, Velmorant({"apply", "wave", "--help"}).output);
    EXPECT_TRUE(Refused(Velmorant({"help", "frob"}), 2, "frob", "no such command"));
    EXPECT_EQ(Velmorant({"-V"}).output, Velmorant({"--version"}).output);
    EXPECT_EQ(Velmorant({"-V"}).exitCode, 0);
}

TEST_F(Comfort, WordsAreCompletedFromTheProgramsOwnLists)
{
    EXPECT_TRUE(Holds(Completed({"ap"}), "apply"));
    EXPECT_TRUE(Holds(Completed({""}), "sheet"));
    EXPECT_EQ(Completed({"apply", "oil"}), std::vector<std::string>({"oil-painting"}));
    EXPECT_EQ(Completed({"apply", "wave", "in.png", "--ampl"}), std::vector<std::string>({"--amplitude"}));
    EXPECT_TRUE(Holds(Completed({"batch", "wave", "--out"}), "--output-folder"));
    EXPECT_EQ(Completed({"apply", "wave", "--orientation", ""}), std::vector<std::string>({"rows", "columns"}));
    EXPECT_TRUE(Holds(Completed({"apply", "filters", "--kernel", "Gau"}), "Gaussian 3 by 3"));
    EXPECT_TRUE(Holds(Completed({"apply", "wave", "a", "b", "--then", "noi"}), "noise"));
    EXPECT_TRUE(Holds(Completed({"apply", "wave", "a", "b", "--then", "noise", "--am"}), "--amount"));
    EXPECT_TRUE(Holds(Completed({"apply", "noise", "--preset", ""}), "film-grain"));
    EXPECT_FALSE(Holds(Completed({"apply", "wave", "--preset", ""}), "film-grain"));
    EXPECT_TRUE(Holds(Completed({"sheet", "wave", "--ph"}), "--phase"));
    EXPECT_EQ(Completed({"help", "apply", "no"}), std::vector<std::string>({"noise"}));
    EXPECT_EQ(Completed({"apply", "wave", "--subsampling", "41"}), std::vector<std::string>({"411"}));
    EXPECT_EQ(Completed({"presets", "save", "mine", "noise", "--am"}), std::vector<std::string>({"--amount"}));
    EXPECT_TRUE(Completed({"presets", "delete", "film"}).empty()) << "those that come with the program stay";
    EXPECT_TRUE(Holds(Completed({"kernels", "export", "Gau"}), "Gaussian 3 by 3"));
    EXPECT_EQ(Completed({"kernels", "export", "Emboss North", "-", "--as", "im"}),
              std::vector<std::string>({"imagemagick"}));
    EXPECT_TRUE(Completed({"apply", "wave", ""}).empty()) << "files are the shell's";
    for (const char *shell : {"bash", "zsh", "fish"})
        EXPECT_NE(Velmorant({"completion", shell}).output.find("velmorant complete"), std::string::npos) << shell;
    EXPECT_TRUE(Refused(Velmorant({"completion", "cmd"}), 2, "completion", "bash, zsh or fish"));
}

TEST_F(Comfort, ManualTellsOfEveryEffectAndOption)
{
    const std::string page = Velmorant({"manual"}).output;
    EXPECT_TRUE(page.starts_with(".TH VELMORANT 1"));
    for (const char *part :
         {".SS wave", ".SS oil\\-painting", "\\-\\-amplitude", "\\-\\-output\\-folder", "film\\-grain"})
        EXPECT_NE(page.find(part), std::string::npos) << part;
}

TEST_F(Comfort, HelpAndManualNameEveryOptionAsItIsWritten)
{
    const std::string help = Velmorant({"apply", "median", "--help"}).output, page = Velmorant({"manual"}).output;
    EXPECT_NE(help.find("--strip[=all]  "), std::string::npos) << help;
    EXPECT_EQ(help.find('{'), std::string::npos) << help;
    for (const char *option : {"scope WORD", "priority 0..4", "edges WORD", "fringe WORD"}) {
        std::string term = std::string(".B \\-\\-") + option;
        EXPECT_NE(page.find(term), std::string::npos) << term;
        EXPECT_EQ(page.find(term), page.rfind(term)) << term;
    }
}

TEST_F(Comfort, ManualHasAPageForEveryCommand)
{
    const std::string page = Velmorant({"manual", "apply"}).output;
    for (const char *part : {".TH VELMORANT\\-APPLY 1", ".SH SYNOPSIS", "oil\\-painting", ".SH NOTES", "\\-\\-area"})
        EXPECT_NE(page.find(part), std::string::npos) << part;
    EXPECT_NE(Velmorant({"manual", "kernels"}).output.find("import FILE"), std::string::npos);
    EXPECT_TRUE(Refused(Velmorant({"manual", "paint"}), 2, "paint", "no such command"));
}

TEST_F(Comfort, BatchTellsHowManyStayAsTheyWere)
{
    const std::string grey = Save("a.png", NewPicture(GREY, 40, 30)), other = Save("b.png", Sample(GREY, 40, 30));
    const Outcome told =
        Velmorant({"batch", "median", grey, other, "--output-folder", In("out"), "--report", In("r.jsonl")});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_TRUE(told.errors.ends_with("nothing has changed in one picture of 2\n")) << told.errors;
    const std::string report = BytesOf(In("r.jsonl"));
    EXPECT_NE(report.find("nothing has changed"), std::string::npos) << report;
    EXPECT_EQ(report.find("nothing has changed"), report.rfind("nothing has changed"));
    EXPECT_TRUE(WentWell(Velmorant({"batch", "median", grey, "--output-folder", In("out"), "--quiet"})));
}

TEST_F(Comfort, RunThatChangesNothingSaysSo)
{
    const std::string input = Save("in.png", Sample(RGB));
    const Outcome told = Velmorant({"apply", "filters", input, In("out.png")});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_NE(told.errors.find("nothing has changed"), std::string::npos) << told.errors;
    EXPECT_TRUE(WentWell(Velmorant({"apply", "filters", input, In("out.png"), "--quiet"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("out.png")})));
    EXPECT_NE(Velmorant({"apply", "solarize", input, In("out.png"), "--timing"}).errors.find(" s, run in "),
              std::string::npos);
}

TEST_F(Comfort, ProgramsAreToldNoticesAndTimes)
{
    Picture masked = Sample(RGB);
    AddMask(masked, 8);
    const std::string input = Save("in.png", masked);
    const Outcome told = Velmorant({"apply", "solarize", input, In("out.jpg"), "--json", "--quiet"});
    EXPECT_EQ(told.errors, "");
    const auto json = nlohmann::json::parse(told.output);
    ASSERT_EQ(json["notices"].size(), 1u) << told.output;
    EXPECT_NE(json["notices"][0].get<std::string>().find("out.jpg: the mask is not stored"), std::string::npos);
    const double parts = json["read"].get<double>() + json["run"].get<double>() + json["written"].get<double>();
    EXPECT_NEAR(json["seconds"].get<double>(), parts, 0.003);
    EXPECT_TRUE(Refused(Velmorant({"apply", "solarize", input, "-", "--json"}), 1, "--json", "already"));
}

TEST_F(Comfort, SizesMayFollowThePicture)
{
    const std::string input = Save("in.png", Sample(RGB, 200, 100));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "blocks", input, In("a.png"), "--block-width", "5%"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "blocks", input, In("b.png"), "--block-width", "5"})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("b.png")));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "tiles", input, In("a.png"), "--scale-to-picture", "--seed", "1"})));
    EXPECT_TRUE(WentWell(
        Velmorant({"apply", "tiles", input, In("b.png"), "--tile-size", "5", "--offset", "5", "--seed", "1"})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("b.png")));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "median", input, In("a.png"), "--edges", "wrap", "--radius", "2"})));
}
