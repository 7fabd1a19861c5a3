// Random numbers of a run, after the worker has called KPZ_srand: the sequence of the C runtime's rand.

#pragma once

#include <stdint.h>

// The next `count` numbers. [run]
void DrawNumbers(int32_t *numbers, int count);

inline int DrawNumber()
{
    int32_t number;
    DrawNumbers(&number, 1);
    return number;
}
