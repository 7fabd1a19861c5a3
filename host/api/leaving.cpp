// Leaving a run, or other work on a thread of its own, that gets no memory: its routine is not gone on with, and what it
// has allocated is freed. VLMMISC does the rest, of which nothing is known here: the picture, the locks, the dialog.
//
// The way out is an exception, which frees what the frames between hold. 32-bit Windows is the exception to that: every
// library has an unwinder of its own there, which knows no frames but its library's. There the way out is a jump, and
// what the frames between hold in their own runtime's memory is lost.

#include "host/api/backend.h"

#include <algorithm>
#include <new>
#include <vector>

#if defined(_WIN32) && defined(__i386__)
#define LEAVES_BY_JUMP 1
#else
#define LEAVES_BY_JUMP 0
#endif

// Work that may be left, the innermost on its thread.
struct Leavable {
    std::vector<void *> blocks;   // allocated by it and neither freed nor kept, in order
    uint64_t wanted = 0;          // bytes that could not be had; 0 when the C++ library did not say
    Leavable *outer = nullptr;
#if LEAVES_BY_JUMP
    void *way[5];
#endif
};

static thread_local Leavable *current;

bool MayLeave() { return current != nullptr; }

void Leave(uint64_t wanted)
{
    if (wanted) current->wanted = wanted;
#if LEAVES_BY_JUMP
    __builtin_longjmp(current->way, 1);
#else
    throw std::bad_alloc();
#endif
}

//---- The blocks

void MakeRoomForBlock()
{
    if (!current || current->blocks.size() < current->blocks.capacity()) return;
    try {
        current->blocks.reserve(2 * current->blocks.size() + 64);
    } catch (const std::bad_alloc &) {
        Leave(0);
    }
}

void NoteBlock(void *memory)
{
    if (current) current->blocks.push_back(memory);
}

void ForgetBlock(void *memory)
{
    if (!current) return;
    const auto found = std::find(current->blocks.rbegin(), current->blocks.rend(), memory);
    if (found != current->blocks.rend()) current->blocks.erase(std::next(found).base());
}

KPZ_EXPORT int32_t KPZAPI HostBlocksOfWork() { return current ? int32_t(current->blocks.size()) : 0; }

KPZ_EXPORT void KPZAPI HostKeepBlocks(int32_t first)
{
    if (current && size_t(first) < current->blocks.size()) current->blocks.resize(size_t(first));
}

static void FreeBlocks(Leavable &work)
{
    while (!work.blocks.empty()) FreeAllocated(work.blocks.back());   // which takes it off the list
}

//---- The work

// False when it was left.
static bool Work(Leavable &work, WorkRoutine routine, void *context)
{
    current = &work;
#if LEAVES_BY_JUMP
    if (__builtin_setjmp(work.way)) return false;
#endif
    try {
        routine(context);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

KPZ_EXPORT BOOL KPZAPI HostWorkOrLeave(WorkRoutine routine, LeftRoutine left, void *context)
{
    Leavable work;
    work.outer = current;
    const bool done = Work(work, routine, context);
    if (!done) {
        if (left) left(context, work.wanted);
        FreeBlocks(work);
    }
    current = work.outer;
    return done;
}

KPZ_EXPORT void KPZAPI HostLeaveWork()
{
    if (current) Leave(0);
    EndOutOfMemory(0);
}
