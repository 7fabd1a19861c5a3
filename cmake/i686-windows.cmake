# Cross-compiles for 32-bit Windows. The posix variant of the compiler is the one whose std::thread and std::mutex work.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

# SSE2 arithmetic gives every double the bits that it has on x86-64; the x87 unit would round differently.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")

# The compiler's runtime is linked in: no DLL of it has to travel along.
set(runtime "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${runtime}")
# What a library exports is found under its plain name, without the bytes of its arguments.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${runtime} -Wl,--kill-at")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${runtime} -Wl,--kill-at")

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
