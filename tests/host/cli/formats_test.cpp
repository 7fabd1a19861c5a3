// docs/formats.md: every cell of its table is tried, and what is neither kept nor told fails.

#include "tests/host/cli/workplace.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

namespace
{

struct Trial {
    Picture picture;
    std::vector<Picture> further = {};
    FileFormat format = FileFormat::UNKNOWN;
    std::vector<std::string> notices = {};   // of writing
};

bool SamePixels(const Picture &one, const Picture &other)
{
    if (one.width != other.width || one.height != other.height) return false;
    for (int32_t y = 0; y < one.height; ++y)
        for (int32_t x = 0; x < one.width; ++x)
            if (PixelOf(one, x, y) != PixelOf(other, x, y)) return false;
    return true;
}

Picture Small(int32_t type) { return Sample(type, 8, 6); }

int OpacityOf(const Picture &picture, int32_t x, int32_t y)
{
    const std::vector<uint8_t> &ofEntry = picture.extras.paletteAlpha;
    const size_t stride = size_t(RowStride(picture.mask ? picture.maskBitsPerPixel : 8, picture.width)) * size_t(y);
    if (picture.mask && picture.maskBitsPerPixel == 1)
        return picture.mask[stride + size_t(x) / 8] >> (7 - x % 8) & 1 ? 255 : 0;
    if (picture.mask) return picture.mask[stride + size_t(x)];
    if (picture.colourType != PALETTE) return 255;
    const uint8_t index = picture.pixels[stride + size_t(x)];
    return index < ofEntry.size() ? ofEntry[index] : 255;
}

bool SameOpacity(const Picture &one, const Picture &other)
{
    for (int32_t y = 0; y < one.height; ++y)
        for (int32_t x = 0; x < one.width; ++x)
            if (OpacityOf(one, x, y) != OpacityOf(other, x, y)) return false;
    return true;
}

// What is tried: how a picture gets it, and whether it is there after a way through a file.
struct Feature {
    const char *name;
    std::function<void(Trial &)> give;
    std::function<bool(const Trial &before, const Trial &after)> kept;
};

std::vector<Feature> Features()
{
    const auto type = [](int32_t colourType) {
        return [colourType](Trial &trial) { trial.picture = Small(colourType); };
    };
    const auto same = [](const Trial &before, const Trial &after) {
        return after.picture.colourType == before.picture.colourType && SamePixels(before.picture, after.picture);
    };
    const std::string xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF/></x:xmpmeta>";
    return {
        {"1-bit", type(ONE_BIT), same},
        {"palette", type(PALETTE), same},
        {"grey", type(GREY), same},
        {"RGB", type(RGB), same},
        {"mask",
         [](Trial &trial) {
             AddMask(trial.picture, 8);
             trial.picture.mask[3] = 200;
         },
         [](const Trial &, const Trial &after) { return after.picture.mask && after.picture.mask[3] == 200; }},
        {"mask of a palette",
         [](Trial &trial) {
             trial.picture = Small(PALETTE);
             AddMask(trial.picture, 1);
             trial.picture.mask[5] = 0xA5;
         },
         [](const Trial &before, const Trial &after) { return SameOpacity(before.picture, after.picture); }},
        {"alpha of a palette",
         [](Trial &trial) {
             trial.picture = Small(PALETTE);
             trial.picture.extras.paletteAlpha = {255, 0};
             trial.picture.pixels[3] = 1;
         },
         [](const Trial &before, const Trial &after) { return SameOpacity(before.picture, after.picture); }},
        {"profile",
         [](Trial &trial) {
             std::vector<uint8_t> &profile = trial.picture.extras.colourProfile;
             profile.assign(152, 0);
             profile[3] = 152;
             std::copy_n("mntrRGB ", 8, profile.begin() + 12);
             std::copy_n("acsp", 4, profile.begin() + 36);
         },
         [](const Trial &before, const Trial &after) {
             return after.picture.extras.colourProfile == before.picture.extras.colourProfile;
         }},
        {"profile of grey",
         [](Trial &trial) {
             trial.picture = Small(GREY);
             std::vector<uint8_t> &profile = trial.picture.extras.colourProfile;
             profile.assign(152, 0);
             profile[3] = 152;
             std::copy_n("mntrGRAY", 8, profile.begin() + 12);
             std::copy_n("acsp", 4, profile.begin() + 36);
         },
         [](const Trial &before, const Trial &after) {
             return after.picture.extras.colourProfile == before.picture.extras.colourProfile;
         }},
        {"meaning of colours",
         [](Trial &trial) {
             trial.picture.extras.colourChunks = {{'g', 'A', 'M', 'A', 0, 1, 0x86, 0xA0}};
         },
         [](const Trial &before, const Trial &after) {
             return after.picture.extras.colourChunks == before.picture.extras.colourChunks;
         }},
        {"resolution",
         [](Trial &trial) { trial.picture.extras.dotsPerInchX = trial.picture.extras.dotsPerInchY = 300; },
         [](const Trial &, const Trial &after) { return std::abs(after.picture.extras.dotsPerInchX - 300) < 1; }},
        {"pixels not square",
         [](Trial &trial) {
             trial.picture.extras.aspectX = 2;
             trial.picture.extras.aspectY = 1;
         },
         [](const Trial &, const Trial &after) {
             return after.picture.extras.aspectX > 0 &&
                    after.picture.extras.aspectX / 2.0 == after.picture.extras.aspectY;
         }},
        {"background",
         [](Trial &trial) {
             trial.picture = Small(RGB);
             trial.picture.extras.background = {0, 1, 0, 2, 0, 3};
         },
         [](const Trial &before, const Trial &after) {
             return after.picture.extras.background == before.picture.extras.background;
         }},
        {"EXIF",
         [](Trial &trial) {
             trial.picture.extras.exif = {'I', 'I', '*', 0, 8, 0,   0,   0,   1, 0, 0x0F, 1, 2,
                                          0,   4,   0,   0, 0, 'M', 'e', '!', 0, 0, 0,    0, 0};
         },
         [](const Trial &, const Trial &after) {
             const std::string bytes(after.picture.extras.exif.begin(), after.picture.extras.exif.end());
             return bytes.find("Me!") != std::string::npos;
         }},
        {"XMP", [xmp](Trial &trial) { trial.picture.extras.xmp.assign(xmp.begin(), xmp.end()); },
         [](const Trial &before, const Trial &after) { return after.picture.extras.xmp == before.picture.extras.xmp; }},
        {"IPTC", [](Trial &trial) { trial.picture.extras.iptc = {0x1C, 2, 25, 0, 3, 'd', 'o', 'g'}; },
         [](const Trial &before, const Trial &after) {
             return after.picture.extras.iptc == before.picture.extras.iptc;
         }},
        {"comment",
         [](Trial &trial) {
             trial.picture.extras.texts = {{"Comment", "hello"}};
         },
         [](const Trial &, const Trial &after) {
             return after.picture.extras.texts.size() == 1 && after.picture.extras.texts[0].text == "hello";
         }},
        {"other texts",
         [](Trial &trial) {
             trial.picture.extras.texts = {{"Title", "hello"}};
         },
         [](const Trial &, const Trial &after) {
             return after.picture.extras.texts.size() == 1 && after.picture.extras.texts[0].name == "Title";
         }},
        {"pages", [](Trial &trial) { trial.further.push_back(Sample(RGB, 8, 6)); },
         [](const Trial &, const Trial &after) { return after.further.size() == 1; }},
    };
}

class Formats : public Workplace
{
protected:
    std::string CellOf(const Feature &feature, const std::string &ending)
    {
        Trial before = {ending == "gif" ? TwoColours() : Halves()}, after = {NewPicture(RGB, 1, 1)};
        feature.give(before);
        const std::string name = In("trial." + ending);
        std::string error;
        SaveOptions options;
        options.further = &before.further;
        ReadOptions reading;
        reading.further = &after.further;
        std::vector<std::string> ignored;
        if (!WritePicture(name, before.picture, FormatOfName(name), options, before.notices, error)) return error;
        if (!ReadPicture(name, after.picture, after.format, ignored, error, reading)) return error;
        if (feature.kept(before, after)) return before.notices.empty() ? "kept" : "kept, and told";
        if (!before.notices.empty()) return "told";
        const bool near = after.picture.colourType == before.picture.colourType && ending == "jpg";
        return near ? "near" : "LOST";
    }
    // As GIF holds it.
    static Picture TwoColours()
    {
        Picture picture = NewPicture(PALETTE, 8, 6);
        picture.paletteEntries = 2;
        picture.red[1] = 200;
        picture.pixels[3] = 1;
        return picture;
    }
    static Picture Halves()
    {
        Picture picture = NewPicture(RGB, 8, 6);
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 24; ++x) picture.pixels[size_t(24 * y + x)] = uint8_t(x < 12 ? 200 : 10);
        return picture;
    }
};

}   // namespace

TEST_F(Formats, EveryCellOfThePageIsAsItSays)
{
    const std::vector<std::pair<std::string, std::string>> formats = {{"PNG", "png"}, {"JPEG", "jpg"},  {"TIFF", "tif"},
                                                                      {"GIF", "gif"}, {"WebP", "webp"}, {"BMP", "bmp"},
                                                                      {"PNM", "ppm"}, {"PAM", "pam"}};
    std::ifstream page(DOCUMENTS_FOLDER "/formats.md");
    std::ostringstream text;
    text << page.rdbuf();
    std::string header = "| |", rule = "|---|", table;
    for (const auto &[name, ending] : formats) {
        header += " " + name + " |";
        rule += "---|";
    }
    for (const Feature &feature : Features()) {
        table += std::string("| ") + feature.name + " |";
        for (const auto &[name, ending] : formats) {
            const std::string cell = CellOf(feature, ending);
            EXPECT_NE(cell, "LOST") << feature.name << " in " << name;
            table += " " + cell + " |";
        }
        table += "\n";
    }
    EXPECT_NE(text.str().find(header + "\n" + rule + "\n" + table), std::string::npos) << "the table would be\n"
                                                                                       << header << "\n"
                                                                                       << rule << "\n"
                                                                                       << table;
}
