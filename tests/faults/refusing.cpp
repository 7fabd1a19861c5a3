// To be loaded before a program (LD_PRELOAD): the system refuses it memory or a thread. By the environment:
//     REFUSE_MEMORY=N    the N-th allocation, counted from 1; with REFUSE_ALL=1 all that follow too
//     REFUSE_SIZE=BYTES  only allocations of so many bytes and more count
//     REFUSE_THREAD=N    the N-th thread; with REFUSE_ALL=1 all that follow too
// What libraries allocate before the program's first thread, and so before its main, does not count.
//     COUNT_TO=FILE      at the end: how many allocations and threads there were

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>

// The C library's own, under names that nothing here takes the place of.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);
extern "C" void *__libc_memalign(size_t alignment, size_t size);

static bool ready;
static long memoryAt, threadAt, least, all;
static long allocations, threads;

static long Number(const char *name)
{
    const char *text = getenv(name);
    return text ? atol(text) : 0;
}

__attribute__((constructor)) static void Begin()
{
    memoryAt = Number("REFUSE_MEMORY");
    threadAt = Number("REFUSE_THREAD");
    least = Number("REFUSE_SIZE");
    all = Number("REFUSE_ALL");
}

__attribute__((destructor)) static void End()
{
    const char *name = getenv("COUNT_TO");
    memoryAt = 0;
    FILE *file = name ? fopen(name, "w") : nullptr;
    if (!file) return;
    fprintf(file, "%ld %ld\n", allocations, threads);
    fclose(file);
}

static bool IsHit(long number, long at) { return at > 0 && (number == at || (all && number > at)); }

static bool Refuses(size_t size)
{
    if (!ready || size < size_t(least)) return false;
    if (!IsHit(__atomic_add_fetch(&allocations, 1, __ATOMIC_RELAXED), memoryAt)) return false;
    errno = ENOMEM;
    return true;
}

#define OFFERED extern "C" __attribute__((visibility("default")))

OFFERED void *malloc(size_t size) { return Refuses(size) ? nullptr : __libc_malloc(size); }
OFFERED void *calloc(size_t count, size_t size) { return Refuses(count * size) ? nullptr : __libc_calloc(count, size); }
OFFERED void *realloc(void *memory, size_t size) { return Refuses(size) ? nullptr : __libc_realloc(memory, size); }
OFFERED void *memalign(size_t alignment, size_t size)
{
    return Refuses(size) ? nullptr : __libc_memalign(alignment, size);
}
OFFERED void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
OFFERED int posix_memalign(void **memory, size_t alignment, size_t size)
{
    void *made = memalign(alignment, size);
    if (made) *memory = made;
    return made ? 0 : ENOMEM;
}

OFFERED int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*routine)(void *),
                           void *argument)
{
    typedef int (*Create)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    ready = true;
    if (IsHit(__atomic_add_fetch(&threads, 1, __ATOMIC_RELAXED), threadAt)) return EAGAIN;
    return create(thread, attributes, routine, argument);
}
