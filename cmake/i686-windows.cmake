# Cross-compiles for 32-bit Windows, the module's home.
set(target i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)

# SSE2 arithmetic gives every double the bits that it has on x86-64; the x87 unit would round differently.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
