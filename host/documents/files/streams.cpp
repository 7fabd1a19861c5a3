// Sources and sinks over files, bytes in memory and the standard streams: buffering, seeking where the system can, a
// temporary file where it cannot, and a new file that takes its target's place only when it is whole. Knows no
// format; no error is reported to a person from here, only put in words.

#include "host/documents/files/streams.h"

#include "host/paths/paths.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

static const size_t BUFFER_BYTES = 256 * 1024;
static const uint64_t MOST_IN_MEMORY = 16 * 1024 * 1024, MOST_GATHERED = 512 * 1024 * 1024;   // of a pipe

std::string SystemText(int number) { return std::generic_category().message(number); }

static FILE *StandardStream(FILE *stream)
{
#ifdef _WIN32
    _setmode(_fileno(stream), _O_BINARY);
#endif
    return stream;
}

//---- Source

Source::~Source()
{
    if (file && file != stdin) fclose(file);
}

bool OpenSource(Source &source, const std::string &name, std::string &error)
{
    source.buffer.resize(BUFFER_BYTES);
    source.bytes = source.buffer.data();
    if (name == "-") {
        source.file = StandardStream(stdin);
        return true;
    }
    std::error_code ignored;
    const fs::path path = PathOf(name);
    if (fs::is_directory(path, ignored)) {
        error = "is a folder";
        return false;
    }
    source.file = OpenByName(name, "rb");
    if (!source.file) {
        error = "cannot be opened: " + SystemText(errno);
        return false;
    }
    setvbuf(source.file, nullptr, _IONBF, 0);   // the buffer here is enough
    if (fs::is_regular_file(path, ignored)) {
        const std::uintmax_t size = fs::file_size(path, ignored);
        if (!ignored) source.size = int64_t(size);
    }
    return true;
}

void OpenBytes(Source &source, std::span<const uint8_t> bytes)
{
    source.bytes = bytes.data();
    source.end = bytes.size();
    source.size = int64_t(bytes.size());
}

// Moves what is left to the buffer's front and reads on behind it. False when nothing came.
static bool ReadBehind(Source &source)
{
    if (!source.file) return false;
    memmove(source.buffer.data(), source.buffer.data() + source.next, source.end - source.next);
    source.end -= source.next;
    source.next = 0;
    const size_t count = fread(source.buffer.data() + source.end, 1, source.buffer.size() - source.end, source.file);
    if (count == 0 && ferror(source.file)) source.readError = errno ? errno : EIO;
    source.end += count;
    return count > 0;
}

bool Refill(Source &source) { return source.next < source.end || ReadBehind(source); }

const uint8_t *Peek(Source &source, size_t count)
{
    while (source.end - source.next < count) {
        if (!ReadBehind(source)) return nullptr;
    }
    return source.bytes + source.next;
}

size_t TakeBuffer(Source &source, const uint8_t *&bytes)
{
    if (!Refill(source)) return 0;
    const size_t count = source.end - source.next;
    bytes = source.bytes + source.next;
    source.next = source.end;
    source.taken += count;
    return count;
}

size_t TakeSome(Source &source, void *bytes, size_t count)
{
    size_t done = 0;
    while (done < count && Refill(source)) {
        const size_t part = std::min(count - done, source.end - source.next);
        memcpy(static_cast<uint8_t *>(bytes) + done, source.bytes + source.next, part);
        source.next += part;
        done += part;
    }
    source.taken += done;
    return done;
}

const uint8_t *TakeRow(Source &source, size_t count, std::vector<uint8_t> &room)
{
    if (count > BUFFER_BYTES / 4) {
        room.resize(count);
        return Take(source, room.data(), count) ? room.data() : nullptr;
    }
    const uint8_t *row = Peek(source, count);
    if (row) source.next += count, source.taken += count;
    return row;
}

bool Take(Source &source, void *bytes, size_t count) { return TakeSome(source, bytes, count) == count; }

bool Skip(Source &source, uint64_t count)
{
    while (count > 0) {
        if (!Refill(source)) return false;
        const size_t part = size_t(std::min<uint64_t>(count, source.end - source.next));
        source.next += part;
        source.taken += part;
        count -= part;
    }
    return true;
}

// Goes when it is closed.
static FILE *TemporaryFile()
{
#ifdef _WIN32
    std::error_code ignored;
    const std::string name = "velmorant." + std::to_string(std::random_device()()) + ".tmp";
    FILE *file = _wfopen((fs::temp_directory_path(ignored) / name).c_str(), L"w+bD");
#else
    FILE *file = tmpfile();
#endif
    if (file) setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

bool MakeSeekable(Source &source, std::string &error)
{
    if (!source.file || source.size >= 0) return true;
    std::vector<uint8_t> all;
    FILE *gathered = nullptr;
    uint64_t total = 0;
    bool good = true;
    const uint8_t *part = nullptr;
    while (const size_t count = good ? TakeBuffer(source, part) : 0) {
        total += count;
        if (total > MOST_IN_MEMORY && !gathered) {
            gathered = TemporaryFile();
            good = gathered && fwrite(all.data(), 1, all.size(), gathered) == all.size();
            all = {};
        }
        if (!gathered) all.insert(all.end(), part, part + count);
        else good = good && total <= MOST_GATHERED && fwrite(part, 1, count, gathered) == count;
    }
    good = good && !source.readError;
    if (good) {
        if (source.file != stdin) fclose(source.file);
        source.file = gathered;
        source.buffer = std::move(all);
        source.bytes = source.buffer.data();
        source.next = source.end = gathered ? 0 : source.buffer.size();
        source.size = int64_t(total);
        return true;
    }
    if (gathered) fclose(gathered);
    if (total > MOST_GATHERED) error = "from a pipe a file of this kind may have at most 512 MiB";
    else if (source.readError) error = "cannot be read: " + SystemText(source.readError);
    else error = "cannot be gathered from the pipe: there is no room for a temporary file";
    return false;
}

static bool SeekFile(FILE *file, uint64_t position)
{
#ifdef _WIN32
    return _fseeki64(file, int64_t(position), SEEK_SET) == 0;
#else
    return fseeko(file, off_t(position), SEEK_SET) == 0;
#endif
}

size_t TakeAt(Source &source, uint64_t at, void *bytes, size_t count)
{
    if (at >= uint64_t(source.size)) return 0;
    count = size_t(std::min<uint64_t>(count, uint64_t(source.size) - at));
    if (!source.file) {
        memcpy(bytes, source.bytes + at, count);
        return count;
    }
    if (!SeekFile(source.file, at)) return 0;
    const size_t done = fread(bytes, 1, count, source.file);
    if (done < count && ferror(source.file)) source.readError = errno ? errno : EIO;
    return done;
}

bool MayHold(const Source &source, uint64_t count)
{
    if (source.size < 0 || uint64_t(source.size) < source.taken) return true;   // a growing file is read as it comes
    return count <= uint64_t(source.size) - source.taken;
}

//---- Sink

Sink::~Sink()
{
    if (file && file != stdout && !replacement.file) fclose(file);
}

static bool OpenDirectly(Sink &sink, FILE *file, bool seeks, std::string &error)
{
    if (!file) {
        error = "cannot be written: " + SystemText(errno);
        return false;
    }
    sink.file = file;
    sink.inMemory = seeks;
    return true;
}

// A stream of this program that goes by a file's name: what it leads to is written to, not replaced. Null for others.
static FILE *StreamNamed(const std::string &name)
{
#ifndef _WIN32
    int number = name == "/dev/stdout" ? 1 : -1;
    if (name.starts_with("/dev/fd/") && name.size() > 8 && name.size() < 14 &&
        name.find_first_not_of("0123456789", 8) == std::string::npos) {
        number = atoi(name.c_str() + 8);
    }
    const int copy = number < 0 ? -1 : dup(number);
    return copy < 0 ? nullptr : fdopen(copy, "wb");
#else
    (void)name;
    return nullptr;
#endif
}

bool OpenSink(Sink &sink, const std::string &name, bool seeks, std::string &error)
{
    if (name == "-") return OpenDirectly(sink, StandardStream(stdout), seeks, error);
    if (FILE *stream = StreamNamed(name)) return OpenDirectly(sink, stream, seeks, error);
    std::error_code ignored;
    const fs::file_status status = fs::status(PathOf(name), ignored);
    if (fs::is_directory(status)) {
        error = "is a folder";
        return false;
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {   // a device or a pipe
        return OpenDirectly(sink, OpenByName(name, "wb"), seeks, error);
    }
    if (const std::error_code failure = BeginReplacement(sink.replacement, name)) {
        error = "cannot be written: " + failure.message();
        return false;
    }
    sink.file = sink.replacement.file;
    setvbuf(sink.file, nullptr, _IOFBF, BUFFER_BYTES);
    return true;
}

bool Put(Sink &sink, const void *bytes, size_t count)
{
    if (sink.failure) return false;
    if (count == 0) return true;
    if (sink.inMemory) {
        if (sink.memory.size() < sink.position + count) sink.memory.resize(sink.position + count);
        memcpy(sink.memory.data() + sink.position, bytes, count);
        sink.position += count;
        return true;
    }
    errno = 0;
    if (fwrite(bytes, 1, count, sink.file) == count) return true;
    sink.failure = errno ? errno : EIO;
    return false;
}

bool SeekSink(Sink &sink, uint64_t position)
{
    if (sink.inMemory) {
        sink.position = size_t(position);
        return true;
    }
    if (fseek(sink.file, long(position), SEEK_SET) == 0) return true;
    sink.failure = errno;
    return false;
}

static void FlushSink(Sink &sink)
{
    if (sink.inMemory) {
        sink.inMemory = false;
        Put(sink, sink.memory.data(), sink.memory.size());
    }
    errno = 0;
    if (fflush(sink.file) != 0 && !sink.failure) sink.failure = errno ? errno : EIO;
}

static void CloseDirect(Sink &sink)
{
    errno = 0;
    if (sink.file != stdout && fclose(sink.file) != 0 && !sink.failure) sink.failure = errno ? errno : EIO;
    sink.file = nullptr;
}

bool FinishSink(Sink &sink, std::vector<std::string> &notices, std::string &error)
{
    FlushSink(sink);
    if (!sink.replacement.file) CloseDirect(sink);
    std::error_code problem;
    if (sink.failure) problem = std::error_code(sink.failure, std::generic_category());
    else if (sink.replacement.file) problem = FinishReplacement(sink.replacement);
    if (!sink.replacement.file) sink.file = nullptr;
    if (problem) error = "cannot be written: " + problem.message();
    else notices.insert(notices.end(), sink.replacement.notices.begin(), sink.replacement.notices.end());
    return !problem;
}
