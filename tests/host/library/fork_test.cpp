// A process that forks after it has used the library, as worker pools do.

#include "tests/host/library/pictures.h"

#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// By way of what the library has to do at a process's end. The leak check would miss the parent's threads.
static void Exit(int code)
{
#ifdef __SANITIZE_ADDRESS__
    _exit(code);
#else
    exit(code);
#endif
}

// What the child makes of it: its answer, or -1 when it ended otherwise or did not end.
template <typename Work> static int InChild(Work work)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static int ApplyAnew(const PicturePointer &picture, const std::vector<uint8_t> &expected)
{
    const StepsPointer steps(vlm_steps_new());
    if (vlm_steps_add_line(steps.get(), "wave") != VLM_OK) return 2;
    if (vlm_apply(steps.get(), picture.get(), nullptr) != VLM_OK) return 3;
    return PixelsOf(picture) == expected ? 0 : 4;
}

TEST(Forks, TheChildStartsAnewAndTheParentGoesOn)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 40, 40);
    const std::vector<uint8_t> expected = PixelsOf(Applied(picture, {"wave"}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(InChild([&] { return ApplyAnew(CopyOf(picture), expected); }), 0);
        EXPECT_EQ(PixelsOf(Applied(picture, {"wave"})), expected);
    }
    EXPECT_EQ(InChild([&] { return InChild([&] { return ApplyAnew(CopyOf(picture), expected); }); }), 0)
        << "grandchild";
    EXPECT_EQ(InChild([&] {
                  const int made = ApplyAnew(CopyOf(picture), expected);
                  Exit(made);
                  return 5;
              }),
              0);
}

TEST(Forks, InTheMidstOfAnotherThreadsCallTheChildIsRefused)
{
    const PicturePointer picture = Sample(VLM_LAYOUT_RGB, 1200, 1200), small = Sample(VLM_LAYOUT_RGB, 4, 4);
    const StepsPointer steps = StepsOf({"oil-painting --brush-size 50"});
    for (int i = 0; i < 100; ++i) ASSERT_EQ(vlm_steps_add(steps.get(), "oil-painting"), VLM_OK);   // it is aborted
    const RunPointer run(vlm_run_new());
    std::thread other([&] { vlm_apply(steps.get(), picture.get(), run.get()); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(InChild([&] {
                  if (vlm_apply(steps.get(), small.get(), nullptr) != VLM_FORKED) return 2;
                  Exit(vlm_error_line()[0] ? 0 : 3);
                  return 4;
              }),
              0);
    vlm_run_cancel(run.get());
    other.join();
    EXPECT_EQ(vlm_apply(StepsOf({"wave"}).get(), small.get(), nullptr), VLM_OK) << "the parent is as before";
}
