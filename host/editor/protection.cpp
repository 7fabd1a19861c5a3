#include "host/editor/protection.h"

static const TakenStep *StepThatMade(const PictureWindow &picture, uint64_t state)
{
    for (const TakenStep &step : picture.steps)
        if (step.after == state) return &step;
    return nullptr;
}

// The last one that was made on the way to what the picture is.
const Protection *ProtectionOf(const PictureWindow &picture)
{
    if (picture.protections.empty()) return nullptr;
    uint64_t state = MiscStateNumber(picture.image);
    for (;;) {
        const auto found = picture.protections.find(state);
        if (found != picture.protections.end()) {
            const Protection &own = *found->second;
            const bool fits = own.width == picture.extent.width && own.height == picture.extent.height;
            return fits ? &own : nullptr;
        }
        const TakenStep *step = StepThatMade(picture, state);
        if (!step) return nullptr;
        state = step->before;
    }
}

bool IsProtected(const PictureWindow &picture)
{
    const Protection *protection = ProtectionOf(picture);
    return protection && protection->any;
}
