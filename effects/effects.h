// The effects, one per source of this folder (filters: matrix/).

#pragma once

#include "framework/effect_dialog.h"
#include "framework/worker.h"

extern const EffectDescriptor acid;
extern const EffectDescriptor blocks;
extern const EffectDescriptor coneHead;
extern const EffectDescriptor doubleVision;
extern const EffectDescriptor filters;
extern const EffectDescriptor fisheye;
extern const EffectDescriptor median;
extern const EffectDescriptor melt;
extern const EffectDescriptor mirror;
extern const EffectDescriptor noise;
extern const EffectDescriptor oilPainting;
extern const EffectDescriptor polarCoordinates;
extern const EffectDescriptor randomShear;
extern const EffectDescriptor ripple;
extern const EffectDescriptor shear;
extern const EffectDescriptor slices;
extern const EffectDescriptor solarize;
extern const EffectDescriptor swirl;
extern const EffectDescriptor tiles;
extern const EffectDescriptor wave;
