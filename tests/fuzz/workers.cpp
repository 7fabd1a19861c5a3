// Every worker on pictures of every type, of 0 to 64 rows and columns, with and without mask, and with any block.

#include "effects/effects.h"
#include "tests/fuzz/given.h"
#include "tests/support/run_worker.h"

#include <cstdlib>
#include <cstring>
#include <vector>

static const EffectDescriptor *const effectsWithWorkers[] = {
    &filters,     &acid,        &blocks,           &coneHead, &doubleVision, &fisheye,  &median, &melt,  &noise,
    &oilPainting, &randomShear, &polarCoordinates, &ripple,   &slices,       &solarize, &swirl,  &tiles, &wave,
};

// The defaults, some of them replaced: most numbers a dialog can set are small ones.
static std::vector<int32_t> Parameters(const EffectDescriptor &effect, Given &given)
{
    std::vector<int32_t> own(effect.defaults.size / sizeof(int32_t));
    memcpy(own.data(), effect.defaults.bytes, effect.defaults.size);
    for (int32_t &number : own) {
        switch (given.Next() & 3) {
        case 0: break;
        case 1: number = int8_t(given.Next()); break;
        case 2: number = given.Next() << 8 | given.Next(); break;
        default:
            for (int i = 0; i < 4; ++i) number = int32_t(uint32_t(number) << 8 | uint32_t(given.Next()));
        }
    }
    return own;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static constexpr int32_t TYPES[] = {ONE_BIT, GREY, PALETTE, RGB}, MASKS[] = {0, 8, 1};
    Given given = {data, size};
    const EffectDescriptor &effect = *effectsWithWorkers[size_t(given.Next()) % std::size(effectsWithWorkers)];
    PictureCase kind = {};
    kind.colourType = TYPES[given.Next() & 3];
    const int width = given.Next() % 65, height = given.Next() % 65, mask = given.Next();
    kind.width = width ? width : 1;
    kind.height = height ? height : 1;
    kind.maskBits = MASKS[mask % 3];
    kind.maskInUse = kind.maskBits && mask & 128;
    kind.seed = uint32_t(given.Next());
    WorkerOptions options;
    options.maskInUse = kind.maskInUse;
    options.seed = uint32_t(given.Next());
    options.abortAfter = given.Next() % 80 - 16;
    if (options.abortAfter < 0) options.abortAfter = -1;
    const std::vector<int32_t> own = Parameters(effect, given);
    Picture picture = RandomPicture(kind);
    if (!width) picture.width = 0;
    if (!height) picture.height = 0;
    if (RunWorker(effect, picture, own.data(), own.size() * sizeof(int32_t), options).leakedBlocks) abort();
    return 0;
}
