// Sharing even tiny pictures among many threads, a few rows at a time.

#pragma once

#include "host/misc/misc.h"
#include "maths/sharing.h"

// While it lives a run has so many threads and uses all of them, whatever there is to do.
struct ManyThreads {
    const SharingRules before = sharingRules;

    explicit ManyThreads(int threads, int64_t mostAtOnce = 1000)
    {
        HostAllowThreads(threads);
        sharingRules = {1, mostAtOnce};
        MiscShareAll(TRUE);
    }
    ~ManyThreads()
    {
        HostAllowThreads(0);
        sharingRules = before;
        MiscShareAll(FALSE);
    }
};
