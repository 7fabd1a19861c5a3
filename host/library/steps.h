// Steps as the door keeps them: which effect, with what settings, where, with which seed. Reading their words and
// checking what can be checked without the dialogs; what only a dialog knows is settings.h's.

#pragma once

#include "host/acting/words.h"
#include "host/dialogs/dialogs.h"
#include "host/documents/picture.h"
#include "host/library/errors.h"

#include <atomic>
#include <memory>
#include <optional>

// A setting as it was given: the name without dashes.
struct GivenSetting {
    std::string name, value;
};

struct GivenArea {
    int32_t left, top, width, height;
};

struct StepObject {
    std::shared_ptr<const Picture> picture;
    int32_t x, y;
};

struct Step {
    const DialogTemplate *effect = nullptr;
    std::vector<GivenSetting> settings = {};   // each name once
    std::optional<GivenArea> area = {};
    std::optional<uint32_t> seed = {};
    std::vector<StepObject> objects = {};   // bottom to top
};

// What the dialogs had to tell of steps that they have looked at.
typedef std::shared_ptr<const std::vector<std::string>> CheckedNotices;

// Looked at and set by several threads. Not an atomic shared_ptr, which clang's own C++ library lacks.
struct SharedNotices {
    CheckedNotices notices;
    CheckedNotices load() const { return std::atomic_load(&notices); }
    operator CheckedNotices() const { return load(); }
    void operator=(CheckedNotices next) { std::atomic_store(&notices, std::move(next)); }
};

struct vlm_steps {
    std::vector<Step> steps;
    mutable SharedNotices checked{};   // null: not since the last change
};

// Adds a step from its words, effect first. VLM_OK, or the noted error; then nothing was added.
vlm_code AddStep(vlm_steps *steps, const std::vector<std::string> &words);
// The step as a line, with these settings instead of its own.
std::string LineOf(const Step &step, const std::vector<GivenSetting> &settings);
const GivenSetting *FindSetting(const Step &step, const std::string &name);
// Empty when the area touches the picture, else what is wrong.
std::string FaultOfArea(const Step &step, int32_t width, int32_t height);
