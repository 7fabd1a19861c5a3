// Numbers out of a fuzzer's bytes; 0 when they are used up.

#pragma once

#include <cstddef>
#include <cstdint>

struct Given {
    const uint8_t *data;
    size_t size;
    int Next() { return size ? (--size, *data++) : 0; }
};
