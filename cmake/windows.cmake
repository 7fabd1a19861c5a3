# What both Windows targets have in common; read by their toolchain files, which set `target`. The posix variant of the
# compiler is the one whose std::thread and std::mutex work.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${target}-g++-posix)
set(CMAKE_RC_COMPILER ${target}-windres)

# The compiler's runtime is linked in: no DLL of it has to travel along.
set(runtime "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${runtime}")
# What a library exports is found under its plain name, without the bytes of its arguments.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${runtime} -Wl,--kill-at")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${runtime} -Wl,--kill-at")

set(CMAKE_FIND_ROOT_PATH /usr/${target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
