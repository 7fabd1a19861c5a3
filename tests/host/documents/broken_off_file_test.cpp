// Files that break off: every write of every writer refused in turn, as by a disk that is full after so many bytes, and
// files from a pipe that ends after so many. A line says so; nothing is taken for whole that is not.

#ifdef __linux__   // whose C library makes streams of a program's own routines, and whose pipes have names

#include "host/documents/files/formats.h"
#include "tests/host/documents/test_files.h"
#include "tests/support/pictures.h"

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

struct Document {
    std::string what;
    Picture picture;
    std::vector<Picture> further;
    bool (*write)(Writing &);
    std::string name, note;
    int quality = 0;
    bool seeks = false;
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

static Picture WithWords(Picture picture)
{
    PictureExtras &extras = picture.extras;
    static const char packet[] = "<rdf:RDF/>";
    extras.xmp.assign(packet, packet + sizeof packet - 1);
    extras.iptc = {0x1C, 2, 5, 0, 1, 'a'};
    extras.texts = {{"Comment", "seen"}, {"Title", "Leaves"}};
    extras.dotsPerInchX = extras.dotsPerInchY = 300;
    extras.colourProfile.assign(200, 7);
    return picture;
}

static Picture OfType(int32_t colourType, int32_t maskBits = 0)
{
    PictureCase kind = {};
    kind.colourType = colourType;
    kind.width = 13;
    kind.height = 7;
    kind.maskBits = maskBits;
    kind.seed = 5;
    return RandomPicture(kind);
}

static std::vector<Document> Documents()
{
    std::vector<Document> all;
    const auto add = [&all](std::string what, Picture picture, bool (*write)(Writing &),
                            std::string name) -> Document & {
        Document &document = all.emplace_back();
        document.what = std::move(what);
        document.picture = std::move(picture);
        document.write = write;
        document.name = std::move(name);
        return document;
    };
    add("PNG", WithWords(OfType(RGB, 8)), WritePng, "a.png");
    add("PNG of a palette", OfType(PALETTE), WritePng, "a.png");
    add("BMP", WithWords(OfType(RGB, 8)), WriteBmp, "a.bmp");
    add("BMP of a bit", OfType(ONE_BIT), WriteBmp, "a.bmp").picture.extras.whiteIsZero = true;
    add("JPEG", WithWords(OfType(RGB)), WriteJpeg, "a.jpg");
    add("PNM", OfType(PALETTE), WritePnm, "a.ppm");
    add("PBM", OfType(ONE_BIT), WritePnm, "a.pbm");
    add("PAM", OfType(GREY, 8), WritePnm, "a.pam");
    Document &pages = add("TIFF of two pages", WithWords(OfType(RGB, 8)), WriteTiff, "a.tif");
    pages.further.push_back(OfType(ONE_BIT));
    pages.note = "what the pages are";
    pages.seeks = true;
    Document &packed = add("TIFF packed as JPEG", OfType(RGB), WriteTiff, "a.tif");
    packed.picture.extras.shape.compression = 7;
    packed.seeks = true;
    if (ReadBytes({'G', 'I', 'F', '8', '9', 'a'}).error.find("this build has no") == std::string::npos) {
        add("GIF", WithWords(OfType(RGB)), WriteGif, "a.gif");
        Document &frames = add("GIF of three frames", OfType(PALETTE, 1), WriteGif, "a.gif");
        for (int i = 0; i < 2; ++i) frames.further.push_back(OfType(PALETTE, 1));
        frames.picture.extras.shape.loops = 2;
    }
    if (ReadBytes({'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'}).error.find("this build has no") ==
        std::string::npos) {
        add("WebP", WithWords(OfType(RGB)), WriteWebP, "a.webp");
        add("WebP of two frames", OfType(RGB, 8), WriteWebP, "a.webp").further.push_back(OfType(RGB, 8));
    }
    return all;
}

TEST(BrokenOffFile, AWriteThatIsRefusedEndsEveryWriterWithALine)
{
    for (const Document &document : Documents()) {
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
    for (const Document &document : Documents()) {
        SCOPED_TRACE(document.what);
        Disk disk;
        ASSERT_TRUE(WriteTo(disk, document).done);
        ExpectPipesToBreakOff(disk.bytes);
    }
}

#endif
