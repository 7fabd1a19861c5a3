// The dialog in which a person chooses an effect's values, with a preview.

#ifndef DOORS_GIMP_DIALOG_H
#define DOORS_GIMP_DIALOG_H

#include <string>

#include <door_table.h>
#include <libgimp/gimp.h>

#include "doors/gimp/values.h"

// Shows `values` and changes them; false where the person thinks better of it, and, with a line, where the layer cannot
// be worked on.
bool AskForValues(const DoorEffect &effect, gint32 drawable, Values &values, std::string &error);

#endif
