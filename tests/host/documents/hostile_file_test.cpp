// Files that claim more than they hold: each ends in a line, before memory is taken for what it claims and without
// keeping the processor busy. Flat pictures, which are small files honestly, still open. How much memory that takes is
// measured where a child process can be asked.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <cstring>
#include <functional>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

//---- Files

static void AddHigh(Bytes &bytes, uint32_t value, int count)
{
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) bytes.push_back(uint8_t(value >> shift));
}

static uint32_t SumOf(const uint8_t *bytes, size_t count)
{
    uint32_t sum = 0xFFFFFFFF;
    for (size_t i = 0; i < count; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

static void AddChunk(Bytes &file, const char *type, const Bytes &bytes)
{
    AddHigh(file, uint32_t(bytes.size()), 4);
    const size_t start = file.size();
    AddText(file, type);
    file.insert(file.end(), bytes.begin(), bytes.end());
    AddHigh(file, SumOf(file.data() + start, file.size() - start), 4);
}

static Bytes PngStart(uint32_t width, uint32_t height, uint8_t bits, uint8_t colours, bool interlaced = false)
{
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header;
    AddHigh(header, width, 4);
    AddHigh(header, height, 4);
    header.insert(header.end(), {bits, colours, 0, 0, interlaced});
    AddChunk(file, "IHDR", header);
    return file;
}

// So many zeros as a zlib stream: one of them, and copies of 258 from one place before.
static Bytes PackedZeros(uint64_t count)
{
    Bytes stream = {0x78, 0x01};
    uint32_t bits = 0;
    int filled = 0;
    const auto add = [&](uint32_t value, int length) {   // the lowest bit first
        bits |= value << filled;
        for (filled += length; filled >= 8; filled -= 8, bits >>= 8) stream.push_back(uint8_t(bits));
    };
    const auto addZero = [&] { add(0b00001100, 8); };
    add(0b011, 3);   // the last block, with the codes that need no table
    uint64_t left = count;
    for (addZero(), --left; left >= 258; left -= 258) {
        add(0b10100011, 8);   // code 285, turned round: a copy of 258
        add(0, 5);
    }
    for (; left > 0; --left) addZero();
    add(0, 7);   // the end
    add(0, 7);   // to a whole byte
    AddHigh(stream, uint32_t(count % 65521) << 16 | 1, 4);
    return stream;
}

// A picture whose samples are all 0.
static Bytes FlatPng(uint32_t width, uint32_t height, uint8_t bits, uint8_t colours)
{
    Bytes file = PngStart(width, height, bits, colours);
    const uint64_t rowBytes = (uint64_t(width) * bits * (colours == 2 ? 3 : 1) + 7) / 8;
    AddChunk(file, "IDAT", PackedZeros((rowBytes + 1) * height));
    AddChunk(file, "IEND", {});
    return file;
}

// Up to and with the start of a first scan.
static Bytes JpegStart(uint32_t edge, uint8_t mark, uint8_t channels)
{
    Bytes file = {0xFF, 0xD8, 0xFF, mark};
    AddHigh(file, 8u + 3u * channels, 2);
    file.push_back(8);
    AddHigh(file, edge, 2);
    AddHigh(file, edge, 2);
    file.push_back(channels);
    for (uint8_t c = 1; c <= channels; ++c) file.insert(file.end(), {c, 0x11, 0});
    Bytes table(64, 1);
    file.insert(file.end(), {0xFF, 0xDB, 0, 67, 0});
    file.insert(file.end(), table.begin(), table.end());
    for (uint8_t kind : {0x00, 0x10}) {   // one code of one bit, for the value 0
        file.insert(file.end(), {0xFF, 0xC4, 0, 20, kind, 1});
        file.insert(file.end(), 15, 0);
        file.push_back(0);
    }
    return file;
}

static void AddScan(Bytes &file, uint8_t channels, uint8_t from, uint8_t to, size_t bytes)
{
    file.insert(file.end(), {0xFF, 0xDA});
    AddHigh(file, 6u + 2u * channels, 2);
    file.push_back(channels);
    for (uint8_t c = 1; c <= channels; ++c) file.insert(file.end(), {c, 0});
    file.insert(file.end(), {from, to, 0});
    file.insert(file.end(), bytes, 0);
}

static Bytes JpegFile(uint32_t edge, uint8_t mark, size_t scanBytes, size_t behind = 0)
{
    Bytes file = JpegStart(edge, mark, 3);
    AddScan(file, 3, 0, mark == 0xC2 ? 0 : 63, scanBytes);
    file.insert(file.end(), {0xFF, 0xD9});
    file.insert(file.end(), behind, 0);
    return file;
}

// Run lengths that end at once.
static Bytes RunsFile(uint32_t width, uint32_t height)
{
    Bytes file;
    AddText(file, "BM");
    for (uint32_t value : {0u, 0u, 54u + 1024u, 40u, width, height}) Add32(file, value);
    for (uint32_t value : {1u, 8u}) Add16(file, value);
    for (uint32_t value : {1u, 0u, 0u, 0u, 0u, 0u}) Add32(file, value);
    file.resize(54 + 1024);
    file.insert(file.end(), {0, 1});
    return file;
}

struct Entry {
    uint32_t tag, type, count, value;
};

static Bytes TiffFile(const Bytes &strip, const std::vector<Entry> &entries)
{
    Bytes file;
    AddText(file, "II*");
    file.push_back(0);
    Add32(file, uint32_t(8 + strip.size()));
    file.insert(file.end(), strip.begin(), strip.end());
    Add16(file, uint32_t(entries.size()));
    for (const Entry &entry : entries) {
        Add16(file, entry.tag);
        Add16(file, entry.type);
        Add32(file, entry.count);
        Add32(file, entry.value);
    }
    Add32(file, 0);
    return file;
}

// One strip of bits, or of grey bytes.
static Bytes StripFile(uint32_t width, uint32_t height, uint32_t bits, uint32_t compression, const Bytes &strip)
{
    return TiffFile(strip, {{256, 4, 1, width},
                            {257, 4, 1, height},
                            {258, 3, 1, bits},
                            {259, 3, 1, compression},
                            {262, 3, 1, bits == 1 ? 0u : 1u},
                            {273, 4, 1, 8},
                            {277, 3, 1, 1},
                            {278, 4, 1, height},
                            {279, 4, 1, uint32_t(strip.size())}});
}

static const char *const TOO_SHORT = "the file is too short for the picture it promises";
static const char *const ENDS = "the file ends before its picture does";

static ReadResult ReadHuge(const Bytes &bytes)
{
    ReadResult result;
    result.done =
        ReadPictureBytes(bytes, result.picture, result.format, result.notices, result.error, {.allowHuge = true});
    return result;
}

//---- What is said

TEST(HostileFile, ATextThatIsLongerThanItsPngFileEndsAtOnce)
{
    Bytes file = PngStart(1, 1, 8, 2);
    AddHigh(file, 0x7FFFFFF0, 4);
    AddText(file, "tEXtabc");
    EXPECT_EQ(ReadBytes(file).error, ENDS);
}

TEST(HostileFile, PngChunksBeyondWhatIsKeptAreLeftOutWithANotice)
{
    Bytes file = PngStart(1, 1, 8, 0);
    AddHigh(file, 33 << 20, 4);
    AddText(file, "tEXt");
    file.resize(file.size() + (33 << 20) + 4);   // its checksum does not hold, nor does it matter
    AddChunk(file, "IDAT", PackedZeros(2));
    AddChunk(file, "IEND", {});
    const ReadResult result = ReadBytes(file);
    EXPECT_TRUE(SamePicture(result.picture, Grey({{0}}))) << result.error;
    EXPECT_EQ(result.notices,
              std::vector<std::string>{"a chunk of 34603008 bytes (tEXt) is left out: it is longer than is kept"});
}

TEST(HostileFile, AJpegScanHasABitForEachBlock)
{
    for (uint8_t mark : {0xC0, 0xC2}) {
        EXPECT_EQ(ReadBytes(JpegFile(9000, mark, 900)).error, TOO_SHORT);
        // Where enough follows behind the picture, the scan itself is looked at.
        EXPECT_EQ(ReadBytes(JpegFile(9000, mark, 900, 3 << 20)).error,
                  "damaged or unknown JPEG data (a scan is too short for the picture)");
        const ReadResult honest = ReadBytes(JpegFile(800, mark, 10000));
        EXPECT_TRUE(honest.done) << honest.error;
    }
}

TEST(HostileFile, AJpegFileHasAnEndToItsScans)
{
    Bytes file = JpegStart(8, 0xC2, 1);
    AddScan(file, 1, 0, 0, 1);
    for (int i = 0; i < 600; ++i) AddScan(file, 1, 1, 63, 1);
    file.insert(file.end(), {0xFF, 0xD9});
    EXPECT_EQ(ReadBytes(file).error, "damaged or unknown JPEG data (too many passes over the picture)");
    // 5000 x 5000 pixels that are gone over 300 times by scans of a byte each.
    Bytes large = JpegStart(5000, 0xC2, 1);
    AddScan(large, 1, 0, 0, 60000);
    for (int i = 0; i < 300; ++i) AddScan(large, 1, 1, 63, 1);
    large.insert(large.end(), {0xFF, 0xD9});
    EXPECT_EQ(ReadBytes(large).error, "damaged or unknown JPEG data (too many passes over the picture)");
}

TEST(HostileFile, RunsCannotBecomeAPictureOfAnySize)
{
    EXPECT_EQ(ReadBytes(RunsFile(30000, 17000)).error, TOO_SHORT);
    const ReadResult blank = ReadBytes(RunsFile(4000, 4000));   // what is left out is allowed, within reason
    EXPECT_TRUE(blank.done) << blank.error;
    Bytes padded = RunsFile(30000, 17000);
    padded.insert(padded.end(), 4 << 20, 0);   // behind the end mark
    EXPECT_EQ(ReadBytes(padded).error.substr(0, 19), "17000 rows promised");
}

TEST(HostileFile, TiffStripsBecomeOnlySoMuch)
{
    for (uint32_t compression : {1u, 2u, 5u, 8u, 32773u}) {
        const ReadResult result = ReadBytes(StripFile(30000, 17000, 8, compression, Bytes(100)));
        EXPECT_EQ(result.error, TOO_SHORT) << compression;
    }
}

// Bits of white that are thousands for each pixel: a row of them is a bit in the file.
TEST(HostileFile, TiffPixelsHaveOnlySoManySamples)
{
    Bytes file = StripFile(200, 130, 1, 4, Bytes(100, 0xFF));
    const size_t samples = 8 + 100 + 2 + 6 * 12 + 8;   // the seventh field's value
    ASSERT_EQ(file[samples], 1);
    for (uint8_t count : {2, 200}) {
        file[samples] = count;
        EXPECT_EQ(ReadBytes(file).error, "damaged or unknown TIFF data (" + std::to_string(count) +
                                             " samples per pixel are more than are known here)");
    }
}

TEST(HostileFile, TiffFieldsThatClaimMoreThanTheFileAreErrors)
{
    const Entry width = {256, 4, 1, 9}, height = {257, 4, 1, 9};
    for (const Entry &lie : std::vector<Entry>{
             {273, 4, 0xFFFFFFFF, 8}, {273, 4, 1, 0xFFFFFFF0}, {34675, 7, 0x7FFFFFFF, 8}, {320, 3, 768, 0xFFFFFF00}}) {
        const ReadResult result = ReadBytes(TiffFile(Bytes(100), {width, height, lie}));
        EXPECT_EQ(result.error, ENDS) << lie.tag;
    }
    Bytes circle = StripFile(3, 3, 8, 1, Bytes(9));
    std::fill(circle.end() - 4, circle.end(), 0);
    circle[circle.size() - 4] = uint8_t(8 + 9);   // the next directory is this one
    const ReadResult result = ReadBytes(circle);
    EXPECT_TRUE(result.done) << result.error;
    EXPECT_EQ(result.notices, std::vector<std::string>{"further pages are damaged and left out"});
}

TEST(HostileFile, APnmHeaderHasAnEnd)
{
    const std::string line = "the header is longer than 65536 bytes";
    for (const char *start : {"P5\n# ", "P2 ", "P6\n3 ", "P1 0"}) {
        Bytes file;
        AddText(file, start);
        file.insert(file.end(), 300000, start[1] == '1' ? '0' : ' ');
        EXPECT_EQ(ReadBytes(file).error, line) << start;
    }
    Bytes lines;
    AddText(lines, "P7\n");
    for (int i = 0; i < 10000; ++i) AddText(lines, "COMMENT\n");
    EXPECT_EQ(ReadBytes(lines).error, line);
    Bytes gap;
    AddText(gap, "P2 2 1 255 7");
    gap.insert(gap.end(), 300000, ' ');
    AddText(gap, "8");
    EXPECT_EQ(ReadBytes(gap).error, "1 row promised, 0 found");
}

TEST(HostileFile, PlainPnmPixelsHaveADigitEach)
{
    Bytes file;
    AddText(file, "P3 30000 17000 255 1 2 3");
    EXPECT_EQ(ReadBytes(file).error, TOO_SHORT);
}

// With the data of one pixel, whatever the frame's size.
static Bytes GifFile(uint32_t width, uint32_t height, uint32_t frameWidth = 1, uint32_t frameHeight = 1,
                     bool interlaced = false)
{
    Bytes file;
    AddText(file, "GIF89a");
    Add16(file, width);
    Add16(file, height);
    file.insert(file.end(), {0x80, 0, 0, 1, 2, 3, 4, 5, 6, 0x2C, 0, 0, 0, 0});
    Add16(file, frameWidth);
    Add16(file, frameHeight);
    file.insert(file.end(), {uint8_t(interlaced ? 0x40 : 0), 2, 2, 0x44, 1, 0, 0x3B});
    return file;
}

// A lossy file that ends after its first bytes, filled up with zeros.
static Bytes WebPFile(uint32_t width, uint32_t height, uint32_t length)
{
    Bytes file;
    AddText(file, "RIFF");
    Add32(file, length - 8);
    AddText(file, "WEBPVP8 ");
    Add32(file, length - 20);
    file.insert(file.end(), {0x10, 2, 0, 0x9D, 1, 0x2A});   // a key frame that is shown, whose first part has 16 bytes
    Add16(file, width);
    Add16(file, height);
    file.resize(length);
    return file;
}

TEST(HostileFile, AGifScreenIsAsLargeAsItsBytesMakeLikely)
{
    if (ReadBytes(GifFile(1, 1)).error.find("this build has no") != std::string::npos) GTEST_SKIP();
    EXPECT_EQ(ReadBytes(GifFile(30000, 17000)).error, TOO_SHORT);
    const ReadResult blank = ReadBytes(GifFile(3000, 3000));
    EXPECT_TRUE(blank.done) << blank.error;
}

TEST(HostileFile, ALossyWebPFileHasBitsForEachBlock)
{
    if (ReadBytes(WebPFile(1, 1, 100)).error.find("this build has no") != std::string::npos) GTEST_SKIP();
    EXPECT_EQ(ReadBytes(WebPFile(16383, 16383, 200000)).error, TOO_SHORT);
    EXPECT_EQ(ReadBytes(WebPFile(400, 400, 200)).error, "damaged WebP data (its pixels)") << "it may have been enough";
    // What is packed the most: one colour.
    Picture flat = Rgb(Values(1000, std::vector<uint32_t>(1000, 0x808080)));
    flat.extras.shape.lossy = true;
    const Bytes packed = BytesOf(flat, "webp");
    EXPECT_LT(packed.size(), 10000u);
    EXPECT_TRUE(ReadBytes(packed).done);
}

TEST(HostileFile, HugePicturesAreOpenedWhenAsked)
{
    const struct {
        Bytes bytes;
        const char *size;
    } files[] = {{FlatPng(32768, 1, 1, 0), "32768 x 1"},
                 {StripFile(1, 32768, 1, 4, Bytes(4096, 0xFF)), "1 x 32768"},
                 {StripFile(32000, 16001, 1, 4, Bytes(2048, 0xFF)), "32000 x 16001"}};
    for (const auto &file : files) {
        EXPECT_EQ(ReadBytes(file.bytes).error,
                  std::string(file.size) +
                      " pixels: beyond 32767 an edge or 512 megapixels a picture is opened only with --allow-huge");
        const ReadResult huge = ReadHuge(file.bytes);
        EXPECT_TRUE(huge.done) << huge.error;
    }
    EXPECT_TRUE(ReadBytes(FlatPng(32767, 1, 1, 0)).done);
}

TEST(HostileFile, FlatPicturesOfAHundredMegapixelsOpen)
{
    const ReadResult bits = ReadBytes(StripFile(10000, 10000, 1, 4, Bytes(1250, 0xFF)));
    ASSERT_TRUE(bits.done) << bits.error;
    EXPECT_EQ(PixelOf(bits.picture, 9999, 9999), 1u);   // white
    const ReadResult grey = ReadBytes(FlatPng(10000, 10000, 8, 0));
    ASSERT_TRUE(grey.done) << grey.error;
    EXPECT_EQ(PixelOf(grey.picture, 9999, 9999), 0u);
}

//---- What it takes

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

static const int64_t MEGABYTE = 1024 * 1024;

static int64_t ResidentBytes()
{
    long pages = 0, resident = 0;
    FILE *file = fopen("/proc/self/statm", "r");
    if (!file || fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
    if (file) fclose(file);
    return resident * sysconf(_SC_PAGESIZE);
}

struct Measured {
    bool done = false;    // that is, read
    int64_t bytes = 0;    // resident at most, beyond what was so before
    double seconds = 0;   // of the processor
};

// Reads what is written to standard input by a child process of its own, so that nobody knows its length.
static Measured ReadFromPipe(const std::function<void(int)> &write)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t writer = fork();
    if (writer == 0) {
        signal(SIGPIPE, SIG_DFL);
        close(ends[0]);
        write(ends[1]);
        _exit(0);
    }
    close(ends[1]);
    const int64_t before = ResidentBytes();
    const pid_t reader = fork();
    if (reader == 0) {
        dup2(ends[0], 0);
        close(ends[0]);
        const ReadResult result = ReadFile("-");
        EndChild(result.done ? 0 : result.error.empty() ? 2 : 1);
    }
    close(ends[0]);
    int state = 0;
    rusage used = {};
    wait4(reader, &state, 0, &used);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) < 2) << state;
    return {state == 0, used.ru_maxrss * 1024 - before,
            double(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                double(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6};
}

static void WriteAll(int pipe, const uint8_t *bytes, size_t count)
{
    while (count > 0) {
        const ssize_t done = write(pipe, bytes, count);
        if (done <= 0) return;
        bytes += done;
        count -= size_t(done);
    }
}

static Measured ReadFromPipe(const Bytes &bytes)
{
    return ReadFromPipe([&](int pipe) { WriteAll(pipe, bytes.data(), bytes.size()); });
}

TEST(HostileFileMemory, WhatComesFromAPipeTakesMemoryOnlyAsItComes)
{
    Bytes text = PngStart(1, 1, 8, 2);
    AddHigh(text, 0x7FFFFFF0, 4);
    AddText(text, "tEXtabc");
    Bytes pixels = PngStart(22000, 22000, 8, 2, true);
    AddHigh(pixels, 0x7FFFFFF0, 4);
    AddText(pixels, "IDAT");
    Bytes plain;
    AddText(plain, "P6 22000 22000 255\n");
    for (const Bytes &file : {text, pixels, plain, JpegFile(20000, 0xC0, 900), JpegFile(20000, 0xC2, 900),
                              JpegFile(20000, 0xC2, 900, 3 << 20), RunsFile(30000, 17000), GifFile(1, 1, 22000, 22000),
                              GifFile(22000, 22000, 22000, 22000, true), WebPFile(16383, 16383, 200000)}) {
        const Measured measured = ReadFromPipe(file);
        EXPECT_FALSE(measured.done) << file.size();
        EXPECT_LT(measured.bytes, 64 * MEGABYTE) << file.size();
        EXPECT_LT(measured.seconds, 1) << file.size();
    }
}

// A start, and then the same bytes again and again.
static Measured ReadEndless(const std::string &start, char byte)
{
    return ReadFromPipe([&](int pipe) {
        WriteAll(pipe, reinterpret_cast<const uint8_t *>(start.data()), start.size());
        const Bytes part(65536, uint8_t(byte));
        for (;;) WriteAll(pipe, part.data(), part.size());
    });
}

TEST(HostileFileMemory, EndlessPipesEndWithALine)
{
    for (const std::string &start : {std::string("P5 # "), std::string("P2"), std::string("P7\n"),
                                     std::string("P1 1 1 "), std::string("II*\0", 4)}) {
        const Measured measured = ReadEndless(start, ' ');
        EXPECT_FALSE(measured.done) << start;
        EXPECT_LT(measured.bytes, 64 * MEGABYTE) << start;
    }
}

TEST(HostileFileMemory, ReadersTakeLittleBesideThePlanes)
{
    const int64_t grey = 10000 * 10000;
    const Measured png = ReadFromPipe(FlatPng(10000, 10000, 8, 0));
    EXPECT_TRUE(png.done);
    EXPECT_LT(png.bytes, grey + 64 * MEGABYTE);
    const Measured fax = ReadFromPipe(StripFile(10000, 10000, 1, 4, Bytes(1250, 0xFF)));
    EXPECT_TRUE(fax.done);
    EXPECT_LT(fax.bytes, grey / 8 + 64 * MEGABYTE);
    const Measured plain = ReadFromPipe(StripFile(10000, 8000, 8, 1, Bytes(80000000)));
    EXPECT_TRUE(plain.done);
    EXPECT_LT(plain.bytes, 80000000 + 64 * MEGABYTE);
    const Measured jpeg = ReadFromPipe(JpegFile(5000, 0xC0, 3 * 390625));
    EXPECT_TRUE(jpeg.done);
    EXPECT_LT(jpeg.bytes, 3 * 25000000 + 64 * MEGABYTE);
}

TEST(HostileFileMemory, APictureTooLargeForMemoryIsAnErrorLine)
{
    const Bytes file = FlatPng(20000, 20000, 8, 2);
    const pid_t reader = fork();
    if (reader == 0) {
        const rlimit limit = {900u << 20, 900u << 20};
        setrlimit(RLIMIT_AS, &limit);
        const ReadResult result = ReadBytes(file);
        _exit(result.error == "there is not enough memory for its 20000 x 20000 pixels" ? 0 : 1);
    }
    int state = 0;
    waitpid(reader, &state, 0);
    EXPECT_EQ(state, 0);
}

#endif
