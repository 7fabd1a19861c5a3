// The string table and the reading of kernel texts.

#include "tests/matrix/kernel_catalogue.h"
#include "tests/matrix/parameters.h"

#include <gtest/gtest.h>

struct StringEntry {
    int32_t id;
    const char *text;
};
extern "C" const StringEntry KPZStrings[];

constexpr int ADD = 5150, SUBTRACT = 5140, REPLACE = 5160;

static std::string StringOf(int32_t id)
{
    const StringEntry *entry = KPZStrings;
    while (entry->text && entry->id != id) ++entry;
    return entry->text ? entry->text : "";
}

// Settings that no text of these tests holds, so that what was read can be told from what was not.
static MatrixSettings Untouched()
{
    MatrixSettings settings;
    settings.kernel.fill(777);
    settings.divisor = 778;
    settings.bias = 779;
    settings.combineMode = 780;
    settings.passMode = 781;
    settings.iterations = 782;
    return settings;
}

static MatrixParameters Parsed(const std::string &text)
{
    MatrixParameters own = ParametersOf(Untouched());
    ParseKernelText(own, text.c_str());
    return own;
}

static std::string Numbers(int count, const std::string &number)
{
    std::string text;
    for (int i = 0; i < count; ++i) text += (i ? " " : "") + number;
    return text;
}

//---- The string table

TEST(StringTable, HoldsTheKernelsToTheCharacter)
{
    for (int i = 0; i < CATALOGUE_KERNELS; ++i) EXPECT_EQ(StringOf(16 + i), TextOf(i)) << catalogue[i].name;
}

TEST(StringTable, HoldsTheirNames)
{
    for (int i = 0; i < CATALOGUE_KERNELS; ++i) EXPECT_EQ(StringOf(100 + i), catalogue[i].name);
}

TEST(StringTable, HoldsNothingElseAndEveryIdOnce)
{
    std::vector<int32_t> ids, expected;
    for (const StringEntry *entry = KPZStrings; entry->text; ++entry) ids.push_back(entry->id);
    for (int id = 16; id <= 71; ++id) expected.push_back(id);
    for (int id = 100; id <= 155; ++id) expected.push_back(id);
    EXPECT_EQ(ids, expected);
}

TEST(StringTable, KeepsTheOddOnes)
{
    EXPECT_EQ(StringOf(17), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 -1 -1 -1 -1 -1 -1 -1 0 0 0 0 0 0 0 1 1 1 1 1 1 1  "
                            "0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 0 R");
    EXPECT_EQ(StringOf(67), "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 -2 -1 0 0 0 0 0 -1 0 -1 0 0 0 0 0 1 2 0 0 0 0 0 0 0 "
                            "0 0 0 0 0 0 0 0 0 -2 0 R");
    EXPECT_EQ(StringOf(143), "Mean & Cruel");
}

TEST(StringTable, FitsTheBufferThatReadsIt)
{
    for (const StringEntry *entry = KPZStrings; entry->text; ++entry) EXPECT_LT(std::string(entry->text).size(), 254u);
}

//---- Reading

TEST(KernelText, OfTheCatalogueIsReadAsItsKernel)
{
    for (int i = 0; i < CATALOGUE_KERNELS; ++i) {
        MatrixSettings expected = SettingsOf(catalogue[i]);
        const MatrixSettings untouched = Untouched();
        expected.passMode = untouched.passMode;
        expected.iterations = untouched.iterations;
        EXPECT_TRUE(SameSettings(Parsed(StringOf(16 + i)), expected)) << catalogue[i].name;
    }
}

TEST(KernelText, EmptyLeavesTheNumbersAndSetsSubtract)
{
    MatrixSettings expected = Untouched();
    expected.combineMode = SUBTRACT;
    EXPECT_TRUE(SameSettings(Parsed(""), expected));
}

TEST(KernelText, ShortLeavesTheRest)
{
    MatrixSettings expected = Untouched();
    expected.kernel[0] = 5, expected.kernel[1] = -6;
    expected.combineMode = SUBTRACT;
    EXPECT_TRUE(SameSettings(Parsed("5 -6"), expected));
}

TEST(KernelText, TrailingBlankIsReadAsZeros)
{
    MatrixSettings expected = Untouched();
    expected.kernel.fill(0);
    expected.kernel[0] = 5;
    expected.divisor = expected.bias = 0;
    expected.combineMode = SUBTRACT;
    EXPECT_TRUE(SameSettings(Parsed("5 "), expected));
}

TEST(KernelText, LetterAmongTheNumbersStopsThemAll)
{
    const MatrixParameters own = Parsed(Numbers(9, "3") + " x " + Numbers(41, "4") + " R");
    for (int i = 0; i < 9; ++i) EXPECT_EQ(own.kernel[i], 3);
    for (int i = 9; i < 49; ++i) EXPECT_EQ(own.kernel[i], 0);
    EXPECT_EQ(own.divisor, 0);
    EXPECT_EQ(own.bias, 0);
    EXPECT_EQ(own.combineMode, SUBTRACT);   // the blank before the x is skipped: x is no mode
}

TEST(KernelText, ModeIsTheCharacterAfterTheNext)
{
    EXPECT_EQ(Parsed("A").combineMode, SUBTRACT);
    EXPECT_EQ(Parsed("xA").combineMode, ADD);
    EXPECT_EQ(Parsed(" R").combineMode, REPLACE);
    EXPECT_EQ(Parsed("1 R").combineMode, REPLACE);
}

TEST(KernelText, AnyCharacterSeparatesTheMode)
{
    for (const char *separator : {" ", ",", "\n", "R", "A"})
        EXPECT_EQ(Parsed(Numbers(51, "1") + separator + "A").combineMode, ADD) << separator;
    EXPECT_EQ(Parsed(Numbers(51, "1") + "  A").combineMode, SUBTRACT);
}

TEST(KernelText, OtherLettersAreSubtract)
{
    for (const char *end : {"", " ", " S", " r", " a", " X", " 1"})
        EXPECT_EQ(Parsed(Numbers(51, "1") + end).combineMode, SUBTRACT) << "'" << end << "'";
}

TEST(KernelText, DivisorComesBeforeBias)
{
    const MatrixParameters own = Parsed(Numbers(49, "0") + " 7 -8 R");
    EXPECT_EQ(own.divisor, 7);
    EXPECT_EQ(own.bias, -8);
}

TEST(KernelText, NumbersBeyondThirtyTwoBitsTakeTheNearestLimit)
{
    const MatrixParameters own = Parsed("2147483648 -2147483649 99999999999999999999999 -99999999999999999999999 "
                                        "2147483647 -2147483648 4294967297");
    const int32_t expected[] = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(own.kernel[i], expected[i]) << i;
}

TEST(KernelText, RangeIsNotChecked)
{
    const MatrixParameters own = Parsed(Numbers(49, "-51000") + " 0 256000 A");
    EXPECT_EQ(own.kernel[48], -51000);
    EXPECT_EQ(own.divisor, 0);
    EXPECT_EQ(own.bias, 256000);
}

TEST(KernelText, SignsAndAnyWhiteSpaceAreRead)
{
    const MatrixParameters own = Parsed("+1\t-2\r\n+3 \v\f 4");
    for (int i = 0; i < 4; ++i) EXPECT_EQ(own.kernel[i], i == 1 ? -2 : i + 1);
}

// Pieces that texts are damaged with.
static std::string RandomText(std::mt19937 &generator)
{
    static const char *const pieces[] = {
        "1",           "-1",         " ",   "  ",   "\t",
        "\r\n",        "x",          "R",   "A",    "S",
        "+",           "-",          "--2", "0x10", "12345678901234567890",
        "-2147483648", "2147483648", "1.5", ",",    "\xff",
        "49",          " 7",         " -3", " 0",   " 12",
    };
    std::string text;
    const int count = Between(0, 120, generator);
    for (int i = 0; i < count; ++i) text += pieces[Between(0, int(std::size(pieces)) - 1, generator)];
    return text;
}

// A text of the catalogue with a few characters replaced, removed or cut off.
static std::string DamagedText(std::mt19937 &generator)
{
    std::string text = TextOf(Between(0, CATALOGUE_KERNELS - 1, generator));
    for (int i = Between(1, 4, generator); i > 0 && !text.empty(); --i) {
        const size_t place = size_t(Between(0, int(text.size()) - 1, generator));
        switch (Between(0, 2, generator)) {
        case 0: text[place] = char(Between(1, 255, generator)); break;
        case 1: text.erase(place, 1); break;
        default: text.resize(place); break;
        }
    }
    return text;
}

TEST(KernelText, MalformedIsReadAsThePlainVersionReadsIt)
{
    std::mt19937 generator(8);
    for (int i = 0; i < 10000; ++i) {
        const std::string text = i % 2 ? RandomText(generator) : DamagedText(generator);
        MatrixSettings expected = Untouched();
        ReferenceParseKernelText(expected, text);
        ASSERT_TRUE(SameSettings(Parsed(text), expected)) << "text " << i << ": '" << text << "'";
    }
}
