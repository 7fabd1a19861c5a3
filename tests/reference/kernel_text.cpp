#include "tests/reference/reference.h"

#include <algorithm>
#include <limits>

enum { SUBTRACT = 5140, ADD = 5150, REPLACE = 5160 };

// The number at `place`, which moves past it. No number there: 0, and it does not move.
static int32_t ReadNumber(const std::string &text, size_t &place)
{
    const size_t digits = text.find_first_not_of(" \t\n\v\f\r", place);
    if (digits == std::string::npos) return 0;
    const bool hasSign = text[digits] == '-' || text[digits] == '+';
    const bool negative = text[digits] == '-';
    size_t end = digits + hasSign;
    int64_t number = 0;
    for (; end < text.size() && text[end] >= '0' && text[end] <= '9'; ++end) {
        number = std::min<int64_t>(number * 10 + (text[end] - '0'), int64_t(1) << 40);
    }
    if (end == digits + hasSign) return 0;
    place = end;
    return int32_t(std::clamp<int64_t>(negative ? -number : number, std::numeric_limits<int32_t>::min(),
                                       std::numeric_limits<int32_t>::max()));
}

void ReferenceParseKernelText(MatrixSettings &settings, const std::string &text)
{
    size_t place = 0;
    for (int i = 0; i < 51; ++i) {
        int32_t &field = i < 49 ? settings.kernel[size_t(i)] : i == 49 ? settings.divisor : settings.bias;
        if (place < text.size()) field = ReadNumber(text, place);
    }
    if (place < text.size()) ++place;
    const char letter = place < text.size() ? text[place] : '\0';
    settings.combineMode = letter == 'R' ? REPLACE : letter == 'A' ? ADD : SUBTRACT;
}
