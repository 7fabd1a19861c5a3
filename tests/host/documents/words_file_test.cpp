// What files say of their pictures, where it is rare, long or damaged: EXIF fields in either order of bytes, XMP in every
// way of writing a property, the segments of JPEG files. What cameras write otherwise is tried with the command line.

#include "tests/host/documents/test_files.h"

#include <algorithm>
#include <cstdlib>

enum { TEXT = 2, SHORTS = 3, LONGS = 4, FRACTIONS = 5, PLAIN_BYTES = 7 };

//---- EXIF, put together

namespace
{

struct Word {
    uint32_t tag, type, count;
    Bytes bytes;
};

struct Block {
    bool lowFirst = true;
    Bytes bytes = Bytes(8);
};

}   // namespace

static Bytes Number(const Block &block, uint32_t value, size_t count)
{
    Bytes bytes;
    for (size_t i = 0; i < count; ++i) bytes.push_back(uint8_t(value >> 8 * (block.lowFirst ? i : count - 1 - i)));
    return bytes;
}

static Bytes Numbers(const Block &block, std::initializer_list<uint32_t> values)
{
    Bytes all;
    for (const uint32_t value : values) {
        const Bytes bytes = Number(block, value, 4);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

static void Append(Bytes &bytes, const Bytes &more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

// Values first, then the directory, whose place is returned.
static uint32_t AddDirectory(Block &block, std::vector<Word> words)
{
    for (Word &word : words) {
        if (word.bytes.size() > 4) {
            const Bytes place = Number(block, uint32_t(block.bytes.size()), 4);
            Append(block.bytes, word.bytes);
            block.bytes.resize((block.bytes.size() + 1) / 2 * 2);
            word.bytes = place;
        }
        word.bytes.resize(4);
    }
    const uint32_t at = uint32_t(block.bytes.size());
    Append(block.bytes, Number(block, uint32_t(words.size()), 2));
    for (const Word &word : words) {
        Append(block.bytes, Number(block, word.tag, 2));
        Append(block.bytes, Number(block, word.type, 2));
        Append(block.bytes, Number(block, word.count, 4));
        Append(block.bytes, word.bytes);
    }
    Append(block.bytes, Number(block, 0, 4));
    return at;
}

static Word Pointer(const Block &block, uint32_t tag, uint32_t place)
{
    return {tag, LONGS, 1, Number(block, place, 4)};
}

static Bytes Finished(Block &block, std::vector<Word> words)
{
    const uint32_t first = AddDirectory(block, std::move(words));
    Bytes start = {uint8_t(block.lowFirst ? 'I' : 'M'), uint8_t(block.lowFirst ? 'I' : 'M')};
    Append(start, Number(block, 42, 2));
    Append(start, Number(block, first, 4));
    std::copy(start.begin(), start.end(), block.bytes.begin());
    return block.bytes;
}

static Word Text(uint32_t tag, const std::string &text)
{
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return {tag, TEXT, uint32_t(bytes.size()), bytes};
}

static bool Holds(const Bytes &bytes, const std::string &part)
{
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

static bool Holds(const Bytes &bytes, const Bytes &part)
{
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

struct Again {
    ReadResult read;
    std::vector<std::string> notices;   // of the writing
};

static Again ThereAndBackWith(const PictureExtras &extras, FileFormat format, const Picture &pixels)
{
    Picture picture = CopyOf(pixels);
    picture.extras = extras;
    Bytes bytes;
    Again again;
    std::string error;
    EXPECT_TRUE(WritePictureBytes("", picture, format, {}, bytes, again.notices, error)) << error;
    again.read = ReadBytes(bytes);
    EXPECT_TRUE(again.read.done) << again.read.error;
    return again;
}

static const char *const NOTES = "the camera maker's notes are left out: they cannot be moved";

TEST(WordsFile, ACamerasNotesAndInteroperabilityGoAlong)
{
    for (const bool lowFirst : {true, false}) {
        Block block = {lowFirst};
        const uint32_t inner = AddDirectory(block, {Text(1, "R98")});
        const uint32_t camera = AddDirectory(block, {{0x9003, TEXT, 20, Bytes(20, 'd')},
                                                     {0x927C, PLAIN_BYTES, 10, Bytes(10, 'n')},
                                                     Pointer(block, 0xA005, inner)});
        PictureExtras extras;
        extras.exif = Finished(block, {Text(0x010F, "Maker of cameras"), Pointer(block, 0x8769, camera)});
        const auto noteIn = [](const Bytes &exif) {
            return std::search_n(exif.begin(), exif.end(), 10, 'n') - exif.begin();
        };
        for (const FileFormat format : {FileFormat::PNG, FileFormat::JPEG}) {
            const Again again = ThereAndBackWith(extras, format, Rgb({{1, 2}}));
            EXPECT_TRUE(again.notices.empty());
            EXPECT_TRUE(Holds(again.read.picture.extras.exif, "R98"));
            EXPECT_EQ(noteIn(again.read.picture.extras.exif), noteIn(extras.exif)) << "places in it stay true";
        }
        const Again tiff = ThereAndBackWith(extras, FileFormat::TIFF, Rgb({{1, 2}}));
        EXPECT_TRUE(Holds(tiff.read.picture.extras.exif, "R98"));
        EXPECT_TRUE(Holds(tiff.read.picture.extras.exif, "Maker of cameras"));
        EXPECT_EQ(tiff.notices, std::vector<std::string>{NOTES});
    }
}

TEST(WordsFile, NotesThatStandTooFarBehindAreLeftOutWithANotice)
{
    Block block;
    const uint32_t camera = AddDirectory(
        block, {{0x9286, PLAIN_BYTES, 66000, Bytes(66000, 'c')}, {0x927C, PLAIN_BYTES, 10, Bytes(10, 'n')}});
    PictureExtras extras;
    extras.exif = Finished(block, {Pointer(block, 0x8769, camera)});
    const Again again = ThereAndBackWith(extras, FileFormat::PNG, Rgb({{1, 2}}));
    EXPECT_EQ(again.notices, std::vector<std::string>{NOTES});
    EXPECT_FALSE(Holds(again.read.picture.extras.exif, std::string(10, 'n')));
    EXPECT_TRUE(Holds(again.read.picture.extras.exif, std::string(66000, 'c')));
}

TEST(WordsFile, NotesAreMovedOnlyWhereTheyBelong)
{
    const auto written = [](Word note, bool inCamera) {
        Block block;
        const uint32_t camera = AddDirectory(block, {inCamera ? note : Text(0x9003, "2001")});
        std::vector<Word> words = {Pointer(block, 0x8769, camera)};
        if (!inCamera) words.push_back(note);
        PictureExtras extras;
        extras.exif = Finished(block, words);
        return ThereAndBackWith(extras, FileFormat::PNG, Rgb({{1, 2}}));
    };
    const Again outside = written({0x927C, PLAIN_BYTES, 10, Bytes(10, 'n')}, false);
    EXPECT_TRUE(Holds(outside.read.picture.extras.exif, std::string(10, 'n')));
    const Again small = written({0x927C, PLAIN_BYTES, 4, Bytes(4, 'n')}, true);
    EXPECT_TRUE(Holds(small.read.picture.extras.exif, std::string(4, 'n')));
    EXPECT_TRUE(outside.notices.empty() && small.notices.empty());
    const Again inHeader = written({0x927C, PLAIN_BYTES, 8, {0, 0, 0, 0}}, true);
    EXPECT_EQ(inHeader.notices, std::vector<std::string>{NOTES});
}

TEST(WordsFile, ATiffFilesExifDataMayBeOneDirectory)
{
    for (const uint32_t tag : {0x8769, 0x8825}) {
        for (const bool lowFirst : {true, false}) {
            Block block = {lowFirst};
            const Word camera = {0x9204, 10, 1, Numbers(block, {7, 9})}, place = {0x0006, FRACTIONS, 1, camera.bytes};
            const uint32_t at = AddDirectory(block, {tag == 0x8769 ? camera : place});
            PictureExtras extras;
            extras.exif = Finished(block, {Pointer(block, tag, at)});
            const Again again = ThereAndBackWith(extras, FileFormat::TIFF, Rgb({{1, 2}}));
            EXPECT_TRUE(Holds(again.read.picture.extras.exif, Bytes{7, 0, 0, 0, 9, 0, 0, 0})) << tag;
        }
    }
}

TEST(WordsFile, AResolutionInExifDataFollowsThePicture)
{
    for (const bool lowFirst : {true, false}) {
        for (const uint32_t unit : {2u, 3u}) {
            Block block = {lowFirst};
            PictureExtras extras;
            extras.exif = Finished(block, {{0x011A, FRACTIONS, 1, Numbers(block, {72, 1})},
                                           {0x011B, FRACTIONS, 1, Numbers(block, {72, 0})},
                                           {0x0128, SHORTS, 1, Number(block, unit, 2)}});
            extras.dotsPerInchX = extras.dotsPerInchY = 254;
            const Bytes exif = ThereAndBackWith(extras, FileFormat::PNG, Rgb({{1, 2}})).read.picture.extras.exif;
            EXPECT_TRUE(Holds(exif, Numbers(block, {unit == 2 ? 254000u : 100000u, 1000}))) << unit;
            EXPECT_FALSE(Holds(exif, Numbers(block, {72, 1})));
            extras.dotsPerInchX = 1e9;   // more than a field can tell
            const Bytes same = ThereAndBackWith(extras, FileFormat::BMP, Rgb({{1}})).read.picture.extras.exif;
            EXPECT_TRUE(same.empty());
        }
    }
}

TEST(WordsFile, AMarkHowToTurnAPictureIsKeptInAnyForm)
{
    const Picture pictures[] = {Bits({"10", "00", "00"}),
                                WithMask(Rgb({{1, 2}, {3, 4}, {5, 6}}), {{9, 8}, {7, 6}, {5, 4}}),
                                Grey({{1, 2}, {3, 4}, {5, 6}})};
    for (const Picture &picture : pictures) {
        for (const bool lowFirst : {true, false}) {
            for (const uint32_t type : {uint32_t(SHORTS), uint32_t(LONGS)}) {
                Block block = {lowFirst};
                PictureExtras extras;
                extras.exif = Finished(
                    block, {Text(0x010F, "Maker"), {0x0112, type, 1, Number(block, 6, type == SHORTS ? 2 : 4)}});
                extras.xmp = Bytes({'R', 'D', 'F'});
                const Again again = ThereAndBackWith(extras, FileFormat::PNG, picture);
                const Picture &turned = again.read.picture;
                ASSERT_EQ(turned.width, 3);
                EXPECT_EQ(PixelOf(turned, 2, 0), PixelOf(picture, 0, 0));
                EXPECT_EQ(PixelOf(turned, 0, 1), PixelOf(picture, 1, 2));
                const Again second = ThereAndBackWith(turned.extras, FileFormat::PNG, turned);
                EXPECT_TRUE(SamePicture(second.read.picture, turned)) << "it stands upright now";
            }
        }
    }
}

TEST(WordsFile, ADirectoryThatCannotBeReadIsLeftOutWithANotice)
{
    for (const Bytes &exif :
         {Bytes({'I', 'I', '*', 0, 8, 0, 0}), Bytes(20, 'x'), Bytes({'I', 'I', '*', 0, 0xFF, 0xFF, 0, 0})}) {
        PictureExtras extras;
        extras.exif = exif;
        const Again again = ThereAndBackWith(extras, FileFormat::PNG, Rgb({{1}}));
        EXPECT_EQ(again.notices, std::vector<std::string>{"the EXIF data are damaged and left out"});
        EXPECT_TRUE(again.read.picture.extras.exif.empty());
    }
}

//---- XMP

static std::string XmpOf(const std::string &packet, std::vector<std::string> &notices)
{
    PictureExtras extras;
    extras.xmp.assign(packet.begin(), packet.end());
    const Again again = ThereAndBackWith(extras, FileFormat::PNG, Rgb({{1, 2}}));
    notices = again.notices;
    const Bytes &xmp = again.read.picture.extras.xmp;
    return std::string(xmp.begin(), xmp.end());
}

TEST(WordsFile, PropertiesAreChangedInEveryWayOfWritingThem)
{
    std::vector<std::string> notices;
    EXPECT_EQ(XmpOf("<rdf:RDF tiff:ImageWidth='5' exif:PixelXDimension = \"5\" xtiff:ImageLength='5'>"
                    "<tiff:ImageLength>5</tiff:ImageLength><exif:PixelYDimension/></rdf:RDF>",
                    notices),
              "<rdf:RDF tiff:ImageWidth='2' exif:PixelXDimension = \"2\" xtiff:ImageLength='5'>"
              "<tiff:ImageLength>1</tiff:ImageLength><exif:PixelYDimension/></rdf:RDF>");
    EXPECT_TRUE(notices.empty());
    const std::vector<std::string> told = {"the XMP data are left out: they are written in a way not known here"};
    for (const char *broken :
         {"<rdf:RDF tiff:ImageWidth", "<rdf:RDF tiff:ImageWidth ",
          "<rdf:RDF tiff:ImageWidth=", "<rdf:RDF tiff:ImageWidth='5", "<rdf:RDF tiff:ImageWidth 5>",
          "<rdf:RDF><tiff:ImageWidth", "<rdf:RDF><tiff:ImageWidth>5", "<rdf:RDF :Thumbnails", "<rdf:RDF><a:Thumbnails>",
          "<rdf:RDF><a></b></rdf:RDF>", "<rdf:RDF/></a>", "<!DOCTYPE a [<!ENTITY b 'c'>]><rdf:RDF/>", "<rdf:RDF/><!-- ",
          "<rdf:RDF/><?x", "<rdf:RDF/>\xFF", "<rdf:RDF></rdf:RDF", "<rdf:RDF><![CDATA[</rdf:RDF>",
          "<rdf:RDF a='1'b='2'/>"}) {
        EXPECT_EQ(XmpOf(broken, notices), "") << "nobody can tell what is in it: " << broken;
        EXPECT_EQ(notices, told) << broken;
    }
}

TEST(WordsFile, PropertiesAreToldByTheirNamespacesWhateverTheirPrefixes)
{
    std::vector<std::string> notices;
    const std::string start = "<?xpacket begin=''?><!-- <xmp:Thumbnails> --><rdf:RDF xmlns:rdf='r'";
    // Another prefix for the usual namespace; the usual prefix for another; bound further in, and only there; by default.
    EXPECT_EQ(
        XmpOf(start + " xmlns:q='http://ns.adobe.com/xap/1.0/'><q:Thumbnails>a<b/></q:Thumbnails></rdf:RDF>", notices),
        start + " xmlns:q='http://ns.adobe.com/xap/1.0/'></rdf:RDF>");
    EXPECT_EQ(notices.size(), 1u);
    const std::string innocent = start + " xmlns:xmp='urn:other'><xmp:Thumbnails>3</xmp:Thumbnails></rdf:RDF>";
    EXPECT_EQ(XmpOf(innocent, notices), innocent);
    EXPECT_TRUE(notices.empty());
    const std::string list = start + "><dam:Thumbnails xmlns:dam='urn:dam'>3</dam:Thumbnails></rdf:RDF>";
    EXPECT_EQ(XmpOf(list, notices), list);
    EXPECT_EQ(XmpOf(start + "><a xmlns:q='http://ns.adobe.com/tiff/1.0/'><q:ImageWidth>9</q:ImageWidth></a>"
                            "<q:ImageWidth>9</q:ImageWidth></rdf:RDF>",
                    notices),
              start + "><a xmlns:q='http://ns.adobe.com/tiff/1.0/'><q:ImageWidth>2</q:ImageWidth></a>"
                      "<q:ImageWidth>9</q:ImageWidth></rdf:RDF>");
    EXPECT_EQ(XmpOf(start + "><image xmlns='http://ns.adobe.com/xap/1.0/g/img/'>AAAA</image></rdf:RDF>", notices),
              start + "></rdf:RDF>");
    EXPECT_EQ(notices.size(), 1u);
    EXPECT_EQ(
        XmpOf(start + " xmlns:g='http://ns.google.com/photos/1.0/image/' g:Mime='image/jpeg' g:Data=\"AAAA\" a='b'/>",
              notices),
        start + " xmlns:g='http://ns.google.com/photos/1.0/image/' g:Mime='image/jpeg' a='b'/>");
    EXPECT_EQ(notices.size(), 1u);
}

TEST(WordsFile, WhatIsNoElementStaysInXmp)
{
    std::vector<std::string> notices;
    for (const char *packet : {"<rdf:RDF><![CDATA[ a < b ]]></rdf:RDF>", "<rdf:RDF><?a b?></rdf:RDF>",
                               "<rdf:RDF><tiff:ImageWidth><a/></tiff:ImageWidth></rdf:RDF>"}) {
        EXPECT_EQ(XmpOf(packet, notices), packet);
        EXPECT_TRUE(notices.empty()) << packet;
    }
    EXPECT_EQ(XmpOf("<rdf:RDF a:b='/9j/4AAQ' c:d='/9j/4AAQ'><xmp:Thumbnails/><xmp:Thumbnails>a</xmp:Thumbnails>"
                    "</rdf:RDF>",
                    notices),
              "<rdf:RDF></rdf:RDF>");
    EXPECT_EQ(notices.size(), 1u);
}

TEST(WordsFile, APictureUnderAnyNameIsAPreview)
{
    std::vector<std::string> notices;
    for (const char *picture : {"<a:b>/9j/4AAQ</a:b>", "<a:b>\n  /9j/4AAQ</a:b>", "<a:b>&#xA;iVBORw0KGgoAAA</a:b>"}) {
        EXPECT_EQ(XmpOf("<rdf:RDF>" + std::string(picture) + "</rdf:RDF>", notices), "<rdf:RDF></rdf:RDF>");
        EXPECT_EQ(notices.size(), 1u) << picture;
    }
    EXPECT_EQ(XmpOf("<rdf:RDF a:b='/9j/4AAQ' c='d'></rdf:RDF>", notices), "<rdf:RDF c='d'></rdf:RDF>");
    const std::string words = "<rdf:RDF><a:b>see /9j/</a:b></rdf:RDF>";
    EXPECT_EQ(XmpOf(words, notices), words);
}

//---- IPTC

static Bytes Record(uint8_t record, uint8_t number, const Bytes &bytes, bool longForm = false)
{
    Bytes all = {0x1C, record, number};
    if (longForm) Append(all, {0x80, 4, 0, 0});
    Append(all, {uint8_t(bytes.size() >> 8), uint8_t(bytes.size())});
    Append(all, bytes);
    return all;
}

TEST(WordsFile, PreviewsAmongIptcDataAreLeftOut)
{
    const Bytes dog = Record(2, 25, {'d', 'o', 'g'});
    Bytes words = Record(2, 120, Bytes(300, 'w'), true);
    for (const Bytes &other : {Record(1, 200, {1}), Record(10, 200, {1}), Record(2, 203, {1})}) Append(words, other);
    PictureExtras extras;
    extras.iptc = dog;
    for (const Bytes &preview : {Record(2, 200, {0, 11}), Record(2, 201, {0, 1}), Record(2, 202, Bytes(900, 7), true),
                                 Record(8, 10, Bytes(40, 7)), Record(7, 10, {1})})
        Append(extras.iptc, preview);
    Append(extras.iptc, words);
    Bytes kept = dog;
    Append(kept, words);
    const Again again = ThereAndBackWith(extras, FileFormat::JPEG, Rgb({{1, 2}}));
    EXPECT_EQ(again.read.picture.extras.iptc, kept);
    EXPECT_EQ(again.notices,
              std::vector<std::string>{"a preview among the IPTC data is left out: it shows the picture as it was"});
    // What cannot be taken apart may be one.
    for (const Bytes &broken : {Bytes{0x1C, 2, 25, 0, 9, 'd'}, Bytes{0x1C, 2, 25, 0},
                                Bytes{0x1C, 2, 202, 0x80, 5, 0, 0}, Bytes{0x1C, 2, 202, 0x80, 4, 0, 0},
                                Bytes{0x1C, 2, 202, 0x80, 4, 0, 0, 9, 9}, Bytes{'8', 'B', 'I', 'M', 4, 12}}) {
        extras.iptc = dog;
        Append(extras.iptc, broken);
        const Again damaged = ThereAndBackWith(extras, FileFormat::JPEG, Rgb({{1, 2}}));
        EXPECT_EQ(damaged.read.picture.extras.iptc, dog);
        EXPECT_EQ(damaged.notices, std::vector<std::string>{"damaged IPTC data are left out"});
    }
    extras.iptc = dog;
    Append(extras.iptc, {0, 0, 0});   // filled up
    EXPECT_TRUE(ThereAndBackWith(extras, FileFormat::JPEG, Rgb({{1, 2}})).notices.empty());
}

TEST(WordsFile, PreviewsInXmpAreTakenOutHoweverTheyAreWritten)
{
    const std::vector<std::string> told = {"previews among the XMP data are left out: they show the picture as it was"};
    for (const char *preview : {"<xmp:Thumbnails/>", "<xmp:Thumbnails><a>b</a></xmp:Thumbnails>",
                                "<xmp:Thumbnails a='b' />", "<xmpGImg:image>AAAA</xmpGImg:image>"}) {
        std::vector<std::string> notices;
        EXPECT_EQ(XmpOf("<rdf:RDF>" + std::string(preview) + "</rdf:RDF>", notices), "<rdf:RDF></rdf:RDF>");
        EXPECT_EQ(notices, told) << preview;
    }
}

#ifndef _WIN32

TEST(WordsFile, TheTimeOfAChangeIsThatOfTheSourcesWhereThatIsAskedFor)
{
    const std::string packet = "<rdf:RDF xmp:ModifyDate='2001-02-03'/>";
    std::vector<std::string> notices;
    setenv("SOURCE_DATE_EPOCH", "86400", 1);
    EXPECT_EQ(XmpOf(packet, notices), "<rdf:RDF xmp:ModifyDate='1970-01-02T00:00:00Z'/>");
    setenv("SOURCE_DATE_EPOCH", "", 1);
    EXPECT_EQ(XmpOf(packet, notices).find("1970"), std::string::npos);
    unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_EQ(XmpOf(packet, notices).find("2001"), std::string::npos);
}

#endif

//---- The segments of JPEG files

static Bytes Segment(uint8_t mark, const std::string &start, const Bytes &rest)
{
    const size_t count = 2 + start.size() + rest.size();
    Bytes segment = {0xFF, mark, uint8_t(count >> 8), uint8_t(count)};
    segment.insert(segment.end(), start.begin(), start.end());
    Append(segment, rest);
    return segment;
}

static ReadResult ReadJpegWith(const Bytes &segments)
{
    Bytes file = BytesOf(Rgb({{1, 2}}), "jpg");
    file.insert(file.begin() + 2 + 18, segments.begin(), segments.end());   // behind the JFIF segment
    ReadResult result = ReadBytes(file);
    EXPECT_TRUE(result.done) << result.error;
    return result;
}

TEST(WordsFile, AJpegFilesResolutionMayBePerCentimetre)
{
    Bytes file = BytesOf(Rgb({{1, 2}}), "jpg");
    const auto dots = [&file](uint8_t unit) {
        file[13] = unit;
        file[15] = 100;
        file[17] = 50;
        return ReadBytes(file).picture.extras.dotsPerInchX;
    };
    EXPECT_EQ(dots(1), 100);
    EXPECT_NEAR(dots(2), 254, 1e-9);
    EXPECT_EQ(dots(0), 0) << "a ratio";
    EXPECT_EQ(dots(3), 0);
}

TEST(WordsFile, ARatioOfAPixelsEdgesHasTwo)
{
    Bytes file = BytesOf(Rgb({{1, 2}}), "jpg");
    const auto ratio = [&file](uint8_t x, uint8_t y) {
        file[13] = 0;
        file[15] = x;
        file[17] = y;
        const PictureExtras &extras = ReadBytes(file).picture.extras;
        return std::pair(extras.aspectX, extras.aspectY);
    };
    EXPECT_EQ(ratio(2, 1), std::pair(2u, 1u));
    EXPECT_EQ(ratio(0, 1), std::pair(0u, 0u));
    EXPECT_EQ(ratio(2, 0), std::pair(0u, 0u));
}

TEST(WordsFile, APreviewInAJpegFilesHeadIsToldOf)
{
    const std::vector<std::string> told = {"a preview in the file's head is left out: it shows the picture as it was"};
    const Bytes extension = Segment(0xE0, std::string("JFXX\0", 5), {0x13, 1, 1, 9, 9, 9});
    const auto jfif = [](uint8_t width, uint8_t height) {
        return Segment(0xE0, std::string("JFIF\0", 5), {1, 2, 0, 0, 1, 0, 1, width, height, 9, 9, 9});
    };
    EXPECT_EQ(ReadJpegWith(extension).notices, told);
    EXPECT_EQ(ReadJpegWith(jfif(1, 1)).notices, told);
    Bytes both = extension;
    Append(both, jfif(1, 1));
    EXPECT_EQ(ReadJpegWith(both).notices, told);
    EXPECT_TRUE(ReadJpegWith(jfif(0, 1)).notices.empty());
    EXPECT_TRUE(ReadJpegWith(jfif(1, 0)).notices.empty());
}

TEST(WordsFile, SegmentsThatAreNotKnownAreNamedOnce)
{
    Bytes segments = Segment(0xEC, "Ducky", {0, 1, 0});   // how another program packed it
    for (int i = 0; i < 2; ++i) Append(segments, Segment(0xEA, "Maker", {0, 1}));
    Append(segments, Segment(0xE9, "", {}));
    Append(segments, Segment(0xEE, "Adobe", {0}));   // too short to say anything
    EXPECT_EQ(ReadJpegWith(segments).notices,
              std::vector<std::string>{"parts of the file that are not known here are left out: APP10 Maker"});
}

TEST(WordsFile, WhatStandsBehindAJpegPictureIsToldOf)
{
    const Bytes file = BytesOf(Rgb({{1, 2}}), "jpg");
    const auto told = [&file](const Bytes &behind) {
        Bytes all = file;
        Append(all, behind);
        return ReadBytes(all).notices;
    };
    EXPECT_TRUE(told({0, 0xFF, 0xFF, 0}).empty());
    Bytes more(200000);
    more[0] = 'x';
    EXPECT_EQ(told(more), std::vector<std::string>{"what stands behind the picture is left out (200000 bytes: "
                                                   "further pictures, a film or other data)"});
#ifdef __linux__
    PutFile(NameInFolder("behind.jpg"), [&] {
        Bytes all = file;
        Append(all, more);
        return all;
    }());
    EXPECT_EQ(ReadFile(NameInFolder("behind.jpg")).notices.size(), 1u);
    EmptyFolder();
#endif
}

TEST(WordsFile, AnotherProgramsSettingsInAJpegFileAreToldOf)
{
    const auto resource = [](uint8_t high, uint8_t low) {
        return Bytes{'8', 'B', 'I', 'M', high, low, 0, 0, 0, 0, 0, 2, 1, 2};
    };
    Bytes others = resource(0x04, 0x01);
    Append(others, resource(0x04, 0x02));
    EXPECT_EQ(ReadJpegWith(Segment(0xED, std::string("Photoshop 3.0\0", 14), others)).notices,
              std::vector<std::string>{"settings of a program for pictures are left out (8BIM)"});
    EXPECT_TRUE(ReadJpegWith(Segment(0xED, std::string("Photoshop 3.0\0", 14), resource(0x04, 0x06))).notices.empty());
}

TEST(WordsFile, AJpegFilesProfileHasAllItsParts)
{
    const std::string mark("ICC_PROFILE", 12);
    const auto part = [&mark](uint8_t number, uint8_t count, const Bytes &bytes) {
        return Segment(0xE2, mark + char(number) + char(count), bytes);
    };
    const auto joined = [](std::initializer_list<Bytes> parts) {
        Bytes all;
        for (const Bytes &one : parts) Append(all, one);
        return all;
    };
    const auto profileOf = [](const Bytes &segments) { return ReadJpegWith(segments).picture.extras.colourProfile; };
    EXPECT_EQ(profileOf(joined({part(2, 2, {3, 4}), part(1, 2, {1, 2})})), Bytes({1, 2, 3, 4}));
    EXPECT_TRUE(profileOf(part(1, 2, {1, 2})).empty()) << "the second is missing";
    EXPECT_TRUE(profileOf(part(0, 1, {1, 2})).empty());
    EXPECT_TRUE(profileOf(part(2, 1, {1, 2})).empty());
    EXPECT_TRUE(profileOf(part(1, 1, {})).empty());
}

TEST(WordsFile, XmpBeyondAJpegFilesFirstPartIsToldOf)
{
    const std::string mark("http://ns.adobe.com/xmp/extension/", 35);
    Bytes parts;
    for (int i = 0; i < 2; ++i) Append(parts, Segment(0xE1, mark, Bytes(40, 'x')));
    EXPECT_EQ(ReadJpegWith(parts).notices,
              std::vector<std::string>{"what stands beside the XMP data's first part is left out"});
}

TEST(WordsFile, WordsThatAreTooLongForAJpegFileAreToldOf)
{
    PictureExtras extras;
    extras.xmp.assign(70000, ' ');
    std::copy_n("<rdf:RDF/>", 10, extras.xmp.begin());
    for (int i = 0; i < 3; ++i) Append(extras.iptc, Record(2, 120, Bytes(30000, 'w')));
    extras.colourProfile.assign(255 * 65519 + 1, 7);
    const Again again = ThereAndBackWith(extras, FileFormat::JPEG, Rgb({{1, 2}}));
    EXPECT_EQ(again.notices,
              (std::vector<std::string>{"the XMP data are not stored: they are longer than a JPEG file can hold",
                                        "the IPTC data are not stored: they are longer than a JPEG file can hold",
                                        "the colour profile is not stored: it is longer than a JPEG file can hold"}));
    EXPECT_TRUE(again.read.picture.extras.xmp.empty());
}

TEST(WordsFile, AResolutionThatIsNoneIsNotWritten)
{
    for (const FileFormat format : {FileFormat::PNG, FileFormat::JPEG, FileFormat::TIFF, FileFormat::BMP}) {
        for (const auto &[x, y] : {std::pair(300.0, 0.0), std::pair(0.0, 300.0), std::pair(1e12, 300.0),
                                   std::pair(300.0, 1e12), std::pair(0.2, 300.0), std::pair(300.0, 300.0)}) {
            PictureExtras extras;
            extras.dotsPerInchX = x;
            extras.dotsPerInchY = y;
            const PictureExtras &again = ThereAndBackWith(extras, format, Rgb({{1}})).read.picture.extras;
            const bool none = x == 0 || y == 0 || x > 1e9 || y > 1e9;
            if (none || x == y) { EXPECT_NEAR(again.dotsPerInchX, none ? 0 : 300, 0.1) << x << ", " << y; }
        }
    }
}

#ifndef _WIN32   // whose own codec samples as it does

// Where a file's frame begins: behind the mark, length, depth and size.
static Bytes SamplingOf(const Bytes &file)
{
    for (size_t at = 2; at + 19 < file.size(); at += 2 + size_t(file[at + 2] << 8 | file[at + 3]))
        if (file[at + 1] == 0xC0) return {file[at + 11], file[at + 14], file[at + 17]};
    return {};
}

TEST(WordsFile, AJpegFilesSamplingIsKeptWhereItsColoursAreSampledAlike)
{
    typedef FileShape::Channel Channel;
    const struct {
        std::vector<Channel> channels;
        Bytes wanted;
    } cases[] = {{{{2, 1}, {1, 1}, {1, 1}}, {0x21, 0x11, 0x11}}, {{{4, 2}, {2, 2}, {2, 2}}, {0x21, 0x11, 0x11}},
                 {{{2, 2}, {1, 1}, {1, 2}}, {0x22, 0x11, 0x11}}, {{{2, 2}, {1, 1}, {2, 1}}, {0x22, 0x11, 0x11}},
                 {{{3, 2}, {2, 1}, {2, 1}}, {0x22, 0x11, 0x11}}, {{{2, 3}, {1, 2}, {1, 2}}, {0x22, 0x11, 0x11}}};
    for (const auto &one : cases) {
        Picture picture = Rgb({{1, 2}});
        picture.extras.shape.channels = one.channels;
        picture.extras.shape.tables = {std::vector<uint16_t>(64, 20)};
        const std::string name = NameInFolder("sampled.jpg");
        EXPECT_TRUE(WriteFile(name, picture, 0).done);
        EXPECT_EQ(SamplingOf(FileBytes(name)), one.wanted);
        picture.extras.shape.tables.clear();   // nothing of its own then
        EXPECT_TRUE(WriteFile(name, picture, 0).done);
        EXPECT_TRUE(ReadFile(name).done);
        EmptyFolder();
    }
}

#endif
