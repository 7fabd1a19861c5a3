// Any bytes as a picture file; FORMAT is the one that these corpora hold. What opens is written in every format, and what
// is written opens.

#include "host/documents/picture_file.h"

#include <cstdlib>

static constexpr FileFormat FORMATS[] = {FileFormat::PNG, FileFormat::BMP,  FileFormat::TIFF, FileFormat::JPEG,
                                         FileFormat::GIF, FileFormat::WEBP, FileFormat::PNM};
static constexpr int64_t MOST_PIXELS = 1 << 14;   // that are written: a file of a few bytes may be a large flat picture

typedef std::vector<Picture> Pages;

static int64_t PixelsOf(const Picture &picture, const Pages &further)
{
    int64_t pixels = int64_t(picture.width) * picture.height;
    for (const Picture &page : further) pixels += int64_t(page.width) * page.height;
    return pixels;
}

static void WriteAndReadAgain(const Picture &picture, const Pages &further, FileFormat format)
{
    std::vector<uint8_t> bytes;
    std::vector<std::string> notices;
    std::string error;
    SaveOptions options;
    options.further = &further;
    if (!WritePictureBytes("", picture, format, options, bytes, notices, error)) {   // what the format cannot hold
        if (error.empty() || error.find('\n') != std::string::npos) abort();
        return;
    }
    Picture again;
    FileFormat found;
    Pages pages;
    ReadOptions all;
    all.further = &pages;
    if (!ReadPictureBytes(bytes, again, found, notices, error, all) || found != format) abort();
    if (format == FileFormat::GIF && !further.empty()) return;   // its frames are parts of the largest
    if (again.width != picture.width || again.height != picture.height) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Picture picture;
    FileFormat format;
    std::vector<std::string> notices;
    std::string error;
    Pages further;
    ReadOptions options;
    options.further = &further;
    if (!ReadPictureBytes({data, size}, picture, format, notices, error, options)) {
        if (error.empty() || error.find('\n') != std::string::npos) abort();
        return 0;
    }
    if (format != FileFormat::FORMAT || PixelsOf(picture, further) > MOST_PIXELS) return 0;
    for (const FileFormat one : FORMATS) WriteAndReadAgain(picture, further, one);
    return 0;
}
