#include "host/api/backend.h"

#include <atomic>

static std::atomic<int32_t> displayDepth{24};

KPZ_EXPORT void KPZAPI HostSetDisplayDepth(int32_t bitsPerPixel) { displayDepth = bitsPerPixel; }

int32_t DisplayDepth() { return displayDepth; }
