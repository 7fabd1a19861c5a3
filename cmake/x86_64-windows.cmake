# Cross-compiles for 64-bit Windows.
set(target x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)

# The stack is kept to multiples of 16 bytes there, and the compiler lays 32-byte values of AVX2 on it all the same: the
# assembler turns every move that would stop at that into one that does not.
set(CMAKE_C_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
