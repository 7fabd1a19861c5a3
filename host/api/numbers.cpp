// Text as a number, and what a number field makes of the messages about it: range, value, steps. Both back ends' fields
// come here; how a field is drawn and typed into is theirs.

#include "host/api/numbers.h"

#include <algorithm>
#include <stdlib.h>

bool ReadNumber(const std::string &text, long long &number)
{
    char *end = nullptr;
    number = strtoll(text.c_str(), &end, 10);
    const bool whole = end != text.c_str() && *end == 0;
    if (!whole) number = 0;
    return whole;
}

static int32_t InRange(long long value, int32_t low, int32_t high)
{
    return int32_t(std::clamp<long long>(value, low, std::max(low, high)));
}

int32_t NumberOf(const NumberField &field, const std::string &text)
{
    long long number = 0;
    ReadNumber(text, number);
    return field.typed ? InRange(number, field.low, field.high) : int32_t(number);
}

bool IsAboutNumber(UINT message)
{
    return message == UDM_SETRANGE32 || message == UDM_GETRANGE32 || message == UDM_SETPOS32 || message == UDM_GETPOS32;
}

LRESULT NumberMessage(HWND handle, NumberField &field, const std::string &text, UINT message, WPARAM word, LPARAM extra)
{
    switch (message) {
    case UDM_SETRANGE32:
        field.low = int32_t(word);
        field.high = int32_t(extra);
        return 0;
    case UDM_GETRANGE32:
        if (word) *reinterpret_cast<int32_t *>(word) = field.low;
        if (extra) *reinterpret_cast<int32_t *>(extra) = field.high;
        return 0;
    case UDM_SETPOS32: {
        const int32_t before = NumberOf(field, text);
        backend::WriteNumber(handle, std::to_string(InRange(int32_t(extra), field.low, field.high)).c_str(), false);
        return before;
    }
    case UDM_GETPOS32: return NumberOf(field, text);
    default: return 0;
    }
}

void TakeStep(const StepNotice &notice)
{
    const HWND arrows = notice.from.window, field = backend::NumberFieldOf(arrows);
    if (!field) return;
    int32_t low = 0, high = 0;
    backend::Send(arrows, UDM_GETRANGE32, reinterpret_cast<WPARAM>(&low), reinterpret_cast<LPARAM>(&high));
    const auto before = int32_t(backend::Send(arrows, UDM_GETPOS32, 0, 0));
    const int32_t value = InRange((long long)before + notice.step, low, high);
    if (value != before) backend::WriteNumber(field, std::to_string(value).c_str(), true);
}
