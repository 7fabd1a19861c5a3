// `velmorant apply` on files and pipes: what comes out, and what is refused.

#include "tests/host/cli/workplace.h"
#include "tests/reference/reference.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

namespace
{

class Apply : public Workplace
{
};

// What noise makes of a picture with a seed.
Picture Noisy(Picture picture, int amount, int variation, unsigned seed)
{
    srand(seed);
    ReferenceNoise(picture, amount, variation);
    return picture;
}

bool HasColour(const Picture &picture, uint32_t colour)
{
    for (int32_t y = 0; y < picture.height; ++y)
        for (int32_t x = 0; x < picture.width; ++x)
            if (PixelOf(picture, x, y) == colour) return true;
    return false;
}

}   // namespace

//---- Effects and their parameters

TEST_F(Apply, NoiseWithASeedIsTheSamePictureEveryTime)
{
    for (const int32_t type : {GREY, RGB}) {
        const Picture picture = Sample(type);
        const std::string input = Save("in.png", picture);
        EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("one.png"), "--seed", "7"})));
        EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("two.png"), "--seed", "8"})));
        EXPECT_TRUE(SamePicture(Load(In("one.png")), Noisy(CopyOf(picture), 15, 10, 7)));
        EXPECT_TRUE(SamePicture(Load(In("two.png")), Noisy(CopyOf(picture), 15, 10, 8)));
    }
}

TEST_F(Apply, ParametersReachTheEffect)
{
    const Picture picture = Sample(RGB);
    const std::string input = Save("in.bmp", picture);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("out.bmp"), "--amount", "100", "--variation=3",
                                    "--priority", "4", "--seed", "1"})));
    EXPECT_TRUE(SamePicture(Load(In("out.bmp")), Noisy(CopyOf(picture), 100, 3, 1)));
}

TEST_F(Apply, OptionsMayStandAnywhereAfterTheEffect)
{
    const std::string input = Save("in.bmp", Sample(GREY));
    const std::vector<std::vector<std::string>> orders = {
        {"apply", "noise", "--amount", "40", "--seed", "3", input, In("0.bmp")},
        {"apply", "noise", input, "--seed", "3", In("1.bmp"), "--amount", "40"},
        {"apply", "--seed", "3", "noise", input, In("2.bmp"), "--amount", "1", "--amount", "40"},
    };
    for (const auto &order : orders) EXPECT_TRUE(WentWell(Velmorant(order)));
    EXPECT_EQ(BytesOf(In("0.bmp")), BytesOf(In("1.bmp")));
    EXPECT_EQ(BytesOf(In("0.bmp")), BytesOf(In("2.bmp")));
}

TEST_F(Apply, WaveTakesColoursAndChoicesByWordOrNumber)
{
    Picture expected = Sample(PALETTE), picture = Sample(PALETTE);
    const std::string input = Save("in.png", picture);
    ReferenceWave(expected, false, 30, 0x000000FF, 20, 90, true);
    for (const std::string columns : {"columns", "5530"}) {
        EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("out.png"), "--amplitude", "30", "--phase", "90",
                                        "--background", "#FF0000", "--orientation", columns})));
        EXPECT_TRUE(SamePicture(Load(In("out.png")), expected)) << columns;
    }
}

TEST_F(Apply, BackgroundColourIsRedGreenBlue)
{
    const std::string input = Save("in.png", Rgb(Values(40, std::vector<uint32_t>(60, 0x00808080))));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("out.png"), "--background", "#102030"})));
    EXPECT_TRUE(HasColour(Load(In("out.png")), 0x00302010));
}

TEST_F(Apply, EveryTypeStaysWhatItIs)
{
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        const std::string input = Save("in.png", Sample(type));
        EXPECT_TRUE(WentWell(Velmorant({"apply", "wave", input, In("out.png")})));
        EXPECT_EQ(Load(In("out.png")).colourType, type);
    }
}

TEST_F(Apply, PictureOfOnePixelIsWorkedOn)
{
    const std::string input = Save("in.png", Grey({{100}}));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("out.png"), "--seed", "1"})));
    EXPECT_EQ(Load(In("out.png")).width, 1);
}

//---- Files and pipes

TEST_F(Apply, DashIsAStandardStreamAndTakesTheInputsFormat)
{
    const std::string bmp = BytesOf(Save("in.bmp", Sample(GREY))), ppm = BytesOf(Save("in.ppm", Sample(RGB)));
    const Outcome piped = Velmorant({"apply", "noise", "-", "-", "--seed", "5"}, bmp);
    EXPECT_TRUE(WentWell(piped));
    EXPECT_EQ(piped.output.substr(0, 2), "BM");
    EXPECT_TRUE(SamePicture(Load(SaveText("out.bmp", piped.output)), Noisy(Sample(GREY), 15, 10, 5)));
    EXPECT_EQ(Velmorant({"apply", "noise", "-", "-"}, ppm).output.substr(0, 2), "P6");
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", "-", In("named.bmp")}, ppm)));
    EXPECT_EQ(BytesOf(In("named.bmp")).substr(0, 2), "BM");
}

TEST_F(Apply, OutputMayBeTheInput)
{
    const std::string file = Save("in.png", Sample(GREY));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", file, file, "--seed", "5"})));
    EXPECT_TRUE(SamePicture(Load(file), Noisy(Sample(GREY), 15, 10, 5)));
}

TEST_F(Apply, FileNamedLikeACommandOrAnOptionIsAFile)
{
    const std::string pgm = "P5 2 2 255\nabcd";
    for (const std::string name : {"wave", "apply", "-x", "--amount"}) SaveText(name, pgm);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(PathOf(folder));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", "wave", "wave.pgm"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", "apply", "apply.pgm"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", "--seed", "1", "--", "-x", "-x.pgm"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", "--", "--amount", "amount.pgm"})));
    std::filesystem::current_path(before);
    for (const char *name : {"wave.pgm", "apply.pgm", "-x.pgm", "amount.pgm"}) EXPECT_TRUE(Exists(In(name))) << name;
}

TEST_F(Apply, NoticesAreToldUnlessQuiet)
{
    const std::string input = SaveText("deep.pgm", std::string("P5 2 1 65535\n\1\2\3\4", 17));
    const Outcome told = Velmorant({"apply", "noise", input, In("out.png"), "--seed", "1", "--amount", "100"});
    EXPECT_EQ(told.exitCode, 0);
    ASSERT_EQ(Lines(told.errors).size(), 1u) << told.errors;
    EXPECT_TRUE(told.errors.starts_with("velmorant: " + input + ": ")) << told.errors;
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("out.png"), "--quiet"})));
}

#ifndef _WIN32   // where Wine's codec takes the wish for a quality and does not heed it
TEST_F(Apply, QualityIsThatOfTheJpegOutput)
{
    const std::string input = Save("in.png", Sample(RGB, 200, 200));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("low.jpg"), "--seed", "1", "--quality", "10"})));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("high.jpg"), "--seed", "1", "--quality", "95"})));
    EXPECT_LT(BytesOf(In("low.jpg")).size() * 2, BytesOf(In("high.jpg")).size());
}
#endif

//---- Masks

TEST_F(Apply, MaskIsBroughtToEightBitsByBrightnessForGreyAndRgb)
{
    const Picture mask = Sample(RGB);
    const std::string maskFile = Save("mask.png", mask);
    for (const int32_t type : {GREY, RGB}) {
        const std::string input = Save("in.png", Sample(type));
        // Noise leaves masks alone.
        EXPECT_TRUE(WentWell(
            Velmorant({"apply", "noise", input, In("out.png"), "--mask", maskFile, "--mask-output", In("after.png")})));
        const Picture after = Load(In("after.png"));
        ASSERT_EQ(after.colourType, GREY);
        for (int32_t y = 0; y < mask.height; ++y) {
            for (int32_t x = 0; x < mask.width; ++x) {
                const uint32_t colour = PixelOf(mask, x, y);
                const uint32_t level = (11 * (colour & 255) + 16 * (colour >> 8 & 255) + 5 * (colour >> 16)) >> 5;
                ASSERT_EQ(PixelOf(after, x, y), level) << x << ", " << y;
            }
        }
    }
}

TEST_F(Apply, MaskIsBroughtToOneBitForPaletteAndOneBitPictures)
{
    const Values levels(48, [] {
        std::vector<uint32_t> row(64, 127);
        std::fill(row.begin() + 32, row.end(), 128);
        return row;
    }());
    const Picture mask = Grey(levels);
    const std::string maskFile = Save("mask.pgm", mask);
    for (const int32_t type : {PALETTE, ONE_BIT}) {
        Picture expected = Sample(type);
        AddMask(expected, 1);
        for (int32_t y = 0; y < 48; ++y)
            for (int32_t byte = 4; byte < 8; ++byte) expected.mask[size_t(y * 8 + byte)] = 0xFF;
        ReferenceWave(expected, false, 10, 0, 20, 0, false);

        const std::string input = Save("in.png", Sample(type));
        const Outcome applied = Velmorant(
            {"apply", "wave", input, In("out.png"), "--mask", maskFile, "--mask-output", In("after.pbm"), "--quiet"});
        EXPECT_TRUE(WentWell(applied));
        const Picture after = Load(In("after.pbm"));
        ASSERT_EQ(after.colourType, ONE_BIT);
        for (int32_t y = 0; y < 48; ++y)
            for (int32_t x = 0; x < 64; ++x)
                ASSERT_EQ(PixelOf(after, x, y), MaskPixelOf(expected, x, y)) << x << ", " << y;
    }
}

TEST_F(Apply, AlphaOfTheInputIsItsMask)
{
    std::mt19937 generator(3);
    Picture picture = Sample(RGB);
    AddRandomMask(picture, 8, generator);
    const std::string input = Save("in.png", picture);
    EXPECT_TRUE(WentWell(
        Velmorant({"apply", "wave", input, In("out.png"), "--mask-output", In("mask.png"), "--fringe", "as-is"})));
    ReferenceWave(picture, false, 10, 0, 20, 0, false);
    const Picture mask = Load(In("mask.png")), out = Load(In("out.png"));
    for (int32_t y = 0; y < mask.height; ++y) {
        for (int32_t x = 0; x < mask.width; ++x) {
            ASSERT_EQ(PixelOf(mask, x, y), MaskPixelOf(picture, x, y)) << x << ", " << y;
        }
    }
    EXPECT_TRUE(SamePicture(out, picture));
}

TEST_F(Apply, MaskFromAFileBecomesAlphaOnlyWithoutAFileToGoTo)
{
    const std::string input = Save("in.png", Sample(RGB)), mask = Save("mask.png", Sample(GREY));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("out.png"), "--mask", mask})));
    EXPECT_TRUE(Load(In("out.png")).mask);
    EXPECT_TRUE(WentWell(
        Velmorant({"apply", "noise", input, In("out.png"), "--mask", mask, "--mask-output", In("after.png")})));
    EXPECT_FALSE(Load(In("out.png")).mask);
}

TEST_F(Apply, MaskThatDoesNotFitIsRefused)
{
    const std::string input = Save("in.png", Sample(GREY)), mask = Save("mask.png", Sample(GREY, 64, 47));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("out.png"), "--mask", mask}), 1, mask,
                        "64 x 47 pixels, the picture 64 x 48"));
    EXPECT_TRUE(
        Refused(Velmorant({"apply", "noise", input, In("out.png"), "--mask", In("none.png")}), 1, In("none.png"), ""));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("out.png"), "--mask-output", In("m.png")}), 1,
                        "--mask-output", "has no mask"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", "-", In("out.png"), "--mask", "-"}), 1, "--mask", "once"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("o.png"), "--mask", mask, "--mask-output", In("o.png")}),
                        1, In("o.png"), "both"));
    EXPECT_FALSE(Exists(In("out.png")));
}

//---- Refusals

TEST_F(Apply, TypeThatTheCommandIsGreyedForIsRefused)
{
    for (const int32_t type : {PALETTE, ONE_BIT}) {
        const std::string input = Save("in.png", Sample(type));
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("out.png")}), 1, input,
                            "noise works on RGB and grey pictures"));
    }
    EXPECT_FALSE(Exists(In("out.png")));
}

TEST_F(Apply, FilesThatCannotBeReadAreRefusedByName)
{
    const std::string png = BytesOf(Save("good.png", Sample(RGB)));
    const std::string files[] = {
        In("missing.png"),
        folder,
        SaveText("empty.png", ""),
        SaveText("text.png", "this is no picture\n"),
        SaveText("cut.png", png.substr(0, png.size() / 2)),
        SaveText("header.ppm", "P6 10"),
        SaveText("short.ppm", "P6 10 10 255\nabc"),
    };
    for (const std::string &file : files) {
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", file, In("out.png")}), 1, file, "")) << file;
        EXPECT_FALSE(Exists(In("out.png")));
    }
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", "-", "-"}, ""), 1, "standard input", "empty"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", "-", "-"}, png.substr(0, 100)), 1, "standard input", ""));
}

TEST_F(Apply, PlacesThatCannotBeWrittenAreRefusedByName)
{
    const std::string input = Save("in.png", Sample(GREY));
    for (const std::string &output : {In("nowhere/out.png"), In("in.png/out.png"), In("out.xyz"), In("out"), folder}) {
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, output}), 1, output, "")) << output;
    }
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, ""}), 1, "''", ""));
}

TEST_F(Apply, FailedRunLeavesAnOlderOutputAlone)
{
    const std::string input = SaveText("short.ppm", "P6 10 10 255\nabc"), output = SaveText("out.png", "older");
    EXPECT_EQ(Velmorant({"apply", "noise", input, output}).exitCode, 1);
    EXPECT_EQ(BytesOf(output), "older");
    const auto files = std::filesystem::directory_iterator(PathOf(folder));
    EXPECT_EQ(std::distance(begin(files), end(files)), 2) << "something else was left behind";
}

// Large enough for an effect of this cost to be shared.
TEST_F(Apply, AnyNumberOfThreadsMakesTheSameFile)
{
    const std::string input = Save("in.bmp", Sample(RGB, 700, 500));
    for (const std::string effect : {"ripple", "oil-painting", "swirl"}) {
        EXPECT_TRUE(WentWell(Velmorant({"apply", effect, input, In("one.bmp"), "--threads", "1"})));
        for (const std::string threads : {"2", "3", "64"}) {
            EXPECT_TRUE(WentWell(Velmorant({"apply", effect, input, In("more.bmp"), "--threads", threads})));
            EXPECT_EQ(BytesOf(In("one.bmp")), BytesOf(In("more.bmp"))) << effect << " " << threads;
        }
    }
}

TEST_F(Apply, ValuesOutsideTheControlsRangeAreRefused)
{
    const std::string input = Save("in.png", Sample(GREY));
    const std::vector<std::array<std::string, 3>> bad = {
        {"noise", "--amount", "0"},
        {"noise", "--amount", "101"},
        {"noise", "--amount", "-5"},
        {"noise", "--amount", "many"},
        {"noise", "--variation", "256"},
        {"noise", "--priority", "5"},
        {"wave", "--orientation", "sideways"},
        {"wave", "--background", "#GG0000"},
        {"wave", "--background", "#FF"},
        {"noise", "--seed", "-1"},
        {"noise", "--seed", "4294967296"},
        {"noise", "--quality", "0"},
        {"noise", "--quality", "101"},
        {"noise", "--threads", "0"},
        {"noise", "--threads", "65"},
    };
    for (const auto &[effect, option, value] : bad) {
        EXPECT_TRUE(Refused(Velmorant({"apply", effect, input, In("out.png"), option, value}), 1, option, value));
    }
    EXPECT_FALSE(Exists(In("out.png")));
}

TEST_F(Apply, UsageErrorsNameTheWordAndPointToHelp)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{}, "a command is missing"},
        {{"aply"}, "aply"},
        {{"apply"}, "apply"},
        {{"apply", "sparkle", "a", "b"}, "sparkle"},
        {{"apply", "noise"}, "INPUT"},
        {{"apply", "noise", "a"}, "OUTPUT"},
        {{"apply", "noise", "a", "b", "c"}, "c"},
        {{"apply", "noise", "a", "b", "--amount"}, "--amount"},
        {{"apply", "noise", "a", "b", "--strength", "3"}, "--strength"},
        {{"apply", "noise", "a", "b", "--amplitude=3"}, "--amplitude"},
        {{"apply", "--amount", "3", "noise", "a", "b"}, "--amount"},
        {{"effects", "noise", "wave"}, "wave"},
    };
    for (const auto &[arguments, subject] : bad) {
        EXPECT_TRUE(Refused(Velmorant(arguments), 2, subject, "--help")) << subject;
    }
}

TEST_F(Apply, UnknownOptionAndEffectSuggestNearOnes)
{
    EXPECT_TRUE(
        Refused(Velmorant({"apply", "noise", "a", "b", "--amout", "3"}), 2, "--amout", "did you mean --amount?"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "nois", "a", "b"}), 2, "nois", "did you mean noise?"));
}

TEST_F(Apply, BadParameterIsToldBeforeTheFileIsLookedAt)
{
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", In("missing.png"), In("out.png"), "--amount", "500"}), 1,
                        "--amount", "1..100"));
}
