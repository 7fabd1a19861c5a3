// Filter files to the byte.

#include "tests/matrix/kernel_catalogue.h"
#include "tests/matrix/parameters.h"

#include <gtest/gtest.h>

static const std::string HEADER = "Velmorant Filter-Matrix Utility";

static std::string FileOf(const MatrixSettings &settings)
{
    char text[FILTER_FILE_BYTES];
    memset(text, 'z', sizeof text);
    const int length = FormatFilterFile(ParametersOf(settings), text);
    EXPECT_EQ(strlen(text), size_t(length));
    return text;
}

static MatrixSettings RandomSettings(std::mt19937 &generator)
{
    MatrixSettings settings;
    for (int32_t &element : settings.kernel) {
        element = Between(INT32_MIN, INT32_MAX, generator);
        element >>= Between(0, 31, generator);   // of any length
    }
    settings.divisor = Between(-1000, 1000, generator);
    settings.bias = Between(INT32_MIN, INT32_MAX, generator);
    settings.combineMode = 5140 + 10 * Between(0, 2, generator);
    return settings;
}

TEST(FilterFile, IsHeaderLineAndKernelText)
{
    for (int i = 0; i < CATALOGUE_KERNELS; ++i) {
        if (i == 1) continue;   // its text has a blank more
        EXPECT_EQ(FileOf(SettingsOf(catalogue[i])), HEADER + "\n\r " + TextOf(i));
    }
}

TEST(FilterFile, NamesEveryMode)
{
    MatrixSettings settings = SettingsOf(catalogue[0]);
    const std::pair<int, char> modes[] = {{5160, 'R'}, {5150, 'A'}, {5140, 'S'}, {0, 'S'}};
    for (const auto &[mode, letter] : modes) {
        settings.combineMode = mode;
        EXPECT_EQ(FileOf(settings).back(), letter);
    }
}

TEST(FilterFile, HoldsTheLongestNumbers)
{
    MatrixSettings settings;
    settings.kernel.fill(INT32_MIN);
    settings.divisor = settings.bias = INT32_MIN;
    EXPECT_EQ(FileOf(settings).size(), 31u + 2 + 51 * 12 + 2);
}

TEST(FilterFile, ComesBackAsItWas)
{
    std::mt19937 generator(31);
    for (int i = 0; i < 1000; ++i) {
        const MatrixSettings settings = RandomSettings(generator);
        MatrixParameters own = {};
        own.passMode = 940, own.iterations = 9, own.useGreen = 1;
        ASSERT_TRUE(ParseFilterFile(own, FileOf(settings).c_str()));
        ASSERT_TRUE(SameKernel(own, settings)) << settings;
        ASSERT_TRUE(own.passMode == 940 && own.iterations == 9 && own.useGreen == 1 && own.useRed == 0);
    }
}

TEST(FilterFile, HeadersLastLetterIsNotCompared)
{
    MatrixParameters own = {};
    EXPECT_TRUE(ParseFilterFile(own, "Velmorant Filter-Matrix UtilitX\n\r 1 2 3"));
    EXPECT_EQ(own.kernel[2], 3);
    EXPECT_FALSE(ParseFilterFile(own, "Velmorant Filter-Matrix UtiliXy\n\r 1 2 3"));
    EXPECT_FALSE(ParseFilterFile(own, "velmorant Filter-Matrix Utility\n\r 1 2 3"));
}

TEST(FilterFile, HeaderLineMayEndInCrLf)
{
    MatrixParameters own = {};
    EXPECT_TRUE(ParseFilterFile(own, (HEADER + "\r\n " + TextOf(17)).c_str()));
    EXPECT_TRUE(SameKernel(own, SettingsOf(catalogue[17])));
}

TEST(FilterFile, OneCharacterAfterTheHeaderIsSkippedWhateverItIs)
{
    MatrixParameters own = {};
    EXPECT_TRUE(ParseFilterFile(own, (HEADER + "x" + TextOf(17)).c_str()));
    EXPECT_TRUE(SameKernel(own, SettingsOf(catalogue[17])));
}

TEST(FilterFile, OtherFilesAreRefusedAndChangeNothing)
{
    const MatrixSettings before = SettingsOf(catalogue[3]);
    MatrixParameters own = ParametersOf(before);
    const std::string texts[] = {"", "Velmorant", HEADER.substr(0, 29), "\n" + HEADER, TextOf(5)};
    for (const std::string &text : texts) {
        EXPECT_FALSE(ParseFilterFile(own, text.c_str())) << text;
        EXPECT_TRUE(SameSettings(own, before));
    }
}

TEST(FilterFile, EndingWithItsHeaderSetsSubtractAlone)
{
    for (const std::string &text : {HEADER.substr(0, 30), HEADER, HEADER + "\n", HEADER + "\n\r"}) {
        MatrixSettings expected = SettingsOf(catalogue[3]);
        MatrixParameters own = ParametersOf(expected);
        EXPECT_TRUE(ParseFilterFile(own, text.c_str())) << text.size();
        expected.combineMode = 5140;
        if (text.size() == 33) {   // white space alone reads as 0
            expected.kernel.fill(0);
            expected.divisor = expected.bias = 0;
        }
        EXPECT_TRUE(SameSettings(own, expected)) << text.size() << " characters";
    }
}

static std::string DamagedFile(std::mt19937 &generator)
{
    std::string text = FileOf(RandomSettings(generator));
    for (int i = Between(1, 5, generator); i > 0 && !text.empty(); --i) {
        const size_t place = size_t(Between(0, int(text.size()) - 1, generator)) % (i % 2 ? text.size() : 40);
        switch (Between(0, 3, generator)) {
        case 0: text[place % text.size()] = char(Between(0, 255, generator)); break;
        case 1: text.erase(place % text.size(), 1); break;
        case 2: text.insert(place % text.size(), 1, "0-+ xRA\n"[Between(0, 7, generator)]); break;
        default: text.resize(place % text.size()); break;
        }
    }
    return text;
}

TEST(FilterFile, MalformedIsRefusedOrReadAsThePlainVersionReadsIt)
{
    std::mt19937 generator(77);
    int accepted = 0;
    for (int i = 0; i < 10000; ++i) {
        const std::string text = DamagedFile(generator).c_str();   // as far as a zero byte
        MatrixSettings expected = SettingsOf(catalogue[20]);
        MatrixParameters own = ParametersOf(expected);
        const bool isFile = text.size() >= 30 && text.compare(0, 30, HEADER, 0, 30) == 0;
        if (isFile) ReferenceParseKernelText(expected, text.size() > 32 ? text.substr(32) : "");
        accepted += isFile;
        // On a heap of just its size, so that reading past its end is seen.
        const std::vector<char> contents(text.c_str(), text.c_str() + text.size() + 1);
        ASSERT_EQ(ParseFilterFile(own, contents.data()), isFile) << "file " << i << ": '" << text << "'";
        ASSERT_TRUE(SameSettings(own, expected)) << "file " << i << ": '" << text << "'";
    }
    EXPECT_GT(accepted, 1000);
    EXPECT_LT(accepted, 9000);
}
