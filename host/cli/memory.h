// How much memory is left to this program, and how many pictures of a batch it is enough for.

#pragma once

#include <cstdint>
#include <vector>

// Bytes that this process may still take, as the system tells just now: what is free or can be freed at once, within
// the limits that are set for the process and its control group, and on 32 bits within what can be named at all. Other
// programs may take them first. UINT64_MAX when the system does not tell. [any]
uint64_t FreeMemory();

// Whether one more picture has room in the memory that was free before the first, beside those that are held: `held` has
// the bytes of their planes, 0 of one that is still being read. One that is not known yet is taken to be as large as
// `largest`, the largest so far; while that is 0 there is room for the first alone. [any]
bool HasRoom(uint64_t free, const std::vector<uint64_t> &held, uint64_t largest);
