// See inks.h: through Little CMS.

#include "host/documents/files/inks.h"

#include <lcms2.h>

InkConversion::~InkConversion()
{
    if (transform) cmsDeleteTransform(transform);
}

bool StartInks(const Bytes &profile, InkConversion &conversion)
{
    cmsHPROFILE from =
        profile.empty() ? nullptr : cmsOpenProfileFromMem(profile.data(), cmsUInt32Number(profile.size()));
    cmsHPROFILE to = cmsCreate_sRGBProfile();
    if (from && to && cmsGetColorSpace(from) == cmsSigCmykData) {
        conversion.transform =
            cmsCreateTransform(from, TYPE_CMYK_8, to, TYPE_BGR_8, INTENT_PERCEPTUAL, cmsFLAGS_NOCACHE);
    }
    if (from) cmsCloseProfile(from);
    if (to) cmsCloseProfile(to);
    return conversion.transform;
}

void ConvertInks(const InkConversion &conversion, const uint8_t *inks, int32_t count, uint8_t *row)
{
    cmsDoTransform(conversion.transform, inks, row, cmsUInt32Number(count));
}
