// What a process holds of the system at a moment.

#pragma once

#include <cstdint>

struct Level {
    int64_t used = 0;       // bytes of memory that have been asked for and not given back; 0: not known
    int64_t resident = 0;   // bytes of memory in the machine; on Windows, of the process's own
    int64_t handles = 0;    // open files, on Windows all kinds
    int64_t threads = 0;
};
Level LevelNow();
