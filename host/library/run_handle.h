// A run as the door hands it out.

#pragma once

#include "host/library/velmorant.h"

#include <atomic>
#include <optional>
#include <vector>

struct vlm_run {
    vlm_progress progress = nullptr;
    void *context = nullptr;
    std::optional<uint32_t> seed = {};
    int threads = 0;
    bool restoring = true;
    std::atomic<bool> cancelled{false};
    // Of the last vlm_apply.
    std::vector<std::optional<uint32_t>> seeds = {};
    int failedStep = -1;
};
