#include "host/editor/rescue.h"

#include "host/documents/picture_file.h"

#include <filesystem>

static bool KeepsAll(FileFormat format)
{
    return format == FileFormat::PNG || format == FileFormat::BMP || format == FileFormat::TIFF;
}

std::string RescueFile(const std::string &file, const std::string &name, const std::string &folder)
{
    std::filesystem::path path = file;
    if (file.empty()) path = std::filesystem::path(folder) / name;
    const bool kept = !file.empty() && KeepsAll(FormatOfName(file));
    const std::string stem = path.stem().string() + " rescued", ending = kept ? path.extension().string() : ".png";
    std::error_code ignored;
    std::filesystem::path copy = path.parent_path() / (stem + ending);
    for (int number = 2; std::filesystem::exists(copy, ignored); ++number) {
        std::string numbered = stem;
        numbered.append(" ").append(std::to_string(number)).append(ending);
        copy = path.parent_path() / numbered;
    }
    return copy.string();
}
