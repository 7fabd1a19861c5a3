// Pictures to check with, at random from a seed, the same on every system.

#pragma once

#include "host/documents/documents.h"

#include <random>
#include <string>

constexpr int32_t ALL_TYPES[] = {ONE_BIT, GREY, PALETTE, RGB};

// A number below `count`.
uint32_t Below(uint32_t count, std::mt19937 &generator);
// All bytes at random, row padding too; a palette of 200 colours, and every index below that.
Picture RandomPictureOf(int32_t colourType, int32_t width, int32_t height, int32_t maskBits, std::mt19937 &generator);
// The bits of the mask that pictures of a type have, and those of the other kind.
int32_t OtherMaskBits(int32_t colourType);

// An open image with three objects, of which the first and the last are selected, a mask and, unless without, a selected
// area.
ImageRecord *OpenFurnishedImage(Host &host, int32_t colourType, bool withArea, std::mt19937 &generator);
// Every byte of planes, base, objects and their places, selection and outline, and the numbers beside them.
std::string StateOfImage(const ImageRecord *image);
