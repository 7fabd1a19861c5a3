// KPZ_AllocMem's memory. Large blocks that were freed a moment ago are kept for the next request of about their size:
// a run asks for the same few planes again and again, and fresh pages cost several times what a copy costs. Kept blocks
// never make the program larger than the blocks in use have made it before.

#include "host/api/backend.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <mutex>
#include <stdio.h>
#include <stdlib.h>
#include <thread>

// Each compiler has a way of its own to say that the address sanitizer is on.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define ADDRESS_SANITIZER
#endif

#ifdef ADDRESS_SANITIZER
constexpr int32_t MOST_KEPT = 0;   // so that a use after the free is seen
constexpr size_t HEAD_BYTES = 0;   // so that a byte before the block is seen
#else
constexpr int32_t MOST_KEPT = 4;
constexpr size_t HEAD_BYTES = 32;   // a multiple of every alignment that memory has
#endif
constexpr size_t LARGE = 1 << 20;
constexpr size_t MOST_KEPT_BYTES = size_t(256) << 20;

// Stands in the head of every block.
struct Block {
    size_t size;
};

// Memory fit for any record. The 32-bit runtime's malloc gives only 8 bytes' alignment.
#ifdef _WIN32
static void *SystemMemory(size_t size) { return _aligned_malloc(size, 16); }
static void ReturnMemory(void *memory) { _aligned_free(memory); }
#else
static void *SystemMemory(size_t size) { return malloc(size); }
static void ReturnMemory(void *memory) { free(memory); }
#endif

static std::atomic<int32_t> allocatedBlocks{0};

// The large blocks. Nothing here is destroyed at the program's end: a run thread may still be at work then.
static std::mutex largeLock;
static Block *kept[std::max(MOST_KEPT, 1)];   // the latest last
static int32_t keptCount;
static size_t keptBytes, usedBytes, mostUsedBytes;

static void *AddressOf(Block *block) { return reinterpret_cast<uint8_t *>(block) + HEAD_BYTES; }
static Block *BlockAt(void *memory) { return reinterpret_cast<Block *>(static_cast<uint8_t *>(memory) - HEAD_BYTES); }

// The caller holds the lock, here and in the three routines that follow.
static Block *TakeOut(int32_t index)
{
    Block *block = kept[index];
    std::copy(kept + index + 1, kept + keptCount, kept + index);
    --keptCount;
    keptBytes -= block->size;
    return block;
}

static void DropOldest() { ReturnMemory(TakeOut(0)); }

// The latest kept block that fits without wasting more than a quarter of the size; null when there is none.
static Block *TakeFitting(size_t size)
{
    for (int32_t i = keptCount; i-- > 0;) {
        if (kept[i]->size >= size && kept[i]->size - size <= size / 4) return TakeOut(i);
    }
    return nullptr;
}

static void CountUsed(size_t size)
{
    usedBytes += size;
    mostUsedBytes = std::max(mostUsedBytes, usedBytes);
    while (keptCount && usedBytes + keptBytes > mostUsedBytes) DropOldest();
}

// A large block could not be had after all.
static void UncountUsed(size_t size)
{
    const std::lock_guard guard(largeLock);
    usedBytes -= size;
}

//---- Another's memory

static std::atomic<const MemoryRoutines *> others{nullptr};

KPZ_EXPORT void KPZAPI HostUseMemory(const MemoryRoutines *routines) { others = routines; }

//---- When memory is short

static std::atomic<ReliefRoutine> relief{nullptr};
static std::atomic<int32_t> refusals{0};

static EndRoutine endRoutine;
static void *endContext;

KPZ_EXPORT void KPZAPI HostRelieveMemory(ReliefRoutine routine) { relief = routine; }
KPZ_EXPORT void KPZAPI HostRefuseMemory(int32_t requests) { refusals = requests; }

KPZ_EXPORT void KPZAPI HostBeforeMemoryEnd(EndRoutine routine, void *context)
{
    endRoutine = routine;
    endContext = context;
}

// Held for the dialogs' thread, whose work cannot be left: small things that it needs to say that memory has run out.
static constexpr size_t RESERVE = 1 << 20;
static std::atomic<void *> reserve{nullptr};
static std::atomic<bool> reserveKept{false}, reserveUsed{false};

void KeepReserve(bool keep)
{
    reserveKept = keep;
    if (keep && !reserve) ReturnMemory(reserve.exchange(SystemMemory(RESERVE)));
    if (!keep) ReturnMemory(reserve.exchange(nullptr));
}

// False when there was none.
static bool GiveUpReserve()
{
    void *memory = reserve.exchange(nullptr);
    if (memory) reserveUsed = true;
    ReturnMemory(memory);
    return memory != nullptr;
}

KPZ_EXPORT BOOL KPZAPI HostMemoryWasShort()
{
    if (reserveKept) KeepReserve(true);
    return reserveUsed.exchange(false);
}

static bool IsRefused(size_t size)
{
    if (size < LARGE || refusals <= 0) return false;
    return refusals-- > 0;
}

static void *AskSystem(size_t bytes) { return IsRefused(bytes) ? nullptr : SystemMemory(bytes); }

static void *AskWithoutKept(size_t bytes)
{
    std::lock_guard guard(largeLock);
    while (keptCount) DropOldest();
    return AskSystem(bytes);
}

KPZ_EXPORT BOOL KPZAPI HostMemoryHolds(int32_t blocks, uint64_t bytes)
{
    void *taken[8] = {};
    int32_t count = 0;
    while (bytes <= SIZE_MAX && count < std::min<int32_t>(blocks, std::size(taken))) {
        taken[count] = AskSystem(size_t(bytes));
        if (!taken[count]) taken[count] = AskWithoutKept(size_t(bytes));
        if (!taken[count]) break;
        ++count;
    }
    for (int32_t i = 0; i < count; ++i) ReturnMemory(taken[i]);
    return count >= blocks;
}

// The kept blocks are given up before memory has run out, and then what others can do without.
static Block *NewBlock(size_t size)
{
    if (size > size_t(PTRDIFF_MAX) - HEAD_BYTES) return nullptr;   // no system has it
    const size_t bytes = std::max<size_t>(HEAD_BYTES + size, 1);
    void *memory = AskSystem(bytes);
    if (!memory) memory = AskWithoutKept(bytes);
    while (!memory) {
        const ReliefRoutine relieve = relief;
        if (!relieve || !relieve()) return nullptr;
        memory = AskWithoutKept(bytes);
    }
    return static_cast<Block *>(memory);
}

// Ends at once: this may be a run's thread, and an orderly end would wait for it.
void EndOutOfMemory(uint64_t size)
{
    if (endRoutine) endRoutine(endContext);
    static std::atomic<bool> said{false};
    while (said.exchange(true)) std::this_thread::sleep_for(std::chrono::seconds(1));   // another thread ends it
    if (size) fprintf(stderr, "velmorant: out of memory: %llu more bytes cannot be had\n", (unsigned long long)size);
    else fputs("velmorant: out of memory\n", stderr);
    fflush(nullptr);
    _Exit(1);
}

KPZ_EXPORT void KPZAPI HostEndForMemory() { EndOutOfMemory(0); }

//---- Blocks

static Block *LargeBlock(size_t size)
{
    std::lock_guard guard(largeLock);
    Block *block = TakeFitting(size);
    CountUsed(block ? block->size : size);
    return block;
}

// Keeps a large block, or lets another one go for it; false when it is not worth keeping.
static bool Keep(Block *block)
{
    if (block->size < LARGE) return false;
    std::lock_guard guard(largeLock);
    usedBytes -= block->size;
    if (block->size > MOST_KEPT_BYTES) return false;
    while (keptCount && (keptCount == MOST_KEPT || keptBytes + block->size > MOST_KEPT_BYTES)) DropOldest();
    kept[keptCount++] = block;
    keptBytes += block->size;
    return true;
}

// Null when there is no memory for it.
static void *AllocateOrNull(size_t size)
{
    if (const MemoryRoutines *routines = others) {
        void *memory = IsRefused(size) ? nullptr : routines->allocate(size);
        if (memory) ++allocatedBlocks;
        return memory;
    }
    const bool large = MOST_KEPT && size >= LARGE;
    Block *block = large ? LargeBlock(size) : nullptr;
    if (!block) {
        block = NewBlock(size);
        if (!block && large) UncountUsed(size);
        if (!block) return nullptr;
        if (HEAD_BYTES) block->size = size;
    }
    ++allocatedBlocks;
    return AddressOf(block);
}

void *AllocateOrEnd(size_t size)
{
    MakeRoomForBlock();
    void *memory = AllocateOrNull(size);
    if (!memory && MayLeave()) Leave(size);
    if (!memory && GiveUpReserve()) memory = AllocateOrNull(size);
    if (!memory) EndOutOfMemory(size);
    NoteBlock(memory);
    return memory;
}

void FreeAllocated(void *memory)
{
    if (!memory) return;
    ForgetBlock(memory);
    --allocatedBlocks;
    if (const MemoryRoutines *routines = others) return routines->release(memory);
    if (!MOST_KEPT || !Keep(BlockAt(memory))) ReturnMemory(BlockAt(memory));
}

KPZ_EXPORT void *KPZAPI HostAllocate(uint64_t size)
{
    return AllocateOrEnd(size_t(std::min<uint64_t>(size, SIZE_MAX)));
}

KPZ_EXPORT void *KPZAPI HostTryAllocate(uint64_t size)
{
    return size > SIZE_MAX ? nullptr : AllocateOrNull(size_t(size));
}

KPZ_EXPORT int32_t KPZAPI HostAllocatedBlocks() { return allocatedBlocks; }
