// IPTC data: records of words about a picture, and the resources among which JPEG and PNG files keep them.

#pragma once

#include "host/documents/files/bytes.h"

#include <span>
#include <string>
#include <vector>

// What stands among resources beside the records, and is left out.
struct ResourcesLeft {
    bool settings = false;   // what is kept nowhere else
    bool preview = false;    // the picture as it was
};
// The records among resources; empty where there are none.
Bytes IptcOfResources(std::span<const uint8_t> resources, ResourcesLeft &left);
// A line for each.
void TellResourcesLeft(const ResourcesLeft &left, std::vector<std::string> &notices);
// One resource with the records in it.
Bytes ResourceOfIptc(const Bytes &iptc);

struct IptcMended {
    bool preview = false;   // a picture was among the records, and is left out
    bool damaged = false;   // so is what could not be told from one
};
IptcMended MendIptc(Bytes &iptc);
