// Masks as pictures, and pictures as masks: what --mask and --mask-output mean, and how a mask goes through an effect
// that changes the picture's size.

#pragma once

#include "host/documents/picture.h"

// "640 x 480"
std::string SizeText(const Picture &picture);
// Gives a picture the brightness of another for a mask: 8 bits for grey and RGB, 1 bit for the rest. False when sizes
// differ.
bool TakeMask(Picture &picture, const Picture &mask, std::string &error);
// The picture's mask plane as a picture of its own, grey or 1-bit, whose pixels it becomes.
Picture MaskAsPicture(Picture &picture);
// The same of a mask plane of that size.
Picture MaskAsPicture(PlaneBytes mask, int32_t maskBitsPerPixel, int32_t width, int32_t height);
// Whether the mask has to be run too, for what has become of the picture.
bool MaskFollows(const Picture &mask, int32_t width, int32_t height);
void JoinMask(Picture &picture, Picture mask);
