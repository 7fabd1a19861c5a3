// Parts of a picture that are to stay as they are whatever a run makes of it: a plane like a mask's of 8 bits, 255
// where a pixel is free and 0 where it is protected. Pixels alone; which picture has one, and how it is painted, is
// protection.h's.

#pragma once

#include "host/documents/picture.h"
#include "host/editor/mask_painting.h"

struct Protection {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> bytes;
    bool any = false;   // anything is protected
};
// One that protects nothing.
Protection NewProtection(int32_t width, int32_t height);
MaskPlane PlaneOf(Protection &protection);
// Brings `any` in line with the plane.
void LookForProtected(Protection &protection);
// What a mask leaves out is protected.
Protection ProtectionFromMask(const MaskPlane &mask);

// Where two pictures of one type lie, as they were and as they have become.
struct ChangedPlanes {
    const uint8_t *before;
    uint8_t *after;
    int32_t bitsPerPixel;   // 24, 8 or 1
    bool mixes;             // between is a brightness; else a pixel is the one or the other, by the half
};
// Brings back what is protected. All have the protection's size.
void BringBack(const ChangedPlanes &planes, const Protection &protection);
// The same for pixels as the screen has them: `free` are grey words that show the plane itself.
void BringBackSeen(const uint32_t *before, uint32_t *after, const uint32_t *free, size_t count);
