// What the program tells of itself: effects, parameters, help.

#include "tests/host/cli/workplace.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#ifndef _WIN32
#include <regex.h>
#endif

using nlohmann::json;

namespace
{

json Effect(const std::string &name) { return json::parse(Velmorant({"effects", name, "--json"}).output); }

json Parameter(const json &effect, const std::string &name)
{
    for (const json &parameter : effect["parameters"])
        if (parameter["name"] == name) return parameter;
    ADD_FAILURE() << "no parameter " << name;
    return {};
}

bool Has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

}   // namespace

TEST(Effects, ListHasALineForEachEffect)
{
    Outcome list = Velmorant({"effects"});
    list.output = std::string("\n").append(list.output);
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.errors, "");
    EXPECT_TRUE(Has(list.output, "\nnoise "));
    EXPECT_TRUE(Has(list.output, "\nwave "));
}

TEST(Effects, ListForProgramsHoldsWhatEachEffectTellsByItself)
{
    const json list = json::parse(Velmorant({"effects", "--json"}).output);
    ASSERT_TRUE(list.is_array());
    ASSERT_GE(list.size(), 2u);
    for (const json &effect : list) {
        EXPECT_FALSE(effect["summary"].get<std::string>().empty());
        EXPECT_EQ(effect, Effect(effect["name"]));
    }
}

TEST(Effects, RangesAndDefaultsAreThoseOfTheDialog)
{
    const json noise = Effect("noise");
    EXPECT_EQ(Parameter(noise, "amount")["minimum"], 1);
    EXPECT_EQ(Parameter(noise, "amount")["maximum"], 100);
    EXPECT_EQ(Parameter(noise, "amount")["default"], 15);
    EXPECT_EQ(Parameter(noise, "variation")["maximum"], 255);
    EXPECT_EQ(Parameter(noise, "variation")["default"], 10);
    EXPECT_EQ(Parameter(noise, "priority")["maximum"], 4);
    EXPECT_EQ(Parameter(noise, "priority")["default"], 0);
}

TEST(Effects, ChoicesAndColoursAreTold)
{
    const json wave = Effect("wave"), orientation = Parameter(wave, "orientation");
    EXPECT_EQ(orientation["kind"], "choice");
    EXPECT_EQ(orientation["default"], "rows");
    ASSERT_EQ(orientation["choices"].size(), 2u);
    EXPECT_EQ(orientation["choices"][1]["word"], "columns");
    EXPECT_EQ(orientation["choices"][1]["number"], 5530);
    EXPECT_EQ(Parameter(wave, "background")["kind"], "colour");
    EXPECT_EQ(Parameter(wave, "background")["default"], "#000000");
}

TEST(Effects, ScopesAreThoseOfEachDialog)
{
    const auto words = [](const std::string &effect) {
        const json scope = Parameter(Effect(effect), "scope");
        std::string all;
        for (const json &choice : scope["choices"])
            all += choice["word"].get<std::string>() + " " + std::to_string(choice["number"].get<int>()) + ", ";
        return all + "default " + scope["default"].get<std::string>();
    };
    EXPECT_EQ(words("noise"), "image 6940, all 6950, objects 6960, new-object 2170, default image");
    EXPECT_EQ(words("filters"), "image 6940, all 6950, objects 6960, new-object 2170, default image");
    EXPECT_EQ(words("mirror"), "all 6950, objects 6960, new-object 2170, default all");
    EXPECT_EQ(words("shear"), "all 6940, image 6950, objects 6960, default all");
}

TEST(Effects, HelpTellsOfAreasAndObjectsAndOfMasksWhereTheyAreTaken)
{
    for (const std::string command : {"apply", "batch"}) {
        for (const std::string effect : {"wave", "mirror"}) {
            const std::string help = Velmorant({command, effect, "--help"}).output;
            EXPECT_TRUE(Has(help, "--area X,Y,WxH")) << help;
            EXPECT_TRUE(Has(help, "--object FILE@X,Y")) << help;
            EXPECT_EQ(Has(help, "--mask FILE"), command == "apply" && effect == "wave") << help;
        }
    }
}

TEST(Effects, EveryParameterIsInAnEffectsTextAndInItsHelp)
{
    for (const std::string name : {"noise", "oil-painting", "filters"}) {
        const std::string text = Velmorant({"effects", name}).output;
        const std::string help = Velmorant({"apply", name, "--help"}).output;
        const std::string batchHelp = Velmorant({"batch", name, "--help"}).output;
        const json effect = Effect(name);
        for (const json &parameter : effect["parameters"]) {
            const std::string option = "--" + parameter["name"].get<std::string>() + " ";
            EXPECT_TRUE(Has(text, option)) << option << text;
            EXPECT_TRUE(Has(help, option)) << option << help;
            EXPECT_TRUE(Has(batchHelp, option)) << option << batchHelp;
            const json choices = parameter.value("choices", json::array());
            for (const json &choice : choices) { EXPECT_TRUE(Has(help, choice["meaning"].get<std::string>())) << help; }
        }
    }
}

TEST(Effects, HelpOfAnEffectTeachesRangesDefaultsAndAnExample)
{
    const Outcome help = Velmorant({"apply", "noise", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.errors, "");
    EXPECT_TRUE(Has(help.output, "--amount 1..100")) << help.output;
    EXPECT_TRUE(Has(help.output, "(default 15)")) << help.output;
    EXPECT_TRUE(Has(help.output, "velmorant apply noise in.png out.png --amount ")) << help.output;
    EXPECT_TRUE(Has(help.output, "--mask-output")) << help.output;
}

TEST(Effects, HelpOfApplyNamesTheEffects)
{
    const std::string help = Velmorant({"apply", "--help"}).output;
    EXPECT_TRUE(Has(help, "\n  noise ")) << help;
    EXPECT_TRUE(Has(help, "\n  wave ")) << help;
}

TEST(Effects, HelpAndVersionGoToStandardOutput)
{
    for (const std::string option : {"--help", "-h", "--version"}) {
        const Outcome told = Velmorant({option});
        EXPECT_EQ(told.exitCode, 0) << option;
        EXPECT_EQ(told.errors, "") << option;
        EXPECT_FALSE(told.output.empty()) << option;
    }
}

#ifndef _WIN32   // which has no such expressions
bool Matches(const std::string &text, const std::string &pattern)
{
    regex_t expression;
    if (regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) return false;
    const bool found = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    return found;
}

TEST(Effects, VersionTellsWhatAReportOfAFaultNeeds)
{
    const std::vector<std::string> lines = Lines(Velmorant({"--version"}).output);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(Matches(lines[0], "^velmorant [0-9]+\\.[0-9]+\\.[0-9]+$")) << lines[0];
    EXPECT_TRUE(Matches(lines[1], "^commit (unknown|[0-9a-f]{12}(-changed)?), [A-Z][a-z]+ [^,]+, (GCC|Clang) [0-9]"))
        << lines[1];
    for (const std::string library : {" ?zlib", " nlohmann-json", " CLI11"})
        EXPECT_TRUE(Matches(lines[2], "," + library + " [0-9]+(\\.[0-9]+)+(,|$)")) << lines[2];
}
#endif

TEST(Effects, ExampleOfTheHelpCanBeRun)
{
    for (const std::string name : {"noise", "oil-painting", "filters"}) {
        const std::string text = Velmorant({"effects", name}).output, start = "velmorant apply " + name;
        const size_t at = text.find(start);
        ASSERT_NE(at, std::string::npos);
        std::vector<std::string> arguments = {"apply", name, "-", "-"};
        const std::string line = Lines(text.substr(at))[0];
        for (size_t word = line.find(" --"); word != std::string::npos; word = line.find(" --", word + 1)) {
            std::string option = line.substr(word + 1, line.find(" --", word + 1) - word - 1);
            std::erase(option, '\'');   // the shell's
            option[option.find(' ')] = '=';
            arguments.push_back(option);
        }
        ASSERT_GT(arguments.size(), 4u);
        const Outcome applied = Velmorant(arguments, "P5 2 2 255\nabcd");
        EXPECT_EQ(applied.exitCode, 0) << applied.errors;
    }
}

TEST(Effects, UnknownEffectIsAUsageError)
{
    const Outcome unknown = Velmorant({"effects", "sparkle"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.output, "");
    EXPECT_EQ(Lines(unknown.errors).size(), 1u);
    EXPECT_TRUE(Has(unknown.errors, "velmorant: sparkle: ")) << unknown.errors;
}

TEST(Effects, WordsPeopleKnowLeadToThem)
{
    for (const auto &[word, effect] : std::vector<std::pair<std::string, std::string>>{{"blur", "filters"},
                                                                                       {"sharpen", "filters"},
                                                                                       {"emboss", "filters"},
                                                                                       {"edge", "filters"},
                                                                                       {"pixelate", "blocks"},
                                                                                       {"mosaic", "blocks"},
                                                                                       {"grain", "noise"},
                                                                                       {"bulge", "fisheye"},
                                                                                       {"pinch", "cone-head"},
                                                                                       {"twirl", "swirl"},
                                                                                       {"flip", "mirror"},
                                                                                       {"negative", "solarize"},
                                                                                       {"glitch", "slices"},
                                                                                       {"posterize", "oil-painting"}}) {
        SCOPED_TRACE(word);
        const Outcome found = Velmorant({"effects", "--match", word});
        EXPECT_EQ(found.exitCode, 0);
        EXPECT_TRUE(found.output.starts_with(effect + " ") ||
                    found.output.find("\n" + effect + " ") != std::string::npos)
            << found.output;
        EXPECT_TRUE(Refused(Velmorant({"apply", word}), 2, word, "no such effect; " + effect));
        EXPECT_TRUE(Refused(Velmorant({"effects", word}), 2, word, "no such effect; " + effect));
    }
    EXPECT_TRUE(Refused(Velmorant({"effects", "--match", "qqq"}), 1, "qqq", "no effect or kernel"));
    EXPECT_TRUE(Refused(Velmorant({"effects", "wav"}), 2, "wav", "did you mean wave?"));
}

// Each row's effect takes the row's settings.
TEST(Effects, FoundSettingsAreSettingsOfTheirEffect)
{
    const auto found = nlohmann::json::parse(Velmorant({"effects", "--match", "e", "--json"}).output);
    EXPECT_GT(found.size(), 60u);
    std::string recipe = "velmorant recipe 1\n";
    for (const auto &entry : found)
        recipe += entry["effect"].get<std::string>() + " " + entry["settings"].get<std::string>() + "\n";
    EXPECT_EQ(Velmorant({"recipe", "check", "-"}, recipe).errors, "");
}
