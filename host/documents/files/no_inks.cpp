// See inks.h: a build without Little CMS.

#include "host/documents/files/inks.h"

InkConversion::~InkConversion() = default;

bool StartInks(const Bytes &, InkConversion &) { return false; }

void ConvertInks(const InkConversion &, const uint8_t *, int32_t, uint8_t *) {}
