// Host calls of a worker that a test looks at. Programs that link vlm_test_support have their calls of these functions
// sent through watched_calls.cpp (the linker's --wrap), which hands them on to the host and tells the watch.

#pragma once

#include "interface/host_interface.h"

// Answers that run_worker.cpp gives; on a thread without a watched run they do nothing.
void ProgressWasReported(HWND window, const ProgressRecord *progress, int32_t tenths);
void ProgressWasReset(HWND window, const ProgressRecord *progress);
void PixelIsRelocated(const RelocateRequest &request);

// How often this thread has asked KPZ_AllocMem for no bytes, and handed KPZ_FreeMem null; calls that the host makes of
// itself are not seen.
int EmptyRequests();
int NullFrees();
