// The faults that a small module is built with, one each; NONE has none.

#pragma once

enum Fault {
    NONE,
    NO_EXIT,
    CRASHES_WHEN_LOADED,
    HANGS_IN_MENU,
    WRITES_BEYOND,
    ABORTS_LATE,
    LEAKS,
    FLOODS,
    THROWS,
    EXITS,
    OWN_NAME,
    TAKES_SLOTS   // on Windows
};
