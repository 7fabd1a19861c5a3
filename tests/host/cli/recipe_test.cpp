// Recipes, presets and told seeds on the command line.

#include "tests/host/cli/workplace.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>

namespace
{

class Recipe : public Workplace
{
protected:
    // The user's own folder is the test's.
    void SetUp() override
    {
        Workplace::SetUp();
#ifdef _WIN32
        _wputenv_s(L"APPDATA", WideOf(folder).c_str());
#else
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
#endif
    }
    std::string SaveSteps(const std::string &lines) { return SaveText("look.recipe", "velmorant recipe 1\n" + lines); }
};

}   // namespace

TEST_F(Recipe, StandsInAnEffectsPlace)
{
    const std::string input = Save("in.png", Sample(RGB));
    const std::string recipe = SaveSteps("wave --amplitude 20\nnoise --amount 50 --seed 3 # grain\n");
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("apart.png"), "--amplitude", "20", "--then", "noise",
                                    "--amount", "50", "--seed", "3"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "--recipe", recipe, input, In("a.png")})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", input, "--quiet", In("b.png"), "--recipe=" + recipe})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("apart.png")));
    EXPECT_EQ(BytesOf(In("b.png")), BytesOf(In("apart.png")));

    EXPECT_TRUE(WentWell(Velmorant({"apply", "--recipe", recipe, input, In("c.png"), "--then", "solarize"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", In("apart.png"), In("apart2.png")})));
    EXPECT_EQ(BytesOf(In("c.png")), BytesOf(In("apart2.png")));
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, In("d.png"), "--recipe", recipe}), 2, "--recipe",
                        "in an effect's place"));
}

TEST_F(Recipe, BatchTakesOneAndCountsItsSeedsOn)
{
    const std::string recipe = SaveSteps("noise --amount 50 --seed 3\n");
    std::filesystem::create_directory(PathOf(In("out")));
    const std::string one = Save("one.png", Sample(RGB)), two = Save("two.png", Sample(RGB));
    EXPECT_TRUE(WentWell(Velmorant({"batch", "--recipe", recipe, one, two, "--output-folder", In("out")})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", two, In("apart.png"), "--amount", "50", "--seed", "4"})));
    EXPECT_EQ(BytesOf(In("out/two.png")), BytesOf(In("apart.png")));
}

TEST_F(Recipe, SavedOneMakesTheSamePictureAgain)
{
    const std::string input = Save("in.png", Sample(RGB)), recipe = In("kept.recipe");
    const Outcome first = Velmorant({"apply", "noise", input, In("a.png"), "--then", "filters", "--kernel",
                                     "Gaussian 3 by 3", "--then", "tiles", "--save-recipe", recipe});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_NE(first.errors.find("a.png: step 1 (noise) seed "), std::string::npos) << first.errors;
    EXPECT_NE(first.errors.find(", step 3 (tiles) seed "), std::string::npos) << first.errors;
    EXPECT_TRUE(WentWell(Velmorant({"apply", "--recipe", recipe, input, In("b.png")})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("b.png")));
    EXPECT_EQ(Velmorant({"recipe", "show", recipe}).output, BytesOf(recipe));
    const Outcome checked = Velmorant({"recipe", "check", recipe});
    EXPECT_EQ(checked.output, recipe + ": 3 steps, nothing wrong\n");
    const auto json = nlohmann::json::parse(Velmorant({"recipe", "show", recipe, "--json"}).output);
    EXPECT_EQ(json["steps"].size(), 3u);
    EXPECT_EQ(json["steps"][1]["settings"]["divisor"], "16");
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, In("c.png"), "--save-recipe", input}), 1, input,
                        "--save-recipe would write over it"));
}

TEST_F(Recipe, RunTellsTheSeedThatMakesItAgain)
{
    const std::string input = Save("in.png", Sample(RGB));
    const Outcome drawn = Velmorant({"apply", "noise", input, In("a.png")});
    const std::string line = "velmorant: " + In("a.png") + ": seed ";
    ASSERT_EQ(drawn.errors.rfind(line, 0), 0u) << drawn.errors;
    const std::string seed = Lines(drawn.errors)[0].substr(line.size());
    const Outcome again = Velmorant({"apply", "noise", input, In("b.png"), "--seed", seed, "--json"});
    EXPECT_EQ(again.errors, "");
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("b.png")));
    const auto json = nlohmann::json::parse(again.output);
    EXPECT_EQ(json["steps"][0]["seed"], uint32_t(std::stoul(seed)));
    EXPECT_EQ(json["width"], 64);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("b.png"), "--quiet"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("b.png")})));
    EXPECT_TRUE(Refused(Velmorant({"apply", "wave", input, "-", "--json"}), 1, "--json", "standard output"));
}

TEST_F(Recipe, WrongLineIsToldBeforeAnythingRuns)
{
    const std::string recipe = SaveSteps("wave\nnoise --amount 300\n"), output = SaveText("out.png", "older");
    EXPECT_TRUE(Refused(Velmorant({"apply", "--recipe", recipe, "missing.png", output}), 1, recipe,
                        "line 3: --amount: 300 is outside 1..100"));
    EXPECT_TRUE(Refused(Velmorant({"recipe", "check", recipe}), 1, recipe, "line 3"));
    const Outcome told = Velmorant({"recipe", "check", recipe, "--json"});
    EXPECT_EQ(told.exitCode, 1);
    EXPECT_EQ(nlohmann::json::parse(told.output)["error"], recipe + ": line 3: --amount: 300 is outside 1..100");
    const std::string sound = SaveSteps("wave\n");
    EXPECT_TRUE(nlohmann::json::parse(Velmorant({"recipe", "check", sound, "--json"}).output)["error"].is_null());
    EXPECT_TRUE(Refused(Velmorant({"recipe", "check", SaveSteps("wave --quality 5\n")}), 1, sound,
                        "--quality: is of files and runs, not of steps"));
    EXPECT_TRUE(Refused(Velmorant({"recipe", "check", In("no")}), 1, In("no"), ""));
    EXPECT_TRUE(Refused(Velmorant({"recipe", "bake", recipe}), 2, "recipe", "show"));
    EXPECT_EQ(BytesOf(output), "older");
}

TEST_F(Recipe, PresetsAreKeptAndApplied)
{
    const std::string input = Save("in.png", Sample(RGB));
    EXPECT_TRUE(WentWell(Velmorant({"presets", "save", "storm", "wave", "--amplitude", "30", "--summary", "at sea"})));
    EXPECT_NE(Velmorant({"presets", "wave"}).output.find("at sea"), std::string::npos);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("apart.png"), "--amplitude", "30"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "--preset", "storm", input, In("a.png")})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", "--preset", "Storm", input, In("b.png")})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("apart.png")));
    EXPECT_EQ(BytesOf(In("b.png")), BytesOf(In("apart.png")));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("c.png"), "--preset", "storm", "--amplitude", "5"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("apart.png"), "--amplitude", "5"})));
    EXPECT_EQ(BytesOf(In("c.png")), BytesOf(In("apart.png")));

    EXPECT_TRUE(WentWell(Velmorant({"presets", "rename", "storm", "gale"})));
    EXPECT_TRUE(WentWell(Velmorant({"presets", "export", "gale", In("gale.recipe")})));
    EXPECT_TRUE(WentWell(Velmorant({"presets", "delete", "gale"})));
    EXPECT_TRUE(Refused(Velmorant({"apply", "--preset", "gale", input, In("d.png")}), 1, "--preset", "no such preset"));
    EXPECT_TRUE(WentWell(Velmorant({"presets", "import", In("gale.recipe")})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "--preset", "gale", input, In("d.png")})));
    EXPECT_EQ(BytesOf(In("a.png")), BytesOf(In("d.png")));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("e.png"), "--preset", "gale"}), 1, "--preset",
                        "preset of wave, not of noise"));
    EXPECT_TRUE(Refused(Velmorant({"presets", "keep", "x"}), 2, "presets keep", "none of"));
    EXPECT_TRUE(Refused(Velmorant({"presets", "rename", "x"}), 2, "presets rename", "NEW-NAME"));
    const auto json = nlohmann::json::parse(Velmorant({"presets", "--json"}).output);
    EXPECT_EQ(json.back()["name"], "gale");
    EXPECT_EQ(json.back()["summary"], "at sea") << "it went into the file and came back";
    EXPECT_NE(BytesOf(In("gale.recipe")).find("\n# at sea\nwave "), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(Velmorant({"presets", "show", "gale", "--json"}).output), json.back());
    EXPECT_TRUE(WentWell(Velmorant({"presets", "import", In("gale.recipe"), "mine", "--summary", "for the lake"})));
    EXPECT_NE(Velmorant({"presets", "show", "mine"}).output.find("# for the lake\n"), std::string::npos);
    EXPECT_EQ(json.front()["shipped"], true);
}
