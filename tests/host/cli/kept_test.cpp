// What stands in files besides pixels, on its way through an effect: written and read by other programs (exiftool,
// pngcheck, libtiff's tools), so that nothing here is taken at its own word.

#include "tests/host/cli/workplace.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace
{

std::string Quoted(const std::string &word) { return "'" + word + "'"; }

// What another program says; the test fails where it does not run.
std::string Tool(const std::string &line)
{
    FILE *pipe = popen((line + " 2>&1").c_str(), "r");
    std::string said;
    std::array<char, 4096> part;
    while (pipe && fgets(part.data(), int(part.size()), pipe)) said += part.data();
    EXPECT_TRUE(pipe && pclose(pipe) == 0) << line << "\n" << said;
    return said;
}

// A tag's value as exiftool shows it, without names for numbers; empty when it is missing.
std::string Tag(const std::string &file, const std::string &tag)
{
    std::string value = Tool("exiftool -n -s -s -s -" + tag + " " + Quoted(file));
    while (!value.empty() && value.back() == '\n') value.pop_back();
    return value;
}

void SetTags(const std::string &file, const std::string &tags)
{
    Tool("exiftool -q -overwrite_original " + tags + " " + Quoted(file));
}

// Two halves of one colour each.
Picture Halves(uint32_t left, uint32_t right, int32_t width = 80, int32_t height = 60)
{
    Picture picture = NewPicture(RGB, width, height);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.get() + ptrdiff_t(RowStride(24, width)) * y;
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t colour = x < width / 2 ? left : right;
            for (int c = 0; c < 3; ++c) row[3 * x + c] = uint8_t(colour >> 8 * c);
        }
    }
    return picture;
}

struct Written {
    std::vector<std::string> notices;
};

class Kept : public Workplace
{
protected:
    static Written WriteTo(const std::string &file, const Picture &picture)
    {
        Written written;
        std::string error;
        EXPECT_TRUE(WritePicture(file, picture, FormatOfName(file), {}, written.notices, error)) << error;
        return written;
    }
    // A photograph as a camera leaves it, whose small picture is not at all like it.
    std::string Photograph(const std::string &name, const std::string &more = "")
    {
        const std::string small = Save("small.jpg", Halves(0x00FF00, 0x00FF00, 40, 30));
        const std::string file = Save(name, Halves(0xFF0000, 0x0000FF));
        SetTags(file, "'-ThumbnailImage<=" + small +
                          "' -Make=Acme -Model=Box -Artist=Jane -Copyright=2020"
                          " '-ModifyDate=2001:02:03 04:05:06' '-DateTimeOriginal=2001:02:03 04:05:06'"
                          " -GPSLatitude=12.5 -GPSLatitudeRef=N -ExifImageWidth=80 -ExifImageHeight=60"
                          " -XMP:Title=Greeting -IPTC:Keywords=dog " +
                          more);
        return file;
    }
    // Which palettes take, too.
    static Outcome Mirror(const std::string &input, const std::string &output)
    {
        const Outcome outcome = Velmorant({"apply", "mirror", input, output, "--direction", "right"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        return outcome;
    }
    void Apply(const std::string &input, const std::string &output, const std::vector<std::string> &more = {})
    {
        std::vector<std::string> words = {"apply", "solarize", input, output};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = Velmorant(words);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    }
};

}   // namespace

//---- Privacy

TEST_F(Kept, APreviewAmongAProgramsSettingsIsTold)
{
    const std::string file = Save("in.jpg", Halves(1, 2));
    std::string bytes = BytesOf(file), segment = "Photoshop 3.0" + std::string(1, 0) + "8BIM\x04\x0C";
    segment += std::string("\0\0\0\0\0\4abcd", 10);
    bytes.insert(2, "\xFF\xED" + std::string(1, 0) + char(segment.size() + 2) + segment);
    std::ofstream(file, std::ios::binary) << bytes;
    const Outcome outcome = Mirror(file, In("out.jpg"));
    EXPECT_NE(outcome.errors.find("a preview among such settings is left out"), std::string::npos) << outcome.errors;
    EXPECT_EQ(BytesOf(In("out.jpg")).find("abcd"), std::string::npos);
}

TEST_F(Kept, TheSmallPictureIsMadeFromTheResult)
{
    const std::string input = Photograph("in.jpg");
    Apply(input, In("out.jpg"));
    Tool("exiftool -b -ThumbnailImage " + Quoted(In("out.jpg")) + " > " + Quoted(In("seen.jpg")));
    const Picture seen = Load(In("seen.jpg")), result = Load(In("out.jpg"));
    ASSERT_EQ(seen.width, 80);
    for (int32_t x : {10, 70}) {
        for (int shift : {0, 8, 16}) {
            EXPECT_NEAR(PixelOf(seen, x, 30) >> shift & 0xFF, PixelOf(result, x, 30) >> shift & 0xFF, 12) << x;
        }
    }
    EXPECT_EQ(Tool("exiftool -validate -s -s -s " + Quoted(In("out.jpg"))), "OK\n");
}

TEST_F(Kept, APreviewAmongTheMakersNotesIsLeftOutWithANotice)
{
    // A maker's note of bytes that end in a JPEG file: what cameras do.
    Picture picture = Halves(1, 2);
    std::vector<uint8_t> &exif = picture.extras.exif;
    exif = {'I', 'I', '*', 0, 8, 0, 0,   0,   1,   0,    0x69, 0x87, 4,    0,    1,    0,    0, 0,  26,
            0,   0,   0,   0, 0, 0, 0,   1,   0,   0x7C, 0x92, 7,    0,    12,   0,    0,    0, 44, 0,
            0,   0,   0,   0, 0, 0, 'A', 'c', 'm', 'e',  0,    0,    0xFF, 0xD8, 0xFF, 0xE0, 1, 2};
    const Written written = WriteTo(In("in.jpg"), picture);
    EXPECT_EQ(written.notices,
              std::vector<std::string>{"previews among the EXIF data are left out: they show the picture as it was"});
    EXPECT_EQ(BytesOf(In("in.jpg")).find("Acme"), std::string::npos);
    exif[50] = exif[51] = exif[52] = 'x';   // without one the note stays, in its place
    EXPECT_TRUE(WriteTo(In("in.jpg"), picture).notices.empty());
    const Picture back = Load(In("in.jpg"));
    ASSERT_GE(back.extras.exif.size(), 56u);
    EXPECT_EQ(std::string(back.extras.exif.begin() + 44, back.extras.exif.begin() + 48), "Acme");
}

TEST_F(Kept, PreviewsAmongXmpDataAreLeftOut)
{
    Picture picture = Halves(1, 2);
    const std::string xmp =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:xmp='http://ns.adobe.com/xap/1.0/' "
        "xmlns:xmpGImg='http://ns.adobe.com/xap/1.0/g/img/' xmp:Label='kept'><xmp:Thumbnails><rdf:Alt>"
        "<rdf:li rdf:parseType='Resource'><xmpGImg:image>AAECAwQF</xmpGImg:image></rdf:li></rdf:Alt>"
        "</xmp:Thumbnails></rdf:Description></rdf:RDF></x:xmpmeta>";
    picture.extras.xmp.assign(xmp.begin(), xmp.end());
    EXPECT_EQ(WriteTo(In("out.png"), picture).notices.size(), 1u);
    EXPECT_EQ(Tag(In("out.png"), "XMP:Label"), "kept");
    EXPECT_EQ(BytesOf(In("out.png")).find("AAECAwQF"), std::string::npos);
}

TEST_F(Kept, AnXmpPreviewIsFoundByItsNamespaceUnderAnotherPrefix)
{
    Picture picture = Halves(1, 2);
    const std::string xmp =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:p='http://ns.adobe.com/xap/1.0/' "
        "xmlns:q='http://ns.adobe.com/xap/1.0/g/img/'"
        " xmlns:xmpGImg='http://example.com/words/' xmlns:dc='http://purl.org/dc/elements/1.1/' p:Label='kept'>"
        "<p:Thumbnails><rdf:Alt><rdf:li rdf:parseType='Resource'><q:image>AAECAwQF</q:image></rdf:li></rdf:Alt>"
        "</p:Thumbnails><xmpGImg:image>innocent</xmpGImg:image></rdf:Description></rdf:RDF></x:xmpmeta>";
    picture.extras.xmp.assign(xmp.begin(), xmp.end());
    EXPECT_EQ(WriteTo(In("out.png"), picture).notices.size(), 1u);
    EXPECT_EQ(Tag(In("out.png"), "XMP:Label"), "kept");
    EXPECT_EQ(Tag(In("out.png"), "XMP:ThumbnailsImage"), "");
    EXPECT_EQ(BytesOf(In("out.png")).find("AAECAwQF"), std::string::npos);
    EXPECT_NE(BytesOf(In("out.png")).find("<xmpGImg:image>innocent<"), std::string::npos);
}

TEST_F(Kept, APreviewAmongIptcDataIsLeftOut)
{
    const std::string small = Save("small.jpg", Halves(0x00FF00, 0x00FF00, 40, 30));
    const std::string input = Save("in.jpg", Halves(1, 2));
    SetTags(input, "-IPTC:Keywords=dog -IPTC:ObjectPreviewFileFormat=11 -IPTC:ObjectPreviewFileVersion=1"
                   " '-IPTC:ObjectPreviewData<=" +
                       small + "'");
    ASSERT_NE(Tag(input, "IPTC:ObjectPreviewData"), "");
    for (const char *name : {"out.jpg", "out.tif", "out.png"}) {
        const Outcome outcome = Velmorant({"apply", "solarize", input, In(name)});
        EXPECT_NE(outcome.errors.find("a preview among the IPTC data is left out"), std::string::npos)
            << outcome.errors;
        EXPECT_EQ(Tag(In(name), "IPTC:ObjectPreviewData"), "") << name;
        EXPECT_EQ(Tag(In(name), "IPTC:ObjectPreviewFileFormat"), "") << name;
        EXPECT_EQ(Tag(In(name), "IPTC:Keywords"), "dog") << name;
    }
}

TEST_F(Kept, ATiffFilesSmallCopyOfThePictureIsLeftOutWithANotice)
{
    const std::string large = Save("large.tif", Sample(RGB)), small = Save("small.tif", Sample(RGB, 16, 12));
    Tool("tiffset -s 254 1 " + Quoted(small));
    Tool("tiffcp " + Quoted(large) + " " + Quoted(small) + " " + Quoted(In("in.tif")));
    ASSERT_NE(Tool("tiffinfo " + Quoted(In("in.tif"))).find("reduced-resolution"), std::string::npos);
    const Outcome outcome = Velmorant({"apply", "solarize", In("in.tif"), In("out.tif")});
    EXPECT_NE(outcome.errors.find("smaller copies of the picture are left out"), std::string::npos) << outcome.errors;
    const std::string said = Tool("tiffinfo " + Quoted(In("out.tif")));
    EXPECT_EQ(said.find("reduced-resolution"), std::string::npos) << said;
    EXPECT_EQ(said.find("TIFF directory", said.find("TIFF directory") + 1), std::string::npos) << said;
}

TEST_F(Kept, WhatStandsBehindAJpegPictureOrInUnknownPartsIsToldOf)
{
    const std::string input = Save("in.jpg", Halves(1, 2));
    std::string bytes = BytesOf(input);
    // A film, as telephones put it behind; a list of further pictures and a box of claims in the head.
    bytes.insert(20, std::string("\xFF\xE2\x00\x0AMPF\0II*\0", 12) + std::string("\xFF\xEB\x00\x06JP\0\1", 8) +
                         std::string("\xFF\xE7\x00\x08Qualcm", 10));
    const std::string whole = SaveText("whole.jpg", bytes + "....ftypmp42");
    const Outcome outcome = Velmorant({"apply", "solarize", whole, In("out.jpg")});
    EXPECT_NE(outcome.errors.find("parts of the file that are not known here are left out: APP2 MPF, APP11 JUMBF, APP7"
                                  " Qualcm"),
              std::string::npos)
        << outcome.errors;
    EXPECT_NE(outcome.errors.find("what stands behind the picture is left out (12 bytes"), std::string::npos)
        << outcome.errors;
    EXPECT_EQ(Tool("exiftool -validate -s -s -s " + Quoted(In("out.jpg"))), "OK\n");
    // From a pipe likewise; zeros behind it, as some cameras write, are nothing.
    EXPECT_EQ(Lines(Velmorant({"apply", "solarize", "-", In("out.jpg")}, BytesOf(whole)).errors).size(), 2u);
    const std::string padded = SaveText("padded.jpg", BytesOf(input) + std::string(100, '\0'));
    EXPECT_EQ(Velmorant({"apply", "solarize", padded, In("out.jpg")}).errors, "");
}

TEST_F(Kept, SizesAndTheTimeOfChangeAreTheResults)
{
    const std::string input =
        Photograph("in.jpg", "-Orientation#=1 -XMP:ImageWidth=80 '-XMP:ModifyDate=2001:02:03 04:05:06'");
    const Outcome outcome = Velmorant({"apply", "mirror", input, In("out.jpg"), "--direction", "right"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    for (const char *tag : {"EXIF:ExifImageWidth", "XMP:ImageWidth", "File:ImageWidth"}) {
        EXPECT_EQ(Tag(In("out.jpg"), tag), std::to_string(Load(In("out.jpg")).width)) << tag;
    }
    EXPECT_GT(Load(In("out.jpg")).width, 80);
    for (const char *tag : {"EXIF:ModifyDate", "XMP:ModifyDate"}) {
        EXPECT_GT(Tag(In("out.jpg"), tag), "2020:") << tag;
    }
    EXPECT_EQ(Tag(In("out.jpg"), "EXIF:DateTimeOriginal"), "2001:02:03 04:05:06");
}

TEST_F(Kept, StrippingLeavesProfileAndResolutionAndStrippingAllNeither)
{
    Picture picture = Halves(1, 2);
    picture.extras.dotsPerInchX = picture.extras.dotsPerInchY = 300;
    const std::string input = Save("in.jpg", picture);
    SetTags(input, "-Make=Acme -XMP:Title=Greeting -IPTC:Keywords=dog -Comment=hello");
    Apply(input, In("out.jpg"), {"--strip"});
    Apply(input, In("none.jpg"), {"--strip=all"});
    for (const char *name : {"out.jpg", "none.jpg"}) {
        for (const char *tag : {"Make", "XMP:Title", "IPTC:Keywords", "Comment"})
            EXPECT_EQ(Tag(In(name), tag), "") << tag;
    }
    EXPECT_EQ(Tag(In("out.jpg"), "JFIF:XResolution"), "300");
    EXPECT_EQ(Tag(In("none.jpg"), "JFIF:XResolution"), "1");
    EXPECT_TRUE(Refused(Velmorant({"apply", "solarize", input, In("x.jpg"), "--strip=some"}), 1, "--strip", "none of"));
}

TEST_F(Kept, StrippingLeavesTheMeaningOfColoursAndStrippingAllDoesNot)
{
    Picture picture = Halves(1, 2);
    picture.extras.colourChunks = {{'g', 'A', 'M', 'A', 0, 1, 0x86, 0xA0}};
    picture.extras.aspectX = 2;
    picture.extras.aspectY = 1;
    picture.extras.texts = {{"Comment", "hello"}};
    picture.extras.background = {0, 1, 0, 2, 0, 3};
    const std::string input = Save("in.png", picture);
    ASSERT_EQ(Tag(input, "Gamma"), "1");
    Apply(input, In("out.png"), {"--strip"});
    EXPECT_EQ(Tag(In("out.png"), "Gamma"), "1");
    EXPECT_EQ(Tag(In("out.png"), "PixelsPerUnitX"), "2");
    Apply(input, In("none.png"), {"--strip=all"});
    EXPECT_EQ(Tag(In("none.png"), "Gamma -PixelsPerUnitX"), "");
    for (const char *name : {"out.png", "none.png"}) EXPECT_EQ(Tag(In(name), "Comment -BackgroundColor"), "") << name;
}

TEST_F(Kept, StrippingLeavesAPictureThatIsNotTurnedItsMark)
{
    for (const char *ending : {".jpg", ".png", ".tif"}) {
        const std::string input = Save(std::string("in") + ending, Halves(1, 2)),
                          output = In(std::string("out") + ending);
        SetTags(input, "-IFD0:Orientation#=6 -Make=Acme");
        for (const char *strip : {"--strip", "--strip=all"}) {
            Apply(input, output, {"--as-stored", strip});
            EXPECT_EQ(Tag(output, "IFD0:Orientation"), "6") << ending << strip;
            EXPECT_EQ(Tag(output, "Make"), "") << ending << strip;
        }
        Apply(input, output, {"--strip"});
        EXPECT_EQ(Tag(output, "File:ImageWidth -IFD0:ImageWidth -PNG:ImageWidth"), "60") << ending;
        const std::string mark = Tag(output, "IFD0:Orientation");
        EXPECT_TRUE(mark.empty() || mark == "1") << ending << mark;
    }
}

//---- Upright

TEST_F(Kept, PicturesAreTurnedUprightInEveryWay)
{
    // Rows of letters; what each way stores of them, as the marks are defined.
    const std::vector<std::vector<uint32_t>> upright = {{10, 20, 30}, {40, 50, 60}};
    const std::vector<std::vector<uint32_t>> stored[] = {{},
                                                         {{10, 20, 30}, {40, 50, 60}},
                                                         {{30, 20, 10}, {60, 50, 40}},
                                                         {{60, 50, 40}, {30, 20, 10}},
                                                         {{40, 50, 60}, {10, 20, 30}},
                                                         {{10, 40}, {20, 50}, {30, 60}},
                                                         {{30, 60}, {20, 50}, {10, 40}},
                                                         {{60, 30}, {50, 20}, {40, 10}},
                                                         {{40, 10}, {50, 20}, {60, 30}}};
    for (const char *ending : {"png", "tif"}) {
        for (int mark = 1; mark <= 8; ++mark) {
            const std::string name = std::string("in.") + ending;
            const std::string input = Save(name, Grey(stored[mark]));
            SetTags(input, "-IFD0:Orientation#=" + std::to_string(mark));
            EXPECT_TRUE(SamePicture(Load(input), Grey(upright))) << ending << ", " << mark;
            const std::string output = In(std::string("out.") + ending);
            Apply(input, output, {"--threshold", "255"});   // changes nothing
            EXPECT_EQ(Tag(output, "ImageWidth -Orientation"), "3\n1") << ending << ", " << mark;
            Apply(input, output, {"--threshold", "255", "--as-stored"});
            EXPECT_EQ(Tag(output, "ImageWidth -Orientation"), (mark >= 5 ? "2\n" : "3\n") + std::to_string(mark))
                << ending;
        }
    }
}

TEST_F(Kept, APhotographIsTurnedAndItsMarkIsOne)
{
    const std::string input = Photograph("in.jpg", "-Orientation#=6 -XMP:Orientation#=6");
    Apply(input, In("out.jpg"));
    EXPECT_EQ(Tag(In("out.jpg"), "EXIF:Orientation"), "1");
    EXPECT_EQ(Tag(In("out.jpg"), "XMP:Orientation"), "1");
    EXPECT_EQ(Tag(In("out.jpg"), "File:ImageWidth"), "60");
    EXPECT_EQ(Tag(In("out.jpg"), "File:ImageHeight"), "80");
}

//---- Words

TEST_F(Kept, WordsGoFromFormatToFormat)
{
    const std::string input = Photograph("in.jpg");
    std::string from = input;
    for (const char *name : {"one.tif", "two.png", "three.tif", "four.jpg", "five.png"}) {
        const std::string to = In(name);
        Apply(from, to);
        for (const auto &[tag, value] :
             std::vector<std::pair<std::string, std::string>>{{"Make", "Acme"},
                                                              {"EXIF:Artist", "Jane"},
                                                              {"EXIF:Copyright", "2020"},
                                                              {"GPSLatitude", "12.5"},
                                                              {"EXIF:DateTimeOriginal", "2001:02:03 04:05:06"},
                                                              {"XMP:Title", "Greeting"},
                                                              {"IPTC:Keywords", "dog"}}) {
            EXPECT_EQ(Tag(to, tag), value) << name << ", " << tag;
        }
        from = to;
    }
}

TEST_F(Kept, ACommentGoesByItsNameInSmallLettersToo)
{
    Picture picture = Halves(1, 2);
    picture.extras.texts = {{"comment", "hello"}, {"author", "Jane"}};
    WriteTo(In("in.png"), picture);
    EXPECT_EQ(Mirror(In("in.png"), In("out.jpg")).errors, "");
    EXPECT_EQ(Tag(In("out.jpg"), "Comment"), "hello");
    EXPECT_EQ(Tag(In("out.jpg"), "Artist"), "Jane");
}

TEST_F(Kept, IptcIsFoundAmongAProgramsSettings)
{
    // As ImageMagick keeps them in PNG and TIFF files, where nothing else stands among them.
    const std::string file = Save("in.jpg", Halves(1, 2));
    SetTags(file, "-IPTC:Keywords=dog");
    for (const char *ending : {"png", "tif"}) {
        const std::string made = In(std::string("made.") + ending), out = In(std::string("out.") + ending);
        Tool("convert " + Quoted(file) + " " + Quoted(made));
        EXPECT_EQ(Mirror(made, out).errors, "") << ending;
        EXPECT_EQ(Tag(out, "Keywords"), "dog") << ending;
    }
}

TEST_F(Kept, TextsThatRepeatExifFieldsStayTrue)
{
    const std::string photograph = Photograph("in.jpg", "-Orientation#=6");
    Tool("convert " + Quoted(photograph) + " " + Quoted(In("in.png")));
    ASSERT_EQ(Tag(In("in.png"), "PNG:ExifPixelXDimension"), "80");
    Mirror(In("in.png"), In("out.png"));
    const auto text = [this](const std::string &name) { return Tag(In("out.png"), "PNG:" + name); };
    EXPECT_EQ(text("ExifPixelXDimension"), "120");
    EXPECT_EQ(text("ExifPixelYDimension"), "80");
    EXPECT_EQ(text("ExifMake"), "Acme");
    EXPECT_EQ(text("ExifthumbnailJPEGInterchangeFormatLength"), "");
    EXPECT_NE(text("ExifDateTime").substr(0, 4), "2001");
    Picture picture = Halves(1, 2);
    picture.extras.texts = {{"exif:Orientation", "6"}, {"Title", "6"}};
    WriteTo(In("texts.png"), picture);
    const Picture read = Load(In("texts.png"));
    ASSERT_EQ(read.extras.texts.size(), 2u);
    EXPECT_EQ(read.extras.texts[0].text, "1") << "nothing marks it as one to be turned";
    EXPECT_EQ(read.extras.texts[1].text, "6");
}

TEST_F(Kept, PngTextsStayAndOneNoticeNamesWhatATargetCannotHold)
{
    const std::string input = Save("in.png", Halves(1, 2));
    SetTags(
        input,
        "-PNG:Title=Greeting '-PNG:Comment=söme' -PNG:Author=Jane '-PNG:ModifyDate=2001:02:03 04:05:06' -XMP:Label=x");
    Apply(input, In("out.png"));
    EXPECT_EQ(Tag(In("out.png"), "PNG:Title"), "Greeting");
    EXPECT_EQ(Tag(In("out.png"), "PNG:Comment"), "söme");
    EXPECT_GT(Tag(In("out.png"), "PNG:ModifyDate"), "2020:");
    EXPECT_NE(Tool("pngcheck " + Quoted(In("out.png"))).find("OK"), std::string::npos);
    const Outcome jpeg = Velmorant({"apply", "solarize", input, In("out.jpg")});
    EXPECT_EQ(Lines(jpeg.errors).size(), 1u);
    EXPECT_NE(jpeg.errors.find("the texts (Title) are not stored"), std::string::npos) << jpeg.errors;
    EXPECT_EQ(Tag(In("out.jpg"), "Comment"), "söme");
    EXPECT_EQ(Tag(In("out.jpg"), "EXIF:Artist"), "Jane");
    const Outcome pnm = Velmorant({"apply", "solarize", input, In("out.ppm")});
    EXPECT_EQ(Lines(pnm.errors).size(), 1u);
    EXPECT_NE(pnm.errors.find("the XMP data and the texts ("), std::string::npos) << pnm.errors;
}

//---- Shape

TEST_F(Kept, DepthAndInterlaceOfPngStay)
{
    // 2 bits of grey, interlaced, made by hand of what another program checks.
    for (int bits : {1, 2, 4}) {
        Picture picture = Palette({0x102030, 0xFF0000, 0x00FF00, 0x0000FF}, {{0, 1}, {1, 0}});
        if (bits == 1) picture = Palette({0x102030, 0xFF0000}, {{0, 1}, {1, 0}});
        picture.extras.shape.bits = bits;
        picture.extras.shape.interlaced = true;
        const std::string input = Save("in.png", picture);
        EXPECT_EQ(Tag(input, "BitDepth"), std::to_string(bits));
        EXPECT_EQ(Tag(input, "Interlace"), "1");
        EXPECT_TRUE(SamePicture(Load(input), picture));
        const Outcome outcome = Velmorant({"apply", "mirror", input, In("out.png"), "--direction", "right"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(Tag(In("out.png"), "BitDepth"), std::to_string(bits));
        EXPECT_EQ(Tag(In("out.png"), "Interlace"), "1");
        EXPECT_NE(Tool("pngcheck " + Quoted(In("out.png"))).find("OK"), std::string::npos);
    }
    Picture grey = Grey({{0, 85, 170, 255}});
    grey.extras.shape.bits = 2;
    EXPECT_EQ(Tag(Save("grey.png", grey), "BitDepth"), "2");
    EXPECT_TRUE(SamePicture(Load(In("grey.png")), grey));
    Picture between = Grey({{0, 85, 171, 255}});   // has no place in 2 or 4 bits
    between.extras.shape.bits = 2;
    EXPECT_EQ(Tag(Save("grey.png", between), "BitDepth"), "8");
}

TEST_F(Kept, TiffKeepsItsPackingPredictorAndPages)
{
    const std::string colours = Save("c.tif", Sample(RGB)), bits = Save("b.tif", Sample(ONE_BIT));
    for (const auto &[options, compression, predictor] :
         std::vector<std::array<std::string, 3>>{{"-c none", "1", ""},
                                                 {"-c lzw:1", "5", ""},
                                                 {"-c lzw:2", "5", "2"},
                                                 {"-c zip:2", "8", "2"},
                                                 {"-c zip:1", "8", ""},
                                                 {"-c packbits", "32773", ""},
                                                 {"-c jpeg", "7", ""},
                                                 {"-c g3:1d", "3", ""},
                                                 {"-c g3:2d", "3", ""},
                                                 {"-c g4", "4", ""}}) {
        const bool fax = options.find("g3") != std::string::npos || options.find("g4") != std::string::npos;
        Tool("tiffcp " + options + " " + Quoted(fax ? bits : colours) + " " + Quoted(In("in.tif")));
        const Outcome outcome = Velmorant({"apply", "mirror", In("in.tif"), In("out.tif"), "--direction", "right"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(Tag(In("out.tif"), "Compression"), compression == "8" ? "8" : compression) << options;
        const std::string differences = Tag(In("out.tif"), "Predictor");
        EXPECT_EQ(differences == "1" ? "" : differences, predictor) << options;
        Tool("tiffcp -c none " + Quoted(In("out.tif")) + " " + Quoted(In("plain.tif")));   // libtiff unpacks all of it
        if (options == "-c jpeg") continue;                                                // which loses
        EXPECT_TRUE(SamePicture(Load(In("plain.tif")), Load(In("out.tif")))) << options;
    }
    Tool("tiffcp " + Quoted(colours) + " " + Quoted(bits) + " " + Quoted(colours) + " " + Quoted(In("pages.tif")));
    const auto pages = [&](const std::string &file) {
        const std::string said = Tool("tiffinfo " + Quoted(file));
        size_t count = 0;
        for (size_t at = said.find("TIFF directory"); at != std::string::npos; at = said.find("TIFF directory", at + 1))
            ++count;
        return count;
    };
    Velmorant({"apply", "mirror", In("pages.tif"), In("out.tif"), "--direction", "right"});
    EXPECT_EQ(pages(In("out.tif")), 3u);
    EXPECT_TRUE(Refused(Velmorant({"apply", "mirror", In("pages.tif"), In("x.tif"), "--page", "4"}), 1, In("pages.tif"),
                        "has 3 pages, not 4"));
}

TEST_F(Kept, WorkOnOnePageLeavesTheOthersAsTheyWere)
{
    const std::vector<std::string> files = {Save("a.tif", Sample(RGB)), Save("b.tif", Sample(ONE_BIT, 40, 30)),
                                            Save("c.tif", Sample(GREY, 24, 20))};
    Tool("tiffcp " + Quoted(files[0]) + " " + Quoted(files[1]) + " " + Quoted(files[2]) + " " + Quoted(In("in.tif")));
    const std::string input = BytesOf(In("in.tif"));
    const auto sizes = [&](const std::string &file) {
        return Tool("tiffinfo " + Quoted(file) + " | sed -n 's/ *Image Width: //p' | tr '\n' ';'");
    };
    // As libtiff sees it, counted from 0, without packing.
    const auto page = [&](const std::string &file, int number) {
        Tool("tiffcp -c none " + Quoted(file + "," + std::to_string(number)) + " " + Quoted(In("page.tif")));
        return Load(In("page.tif"));
    };
    EXPECT_EQ(sizes(In("in.tif")), "64 Image Length: 48;40 Image Length: 30;24 Image Length: 20;");
    const std::vector<std::string> right = {"--direction", "right", "--page", "2"};
    Velmorant({"apply", "mirror", files[1], In("expected.tif"), "--direction", "right"});
    // Into another file, into its own, into one with other pages, through a pipe, in a batch.
    SaveText("place.tif", input);
    Tool("tiffcp " + Quoted(files[2]) + " " + Quoted(files[2]) + " " + Quoted(In("there.tif")));
    std::filesystem::create_directory(PathOf(In("out")));
    const std::vector<std::vector<std::string>> ways = {{"apply", "mirror", In("in.tif"), In("new.tif")},
                                                        {"apply", "mirror", In("place.tif"), In("place.tif")},
                                                        {"apply", "mirror", In("in.tif"), In("there.tif")},
                                                        {"batch", "mirror", "--output-folder", In("out"), In("in.tif")},
                                                        {"apply", "mirror", "-", "-"}};
    const std::string outputs[] = {In("new.tif"), In("place.tif"), In("there.tif"), In("out/in.tif"), In("pipe.tif")};
    for (size_t i = 0; i < std::size(outputs); ++i) {
        std::vector<std::string> words = ways[i];
        words.insert(words.end(), right.begin(), right.end());
        const Outcome outcome = Velmorant(words, words[2] == "-" ? input : "");
        ASSERT_TRUE(WentWell(outcome)) << outputs[i];
        if (words[2] == "-") SaveText("pipe.tif", outcome.output);
        EXPECT_EQ(sizes(outputs[i]), "64 Image Length: 48;80 Image Length: 30;24 Image Length: 20;") << outputs[i];
        EXPECT_TRUE(SamePicture(page(outputs[i], 0), page(In("in.tif"), 0))) << outputs[i];
        EXPECT_TRUE(SamePicture(page(outputs[i], 1), Load(In("expected.tif")))) << outputs[i];
        EXPECT_TRUE(SamePicture(page(outputs[i], 2), page(In("in.tif"), 2))) << outputs[i];
    }
    // The mask of one page is of its size, and no other page's.
    Picture white = Grey(std::vector<std::vector<uint32_t>>(20, std::vector<uint32_t>(24, 255)));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", In("in.tif"), In("masked.tif"), "--page", "3", "--mask",
                                    Save("mask.png", white), "--mask-output", In("mask-out.png")})));
    EXPECT_EQ(sizes(In("masked.tif")), sizes(In("in.tif")));
    EXPECT_TRUE(SamePicture(Load(In("mask-out.png")), white));
}

TEST_F(Kept, WhereThereIsNoPlaceForOtherPagesOneNoticeTells)
{
    const std::string a = Save("a.tif", Sample(RGB)), b = Save("b.tif", Sample(GREY, 40, 30));
    Tool("tiffcp " + Quoted(a) + " " + Quoted(b) + " " + Quoted(In("in.tif")));
    const Outcome png = Velmorant({"apply", "solarize", In("in.tif"), In("out.png"), "--page", "2"});
    EXPECT_EQ(png.errors,
              "velmorant: " + In("out.png") + ": only page 2 of 2 is stored: such a file holds one picture\n");
    EXPECT_EQ(Load(In("out.png")).width, 40);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", a, In("out.png"), "--page", "1"})));
    for (const char *output : {"x.png", "x.tif"}) {
        EXPECT_TRUE(Refused(Velmorant({"apply", "solarize", In("in.tif"), In(output), "--page", "3"}), 1, In("in.tif"),
                            "has 2 pages, not 3"));
    }
    // Pages that a JPEG packed lose by being packed again, whoever worked on them.
    Tool("tiffcp -c jpeg " + Quoted(In("in.tif")) + " " + Quoted(In("jpeg.tif")));
    const Outcome lossy = Velmorant({"apply", "solarize", In("jpeg.tif"), In("out.tif"), "--page", "1"});
    EXPECT_NE(lossy.errors.find("the pages beside page 1 are packed anew, which loses"), std::string::npos)
        << lossy.errors;
}

TEST_F(Kept, ARunThatChangesALaterPageAloneSaysNothing)
{
    Picture white = Grey({{255, 255}, {255, 255}}), black = Grey({{0, 0}, {0, 0}});
    const std::string a = Save("a.tif", black), b = Save("b.tif", white);
    Tool("tiffcp " + Quoted(b) + " " + Quoted(a) + " " + Quoted(In("later.tif")));
    Tool("tiffcp " + Quoted(b) + " " + Quoted(b) + " " + Quoted(In("none.tif")));
    std::filesystem::create_directory(PathOf(In("out")));
    for (const bool changes : {true, false}) {
        const std::string input = In(changes ? "later.tif" : "none.tif");
        const Outcome one = Velmorant({"apply", "solarize", input, In("out.tif"), "--json"});
        EXPECT_EQ(one.errors.find("nothing has changed") == std::string::npos, changes) << one.errors;
        EXPECT_NE(one.output.find(changes ? "\"changed\": true" : "\"changed\": false"), std::string::npos);
        EXPECT_NE(one.output.find("\"pages\": 2"), std::string::npos) << one.output;
        const Outcome many = Velmorant({"batch", "solarize", input, "--output-folder", In("out"), "--report", "-"});
        EXPECT_EQ(many.errors.find("nothing has changed") == std::string::npos, changes) << many.errors;
        EXPECT_EQ(many.output.find("nothing has changed") == std::string::npos, changes) << many.output;
    }
}

// What tiffinfo says of one word's lines, one after the other.
std::string Info(const std::string &file, const std::string &word)
{
    std::string found;
    for (const std::string &line : Lines(Tool("tiffinfo " + Quoted(file))))
        if (line.find(word) != std::string::npos) found += line.substr(line.find_first_not_of(' ')) + ";";
    return found;
}

TEST_F(Kept, EveryTiffPageKeepsItsOwnPacking)
{
    const std::string colours = Save("c.tif", Sample(RGB)), bits = Save("b.tif", Sample(ONE_BIT));
    const std::string deflate = In("deflate.tif"), fax = In("fax.tif"), jpeg = In("jpeg.tif"), lzw = In("lzw.tif");
    Tool("tiffcp -c zip:2 -r 16 " + Quoted(colours) + " " + Quoted(deflate));
    Tool("tiffcp -c g4 " + Quoted(bits) + " " + Quoted(fax));
    Tool("tiffcp -c jpeg:60 " + Quoted(colours) + " " + Quoted(jpeg));
    Tool("tiffcp -c lzw:1 -r 8 " + Quoted(colours) + " " + Quoted(lzw));
    const std::string input = In("in.tif"), output = In("out.tif");
    Tool("tiffcp " + Quoted(deflate) + " " + Quoted(fax) + " " + Quoted(jpeg) + " " + Quoted(lzw) + " " +
         Quoted(input));
    const Outcome outcome = Mirror(input, output);
    EXPECT_EQ(outcome.errors, "");
    for (const char *word : {"Compression Scheme", "differencing", "Photometric", "Rows/Strip"})
        EXPECT_EQ(Info(output, word), Info(input, word)) << word;
    EXPECT_EQ(Info(output, "Compression Scheme"), "Compression Scheme: AdobeDeflate;Compression Scheme: CCITT Group 4;"
                                                  "Compression Scheme: JPEG;Compression Scheme: LZW;");
    Mirror(colours, In("alone.ppm"));   // unpacked by another program
    for (const char *page : {"0", "3"}) {
        Tool("tiffcp -c none " + Quoted(output + "," + page) + " " + Quoted(In("page.tif")));
        EXPECT_TRUE(SamePicture(Load(In("page.tif")), Load(In("alone.ppm")))) << page;
    }
}

TEST_F(Kept, DepthOfTiffPalettesAndGreysStays)
{
    const std::string sample = Quoted(Save("sample.png", Sample(RGB, 70, 30)));
    for (const int bits : {2, 4}) {
        const std::string depth = std::to_string(bits), colours = std::to_string((1 << bits) - 1);
        for (const bool grey : {true, false}) {
            const std::string plain = Quoted(In("plain.tif")), in = In("in.tif"), out = In("out.tif");
            const std::string made = grey ? " -colorspace gray -depth " + depth + " -type grayscale "
                                          : " -colors " + colours + " -type palette -depth " + depth + " ";
            Tool("convert " + sample + made + plain);
            for (const char *cut : {"-s", "-t -w 32 -l 16"}) {
                Tool(std::string("tiffcp -c lzw ") + cut + " " + plain + " " + Quoted(in));
                const std::string before = Tag(in, "BitsPerSample");
                EXPECT_EQ(Mirror(in, out).errors, "");
                EXPECT_EQ(Tag(out, "BitsPerSample"), before);
                const std::string both = Quoted(In("both.png"));
                Tool("convert " + Quoted(in) + " \\( +clone -flop \\) +append " + both);
                EXPECT_EQ(Tool("compare -metric AE " + both + " " + Quoted(out) + " null:"), "0") << depth << grey;
            }
            EXPECT_EQ(Tag(In("in.tif"), "BitsPerSample"), depth) << grey;
        }
    }
}

TEST_F(Kept, TiffTilesStayTiles)
{
    const std::string colours = Save("c.tif", Sample(RGB, 100, 70)), bits = Save("b.tif", Sample(ONE_BIT, 100, 70));
    const std::string input = In("in.tif"), output = In("out.tif");
    for (const std::string packing : {"none", "lzw:2", "zip:2", "packbits", "jpeg", "g4"}) {
        const std::string &from = packing == "g4" ? bits : colours;
        Tool("tiffcp -c " + packing + " -t -w 32 -l 16 " + Quoted(from) + " " + Quoted(input));
        EXPECT_EQ(Mirror(input, output).errors, "");
        for (const char *word : {"Tile Width", "Compression Scheme", "Predictor", "Photometric"})
            EXPECT_EQ(Info(output, word), Info(input, word)) << packing << word;
        EXPECT_EQ(Info(output, "Tile Width"), "Tile Width: 32 Tile Length: 16;") << packing;
        if (packing == "jpeg") continue;
        Mirror(from, In("plain.tif"));
        Tool("tiffcp -c none -s " + Quoted(output) + " " + Quoted(In("strips.tif")));   // put together by libtiff
        EXPECT_TRUE(SamePicture(Load(In("strips.tif")), Load(In("plain.tif")))) << packing;
        EXPECT_TRUE(SamePicture(Load(output), Load(In("plain.tif")))) << packing;
    }
}

TEST_F(Kept, AJpegWithinATiffFileKeepsTablesAndSampling)
{
    Picture picture = Sample(RGB, 100, 70);
    FileShape &shape = picture.extras.shape;
    shape.compression = 7;
    shape.rowsEach = 16;
    shape.tables = {std::vector<uint16_t>(64, 7), std::vector<uint16_t>(64, 9)};
    shape.channels = {{2, 1, 0}, {1, 1, 1}, {1, 1, 1}};
    const std::string input = Save("in.tif", picture), output = In("out.tif");
    const auto count = [](const std::string &file, const std::string &part) {
        const std::string bytes = BytesOf(file);
        size_t found = 0;
        for (size_t at = bytes.find(part); at != std::string::npos; at = bytes.find(part, at + 1)) ++found;
        return found;
    };
    EXPECT_EQ(Mirror(input, output).errors, "");
    for (const std::string &file : {input, output}) {
        EXPECT_EQ(Info(file, "Subsampling"), "YCbCr Subsampling: 2, 1;");
        EXPECT_EQ(Info(file, "Rows/Strip"), "Rows/Strip: 16;");
        EXPECT_EQ(count(file, std::string(64, 7)), 5u) << "one a strip";
        EXPECT_EQ(count(file, std::string(64, 9)), 5u);
    }
    // Other programs' pixels are ours.
    Tool("tiffcp -c none " + Quoted(output) + " " + Quoted(In("plain.tif")));
    Tool("tiff2rgba -c none " + Quoted(output) + " " + Quoted(In("rgba.tif")));
    const Picture seen = Load(In("rgba.tif")), own = Load(output);
    ASSERT_EQ(seen.width, own.width);
    for (int32_t y = 0; y < own.height; ++y)
        for (int32_t x = 0; x < own.width; ++x) ASSERT_EQ(PixelOf(seen, x, y), PixelOf(own, x, y)) << x << ", " << y;
    // Of libtiff's own, whose strips share their tables.
    Tool("tiffcp -c jpeg:35 " + Quoted(Save("c.tif", Sample(RGB))) + " " + Quoted(input));
    const Picture tables = Load(input);
    ASSERT_EQ(tables.extras.shape.tables.size(), 2u);
    Mirror(input, output);
    EXPECT_EQ(Load(output).extras.shape.tables, tables.extras.shape.tables);
    EXPECT_EQ(Info(output, "Subsampling"), "YCbCr Subsampling: 2, 2;");
    const std::string first(tables.extras.shape.tables[0].begin(), tables.extras.shape.tables[0].begin() + 1);
    EXPECT_GT(first[0], 20) << "quality 35 is coarse";
    EXPECT_EQ(Velmorant({"apply", "mirror", input, output, "--direction", "right", "--quality", "95"}).exitCode, 0);
    EXPECT_LT(Load(output).extras.shape.tables[0][0], 5);
}

TEST_F(Kept, TiffFieldsStayOrAreNamed)
{
    const std::string input = Save("in.tif", Sample(RGB)), output = In("out.tif");
    SetTags(input, "-IFD0:ProcessingSoftware=Acme -IFD0:DocumentName=Doc -IFD0:PageName=Four -IFD0:XPosition=3 "
                   "-IFD0:YPosition=4 -IFD0:TargetPrinter=Press '-IFD0:PageNumber=4 9' '-IFD0:WhitePoint=0.25 0.5' "
                   "'-IFD0:PrimaryChromaticities=0.5 0.25 0.25 0.5 0.125 0.0625'");
    const std::string tags =
        "IFD0:ProcessingSoftware -IFD0:DocumentName -IFD0:PageName -IFD0:XPosition -IFD0:YPosition "
        "-IFD0:TargetPrinter -IFD0:PageNumber -IFD0:WhitePoint -IFD0:PrimaryChromaticities";
    const std::string said = Tag(input, tags);
    ASSERT_EQ(Lines(said).size(), 9u) << said;
    for (const char *name : {"out.tif", "out.jpg", "out.png"}) {
        EXPECT_EQ(Mirror(input, In(name)).errors, "") << name;
        EXPECT_EQ(Tag(In(name), tags), said) << name;
    }
    Apply(input, output, {"--strip"});
    EXPECT_EQ(Tag(output, tags), Tag(input, "IFD0:WhitePoint -IFD0:PrimaryChromaticities")) << "which are colour";
    Apply(input, output, {"--strip=all"});
    EXPECT_EQ(Tag(output, tags), "");
    // What is not known is named, once for all pages.
    Tool("tiffset -s 263 1 " + Quoted(input));
    EXPECT_NE(Mirror(input, output).errors.find("fields that are not known here are left out: 263"), std::string::npos);
    // Numbers of pages follow the file.
    Tool("tiffcp " + Quoted(input) + " " + Quoted(input) + " " + Quoted(In("two.tif")));
    Mirror(In("two.tif"), output);
    EXPECT_EQ(Info(output, "Page Number"), "Page Number: 0-2;Page Number: 1-2;");
}

TEST_F(Kept, LabPicturesAreReadInTilesToo)
{
    const std::string strips = Save("strips.tif", Sample(RGB)), tiles = In("tiles.tif"), apart = In("apart.tif");
    Tool("tiffset -s 262 8 " + Quoted(strips));
    Tool("tiffcp -c lzw -t -w 32 -l 16 " + Quoted(strips) + " " + Quoted(tiles));
    const std::string told = "the file's colours are turned into 8-bit RGB";
    EXPECT_NE(Mirror(strips, In("1.ppm")).errors.find(told), std::string::npos);
    EXPECT_NE(Mirror(tiles, In("2.ppm")).errors.find(told), std::string::npos);
    EXPECT_EQ(BytesOf(In("1.ppm")), BytesOf(In("2.ppm")));
    Tool("tiffcp -p separate -t -w 32 -l 16 " + Quoted(strips) + " " + Quoted(apart));
    EXPECT_TRUE(Refused(Velmorant({"apply", "mirror", apart, In("x.ppm"), "--direction", "right"}), 1, apart,
                        "colours of the kind 8 with 3 samples of 8 bits, stored apart, are not known here"));
}

TEST_F(Kept, AJpegKeepsTablesSamplingPassesAndRestarts)
{
    Picture picture = Sample(RGB);
    FileShape &shape = picture.extras.shape;
    shape.tables = {std::vector<uint16_t>(64, 7), std::vector<uint16_t>(64, 9)};
    shape.channels = {{2, 1, 0}, {1, 1, 1}, {1, 1, 1}};
    shape.progressive = true;
    shape.restartInterval = 3;
    const std::string input = Save("in.jpg", picture);
    const auto tables = [](const std::string &file) {
        const std::string bytes = BytesOf(file);
        std::string found;
        for (size_t at = bytes.find("\xFF\xDB"); at != std::string::npos; at = bytes.find("\xFF\xDB", at + 1))
            found += bytes.substr(at, 69);
        return found;
    };
    Apply(input, In("out.jpg"));
    EXPECT_EQ(tables(In("out.jpg")), tables(input));
    EXPECT_NE(tables(input).find(std::string(64, 7)), std::string::npos);
    EXPECT_EQ(Tag(In("out.jpg"), "YCbCrSubSampling"), "2 1");
    EXPECT_EQ(Tag(In("out.jpg"), "EncodingProcess"), "2");   // progressive
    EXPECT_NE(BytesOf(In("out.jpg")).find(std::string("\xFF\xDD\x00\x04\x00\x03", 6)), std::string::npos);
    Apply(input, In("out.jpg"), {"--quality", "50", "--subsampling", "420", "--progressive=off"});
    EXPECT_NE(tables(In("out.jpg")), tables(input));
    EXPECT_EQ(Tag(In("out.jpg"), "YCbCrSubSampling"), "2 2");
    EXPECT_EQ(Tag(In("out.jpg"), "EncodingProcess"), "0");
    Apply(In("out.jpg"), In("again.jpg"), {"--progressive"});
    EXPECT_EQ(Tag(In("again.jpg"), "EncodingProcess"), "2");
}

#ifndef _WIN32
TEST_F(Kept, APngIsAsSmallAsItsCompressionSays)
{
    std::mt19937 generator(3);
    const std::string input = Save("in.ppm", NaturalPicture(RGB, 300, 200, generator));
    const auto size = [&](const std::vector<std::string> &options) {
        Apply(input, In("out.png"), options);
        return BytesOf(In("out.png")).size();
    };
    const size_t quick = size({"--compression", "1"}), small = size({"--compression", "9"});
    EXPECT_LT(small, quick);
    EXPECT_EQ(size({}), size({"--compression", "2"}));
}
#endif

//---- Other parts

// A chunk is put behind the header, with its checksum.
void AddPngChunk(std::string &file, const std::string &type, const std::string &contents)
{
    const std::string body = type + contents;
    uint32_t sum = ~0u;
    for (const char byte : body) {
        sum ^= uint8_t(byte);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0u);
    }
    sum = ~sum;
    std::string chunk;
    const auto add = [&chunk](uint32_t number) {
        for (int shift = 24; shift >= 0; shift -= 8) chunk += char(number >> shift);
    };
    add(uint32_t(contents.size()));
    chunk += body;
    add(sum);
    file.insert(8 + 25, chunk);
}

TEST_F(Kept, PngsOtherChunksStayOrAreNamed)
{
    std::string file = BytesOf(Save("plain.png", Halves(1, 2)));
    AddPngChunk(file, "oFFs", std::string("\0\0\0\7\0\0\0\x9\0", 9));
    AddPngChunk(file, "bKGD", std::string("\0\1\0\2\0\3", 6));
    AddPngChunk(file, "pHYs", std::string("\0\0\0\2\0\0\0\1\0", 9));
    AddPngChunk(file, "gAMA", std::string("\0\1\x86\xA0", 4));
    AddPngChunk(file, "sBIT", std::string("\x8\x8\x8", 3));   // says nothing
    const std::string usual = SaveText("usual.png", file);
    const Outcome kept = Velmorant({"apply", "solarize", usual, In("out.png")});
    EXPECT_EQ(kept.errors, "");
    const std::string said = Tool("pngcheck -v " + Quoted(In("out.png")));
    for (const char *line : {"7x9 pixels offset", "red = 0x0001, green = 0x0002, blue = 0x0003", "2x1 pixels/unit"})
        EXPECT_NE(said.find(line), std::string::npos) << line << "\n" << said;
    // These two are younger than the programs that look at files here.
    AddPngChunk(file, "mDCV", std::string(24, '\1'));
    AddPngChunk(file, "cICP", std::string("\x9\x10\0\1", 4));
    EXPECT_EQ(Velmorant({"apply", "solarize", SaveText("wide.png", file), In("wide-out.png")}).errors, "");
    for (const char *type : {"mDCV", "cICP"})
        EXPECT_NE(BytesOf(In("wide-out.png")).find(type), std::string::npos) << type;
    const Outcome other = Velmorant({"apply", "solarize", usual, In("out.jpg")});
    EXPECT_NE(
        other.errors.find("the meaning of its colours, the background colour and the place on a page are not stored"),
        std::string::npos)
        << other.errors;
    EXPECT_EQ(Tag(In("out.jpg"), "JFIF:XResolution"), "2");
    EXPECT_EQ(Tag(In("out.jpg"), "JFIF:ResolutionUnit"), "0");
    // What was true of the pixels as they were, or is not known.
    file = BytesOf(In("plain.png"));
    AddPngChunk(file, "sBIT", std::string("\5\6\5", 3));
    AddPngChunk(file, "cLLI", std::string(8, '\1'));
    AddPngChunk(file, "sPLT", std::string("name\0\x8\1\2\3\4\0\5", 12));
    AddPngChunk(file, "abCd", "?");
    AddPngChunk(file, "pHYs", std::string("\0\0\0\2\0\0\0\1\7", 9));
    const Outcome told = Velmorant({"apply", "solarize", SaveText("told.png", file), In("out.png")});
    EXPECT_EQ(Lines(told.errors).size(), 1u);
    EXPECT_NE(told.errors.find("are left out: pHYs, abCd, sPLT, cLLI, sBIT"), std::string::npos) << told.errors;
    EXPECT_NE(Tool("pngcheck " + Quoted(In("out.png"))).find("OK"), std::string::npos);
}

TEST_F(Kept, ABackgroundFollowsTheDepthOfItsFile)
{
    Picture palette = Palette({0x102030, 0xFF0000, 0x00FF00}, {{0, 1}, {2, 0}});
    palette.extras.shape.bits = 2;
    palette.extras.background = {2};
    const std::string input = Save("palette.png", palette);
    EXPECT_NE(Tool("pngcheck -v " + Quoted(input)).find("index = 2"), std::string::npos);
    Mirror(input, In("out.png"));
    EXPECT_NE(Tool("pngcheck -v " + Quoted(In("out.png"))).find("index = 2"), std::string::npos);
    Picture grey = Grey({{0, 85, 170, 255}});
    grey.extras.shape.bits = 16;
    grey.extras.background = {0x80, 0x80};
    EXPECT_NE(Tool("pngcheck -v " + Quoted(Save("grey.png", grey))).find("gray = 0x0080"), std::string::npos);
    grey.extras.shape.bits = 2;
    grey.extras.background = {0, 2};
    EXPECT_NE(Tool("pngcheck -v " + Quoted(Save("grey.png", grey))).find("gray = 0x0002"), std::string::npos);
    grey.extras.background = {0, 0, 0, 0, 0, 0};   // of colours
    EXPECT_EQ(WriteTo(In("grey.png"), grey).notices,
              std::vector<std::string>{"the background colour is not stored: it is one for another kind of samples"});
}

TEST_F(Kept, AProfileIsNotStoredWithPixelsOfTheOtherKind)
{
    const auto profile = [](const char *space) {
        std::vector<uint8_t> bytes(152, 0);
        bytes[3] = 152;
        bytes[131] = 1;   // one part, of 8 bytes
        std::copy_n("cprt\0\0\0\x90\0\0\0\x8", 12, bytes.begin() + 132);
        std::copy_n("text", 4, bytes.begin() + 144);
        std::copy_n("mntr", 4, bytes.begin() + 12);
        std::copy_n(space, 4, bytes.begin() + 16);
        std::copy_n("acsp", 4, bytes.begin() + 36);
        return bytes;
    };
    Picture grey = Grey({{1, 2}});
    grey.extras.colourProfile = profile("GRAY");
    EXPECT_EQ(Tag(Save("grey.jpg", grey), "ICC_Profile:ColorSpaceData"), "GRAY");
    for (const char *name : {"grey.webp", "grey.gif", "grey.bmp"}) {
        const Outcome outcome = Velmorant({"apply", "solarize", In("grey.jpg"), In(name)});
        EXPECT_NE(outcome.errors.find("it is one for grey, and such a file holds colours"), std::string::npos) << name;
        EXPECT_TRUE(Load(In(name)).extras.colourProfile.empty()) << name;
    }
    EXPECT_EQ(Tag(In("grey.webp"), "ICC_Profile:ColorSpaceData"), "");
    grey.extras.colourProfile = profile("RGB ");
    for (const char *name : {"colours.jpg", "colours.tif", "colours.png"}) {
        EXPECT_EQ(WriteTo(In(name), grey).notices,
                  std::vector<std::string>{"the colour profile is not stored: it is one for"
                                           " colours, and the file is grey"});
    }
}

TEST_F(Kept, GifsOtherBlocksStayOrAreNamed)
{
    Picture picture = Palette({0x102030, 0xFF0000, 0x00FF00}, {{0, 1, 2}, {2, 1, 0}});
    picture.extras.shape.backgroundIndex = 2;
    picture.extras.aspectX = 64;
    picture.extras.aspectY = 32;
    picture.extras.colourProfile.assign(600, 7);
    const std::string plain = Save("plain.gif", picture);
    std::string bytes = BytesOf(plain);
    ASSERT_EQ(bytes.substr(0, 6), "GIF89a");
    const size_t blocks = 13 + 3 * 4;   // behind the palette
    bytes.insert(blocks, std::string("!\xFF\x0BMYPROGRAM10\3abc\0", 19) + std::string("!\xFE\5hello\0", 9) +
                             std::string("!\1\xC\0\0\0\0\1\0\1\0\1\1\0\1\1x\0", 18));
    const std::string input = SaveText("in.gif", bytes);
    const Outcome outcome = Mirror(input, In("out.gif"));
    EXPECT_NE(outcome.errors.find("are left out: MYPROGRAM10, text that is drawn"), std::string::npos)
        << outcome.errors;
    const std::string said = Tool("gifsicle --info " + Quoted(In("out.gif")));
    EXPECT_NE(said.find("background 2"), std::string::npos) << said;
    EXPECT_NE(said.find("comment hello"), std::string::npos) << said;
    EXPECT_EQ(Tag(In("out.gif"), "GIF:PixelAspectRatio"), "0.5");
    EXPECT_EQ(Load(In("out.gif")).extras.colourProfile, picture.extras.colourProfile);
    // Interlaced frames stay so when an effect has changed them.
    Tool("gifsicle --interlace " + Quoted(plain) + " -o " + Quoted(In("laced.gif")));
    Mirror(In("laced.gif"), In("out.gif"));
    EXPECT_NE(Tool("gifsicle --info " + Quoted(In("out.gif"))).find("interlaced"), std::string::npos);
    EXPECT_EQ(WriteTo(In("long.gif"),
                      [&] {
                          picture.extras.aspectY = 640;
                          return CopyOf(picture);
                      }())
                  .notices,
              std::vector<std::string>{"the shape of its pixels is not stored: GIF has none that is so long"});
}

TEST_F(Kept, OptionsThatSayNothingOfAFormatAreTold)
{
    const std::string input = Save("in.ppm", Sample(RGB));
    const auto told = [&](const char *output, const std::vector<std::string> &options) {
        std::vector<std::string> words = {"apply", "solarize", input, In(output)};
        words.insert(words.end(), options.begin(), options.end());
        const std::string errors = Velmorant(words).errors, head = "velmorant: " + In(output) + ": ";
        return errors.starts_with(head) ? errors.substr(head.size()) : errors;
    };
    EXPECT_EQ(told("a.png", {"--quality", "50"}), "--quality is of JPEG and WebP outputs, and this is a png one\n");
    EXPECT_EQ(told("a.png", {"--subsampling", "420"}), "--subsampling is of JPEG outputs, and this is a png one\n");
    EXPECT_EQ(told("a.jpg", {"--compression", "5"}), "--compression is of PNG outputs, and this is a jpeg one\n");
    EXPECT_EQ(told("a.webp", {"--progressive"}), "--progressive is of JPEG outputs, and this is a webp one\n");
    for (const char *option : {"--quality", "--subsampling"})
        EXPECT_EQ(told("a.jpg", {option, option[2] == 'q' ? "50" : "420"}), "") << option;
    EXPECT_EQ(told("a.webp", {"--quality", "50"}), "");
}

//---- Depth

TEST_F(Kept, AFileOf16BitsIsNotReplacedUnlessThatIsAskedFor)
{
    std::string wide = "P5 2 2 65535\n";
    wide += std::string("\x12\x34\xFF\xFF\x00\x01\x80\x00", 8);
    const std::string input = SaveText("wide.pgm", wide);
    EXPECT_TRUE(
        Refused(Velmorant({"apply", "solarize", input, input, "--quiet"}), 1, input, "--reduce-depth allows it"));
    EXPECT_EQ(BytesOf(input), wide);
    Apply(input, In("other.pgm"));
    Apply(input, input, {"--reduce-depth"});
    EXPECT_NE(BytesOf(input), wide);
}

#ifndef _WIN32
TEST_F(Kept, NeitherIsItThroughStandardOutput)
{
    std::string wide = "P5 2 2 65535\n";
    wide += std::string("\x12\x34\xFF\xFF\x00\x01\x80\x00", 8);
    const std::string input = Quoted(SaveText("wide.pgm", wide)), program = Quoted(VELMORANT_PROGRAM);
    for (const std::string &line :
         {" apply solarize " + input + " - 1<>" + input, " apply solarize - - <" + input + " 1<>" + input,
          " apply solarize " + input + " /dev/fd/3 3<>" + input}) {
        const std::string said =
            Tool("! " + program + line + " 2>" + Quoted(In("said")) + "; cat " + Quoted(In("said")));
        EXPECT_NE(said.find("--reduce-depth allows it"), std::string::npos) << line << said;
        EXPECT_EQ(BytesOf(In("wide.pgm")), wide) << line;
    }
    Tool(program + " apply solarize " + input + " - --quiet >" + Quoted(In("other.pgm")) + "; true");
    EXPECT_EQ(BytesOf(In("other.pgm")).substr(0, 2), "P5");
}
#endif

//---- Pipes

TEST_F(Kept, OnlyWhatLosesIsToldToLoseOnceMore)
{
    const std::string a = Save("a.tif", Sample(RGB)), png = Save("a.png", Sample(RGB));
    Tool("tiffcp -c jpeg " + Quoted(a) + " " + Quoted(In("jpeg.tif")));
    Tool("cwebp -quiet -lossless " + Quoted(png) + " -o " + Quoted(In("whole.webp")));
    Tool("cwebp -quiet -q 60 " + Quoted(png) + " -o " + Quoted(In("lossy.webp")));
    for (const auto &[name, loses] : std::vector<std::pair<std::string, bool>>{
             {"a.tif", false}, {"jpeg.tif", true}, {"whole.webp", false}, {"lossy.webp", true}}) {
        const Outcome outcome = Velmorant({"apply", "solarize", In(name), "-"});
        EXPECT_EQ(outcome.errors.find("loses a little once more") != std::string::npos, loses)
            << name << ": " << outcome.errors;
        EXPECT_EQ(Velmorant({"apply", "solarize", In(name), "-", "--format", "webp"}).errors, "") << name;
    }
}

TEST_F(Kept, StreamsTakeAFormatAndOtherNamesForThemDoToo)
{
    const std::string input = Save("in.ppm", Sample(RGB));
    const std::string bytes = BytesOf(input);
    const std::string png = Velmorant({"apply", "solarize", "-", "-", "--format", "png"}, bytes).output;
    EXPECT_EQ(png.substr(0, 4), "\x89PNG");
    const std::string plain = Velmorant({"apply", "solarize", "-", "-"}, bytes).output;
    EXPECT_EQ(plain.substr(0, 2), "P6");
    EXPECT_EQ(Velmorant({"apply", "solarize", "-", "/dev/stdout"}, bytes).output, plain);
    EXPECT_EQ(Velmorant({"apply", "solarize", "/dev/stdin", "/dev/fd/1"}, bytes).output, plain);
    Picture seen = Sample(RGB);
    AddMask(seen, 8);
    const std::string pam = BytesOf(Save("in.pam", seen));
    EXPECT_EQ(Velmorant({"apply", "solarize", "-", "-"}, pam).output.substr(0, 2), "P7") << "a kind of its own";
    EXPECT_EQ(Velmorant({"apply", "solarize", "-", "-", "--format", "pam"}, bytes).output.substr(0, 2), "P7");
    EXPECT_EQ(Velmorant({"apply", "solarize", "-", "-", "--format", "ppm"}, pam).output.substr(0, 2), "P6");
    const std::string name = SaveText("in.jpg", "");
    Velmorant({"apply", "solarize", input, name});
    const Outcome again = Velmorant({"apply", "solarize", name, "-"});
    EXPECT_NE(again.errors.find("loses a little once more"), std::string::npos) << again.errors;
    EXPECT_TRUE(Refused(Velmorant({"apply", "solarize", "-", "-", "--format", "xyz"}, bytes), 1, "--format", "xyz"));
    // A file behind a number is written to, not replaced.
    Tool(std::string(VELMORANT_PROGRAM) + " apply solarize " + Quoted(input) + " /dev/fd/3 3> " +
         Quoted(In("through.ppm")));
    EXPECT_EQ(BytesOf(In("through.ppm")), plain);
}
