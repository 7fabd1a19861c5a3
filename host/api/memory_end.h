// The end of a program that has no memory for what must not be left undone.

#pragma once

#include "host/api/host_api.h"

// Says so in one line and ends the process with exit code 1, after the routine of HostBeforeMemoryEnd. [any]
KPZ_IMPORT void KPZAPI HostEndForMemory(void);
