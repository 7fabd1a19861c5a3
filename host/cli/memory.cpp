// Asks the system what memory is left, and shares it out among pictures. Nothing is reserved: a picture may still be too
// large, or another program faster.

#include "host/cli/memory.h"

#include <algorithm>

// A picture stands in memory this many times at most: with what its effect needs while it runs, a mirrored one's twice
// as large result, or what its file's codec holds.
static constexpr uint64_t COPIES = 4;

// A quarter is left to other programs, and to the gaps between what is held.
bool HasRoom(uint64_t free, const std::vector<uint64_t> &held, uint64_t largest)
{
    if (held.empty() || free == UINT64_MAX) return true;
    uint64_t bytes = largest;
    for (const uint64_t one : held) bytes += one ? one : largest;
    return largest && bytes <= free / 4 * 3 / COPIES;
}

#ifdef _WIN32

#include <windows.h>

uint64_t FreeMemory()
{
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    if (!GlobalMemoryStatusEx(&memory)) return UINT64_MAX;
    return std::min({memory.ullAvailPhys, memory.ullAvailPageFile, memory.ullAvailVirtual});
}

#else

#include <fstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

static uint64_t Less(uint64_t limit, uint64_t taken) { return limit > taken ? limit - taken : 0; }

// Of the whole machine.
static uint64_t FreeInMachine()
{
    std::ifstream lines("/proc/meminfo");
    for (std::string word; lines >> word;) {
        uint64_t kilobytes = 0;
        if (word == "MemAvailable:" && lines >> kilobytes) return kilobytes * 1024;
    }
    return UINT64_MAX;
}

// A file that holds one number, or a word for none.
static uint64_t NumberIn(const std::string &file)
{
    uint64_t number = 0;
    return std::ifstream(file) >> number ? number : UINT64_MAX;
}

// A control group's limit binds those below it too.
static uint64_t FreeInGroups()
{
    std::ifstream lines("/proc/self/cgroup");
    uint64_t free = UINT64_MAX;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("0::/")) continue;
        std::string group = line.substr(3);
        do {
            group.erase(std::min(group.size(), group.find_last_not_of('/') + 1));
            const std::string folder = "/sys/fs/cgroup" + group + "/";
            const uint64_t limit = NumberIn(folder + "memory.max"), taken = NumberIn(folder + "memory.current");
            if (limit != UINT64_MAX && taken != UINT64_MAX) free = std::min(free, Less(limit, taken));
            group.erase(std::min(group.size(), group.find_last_of('/')));
        } while (!group.empty());
    }
    return free;
}

static uint64_t FreeInProcess()
{
    rlimit limit = {};
    uint64_t pages = 0;
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return UINT64_MAX;
    std::ifstream("/proc/self/statm") >> pages;
    return Less(limit.rlim_cur, pages * uint64_t(sysconf(_SC_PAGESIZE)));
}

uint64_t FreeMemory() { return std::min({FreeInMachine(), FreeInGroups(), FreeInProcess()}); }

#endif
