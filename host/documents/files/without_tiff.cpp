// In the place of libtiff.cpp where a program has to be small: no TIFF file is read or written.

#include "host/documents/files/codecs.h"

static bool Refuse(std::string &problem)
{
    problem = "this build reads and writes none";
    return false;
}

bool UnpacksTiff(const TiffPacking &, const TiffShape &) { return true; }

bool UnpackTiff(TiffFile &, const TiffPacking &, const TiffShape &, const TiffParts &, const TakesRow &,
                std::string &problem)
{
    return Refuse(problem);
}

bool ConvertTiff(TiffFile &, uint64_t, const TiffShape &, const TakesRow &, std::string &problem)
{
    return Refuse(problem);
}

bool PackTiff(const TiffRows &, uint32_t, uint32_t, const FillsRow &, const PutsBytes &, TiffStrips &,
              std::string &problem)
{
    return Refuse(problem);
}
