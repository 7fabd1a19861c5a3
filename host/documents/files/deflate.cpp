#include "host/documents/files/deflate.h"

#include <zlib.h>

#include <algorithm>
#include <new>

bool Inflate(std::span<const uint8_t> packed, size_t most, Bytes &bytes)
{
    uint8_t part[16 * 1024];
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
    stream.next_in = const_cast<Bytef *>(packed.data());
    stream.avail_in = uInt(std::min<size_t>(packed.size(), UINT32_MAX));
    int state = Z_OK;
    bytes.clear();
    while (state == Z_OK && bytes.size() <= most) {
        stream.next_out = part;
        stream.avail_out = sizeof part;
        state = inflate(&stream, Z_NO_FLUSH);
        AddBytes(bytes, part, sizeof part - stream.avail_out);
    }
    inflateEnd(&stream);
    if (state == Z_MEM_ERROR) throw std::bad_alloc();
    return state == Z_STREAM_END && bytes.size() <= most;
}

Bytes Deflate(std::span<const uint8_t> bytes)
{
    uLongf count = compressBound(uLong(bytes.size()));
    Bytes packed(count);
    // With room enough it can fail for want of memory alone; nothing in its place would be a damaged file.
    if (compress(packed.data(), &count, bytes.data(), uLong(bytes.size())) != Z_OK) throw std::bad_alloc();
    packed.resize(count);
    return packed;
}

uint32_t Checksum(uint32_t before, const void *bytes, size_t count)
{
    if (count == 0) return before;   // zlib takes no bytes at no place for a new beginning
    return uint32_t(crc32_z(before, static_cast<const Bytef *>(bytes), count));
}
