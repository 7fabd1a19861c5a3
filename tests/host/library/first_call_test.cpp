// A program whose first calls find no memory, each test in a process of its own: the library's thread has not begun there.

#include "tests/host/library/pictures.h"

#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

class FirstCallDeathTest : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// The process may grow by so many bytes; a negative number takes the limit away.
static void Allow(int64_t bytes)
{
    uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit = {};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = bytes < 0 ? limit.rlim_max : pages * uint64_t(sysconf(_SC_PAGESIZE)) + uint64_t(bytes);
    setrlimit(RLIMIT_AS, &limit);
}

static bool Refused(vlm_code code)
{
    return code == VLM_NO_MEMORY && std::string(vlm_error_line()).find("memory") != std::string::npos;
}

// 1000 x 1000 pixels of RGB are 3 MB.
static int MakesWhatItCan()
{
    vlm_picture *picture = nullptr, *copy = nullptr;
    if (vlm_picture_new(VLM_RGB, 1000, 1000, &picture) != VLM_OK) return 1;
    Allow(1 << 20);
    if (!Refused(vlm_picture_new(VLM_RGB, 1000, 1000, &copy)) || copy) return 2;
    if (!Refused(vlm_picture_copy(picture, &copy)) || copy) return 3;
    const uint64_t before = vlm_picture_sum(picture);
    Allow(-1);
    const StepsPointer steps = StepsOf({"wave"});
    Allow(1 << 20);
    if (vlm_apply(steps.get(), picture, nullptr) == VLM_OK) return 4;
    if (vlm_picture_sum(picture) != before) return 5;
    Allow(-1);
    return vlm_apply(steps.get(), picture, nullptr) == VLM_OK ? 0 : 6;
}

TEST_F(FirstCallDeathTest, ThatFindsNoMemoryIsRefusedAndEndsNothing)
{
    EXPECT_EXIT(_exit(MakesWhatItCan()), testing::ExitedWithCode(0), "");
}
