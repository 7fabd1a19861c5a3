// What an effect makes of a layer, worked out beside the dialog and shown in GIMP's own preview.

#ifndef DOORS_GIMP_PREVIEW_H
#define DOORS_GIMP_PREVIEW_H

#include <string>

#include <door_table.h>
#include <libgimp/gimp.h>
#include <libgimp/gimpui.h>

#include "doors/gimp/values.h"

struct Preview;

// Null, with a line, where nothing of the layer can be worked on. `told` is called, on the thread of the dialog, with
// the line of a run that failed, and with an empty one when one has gone well.
Preview *OpenPreview(const DoorEffect &effect, gint32 drawable, void (*told)(void *context, const char *line),
                     void *context, std::string &error);
// GIMP's widget, to be packed; it belongs to its container.
GtkWidget *PreviewWidget(Preview *preview);
// Whether a copy that leaves pixels out is shown: large layers would take too long.
bool IsReduced(const Preview *preview);
// From now on these values are shown. A run that is under way is given up.
void ShowValues(Preview *preview, const Values &values);
// Ends what is under way, and waits for it; to be called before the widget goes.
void ClosePreview(Preview *preview);

#endif
