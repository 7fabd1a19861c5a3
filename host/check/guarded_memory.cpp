// Pages with an end that cannot be touched, one run of them for each block, and the books that are kept of them.

#include "host/check/guarded_memory.h"

#include "host/api/host_api.h"
#include "host/check/child.h"

#include <cstring>
#include <deque>
#include <map>
#include <mutex>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

//---- Pages

#ifdef _WIN32
static size_t PageSize() { return 4096; }
static void *TakePages(size_t size) { return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE); }
static void ForbidPages(void *pages, size_t size)
{
    DWORD before;
    VirtualProtect(pages, size, PAGE_NOACCESS, &before);
}
static void GivePages(void *pages, size_t) { VirtualFree(pages, 0, MEM_RELEASE); }
#else
static size_t PageSize()
{
    static const size_t size = size_t(sysconf(_SC_PAGESIZE));
    return size;
}
static void *TakePages(size_t size)
{
    void *pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}
static void ForbidPages(void *pages, size_t size) { mprotect(pages, size, PROT_NONE); }
static void GivePages(void *pages, size_t size) { munmap(pages, size); }
#endif

//---- Blocks

constexpr size_t ALIGNMENT = 16, GUARD_BYTES = 64;
constexpr uint8_t GUARD = 0xA5, FRESH = 0xCD;
// A module asks for planes; a gigabyte at once is more than a whole run of the checks ever has.
constexpr uint64_t FLOOD_BYTES = uint64_t(1) << 30;
constexpr size_t FREED_KEPT = 64;   // runs of pages

struct Block {
    uint8_t *pages;
    size_t pageBytes;   // with the last page, which cannot be touched
    size_t size;
    uint64_t number;
    bool plane;
    std::string doing;
};

static std::recursive_mutex booksLock;
// Neither is ever destroyed: threads may be at work while the process ends.
static std::map<uint8_t *, Block> &Blocks()
{
    static auto &blocks = *new std::map<uint8_t *, Block>;
    return blocks;
}
static std::deque<std::pair<uint8_t *, Block>> &Freed()
{
    static auto &freed = *new std::deque<std::pair<uint8_t *, Block>>;
    return freed;
}
static uint64_t nextNumber, bytesInUse;

static size_t RoundUp(size_t size, size_t unit) { return (size + unit - 1) / unit * unit; }

static std::string NameOf(const Block &block)
{
    return std::string(block.plane ? "a plane of " : "a block of ") + std::to_string(block.size) + " bytes";
}

static uint8_t *MakeBlock(uint64_t wanted, bool plane)
{
    if (wanted > FLOOD_BYTES) return nullptr;
    const size_t size = size_t(wanted), room = RoundUp(size, ALIGNMENT), page = PageSize();
    const size_t pageBytes = RoundUp(GUARD_BYTES + room, page) + page;
    {
        const std::lock_guard hold(booksLock);
        if (bytesInUse + pageBytes > FLOOD_BYTES) return nullptr;
    }
    auto *pages = static_cast<uint8_t *>(TakePages(pageBytes));
    if (!pages) return nullptr;
    uint8_t *end = pages + pageBytes - page, *start = end - room;
    memset(pages, GUARD, size_t(start - pages));
    memset(start, FRESH, size);
    memset(start + size, GUARD, room - size);
    ForbidPages(end, page);
    const std::lock_guard hold(booksLock);
    bytesInUse += pageBytes;
    Blocks()[start] = {pages, pageBytes, size, nextNumber++, plane, BeingDone()};
    return start;
}

// How far from the block a guard word was written over; 0 when none was.
static ptrdiff_t BrokenGuard(const uint8_t *start, const Block &block)
{
    for (const uint8_t *at = start; at > block.pages;)
        if (*--at != GUARD) return at - start;
    const uint8_t *end = block.pages + block.pageBytes - PageSize();
    for (const uint8_t *at = start + block.size; at < end; ++at)
        if (*at != GUARD) return at - start - ptrdiff_t(block.size) + 1;
    return 0;
}

static void LookAt(const uint8_t *start, const Block &block)
{
    const ptrdiff_t place = BrokenGuard(start, block);
    if (place == 0) return;
    const std::string where =
        place < 0 ? std::to_string(-place) + " bytes before" : "byte " + std::to_string(place) + " behind";
    Found(block.plane ? Rule::BEYOND_PLANE : Rule::BEYOND_BLOCK, "written " + where + " " + NameOf(block));
    const auto length = size_t(start - block.pages);
    memset(block.pages, GUARD, length);   // told once
    memset(block.pages + length + block.size, GUARD, block.pageBytes - PageSize() - length - block.size);
}

static bool WasFreed(const void *memory)
{
    for (const auto &[start, block] : Freed())
        if (start == memory) return true;
    return false;
}

static bool FreeBlock(void *memory)
{
    const std::lock_guard hold(booksLock);
    const auto found = Blocks().find(static_cast<uint8_t *>(memory));
    if (found == Blocks().end()) {
        Found(Rule::FREED_ONCE, WasFreed(memory) ? "a block was freed that had been freed before"
                                                 : "something was freed that KPZ_AllocMem had not given");
        return false;
    }
    LookAt(found->first, found->second);
    const Block &block = found->second;
    bytesInUse -= block.pageBytes;
    ForbidPages(block.pages, block.pageBytes);
    Freed().emplace_back(found->first, block);
    Blocks().erase(found);
    if (Freed().size() > FREED_KEPT) {
        GivePages(Freed().front().second.pages, Freed().front().second.pageBytes);
        Freed().pop_front();
    }
    return true;
}

//---- For the host

static void *KPZAPI Allocate(uint64_t size) { return MakeBlock(size, false); }
static void KPZAPI Release(void *memory) { FreeBlock(memory); }

static void KPZAPI OnMemoryEnd(void *)
{
    std::string held;
    {
        const std::lock_guard hold(booksLock);
        held = std::to_string(Blocks().size()) + " blocks in use, together " + std::to_string(bytesInUse >> 20) +
               " megabytes";
    }
    EndOfModule(Rule::FLOOD,
                "more memory was wanted than " + std::to_string(FLOOD_BYTES >> 20) + " megabytes: " + held);
}

void GuardMemory()
{
    static const MemoryRoutines routines = {Allocate, Release};
    HostUseMemory(&routines);
    HostBeforeMemoryEnd(OnMemoryEnd, nullptr);
}

void LookAtGuards()
{
    const std::lock_guard hold(booksLock);
    for (const auto &[start, block] : Blocks()) LookAt(start, block);
}

uint8_t *GuardedBytes(size_t size)
{
    uint8_t *bytes = MakeBlock(size, true);
    if (!bytes) OnMemoryEnd(nullptr);
    return bytes;
}

void FreeGuardedBytes(uint8_t *bytes) { FreeBlock(bytes); }

void CallItPlane(const void *block)
{
    const std::lock_guard hold(booksLock);
    const auto found = Blocks().find(static_cast<uint8_t *>(const_cast<void *>(block)));
    if (found != Blocks().end()) found->second.plane = true;
}

int BlockCount()
{
    const std::lock_guard hold(booksLock);
    return int(Blocks().size());
}

uint64_t BlockMark()
{
    const std::lock_guard hold(booksLock);
    return nextNumber;
}

int BlocksMadeSince(uint64_t mark)
{
    const std::lock_guard hold(booksLock);
    int count = 0;
    for (const auto &[start, block] : Blocks()) count += block.number >= mark;
    return count;
}

std::string BlocksSince(uint64_t mark)
{
    const std::lock_guard hold(booksLock);
    int count = 0;
    std::string sizes;
    for (const auto &[start, block] : Blocks()) {
        if (block.number < mark) continue;
        if (++count <= 4) sizes += (sizes.empty() ? "" : ", ") + std::to_string(block.size);
    }
    if (count == 0) return "";
    return std::to_string(count) + (count == 1 ? " block" : " blocks") + " of " + sizes + (count > 4 ? ", ..." : "") +
           " bytes";
}

//---- For last words

static std::string Distance(ptrdiff_t bytes) { return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes"); }

std::string PlaceOfAddress(const void *address)
{
    const auto *at = static_cast<const uint8_t *>(address);
    const std::unique_lock hold(booksLock, std::try_to_lock);
    if (!hold) return "";
    for (const auto &[start, block] : Blocks()) {
        if (at < block.pages || at >= block.pages + block.pageBytes) continue;
        const ptrdiff_t behind = at - start - ptrdiff_t(block.size);
        if (at < start) return "touched " + Distance(start - at) + " before " + NameOf(block);
        return "touched " + Distance(behind + 1) + " behind the end of " + NameOf(block);
    }
    for (const auto &[start, block] : Freed()) {
        if (at < block.pages || at >= block.pages + block.pageBytes) continue;
        return "touched " + NameOf(block) + " that had been freed";
    }
    return "";
}

bool IsPlaneAddress(const void *address)
{
    const auto *at = static_cast<const uint8_t *>(address);
    const std::unique_lock hold(booksLock, std::try_to_lock);
    if (!hold) return false;
    for (const auto &[start, block] : Blocks())
        if (at >= block.pages && at < block.pages + block.pageBytes) return block.plane;
    return false;
}
