// Any bytes as what files carry besides pixels: EXIF data, XMP packets, IPTC records, colour profiles, texts. Each is
// written in every format, stripped or not, and what is written opens.

#include "host/documents/picture_file.h"
#include "tests/fuzz/given.h"
#include "tests/support/pictures.h"

#include <cstdlib>

static constexpr FileFormat FORMATS[] = {FileFormat::PNG, FileFormat::BMP,  FileFormat::TIFF, FileFormat::JPEG,
                                         FileFormat::GIF, FileFormat::WEBP, FileFormat::PNM};

static void Fill(PictureExtras &extras, int kind, std::vector<uint8_t> bytes)
{
    switch (kind) {
    case 0: extras.exif = std::move(bytes); break;
    case 1: extras.xmp = std::move(bytes); break;
    case 2: extras.iptc = std::move(bytes); break;
    case 3: extras.colourProfile = std::move(bytes); break;
    default: extras.texts = {{"Comment", std::string(bytes.begin(), bytes.end())}};
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Given given = {data, size};
    const int kind = given.Next() % 5;
    std::mt19937 generator(1);
    Picture picture = NaturalPicture(given.Next() & 1 ? GREY : RGB, 9, 7, generator);
    SaveOptions options;
    options.strip = Strip(given.Next() % 3);
    const FileFormat format = FORMATS[size_t(given.Next()) % std::size(FORMATS)];
    Fill(picture.extras, kind, {given.data, given.data + given.size});
    std::vector<uint8_t> bytes;
    std::vector<std::string> notices;
    std::string error;
    if (!WritePictureBytes("", picture, format, options, bytes, notices, error)) {
        if (error.empty() || error.find('\n') != std::string::npos) abort();
        return 0;
    }
    Picture again;
    FileFormat found;
    if (!ReadPictureBytes(bytes, again, found, notices, error) || found != format) abort();
    return 0;
}
