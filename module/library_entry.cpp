// What Windows calls when the module is loaded and let go. The module keeps no state, so there is nothing to do.

#include "interface/windows_calls.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
