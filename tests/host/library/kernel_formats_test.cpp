// Kernels in other programs' words, through the door. The texts are as those programs wrote or document them; what they make
// of a picture stands beside.

#include "tests/host/library/pictures.h"

#include <cstdlib>
#include <filesystem>

namespace
{

// A folder of the user's own that is this test's.
class KernelFormats : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 ("velmorant-kernels-" + std::to_string(testing::UnitTest::GetInstance()->random_seed()) + "-" +
                  std::to_string(reinterpret_cast<uintptr_t>(this)));
        std::filesystem::create_directories(folder);
#ifdef _WIN32
        _putenv_s("APPDATA", folder.string().c_str());
#else
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
#endif
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::filesystem::path folder;
};

struct Text {
    char *text;
    explicit Text(char *taken) : text(taken) {}
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;
    ~Text() { vlm_free(text); }
};

// "3: 0 -1 0 -1 5 -1 0 -1 0 / 1 + 0 replace": the smallest square that holds it.
std::string Told(const char *name)
{
    const vlm_kernel *kernel = vlm_kernel_named(name);
    if (!kernel) return vlm_error_line();
    std::string text = std::to_string(kernel->size) + ":";
    const int from = (VLM_KERNEL_SIDE - kernel->size) / 2;
    for (int y = from; y < from + kernel->size; ++y)
        for (int x = from; x < from + kernel->size; ++x)
            text += " " + std::to_string(kernel->elements[y * VLM_KERNEL_SIDE + x]);
    return text + " / " + std::to_string(kernel->divisor) + " + " + std::to_string(kernel->bias) + " " + kernel->mode;
}

std::string Imported(const char *text, const char *name = "k")
{
    return vlm_kernel_import(text, name, 1) == VLM_OK ? Told(name) : vlm_error_line();
}

// What -define morphology:showKernel=1 prints.
const char sobel[] = "Kernel \"Sobel\" of size 3x3+1+1 with values from -2 to 2\n"
                     "Forming a output range from -4 to 4 (Zero-Summing)\n"
                     " 0:         1         0        -1\n"
                     " 1:         2         0        -2\n"
                     " 2:         1         0        -1\n";

const char gaussian[] = "Kernel \"Gaussian\" of size 3x3+1+1 with values from 0.0449 to 0.248678\n"
                        "Forming a output range from 0 to 1 (Normalized)\n"
                        " 0: 0.0571428  0.124829 0.0571428\n"
                        " 1:  0.124829  0.272113  0.124829\n"
                        " 2: 0.0571428  0.124829 0.0571428\n";

const char presets[] = "# settings\n\n"
                       "(GimpGegl-gegl-convolution-matrix-config \"2024-03-02 10:11:12\"\n"
                       "    (time 1709374272)\n"
                       "    (b2 -1.0)\n    (b3 -1.0)\n    (b4 -1.0)\n"
                       "    (c2 -1.0)\n    (c3 9.0)\n    (c4 -1.0)\n"
                       "    (d2 -1.0)\n    (d3 -1.0)\n    (d4 -1.0)\n"
                       "    (divisor 1.0)\n    (offset 0.0)\n    (normalize no))\n"
                       "(GimpGegl-gegl-convolution-matrix-config \"my (soft) one\"\n"
                       "    (time 1709374300)\n"
                       "    (b3 0.5)\n    (c2 0.5)\n    (c3 2.0)\n    (c4 0.5)\n    (d3 0.5)\n"
                       "    (normalize yes))\n\n# end of settings\n";

}   // namespace

TEST_F(KernelFormats, ImageMagicksStringsAndWhatItShows)
{
    EXPECT_EQ(Imported("3x3: 0,-1,0  -1,5,-1  0,-1,0"), "3: 0 -1 0 -1 5 -1 0 -1 0 / 1 + 0 replace");
    EXPECT_EQ(Imported("3: 1 2 1\n 2 4 2\n 1 2 1\n"), "3: 1 2 1 2 4 2 1 2 1 / 1 + 0 replace");
    EXPECT_EQ(Imported("3x1: .25, .5, .25"), "3: 0 0 0 1 2 1 0 0 0 / 4 + 0 replace");
    EXPECT_EQ(Imported("2x2+1+1: 1,nan,-,-1"), "3: 1 0 0 0 -1 0 0 0 0 / 1 + 0 replace");
    EXPECT_EQ(Imported("3x3: -0.125,-.125,-1.25e-1 -.125,2,-.125 -.125,-.125,-.125"),
              "3: -1 -1 -1 -1 16 -1 -1 -1 -1 / 8 + 0 replace");
    ASSERT_EQ(vlm_kernel_import(sobel, nullptr, 0), VLM_OK) << vlm_error_line();
    EXPECT_EQ(Told("sobel"), "3: 1 0 -1 2 0 -2 1 0 -1 / 1 + 0 replace");
    EXPECT_FAILS(vlm_kernel_import("Sobel:0", "k", 1), VLM_BAD_TEXT, "showKernel");
    EXPECT_FAILS(vlm_kernel_import("3x3: 1,2,3", "k", 1), VLM_BAD_TEXT, "3 weights where its size asks for 9");
    EXPECT_FAILS(vlm_kernel_import("3: 1,2,1,2,4,2,1,2,x", "k", 1), VLM_BAD_TEXT, "no number");
    EXPECT_FAILS(vlm_kernel_import("3: 1,2,1,2,4,2,1,2,1; 1: 1", "k", 1), VLM_BAD_TEXT, "several kernels");
    EXPECT_FAILS(vlm_kernel_import("9x1: 1,0,0,0,0,0,0,0,1", "k", 1), VLM_BAD_TEXT, "seven by seven");
    EXPECT_EQ(Imported("9x1: 0,0,0,0,3,0,0,0,0"), "1: 3 / 1 + 0 replace");
}

// The picture beside is what -convolve made of a single light pixel: weights stand as they are seen.
TEST_F(KernelFormats, ImageMagicksWeightsLookWhereItsDo)
{
    ASSERT_EQ(vlm_kernel_import("3x3: 0.25,0,0  0,0,0.5  0,0.25,0", "odd", 0), VLM_OK) << vlm_error_line();
    std::vector<uint8_t> light(49);
    light[24] = 100;
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_GREY, 7, 7, light.data());
    vlm_picture *made = nullptr;
    ASSERT_EQ(vlm_picture_from_planes(&planes, &made), VLM_OK);
    const PicturePointer picture(made);
    const std::vector<uint8_t> out = PixelsOf(Applied(picture, {"filters --kernel odd"}));
    for (int i = 0; i < 49; ++i) {
        const int expected = i == 17 ? 25 : i == 23 ? 50 : i == 32 ? 25 : 0;
        EXPECT_EQ(out[size_t(4 * i)], expected) << i % 7 << "," << i / 7;
    }
}

TEST_F(KernelFormats, PresetsOfGimpsConvolutionMatrix)
{
    ASSERT_EQ(vlm_kernel_import(presets, "my (soft) one", 0), VLM_OK) << vlm_error_line();
    EXPECT_EQ(Told("my (soft) one"), "3: 0 1 0 1 4 1 0 1 0 / 8 + 0 replace") << "divided by its sum";
    EXPECT_FAILS(vlm_kernel_import(presets, "other", 0), VLM_BAD_VALUE, "2024-03-02 10:11:12, my (soft) one");
    EXPECT_FAILS(vlm_kernel_import(presets, nullptr, 0), VLM_BAD_VALUE, "is not a kernel's name");   // 10:11:12
    EXPECT_EQ(Imported("gegl:convolution-matrix a1=1 e5=-1 c3=0 divisor=2 offset=0.5 normalize=false"),
              "5: 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 -1 / 2 + 128 replace");
    EXPECT_EQ(vlm_notice_count(), 1) << "127.5";
}

TEST_F(KernelFormats, GridsOfNumbersAndOwnWords)
{
    EXPECT_EQ(Imported("1,2,1\n2,4,2\n1,2,1\n"), "3: 1 2 1 2 4 2 1 2 1 / 1 + 0 replace");
    EXPECT_EQ(Imported("# edges\n-1 0 1\r\n\r\n-2\t0\t2\r\n-1 0 1"), "3: -1 0 1 -2 0 2 -1 0 1 / 1 + 0 replace");
    EXPECT_EQ(Imported("0 1 0 1 -4 1 0 1 0"), "3: 0 1 0 1 -4 1 0 1 0 / 1 + 0 replace");
    EXPECT_EQ(Imported("1 2 1; 2 4 2; 1 2 1; divisor 16 bias 3 add"), "3: 1 2 1 2 4 2 1 2 1 / 16 + 3 add");
    EXPECT_FAILS(vlm_kernel_import("1 2 1\n1 2\n", "k", 1), VLM_BAD_TEXT, "not alike long");
    EXPECT_FAILS(vlm_kernel_import("", "k", 1), VLM_BAD_TEXT, "no numbers");
    EXPECT_FAILS(vlm_kernel_import("hello", "k", 1), VLM_BAD_TEXT, "no row of numbers");
}

TEST_F(KernelFormats, FractionsAreExactOrTold)
{
    EXPECT_EQ(Imported("0.1 0.2 0.1\n0.2 -0.4 0.2\n0.1 0.2 0.1"), "3: 1 2 1 2 -4 2 1 2 1 / 10 + 0 replace");
    EXPECT_EQ(vlm_notice_count(), 0);
    ASSERT_EQ(vlm_kernel_import(gaussian, nullptr, 0), VLM_OK) << vlm_error_line();
    ASSERT_EQ(vlm_notice_count(), 1);
    EXPECT_NE(std::string(vlm_notice(0)).find("brought to whole numbers"), std::string::npos);
    const vlm_kernel *kernel = vlm_kernel_named("Gaussian");
    ASSERT_TRUE(kernel);
    for (const auto &[place, weight] : {std::pair(16, 0.0571428), {17, 0.124829}, {24, 0.272113}})
        EXPECT_NEAR(double(kernel->elements[place]) / kernel->divisor, weight, 2e-5);
}

TEST_F(KernelFormats, WhatIsWrittenIsReadAgain)
{
    for (int i = 0; i < vlm_kernel_count(); ++i) {
        const std::string name = vlm_kernel_at(i)->name, told = Told(name.c_str());
        for (const char *format : {"velmorant", "imagemagick", "gimp", "grid"}) {
            const Text text(vlm_kernel_export(name.c_str(), format));
            const int notices = vlm_notice_count();
            if (!text.text) {
                EXPECT_EQ(vlm_kernel_at(i)->size, 7) << vlm_error_line();
                continue;
            }
            const bool whole = notices == 0;
            ASSERT_EQ(vlm_kernel_import(text.text, "again", 1), VLM_OK) << name << ", " << format << ": " << text.text;
            if (!whole || std::string(format) == "imagemagick") continue;   // which has no divisor: see below
            EXPECT_EQ(Told("again"), told) << name << ", " << format;
        }
    }
    EXPECT_STREQ(Text(vlm_kernel_export("Gaussian 3 by 3", "imagemagick")).text,
                 "3x3: 0.0625,0.125,0.0625  0.125,0.25,0.125  0.0625,0.125,0.0625\n");
    EXPECT_EQ(Imported(Text(vlm_kernel_export("Gaussian 3 by 3", "imagemagick")).text),
              "3: 1 2 1 2 4 2 1 2 1 / 16 + 0 replace");
    EXPECT_EQ(vlm_kernel_export("Gaussian 3 by 3", "word"), nullptr);
    EXPECT_NE(std::string(vlm_error_line()).find("imagemagick"), std::string::npos);
}

TEST_F(KernelFormats, OwnOnesAreListedFoundAndForgotten)
{
    const int before = vlm_kernel_count();
    ASSERT_EQ(vlm_kernel_import("1 2 1; 2 4 2; 1 2 1; divisor 16", "Soft Focus", 0), VLM_OK) << vlm_error_line();
    EXPECT_FAILS(vlm_kernel_import("1 2 1; 2 4 2; 1 2 1", "soft focus", 0), VLM_BAD_VALUE, "already");
    EXPECT_FAILS(vlm_kernel_import("1 2 1; 2 4 2; 1 2 1", "gaussian 3 by 3", 1), VLM_BAD_VALUE, "ready-made");
    EXPECT_FAILS(vlm_kernel_import("1 2 1; 2 4 2; 1 2 1", "3x3", 1), VLM_BAD_VALUE, "numbers");
    ASSERT_EQ(vlm_kernel_count(), before + 1);
    EXPECT_STREQ(vlm_kernel_at(before)->name, "Soft Focus");
    EXPECT_EQ(vlm_kernel_at(before)->id, 0);
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 20, 12);
    EXPECT_EQ(PixelsOf(Applied(picture, {"filters --kernel 'soft focus'"})),
              PixelsOf(Applied(picture, {"filters --kernel 'Gaussian 3 by 3'"})));
    EXPECT_NE(std::string(vlm_kernels_json(nullptr)).find("Soft Focus"), std::string::npos);
    ASSERT_EQ(vlm_kernel_delete("SOFT FOCUS"), VLM_OK) << vlm_error_line();
    EXPECT_EQ(vlm_kernel_count(), before);
    EXPECT_FAILS(vlm_kernel_delete("Soft Focus"), VLM_BAD_VALUE, "no such kernel");
    EXPECT_FAILS(vlm_kernel_delete("Gaussian 3 by 3"), VLM_BAD_VALUE, "stays as it is");
    EXPECT_FAILS(vlm_steps_check(StepsOf({"filters --kernel 'soft focus'"}).get(), nullptr), VLM_BAD_VALUE,
                 "no such kernel");
}
