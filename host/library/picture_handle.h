// A picture as the door hands it out, and its types as the door counts them.

#pragma once

#include "host/documents/picture_file.h"
#include "host/library/errors.h"

struct vlm_picture {
    Picture picture;
    FileFormat format = FileFormat::UNKNOWN;     // that it was read from
    std::vector<Picture> further = {};           // pages or frames behind it
    std::string file = {};                       // of more than 8 bits a sample, that it was read from
    bool maskIsApart = false;                    // the mask was given besides: it is none of what is seen
    mutable std::vector<uint8_t> palette = {};   // as it was last told
};

// Not so for null, and for a picture that a failed run without restoring has left empty.
inline bool HoldsPicture(const vlm_picture *handle) { return handle && handle->picture.pixels; }

inline vlm_type DoorType(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return VLM_ONE_BIT;
    case PALETTE: return VLM_PALETTE;
    case GREY: return VLM_GREY;
    default: return VLM_RGB;
    }
}

// 0 for what is no type.
inline int32_t ColourTypeOf(vlm_type type)
{
    switch (type) {
    case VLM_ONE_BIT: return ONE_BIT;
    case VLM_PALETTE: return PALETTE;
    case VLM_GREY: return GREY;
    case VLM_RGB: return RGB;
    }
    return 0;
}
