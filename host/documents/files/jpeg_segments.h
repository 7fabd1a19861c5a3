// The container of JPEG files: segments that each begin with a mark, and packed pixels behind those that start a scan.
// Read from front to back: first all segments before the first scan, then the file's bytes for a codec, which are
// looked through on their way for what a file must not do. And written. What segments mean stands in jpeg.cpp.

#pragma once

#include "host/documents/files/bytes.h"
#include "host/documents/files/formats.h"

#include <span>

enum JpegMark {
    JPEG_SOF0 = 0xC0,
    JPEG_SOF2 = 0xC2,   // progressive
    JPEG_DHT = 0xC4,
    JPEG_JPG = 0xC8,
    JPEG_SOF9 = 0xC9,    // from here on packed with arithmetic codes
    JPEG_SOF10 = 0xCA,   // progressive
    JPEG_DAC = 0xCC,
    JPEG_SOF15 = 0xCF,
    JPEG_RST0 = 0xD0,
    JPEG_RST7 = 0xD7,
    JPEG_SOI = 0xD8,
    JPEG_EOI = 0xD9,
    JPEG_SOS = 0xDA,
    JPEG_DQT = 0xDB,
    JPEG_DNL = 0xDC,
    JPEG_DRI = 0xDD,
    JPEG_MARK_APP0 = 0xE0,
    JPEG_MARK_APP1 = 0xE1,
    JPEG_MARK_APP2 = 0xE2,
    JPEG_MARK_APP13 = 0xED,
    JPEG_MARK_APP14 = 0xEE,
    JPEG_MARK_APP15 = 0xEF,
    JPEG_MARK_COM = 0xFE
};
const size_t JPEG_LONGEST_SEGMENT = 65533;   // bytes behind the length

struct JpegSegment {
    int mark = 0;
    Bytes bytes = {};
};

// The one frame of a file: its size, and how each channel is sampled.
struct JpegFrame {
    int mark = 0;   // of the way of packing
    uint32_t width = 0, height = 0;
    int channels = 0;   // 1, 3 or 4
    struct Channel {
        int id = 0, across = 1, down = 1;   // samples per unit, 1 to 4
        int table = 0;                      // of quantisation
    } channel[4] = {};
};

// A file on its way in.
struct JpegFile {
    Reading &reading;
    JpegFrame frame = {};
    std::vector<JpegSegment> metadata = {};   // application segments and comments, in the file's order
    Bytes head = {};                          // what a codec needs of all before the first scan's pixels
    bool headTaken = false;
    const char *problem = nullptr;   // words for what TakeJpegData found wrong
    bool ended = false;              // the file came to its end before its picture did
    // What is looked for in the bytes that pass.
    enum { PIXELS, MARK, LENGTH_HIGH, LENGTH_LOW, SEGMENT, DONE } place = PIXELS;
    int mark = 0;
    uint32_t length = 0;     // bytes of a segment still to come
    Bytes scanHead = {};     // of the scan whose segment passes
    uint64_t scanBits = 0;   // of packed pixels in the present scan
    uint64_t bitsDue = 0;    // that it must have at least
    int scans = 0;
    uint64_t blocksSeen = 0;   // in all scans
};

// Everything before the pixels of the first scan. False with a line.
bool TakeJpegHead(JpegFile &file);
// Hands out the file's next bytes in place, a clean head first; 0 behind the end mark and at an error, which is then in
// `problem` or `ended`. Good until the next call. Never throws.
size_t TakeJpegData(JpegFile &file, const uint8_t *&bytes);
// The blocks of 8 x 8 samples that all channels have together.
uint64_t JpegBlocks(const JpegFrame &frame);
// The line for what TakeJpegData found wrong. False always.
bool FailJpegData(JpegFile &file);

//---- Writing

// At most JPEG_LONGEST_SEGMENT bytes.
void AddSegment(Bytes &file, int mark, std::span<const uint8_t> bytes);
