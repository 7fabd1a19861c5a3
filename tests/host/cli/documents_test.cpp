// The examples of docs/command-line.md and README.md, given to a shell as they stand in the text. One that shows its
// output (after "$ ") is compared with what the program says today; the others must go well.

#include "tests/host/cli/workplace.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>

namespace
{

struct Example {
    std::string command;
    bool showsOutput = false;
    std::string output;
};

// A synopsis has brackets, and names in capitals where an example has files.
bool IsSynopsis(const std::string &command) { return command.find('[') != std::string::npos; }

// Code is what is indented by four blanks. Text to the right of a command, three blanks apart, tells what it does.
std::vector<Example> ExamplesOf(const std::string &document)
{
    std::vector<Example> examples;
    std::ifstream text(document);
    bool inOutput = false;
    for (std::string line; std::getline(text, line);) {
        const bool code = line.starts_with("    ");
        const std::string words = code ? line.substr(4) : "";
        if (words.starts_with("$ ")) {
            examples.push_back({words.substr(2), true, ""});
            inOutput = true;
        } else if (inOutput && (code || line.empty())) {
            examples.back().output += words + "\n";
        } else {
            inOutput = false;
            if (words.starts_with("velmorant ") && !IsSynopsis(words))
                examples.push_back({words.substr(0, words.find("   ")), false, ""});
        }
    }
    for (Example &example : examples) {
        while (example.output.ends_with("\n\n")) example.output.pop_back();
        if (example.output == "\n") example.output.clear();
    }
    return examples;
}

class Documents : public Workplace
{
protected:
    // The files that the examples speak of.
    void SetUp() override
    {
        Workplace::SetUp();
        Save("in.png", Sample(RGB, 300, 220));
        Save("in.ppm", Sample(RGB));
        SaveText("sharp.txt", "3x3: 0,-0.5,0  -0.5,3,-0.5  0,-0.5,0\n");
        Save("palette.png", Sample(PALETTE));
        Save("one.jpg", Sample(RGB));
        Save("other.jpg", Sample(GREY));
        Save("logo.png", Sample(RGB, 20, 10));
        SaveText("notes.txt", "no filter\n");
        SaveText("look.recipe", "velmorant recipe 1\nnoise --amount 40\nfilters --kernel '1 2 1; 2 4 2; 1 2 1'\n");
        SaveText("wrong.recipe", "velmorant recipe 1\nwave\nnoise --amount 300\n");
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        for (const char *name : {"out", "grainy", "album"}) std::filesystem::create_directory(In(name));
        Save("album/in.bmp", Sample(RGB));
    }

    // What the shell said, both streams together.
    std::string Said(const std::string &command, int &exitCode) const
    {
        const std::string programs = std::filesystem::path(VELMORANT_PROGRAM).parent_path();
        const std::string script = "cd '" + folder + "' && PATH='" + programs + "':\"$PATH\" && { " + command + "\n}";
        const std::string file = SaveScript(script);
        const int status = std::system(("sh '" + file + "' >'" + In("said") + "' 2>&1").c_str());
        exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return BytesOf(In("said"));
    }

    void ExpectTrue(const std::string &document) const
    {
        const std::vector<Example> examples = ExamplesOf(document);
        EXPECT_GE(examples.size(), 3u);
        for (const Example &example : examples) {
            SCOPED_TRACE(example.command);
            int exitCode = -1;
            const std::string said = Said(example.command, exitCode);
            if (example.showsOutput) {
                EXPECT_EQ(said, example.output);
            } else {
                EXPECT_EQ(exitCode, 0) << said;
            }
        }
    }

private:
    std::string SaveScript(const std::string &script) const
    {
        const std::string file = In("script");
        std::ofstream(file) << script << "\n";
        return file;
    }
};

}   // namespace

TEST_F(Documents, TheCommandLinesPageSaysWhatTheProgramSays) { ExpectTrue(DOCUMENTS_FOLDER "/command-line.md"); }

TEST_F(Documents, TheReadmesCommandsGoWell) { ExpectTrue(DOCUMENTS_FOLDER "/../README.md"); }
