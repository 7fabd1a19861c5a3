// See jpeg_form.h. Tables and numbers of samples, and which of them a picture may be stored with again.

#include "host/documents/files/jpeg_form.h"

#include <algorithm>
#include <cmath>
#include <cstring>

static const int USUAL_QUALITY = 90;

//---- Reading

// The tables stand in the order of a block's diagonals.
static const uint8_t diagonals[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                      12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                      35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                      58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

static void TakeTables(std::span<const uint8_t> bytes, FileShape &shape)
{
    while (!bytes.empty()) {
        const size_t number = bytes[0] & 15, each = bytes[0] >> 4 ? 2 : 1;
        if (number > 3 || bytes.size() < 1 + 64 * each) return;
        if (shape.tables.size() <= number) shape.tables.resize(number + 1, std::vector<uint16_t>(64, 1));
        for (size_t i = 0; i < 64; ++i) {
            const uint8_t *from = bytes.data() + 1 + i * each;
            shape.tables[number][diagonals[i]] = uint16_t(std::max(1u, each == 2 ? High16(from) : uint32_t(*from)));
        }
        bytes = bytes.subspan(1 + 64 * each);
    }
}

static bool StoredAsRgb(const JpegFile &file)
{
    const JpegFrame &frame = file.frame;
    for (const JpegSegment &segment : file.metadata)
        if (segment.mark == JPEG_MARK_APP14 && segment.bytes.size() >= 12 &&
            memcmp(segment.bytes.data(), "Adobe", 5) == 0)
            return segment.bytes[11] == 0;
    return frame.channel[0].id == 'R' && frame.channel[1].id == 'G';
}

// Of grey and of usual colours. Such as are stored otherwise are not stored that way again.
void TakeJpegForm(const JpegFile &file, FileShape &shape)
{
    const JpegFrame &frame = file.frame;
    shape.lossy = true;
    shape.progressive = frame.mark == JPEG_SOF2 || frame.mark == JPEG_SOF10;
    if (frame.channels == 4 || (frame.channels == 3 && StoredAsRgb(file))) return;
    const Bytes &head = file.head;
    for (size_t at = 2; at + 4 <= head.size();) {
        const size_t count = High16(head.data() + at + 2);
        const std::span<const uint8_t> bytes(head.data() + at + 4, std::min(count - 2, head.size() - at - 4));
        if (head[at + 1] == JPEG_DQT) TakeTables(bytes, shape);
        if (head[at + 1] == JPEG_DRI && bytes.size() >= 2) shape.restartInterval = High16(bytes.data());
        at += 2 + count;
    }
    for (int c = 0; c < frame.channels; ++c) {
        const JpegFrame::Channel &channel = frame.channel[c];
        if (size_t(channel.table) >= shape.tables.size()) shape.tables.clear();
        shape.channels.push_back({uint8_t(channel.across), uint8_t(channel.down), uint8_t(channel.table)});
    }
}

//---- Writing

// The usual table for brightness at quality 50; the others are multiples.
static const uint8_t usualTable[64] = {16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
                                       14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
                                       18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
                                       49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

// The quality whose table is nearest.
static int QualityOf(const std::vector<uint16_t> &table)
{
    double sum = 0;
    for (size_t i = 0; i < 64; ++i) sum += 100.0 * table[i] / usualTable[i];
    const double share = std::max(sum / 64, 0.01);
    return int(std::clamp(std::lround(share <= 100 ? (200 - share) / 2 : 5000 / share), 1L, 100L));
}

JpegForm JpegFormFor(const Picture &picture, const SaveOptions &options, int channels)
{
    const FileShape &shape = picture.extras.shape;
    JpegForm form;
    form.width = uint32_t(picture.width);
    form.height = uint32_t(picture.height);
    form.channels = channels;
    const bool own = int(shape.channels.size()) == channels && !shape.tables.empty();
    form.quality = options.quality ? std::clamp(options.quality, 1, 100)
                   : own           ? QualityOf(shape.tables[shape.channels[0].table])
                                   : USUAL_QUALITY;
    if (own && !options.quality) form.tables = &shape.tables;
    for (size_t c = 0; form.tables && c < shape.channels.size(); ++c) form.tableOf[c] = shape.channels[c].table;
    form.across = form.down = form.quality >= 90 ? 1 : 2;   // colours at full resolution too
    if (own && channels == 3) {                             // colours that are sampled alike
        const FileShape::Channel &first = shape.channels[0], &second = shape.channels[1], &third = shape.channels[2];
        const bool alike = second.across == third.across && second.down == third.down;
        const bool whole = first.across % second.across == 0 && first.down % second.down == 0;
        if (alike && whole) form.across = first.across / second.across, form.down = first.down / second.down;
    }
    if (options.across) form.across = options.across, form.down = options.down;
    form.progressive = options.progressive < 0 ? shape.progressive : options.progressive > 0;
    form.restartInterval = own ? shape.restartInterval : 0;
    return form;
}

bool JpegSampling(std::span<const uint8_t> file, int &across, int &down)
{
    for (size_t at = 2; at + 4 <= file.size() && file[at] == 0xFF; at += 2 + High16(file.data() + at + 2)) {
        const int mark = file[at + 1];
        if (mark == JPEG_DHT || mark < JPEG_SOF0 || mark > JPEG_SOF15) continue;
        if (at + 12 > file.size()) return false;
        across = file[at + 11] >> 4;   // of the first channel; those of colour have one sample
        down = file[at + 11] & 15;
        return true;
    }
    return false;
}

void TellJpegForm(const JpegForm &form, Notices &notices)
{
    if (PACKS_JPEG_AS_TOLD) return;
    const auto tell = [&notices](const std::string &line) {
        if (std::find(notices.begin(), notices.end(), line) == notices.end()) notices.push_back(line);
    };
    if (form.tables)
        tell("stored at quality " + std::to_string(form.quality) +
             ", near the file's own: this system's codec takes no tables of quantisation");
    if (form.progressive) tell("not stored progressively: this system's codec cannot");
}
