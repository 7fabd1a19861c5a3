// Names of every alphabet, there and back.

#include "host/paths/paths.h"

#include <gtest/gtest.h>
#include <random>

static const char *const someNames[] = {"x.bmp", "ü.bmp", "żółw ü.bmp", "漢字.bmp", "𝄞.png", "a b"};

TEST(Paths, ComeBackAsTheNameThatTheyWereMadeOf)
{
    for (const std::string name : someNames) {
        EXPECT_EQ(NameOf(PathOf(name)), name);
        EXPECT_EQ(WithoutFolder("ünï/" + name), name);
    }
}

TEST(Paths, AFileIsFoundUnderTheNameThatItWasWrittenUnder)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         PathOf("velmorant names ünï ŁØ日 " + std::to_string(std::random_device()()));
    std::filesystem::create_directories(folder);
    for (const std::string name : someNames) {
        FILE *file = OpenByName(NameOf(folder / PathOf(name)), "wb");
        ASSERT_NE(file, nullptr) << name;
        fclose(file);
    }
    size_t found = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        for (const std::string name : someNames) found += NameOf(entry.path().filename()) == name;
    EXPECT_EQ(found, std::size(someNames));
    std::filesystem::remove_all(folder);
}

#ifdef _WIN32
TEST(Paths, HoldWhatWindowsCallsThem)
{
    EXPECT_EQ(PathOf("ü漢𝄞").native(), L"\u00fc\u6f22\xd834\xdd1e");
    EXPECT_EQ(Utf8Of(L"\u017c\u00f3\u0142w"), "żółw");
    EXPECT_NO_THROW(PathOf("\xfc.bmp")) << "no UTF-8";
}
#endif
