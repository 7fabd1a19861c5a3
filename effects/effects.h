// The effects, one per source of this folder (filters: matrix/): an EffectDescriptor for each row of the table.

#pragma once

#include "framework/effect_dialog.h"
#include "framework/worker.h"
#include "interface/effect_table.h"

#define EFFECT(name, ...) extern const EffectDescriptor name;
#include "interface/effect_table.inc"
