// What a run works on: the picture or its selected rectangle, floating objects, or both. A run and the preview share
// it, so that the preview shows what Apply will do.

#pragma once

#include "interface/host_interface.h"

// Points the block's view at an image and its mask plane. [any]
void FillView(EffectBlock &block, ImageRecord &image);
// Calls the block's worker once per picture in the scope of a preview mode and brings the result together
// in the image, which must not change meanwhile. An abort leaves it half done. The view is pointed back at the
// image. [run]
void RunScope(EffectBlock &block, ImageRecord &image, int32_t mode);
