// Small packed parts of files (profiles, texts) through zlib. Pixels are packed and unpacked by a codec, not here.

#pragma once

#include "host/documents/files/bytes.h"

#include <span>

// A zlib stream's contents. False when it is damaged, or longer than `most` bytes.
bool Inflate(std::span<const uint8_t> packed, size_t most, Bytes &bytes);
Bytes Deflate(std::span<const uint8_t> bytes);
// The checksum of PNG chunks, continued from that of the bytes before; 0 to begin with.
uint32_t Checksum(uint32_t before, const void *bytes, size_t count);
