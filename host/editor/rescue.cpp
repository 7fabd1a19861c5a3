#include "host/editor/rescue.h"

#include "host/documents/picture_file.h"
#include "host/paths/paths.h"

static bool KeepsAll(FileFormat format)
{
    return format == FileFormat::PNG || format == FileFormat::BMP || format == FileFormat::TIFF;
}

std::string RescueFile(const std::string &file, const std::string &name, const std::string &folder)
{
    const std::filesystem::path path = file.empty() ? PathOf(folder) / PathOf(name) : PathOf(file);
    const bool kept = !file.empty() && KeepsAll(FormatOfName(file));
    const std::string stem = NameOf(path.stem()) + " rescued", ending = kept ? NameOf(path.extension()) : ".png";
    std::error_code ignored;
    std::filesystem::path copy = path.parent_path() / PathOf(stem + ending);
    for (int number = 2; std::filesystem::exists(copy, ignored); ++number) {
        std::string numbered = stem;
        numbered.append(" ").append(std::to_string(number)).append(ending);
        copy = path.parent_path() / PathOf(numbered);
    }
    return NameOf(copy);
}
