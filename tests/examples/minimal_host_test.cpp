// The pictures that the minimal host wrote, before and after its run of Noise, against the plain Noise.

#include "tests/reference/reference.h"
#include "tests/support/comparison.h"
#include "tests/support/read_back.h"

#include <cstdlib>

TEST(MinimalHost, RunsNoiseAsTypedIntoTheDialog)
{
    const int amount = 40, variation = 10;   // the one typed, the other the module's own
    Picture expected = ReadBack(MINIMAL_HOST_BEFORE);
    const Picture before = CopyOf(expected), after = ReadBack(MINIMAL_HOST_AFTER);
    srand(MINIMAL_HOST_SEED);
    ReferenceNoise(expected, amount, variation);
    EXPECT_TRUE(SamePicture(after, expected));
    EXPECT_FALSE(SamePicture(expected, before)) << "a run that changes nothing would show nothing";
}
