// Pictures of every type, size, palette and mask, in every format; what does not lose anything comes back as it was.

#include "host/documents/picture_file.h"
#include "tests/fuzz/given.h"
#include "tests/support/pictures.h"

#include <cstdlib>
#include <cstring>

static Picture Make(Given &given)
{
    static constexpr int32_t TYPES[] = {ONE_BIT, GREY, PALETTE, RGB}, MASKS[] = {0, 8, 1};
    PictureCase kind = {};
    kind.colourType = TYPES[given.Next() & 3];
    kind.width = 1 + given.Next() % 64;
    kind.height = 1 + given.Next() % 64;
    kind.maskBits = MASKS[given.Next() % 3];
    kind.seed = uint32_t(given.Next());
    return RandomPicture(kind);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static constexpr FileFormat FORMATS[] = {FileFormat::PNG, FileFormat::BMP, FileFormat::TIFF, FileFormat::JPEG,
                                             FileFormat::PNM, FileFormat::GIF, FileFormat::WEBP};
    Given given = {data, size};
    const Picture picture = Make(given);
    const FileFormat format = FORMATS[given.Next() % 7];
    SaveOptions options;
    options.quality = 1 + given.Next() % 100;
    std::vector<uint8_t> bytes;
    std::vector<std::string> notices;
    std::string error;
    if (!WritePictureBytes("", picture, format, options, bytes, notices, error)) {
        if (error.empty()) abort();
        return 0;
    }
    Picture again;
    FileFormat found;
    std::vector<std::string> more;
    if (!ReadPictureBytes(bytes, again, found, more, error) || found != format) abort();
    if (again.width != picture.width || again.height != picture.height) abort();
    if (format == FileFormat::PNG && notices.empty() && again.colourType != picture.colourType) abort();
    return 0;
}
