// same-pixels make FOLDER: puts a picture of every type there.
// same-pixels compare EXPECTED ACTUAL: whether two folders of folders hold the same pictures. Says what differs.

#include "tests/support/comparison.h"

#include "host/documents/picture_file.h"

#include <filesystem>
#include <iostream>

namespace fs = std::filesystem;

static bool Make(const fs::path &folder)
{
    std::mt19937 generator(11);
    std::string error;
    std::vector<std::string> notices;
    int number = 0;
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        for (const auto &size : {PictureSize{61, 47}, PictureSize{160, 120}}) {
            const Picture picture = NaturalPicture(type, size.width, size.height, generator);
            const std::string name = (folder / (std::to_string(++number) + ".bmp")).string();
            if (WritePicture(name, picture, FileFormat::BMP, {}, notices, error)) continue;
            std::cout << name << ": " << error << "\n";
            return false;
        }
    }
    return true;
}

static bool ReadFile(const fs::path &file, Picture &picture)
{
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    if (ReadPicture(file.string(), picture, format, notices, error)) return true;
    std::cout << file.string() << ": " << error << "\n";
    return false;
}

static bool SameFile(const fs::path &expectedFile, const fs::path &actualFile)
{
    Picture expected, actual;
    if (!ReadFile(expectedFile, expected) || !ReadFile(actualFile, actual)) return false;
    const testing::AssertionResult same = SamePicture(actual, expected);
    if (!same) std::cout << actualFile.string() << ": " << same.message() << "\n";
    return bool(same);
}

static bool Compare(const fs::path &expected, const fs::path &actual)
{
    int pictures = 0, different = 0;
    for (const auto &entry : fs::recursive_directory_iterator(expected)) {
        if (entry.path().extension() != ".bmp") continue;
        ++pictures;
        different += !SameFile(entry.path(), actual / fs::relative(entry.path(), expected));
    }
    std::cout << pictures << " pictures, " << different << " different\n";
    return pictures > 0 && different == 0;
}

int main(int argc, char **argv)
{
    const std::string act = argc > 1 ? argv[1] : "";
    if (act == "make" && argc == 3) return Make(argv[2]) ? 0 : 1;
    if (act == "compare" && argc == 4) return Compare(argv[2], argv[3]) ? 0 : 1;
    std::cout << "same-pixels make FOLDER | compare EXPECTED ACTUAL\n";
    return 2;
}
