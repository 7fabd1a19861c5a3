// Rows of the host's own work on pictures shared among the threads that a run may use, as maths/sharing.h says. What
// helpers do calls nothing of the host but Relocate.

#pragma once

#include "maths/sharing.h"

#include <stddef.h>
#include <stdint.h>

// How many threads such rows are worth. [run]
int ThreadsFor(const SharedLines &rows);
// ShareLines without preparation. [run]
int ShareRows(int threads, const SharedLines &rows, LineGate gate, Reference<void(const Band &)> work);
// Calls work(first, end) for runs that cover 0 .. count - 1, each `cost` nanoseconds. [run]
void ShareRuns(int32_t count, double cost, Reference<void(int32_t first, int32_t end, int thread)> work);
int ThreadsForRuns(int32_t count, double cost);
// memcpy. [run]
void CopyTogether(uint8_t *to, const uint8_t *from, size_t size);
