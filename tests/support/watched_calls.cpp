#include "tests/support/watched_calls.h"

// The linker gives the host's own functions these names, and the program's calls those that begin with __wrap.
KPZ_IMPORT void KPZAPI __real_IncrementProgress(HWND window, ProgressRecord *progress, int32_t tenths);
KPZ_IMPORT void KPZAPI __real_ResetProgress(HWND window, ProgressRecord *progress);
KPZ_IMPORT void KPZAPI __real_Relocate(const RelocateRequest *request);

KPZ_IMPORT void KPZAPI __real_KPZ_AllocMem(void *addressOfPointer, uint32_t size, int32_t flags);
KPZ_IMPORT void KPZAPI __real_KPZ_FreeMem(void *memory);

static thread_local int emptyRequests, nullFrees;

int EmptyRequests() { return emptyRequests; }
int NullFrees() { return nullFrees; }

KPZ_IMPORT void KPZAPI __wrap_KPZ_AllocMem(void *addressOfPointer, uint32_t size, int32_t flags)
{
    emptyRequests += size == 0;
    __real_KPZ_AllocMem(addressOfPointer, size, flags);
}

KPZ_IMPORT void KPZAPI __wrap_KPZ_FreeMem(void *memory)
{
    nullFrees += memory == nullptr;
    __real_KPZ_FreeMem(memory);
}

KPZ_IMPORT void KPZAPI __wrap_IncrementProgress(HWND window, ProgressRecord *progress, int32_t tenths)
{
    __real_IncrementProgress(window, progress, tenths);
    ProgressWasReported(window, progress, tenths);
}

KPZ_IMPORT void KPZAPI __wrap_ResetProgress(HWND window, ProgressRecord *progress)
{
    __real_ResetProgress(window, progress);
    ProgressWasReset(window, progress);
}

KPZ_IMPORT void KPZAPI __wrap_Relocate(const RelocateRequest *request)
{
    PixelIsRelocated(*request);
    __real_Relocate(request);
}
