// The libraries that files go through in this build, with the versions that are running, for a report of a fault. Uses none of
// them for anything else.

#include "host/documents/picture_file.h"

#include <zlib.h>

#ifdef HAS_GIF
#include <gif_lib.h>
#endif
#ifdef HAS_WEBP
#include <webp/decode.h>
#endif
#ifdef HAS_INKS
#include <lcms2.h>
#endif

// Of those that not every build has: each with a comma before it.
static std::string FurtherVersions()
{
    std::string versions;
#ifdef HAS_GIF
    versions += ", giflib " + std::to_string(GIFLIB_MAJOR) + "." + std::to_string(GIFLIB_MINOR) + "." +
                std::to_string(GIFLIB_RELEASE);
#endif
#ifdef HAS_WEBP
    const int webp = WebPGetDecoderVersion();
    versions += ", libwebp " + std::to_string(webp >> 16) + "." + std::to_string(webp >> 8 & 255) + "." +
                std::to_string(webp & 255);
#endif
#ifdef HAS_INKS
    const int inks = cmsGetEncodedCMMversion();
    versions += ", Little CMS " + std::to_string(inks / 1000) + "." + std::to_string(inks % 1000 / 10);
#endif
    return versions;
}

#ifdef _WIN32

std::string CodecVersions()
{
    return std::string("Windows Imaging Component, zlib ") + zlibVersion() + FurtherVersions();
}

#else

#include <cstdio>   // before jpeglib.h, which needs FILE

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#define AS_TEXT_ITSELF(words) #words
#define AS_TEXT(macro) AS_TEXT_ITSELF(macro)

#ifdef LIBJPEG_TURBO_VERSION
static const char JPEG_LIBRARY[] = "libjpeg-turbo " AS_TEXT(LIBJPEG_TURBO_VERSION);
#else
static const char JPEG_LIBRARY[] = "libjpeg " AS_TEXT(JPEG_LIB_VERSION);
#endif

// The library tells its name and more lines besides: "LIBTIFF, Version 4.5.0\nCopyright ...".
static std::string TiffVersion()
{
    const std::string told = TIFFGetVersion();
    const size_t begin = told.find_first_of("0123456789");
    return begin == std::string::npos ? "" : told.substr(begin, told.find_first_not_of("0123456789.", begin) - begin);
}

std::string CodecVersions()
{
    return std::string("libpng ") + png_get_libpng_ver(nullptr) + ", libtiff " + TiffVersion() + ", " + JPEG_LIBRARY +
           ", zlib " + zlibVersion() + FurtherVersions();
}

#endif
