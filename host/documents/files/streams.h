// What all picture files are read from and written to.
//
// A Source goes from front to back through one buffer, so that standard input is as good as a file. A Sink writes
// beside its target and takes the target's place only when everything has been written.

#pragma once

#include "host/paths/replacement.h"

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

struct Source {
    FILE *file = nullptr;   // null when all of it is in memory
    std::vector<uint8_t> buffer;
    const uint8_t *bytes = nullptr;   // the buffer's, or those in memory
    size_t next = 0, end = 0;         // those of them that have not been handed out yet
    uint64_t taken = 0;               // bytes handed out
    int64_t size = -1;                // bytes in the file; -1 when that is not known beforehand
    int readError = 0;                // errno of a failed read

    Source() = default;
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;
    ~Source();
};

// Opens a file, or standard input as "-".
bool OpenSource(Source &source, const std::string &name, std::string &error);
// A file's bytes that are in memory already, and stay there.
void OpenBytes(Source &source, std::span<const uint8_t> bytes);
// The next `count` bytes without taking them, at most 4096; null when the file has fewer left.
const uint8_t *Peek(Source &source, size_t count);
// Takes `count` bytes. False when the file ends before.
bool Take(Source &source, void *bytes, size_t count);
// Takes up to `count` bytes and returns how many there were.
size_t TakeSome(Source &source, void *bytes, size_t count);
// Takes `count` bytes in place where the buffer is long enough, else into `room`; good until the next call. Null when
// the file ends before.
const uint8_t *TakeRow(Source &source, size_t count, std::vector<uint8_t> &room);
// Hands out what is in the buffer (at least a byte), in place; 0 at the end of the file.
size_t TakeBuffer(Source &source, const uint8_t *&bytes);
bool Skip(Source &source, uint64_t count);
bool Refill(Source &source);
// The next byte, or -1 at the end of the file.
inline int TakeByte(Source &source)
{
    if (source.next == source.end && !Refill(source)) return -1;
    ++source.taken;
    return source.bytes[source.next++];
}
// Makes bytes at any place available, with `size` known: what comes from a pipe is gathered, at most 512 MiB, in memory
// or, beyond 16 MiB, in a temporary file. False with a line.
bool MakeSeekable(Source &source, std::string &error);
// Up to `count` bytes at a place of such a source, and how many there were. What stands in the buffer does not matter
// any more.
size_t TakeAt(Source &source, uint64_t at, void *bytes, size_t count);
// Whether `count` bytes may still follow: false only when the file's size is known and too small.
bool MayHold(const Source &source, uint64_t count);

struct Sink {
    FILE *file = nullptr;
    bool inMemory = false;   // all goes to `memory` first, for a target that cannot be sought in
    std::vector<uint8_t> memory;
    size_t position = 0;       // in `memory`
    Replacement replacement;   // that `file` belongs to; none when that is the target itself
    int failure = 0;           // errno of the first failed write

    Sink() = default;
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;
    ~Sink();   // without a FinishSink before, what was written is removed
};

// Starts writing a file, or standard output as "-". With `seeks`, SeekSink may be used.
bool OpenSink(Sink &sink, const std::string &name, bool seeks, std::string &error);
// False once a write has failed.
bool Put(Sink &sink, const void *bytes, size_t count);
bool SeekSink(Sink &sink, uint64_t position);
// Completes the file and puts it in the target's place, with what that had: its mode, owner, group and attributes. What
// of these could not be kept is told in `notices`.
bool FinishSink(Sink &sink, std::vector<std::string> &notices, std::string &error);
std::string SystemText(int number);
