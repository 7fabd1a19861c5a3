// Files that break off: every write of every writer refused in turn, as by a disk that is full after so many bytes, and
// files from a pipe that ends after so many. A line says so; nothing is taken for whole that is not.

#ifdef __linux__   // whose C library makes streams of a program's own routines, and whose pipes have names

#include "tests/host/documents/sample_documents.h"
#include "tests/host/documents/test_files.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

//---- Writing

namespace
{

// A disk with room for so many bytes of a file.
struct Disk {
    Bytes bytes;
    size_t position = 0, room = SIZE_MAX;
    bool seeks = true;
};

}   // namespace

static ssize_t WriteToDisk(void *cookie, const char *bytes, size_t count)
{
    Disk &disk = *static_cast<Disk *>(cookie);
    if (count > disk.room || disk.position > disk.room - count) {
        errno = ENOSPC;
        return 0;
    }
    if (disk.bytes.size() < disk.position + count) disk.bytes.resize(disk.position + count);
    memcpy(disk.bytes.data() + disk.position, bytes, count);
    disk.position += count;
    return ssize_t(count);
}

static int SeekOnDisk(void *cookie, off64_t *offset, int whence)
{
    Disk &disk = *static_cast<Disk *>(cookie);
    if (!disk.seeks || whence != SEEK_SET) {
        errno = ESPIPE;
        return -1;
    }
    disk.position = size_t(*offset);
    return 0;
}

struct Written {
    bool done;
    int failure;
    std::string error;
};

static Written WriteTo(Disk &disk, const Document &document)
{
    Sink sink;
    sink.file = fopencookie(&disk, "wb", {nullptr, WriteToDisk, SeekOnDisk, nullptr});
    setvbuf(sink.file, nullptr, _IONBF, 0);
    SaveOptions options;
    options.note = document.note;
    options.quality = document.quality;
    Notices notices;
    Written written;
    Writing writing = {sink, document.picture, document.further, options, document.name, notices, written.error};
    written.done = document.write(writing);
    written.failure = sink.failure;
    return written;
}

TEST(BrokenOffFile, AWriteThatIsRefusedEndsEveryWriterWithALine)
{
    for (const Document &document : SampleDocuments()) {
        SCOPED_TRACE(document.what);
        Disk whole;
        const Written good = WriteTo(whole, document);
        ASSERT_TRUE(good.done) << good.error;
        for (size_t room = 0; room < whole.bytes.size() && !testing::Test::HasFailure(); ++room) {
            Disk disk;
            disk.room = room;
            const Written refused = WriteTo(disk, document);
            EXPECT_FALSE(refused.done) << room << " of " << whole.bytes.size() << " bytes";
            EXPECT_EQ(refused.failure, ENOSPC) << room;
            // Writers that have nothing to add leave the line to their caller, who knows what the system said.
            EXPECT_TRUE(refused.error.empty() || refused.error.starts_with("cannot be written as ")) << refused.error;
            EXPECT_EQ(refused.error.find('\n'), std::string::npos) << refused.error;
            EXPECT_LE(disk.bytes.size(), room);
        }
        if (!document.seeks) continue;
        Disk tape;
        tape.seeks = false;
        const Written refused = WriteTo(tape, document);
        EXPECT_FALSE(refused.done);
        EXPECT_EQ(refused.failure, ESPIPE);
    }
}

//---- Reading

TEST(BrokenOffFile, APipeThatEndsBeforeThePictureIsNoPicture)
{
    for (const Document &document : SampleDocuments()) {
        SCOPED_TRACE(document.what);
        Disk disk;
        ASSERT_TRUE(WriteTo(disk, document).done);
        ExpectPipesToBreakOff(disk.bytes);
    }
}

#endif
