// The numbers that the system tells of a process: memory, open files or handles, threads. What they are held against is
// soak.cpp's.

#include "tests/soak/level.h"

#ifdef _WIN32

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

static int64_t ThreadsNow()
{
    int64_t threads = 0;
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL there = Thread32First(all, &entry); there; there = Thread32Next(all, &entry))
        threads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(all);
    return threads;
}

Level LevelNow()
{
    Level level;
    DWORD handles = 0;
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    level.resident = int64_t(memory.PagefileUsage);
    level.handles = handles;
    level.threads = ThreadsNow();
    return level;
}

#else

#include <cstdio>
#include <filesystem>
#include <malloc.h>
#include <unistd.h>

static int64_t EntriesOf(const char *folder)
{
    int64_t entries = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(folder)) ++entries;
    return entries;
}

// A sanitizer's allocator says 0 of what it has given out.
Level LevelNow()
{
    Level level;
    const struct mallinfo2 memory = mallinfo2();
    level.used = int64_t(memory.uordblks + memory.hblkhd);
    long pages = 0, resident = 0;
    if (FILE *file = fopen("/proc/self/statm", "r")) {
        if (fscanf(file, "%ld %ld", &pages, &resident) == 2) level.resident = int64_t(resident) * sysconf(_SC_PAGESIZE);
        fclose(file);
    }
    level.handles = EntriesOf("/proc/self/fd");
    level.threads = EntriesOf("/proc/self/task");
    return level;
}

#endif
