// To be loaded before a program (LD_PRELOAD): the system refuses it memory, a thread or a file. By the environment:
//     REFUSE_MEMORY=N    the N-th allocation, counted from 1; with REFUSE_ALL=1 all that follow too
//     REFUSE_SIZE=BYTES  only allocations of so many bytes and more count
//     REFUSE_THREAD=N    the N-th thread; with REFUSE_ALL=1 all that follow too
//     REFUSE_FILE=N      the N-th opening, writing, bringing to the disk, renaming or closing; likewise
//     REFUSE_EARLY=1     what is done before the program's first thread, and so before its main, counts too
//     COUNT_TO=FILE      at the end: how many allocations, threads and uses of files there were
// Files are looked at where the program calls the C library: its own calls among themselves nobody can take over.

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <unistd.h>

// The C library's own, under names that nothing here takes the place of.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);
extern "C" void *__libc_memalign(size_t alignment, size_t size);

static bool ready;
static long memoryAt, threadAt, fileAt, least, all;
static long allocations, threads, uses;

static long Number(const char *name)
{
    const char *text = getenv(name);
    return text ? atol(text) : 0;
}

__attribute__((constructor)) static void Begin()
{
    memoryAt = Number("REFUSE_MEMORY");
    threadAt = Number("REFUSE_THREAD");
    fileAt = Number("REFUSE_FILE");
    least = Number("REFUSE_SIZE");
    all = Number("REFUSE_ALL");
    ready = Number("REFUSE_EARLY");
}

__attribute__((destructor)) static void End()
{
    const char *name = getenv("COUNT_TO");
    memoryAt = fileAt = 0;
    FILE *file = name ? fopen(name, "w") : nullptr;
    if (!file) return;
    fprintf(file, "%ld %ld %ld\n", allocations, threads, uses);
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

//---- Files

static bool RefusesFile(int number)
{
    if (!ready || !IsHit(__atomic_add_fetch(&uses, 1, __ATOMIC_RELAXED), fileAt)) return false;
    errno = number;
    return true;
}

template <class Routine> static Routine Next(Routine, const char *name)
{
    return reinterpret_cast<Routine>(dlsym(RTLD_NEXT, name));
}

OFFERED FILE *fopen(const char *name, const char *mode)
{
    static const auto next = Next(fopen, "fopen");
    return RefusesFile(EMFILE) ? nullptr : next(name, mode);
}

OFFERED FILE *fopen64(const char *name, const char *mode)
{
    static const auto next = Next(fopen, "fopen64");
    return RefusesFile(EMFILE) ? nullptr : next(name, mode);
}

OFFERED int open(const char *name, int flags, ...)
{
    typedef int (*Open)(const char *, int, ...);
    static const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "open"));
    va_list rest;
    va_start(rest, flags);
    const unsigned mode = flags & O_CREAT ? va_arg(rest, unsigned) : 0;
    va_end(rest);
    return RefusesFile(EMFILE) ? -1 : next(name, flags, mode);
}

OFFERED size_t fwrite(const void *bytes, size_t size, size_t count, FILE *file)
{
    static const auto next = Next(fwrite, "fwrite");
    return RefusesFile(ENOSPC) ? 0 : next(bytes, size, count, file);
}

OFFERED int fflush(FILE *file)
{
    static const auto next = Next(fflush, "fflush");
    return file != stdout && RefusesFile(ENOSPC) ? EOF : next(file);   // with nothing to write that cannot fail
}

OFFERED int fsync(int descriptor)
{
    static const auto next = Next(fsync, "fsync");
    return RefusesFile(EIO) ? -1 : next(descriptor);
}

OFFERED int rename(const char *from, const char *to)
{
    static const auto next = Next(rename, "rename");
    return RefusesFile(EACCES) ? -1 : next(from, to);
}

// Closed it is all the same.
OFFERED int fclose(FILE *file)
{
    static const auto next = Next(fclose, "fclose");
    const int result = next(file);
    return RefusesFile(EIO) ? EOF : result;
}

OFFERED int close(int descriptor)
{
    static const auto next = Next(close, "close");
    const int result = next(descriptor);
    return RefusesFile(EIO) ? -1 : result;
}
