#include "matrix/matrix.h"

#include <stdlib.h>

// Reads one number and moves past it. At the end of the text the value stays.
static void ReadNumber(const char *&text, int32_t &value)
{
    if (!*text) return;
    char *end;
    const long long number = strtoll(text, &end, 10);   // on no number it is 0 and `end` stays at the text
    value = number < INT32_MIN ? INT32_MIN : number > INT32_MAX ? INT32_MAX : int32_t(number);
    text = end;
}

void ParseKernelText(MatrixParameters &own, const char *text)
{
    for (int32_t &element : own.kernel) ReadNumber(text, element);
    ReadNumber(text, own.divisor);
    ReadNumber(text, own.bias);
    if (*text) ++text;
    own.combineMode = *text == 'R' ? COMBINE_REPLACE : *text == 'A' ? COMBINE_ADD : COMBINE_SUBTRACT;
}
