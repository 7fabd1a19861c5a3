// What JavaScript calls of the module `formats` beyond velmorant.h itself: files of pictures. Nothing is decided here.

#include "doors/web/module/exported.h"

#include <nlohmann/json.hpp>
#include <string.h>

using Json = nlohmann::ordered_json;

// What files there are. To be given back by vlm_free.
EXPORTED char *web_formats(void)
{
    Json list = Json::array();
    for (int i = 0; i < vlm_format_count(); ++i) {
        const vlm_format &format = *vlm_format_at(i);
        list.push_back({{"name", format.name},
                        {"endings", format.endings},
                        {"mime", format.mime},
                        {"takesQuality", format.takes_quality != 0},
                        {"holdsSeveral", format.holds_several != 0}});
    }
    return strdup(list.dump().c_str());
}

// A picture from the bytes of a file, of one of its pages or frames from 1 or of all (0); 0 when it fails.
EXPORTED vlm_picture *web_decode(const uint8_t *bytes, size_t count, int page)
{
    vlm_reading reading = {};
    reading.size = sizeof reading;
    reading.page = page;
    vlm_picture *picture = nullptr;
    vlm_picture_decode_with(bytes, count, &reading, &picture);
    return picture;
}

EXPORTED const char *web_format(const vlm_picture *picture)
{
    const vlm_format *format = vlm_picture_format(picture);
    return format ? format->name : nullptr;
}

static size_t encodedCount;

// The bytes of a file, to be given back by vlm_free; 0 when it fails.
EXPORTED void *web_encode(const vlm_picture *picture, const char *format, int quality)
{
    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.format = format;
    writing.quality = quality;
    void *bytes = nullptr;
    encodedCount = 0;
    vlm_picture_encode(picture, &writing, &bytes, &encodedCount);
    return bytes;
}

EXPORTED size_t web_encoded_count(void) { return encodedCount; }
