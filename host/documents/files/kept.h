// What a file says of its picture, on its way through an effect: pictures are turned upright by their orientation mark
// after reading, and before writing everything is made true that a changed picture makes untrue. The same for all
// formats; where the words stand in a file is each format's own business.

#pragma once

#include "host/documents/files/type_rules.h"
#include "host/documents/picture_file.h"

// 1 upright, 2..8 the ways in which rows and columns are turned; 1 where nothing is said.
int OrientationOf(const PictureExtras &extras);
// After reading: turns the picture so that its first row is the top one, exactly, and sets the mark to 1. False, with a
// line, where there is no memory for it.
bool TurnUpright(Picture &picture, std::string &error);

// Before writing: a copy of the picture's extras in which the small picture is made from the picture as it is, sizes and
// the time of the last change are right, and previews are left out; or that is stripped.
PictureExtras ExtrasFor(const Picture &picture, FileFormat format, const SaveOptions &options, Notices &notices);

// The time of the last change that is written: now, or what SOURCE_DATE_EPOCH says.
struct FileTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};
FileTime TimeOfChange();
