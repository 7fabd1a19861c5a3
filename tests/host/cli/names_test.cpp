// Names of every alphabet: as input, output, mask, object, filter file and folder, and as the program's own folder.

#include "tests/host/cli/workplace.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace
{

const std::vector<std::string> someNames = {"ü.bmp", "żółw ü.bmp", "漢字.bmp", "𝄞 é.bmp"};

class Names : public Workplace
{
protected:
    std::set<std::string> NamesIn(const std::string &name) const
    {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(PathOf(In(name))))
            if (!NameOf(entry.path().filename()).starts_with('.')) names.insert(NameOf(entry.path().filename()));
        return names;
    }
    // A copy of the program and all that it loads, within the folder.
    std::string CopyProgramTo(const std::string &name) const
    {
        const std::filesystem::path program = PathOf(VELMORANT_PROGRAM), copy = PathOf(In(name));
        std::filesystem::create_directories(copy);
        for (const auto &entry : std::filesystem::directory_iterator(program.parent_path())) {
            const std::string file = NameOf(entry.path().filename());
            const bool library = file.find(".dll") != std::string::npos || file.find(".so") != std::string::npos;
            if (!library && entry.path().filename() != program.filename()) continue;
            std::filesystem::copy(entry.path(), copy / entry.path().filename());
        }
        return NameOf(copy / program.filename());
    }
};

}   // namespace

TEST_F(Names, OfInputsAndOutputs)
{
    ASSERT_TRUE(WentWell(Velmorant({"apply", "solarize", Save("in.bmp", Sample(RGB)), In("out.bmp")})));
    const std::string expected = BytesOf(In("out.bmp"));
    for (const std::string &name : someNames) {
        const std::string input = Save(name, Sample(RGB)), output = In("aus " + name);
        EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, output})));
        EXPECT_EQ(BytesOf(output), expected) << name;
        EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, input}))) << "in place";
        EXPECT_EQ(BytesOf(input), expected) << name;
    }
    EXPECT_EQ(NamesIn("").size(), 2 + 2 * someNames.size()) << "and nothing besides";
}

TEST_F(Names, OfFilesThatAreNotThere)
{
    for (const std::string &name : someNames)
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", In(name), In("out.bmp")}), 1, In(name), "cannot be opened"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", Save("in.bmp", Sample(RGB)), In("nicht da 漢/ü.bmp")}), 1,
                        In("nicht da 漢/ü.bmp"), "folder"));
}

TEST_F(Names, OfMasksAndObjects)
{
    const std::string input = Save("漢字.png", Sample(RGB)), mask = Save("ü mask.png", Sample(GREY));
    const std::string object = Save("żółw.png", Sample(RGB, 8, 8));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("Ł.png"), "--mask", mask, "--mask-output",
                                    In("日.png"), "--object", object + "@3,4"})));
    EXPECT_EQ(Load(In("Ł.png")).width, 64);
    EXPECT_EQ(Load(In("日.png")).width, 64);
}

TEST_F(Names, OfFilterFiles)
{
    const std::string input = Save("in.bmp", Sample(RGB));
    for (const std::string &name : someNames) {
        const std::string file = In("Filter " + name);
        EXPECT_TRUE(WentWell(Velmorant({"apply", "filters", input, In("saved.bmp"), "--kernel", "Gaussian 5 by 5",
                                        "--divisor", "50", "--save", file})));
        EXPECT_TRUE(WentWell(Velmorant({"apply", "filters", input, In("loaded.bmp"), "--load", file})));
        EXPECT_EQ(BytesOf(In("saved.bmp")), BytesOf(In("loaded.bmp")));
        EXPECT_TRUE(Refused(Velmorant({"apply", "filters", input, In("out.bmp"), "--load", file + "漢"}), 1,
                            file + "漢", "does not exist"));
        EXPECT_TRUE(Exists(file)) << name;
    }
}

TEST_F(Names, OfABatch)
{
    std::vector<std::string> command = {"batch", "solarize", "--output-folder", In("ünï Ł 日")};
    std::filesystem::create_directory(PathOf(In("ünï Ł 日")));
    for (const std::string &name : someNames) command.push_back(Save(name, Sample(GREY)));
    EXPECT_TRUE(WentWell(Velmorant(command)));
    EXPECT_EQ(NamesIn("ünï Ł 日"), std::set<std::string>(someNames.begin(), someNames.end()));
    command[3] = folder;
    EXPECT_TRUE(Refused(Velmorant(command), 1, In(someNames[0]), "written over"));
}

TEST_F(Names, OfTheProgramsFolder)
{
    const std::string program = CopyProgramTo("Prögramm ŁØ日");
    EXPECT_TRUE(WentWell(VelmorantAt(program, {"apply", "wave", Save("ü.png", Sample(RGB)), In("漢.png")})));
    EXPECT_TRUE(Exists(In("漢.png")));
}

#ifdef _WIN32

TEST_F(Names, WithAStarAreExpandedByTheProgram)
{
    std::filesystem::create_directory(PathOf(In("out")));
    for (const std::string &name : someNames) Save(name, Sample(GREY));
    Save("other.png", Sample(GREY));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(PathOf(folder));
    const Outcome outcome = VelmorantWithLine("batch solarize --output-folder out *.bmp");
    std::filesystem::current_path(before);
    EXPECT_TRUE(WentWell(outcome));
    EXPECT_EQ(NamesIn("out"), std::set<std::string>(someNames.begin(), someNames.end()));
}

TEST_F(Names, ThatDifferInCapitalsAreOneOutput)
{
    std::filesystem::create_directories(PathOf(In("a")));
    std::filesystem::create_directories(PathOf(In("b")));
    std::filesystem::create_directories(PathOf(In("out")));
    const std::string one = Save("a/x.bmp", Sample(GREY)), other = Save("b/X.bmp", Sample(RGB));
    EXPECT_TRUE(Refused(Velmorant({"batch", "solarize", "--output-folder", In("out"), one, other}), 1, other,
                        "written to one file"));
    EXPECT_TRUE(NamesIn("out").empty());
}

#else   // Windows starts no program there from another one: see tests/windows/long-folder.sh

TEST_F(Names, OfTheProgramsFolderMayBeLong)
{
    std::string name;
    for (int i = 0; i < 3; ++i) name += (i ? "/" : "") + std::string(90, char('a' + i)) + "ü";
    const std::string program = CopyProgramTo(name);
    ASSERT_GT(program.size(), 260u);
    EXPECT_TRUE(WentWell(VelmorantAt(program, {"apply", "wave", Save("in.png", Sample(RGB)), In(name + "/out.png")})));
    EXPECT_TRUE(Exists(In(name + "/out.png")));
}

#endif
