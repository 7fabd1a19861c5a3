#include "framework/random.h"

#include "interface/vlmapi.h"

#include <stdlib.h>

static void DrawFromRuntime(int32_t *numbers, int count)
{
    for (int i = 0; i < count; ++i) numbers[i] = rand();
}

#ifdef _WIN32

void DrawNumbers(int32_t *numbers, int count) { DrawFromRuntime(numbers, count); }

#else

// Left to the loader: null under a host that has no sequences of its own.
#pragma weak HostRandomNumbers

void DrawNumbers(int32_t *numbers, int count)
{
    if (HostRandomNumbers) HostRandomNumbers(numbers, count);
    else DrawFromRuntime(numbers, count);
}

#endif
