// Recipes and presets through the door: what is written reads back to the same pixels, every fault has its line, and
// presets live in the user's own folder.

#include "tests/host/library/pictures.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

namespace
{

struct TextFree {
    void operator()(char *text) const { vlm_free(text); }
};
typedef std::unique_ptr<char, TextFree> Text;

StepsPointer Parsed(const std::string &text)
{
    vlm_steps *steps = nullptr;
    EXPECT_EQ(vlm_recipe_parse(text.c_str(), "some", &steps), VLM_OK) << vlm_error_line();
    return StepsPointer(steps);
}

std::vector<uint8_t> PixelsAfter(const vlm_steps *steps, int32_t width = 61, int32_t height = 47)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, width, height);
    const RunPointer run(vlm_run_new());
    vlm_run_set_seed(run.get(), 11);
    EXPECT_EQ(vlm_apply(steps, picture.get(), run.get()), VLM_OK) << vlm_error_line();
    return PixelsOf(picture);
}

void ExpectFault(const std::string &text, vlm_code code, const std::string &line)
{
    vlm_steps *steps = nullptr;
    EXPECT_EQ(vlm_recipe_parse(text.c_str(), "some", &steps), code) << text;
    EXPECT_EQ(std::string(vlm_error_line()).rfind("some: " + line, 0), 0u) << vlm_error_line();
    EXPECT_EQ(steps, nullptr);
}

// A user's folder of the test's own.
class Presets : public testing::Test
{
protected:
    void SetUp() override
    {
        do {
            const std::string name = "velmorant presets " + std::to_string(std::random_device()());
            folder = std::filesystem::temp_directory_path() / name;
        } while (!std::filesystem::create_directory(folder));
#ifdef _WIN32
        _wputenv_s(L"APPDATA", folder.c_str());
#else
        setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
#endif
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::filesystem::path folder;
};

typedef std::unique_ptr<vlm_presets, void (*)(vlm_presets *)> PresetsPointer;
PresetsPointer ReadPresets()
{
    vlm_presets *presets = nullptr;
    EXPECT_EQ(vlm_presets_read(&presets), VLM_OK) << vlm_error_line();
    return {presets, vlm_presets_free};
}

}   // namespace

TEST(Recipes, EveryEffectsExampleComesBackWithAllSettings)
{
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const vlm_effect &effect = *vlm_effect_at(i);
        SCOPED_TRACE(effect.name);
        const StepsPointer steps = StepsOf({std::string(effect.name) + " " + effect.example});
        const Text text(vlm_recipe_text(steps.get()));
        ASSERT_TRUE(text) << vlm_error_line();
        const StepsPointer again = Parsed(text.get());
        EXPECT_EQ(PixelsAfter(again.get()), PixelsAfter(steps.get())) << text.get();
        for (int setting = 0; setting < effect.setting_count; ++setting) {
            const vlm_setting &record = *vlm_effect_setting(&effect, setting);
            if (record.shared || record.kind == VLM_FILE) continue;
            EXPECT_NE(vlm_steps_value(again.get(), 0, record.name), nullptr) << record.name;
        }
    }
}

TEST(Recipes, KernelsAreWrittenOutHoweverFarBeyondTheFields)
{
    const std::string wide = "filters --kernel '0 -1 0; -1 900 -1; 0 -1 0 divisor 1600 bias -300 add'";
    const StepsPointer steps = StepsOf({wide});
    const Text text(vlm_recipe_text(steps.get()));
    ASSERT_TRUE(text) << vlm_error_line();
    EXPECT_NE(std::string(text.get()).find("900 -1"), std::string::npos) << text.get();
    EXPECT_NE(std::string(text.get()).find("divisor 1600 bias -300 add"), std::string::npos) << text.get();
    EXPECT_EQ(PixelsAfter(Parsed(text.get()).get()), PixelsAfter(steps.get()));
    EXPECT_NE(PixelsAfter(steps.get()), PixelsAfter(StepsOf({"filters"}).get()));

    const Text named(vlm_recipe_text(StepsOf({"filters --kernel 'Gaussian 3 by 3'"}).get()));
    EXPECT_EQ(std::string(named.get()).find("Gaussian"), std::string::npos);
    EXPECT_NE(std::string(named.get()).find("--divisor 16"), std::string::npos) << named.get();
}

TEST(Recipes, KernelsInRowsAreThoseOfTheirFortyNineNumbers)
{
    const std::string zeros = "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 ", gap = "0 0 0 0 ";
    const std::string all = zeros + "1 2 1 " + gap + "2 4 2 " + gap + "1 2 1 " + zeros;
    EXPECT_EQ(PixelsAfter(StepsOf({"filters --kernel '1 2 1; 2 4 2; 1 2 1' --divisor auto"}).get()),
              PixelsAfter(StepsOf({"filters --divisor 16 --kernel '" + all + "'"}).get()));
    const StepsPointer steps = StepsOf({"filters"});
    for (const char *bad : {"1 2; 3 4", "1 2 1; 2 4 2", "1 2 1; 2 4; 1 2 1", "1 2 1; 2 51 2; 1 2 1", "1 x; 2",
                            "1 2 1; 2 4 2; 1 2 1 divisor 0", "1 2 1; 2 4 2; 1 2 1 divisor", "1 2 3"}) {
        vlm_steps_set(steps.get(), 0, "kernel", bad);
        EXPECT_FAILS(vlm_steps_check(steps.get(), nullptr), VLM_BAD_VALUE, "--kernel");
    }
    vlm_steps_set(steps.get(), 0, "kernel", "0 0 0; 0 -4 0; 0 0 0");
    vlm_steps_set(steps.get(), 0, "divisor", "auto");
    EXPECT_FAILS(vlm_steps_check(steps.get(), nullptr), VLM_BAD_VALUE,
                 "--divisor: auto: the kernel's sum -4 is outside");
}

TEST(Recipes, TextIsReadAsPeopleWriteIt)
{
    const StepsPointer steps = Parsed("\xEF\xBB\xBF# mine\r\n\r\nvelmorant recipe 1\r\n  # more\r\n"
                                      "\twave --background '#FF8000' --amplitude=20 # remark\r\n"
                                      "noise --seed 4 --area 1,2,3x4\n"
                                      "filters --kernel \"Gaussian 3 by 3\"");
    ASSERT_EQ(vlm_steps_count(steps.get()), 3);
    EXPECT_STREQ(vlm_steps_value(steps.get(), 0, "background"), "#FF8000");
    EXPECT_STREQ(vlm_steps_value(steps.get(), 0, "amplitude"), "20");
    int32_t left, top, width, height;
    ASSERT_TRUE(vlm_steps_area(steps.get(), 1, &left, &top, &width, &height));
    EXPECT_EQ(std::vector<int32_t>({left, top, width, height}), std::vector<int32_t>({1, 2, 3, 4}));
    EXPECT_FALSE(vlm_steps_area(steps.get(), 0, nullptr, nullptr, nullptr, nullptr));
}

TEST(Recipes, SeedOfTheFirstStepIsThatOfStepsWithoutOne)
{
    const StepsPointer steps = Parsed("velmorant recipe 1\nnoise --seed 4\ntiles\nnoise --seed 5\n");
    uint32_t seed = 0;
    ASSERT_TRUE(vlm_steps_seed(steps.get(), 1, &seed));
    EXPECT_EQ(seed, 4u);
    ASSERT_TRUE(vlm_steps_seed(steps.get(), 2, &seed));
    EXPECT_EQ(seed, 5u);
}

TEST(Recipes, FaultsAreToldWithTheirLine)
{
    const std::string head = "velmorant recipe 1\n";
    ExpectFault("", VLM_BAD_TEXT, "line 1: a recipe begins with the line velmorant recipe 1");
    ExpectFault("wave\n", VLM_BAD_TEXT, "line 1: a recipe begins with the line velmorant recipe 1");
    ExpectFault("velmorant recipe 2\n", VLM_BAD_TEXT, "line 1: is a recipe of version 2");
    ExpectFault(head, VLM_BAD_TEXT, "line 2: there are no steps");
    ExpectFault(head + "wave\n\nnois\n", VLM_NO_SUCH_EFFECT, "line 4: nois: no such effect; did you mean noise?");
    ExpectFault(head + "wave --amplitde 3\n", VLM_NO_SUCH_SETTING,
                "line 2: --amplitde: no such option; did you mean --amplitude?");
    ExpectFault(head + "wave\n# x\nnoise --amount 300\n", VLM_BAD_VALUE, "line 4: --amount: 300 is outside 1..100");
    ExpectFault(head + "shear --fill-colour #112233\n", VLM_BAD_TEXT, "line 2: --fill-colour: needs a value; a #");
    ExpectFault(head + "wave 'x\n", VLM_BAD_TEXT, "line 2: a quotation that ' begins does not end");
    ExpectFault(head + "velmorant apply wave\n", VLM_BAD_TEXT, "line 2: a step begins with its effect");
    for (const char *file : {"--save=x", "--load x", "--mask x", "--object x@1,1", "--mask-output x"})
        ExpectFault(head + "filters " + file, VLM_BAD_TEXT, "line 2: --");
    ExpectFault(head + "wave --then noise\n", VLM_BAD_TEXT, "line 2: --then: a recipe has one step a line");
}

TEST(Recipes, SenselessArgumentsAreRefused)
{
    vlm_steps *steps = nullptr;
    const StepsPointer one = StepsOf({"wave"});
    EXPECT_FAILS(vlm_recipe_parse(nullptr, nullptr, &steps), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_recipe_parse("", nullptr, nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_recipe_read(nullptr, &steps), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_recipe_read("no such file", &steps), VLM_CANNOT_READ, "no such file: ");
    EXPECT_FAILS(vlm_recipe_write(one.get(), "no such folder/x"), VLM_CANNOT_WRITE, "no such folder");
    EXPECT_FAILS(vlm_recipe_write(nullptr, "x"), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_steps_append(nullptr, one.get()), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_steps_append(one.get(), nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_presets_read(nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_preset_steps(nullptr, &steps), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_preset_save(nullptr, one.get(), nullptr, 0), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_preset_rename("x", nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_FAILS(vlm_preset_delete(nullptr), VLM_BAD_ARGUMENT, "");
    EXPECT_EQ(vlm_recipe_text(nullptr), nullptr);
    EXPECT_EQ(vlm_presets_count(nullptr), 0);
    EXPECT_EQ(vlm_presets_at(nullptr, 0), nullptr);
    EXPECT_EQ(vlm_presets_named(nullptr, "x"), nullptr);
    EXPECT_EQ(vlm_steps_append(one.get(), one.get()), VLM_OK);
    EXPECT_EQ(vlm_steps_count(one.get()), 2);
    vlm_presets_free(nullptr);
}

TEST_F(Presets, ShippedOnesAllChangeAPicture)
{
    const PresetsPointer presets = ReadPresets();
    EXPECT_GE(vlm_presets_count(presets.get()), 12);
    const std::vector<uint8_t> before = PixelsAfter(StepsOf({}).get(), 320, 240);
    for (int i = 0; i < vlm_presets_count(presets.get()); ++i) {
        const vlm_preset &preset = *vlm_presets_at(presets.get(), i);
        SCOPED_TRACE(preset.name);
        EXPECT_TRUE(preset.shipped && !preset.fault && preset.summary[0]);
        vlm_steps *steps = nullptr;
        ASSERT_EQ(vlm_preset_steps(preset.name, &steps), VLM_OK) << vlm_error_line();
        const StepsPointer owner(steps);
        EXPECT_STREQ(vlm_steps_effect(steps, 0), preset.effect);
        EXPECT_TRUE(PixelsAfter(steps, 320, 240) != before);   // what is a share of so small a picture, too
    }
}

TEST_F(Presets, AreSavedRenamedAndDeleted)
{
    const StepsPointer steps = StepsOf({"wave --amplitude 31"});
    ASSERT_EQ(vlm_preset_save("Große Welle", steps.get(), "how it was\nin summer", 0), VLM_OK) << vlm_error_line();
    EXPECT_FAILS(vlm_preset_save("große Welle", steps.get(), nullptr, 0), VLM_BAD_VALUE, "is a preset already");
    EXPECT_EQ(vlm_preset_save("Große Welle", steps.get(), "how it was", 1), VLM_OK);
    const PresetsPointer presets = ReadPresets();
    const vlm_preset *saved = vlm_presets_named(presets.get(), "Große welle");
    ASSERT_TRUE(saved) << vlm_error_line();
    EXPECT_STREQ(saved->summary, "how it was");
    EXPECT_STREQ(saved->effect, "wave");
    EXPECT_FALSE(saved->shipped || saved->fault);
    EXPECT_EQ(vlm_preset_rename("Große Welle", "storm"), VLM_OK) << vlm_error_line();
    vlm_steps *read = nullptr;
    ASSERT_EQ(vlm_preset_steps("STORM", &read), VLM_OK) << vlm_error_line();
    EXPECT_STREQ(vlm_steps_value(read, 0, "amplitude"), "31");
    vlm_steps_free(read);
    EXPECT_EQ(vlm_preset_delete("storm"), VLM_OK);
    EXPECT_FAILS(vlm_preset_steps("storm", &read), VLM_NO_SUCH_PRESET, "storm: no such preset");
    EXPECT_FAILS(vlm_preset_steps("film-grian", &read), VLM_NO_SUCH_PRESET, "did you mean film-grain");
    EXPECT_FAILS(vlm_preset_delete("mosaic"), VLM_BAD_VALUE, "comes with the program");
    EXPECT_FAILS(vlm_preset_save("mosaic", steps.get(), nullptr, 0), VLM_BAD_VALUE, "is a preset already");
    for (const char *name : {"", "a/b", "..", "-x", "x.", "a\nb", "a:b"})
        EXPECT_FAILS(vlm_preset_save(name, steps.get(), nullptr, 0), VLM_BAD_VALUE, "is not a preset's name");
    for (const char *name : {"con", "AUX", "nul.old", "Lpt1"})
        EXPECT_FAILS(vlm_preset_save(name, steps.get(), nullptr, 0), VLM_BAD_VALUE, "keeps for a device");
    EXPECT_FAILS(vlm_preset_save("two", StepsOf({"wave", "wave"}).get(), nullptr, 0), VLM_BAD_VALUE, "has one step");
}

TEST_F(Presets, SavedOneWithAFaultIsListedWithIt)
{
    std::filesystem::create_directories(std::filesystem::path(reinterpret_cast<const char8_t *>(vlm_preset_folder())));
    std::ofstream(std::filesystem::path(reinterpret_cast<const char8_t *>(vlm_preset_folder())) / "torn.recipe")
        << "velmorant recipe 1\nwave --amplitude 99\n";
    const PresetsPointer presets = ReadPresets();
    const vlm_preset *torn = vlm_presets_named(presets.get(), "torn");
    ASSERT_TRUE(torn);
    EXPECT_TRUE(torn->fault);
    EXPECT_NE(std::string(torn->line).find("line 2: --amplitude: 99 is outside"), std::string::npos) << torn->line;
    vlm_steps *steps = nullptr;
    EXPECT_FAILS(vlm_preset_steps("torn", &steps), VLM_BAD_VALUE, "line 2");
}
