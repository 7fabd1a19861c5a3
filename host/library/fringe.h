// What is seen at the border of a mask. Effects that fetch between pixels mix colours without asking whether they are
// seen: what is hidden, and what is laid bare, darkens the pixels beside it. A clean fringe has the colours that are seen,
// mixed as far as they are seen, and the mask that this mixture leaves.

#pragma once

#include "host/documents/picture.h"
#include "host/library/steps.h"

constexpr char FRINGE_OPTION[] = "fringe";

// VLM_OK, or the noted error: a word that is none, a clean one where objects float.
vlm_code CheckFringe(const Step &step);
// Notes that a clean one was asked for among objects, whose masks are taken as they are.
vlm_code FailCleanFringe();
// Whether the step asks for a clean one; `usual` where it does not say.
bool WantsCleanFringe(const Step &step, bool usual);
// Only masks of levels have a fringe, and only where the effect works on the picture itself.
bool HasFringe(const Step &step, int32_t colourType, int32_t maskBitsPerPixel);

// The colours as far as they are seen: what goes through the effect besides the picture and its mask.
Picture SeenColours(const uint8_t *pixels, const uint8_t *mask, int32_t colourType, int32_t width, int32_t height);
// Puts colours right, of 8 or 24 bits: all three have been through the effect, the mask and the seen colours each as a
// picture of its own and with black for what is laid bare. What is as it should be, to the precision of eight bits, stays;
// so does what is not seen at all.
void MendFringe(uint8_t *pixels, int32_t width, int32_t height, int32_t bitsPerPixel, const uint8_t *mask,
                const uint8_t *seen);
