// Whether a format lets a picture be seen through by a mask or by its palette, and the way from one to the other.

#pragma once

#include "host/documents/files/type_rules.h"
#include "host/documents/picture_file.h"

#include <vector>

// Brings what a picture shows and hides into the form that the format has. `picture` is a copy of a record whose
// planes are lent by another, and stay as they are: planes made anew are kept in `made`, and the picture's are lent from
// there. Tells where the picture's type becomes another for it. Throws std::bad_alloc.
void FitTransparency(Picture &picture, FileFormat format, std::vector<PlaneBytes> &made, Notices &notices);
