// A filter file is a header line and the kernel's text. The line ends in LF and CR, in that order, and a reader
// compares all of the header but its last letter: files are out there that rely on either.

#include "matrix/matrix.h"

#include <stdio.h>
#include <string.h>

static constexpr char HEADER[] = "Velmorant Filter-Matrix Utility";
static constexpr size_t HEADER_LENGTH = sizeof HEADER - 1;

int FormatFilterFile(const MatrixParameters &own, char text[FILTER_FILE_BYTES])
{
    int length = snprintf(text, FILTER_FILE_BYTES, "%s\n\r", HEADER);
    const auto append = [&](int32_t number) {
        length += snprintf(text + length, size_t(FILTER_FILE_BYTES - length), " %d", number);
    };
    for (int32_t element : own.kernel) append(element);
    append(own.divisor);
    append(own.bias);
    const char mode = own.combineMode == COMBINE_REPLACE ? 'R' : own.combineMode == COMBINE_ADD ? 'A' : 'S';
    return length + snprintf(text + length, size_t(FILTER_FILE_BYTES - length), " %c", mode);
}

bool ParseFilterFile(MatrixParameters &own, const char *text)
{
    if (strncmp(text, HEADER, HEADER_LENGTH - 1) != 0) return false;
    const bool endsEarly = memchr(text, 0, HEADER_LENGTH + 1) != nullptr;
    ParseKernelText(own, endsEarly ? "" : text + HEADER_LENGTH + 1);
    return true;
}
