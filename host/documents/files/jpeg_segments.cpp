// Takes JPEG files apart into segments and hands a codec the bytes of its scans, having looked through them for what
// would keep it busy or claim memory beyond the file's length. Puts segments together for writing. Unpacks no pixels,
// and gives segments of metadata no meaning.

#include "host/documents/files/jpeg_segments.h"

#include <algorithm>
#include <cstring>

// A small file must not keep a large picture busy for hours, nor take memory for one that it cannot hold.
static const int MOST_SCANS = 500;
static const uint64_t MOST_VISITS = 50, FREE_VISITS = 100000000;   // of each block over all scans; of all blocks
static const uint64_t BLOCKS_PER_BIT = 100;                        // of arithmetic codes; others have a bit a block
static const size_t MOST_METADATA = 32 * 1024 * 1024;

static bool Damaged(JpegFile &file, const std::string &words)
{
    return Fail(file.reading.error, "damaged or unknown JPEG data (" + words + ")");
}

static bool EndsTooSoon(JpegFile &file)
{
    file.ended = true;
    return Fail(file.reading.error, ENDS_BEFORE_ITS_PICTURE);
}

bool FailJpegData(JpegFile &file)
{
    return file.ended || !file.problem ? EndsTooSoon(file) : Damaged(file, file.problem);
}

//---- Blocks and the bits they need

static uint64_t BlocksOf(const JpegFrame &frame, const JpegFrame::Channel &channel)
{
    int across = 1, down = 1;
    for (int c = 0; c < frame.channels; ++c) {
        across = std::max(across, frame.channel[c].across);
        down = std::max(down, frame.channel[c].down);
    }
    const auto blocks = [](uint64_t edge, int part, int whole) {
        return (edge * uint64_t(part) + uint64_t(whole) * 8 - 1) / (uint64_t(whole) * 8);
    };
    return blocks(frame.width, channel.across, across) * blocks(frame.height, channel.down, down);
}

uint64_t JpegBlocks(const JpegFrame &frame)
{
    uint64_t blocks = 0;
    for (int c = 0; c < frame.channels; ++c) blocks += BlocksOf(frame, frame.channel[c]);
    return blocks;
}

static uint64_t BitsFor(const JpegFrame &frame, uint64_t blocks)
{
    return frame.mark >= JPEG_SOF9 ? blocks / BLOCKS_PER_BIT : blocks;
}

// The segment that starts a scan: how many channels, two bytes for each, then where among a block's values it begins.
// Scans of other than a block's first value can tell of many blocks with few bits.
static bool StartScan(JpegFile &file)
{
    const Bytes &head = file.scanHead;
    const size_t channels = head.empty() ? 0 : head[0];
    if (channels < 1 || channels > 4 || head.size() < 4 + 2 * channels) return false;
    uint64_t blocks = 0;
    for (size_t i = 0; i < channels; ++i) {
        for (int c = 0; c < file.frame.channels; ++c) {
            if (file.frame.channel[c].id == head[1 + 2 * i]) blocks += BlocksOf(file.frame, file.frame.channel[c]);
        }
    }
    file.scanBits = 0;
    file.bitsDue = head[1 + 2 * channels] == 0 ? BitsFor(file.frame, blocks) : 0;
    file.blocksSeen += blocks;
    if (++file.scans <= MOST_SCANS && file.blocksSeen <= std::max(FREE_VISITS, MOST_VISITS * JpegBlocks(file.frame))) {
        return true;
    }
    file.problem = "too many passes over the picture";
    return false;
}

//---- Segments before the first scan

static bool IsFrame(int mark)
{
    return mark >= JPEG_SOF0 && mark <= JPEG_SOF15 && mark != JPEG_DHT && mark != JPEG_JPG && mark != JPEG_DAC;
}

static bool IsMetadata(int mark)
{
    return (mark >= JPEG_MARK_APP0 && mark <= JPEG_MARK_APP15) || mark == JPEG_MARK_COM;
}

static bool TakeFrame(JpegFile &file, const JpegSegment &segment)
{
    JpegFrame &frame = file.frame;
    const Bytes &bytes = segment.bytes;
    if (frame.channels) return Damaged(file, "it has two sizes");
    if (bytes.size() < 6 || bytes[0] != 8) return Damaged(file, "its samples do not have 8 bits");
    frame.mark = segment.mark;
    frame.height = High16(bytes.data() + 1);
    frame.width = High16(bytes.data() + 3);
    frame.channels = bytes[5];
    if (frame.channels != 1 && frame.channels != 3 && frame.channels != 4) {
        return Damaged(file, std::to_string(frame.channels) + " channels are not known here");
    }
    if (bytes.size() < 6 + 3 * size_t(frame.channels)) return Damaged(file, "a segment is shorter than can be");
    for (int c = 0; c < frame.channels; ++c) {
        const uint8_t *from = bytes.data() + 6 + 3 * c;
        frame.channel[c] = {from[0], from[1] >> 4, from[1] & 15, from[2] & 3};
        if (frame.channel[c].across < 1 || frame.channel[c].across > 4 || frame.channel[c].down < 1 ||
            frame.channel[c].down > 4) {
            return Damaged(file, "its channels have no size");
        }
    }
    return true;
}

// The mark of the next segment, with whatever stands before it passed over; -1 at the file's end.
static int NextMark(Source &source)
{
    int byte = TakeByte(source);
    for (;;) {
        while (byte >= 0 && byte != 0xFF) byte = TakeByte(source);
        while (byte == 0xFF) byte = TakeByte(source);
        if (byte != 0 && (byte < JPEG_RST0 || byte > JPEG_RST7)) return byte;
    }
}

static bool TakeSegment(JpegFile &file, JpegSegment &segment)
{
    Source &source = file.reading.source;
    uint8_t length[2];
    if (!Take(source, length, sizeof length)) return EndsTooSoon(file);
    if (High16(length) < 2) return Damaged(file, "a segment is shorter than can be");
    segment.bytes.resize(High16(length) - 2);
    return Take(source, segment.bytes.data(), segment.bytes.size()) || EndsTooSoon(file);
}

// Whether a codec needs an application segment to know which colours a file's are.
static bool TellsColours(const JpegSegment &segment)
{
    const char *begins = segment.mark == JPEG_MARK_APP0 ? "JFIF" : segment.mark == JPEG_MARK_APP14 ? "Adobe" : nullptr;
    return begins && segment.bytes.size() >= 12 && memcmp(segment.bytes.data(), begins, strlen(begins)) == 0;
}

bool TakeJpegHead(JpegFile &file)
{
    Source &source = file.reading.source;
    if (!Skip(source, 2)) return EndsTooSoon(file);
    file.head = {0xFF, JPEG_SOI};
    size_t kept = 0;
    for (;;) {
        JpegSegment segment;
        segment.mark = NextMark(source);
        if (segment.mark < 0) return EndsTooSoon(file);
        if (segment.mark == JPEG_EOI || segment.mark == JPEG_SOI) return Damaged(file, HAS_NO_PICTURE);
        if (segment.mark == 1) continue;   // stands alone and means nothing
        if (!TakeSegment(file, segment)) return false;
        if (IsFrame(segment.mark) && !TakeFrame(file, segment)) return false;
        if (!IsMetadata(segment.mark) || TellsColours(segment)) AddSegment(file.head, segment.mark, segment.bytes);
        kept += segment.bytes.size();
        if (kept > MOST_METADATA) return Damaged(file, "there is too much before its picture");
        if (segment.mark == JPEG_SOS) file.scanHead = segment.bytes;
        if (IsMetadata(segment.mark)) file.metadata.push_back(std::move(segment));
        if (!file.scanHead.empty()) break;
    }
    if (!file.frame.channels) return Damaged(file, HAS_NO_PICTURE);
    if (!MayHold(source, BitsFor(file.frame, JpegBlocks(file.frame)) / 8)) {
        return Fail(file.reading.error, TOO_SHORT_FOR_ITS_PICTURE);
    }
    if (StartScan(file)) return true;
    return Damaged(file, file.problem ? file.problem : "a segment is shorter than can be");
}

//---- The bytes that pass

static bool EndScan(JpegFile &file)
{
    if (file.scanBits >= file.bitsDue) return true;
    file.problem = "a scan is too short for the picture";
    return false;
}

// What a mark that has been found asks for. False with words in `problem`.
static bool SeeMark(JpegFile &file, int mark)
{
    file.place = JpegFile::PIXELS;
    if (mark == 0) {   // not one
        file.scanBits += 16;
        return true;
    }
    if ((mark >= JPEG_RST0 && mark <= JPEG_RST7) || mark == 1) return true;
    if (mark != JPEG_DNL && !EndScan(file)) return false;
    file.mark = mark;
    file.place = mark == JPEG_EOI ? JpegFile::DONE : JpegFile::LENGTH_HIGH;
    file.scanHead.clear();
    if (mark == JPEG_SOI) file.problem = "it has two beginnings";
    else if (IsFrame(mark)) file.problem = "it has two sizes";
    return !file.problem;
}

static bool EndSegment(JpegFile &file)
{
    file.place = JpegFile::PIXELS;
    if (file.mark == JPEG_SOS && !StartScan(file)) {
        if (!file.problem) file.problem = "a segment is shorter than can be";
        return false;
    }
    file.bitsDue = file.mark == JPEG_SOS ? file.bitsDue : 0;   // only pixels are counted up
    return true;
}

// Looks at the bytes up to the end mark, and returns how many those are; 0 at an error.
static size_t LookThrough(JpegFile &file, const uint8_t *bytes, size_t count)
{
    size_t i = 0;
    while (i < count && file.place != JpegFile::DONE) {
        if (file.place == JpegFile::PIXELS) {
            const void *found = memchr(bytes + i, 0xFF, count - i);
            const size_t end = found ? size_t(static_cast<const uint8_t *>(found) - bytes) : count;
            file.scanBits += 8 * uint64_t(end - i);
            i = found ? end + 1 : count;
            if (found) file.place = JpegFile::MARK;
        } else if (file.place == JpegFile::MARK) {
            const int mark = bytes[i++];
            if (mark != 0xFF && !SeeMark(file, mark)) return 0;
        } else if (file.place == JpegFile::LENGTH_HIGH) {
            file.length = uint32_t(bytes[i++] << 8);
            file.place = JpegFile::LENGTH_LOW;
        } else if (file.place == JpegFile::LENGTH_LOW) {
            file.length |= bytes[i++];
            if (file.length < 2) file.problem = "a segment is shorter than can be";
            if (file.length < 2) return 0;
            file.length -= 2;
            file.place = JpegFile::SEGMENT;
            if (file.length == 0 && !EndSegment(file)) return 0;
        } else {
            const size_t part = std::min<size_t>(file.length, count - i);
            const size_t wanted = file.mark == JPEG_SOS && file.scanHead.size() < 16 ? std::min<size_t>(part, 16) : 0;
            file.scanHead.insert(file.scanHead.end(), bytes + i, bytes + i + wanted);   // there is room for it
            i += part;
            file.length -= uint32_t(part);
            if (file.length == 0 && !EndSegment(file)) return 0;
        }
    }
    return i;
}

size_t TakeJpegData(JpegFile &file, const uint8_t *&bytes)
{
    if (!file.headTaken) {
        file.headTaken = true;
        file.scanHead.reserve(64);
        bytes = file.head.data();
        return file.head.size();
    }
    if (file.place == JpegFile::DONE || file.problem) return 0;
    const size_t count = TakeBuffer(file.reading.source, bytes);
    if (count == 0) file.ended = true;
    const size_t passed = LookThrough(file, bytes, count);
    if (file.place == JpegFile::DONE) {   // what is behind the picture is still to be had
        file.reading.source.next -= count - passed;
        file.reading.source.taken -= count - passed;
    }
    return passed;
}

//---- Writing

void AddSegment(Bytes &file, int mark, std::span<const uint8_t> bytes)
{
    file.push_back(0xFF);
    file.push_back(uint8_t(mark));
    AddHigh16(file, uint32_t(bytes.size() + 2));
    AddBytes(file, bytes.data(), bytes.size());
}
