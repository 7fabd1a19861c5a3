// `velmorant batch` on folders and lists, what it leaves out, and what it reports.

#include "tests/host/cli/workplace.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace
{

class BatchFolders : public Workplace
{
protected:
    // Pictures in a folder, in one within it, and what is none.
    void SetUp() override
    {
        Workplace::SetUp();
        std::filesystem::create_directories(PathOf(In("album/day two")));
        std::filesystem::create_directories(PathOf(In("album/.hidden")));
        Save("album/a.png", Sample(RGB, 30, 20));
        Save("album/b.bmp", Sample(GREY, 31, 20));
        Save("album/day two/a.png", Sample(RGB, 32, 20));
        Save("album/.hidden/c.png", Sample(RGB, 33, 20));
        SaveText("album/notes.txt", "no picture");
    }
    std::vector<std::string> Outputs() const
    {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(PathOf(In("out"))))
            if (entry.is_regular_file() && !NameOf(entry.path().filename()).starts_with('.'))
                names.push_back(NameOf(entry.path().lexically_relative(PathOf(In("out")))));
        for (std::string &name : names) std::replace(name.begin(), name.end(), '\\', '/');
        std::sort(names.begin(), names.end());
        return names;
    }
    Outcome Batch(std::vector<std::string> more, const std::string &input = "") const
    {
        more.insert(more.begin(), {"batch", "noise", "--output-folder", In("out"), "--seed", "5"});
        return Velmorant(more, input);
    }
    std::vector<nlohmann::json> ReportOf(const std::string &text) const
    {
        std::vector<nlohmann::json> lines;
        for (const std::string &line : Lines(text)) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }
};

typedef std::vector<std::string> Names;

}   // namespace

TEST_F(BatchFolders, FoldersPicturesAreTakenAndTheOutputFolderIsMade)
{
    EXPECT_TRUE(WentWell(Batch({In("album")})));
    EXPECT_EQ(Outputs(), Names({"a.png", "b.bmp"}));
    EXPECT_TRUE(WentWell(Batch({In("album"), "--recursive"})));
    EXPECT_EQ(Outputs(), Names({"a.png", "b.bmp", "day two/a.png"}));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", In("album/day two/a.png"), In("apart.png"), "--seed", "7"})));
    EXPECT_EQ(BytesOf(In("out/day two/a.png")), BytesOf(In("apart.png"))) << "the third picture has the seed 5 + 2";
    EXPECT_TRUE(Refused(Velmorant({"batch", "noise", In("out/day two"), "--output-folder", In("out/day two")}), 1,
                        In("out/day two"), "output folder itself"));
    std::filesystem::create_directory(PathOf(In("empty")));
    EXPECT_TRUE(Refused(Batch({In("empty")}), 1, In("empty"), "there are no pictures"));
}

TEST_F(BatchFolders, OutputFolderWithinTheInputIsNotTakenAgain)
{
    const std::vector<std::string> command = {"batch",         "wave",        In("album"), "--output-folder",
                                              In("album/out"), "--recursive", "--report",  "-"};
    EXPECT_EQ(ReportOf(Velmorant(command).output).size(), 3u);
    EXPECT_EQ(ReportOf(Velmorant(command).output).size(), 3u);
}

TEST_F(BatchFolders, NamesGetASuffixAndAnotherFormat)
{
    EXPECT_TRUE(WentWell(Batch({In("album"), "--suffix", " grainy", "--format", "tiff"})));
    EXPECT_EQ(Outputs(), Names({"a grainy.tif", "b grainy.tif"}));
    EXPECT_EQ(Load(In("out/a grainy.tif")).width, 30);
    EXPECT_TRUE(Refused(Batch({In("album"), "--format", "webm"}), 1, "--format", "webm"));
    EXPECT_TRUE(Refused(Batch({In("album"), "--suffix", "/x"}), 1, "--suffix", "not a folder"));
    EXPECT_TRUE(
        WentWell(Velmorant({"batch", "wave", In("album/a.png"), "--output-folder", In("album"), "--suffix", "-wavy"})));
    EXPECT_TRUE(Exists(In("album/a-wavy.png"))) << "beside the inputs";
}

TEST_F(BatchFolders, WhatIsThereIsLeftOutAndTheRestHasTheSamePixels)
{
    EXPECT_TRUE(WentWell(Batch({In("album"), "--recursive"})));
    const std::string third = BytesOf(In("out/day two/a.png"));
    std::filesystem::remove(PathOf(In("out/day two/a.png")));
    SaveText("out/a.png", "older");
    const Outcome again = Batch({In("album"), "--recursive", "--skip-existing", "--report", "-", "--jobs", "1"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(BytesOf(In("out/a.png")), "older");
    EXPECT_EQ(BytesOf(In("out/day two/a.png")), third);
    std::vector<std::string> statuses;
    for (const auto &line : ReportOf(again.output)) statuses.push_back(line["status"]);
    std::sort(statuses.begin(), statuses.end());
    EXPECT_EQ(statuses, Names({"done", "skipped", "skipped"}));

    std::filesystem::remove(PathOf(In("out/b.bmp")));
    const Outcome refused = Batch({In("album"), "--no-clobber"});
    EXPECT_TRUE(Refused(refused, 1, NameOf(PathOf(In("out")) / "a.png"), "is there already"));
    EXPECT_EQ(BytesOf(In("out/a.png")), "older");
    EXPECT_TRUE(Exists(In("out/b.bmp")));
}

TEST_F(BatchFolders, WhatIsThereOfOtherSettingsIsMadeAgain)
{
    const auto batch = [&](const std::vector<std::string> &more) {
        std::vector<std::string> words = {"batch",   "wave",     In("album"), "--recursive",    "--output-folder",
                                          In("out"), "--report", "-",         "--skip-existing"};
        words.insert(words.end(), more.begin(), more.end());
        return Velmorant(words);
    };
    const auto count = [&](const Outcome &outcome, const char *status) {
        const auto lines = ReportOf(outcome.output);
        return std::count_if(lines.begin(), lines.end(), [&](const auto &line) { return line["status"] == status; });
    };
    EXPECT_EQ(count(batch({"--amplitude", "10"}), "done"), 3);
    const Outcome same = batch({"--amplitude", "10", "--wavelength", "20"});   // which is the default
    EXPECT_TRUE(WentWell(same));
    EXPECT_EQ(count(same, "skipped"), 3);

    // As after an interrupt among other settings: one is of them already.
    const std::string small = BytesOf(In("out/b.bmp"));
    EXPECT_TRUE(
        WentWell(Velmorant({"batch", "wave", In("album/a.png"), "--output-folder", In("out"), "--amplitude", "30"})));
    const Outcome plan = batch({"--amplitude", "30", "--dry-run"});
    EXPECT_EQ(plan.output.find("(is there already)"), plan.output.rfind("(is there already)")) << plan.output;
    const Outcome other = batch({"--amplitude", "30"});
    EXPECT_EQ(other.errors,
              "velmorant: " + In("out") +
                  ": of what is there already, 2 are of other settings and made again; --no-clobber keeps "
                  "it\n");
    EXPECT_EQ(count(other, "done"), 2);
    EXPECT_EQ(count(other, "skipped"), 1);
    EXPECT_NE(BytesOf(In("out/b.bmp")), small);
    EXPECT_EQ(count(batch({"--amplitude", "30"}), "skipped"), 3);
    EXPECT_EQ(count(batch({"--amplitude", "30", "--strip"}), "done"), 3) << "options of files count too";
    EXPECT_EQ(count(batch({"--amplitude", "10", "--no-clobber"}), "failed"), 3);

    // What nobody knows is left alone: a picture of one's own, and all where the record is gone.
    std::filesystem::remove(PathOf(In("out/.velmorant-batch")));
    EXPECT_EQ(count(batch({"--amplitude", "10"}), "skipped"), 3);
}

TEST_F(BatchFolders, SeedsThatWereDrawnAreNoOtherSettings)
{
    const auto batch = [&](const std::vector<std::string> &more) {
        std::vector<std::string> words = {"batch",           "wave",    "--then",   "noise", In("album"),
                                          "--output-folder", In("out"), "--report", "-",     "--skip-existing"};
        words.insert(words.end(), more.begin(), more.end());
        return ReportOf(Velmorant(words).output)[0]["status"].get<std::string>();
    };
    EXPECT_EQ(batch({}), "done");
    EXPECT_EQ(batch({}), "skipped");
    EXPECT_EQ(batch({"--seed", "4"}), "done");
    EXPECT_EQ(batch({"--seed", "4"}), "skipped");
    EXPECT_EQ(batch({"--seed", "5"}), "done");
}

TEST_F(BatchFolders, DryRunTellsAndTouchesNothing)
{
    const Outcome plan = Batch({In("album"), "--recursive", "--dry-run"});
    EXPECT_EQ(plan.exitCode, 0);
    EXPECT_EQ(Lines(plan.output).size(), 3u) << plan.output;
    EXPECT_NE(plan.output.find(" -> "), std::string::npos);
    EXPECT_FALSE(Exists(In("out")));
    const auto lines = ReportOf(Batch({In("album"), "--dry-run", "--json"}).output);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(PathOf(lines[0]["output"].get<std::string>()), PathOf(In("out/a.png")));
    EXPECT_EQ(lines[0]["status"], "planned");
    EXPECT_TRUE(Refused(Batch({In("album"), "--dry-run", "--amount", "300"}), 1, "--amount", "outside"));
}

TEST_F(BatchFolders, OutputsEndAsTheFormatIsCalled)
{
    const std::string input = Save("in.png", Sample(RGB, 30, 20));
    for (const auto &[format, ending] : std::vector<std::pair<std::string, std::string>>{
             {"pam", "pam"}, {"PPM", "ppm"}, {"pnm", "pnm"}, {"tiff", "tif"}, {"jpeg", "jpg"}}) {
        const Outcome plan = Batch({input, "--dry-run", "--format", format});
        EXPECT_TRUE(plan.output.ends_with("in." + ending + "\n")) << plan.output;
    }
}

TEST_F(BatchFolders, InputsMayComeFromAList)
{
    const std::string list = In("album/a.png") + "\r\n\n" + In("album/b.bmp") + "\n";
    EXPECT_TRUE(WentWell(Batch({"--files-from", "-"}, list)));
    EXPECT_EQ(Outputs(), Names({"a.png", "b.bmp"}));
    std::filesystem::remove_all(PathOf(In("out")));
    EXPECT_TRUE(WentWell(Batch({"--files-from", SaveText("list", In("album/b.bmp") + std::string(1, '\0'))})));
    EXPECT_EQ(Outputs(), Names({"b.bmp"}));
    EXPECT_TRUE(Refused(Batch({"--files-from", In("none")}), 1, In("none"), "cannot be read"));
    EXPECT_TRUE(Refused(Batch({"--files-from", "-"}, "\n"), 1, "batch", "no pictures"));
}

TEST_F(BatchFolders, ReportHasALinePerPicture)
{
    SaveText("album/torn.png", "not a picture");
    const Outcome outcome = Batch({In("album"), "--report", In("report.jsonl")});
    EXPECT_EQ(outcome.exitCode, 1);
    size_t done = 0, failed = 0;
    for (const auto &line : ReportOf(BytesOf(In("report.jsonl")))) {
        EXPECT_GE(line["seconds"].get<double>(), 0);
        if (line["status"] == "done") {
            ++done;
            const bool first = line["file"] == NameOf(PathOf(In("album")) / "a.png");
            EXPECT_EQ(line["seed"], first ? 5 : 6);
            EXPECT_TRUE(line["error"].is_null());
        } else {
            ++failed;
            EXPECT_NE(line["error"].get<std::string>().find("torn.png"), std::string::npos);
        }
    }
    EXPECT_EQ(done, 2u);
    EXPECT_EQ(failed, 1u);
}

TEST_F(BatchFolders, ProgramsMayReadItFromStandardOutput)
{
    const auto lines = ReportOf(Batch({In("album"), "--json"}).output);
    EXPECT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["status"], "done");
}

TEST_F(BatchFolders, WhereNothingIsWrittenNothingIsLeft)
{
    EXPECT_EQ(Batch({SaveText("torn.png", "none")}).exitCode, 1);
    EXPECT_TRUE(std::filesystem::is_empty(PathOf(In("out"))));
}

TEST_F(BatchFolders, SeedThatItDrewMakesItAgain)
{
    const Outcome drawn = Velmorant({"batch", "noise", In("album"), "--output-folder", In("out")});
    EXPECT_EQ(drawn.exitCode, 0);
    const std::string line = "velmorant: " + In("out") + ": seed ";
    ASSERT_EQ(drawn.errors.rfind(line, 0), 0u) << drawn.errors;
    EXPECT_TRUE(WentWell(Velmorant({"batch", "noise", In("album"), "--output-folder", In("again"), "--seed",
                                    Lines(drawn.errors)[0].substr(line.size())})));
    EXPECT_EQ(BytesOf(In("out/a.png")), BytesOf(In("again/a.png")));
    EXPECT_EQ(BytesOf(In("out/b.bmp")), BytesOf(In("again/b.bmp")));
}
