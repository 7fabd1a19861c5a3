// Level 10: pixels against recorded ones. A picture's number changes with every change of a pixel, and a file has one
// number for every effect, type and setting: the same on every machine of one system, for any number of threads.

#include "host/check/open_dialog.h"
#include "host/paths/paths.h"

#include <cinttypes>
#include <fstream>

static std::string NumberOf(const std::string &bytes)
{
    uint64_t number = 0xCBF29CE484222325;
    for (const char byte : bytes) number = (number ^ uint8_t(byte)) * 0x100000001B3;
    char text[24];
    snprintf(text, sizeof text, "%016" PRIX64, number);
    return text;
}

// The pictures' own seed is always the same, whatever that of the checks is.
constexpr uint32_t SEED = 20;

static std::string Made(const CheckedModule &module, const CheckedEffect &effect, int32_t type, int setting,
                        int threads)
{
    ModuleStage stage(module.request.module);
    std::mt19937 generator(SEED + uint32_t(setting));
    ImageRecord *image = Open(stage, RandomPictureOf(type, 97, 61, MaskBitsOf(type), generator));
    std::string number;
    HostAllowThreads(threads);
    MiscShareAll(threads > 1);
    HostFixSeed(TRUE, SEED);
    InDialogOf(effect, stage, [&](OpenDialog &open) {
        if (setting > 0) SetAtRandom(open, generator);
        ApplyAndWait(open.dialog);
        number = NumberOf(StateOfImage(image));
    });
    HostFixSeed(FALSE, 0);
    MiscShareAll(FALSE);
    HostAllowThreads(0);
    return number;
}

std::map<std::string, std::string> NumbersRecordedIn(const std::string &file)
{
    std::map<std::string, std::string> numbers;
    std::ifstream stream(PathOf(file));
    for (std::string key, number; stream >> key >> number;) numbers[key] = number;
    return numbers;
}

static void CheckPixels(const CheckedModule &module, const CheckedEffect &effect)
{
    const std::map<std::string, std::string> recorded = NumbersRecordedIn(module.request.golden);
    for (const int32_t type : ALL_TYPES)
        for (int setting = 0; setting < 4; ++setting) {
            const std::string key = effect.word + "/" + Number(type) + "/" + Number(setting);
            Doing("ran " + effect.word + " on " + TypeName(type) + " with setting " + Number(setting));
            const std::string number = Made(module, effect, type, setting, 1);
            for (const int threads : {2, 5}) {
                Doing("ran " + effect.word + " on " + TypeName(type) + " with setting " + Number(setting) + " and " +
                      Number(threads) + " threads");
                Expect(Made(module, effect, type, setting, threads) == number, Rule::SAME_AGAIN,
                       "the picture is another one than with one thread");
            }
            if (!module.request.record.empty())
                std::ofstream(PathOf(module.request.record), std::ios::app) << key << " " << number << "\n";
            if (module.request.golden.empty()) continue;
            const auto found = recorded.find(key);
            Doing("compared " + key + " with what was recorded");
            Expect(found != recorded.end() && found->second == number, Rule::RECORDED,
                   found == recorded.end() ? "there is no number for it"
                                           : "its number is " + number + " and was " + found->second);
        }
}

void PlanGoldenChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects)
        plan.push_back({10, "10/" + effect.word + "/pixels", effect.word, [&] { CheckPixels(module, effect); }});
}
