// The five routines that the module exports, as a host calls them: found by name ("KPZInitialize" and so on), with
// the platform's callee-pops calling convention. All are called on the thread that runs the dialogs. A base command
// id is at most 32,000; the module's commands are base + the offsets of effect_table.h.

#pragma once

#include "interface/records.h"

// Appends the module's commands to a menu. Returns 0.
typedef int32_t(KPZAPI *InitializeEntry)(HMENU menu, int32_t base);
// Enables or greys the commands for the active image; null when none is open. Returns 0.
typedef int32_t(KPZAPI *SetupMenusEntry)(HMENU menu, int32_t base, ImageRecord *active);
// Runs a command: opens its dialog and returns the dialog's result, or 0 for a command that is not the module's or
// when no image is active. Only the low 16 bits of the command count. The two opaque values are the host's.
typedef INT_PTR(KPZAPI *CommandProcessorEntry)(HostContext *host, int32_t command, INT_PTR opaque, int32_t base,
                                               INT_PTR alsoOpaque);
// Told of a new image. Does nothing, returns 0.
typedef int32_t(KPZAPI *NewImageProcessorEntry)(INT_PTR first, INT_PTR second);
// Told that the host ends. Does nothing, returns 0.
typedef int32_t(KPZAPI *ExitProcessorEntry)(void);
