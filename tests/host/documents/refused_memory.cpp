// The C library's allocations under its own names, which a program's take precedence over: one of them may be refused.

#include "tests/host/documents/refused_memory.h"

#include <cerrno>
#include <cstddef>

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);
extern "C" void *__libc_memalign(size_t alignment, size_t size);

static thread_local long allocations, refusedAt;
static thread_local bool refusesAll;

static bool Refuses()
{
    ++allocations;
    if (refusedAt == 0 || (refusesAll ? allocations < refusedAt : allocations != refusedAt)) return false;
    errno = ENOMEM;
    return true;
}

// Seen by the libraries too, however the program's own names are hidden.
#define SEEN extern "C" __attribute__((visibility("default")))

SEEN void *malloc(size_t size) { return Refuses() ? nullptr : __libc_malloc(size); }
SEEN void *calloc(size_t count, size_t size) { return Refuses() ? nullptr : __libc_calloc(count, size); }
SEEN void *realloc(void *memory, size_t size) { return Refuses() ? nullptr : __libc_realloc(memory, size); }
SEEN void *memalign(size_t alignment, size_t size) { return Refuses() ? nullptr : __libc_memalign(alignment, size); }
SEEN void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
SEEN int posix_memalign(void **memory, size_t alignment, size_t size)
{
    void *made = memalign(alignment, size);
    if (made) *memory = made;
    return made ? 0 : ENOMEM;
}

void RefuseMemory(long at, bool all)
{
    allocations = 0;
    refusesAll = all;
    refusedAt = at;
}

long GrantMemory()
{
    refusedAt = 0;
    return allocations;
}
