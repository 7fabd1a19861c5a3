#include "host/documents/picture_file.h"

#include <zlib.h>

#ifdef _WIN32

std::string CodecVersions() { return std::string("Windows Imaging Component, zlib ") + zlibVersion(); }

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
           ", zlib " + zlibVersion();
}

#endif
