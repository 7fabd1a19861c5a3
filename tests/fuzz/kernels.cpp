// Any text as a filter file and as a kernel; what was read is written, and reads as the same.

#include "matrix/matrix.h"

#include <cstdlib>
#include <cstring>
#include <string>

static bool Same(const MatrixParameters &one, const MatrixParameters &other)
{
    return memcmp(one.kernel, other.kernel, sizeof one.kernel) == 0 && one.divisor == other.divisor &&
           one.bias == other.bias && one.combineMode == other.combineMode;
}

static void WriteAndReadAgain(const MatrixParameters &own)
{
    char text[FILTER_FILE_BYTES];
    const int length = FormatFilterFile(own, text);
    MatrixParameters again = {};
    if (length <= 0 || length >= FILTER_FILE_BYTES || text[length] != 0) abort();
    if (!ParseFilterFile(again, text) || !Same(own, again)) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    MatrixParameters own = {};
    ParseKernelText(own, text.c_str());
    WriteAndReadAgain(own);
    own = {};
    if (ParseFilterFile(own, text.c_str())) WriteAndReadAgain(own);
    CompactKernel(own.kernel);
    return 0;
}
