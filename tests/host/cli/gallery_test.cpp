// docs/effects.md and its pictures are what the program makes of them today; scripts/gallery.sh makes them anew.

#include "tests/host/cli/process.h"
#include "tests/support/comparison.h"
#include "tests/support/read_back.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

using nlohmann::json;

static const std::string folder = DOCUMENTS_FOLDER;

static std::string TextOf(const std::string &file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// The words of an example as a shell takes them apart.
static std::vector<std::string> WordsOf(const std::string &example)
{
    std::vector<std::string> words(1);
    bool quoted = false;
    for (char letter : example) {
        if (letter == '\'') quoted = !quoted;
        else if (letter == ' ' && !quoted) words.emplace_back();
        else words.back() += letter;
    }
    return words;
}

TEST(Gallery, ThePageIsWhatTheProgramTells)
{
    const Outcome page = Velmorant({"effects", "--markdown"});
    EXPECT_EQ(page.errors, "");
    EXPECT_EQ(page.output, TextOf(folder + "/effects.md")) << "scripts/gallery.sh makes the page anew";
}

TEST(Gallery, EveryPictureIsWhatItsExampleMakes)
{
    const std::string made = std::filesystem::temp_directory_path() / ("gallery-" + std::to_string(getpid()) + ".png");
    for (const json &effect : json::parse(Velmorant({"effects", "--json"}).output)) {
        const std::string name = effect["name"];
        SCOPED_TRACE(name);
        std::vector<std::string> arguments = {"apply", name, folder + "/effects/before.png", made, "--seed", "1"};
        for (const std::string &word : WordsOf(effect["example"])) arguments.push_back(word);
        ASSERT_EQ(Velmorant(arguments).exitCode, 0);
        EXPECT_TRUE(SamePicture(ReadBack(made), ReadBack(folder + "/effects/" + name + ".png")))
            << "scripts/gallery.sh makes the pictures anew";
    }
    std::filesystem::remove(made);
}
