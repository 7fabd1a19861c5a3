// Bytes of files, and the numbers in them.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

typedef std::vector<uint8_t> Bytes;

//---- High byte first

inline uint32_t High16(const uint8_t *bytes) { return uint32_t(bytes[0] << 8 | bytes[1]); }
inline uint32_t High32(const uint8_t *bytes) { return High16(bytes) << 16 | High16(bytes + 2); }

inline void AddHigh16(Bytes &bytes, uint32_t value)
{
    bytes.push_back(uint8_t(value >> 8));
    bytes.push_back(uint8_t(value));
}

inline void AddHigh32(Bytes &bytes, uint32_t value)
{
    AddHigh16(bytes, value >> 16);
    AddHigh16(bytes, value);
}

//---- Low byte first

inline uint32_t Low16(const uint8_t *bytes) { return uint32_t(bytes[0] | bytes[1] << 8); }
inline uint32_t Low32(const uint8_t *bytes) { return Low16(bytes) | Low16(bytes + 2) << 16; }

inline void AddLow16(Bytes &bytes, uint32_t value)
{
    bytes.push_back(uint8_t(value));
    bytes.push_back(uint8_t(value >> 8));
}

inline void AddLow32(Bytes &bytes, uint32_t value)
{
    AddLow16(bytes, value & 0xFFFF);
    AddLow16(bytes, value >> 16);
}

inline void AddBytes(Bytes &bytes, const void *from, size_t count)
{
    const auto *first = static_cast<const uint8_t *>(from);
    bytes.insert(bytes.end(), first, first + count);
}
