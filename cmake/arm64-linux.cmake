# Cross-compiles for Linux on aarch64, with Debian's arm64 libraries as scripts/setup-arm64 unpacks them, and runs what it
# builds in qemu's emulation of that processor.
if(DEFINED ENV{VELMORANT_ARM64})
    set(libraries $ENV{VELMORANT_ARM64}/root)
elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(libraries $ENV{XDG_CACHE_HOME}/velmorant/arm64/root)
else()
    set(libraries $ENV{HOME}/.cache/velmorant/arm64/root)
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${libraries})

# What the libraries themselves need.
set(needed -Wl,-rpath-link,${libraries}/usr/lib/aarch64-linux-gnu)
set(CMAKE_EXE_LINKER_FLAGS_INIT ${needed})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${needed})
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${needed})

set(CMAKE_FIND_ROOT_PATH ${libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
