// Many callers at once: every effect on eight threads, each with its own pictures, settings and seeds, and pictures that
// come out as if they had been alone.

#include "interface/effect_table.h"
#include "tests/host/library/pictures.h"

#include <atomic>
#include <chrono>
#include <thread>

static constexpr int THREADS = 8;
// Real dialogs take their time, and so does the thread sanitizer: there each thread does every fifth job.
#if defined(_WIN32) || defined(__SANITIZE_THREAD__)
static constexpr size_t STRIDE = 5;
#else
static constexpr size_t STRIDE = 1;
#endif

struct Job {
    std::string line;
    vlm_layout layout;
    std::vector<uint8_t> expected;
};

static std::vector<Job> Jobs()
{
    std::vector<Job> jobs;
    for (int i = 0; i < vlm_effect_count(); ++i) {
        const vlm_effect *effect = vlm_effect_at(i);
        const std::string line = std::string(effect->name) + " " + effect->example;
        for (const auto &[layout, type] : {std::pair(VLM_LAYOUT_RGBA, VLM_RGB), std::pair(VLM_LAYOUT_GREY, VLM_GREY),
                                           std::pair(VLM_LAYOUT_INDEX, VLM_PALETTE)}) {
            if (!(effect->types >> type & 1)) continue;
            jobs.push_back({line + " --seed " + std::to_string(i + 10 * type), layout, {}});
        }
    }
    return jobs;
}

TEST(Threads, AllEffectsOnEightThreadsMakeWhatEachMakesAlone)
{
    std::vector<Job> jobs = Jobs();
    ASSERT_GT(jobs.size(), 40u);
    for (Job &job : jobs) job.expected = PixelsOf(Applied(Sample(job.layout, 60, 50), {job.line}));

    std::atomic<size_t> wrong{0};
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&jobs, &wrong, thread] {
            for (size_t i = 0; i < jobs.size(); i += STRIDE) {
                const Job &job = jobs[(i + thread * 7) % jobs.size()];
                if (PixelsOf(Applied(Sample(job.layout, 60, 50), {job.line})) != job.expected) ++wrong;
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(wrong, 0u);
}

TEST(Threads, ListsChecksAndStartsMayComeFromAllAtOnce)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    const StepsPointer shared = StepsOf({"wave --amplitude 7", "blocks"});
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            vlm_retain();
            wrong += vlm_effect_count() != EFFECT_COUNT;
            wrong += !vlm_effect_setting(vlm_effect_at(thread), 0);
            wrong += vlm_steps_check(shared.get(), nullptr) != VLM_OK;
            const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 20, 20);
            wrong += vlm_apply(shared.get(), picture.get(), nullptr) != VLM_OK;
            wrong += vlm_steps_add_line(StepsPointer(vlm_steps_new()).get(), "wave --no-such 1") != VLM_NO_SUCH_SETTING;
            wrong += std::string(vlm_error_line()).find("--no-such") == std::string::npos;
            vlm_release();
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Threads, EachIsAbortedByItself)
{
    std::vector<std::thread> threads;
    std::vector<RunPointer> runs;
    std::vector<vlm_code> codes(4, VLM_FAILED);
    for (size_t i = 0; i < 4; ++i) runs.emplace_back(vlm_run_new());
    for (size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            const int32_t side = i % 2 ? 4000 : 60;
            const PicturePointer picture = Sample(VLM_LAYOUT_RGB, side, side);
            codes[i] = vlm_apply(StepsOf({"oil-painting --brush-size 40"}).get(), picture.get(), runs[i].get());
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    for (size_t i = 1; i < 4; i += 2) vlm_run_cancel(runs[i].get());
    for (std::thread &thread : threads) thread.join();
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(codes[i], i % 2 ? VLM_ABORTED : VLM_OK) << i;
}
