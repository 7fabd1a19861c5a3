// Inks (CMYK) to colours through the profile that tells what the inks are; without one see PutInks in type_rules.h.

#pragma once

#include "host/documents/files/bytes.h"

// Made from a profile; good for any number of rows. One thread at a time.
struct InkConversion {
    void *transform = nullptr;
    InkConversion() = default;
    InkConversion(const InkConversion &) = delete;
    InkConversion &operator=(const InkConversion &) = delete;
    ~InkConversion();
};
// False when the profile is not one for four inks, is damaged, or this build cannot convert.
bool StartInks(const Bytes &profile, InkConversion &conversion);
// Cyan, magenta, yellow, black (0 no ink, 255 full ink) to a 24-bit row of sRGB.
void ConvertInks(const InkConversion &conversion, const uint8_t *inks, int32_t count, uint8_t *row);
