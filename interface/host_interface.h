// All that passes between the host and an effects module: this header is enough to write either side.
//
//     effect_table.h    (not included here) the effects of VLMEFF, for those who build it and its own host
//     exports.h         the five routines that a host finds in the module by name
//     host_driver.h     (not included here) what `velmorant check --host` works a host by
//     messages.h        private messages, notifications, shared control ids, colour types
//     records.h         the records that both sides read
//     vlmapi.h          VLMAPI: windows, dialogs, controls, memory, threads, strings
//     vlmmisc.h         VLMMISC: setting up and running an effect, progress, undo, palettes, geometry, files
//     windows_calls.h   the seven calls of Windows, with their types and constants

#pragma once

#include "interface/exports.h"
#include "interface/messages.h"
#include "interface/records.h"
#include "interface/vlmapi.h"
#include "interface/vlmmisc.h"
#include "interface/windows_calls.h"
