// What Windows calls when the module is loaded and let go, and what is given back as it goes. The module itself keeps no
// state; the C++ library that is linked into it does: at its first thread or exception it takes one of the process's 1,088
// slots for what threads have of their own, and it never gives that slot back. A host that loads and lets go of modules for
// long would run out of them, at which that library ends the program. So the slots are taken by a routine of the module's,
// which knows afterwards what there is to give back.

#include "interface/windows_calls.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

//---- Slots

static DWORD taken[8];   // the library takes one
static LONG takenCount;

// Without a local of its own that is initialized once: that would need the library.
static DWORD WINAPI TakeSlot()
{
    typedef DWORD(WINAPI * Routine)();
    const FARPROC systems = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "TlsAlloc");
    const DWORD slot = reinterpret_cast<Routine>(reinterpret_cast<void *>(systems))();
    if (slot == TLS_OUT_OF_INDEXES) return slot;
    const LONG place = InterlockedIncrement(&takenCount) - 1;
    if (place < LONG(sizeof taken / sizeof *taken)) taken[place] = slot;
    return slot;
}

// Calls of another library go through a pointer with this name. With one in the module the linker takes no other.
#ifdef _WIN64
#define POINTER_TO_TLS_ALLOC "__imp_TlsAlloc"
#else
#define POINTER_TO_TLS_ALLOC "__imp__TlsAlloc@0"
#endif
extern "C" {
extern DWORD(WINAPI *const pointerToTlsAlloc)() __asm__(POINTER_TO_TLS_ALLOC);
DWORD(WINAPI *const pointerToTlsAlloc)() = TakeSlot;
}

// Made before all others, so that it goes behind them: what they leave to be done as they go may need the slot.
struct GivenBack {
    ~GivenBack()
    {
        for (LONG i = 0; i < takenCount && i < LONG(sizeof taken / sizeof *taken); ++i) TlsFree(taken[i]);
    }
};
__attribute__((init_priority(101))) static const GivenBack givenBack;
