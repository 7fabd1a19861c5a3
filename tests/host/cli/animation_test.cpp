// Animations, in and out: made and looked at by other programs (gifsicle, libwebp's own).

#include "tests/host/cli/workplace.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace
{

std::string Quoted(const std::string &word) { return "'" + word + "'"; }

std::string Tool(const std::string &line)
{
    FILE *pipe = popen((line + " 2>&1").c_str(), "r");
    std::string said;
    std::array<char, 4096> part;
    while (pipe && fgets(part.data(), int(part.size()), pipe)) said += part.data();
    EXPECT_TRUE(pipe && pclose(pipe) == 0) << line << "\n" << said;
    return said;
}

// One colour and a spot of another at x.
Picture Spot(uint32_t ground, uint32_t spot, int32_t x)
{
    Picture picture = NewPicture(PALETTE, 24, 16);
    picture.paletteEntries = 2;
    for (int i = 0; i < 2; ++i) {
        const uint32_t colour = i ? spot : ground;
        picture.red[i] = uint8_t(colour >> 16), picture.green[i] = uint8_t(colour >> 8),
        picture.blue[i] = uint8_t(colour);
    }
    for (int32_t y = 4; y < 8; ++y)
        for (int32_t i = x; i < x + 4; ++i) picture.pixels[size_t(24 * y + i)] = 1;
    return picture;
}

class Animation : public Workplace
{
protected:
    // Three frames that gifsicle has made small: parts of the screen, a shared palette, delays, loops.
    std::string Gif()
    {
        Save("a.gif", Spot(0x102030, 0xFF0000, 2));
        Save("b.gif", Spot(0x102030, 0xFF0000, 8));
        Save("c.gif", Spot(0x102030, 0x00FF00, 14));
        Tool("cd " + Quoted(folder) + " && gifsicle -O2 -l3 -d7 a.gif -d20 b.gif -d5 c.gif > in.gif");
        return In("in.gif");
    }
    // What gifsicle tells of a file, without its name.
    std::string Info(const std::string &name)
    {
        std::string text = Tool("cd " + Quoted(folder) + " && gifsicle --info " + name);
        return text.substr(text.find('\n'));
    }
    // Every frame as it is seen, as text.
    std::string Seen(const std::string &name)
    {
        return Tool("cd " + Quoted(folder) + " && gifsicle --unoptimize " + name +
                    " > seen.gif && gifsicle --info --color-info seen.gif | tail -n +2");
    }
};

}   // namespace

TEST_F(Animation, AGifThatNothingChangesComesBackAsItWas)
{
    const std::string input = Gif();
    const Outcome outcome =
        Velmorant({"apply", "mirror", input, In("once.gif"), "--scope", "6940"});   // changes nothing
    ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_EQ(Info("once.gif"), Info("in.gif"));
    EXPECT_EQ(Seen("once.gif"), Seen("in.gif"));
    EXPECT_NE(Info("in.gif").find("loop count 3"), std::string::npos) << Info("in.gif");
}

TEST_F(Animation, EffectsWorkOnEveryFrameAsItIsSeen)
{
    const std::string input = Gif();
    const Outcome outcome = Velmorant({"apply", "mirror", input, In("out.gif"), "--direction", "right"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    const std::string info = Info("out.gif");
    for (const char *part : {"loop count 3", "delay 0.07s", "delay 0.20s", "delay 0.05s"}) {
        EXPECT_NE(info.find(part), std::string::npos) << part << info;
    }
    for (int frame = 1; frame <= 3; ++frame) {
        const std::string number = std::to_string(frame), one = In("one" + number + ".png");
        EXPECT_TRUE(
            WentWell(Velmorant({"apply", "mirror", input, one, "--direction", "right", "--page", number, "--quiet"})));
        Tool("cd " + Quoted(folder) + " && gifsicle --unoptimize out.gif '#" + std::to_string(frame - 1) +
             "' -o f.gif");
        const Picture seen = Load(In("f.gif")), expected = Load(one);
        ASSERT_EQ(seen.width, expected.width);
        for (int32_t x : {3, 9, 15, 20, 40}) {
            const auto colour = [x](const Picture &picture) {
                const uint32_t index = PixelOf(picture, x, 5);
                return picture.red[index] << 16 | picture.green[index] << 8 | picture.blue[index];
            };
            EXPECT_EQ(colour(seen), colour(expected)) << frame << ", " << x;
        }
    }
}

TEST_F(Animation, WorkOnOneFrameLeavesTheOthersAsTheyAreSeen)
{
    const std::string input = Gif();
    EXPECT_TRUE(WentWell(Velmorant({"apply", "melt", input, In("out.gif"), "--seed", "1", "--page", "2"})));
    EXPECT_NE(Info("out.gif").find("image #2"), std::string::npos);
    for (const int frame : {0, 1, 2}) {
        const auto seen = [&](const std::string &name) {
            Tool("cd " + Quoted(folder) + " && gifsicle --unoptimize " + name + " '#" + std::to_string(frame) +
                 "' -o f.gif");
            const Picture picture = Load(In("f.gif"));
            std::vector<uint32_t> colours;
            for (int32_t i = 0; i < picture.width * picture.height; ++i) {
                const uint32_t index = PixelOf(picture, i % picture.width, i / picture.width);
                colours.push_back(uint32_t(picture.red[index] << 16 | picture.green[index] << 8 | picture.blue[index]));
            }
            return colours;
        };
        EXPECT_EQ(seen("out.gif") == seen("in.gif"), frame != 1) << frame;
    }
}

TEST_F(Animation, AStillGifKeepsPaletteAndTransparency)
{
    Picture picture = Spot(0x102030, 0xFF0000, 2);
    AddMask(picture, 1);
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 12; ++x) SetBit(picture.mask.get() + RowStride(1, 24) * y, x, 1);
    const Picture back = Load(Save("a.gif", picture));
    ASSERT_EQ(back.colourType, PALETTE);
    ASSERT_TRUE(back.mask);
    EXPECT_EQ(BitAt(back.mask.get(), 11), 1);
    EXPECT_EQ(BitAt(back.mask.get(), 12), 0);
    EXPECT_NE(Info("a.gif").find("transparent"), std::string::npos);
}

TEST_F(Animation, WebPKeepsLosslessLossAndAlpha)
{
    Picture picture = Sample(RGB);
    AddMask(picture, 8);
    for (int32_t i = 0; i < 64; ++i) picture.mask[size_t(i)] = uint8_t(4 * i);
    const std::string input = Save("in.webp", picture);
    EXPECT_TRUE(SamePicture(Load(input), picture));
    EXPECT_NE(Tool("webpinfo " + Quoted(input)).find("Lossless"), std::string::npos);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", input, In("lossy.webp"), "--quality", "80"})));
    EXPECT_NE(Tool("webpinfo " + Quoted(In("lossy.webp"))).find("Lossy"), std::string::npos);
    EXPECT_TRUE(WentWell(Velmorant({"apply", "solarize", In("lossy.webp"), In("again.webp")})));
    EXPECT_NE(Tool("webpinfo " + Quoted(In("again.webp"))).find("Lossy"), std::string::npos);
}

TEST_F(Animation, AWebPOfFramesKeepsDelaysAndLoops)
{
    const std::string input = Gif();
    const Outcome made = Velmorant({"apply", "mirror", input, In("in.webp"), "--direction", "right"});
    ASSERT_EQ(made.exitCode, 0) << made.errors;
    const Outcome outcome = Velmorant({"apply", "mirror", In("in.webp"), In("out.webp"), "--direction", "right"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
    const std::string info = Tool("webpmux -info " + Quoted(In("out.webp")));
    EXPECT_NE(info.find("Number of frames: 3"), std::string::npos) << info;
    EXPECT_NE(info.find("Loop Count : 3"), std::string::npos) << info;
    for (const char *delay : {" 70 ", " 200 ", " 50 "}) EXPECT_NE(info.find(delay), std::string::npos) << delay << info;
}

TEST_F(Animation, FramesOfASheetAreOneOnWhichEveryoneAgrees)
{
    const std::string input = Save("in.png", Sample(GREY, 24, 16));
    EXPECT_TRUE(Velmorant({"sheet", "wave", input, "--frames", In("out.gif"), "--phase", "0..300", "--count", "6",
                           "--delay", "120"})
                    .exitCode == 0);
    const std::string info = Info("out.gif");
    EXPECT_NE(info.find("image #5"), std::string::npos) << info;
    EXPECT_EQ(info.find("image #6"), std::string::npos) << info;
    EXPECT_NE(info.find("loop forever"), std::string::npos) << info;
    EXPECT_NE(info.find("delay 0.12s"), std::string::npos) << info;
    // Those of an animated input keep their own time.
    EXPECT_TRUE(Velmorant({"sheet", "wave", Gif(), "--frames", In("own.gif"), "--phase", "0,90,180"}).exitCode == 0);
    const std::string own = Info("own.gif");
    for (const char *delay : {"delay 0.07s", "delay 0.20s", "delay 0.05s"})
        EXPECT_NE(own.find(delay), std::string::npos) << own;
}

TEST_F(Animation, ATiffFilesPagesHaveNoTimesWhichIsToldOnce)
{
    const Outcome outcome = Velmorant({"apply", "mirror", Gif(), In("out.tif"), "--direction", "right"});
    EXPECT_EQ(outcome.exitCode, 0);
    const std::vector<std::string> lines = Lines(outcome.errors);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string &line) { return line.find("frames are shown") != line.npos; }),
              1)
        << outcome.errors;
    for (const std::string &line : lines) EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
    EXPECT_EQ(Tool("tiffinfo " + Quoted(In("out.tif")) + " | grep -c 'Image Width'"), "3\n");
}

TEST_F(Animation, WhatAGifShowsAndHidesGoesIntoPngPalettesAndBack)
{
    Tool("convert -size 20x10 xc:none +antialias -fill red -draw 'rectangle 0,0 9,9' " + Quoted(In("in.gif")));
    const auto mirror = [this](const std::string &from, const std::string &to) {
        const Outcome outcome = Velmorant({"apply", "mirror", In(from), In(to), "--direction", "right"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        return outcome.errors;
    };
    EXPECT_EQ(mirror("in.gif", "out.png"), "");
    EXPECT_NE(Tool("pngcheck " + Quoted(In("out.png"))).find("palette+trns"), std::string::npos);
    EXPECT_EQ(mirror("out.png", "back.gif"), "");
    for (const char *name : {"out.png", "back.gif"}) {
        const std::string seen =
            Tool("convert " + Quoted(In(name)) + " -format '%[pixel:p{2,2}] %[pixel:p{15,5}]' info:");
        EXPECT_NE(seen.find("srgba(255,0,0,1) srgba("), std::string::npos) << name << ": " << seen;
        EXPECT_EQ(seen.substr(seen.size() - 3), ",0)") << name << ": " << seen;
    }
}
