// Floating objects, selected areas and scopes on the command line, and the two effects that change a picture's size.

#include "tests/host/cli/workplace.h"
#include "tests/reference/reference.h"

#include <filesystem>

namespace
{

enum { BELOW_THRESHOLD = 1270 };

class Scopes : public Workplace
{
protected:
    // What an effect makes of a picture; it has to go well.
    Picture Applied(std::vector<std::string> options, const Picture &picture)
    {
        options.insert(options.begin() + 1, {Save("in.png", picture), In("out.png")});
        options.insert(options.begin(), "apply");
        EXPECT_TRUE(WentWell(Velmorant(options)));
        return Load(In("out.png"));
    }
};

Picture Negative(Picture picture)
{
    ReferenceSolarize(picture, 255, BELOW_THRESHOLD);
    return picture;
}

const std::vector<std::string> NEGATIVE = {"solarize", "--threshold", "255", "--solarize-mode", "constant"};

std::vector<std::string> NegativeWith(const std::vector<std::string> &more)
{
    std::vector<std::string> options = NEGATIVE;
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

// The picture with the part from (left, top) on taken from another of its size.
Picture WithPart(const Picture &picture, const Picture &other, int left, int top, int width, int height)
{
    Raster pixels = RasterOfPixels(picture), changed = RasterOfPixels(other);
    for (int y = top; y < top + height; ++y)
        for (int x = left; x < left + width; ++x)
            if (Inside(pixels, x, y)) Set(pixels, x, y, Get(changed, x, y));
    Picture result = CopyOf(picture);
    StorePixels(result, pixels);
    return result;
}

// Both are grey or RGB, of one type; the object has a mask of 8 bits.
Picture Pasted(const Picture &picture, const Picture &object, int left, int top)
{
    Raster pixels = RasterOfPixels(picture), own = RasterOfPixels(object), mask = RasterOfMask(object);
    for (int y = 0; y < own.height; ++y) {
        for (int x = 0; x < own.width; ++x) {
            if (!Inside(pixels, left + x, top + y)) continue;
            Pixel value = Get(pixels, left + x, top + y);
            const int cover = Get(mask, x, y)[0];
            const Pixel pixel = Get(own, x, y);
            for (size_t c = 0; c < 3; ++c) value[c] = (pixel[c] * cover + value[c] * (255 - cover) + 127) / 255;
            Set(pixels, left + x, top + y, value);
        }
    }
    Picture result = CopyOf(picture);
    StorePixels(result, pixels);
    return result;
}

Picture Masked(Picture picture, uint32_t seed)
{
    std::mt19937 generator(seed);
    AddRandomMask(picture, 8, generator);
    return picture;
}

Picture FromRaster(int32_t colourType, const Raster &pixels)
{
    Picture picture = NewPicture(colourType, pixels.width, pixels.height);
    StorePixels(picture, pixels);
    return picture;
}

Picture WithMaskOf(Picture picture, const Raster &mask)
{
    AddMask(picture, 8);
    StoreMask(picture, mask);
    return picture;
}

}   // namespace

//---- Areas

TEST_F(Scopes, AreaLimitsTheEffectToItsRectangle)
{
    for (const int32_t type : {GREY, RGB}) {
        const Picture picture = Sample(type), negative = Negative(CopyOf(picture));
        EXPECT_TRUE(SamePicture(Applied(NegativeWith({"--area", "5,7,20x11"}), picture),
                                WithPart(picture, negative, 5, 7, 20, 11)));
        EXPECT_TRUE(SamePicture(Applied(NegativeWith({"--area", "-5,40,20x99"}), picture),
                                WithPart(picture, negative, 0, 40, 15, 8)));
    }
}

TEST_F(Scopes, NewObjectFromAnAreaIsPastedWhereItCameFrom)
{
    const Picture picture = Sample(RGB), negative = Negative(CopyOf(picture));
    for (const std::string scope : {"new-object", "2170"}) {
        EXPECT_TRUE(SamePicture(Applied(NegativeWith({"--area", "5,7,20x11", "--scope", scope}), picture),
                                WithPart(picture, negative, 5, 7, 20, 11)));
        EXPECT_TRUE(SamePicture(Applied(NegativeWith({"--scope", scope}), picture), negative)) << "all of it";
    }
}

TEST_F(Scopes, AreasThatAreNoneAreRefused)
{
    const std::string input = Save("in.png", Sample(GREY));
    for (const std::string area : {"1,2,3", "1,2,0x4", "1,2,3x4x", "a,2,3x4", "1, 2,3x4", "1,2,99999999999x4"}) {
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("out.png"), "--area", area}), 1, "--area",
                            "'" + area + "' is not an area"));
    }
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, In("out.png"), "--area", "64,0,5x5"}), 1, input,
                        "the area lies outside its 64 x 48 pixels"));
    EXPECT_FALSE(Exists(In("out.png")));
}

//---- Objects

TEST_F(Scopes, ObjectsAreWorkedOnAloneAndPastedThroughTheirAlpha)
{
    for (const int32_t type : {GREY, RGB}) {
        const Picture picture = Sample(type), object = Masked(Sample(type, 17, 12), 4);
        const std::string file = Save("an@object.png", object);
        const Picture expected =
            Pasted(Pasted(picture, Negative(CopyOf(object)), -3, 5), Negative(CopyOf(object)), 50, 40);
        const std::vector<std::string> options =
            NegativeWith({"--object", file + "@-3,5", "--object", file + "@50,40"});
        EXPECT_TRUE(SamePicture(Applied(options, picture), expected));
    }
}

TEST_F(Scopes, ScopeSaysWhetherPictureObjectsOrBothAreWorkedOn)
{
    const Picture picture = Sample(RGB), object = Masked(Sample(RGB, 17, 12), 4);
    const Picture negative = Negative(CopyOf(picture)), changed = Negative(CopyOf(object));
    const std::string place = Save("object.png", object) + "@9,9";
    struct {
        std::string word, number;
        Picture expected;
    } const cases[] = {
        {"image", "6940", Pasted(negative, object, 9, 9)},
        {"all", "6950", Pasted(negative, changed, 9, 9)},
        {"objects", "6960", Pasted(picture, changed, 9, 9)},
    };
    for (const auto &told : cases) {
        for (const std::string &scope : {told.word, told.number}) {
            const Picture applied = Applied(NegativeWith({"--object", place, "--scope", scope}), picture);
            EXPECT_TRUE(SamePicture(applied, told.expected)) << scope;
        }
    }
}

TEST_F(Scopes, ObjectsTakeTheInputsType)
{
    const std::string place = Save("object.png", Rgb({{0x000000, 0xFFFFFF}})) + "@1,0";
    const Picture bits = Applied({"mirror", "--object", place, "--scope", "6940"}, Bits({"1100"}));
    EXPECT_EQ(bits, Bits({"1010"}));
}

TEST_F(Scopes, NoObjectsToWorkOnIsTold)
{
    const std::string input = Save("in.png", Sample(GREY));
    const Outcome told = Velmorant({"apply", "noise", input, In("out.png"), "--scope", "objects"});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_EQ(Lines(told.errors).size(), 1u);
    EXPECT_TRUE(SamePicture(Load(In("out.png")), Sample(GREY)));
    EXPECT_TRUE(WentWell(Velmorant({"apply", "noise", input, In("out.png"), "--scope", "objects", "--quiet"})));
}

TEST_F(Scopes, ObjectsThatAreNoneAreRefused)
{
    const std::string input = Save("in.png", Sample(GREY)), output = In("out.png");
    for (const std::string object : {"a.png", "@1,2", "a.png@1", "a.png@1,2,3", "a.png@x,y"}) {
        EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, output, "--object", object}), 1, "--object",
                            "'" + object + "' is not a picture with its place"));
    }
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, output, "--object", In("none.png") + "@1,1"}), 1,
                        In("none.png"), "cannot be opened"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", "-", output, "--object", "-@1,1"}), 1, "--object",
                        "standard input can only be read once"));
    const std::string wide = Save("wide.pbm", NewPicture(ONE_BIT, 32768, 1));
    EXPECT_TRUE(Refused(Velmorant({"apply", "noise", input, output, "--object", wide + "@0,0"}), 1, wide, "32767"));
    EXPECT_FALSE(Exists(output));
}

//---- Effects that change the size

TEST_F(Scopes, MirrorDoublesColoursAndAlpha)
{
    struct {
        std::string word;
        int number;
    } const directions[] = {{"up", 1230}, {"down", 1240}, {"right", 1250}, {"left", 1260}};
    for (const int32_t type : {GREY, RGB}) {
        const Picture picture = Masked(Sample(type, 13, 9), 7);
        for (const auto &direction : directions) {
            const Picture expected =
                WithMaskOf(FromRaster(type, ReferenceMirror(RasterOfPixels(picture), direction.number)),
                           ReferenceMirror(RasterOfMask(picture), direction.number));
            for (const std::string &value : {direction.word, std::to_string(direction.number)})
                EXPECT_TRUE(SamePicture(Applied({"mirror", "--direction", value}, picture), expected)) << value;
        }
    }
}

TEST_F(Scopes, MirrorKeepsEveryType)
{
    for (const int32_t type : {ONE_BIT, PALETTE}) {
        const Picture picture = Sample(type, 13, 9), mirrored = Applied({"mirror"}, picture);
        EXPECT_EQ(mirrored.colourType, type);
        EXPECT_EQ(RasterOfPixels(mirrored).pixels, ReferenceMirror(RasterOfPixels(picture), 1260).pixels);
    }
}

TEST_F(Scopes, ShearFillsColoursWithTheColourAndAlphaWithNothing)
{
    for (const int angle : {-40, 25}) {
        for (const bool horizontal : {true, false}) {
            const Picture picture = Masked(Sample(RGB, 13, 9), 7);
            const Picture expected = WithMaskOf(
                FromRaster(RGB, ReferenceShear(RasterOfPixels(picture), RGB, angle, 0x3380FF, true, horizontal)),
                ReferenceShear(RasterOfMask(picture), GREY, angle, 0, true, horizontal));
            EXPECT_TRUE(
                SamePicture(Applied({"shear", "--angle", std::to_string(angle), "--fill-colour", "#FF8033",
                                     "--direction", horizontal ? "horizontal" : "vertical", "--fringe", "as-is"},
                                    picture),
                            expected));
        }
    }
}

TEST_F(Scopes, ShearWithoutAnAngleLeavesThePicture)
{
    const Picture picture = Masked(Sample(RGB, 13, 9), 7);
    EXPECT_TRUE(SamePicture(Applied({"shear"}, picture), picture));
}

TEST_F(Scopes, ObjectsAloneLeaveTheSizeAndTheAlpha)
{
    const Picture picture = Masked(Sample(RGB, 40, 30), 7), object = Masked(Sample(RGB, 5, 4), 8);
    const std::string place = Save("object.png", object) + "@20,10";
    Picture doubled = WithMaskOf(FromRaster(RGB, ReferenceMirror(RasterOfPixels(object), 1250)),
                                 ReferenceMirror(RasterOfMask(object), 1250));
    const Picture mirrored =
        Applied({"mirror", "--direction", "right", "--scope", "objects", "--object", place}, picture);
    EXPECT_TRUE(SamePicture(mirrored, Pasted(picture, doubled, 15, 10)));
    const Picture slanted = Applied({"shear", "--angle", "30", "--object", place}, picture);
    EXPECT_EQ(slanted.width, 40) << "objects given are the default scope";
    EXPECT_EQ(RasterOfMask(slanted).pixels, RasterOfMask(picture).pixels);
    EXPECT_FALSE(SamePicture(slanted, Pasted(picture, object, 20, 10)));
}

TEST_F(Scopes, MirrorMakesANewObjectBesideTheArea)
{
    const Picture picture = Sample(RGB);
    Raster expected = RasterOfPixels(picture);
    for (int y = 8; y < 18; ++y)
        for (int x = 0; x < 12; ++x) Set(expected, 32 + x, y, Get(RasterOfPixels(picture), 31 - x, y));
    EXPECT_TRUE(SamePicture(
        Applied({"mirror", "--scope", "new-object", "--area", "20,8,12x10", "--direction", "right"}, picture),
        FromRaster(RGB, expected)));
}

TEST_F(Scopes, ButtonsThatHaveNoWordWorkByTheirNumber)
{
    const Picture picture = Masked(Sample(RGB, 13, 9), 7);
    EXPECT_TRUE(SamePicture(Applied({"mirror", "--scope", "6940"}, picture), picture));
    EXPECT_TRUE(SamePicture(Applied({"shear", "--angle", "30", "--scope", "2170"}, picture), picture));
    const std::string input = In("in.png"), output = In("new.png");
    EXPECT_TRUE(Refused(Velmorant({"apply", "mirror", input, output, "--scope", "image"}), 1, "--scope",
                        "'image' is not one of all, objects, new-object"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "shear", input, output, "--scope", "new-object"}), 1, "--scope",
                        "'new-object' is not one of all, image, objects"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "shear", input, output, "--scope", "1230"}), 1, "--scope", "'1230'"));
    EXPECT_TRUE(Refused(Velmorant({"apply", "mirror", input, output, "--scope", "new-object"}), 1, input,
                        "Cannot mirror the entire image into a new object."));
}

TEST_F(Scopes, MaskFilesAreRefusedWhereTheSizeChanges)
{
    const std::string input = Save("in.png", Sample(GREY)), output = In("out.png");
    for (const std::string effect : {"mirror", "shear"}) {
        EXPECT_TRUE(Refused(Velmorant({"apply", effect, input, output, "--mask", input}), 2, "--mask",
                            effect + " takes no mask from a file"));
        EXPECT_TRUE(Refused(Velmorant({"apply", "--mask", input, effect, input, output}), 2, "--mask",
                            effect + " takes no mask from a file"));
    }
}

TEST_F(Scopes, MaskOutputHasTheMaskOfTheNewSize)
{
    const Picture picture = Masked(Sample(RGB, 13, 9), 7);
    const Picture applied = Applied({"mirror", "--mask-output", In("mask.png")}, picture);
    EXPECT_EQ(RasterOfPixels(Load(In("mask.png"))).pixels, RasterOfMask(applied).pixels);
    EXPECT_EQ(applied.width, 26);
}

//---- Many pictures

TEST_F(Scopes, ABatchMakesOfEachPictureWhatApplyMakes)
{
    const std::string place = Save("object.png", Masked(Sample(RGB, 17, 12), 4)) + "@9,9";
    std::filesystem::create_directory(PathOf(In("out")));
    std::vector<std::string> inputs;
    for (int i = 0; i < 5; ++i) {
        Picture picture = Sample(i % 2 ? RGB : GREY, 40 + i, 30);
        if (i != 2) picture = Masked(std::move(picture), uint32_t(i));
        inputs.push_back(Save(std::to_string(i) + ".png", picture));
    }
    const std::vector<std::vector<std::string>> runs = {
        {"shear", "--angle", "20", "--fill-colour", "#804020"},
        {"mirror", "--direction", "up", "--object", place},
        NegativeWith({"--area", "5,5,30x10", "--object", place, "--scope", "all"}),
    };
    for (const std::vector<std::string> &run : runs) {
        std::vector<std::string> batch = {"batch", run[0], "--output-folder", In("out"), "--jobs", "3"};
        batch.insert(batch.end(), run.begin() + 1, run.end());
        batch.insert(batch.end(), inputs.begin(), inputs.end());
        EXPECT_TRUE(WentWell(Velmorant(batch)));
        for (size_t i = 0; i < inputs.size(); ++i) {
            const Picture alone = Applied(run, Load(inputs[i]));
            EXPECT_TRUE(SamePicture(Load(In("out/" + std::to_string(i) + ".png")), alone)) << run[0] << " " << i;
        }
    }
}

TEST_F(Scopes, ABatchReportsPicturesThatTheAreaMisses)
{
    std::filesystem::create_directory(PathOf(In("out")));
    const std::string small = Save("small.png", Sample(GREY, 10, 10)), large = Save("large.png", Sample(GREY));
    const Outcome told =
        Velmorant({"batch", "noise", "--output-folder", In("out"), "--area", "20,20,5x5", "--seed", "1", small, large});
    EXPECT_TRUE(Refused(told, 1, small, "the area lies outside its 10 x 10 pixels"));
    EXPECT_TRUE(Exists(In("out/large.png")));
    EXPECT_FALSE(Exists(In("out/small.png")));
}
