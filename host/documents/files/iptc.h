// IPTC data: records of words about a picture, and the resources among which JPEG and PNG files keep them.

#pragma once

#include "host/documents/files/bytes.h"

#include <span>

// The records among resources; empty where there are none. `others` when resources stand there that say what is kept
// nowhere else.
Bytes IptcOfResources(std::span<const uint8_t> resources, bool &others);
// One resource with the records in it.
Bytes ResourceOfIptc(const Bytes &iptc);

struct IptcMended {
    bool preview = false;   // a picture was among the records, and is left out
    bool damaged = false;   // so is what could not be told from one
};
IptcMended MendIptc(Bytes &iptc);
