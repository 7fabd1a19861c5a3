// Memory for the blocks of KPZ_AllocMem that tells what a module does with it wrongly: behind every block begins memory
// that cannot be touched, before it and in the few bytes up to there stand guard words, fresh blocks hold no zeros, and
// freed ones cannot be touched for a while.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// From here on all blocks are watched; there is no way back.
void GuardMemory();
// Looks at the guard words of all blocks; what was written over is found.
void LookAtGuards();

// A block of its own kind for tests of workers: bytes at `size` begin where they cannot be touched.
uint8_t *GuardedBytes(size_t size);
void FreeGuardedBytes(uint8_t *bytes);
// Planes of pictures are told apart from other blocks when they are overrun.
void CallItPlane(const void *block);

// How many blocks there are, and a mark for those made so far.
int BlockCount();
uint64_t BlockMark();
// Blocks made since a mark that are still there, for people: "2 blocks, of 4096 and 300 bytes"; empty for none.
std::string BlocksSince(uint64_t mark);
int BlocksMadeSince(uint64_t mark);

// What lies at an address, for people; empty where nothing watched does. [any]
std::string PlaceOfAddress(const void *address);
bool IsPlaneAddress(const void *address);
