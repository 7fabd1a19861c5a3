// See iptc.h. What the records say is not asked but for those that hold pictures.

#include "host/documents/files/iptc.h"

#include <algorithm>
#include <cstring>

enum { IPTC_RESOURCE = 0x0404 };

// Resources that say again what stands elsewhere in a file, how it was packed, or show the picture as it was.
static bool IsSaidElsewhere(uint32_t number)
{
    static const uint32_t numbers[] = {0x03ED, 0x0404, 0x0406, 0x0409, 0x040C, 0x040F, 0x0421,
                                       0x0422, 0x0423, 0x0424, 0x0425, 0x0428, 0x2710};
    return std::binary_search(std::begin(numbers), std::end(numbers), number);
}

// They follow each other: a mark, a number, a name of even length, how many bytes, and those.
Bytes IptcOfResources(std::span<const uint8_t> resources, ResourcesLeft &left)
{
    Bytes iptc;
    for (size_t at = 0; at + 12 <= resources.size() && memcmp(resources.data() + at, "8BIM", 4) == 0;) {
        const uint32_t number = High16(resources.data() + at + 4);
        const size_t name = (size_t(resources[at + 6]) + 2) / 2 * 2;
        if (at + 6 + name + 4 > resources.size()) break;
        const size_t begin = at + 6 + name + 4, count = High32(resources.data() + begin - 4);
        if (count > resources.size() - begin) break;
        left.settings = left.settings || !IsSaidElsewhere(number);
        left.preview = left.preview || number == 0x0409 || number == 0x040C;
        const auto bytes = resources.subspan(begin, count);
        if (number == IPTC_RESOURCE) iptc.assign(bytes.begin(), bytes.end());
        at = begin + count + count % 2;
    }
    return iptc;
}

void TellResourcesLeft(const ResourcesLeft &left, std::vector<std::string> &notices)
{
    if (left.settings) notices.push_back("settings of a program for pictures are left out (8BIM)");
    if (left.preview) notices.push_back("a preview among such settings is left out: it shows the picture as it was");
}

Bytes ResourceOfIptc(const Bytes &iptc)
{
    Bytes resource = {'8', 'B', 'I', 'M'};
    AddHigh16(resource, IPTC_RESOURCE);
    AddHigh16(resource, 0);   // no name
    AddHigh32(resource, uint32_t(iptc.size()));
    AddBytes(resource, iptc.data(), iptc.size());
    resource.resize(resource.size() + iptc.size() % 2);
    return resource;
}

// 7, 8 and 9 are a picture's own; of the second its preview, with the two that tell how it is to be read.
static bool IsPreview(int record, int number)
{
    return (record >= 7 && record <= 9) || (record == 2 && number >= 200 && number <= 202);
}

// A mark, the record, its number, how many bytes (a length of more than 15 bits says how many bytes it has itself).
IptcMended MendIptc(Bytes &iptc)
{
    IptcMended mended;
    Bytes kept;
    size_t at = 0;
    while (at + 5 <= iptc.size() && iptc[at] == 0x1C) {
        size_t begin = at + 5, count = High16(iptc.data() + at + 3);
        if (count & 0x8000) {
            const size_t digits = count & 0x7FFF;
            if (digits > 4 || begin + digits > iptc.size()) break;
            count = 0;
            for (size_t i = 0; i < digits; ++i) count = count << 8 | iptc[begin + i];
            begin += digits;
        }
        if (count > iptc.size() - begin) break;
        const bool preview = IsPreview(iptc[at + 1], iptc[at + 2]);
        if (!preview) AddBytes(kept, iptc.data() + at, begin + count - at);
        mended.preview = mended.preview || preview;
        at = begin + count;
    }
    mended.damaged = std::any_of(iptc.begin() + ptrdiff_t(at), iptc.end(), [](uint8_t byte) { return byte != 0; });
    iptc = std::move(kept);
    return mended;
}
