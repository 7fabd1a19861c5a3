// `velmorant kernels`, and kernels and their files with `apply filters` and `batch filters`.

#include "tests/host/cli/workplace.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#endif

using nlohmann::json;

namespace
{

class Kernels : public Workplace
{
protected:
    void SetUp() override
    {
        Workplace::SetUp();
        input = Save("in.png", Sample(RGB, 33, 29));
    }

    Outcome Filters(const std::string &output, const std::vector<std::string> &options) const
    {
        std::vector<std::string> arguments = {"apply", "filters", input, In(output)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Velmorant(arguments);
    }
    Picture Filtered(const std::vector<std::string> &options) const
    {
        EXPECT_TRUE(WentWell(Filters("filtered.png", options)));
        return Load(In("filtered.png"));
    }
    // What stands in the folder, to see that nothing came to it.
    int FileCount() const
    {
        const auto files = std::filesystem::directory_iterator(PathOf(folder));
        return int(std::distance(begin(files), end(files)));
    }
    void ExpectRefused(const std::vector<std::string> &options, const std::string &subject, const std::string &part,
                       int exitCode = 1)
    {
        const int before = FileCount();
        EXPECT_TRUE(Refused(Filters("out.png", options), exitCode, subject, part));
        EXPECT_EQ(FileCount(), before);
    }

    std::string input;
};

json Listed() { return json::parse(Velmorant({"kernels", "--json"}).output); }

std::string Weights(const json &kernel)
{
    std::string text;
    for (const json &element : kernel["kernel"]) text += (text.empty() ? "" : " ") + element.dump();
    return text;
}

std::string Repeated(const std::string &number, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) text += number + " ";
    return text;
}

const std::string HEADER_LINE = "Velmorant Filter-Matrix Utility\n\r";

}   // namespace

//---- The list

TEST(KernelList, HasALineForEachKernel)
{
    const Outcome list = Velmorant({"kernels"});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.errors, "");
    const std::vector<std::string> lines = Lines(list.output);
    ASSERT_EQ(lines.size(), 1 + 56 + 2u);
    EXPECT_EQ(lines[1], " 16  Contour North                    7        1     0  replace");
    EXPECT_EQ(lines[17], " 32  Engrave image                    5        1   128  add");
    EXPECT_EQ(lines[52], " 67  Sobel North West 3 by 3          3       -2     0  replace");
    EXPECT_EQ(lines[56], " 71  Shift & Difference Horz          3        1     0  replace");
}

TEST(KernelList, ForProgramsHoldsWhatEachKernelTellsByItself)
{
    const json list = Listed();
    ASSERT_EQ(list.size(), 56u);
    for (size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i]["id"], 16 + i);
        EXPECT_EQ(list[i]["kernel"].size(), 49u);
    }
    EXPECT_EQ(list[32], json::parse(Velmorant({"kernels", "IDENTITY", "--json"}).output));
    EXPECT_EQ(list[32]["size"], 1);
    EXPECT_EQ(list[17]["divisor"], 16);
}

TEST(KernelList, ShowsTheGridOfOne)
{
    const Outcome shown = Velmorant({"kernels", "sobel WEST 7 by 7"});
    EXPECT_TRUE(WentWell(shown));
    EXPECT_EQ(shown.output, "Sobel West 7 by 7\n\n"
                            "   0  -1  -1   0   1   1   0\n"
                            "  -1  -2  -2   0   2   2   1\n"
                            "  -1  -2  -3   0   3   2   1\n"
                            "  -1  -2  -3   0   3   2   1\n"
                            "  -1  -2  -3   0   3   2   1\n"
                            "  -1  -2  -2   0   2   2   1\n"
                            "   0  -1  -1   0   1   1   0\n"
                            "\ndivisor 1, bias 0, mode replace\n");
}

TEST(KernelList, UnknownNameSuggestsNearOnes)
{
    EXPECT_TRUE(Refused(Velmorant({"kernels", "Sobel Wst 7 by 7"}), 1, "Sobel Wst 7 by 7",
                        "did you mean Sobel West 7 by 7 or "));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "zzz"}), 1, "zzz", "no such kernel (velmorant kernels lists them)"));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "hat", "5"}), 2, "5", "one argument too many"));
    EXPECT_TRUE(Refused(Velmorant({"kernel"}), 2, "kernel", "did you mean kernels?"));
}

TEST(KernelList, IsToldOfByFilters)
{
    for (const auto &words : {std::vector<std::string>{"effects", "filters"},
                              {"apply", "filters", "--help"},
                              {"batch", "filters", "--help"}}) {
        const std::string text = Velmorant(words).output;
        for (const char *part : {"\"velmorant kernels\" lists", "--kernel NAME|N,N,...", "-50..50", "--load FILE",
                                 "--save FILE", "--divisor 1..1000", "--bias -255..255", "--iterations 1..50"}) {
            EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
        }
    }
    const std::string noise = Velmorant({"apply", "noise", "--help"}).output;
    EXPECT_EQ(noise.find("kernel"), std::string::npos) << noise;
}

//---- Kernels by name and by numbers

// Of a divisor beyond the field's range there is no other way than the name or a file.
TEST_F(Kernels, NameIsTheSameAsItsNumbers)
{
    int alike = 0;
    for (const json &kernel : Listed()) {
        const std::string name = kernel["name"];
        const Picture named = Filtered({"--kernel", name});
        alike += SamePicture(named, Load(input)) ? 1 : 0;
        if (kernel["divisor"] < 1) continue;
        EXPECT_TRUE(SamePicture(named, Filtered({"--kernel", Weights(kernel), "--divisor", kernel["divisor"].dump(),
                                                 "--bias", kernel["bias"].dump(), "--combine-mode", kernel["mode"]})))
            << name;
    }
    EXPECT_EQ(alike, 1) << "only Identity keeps the picture";
}

TEST_F(Kernels, NameIgnoresCaseAndParametersOverrideItWhereverTheyStand)
{
    const std::string smooth = Repeated("1", 49);
    const Picture expected = Filtered({"--kernel", smooth, "--divisor", "70", "--bias", "9", "--combine-mode", "add"});
    EXPECT_TRUE(SamePicture(
        expected, Filtered({"--divisor", "70", "--bias", "9", "--combine-mode", "add", "--kernel", "SMOOTH 7 by 7"})));
    EXPECT_FALSE(SamePicture(expected, Filtered({"--kernel", "smooth 7 by 7"})));
}

TEST_F(Kernels, PassModesIterationsAndChannelsReachTheEffect)
{
    const std::vector<std::string> smooth = {"--kernel", "Smooth 3 by 3"};
    const auto with = [&](const std::vector<std::string> &more) {
        std::vector<std::string> options = smooth;
        options.insert(options.end(), more.begin(), more.end());
        return Filtered(options);
    };
    const Picture plain = with({});
    for (const char *mode : {"difference", "iterative"}) EXPECT_FALSE(SamePicture(plain, with({"--pass-mode", mode})));
    EXPECT_FALSE(
        SamePicture(with({"--pass-mode", "iterative"}), with({"--pass-mode", "iterative", "--iterations", "3"})));
    const Picture original = Load(input), noGreen = with({"--use-green", "off"});
    for (int32_t y = 0; y < original.height; ++y) {
        for (int32_t x = 0; x < original.width; ++x) {
            const uint32_t green = PixelOf(original, x, y) & 0xFF00;
            ASSERT_EQ(PixelOf(noGreen, x, y), (PixelOf(plain, x, y) & 0xFF00FF) | green) << x << ", " << y;
        }
    }
    const std::vector<std::string> none = {"--use-red", "off", "--use-green", "off", "--use-blue", "off", "--quiet"};
    EXPECT_TRUE(SamePicture(original, with(none)));
}

TEST_F(Kernels, NumbersThatBrightenThePictureAreTold)
{
    const auto notice = [&](const std::vector<std::string> &options) {
        std::vector<std::string> arguments = {"apply", "filters", input, In("out.png")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Velmorant(arguments).errors;
    };
    const std::string smooth = "1 2 1; 2 4 2; 1 2 1";
    EXPECT_EQ(notice({"--kernel", smooth}), "velmorant: --kernel: its numbers sum to 16, so that the picture becomes "
                                            "brighter; --divisor auto keeps its brightness\n");
    EXPECT_EQ(notice({"--kernel", smooth, "--divisor", "auto"}), "");
    EXPECT_EQ(notice({"--kernel", smooth, "--divisor", "3"}), "");
    EXPECT_EQ(notice({"--kernel", smooth + " divisor 16"}), "");
    EXPECT_EQ(notice({"--kernel", "0 -1 0; -1 5 -1; 0 -1 0"}), "");
    EXPECT_EQ(notice({"--kernel", "Gaussian 3 by 3"}), "");
}

TEST_F(Kernels, SquaresDoWithoutSemicolons)
{
    const auto bytes = [&](const std::string &kernel, const std::string &divisor) {
        EXPECT_TRUE(
            WentWell(Velmorant({"apply", "filters", input, In("out.png"), "--kernel", kernel, "--divisor", divisor})));
        return BytesOf(In("out.png"));
    };
    EXPECT_EQ(bytes("1 2 1 2 4 2 1 2 1", "auto"), bytes("1 2 1; 2 4 2; 1 2 1", "16"));
    EXPECT_EQ(bytes(Repeated("1", 25), "25"), bytes("1 1 1 1 1; 1 1 1 1 1; 1 1 1 1 1; 1 1 1 1 1; 1 1 1 1 1", "25"));
}

TEST_F(Kernels, BadKernelsAreRefusedInOneLine)
{
    ExpectRefused({"--kernel", "Gausian 3 by 3"}, "--kernel", "did you mean Gaussian 3 by 3");
    ExpectRefused({"--kernel", "sparkle"}, "--kernel", "no such kernel (velmorant kernels lists them)");
    ExpectRefused({"--kernel", Repeated("0", 48) + "51"}, "--kernel", "51 is outside -50..50");
    ExpectRefused({"--kernel", "-51 " + Repeated("0", 48)}, "--kernel", "-51 is outside -50..50");
    ExpectRefused({"--kernel", Repeated("0", 48) + "99999999999"}, "--kernel", "not a whole number of -50..50");
    ExpectRefused({"--kernel", Repeated("0", 48) + "x"}, "--kernel", "'x' is not a whole number of -50..50");
    ExpectRefused({"--kernel", Repeated("1", 48)}, "--kernel", "48 numbers where there are 49");
    ExpectRefused({"--kernel", Repeated("1", 50)}, "--kernel", "50 numbers where there are 49");
    ExpectRefused({"--kernel", ""}, "--kernel", "0 numbers where there are 49");
    for (const char *divisor : {"0", "-2", "1001"}) ExpectRefused({"--divisor", divisor}, "--divisor", "1..1000");
    ExpectRefused({"--bias", "256"}, "--bias", "-255..255");
    ExpectRefused({"--iterations", "51"}, "--iterations", "1..50");
    ExpectRefused({"--combine-mode", "mix"}, "--combine-mode", "subtract, add, replace");
    ExpectRefused({"--use-red", "yes"}, "--use-red", "neither on nor off");
}

//---- Files

TEST_F(Kernels, SavedFileBringsTheSamePicture)
{
    const Picture saved = Filtered({"--save", In("kernel.flt"), "--kernel", "Gaussian 7 by 7", "--divisor", "900",
                                    "--combine-mode", "subtract", "--bias", "-3"});
    EXPECT_EQ(BytesOf(In("kernel.flt")),
              HEADER_LINE + " 1 1 2 2 2 1 1 1 2 2 4 2 2 1 2 2 4 8 4 2 2 2 4 8 16 8 4 2 2 2 4 8 4 2 2 1 2 2 4 2 2 1 "
                            "1 1 2 2 2 1 1 900 -3 S");
    EXPECT_TRUE(SamePicture(saved, Filtered({"--load", In("kernel.flt")})));
    EXPECT_FALSE(SamePicture(saved, Filtered({"--divisor", "99", "--load", In("kernel.flt")})));
    EXPECT_TRUE(SamePicture(saved, Filtered({"--divisor", "900", "--load", In("kernel.flt")})));
    EXPECT_EQ(FileCount(), 3);   // the input, the output and the kernel
}

TEST_F(Kernels, FileMayGoBeyondTheRanges)
{
    const std::string file =
        SaveText("north_west.flt", HEADER_LINE + " " + Repeated("0", 16) + "-2 -1 0 0 0 0 0 -1 0 -1 0 0 0 0 0 1 2 " +
                                       Repeated("0", 16) + "-2 0 R");
    EXPECT_TRUE(SamePicture(Filtered({"--load", file}), Filtered({"--kernel", "Sobel North West 3 by 3"})));
    const std::string heavy =
        SaveText("heavy.flt", HEADER_LINE + " " + Repeated("0", 24) + "1000 " + Repeated("0", 24) + "1000 0 R");
    EXPECT_TRUE(SamePicture(Filtered({"--load", heavy}), Load(input)));
}

TEST_F(Kernels, SaveReplacesAnOlderFile)
{
    const std::string file = SaveText("kernel.flt", "older");
    SaveText("kernel.flt.new", "another's");
    EXPECT_TRUE(WentWell(Filters("out.png", {"--save", file})));
    EXPECT_TRUE(BytesOf(file).starts_with(HEADER_LINE + " 0 0 0 "));
    EXPECT_EQ(BytesOf(In("kernel.flt.new")), "another's");
    EXPECT_EQ(FileCount(), 4);
}

TEST_F(Kernels, FilesThatCannotBeLoadedAreRefusedByName)
{
    const std::string notice = "File is not a Filter Utility File.";
    ExpectRefused({"--load", In("none.flt")}, In("none.flt"), "does not exist");
    ExpectRefused({"--load", folder}, folder, "is a folder");
#ifndef _WIN32
    const std::string pipe = In("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ExpectRefused({"--load", pipe}, pipe, "not an ordinary file");
#endif
    ExpectRefused({"--load", ""}, "''", "a file's name is missing");
    const std::string longName = In(std::string(250, 'k'));
    ExpectRefused({"--load", longName}, longName, "does not exist");
    for (const std::string &text : {std::string(), std::string("notes"), " " + HEADER_LINE}) {
        const std::string file = SaveText("other.flt", text);
        ExpectRefused({"--load", file}, file, notice);
        ExpectRefused({"--load", file, "--save", In("kernel.flt")}, file, notice);
    }
    ExpectRefused({"--load", In("a"), "--kernel", "Identity"}, "--load", "so does --kernel", 2);
}

TEST_F(Kernels, PlacesThatCannotBeSavedToAreRefusedByName)
{
    for (const std::string &file : {In("nowhere/k.flt"), In("in.png/k.flt"), folder}) {
        ExpectRefused({"--save", file}, file, "");
    }
    ExpectRefused({"--save", ""}, "''", "a file's name is missing");
#ifndef _WIN32
    ExpectRefused({"--save", "/dev/null"}, "/dev/null", "not an ordinary file");
    ExpectRefused({"--save", "/proc/k.flt"}, "/proc/k.flt", "cannot be written");   // where nobody may
#endif
    ExpectRefused({"--save", input}, input, "would write over it");
    ExpectRefused({"--save", In("./out.png")}, In("./out.png"), "would write over it");
}

#ifndef _WIN32
// As on a full disk: files are made, but nothing can be written into them. Pipes still work.
TEST_F(Kernels, AFailedSaveLeavesNoFileBehind)
{
    const std::string file = SaveText("kernel.flt", "older");
    struct rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit none = before;
    none.rlim_cur = 0;
    signal(SIGXFSZ, SIG_IGN);   // for the program too: the write fails instead
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
    const Outcome outcome = Filters("out.png", {"--save", file});
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_TRUE(Refused(outcome, 1, file, "cannot be written"));
    EXPECT_EQ(BytesOf(file), "older");
    EXPECT_EQ(FileCount(), 2);
}
#endif

TEST_F(Kernels, NothingIsSavedWhenThePictureCannotBeRead)
{
    EXPECT_EQ(Velmorant({"apply", "filters", In("none.png"), In("out.png"), "--save", In("k.flt")}).exitCode, 1);
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(Kernels, OwnOnesComeGoAndAreApplied)
{
#ifdef _WIN32
    _wputenv_s(L"APPDATA", WideOf(folder).c_str());
#else
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
#endif
    const std::string text = SaveText("soft.txt", "3: 0.0625,.125,.0625  .125,.25,.125  .0625,.125,.0625\n");
    EXPECT_TRUE(WentWell(Velmorant({"kernels", "import", text})));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "import", text}), 1, "soft", "already"));
    EXPECT_TRUE(WentWell(Velmorant({"kernels", "import", text, "--replace"})));
    EXPECT_NE(Velmorant({"kernels"}).output.find("\n  0  soft  "), std::string::npos);
    EXPECT_TRUE(SamePicture(Filtered({"--kernel", "SOFT"}), Filtered({"--kernel", "Gaussian 3 by 3"})));
    EXPECT_EQ(Velmorant({"kernels", "export", "soft", "-", "--as", "imagemagick"}).output,
              "3x3: 0.0625,0.125,0.0625  0.125,0.25,0.125  0.0625,0.125,0.0625\n");
    EXPECT_TRUE(WentWell(Velmorant({"kernels", "import", "-", "from a pipe"}, "1 2 1\n2 4 2\n1 2 1\n")));
    SaveText("velmorant/kernels/odd.kernel", "1 2\n");
    const Outcome listed = Velmorant({"kernels"});
    EXPECT_EQ(listed.exitCode, 0);
    SaveText("velmorant/kernels/odd.kernel", "no numbers");
    EXPECT_NE(Velmorant({"kernels"}).errors.find("odd.kernel: "), std::string::npos);
    ExpectRefused({"--kernel", "odd"}, "--kernel", "odd.kernel: ");
    EXPECT_TRUE(WentWell(Velmorant({"kernels", "delete", "soft"})));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "delete", "soft"}), 1, "soft", "no such kernel"));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "export", "soft"}), 2, "export", "NAME FILE"));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "import", In("no.txt")}), 1, In("no.txt"), "cannot be read"));
    EXPECT_TRUE(Refused(Velmorant({"kernels", "import", SaveText("x.txt", "Sobel:0")}), 1, In("x.txt"), "showKernel"));
}

TEST_F(Kernels, BatchTakesThemToo)
{
    const std::string other = Save("other.png", Sample(GREY, 20, 31));
    std::filesystem::create_directory(PathOf(In("out")));
    const std::vector<std::string> command = {"batch", "filters", input, other, "--output-folder", In("out")};
    const auto batch = [&](const std::vector<std::string> &options) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Velmorant(arguments);
    };
    EXPECT_TRUE(WentWell(batch({"--kernel", "emboss east", "--save", In("k.flt")})));
    EXPECT_TRUE(SamePicture(Load(In("out/in.png")), Filtered({"--load", In("k.flt")})));
    std::filesystem::remove_all(PathOf(In("out")));
    std::filesystem::create_directory(PathOf(In("out")));
    EXPECT_TRUE(Refused(batch({"--load", input}), 1, input, "File is not a Filter Utility File."));
    EXPECT_TRUE(Refused(batch({"--save", In("out/in.png")}), 1, In("out/in.png"), "would write over it"));
    EXPECT_TRUE(std::filesystem::is_empty(PathOf(In("out"))));
}
